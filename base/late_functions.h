#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>
#include <string_view>
#include <type_traits>
#include <utility>

namespace base {

/// Finds all of the functions by their names; `file` is a name that the loader looks up, such as
/// "libcups.so.2", and what it depends on is searched, too. False when the machine has no such file or one of
/// the functions is missing; `places` hold nothing then.
///
/// What was loaded stays mapped for the life of the process: libraries such as libcups leave clean-up of
/// their own behind in every thread that used them, which must not be unmapped before the thread ends. So
/// only our own modules come and go.
bool BindFunctions(const char* file, std::span<const char* const> names, std::span<void*> places);

/// The name of what is declared with C linkage, as the compiler writes it, and a NUL.
template <auto kFunction>
consteval auto MakeNameOf() {
  constexpr std::string_view kMark = "kFunction = ";
  constexpr std::string_view kWhole = __PRETTY_FUNCTION__;
  constexpr size_t kStart = kWhole.find_first_not_of("&( ", kWhole.find(kMark) + kMark.size());
  constexpr size_t kLength = kWhole.find_first_of(")];", kStart) - kStart;
  std::array<char, kLength + 1> name{};
  std::ranges::copy(kWhole.substr(kStart, kLength), name.begin());
  return name;
}
template <auto kFunction>
inline constexpr auto kNameOf = MakeNameOf<kFunction>();

/// The functions of a library of the system that only some calls need, named once each and with the types of
/// the library's own header: LateFunctions<&::cupsServer, &::ippPort>. A variable counts as a function.
///
/// To be given out by BoundOnce, so that the first caller loads the library. It needs no end.
template <auto... kFunctions>
class LateFunctions {
 public:
  explicit LateFunctions(const char* file) : are_bound_(BindFunctions(file, kNames, places_)) {}

  /// False when the machine has no such library, or one that is not whole. Then nothing may be called.
  explicit operator bool() const { return are_bound_; }

  template <auto kFunction>
  auto Get() const {
    return reinterpret_cast<decltype(kFunction)>(places_[IndexOf<kFunction>()]);
  }

  template <auto kFunction, class... Arguments>
  decltype(auto) Call(Arguments&&... arguments) const {
    return Get<kFunction>()(std::forward<Arguments>(arguments)...);
  }

 private:
  /// A type for each function, since functions of different types cannot be compared.
  template <auto kFunction>
  struct Constant;

  template <auto kFunction>
  static consteval size_t IndexOf() {
    static_assert((std::is_same_v<Constant<kFunction>, Constant<kFunctions>> || ...), "not in the list");
    size_t index = 0;
    static_cast<void>(
        ((std::is_same_v<Constant<kFunction>, Constant<kFunctions>> || (++index, false)) || ...));
    return index;
  }

  static constexpr std::array<const char*, sizeof...(kFunctions)> kNames = {kNameOf<kFunctions>.data()...};

  std::array<void*, sizeof...(kFunctions)> places_{};
  bool are_bound_;
};

/// The process's only object of a kind of LateFunctions; null while the machine has no such library. A call
/// that could not load it, for want of memory or files, leaves it to the next one.
template <class Functions>
const Functions* BoundOnce() {
  struct NotBound {};
  struct Bound : Functions {
    Bound() {
      if (!*this) {
        throw NotBound();
      }
    }
  };
  try {
    static const Bound functions;
    return &functions;
  } catch (const NotBound&) {
    return nullptr;
  }
}

}  // namespace base

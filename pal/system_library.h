#pragma once

namespace pal {

/// A library of the system that only some calls need, loaded by the first of them.
///
/// What was loaded stays mapped for the life of the process, also when this object goes: libraries such as
/// libcups leave clean-up of their own behind in every thread that used them, which must not be unmapped
/// before the thread ends. So a later load costs next to nothing, and only our own modules come and go.
class SystemLibrary {
 public:
  /// `file` is a name that the loader looks up, such as "libcups.so.2".
  explicit SystemLibrary(const char* file);
  ~SystemLibrary();
  SystemLibrary(const SystemLibrary&) = delete;
  SystemLibrary& operator=(const SystemLibrary&) = delete;

  /// False when the machine has no such library.
  bool IsLoaded() const { return handle_ != nullptr; }

  /// Finds a function, to be declared by the library's own header. False, and null, when there is none.
  template <class Function>
  bool Bind(const char* name, Function*& function) const {
    function = reinterpret_cast<Function*>(Find(name));
    return function != nullptr;
  }

 private:
  void* Find(const char* name) const;

  void* handle_;
};

}  // namespace pal

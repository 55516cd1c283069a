#include "ixo/support/host_folder.h"

#include "src/deviceio/ixo_contract.h"

namespace custom_bidi::device {
namespace {

WString ExecutablePath() {
  WString path(MAX_PATH, WCHAR());
  for (;;) {
    const DWORD length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
    if (length < path.size()) {
      path.resize(length);
      return path;
    }
    path.resize(path.size() * 2);
  }
}

std::string Utf8(const WString& text) {
  const int size = static_cast<int>(text.size());
  std::string utf8(text.size() * 3, char());
  const int length = WideCharToMultiByte(CP_UTF8, 0, text.data(), size, utf8.data(),
                                         static_cast<int>(utf8.size()), nullptr, nullptr);
  utf8.resize(static_cast<size_t>(length));
  return utf8;
}

}  // namespace

std::FILE* OpenBesideHost(const char* name, Opening opening, std::string& shown_path) {
  WString path = ExecutablePath();
  path.erase(path.find_last_of(W("\\/")) + 1);
  for (const char* at = name; *at; ++at) {
    path += static_cast<WCHAR>(*at);
  }
  shown_path = Utf8(path);
  // N: not inherited by processes that the host starts.
  return _wfopen(path.c_str(), opening == Opening::kRead ? W("rbN") : W("abN"));
}

}  // namespace custom_bidi::device

#include "ixo/support/host_system.h"

namespace custom_bidi::support {
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

std::string Narrow(const WString& text) {
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
  path += Widen(name);
  shown_path = Narrow(path);
  // N: not inherited by processes that the host starts.
  return _wfopen(path.c_str(), opening == Opening::kRead ? W("rbN") : W("abN"));
}

DWORD CheckReadable(const WCHAR* path) {
  const HANDLE file = CreateFileW(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                  FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    return GetLastError();
  }
  CloseHandle(file);
  return ERROR_SUCCESS;
}

void Pause(DWORD milliseconds) {
  Sleep(milliseconds);
}

WString Widen(std::string_view utf8) {
  const int size = static_cast<int>(utf8.size());
  WString wide(utf8.size(), WCHAR());
  const int length =
      MultiByteToWideChar(CP_UTF8, 0, utf8.data(), size, wide.data(), static_cast<int>(wide.size()));
  wide.resize(static_cast<size_t>(length));
  return wide;
}

}  // namespace custom_bidi::support

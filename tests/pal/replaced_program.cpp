// A host whose file goes while it runs, given by its full path. The exit code is 0 when it is called the same
// before and afterwards, whatever lies beside it.

#include <unistd.h>

#include <cstdio>
#include <string>

#include "base/files.h"
#include "pal/pal.h"

namespace {

bool IsCalled(const std::string& path) {
  WCHAR name[1024];
  GetModuleFileNameW(nullptr, name, 1024);
  return name == base::ToWindowsPath(path);
}

}  // namespace

int main(int, char** arguments) {
  const std::string path = arguments[0];
  if (!IsCalled(path) || unlink(path.c_str()) != 0 || !IsCalled(path)) {
    return 1;
  }
  std::FILE* other = std::fopen((path + " (deleted)").c_str(), "w");
  return other != nullptr && std::fclose(other) == 0 && IsCalled(path) ? 0 : 1;
}

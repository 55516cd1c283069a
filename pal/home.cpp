#include "pal/home.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <vector>

namespace pal {
namespace {

std::string Variable(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

std::string UserFolder() {
  if (std::string folder = Variable("HOME"); !folder.empty())
    return folder;
  std::vector<char> texts(16384);
  passwd entry{};
  passwd* found = nullptr;
  getpwuid_r(getuid(), &entry, texts.data(), texts.size(), &found);
  // A user without a home has no settings either: a folder that cannot be there.
  return found && found->pw_dir && *found->pw_dir ? found->pw_dir : "/nonexistent";
}

}  // namespace

std::string HomeFolder() {
  std::string folder = Variable("CUSTOMBIDI_HOME");
  if (folder.empty()) {
    folder = Variable("XDG_DATA_HOME");
    if (folder.empty())
      folder = UserFolder() + "/.local/share";
    folder += "/custom-bidi";
  }
  while (folder.size() > 1 && folder.back() == '/')
    folder.pop_back();
  return folder;
}

std::string RegistryFilePath() {
  return HomeFolder() + "/registry.reg";
}

}  // namespace pal

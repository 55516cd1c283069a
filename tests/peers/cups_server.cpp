#include "tests/peers/cups_server.h"

#include <grp.h>
#include <pwd.h>
#include <unistd.h>

#include <stdexcept>
#include <utility>

#include "tests/peers/peer_process.h"

namespace fs = std::filesystem;

namespace custom_bidi_test {
namespace {

constexpr char kInstalledPrograms[] = "/usr/lib/cups";

/// A spooler that is not root's has no other user to be.
std::string Accounts() {
  const group* own_group = getgrgid(getegid());
  const std::string group_name = own_group ? own_group->gr_name : "nogroup";
  if (geteuid() == 0)
    return "SystemGroup " + group_name + '\n';
  const passwd* user = getpwuid(geteuid());
  return std::string("User ") + (user ? user->pw_name : "nobody") + "\nGroup " + group_name +
         "\nSystemGroup " + group_name + '\n';
}

}  // namespace

CupsServer::CupsServer() {
  for (const char* name : {"root/ssl", "cache", "state/certs", "spool/temp", "log", "data", "home"})
    folder_.MakeFolder(name);
  MakeServerPrograms();
  const fs::path files = folder_.WriteFile("root/cups-files.conf", Files());
  const fs::path settings = folder_.WriteFile("root/cupsd.conf", Settings());
  Command command{{"cupsd", "-f", "-c", settings, "-s", files}};
  const auto answers = [this] {
    return RunProgram(Client({"lpstat", "-r"})).output == "scheduler is running\n";
  };
  process_ = StartPeer({std::move(command), folder_ / "log/error_log", answers});
}

/// The installed programs, and for every other scheme one that does nothing: the spooler refuses the address
/// of a queue when it has no program for its scheme.
void CupsServer::MakeServerPrograms() const {
  folder_.MakeFolder("bin/backend");
  folder_.MakeFolder("bin/filter");
  for (const char* name : {"daemon", "notifier"})
    fs::create_symlink(fs::path(kInstalledPrograms) / name, folder_ / "bin" / name);
  for (const char* name : {"ipp", "ipps", "http", "https"})
    fs::create_symlink(fs::path(kInstalledPrograms) / "backend" / name, folder_ / "bin/backend" / name);
  for (const char* name : {"usb", "socket"}) {
    const fs::path program = folder_.WriteFile(std::string("bin/backend/") + name, "#!/bin/sh\nexit 0\n");
    fs::permissions(program, fs::perms::owner_all | fs::perms::group_exec | fs::perms::others_exec,
                    fs::perm_options::add);
  }
}

std::string CupsServer::Files() const {
  constexpr std::pair<const char*, const char*> kPlaces[] = {
      {"ServerRoot", "root"},        {"ServerKeychain", "root/ssl"}, {"CacheDir", "cache"},
      {"StateDir", "state"},         {"RequestRoot", "spool"},       {"TempDir", "spool/temp"},
      {"ServerBin", "bin"},          {"DocumentRoot", "data"},       {"AccessLog", "log/access_log"},
      {"ErrorLog", "log/error_log"}, {"PageLog", "log/page_log"},
  };
  std::string file = "DataDir /usr/share/cups\nPrintcap\n" + Accounts();
  for (const auto& [setting, name] : kPlaces)
    file += std::string(setting) + ' ' + (folder_ / name).string() + '\n';
  return file;
}

/// Whoever reaches the socket may do everything.
std::string CupsServer::Settings() const {
  return "Listen " + Server() +
         "\n"
         "ServerName localhost\n"
         "LogLevel warn\n"
         "Browsing No\n"
         "BrowseLocalProtocols none\n"
         "DefaultShared No\n"
         "DefaultAuthType None\n"
         "WebInterface No\n"
         "<Location />\n"
         "  Order allow,deny\n"
         "  Allow from localhost\n"
         "</Location>\n"
         "<Policy default>\n"
         "  <Limit All>\n"
         "    Order allow,deny\n"
         "    Allow from localhost\n"
         "  </Limit>\n"
         "</Policy>\n";
}

void CupsServer::AddQueue(const std::string& name, const std::string& uri) const {
  const Outcome outcome = RunProgram(Client({"lpadmin", "-p", name, "-E", "-v", uri}));
  if (outcome.exit_code != 0)
    throw std::runtime_error("lpadmin -p " + name + ": " + outcome.output);
}

Command CupsServer::Client(std::vector<std::string> words) const {
  return {std::move(words), {{"CUPS_SERVER", Server()}, {"HOME", folder_ / "home"}, {"LC_ALL", "C.UTF-8"}}};
}

}  // namespace custom_bidi_test

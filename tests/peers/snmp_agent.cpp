#include "tests/peers/snmp_agent.h"

#include <sstream>
#include <stdexcept>

#include "tests/peers/loopback.h"
#include "tests/peers/peer_process.h"

namespace custom_bidi_test {
namespace {

void WriteAccess(const SnmpAgentOptions& options, std::ostream& file) {
  file << "com2sec tests 127.0.0.1 " << options.community << '\n';
  if (options.answers_v1)
    file << "group tests v1 tests\n";
  if (options.answers_v2c)
    file << "group tests v2c tests\n";
  file << "view all included .1\n"
          "access tests \"\" any noauth exact all all none\n";
  for (const SnmpUser& user : options.users) {
    file << "createUser " << user.name << " SHA \"" << user.authentication_password << "\" AES \""
         << user.privacy_password << "\"\n"
         << "rwuser " << user.name << " priv\n";
  }
}

void WriteObject(const char* oid,
                 const char* type,
                 const std::optional<std::string>& value,
                 std::ostream& file) {
  if (value)
    file << "override -rw " << oid << ' ' << type << ' ' << *value << '\n';
}

std::string Configuration(const SnmpAgentOptions& options, uint16_t port) {
  std::ostringstream file;
  file << "agentAddress udp:127.0.0.1:" << port << '\n';
  WriteAccess(options, file);
  WriteObject(SnmpAgent::kDeviceStatusOid, "integer", options.device_status, file);
  WriteObject(SnmpAgent::kPrinterStatusOid, "integer", options.printer_status, file);
  WriteObject(SnmpAgent::kErrorStateOid, "octet_str", options.error_state, file);
  for (const std::string& line : options.lines)
    file << line << '\n';
  return file.str();
}

}  // namespace

SnmpAgent::SnmpAgent(const SnmpAgentOptions& options)
    : community_(options.community), write_version_(options.answers_v2c ? "-v2c" : "-v1") {
  folder_.MakeFolder("state");
  StartOnFreePort([&] { Start(options); });
}

void SnmpAgent::Start(const SnmpAgentOptions& options) {
  port_ = FreePort(Transport::kUdp);
  const auto configuration = folder_.WriteFile("snmpd.conf", Configuration(options, port_));
  // Without the list of modules it would also listen on a TCP port of all interfaces.
  Command command{
      {"snmpd", "-f", "-Le", "-C", "-c", configuration, "-I", "override,vacm_conf,usmConf"},
      {{"SNMP_PERSISTENT_DIR", folder_ / "state"}, {"SNMPCONFPATH", folder_ / "none"}, {"MIBS", ""}}};
  process_ = StartPeer({std::move(command), folder_ / "output", [this] { return Answers(); }});
}

/// Whatever it allows otherwise, an agent tells an unknown user of SNMPv3 that it does not know him.
bool SnmpAgent::Answers() const {
  if (ReadWholeFile(folder_ / "output").find("NET-SNMP version") == std::string::npos)
    return false;  // spares a probe that would wait for its whole time limit
  const auto probe = Client("snmpget", {"-v3", "-l", "noAuthNoPriv", "-u", "probe", "-t", "0.2", "-r", "0"},
                            {kDeviceStatusOid});
  return RunProgram(probe).output.find("nknown user name") != std::string::npos;
}

void SnmpAgent::Set(const std::string& oid, const std::string& type, const std::string& value) const {
  const Outcome outcome =
      RunProgram(Client("snmpset", {write_version_, "-c", community_, "-t", "2"}, {oid, type, value}));
  if (outcome.exit_code != 0)
    throw std::runtime_error("snmpset " + oid + ": " + outcome.output);
}

Command SnmpAgent::Client(const std::string& program,
                          const std::vector<std::string>& options,
                          const std::vector<std::string>& objects) const {
  std::vector<std::string> words = {program};
  words.insert(words.end(), options.begin(), options.end());
  words.push_back("127.0.0.1:" + std::to_string(port_));
  words.insert(words.end(), objects.begin(), objects.end());
  return {std::move(words),
          {{"SNMP_PERSISTENT_DIR", folder_ / "state"}, {"SNMPCONFPATH", folder_ / "none"}, {"MIBS", ""}}};
}

}  // namespace custom_bidi_test

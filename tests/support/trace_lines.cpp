#include "tests/support/trace_lines.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <regex>

#include "tests/support/machine.h"

namespace custom_bidi_test {
namespace {

bool Matches(std::string_view expected, std::string_view actual) {
  const size_t gap = expected.find(kAnything);
  return gap == expected.npos ? expected == actual
                              : actual.starts_with(expected.substr(0, gap)) &&
                                    actual.ends_with(expected.substr(gap + std::size(kAnything) - 1));
}

/// The configuration, in which the libraries' names are looked for.
Lines Configured() {
  return Method("CCIXML::Load") +
         Method("CCIXML::GetPathedNode", Method("CCIXML::GetRootNode") + Method("CCIXML::GetPathedNode"));
}

Lines AddressFrom(const std::string& name, int kind) {
  return {"Get Address from [" + name + "][" + std::to_string(kind) + "]",
          "Get the printer address from the name [" + name + "] success ==> [192.0.2.10]"};
}

Lines LoadLibraries(const std::string& ixo = "vexmoixo.dll",
                    const std::string& xdm = "vexmoixodm.dll",
                    const std::string& cert = "vexmobixocert.dll",
                    const std::string& success = "Load IXO / XDM / IXO Cert Libraries Success") {
  return {"Load IXO / XDM / IXO Cert Libraries!", "IXO_DLL: [" + HostFolder::Text("//" + ixo) + "]",
          "XDM_DLL: [" + HostFolder::Text("//" + xdm) + "]",
          "IXOCert_DLL: [" + HostFolder::Text("//" + cert) + "]", success};
}

}  // namespace

Lines operator+(Lines left, const Lines& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

void ExpectTrace(const Lines& expected, Lines actual) {
  for (size_t i = 0; i < std::min(expected.size(), actual.size()); ++i) {
    actual[i] = Matches(expected[i], actual[i]) ? expected[i] : actual[i];
  }
  EXPECT_EQ(expected, actual);
}

Lines Before(const Lines& lines, std::string_view start) {
  const Lines rest = From(lines, start);
  return {lines.begin(), lines.end() - static_cast<std::ptrdiff_t>(rest.size())};
}

Lines From(const Lines& lines, std::string_view start) {
  const auto found =
      std::ranges::find_if(lines, [start](const std::string& line) { return line.starts_with(start); });
  EXPECT_NE(found, lines.end()) << "no line begins with " << start;
  return {found, lines.end()};
}

Lines Method(const std::string& name, const Lines& inner) {
  return Lines{name + " << Enter"} + inner + Lines{name + " >> Leave"};
}

Lines ErrorLine(unsigned code, const std::string& label) {
  WCHAR* text = nullptr;
  FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM, nullptr, code, 0x400,
                 reinterpret_cast<WCHAR*>(&text), 0, nullptr);
  const std::string line = text != nullptr ? "[" + label + "]" + ToUtf8(text) + "\n" : label + ": NULL\n";
  LocalFree(text);
  return {line};
}

Lines FailedXml(const std::string& path) {
  return Method("CCIXML::Load", {"[XML] Load " + path +
                                 " XML file Failed!!! <<XML Error []\r\n Error Code 0x" + kAnything + ">>"}) +
         Lines{">>>>>Custom Bidi : Load Config XML fail!! [" + path + "]"};
}

Lines Wrapper(const Lines& lines) {
  Lines named;
  for (const std::string& line : lines) {
    named.push_back("[CertificateHandlingWrapper]:" + line);
  }
  return named;
}

Lines ReadTrace(const std::string& path) {
  const std::string bytes = ReadBytes(path);
  EXPECT_EQ(bytes.size() % 2, 0U);
  WString units(bytes.size() / 2, 0);
  bytes.copy(reinterpret_cast<char*>(units.data()), bytes.size());
  std::string text = ToUtf8(units);
  if (text.empty()) {
    return {};
  }
  EXPECT_TRUE(text.ends_with("\r\n"));
  text = "\r\n" + text.substr(0, text.size() - 2);
  static const std::regex stamp(R"(\r\n\[(?:[01]\d|2[0-3]):[0-5]\d:[0-5]\d\.\d{3}\]  )");
  const std::sregex_token_iterator begin(text.begin(), text.end(), stamp, -1);
  EXPECT_EQ(begin->str(), "") << "not a line of the trace";
  return {std::next(begin), {}};
}

Lines BidiInitialisation(const std::string& queue, const std::string& port) {
  return Configured() + Lines{" the port name from the printer is: [" + port + "]"} + LoadLibraries() +
         (port.empty() ? AddressFrom(queue, 0) : AddressFrom(port, 1)) +
         Lines{"Get Address from Port success", "CreateDataCollection from xml: [" +
                                                    HostFolder::Text("//vexmoixodatamap.xml") +
                                                    "] ==> success"} +
         Method("CCIXML::Load");
}

Lines DataMapLoading(int items) {
  Lines lines =
      Method("CCIXML::GetPathedNodeListAsArray",
             Lines{"CIXML::SavePathedNodeListToMap  PathQuery = //IPPDataMap//DataItem"} +
                 Method("CCIXML::GetPathedNodeList",
                        Method("CCIXML::GetRootNode") + Method("CCIXML::GetPathedNodeList")) +
                 Lines{"CIXML::SavePathedNodeListToMap - current nodes count = " + std::to_string(items)});
  for (int i = 0; i < items; ++i) {
    lines = lines + Method("CCIXML::GetAttributeValue");
  }
  return lines;
}

Lines StatusInitialisation(const std::string& address) {
  return LoadLibraries("vexmobixo64.dll", "vexmobixodm64.dll", "vexmobixocert64.dll",
                       "Load IXO / XDM / IXOCert Libraries Success") +
         AddressFrom(address, 2) + Lines{"Get Address from Port success"};
}

Lines PortStatusOf(const std::string& port) {
  return Configured() +
         Lines{" the port name from the printer is: [" + port + "]", "Load IXO DLL!",
               "IXO_DLL: [" + HostFolder::Text("//vexmoixo.dll") + "]", "Load IXO DLL Success"} +
         AddressFrom(port, 1) + Lines{"Get Address from Port success and the connected IP is active"};
}

Lines SecurityInitialisation() {
  return Configured() + LoadLibraries();
}

Lines PasswordCall(const std::string& last) {
  return Lines{">>>> Custom Bidi : Print Queue Name is [CustomBidi call test]"} + SecurityInitialisation() +
         Lines{"[IxoWrapper]:Trying to save target", "[IxoWrapper]:Store provider Created ",
               "[IxoWrapper]:Target Name Created", "[IxoWrapper]:USER Name Created", last};
}

Lines CertificateRead() {
  return SecurityInitialisation() +
         Lines{" the port name from the printer is: [192.0.2.10]", AddressFrom("192.0.2.10", 1).back()} +
         Wrapper({"Contructed", "GetDeviceCertificate API Succeded", "No Error reported",
                  "No certificate security warnings to report"}) +
         Lines{"[DeviceCertificate]:Contructed", "[DeviceCertificate]:Initialization Called",
               "[DeviceCertificate]:No certificate security warnings to report"} +
         Wrapper({"Destroyed"});
}

Lines CheckBegin(size_t warnings) {
  const Lines none = {"[DeviceCertificate]:No certificate security warnings to report"};
  return SecurityInitialisation() +
         (warnings == 0 ? none : Lines{"[DeviceCertificate]:Number of errors reported"}) +
         Wrapper({"Contructed"}) + Lines{"[DeviceCertificate]:Initialization Called"} +
         (warnings == 0 ? none : Lines{}) +
         Lines{"[CertStoreVault]:Contructed", "[IxoWrapper]:Target Name Created",
               "[IxoWrapper]:USER Name Created"};
}

Lines CheckCompared(size_t vault_length, bool match) {
  const std::string length = "Vault Certificate lenght = " + std::to_string(vault_length) + "\n";
  return Wrapper({"No Non Negotiable Error Present"}) +
         Lines{kTargetPresent, "[IxoWrapper]:GetCertFromVault returned success", length, length,
               match ? "Vault Certificate and device certificate thumbprint are matching"
                     : "Device certificate is changed"} +
         Wrapper({"VerifyCertBlobMatching API Succeded"}) +
         Wrapper(match ? Lines{"Certificate matched with Vault"} : Lines{});
}

Lines CheckEnd(size_t warnings) {
  return (warnings != 0 ? Lines{}
                        : Wrapper({"No certificate security warnings to report"}) +
                              Lines{"[DeviceCertificate]:No certificate security warnings to report"}) +
         Wrapper({"Destroyed"}) + Lines{"[CertStoreVault]:Destroyed"};
}

}  // namespace custom_bidi_test

#include "tests/support/trace_lines.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>

#include "tests/support/host_folder.h"
#include "tests/support/machine.h"

namespace custom_bidi_test {
namespace {

constexpr std::string_view kStampForm = "[dd:dd:dd.ddd]  ";

bool StartsWithStamp(std::string_view text) {
  if (text.size() < kStampForm.size())
    return false;
  for (size_t i = 0; i < kStampForm.size(); ++i) {
    const bool is_digit = text[i] >= '0' && text[i] <= '9';
    if (kStampForm[i] == 'd' ? !is_digit : text[i] != kStampForm[i])
      return false;
  }
  return text.substr(1, 2) < "24" && text[4] < '6' && text[7] < '6';
}

/// Where the line that begins at `start` ends: at a CR LF with a stamp or nothing behind it.
size_t LineEnd(std::string_view text, size_t start) {
  for (size_t end = text.find("\r\n", start); end != text.npos; end = text.find("\r\n", end + 1)) {
    if (end + 2 == text.size() || StartsWithStamp(text.substr(end + 2)))
      return end;
  }
  return text.npos;
}

bool Matches(std::string_view expected, std::string_view actual) {
  const size_t gap = expected.find(kAnything);
  if (gap == expected.npos)
    return expected == actual;
  const std::string_view head = expected.substr(0, gap);
  const std::string_view tail = expected.substr(gap + std::size(kAnything) - 1);
  return actual.size() >= head.size() + tail.size() && actual.starts_with(head) && actual.ends_with(tail);
}

std::string Joined(const Lines& lines) {
  std::string text;
  for (const std::string& line : lines)
    text += line + "\n";
  return text;
}

Lines FindFileInfo() {
  return Method("CCIXML::GetPathedNode", Method("CCIXML::GetRootNode") + Method("CCIXML::GetPathedNode"));
}

Lines AddressFrom(const std::string& name, int kind) {
  return {"Get Address from [" + name + "][" + std::to_string(kind) + "]",
          "Get the printer address from the name [" + name + "] success ==> [192.0.2.10]"};
}

Lines LoadLibraries(const std::string& ixo, const std::string& xdm, const std::string& cert) {
  return {"Load IXO / XDM / IXO Cert Libraries!", "IXO_DLL: [" + HostFolder::Text("//" + ixo) + "]",
          "XDM_DLL: [" + HostFolder::Text("//" + xdm) + "]",
          "IXOCert_DLL: [" + HostFolder::Text("//" + cert) + "]"};
}

}  // namespace

Lines operator+(Lines left, const Lines& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

void ExpectTrace(const Lines& expected, const Lines& actual) {
  Lines shown = actual;
  for (size_t i = 0; i < std::min(expected.size(), actual.size()); ++i) {
    if (Matches(expected[i], actual[i]))
      shown[i] = expected[i];
  }
  EXPECT_EQ(Joined(expected), Joined(shown));
}

Lines UpTo(const Lines& lines, std::string_view start) {
  const auto found =
      std::ranges::find_if(lines, [start](const std::string& line) { return line.starts_with(start); });
  EXPECT_NE(found, lines.end()) << "no line begins with " << start;
  return found == lines.end() ? lines : Lines(lines.begin(), found + 1);
}

Lines Method(const std::string& name, const Lines& inner) {
  return Lines{name + " << Enter"} + inner + Lines{name + " >> Leave"};
}

Lines ErrorLine(unsigned code, const std::string& label) {
  WCHAR* text = nullptr;
  FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM, nullptr, code, 0x400,
                 reinterpret_cast<WCHAR*>(&text), 0, nullptr);
  const std::string line = text ? "[" + label + "]" + ToUtf8(text) + "\n" : label + ": NULL\n";
  LocalFree(text);
  return {line};
}

Lines ReadTrace(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(file), {}};
  EXPECT_EQ(bytes.size() % 2, 0U);
  WString units;
  for (size_t i = 0; i + 1 < bytes.size(); i += 2) {
    const auto low = static_cast<unsigned char>(bytes[i]);
    const auto high = static_cast<unsigned char>(bytes[i + 1]);
    units.push_back(static_cast<WCHAR>(low | high << 8));
  }
  const std::string text = ToUtf8(units);

  Lines lines;
  for (size_t start = 0; start < text.size();) {
    const size_t end = LineEnd(text, start);
    if (!StartsWithStamp(std::string_view(text).substr(start)) || end == text.npos) {
      ADD_FAILURE() << "not a line of the trace: " << text.substr(start, 200);
      break;
    }
    const size_t message = start + kStampForm.size();
    lines.push_back(text.substr(message, end - message));
    start = end + 2;
  }
  return lines;
}

Lines BidiInitialisation(const std::string& queue, const std::string& port) {
  return Method("CCIXML::Load") + FindFileInfo() +
         Lines{" the port name from the printer is: [" + port + "]"} +
         LoadLibraries("vexmoixo.dll", "vexmoixodm.dll", "vexmobixocert.dll") +
         Lines{"Load IXO / XDM / IXO Cert Libraries Success"} +
         (port.empty() ? AddressFrom(queue, 0) : AddressFrom(port, 1)) +
         Lines{"Get Address from Port success", "CreateDataCollection from xml: [" +
                                                    HostFolder::Text("//vexmoixodatamap.xml") +
                                                    "] ==> success"} +
         Method("CCIXML::Load");
}

Lines SecurityInitialisation() {
  return Method("CCIXML::Load") + FindFileInfo() +
         LoadLibraries("vexmoixo.dll", "vexmoixodm.dll", "vexmobixocert.dll") +
         Lines{"Load IXO / XDM / IXO Cert Libraries Success"};
}

Lines DataMapLoading(int items) {
  Lines lines =
      Method("CCIXML::GetPathedNodeListAsArray",
             Lines{"CIXML::SavePathedNodeListToMap  PathQuery = //IPPDataMap//DataItem"} +
                 Method("CCIXML::GetPathedNodeList",
                        Method("CCIXML::GetRootNode") + Method("CCIXML::GetPathedNodeList")) +
                 Lines{"CIXML::SavePathedNodeListToMap - current nodes count = " + std::to_string(items)});
  for (int i = 0; i < items; ++i)
    lines = lines + Method("CCIXML::GetAttributeValue");
  return lines;
}

Lines StatusInitialisation(const std::string& address) {
  return LoadLibraries("vexmobixo64.dll", "vexmobixodm64.dll", "vexmobixocert64.dll") +
         Lines{"Load IXO / XDM / IXOCert Libraries Success"} + AddressFrom(address, 2) +
         Lines{"Get Address from Port success"};
}

Lines PortStatusOf(const std::string& port) {
  return Method("CCIXML::Load") + FindFileInfo() +
         Lines{" the port name from the printer is: [" + port + "]", "Load IXO DLL!",
               "IXO_DLL: [" + HostFolder::Text("//vexmoixo.dll") + "]", "Load IXO DLL Success"} +
         AddressFrom(port, 1) + Lines{"Get Address from Port success and the connected IP is active"};
}

}  // namespace custom_bidi_test

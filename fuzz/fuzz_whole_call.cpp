// A data-map document, from the file to its item names.

#include <sys/mman.h>
#include <unistd.h>

#include <string>

#include "base/files.h"
#include "fuzz/fuzz_input.h"
#include "pal/test_hooks.h"
#include "src/text.h"
#include "src/xml/ccixml.h"

namespace custom_bidi::fuzz {
namespace {

void ReadNames(CCIXML& xml) {
  std::vector<ComPtr<IXMLDOMNode>> nodes;
  const DWORD code = xml.GetPathedNodeListAsArray(W("//IPPDataMap//DataItem"), nodes);
  Demand(code == ERROR_SUCCESS, "every document can be asked");
  for (const ComPtr<IXMLDOMNode>& node : nodes) {
    WCHAR name[CCIXML::kValueChars + 1] = {};
    const DWORD name_code = xml.GetAttributeValue(node.Get(), W("Name"), name);
    Demand(name_code == ERROR_SUCCESS || (name_code == kXmlParseError && *name == 0), "a name or none");
    Demand(TextLength(name) < CCIXML::kValueChars, "a name is cut to its buffer");
  }
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  {
    const base::FileDescriptor file(memfd_create("data map", 0));
    Demand(write(file.Get(), data, size) == static_cast<ssize_t>(size), "a file in memory");
    const std::string path = "/proc/self/fd/" + std::to_string(file.Get());
    CCIXML xml;
    const DWORD code = xml.Load(WString(path.begin(), path.end()).c_str());
    Demand(code == ERROR_SUCCESS || code == ERROR_INVALID_DATA, "a file loads or does not");
    Demand(xml.HasDocument() == (code == ERROR_SUCCESS), "there is a document when it loaded");
    if (xml.HasDocument()) {
      ReadNames(xml);
    }
  }
  Demand(pal::LiveObjects() == 0, "nothing is left open");
  return 0;
}

}  // namespace custom_bidi::fuzz

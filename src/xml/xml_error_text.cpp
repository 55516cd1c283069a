// What a load failure says in the trace.

#include "src/system_text.h"
#include "src/text.h"
#include "src/xml/ccixml.h"

namespace custom_bidi {
namespace {

size_t DescribeParseError(std::span<WCHAR> text, const WCHAR* location, IXMLDOMParseError* parse_error) {
  LONG code = 0;
  LONG line = 0;
  LONG position = 0;
  Bstr reason;
  parse_error->get_errorCode(&code);
  parse_error->get_line(&line);
  parse_error->get_linepos(&position);
  parse_error->get_reason(reason.Put());
  if (!reason) {
    return FormatText(text, W("XML Error [%s]\r\n Error Code 0x%08X on line %d, position %d"), location, code,
                      line, position);
  }
  return FormatText(text, W("XML Error [%s]\r\n Error Code 0x%08X on line %d, position %d\r\nReason: %s"),
                    location, code, line, position, reason.Get());
}

size_t DescribeCode(std::span<WCHAR> text, const WCHAR* location, DWORD code) {
  const SystemText system_text = SystemTextOf(code);
  if (!system_text)
    return FormatText(text, W("XML Error [%s]\r\n Error Code 0x%08X"), location, code);
  return FormatText(text, W("XML Error [%s]\r\n Error Code 0x%08X : %s"), location, code, system_text.Get());
}

size_t Describe(std::span<WCHAR> text, const _CIXML_ERROR& error) {
  if (error.code == kXmlGpf) {
    return FormatText(text, W("\r\n\r\n !!!!! XML Error :GPF in %s function  !!!!!!!!!!!!!!\r\n\r\n"),
                      error.location);
  }
  if (error.code == kXmlNoDocumentClass)
    return FormatText(text, W("XML Error [%s]: COM initializing error"), error.location);
  if (error.parse_error)
    return DescribeParseError(text, error.location, error.parse_error.Get());
  if (error.code != ERROR_SUCCESS)
    return DescribeCode(text, error.location, error.code);
  return 0;
}

}  // namespace

void CCIXML::GetErrorText(WCHAR* text) const noexcept {
  WCHAR description[1024] = {};
  const size_t length = Describe(description, error_);
  if (text != nullptr && length > 0 && length <= kErrorTextChars)
    CopyText({text, kErrorTextChars}, description);
}

}  // namespace custom_bidi

#include <libxml/parserInternals.h>

#include <algorithm>
#include <cstdio>

#include "base/error_codes.h"
#include "base/files.h"
#include "base/utf.h"
#include "pal/dom.h"

namespace pal {
namespace {

constexpr HRESULT kObjectNotFound = static_cast<HRESULT>(0x800C0006);
constexpr HRESULT kAccessDenied = static_cast<HRESULT>(0x80070005);
constexpr HRESULT kCannotRead = static_cast<HRESULT>(0x800C0008);
constexpr HRESULT kDtdProhibited = static_cast<HRESULT>(0xC00CE584);
constexpr HRESULT kNotWellFormed = static_cast<HRESULT>(0xC00CE223);

struct SyntaxCode {
  int xml_error;
  uint32_t code;
};
constexpr SyntaxCode kSyntaxCodes[] = {
    {XML_ERR_INVALID_CHAR, 0xC00CE508},
    {XML_ERR_UNDECLARED_ENTITY, 0xC00CE002},
    {XML_ERR_ATTRIBUTE_NOT_STARTED, 0xC00CE502},
    {XML_ERR_ATTRIBUTE_NOT_FINISHED, 0xC00CE51B},
    {XML_ERR_ATTRIBUTE_WITHOUT_VALUE, 0xC00CE501},
    {XML_ERR_LT_IN_ATTRIBUTE, 0xC00CE506},
    {XML_ERR_ATTRIBUTE_REDEFINED, 0xC00CE554},
    {XML_ERR_COMMENT_NOT_FINISHED, 0xC00CE561},
    {XML_ERR_CDATA_NOT_FINISHED, 0xC00CE564},
    {XML_ERR_PI_NOT_FINISHED, 0xC00CE55D},
    {XML_ERR_NAME_REQUIRED, 0xC00CE504},
    {XML_ERR_SPACE_REQUIRED, 0xC00CE509},
    {XML_ERR_GT_REQUIRED, 0xC00CE50A},
    {XML_ERR_DOCUMENT_EMPTY, 0xC00CE556},
    {XML_ERR_DOCUMENT_END, 0xC00CE555},
    {XML_ERR_TAG_NAME_MISMATCH, 0xC00CE56D},
    {XML_ERR_TAG_NOT_FINISHED, 0xC00CE553},
    {XML_ERR_UNKNOWN_ENCODING, 0xC00CE56E},
    {XML_ERR_UNSUPPORTED_ENCODING, 0xC00CE56E},
    {XML_ERR_INVALID_ENCODING, 0xC00CE56E},
    {XML_NS_ERR_UNDEFINED_NAMESPACE, 0xC00CE01D},
};

HRESULT CodeOfXmlError(int xml_error) {
  const auto* found =
      std::find_if(std::begin(kSyntaxCodes), std::end(kSyntaxCodes),
                   [xml_error](const SyntaxCode& entry) { return entry.xml_error == xml_error; });
  return found == std::end(kSyntaxCodes) ? kNotWellFormed : static_cast<HRESULT>(found->code);
}

// The first error of a parse. Filled from callbacks of C code, which no exception may cross: nothing here is
// allocated.
struct ParseLog {
  int xml_error = XML_ERR_OK;
  LONG line = 0;
  LONG position = 0;
  char message[512] = "";
  bool has_doctype = false;
};

void OnXmlError(void* context, xmlErrorPtr error) {
  auto& log = *static_cast<ParseLog*>(context);
  if (error->level < XML_ERR_ERROR || log.xml_error != XML_ERR_OK) {
    return;
  }
  log.xml_error = error->code;
  log.line = error->line;
  log.position = error->int2;
  std::snprintf(log.message, sizeof(log.message), "%s", error->message != nullptr ? error->message : "");
}

void OnDoctype(void* context, const xmlChar*, const xmlChar*, const xmlChar*) {
  auto* parser = static_cast<xmlParserCtxtPtr>(context);
  auto& log = *static_cast<ParseLog*>(parser->_private);
  log.has_doctype = true;
  log.line = parser->input->line;
  log.position = parser->input->col;
  Xml().Call<&::xmlStopParser>(parser);
}

DomError ReadError(DWORD code) {
  switch (code) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_NAME:
    case ERROR_FILENAME_EXCED_RANGE:
      return {kObjectNotFound, 0, 0, u"The system cannot locate the object specified.\r\n"};
    case ERROR_ACCESS_DENIED:
      return {kAccessDenied, 0, 0, u"Access is denied.\r\n"};
    default:
      return {kCannotRead, 0, 0, u"The download of the specified resource has failed.\r\n"};
  }
}

DomError SyntaxError(const ParseLog& log) {
  DomError error{kDtdProhibited, std::max(log.line, 1), std::max(log.position, 1), u"DTD is prohibited.\r\n"};
  if (log.has_doctype) {
    return error;
  }
  error.code = CodeOfXmlError(log.xml_error);
  error.reason = base::ToUtf16(log.message);
  while (!error.reason.empty() && error.reason.back() <= u' ') {
    error.reason.pop_back();
  }
  if (error.reason.empty()) {
    error.reason = u"The document is not well-formed";
  }
  if (error.reason.back() != u'.') {
    error.reason += u'.';
  }
  error.reason += u"\r\n";
  return error;
}

void Parse(const std::string& bytes, DomTree& tree) {
  const std::unique_ptr<xmlParserCtxt, void (*)(xmlParserCtxtPtr)> parser(Xml().Call<&::xmlNewParserCtxt>(),
                                                                          Xml().Get<&::xmlFreeParserCtxt>());
  if (!parser) {
    throw std::bad_alloc();
  }
  ParseLog log;
  const ScopedXmlErrors errors(OnXmlError, &log);
  parser->_private = &log;
  parser->sax->internalSubset = OnDoctype;
  // Nothing is fetched, no entity is replaced, and libxml2's limits on depth and size stand.
  tree.document.reset(Xml().Call<&::xmlCtxtReadMemory>(parser.get(), bytes.data(),
                                                       static_cast<int>(bytes.size()), nullptr, nullptr,
                                                       XML_PARSE_NONET | XML_PARSE_BIG_LINES));
  if (log.xml_error == XML_ERR_NO_MEMORY) {
    throw std::bad_alloc();
  }
  if (!tree.document || !parser->nsWellFormed || log.has_doctype) {
    tree.document.reset();
    tree.error = SyntaxError(log);
  }
}

}  // namespace

ScopedXmlErrors::ScopedXmlErrors(xmlStructuredErrorFunc handler, void* context)
    : former_handler_(*Xml().Call<&::__xmlStructuredError>()),
      former_context_(*Xml().Call<&::__xmlStructuredErrorContext>()) {
  Xml().Call<&::xmlSetStructuredErrorFunc>(context, handler);
}

ScopedXmlErrors::~ScopedXmlErrors() {
  Xml().Call<&::xmlResetLastError>();
  Xml().Call<&::xmlSetStructuredErrorFunc>(former_context_, former_handler_);
}

DomTreePtr LoadDomTree(std::u16string_view path) {
  auto tree = std::make_shared<DomTree>();
  std::string posix_path;
  std::string bytes;
  DWORD code = base::ToPosixPath(path, &posix_path);
  if (code == ERROR_SUCCESS) {
    code = base::ReadWholeFile(posix_path, &bytes, base::kMaxDocumentBytes);
  }
  if (code != ERROR_SUCCESS) {
    tree->error = ReadError(code);
  } else if (bytes.empty()) {
    tree->error = {static_cast<HRESULT>(0xC00CE558), 1, 1,
                   u"XML document must have a top level element.\r\n"};
  } else {
    Parse(bytes, *tree);
  }
  return tree;
}

}  // namespace pal

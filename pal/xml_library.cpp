#include "pal/xml_library.h"

#include <mutex>

#include "pal/system_library.h"

namespace pal {
namespace {

XmlLibrary g_library;

bool Load() {
  const SystemLibrary file("libxml2.so.2");
  XmlLibrary& xml = g_library;
  const bool is_whole =
      file.Bind("__xmlStructuredError", xml.xmlStructuredErrorPlace) &&
      file.Bind("__xmlStructuredErrorContext", xml.xmlStructuredErrorContextPlace) &&
      file.Bind("xmlCtxtReadMemory", xml.xmlCtxtReadMemory) &&
      file.Bind("xmlDocGetRootElement", xml.xmlDocGetRootElement) && file.Bind("xmlFree", xml.xmlFree) &&
      file.Bind("xmlFreeDoc", xml.xmlFreeDoc) && file.Bind("xmlFreeParserCtxt", xml.xmlFreeParserCtxt) &&
      file.Bind("xmlInitParser", xml.xmlInitParser) && file.Bind("xmlNewParserCtxt", xml.xmlNewParserCtxt) &&
      file.Bind("xmlNodeGetContent", xml.xmlNodeGetContent) &&
      file.Bind("xmlResetLastError", xml.xmlResetLastError) &&
      file.Bind("xmlSetStructuredErrorFunc", xml.xmlSetStructuredErrorFunc) &&
      file.Bind("xmlStopParser", xml.xmlStopParser) &&
      file.Bind("xmlXPathEvalExpression", xml.xmlXPathEvalExpression) &&
      file.Bind("xmlXPathFreeContext", xml.xmlXPathFreeContext) &&
      file.Bind("xmlXPathFreeObject", xml.xmlXPathFreeObject) &&
      file.Bind("xmlXPathNewContext", xml.xmlXPathNewContext);
  if (is_whole)
    xml.xmlInitParser();
  return is_whole;
}

}  // namespace

bool HasXmlLibrary() {
  static std::once_flag once;
  static bool has_library = false;
  std::call_once(once, [] { has_library = Load(); });
  return has_library;
}

const XmlLibrary& Xml() {
  return g_library;
}

}  // namespace pal

#pragma once

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xpath.h>

namespace pal {

/// The functions of libxml2 that the DOM is made of, with the names and types of its own headers.
struct XmlLibrary {
  decltype(&::__xmlStructuredError) xmlStructuredErrorPlace;
  decltype(&::__xmlStructuredErrorContext) xmlStructuredErrorContextPlace;
  decltype(&::xmlCtxtReadMemory) xmlCtxtReadMemory;
  decltype(&::xmlDocGetRootElement) xmlDocGetRootElement;
  decltype(&::xmlFree) xmlFree;  // a variable
  decltype(&::xmlFreeDoc) xmlFreeDoc;
  decltype(&::xmlFreeParserCtxt) xmlFreeParserCtxt;
  decltype(&::xmlInitParser) xmlInitParser;
  decltype(&::xmlNewParserCtxt) xmlNewParserCtxt;
  decltype(&::xmlNodeGetContent) xmlNodeGetContent;
  decltype(&::xmlResetLastError) xmlResetLastError;
  decltype(&::xmlSetStructuredErrorFunc) xmlSetStructuredErrorFunc;
  decltype(&::xmlStopParser) xmlStopParser;
  decltype(&::xmlXPathEvalExpression) xmlXPathEvalExpression;
  decltype(&::xmlXPathFreeContext) xmlXPathFreeContext;
  decltype(&::xmlXPathFreeObject) xmlXPathFreeObject;
  decltype(&::xmlXPathNewContext) xmlXPathNewContext;
};

/// Loads libxml2 at the first call; false when the machine has none. With the tables for character sets that
/// it brings along it costs more than all of a call that reads no XML.
bool HasXmlLibrary();

/// Only where HasXmlLibrary has been true.
const XmlLibrary& Xml();

}  // namespace pal

#pragma once

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/uri.h>
#include <libxml/xpath.h>
#include <libxml/xpathInternals.h>

#include "base/late_functions.h"

namespace base {

/// The functions of libxml2 that are used here. xmlFree is a variable.
using XmlFunctions = LateFunctions<&::valuePop,
                                   &::__xmlStructuredError,
                                   &::__xmlStructuredErrorContext,
                                   &::xmlCtxtReadMemory,
                                   &::xmlDocGetRootElement,
                                   &::xmlFree,
                                   &::xmlFreeDoc,
                                   &::xmlFreeParserCtxt,
                                   &::xmlFreeURI,
                                   &::xmlGetNoNsProp,
                                   &::xmlInitParser,
                                   &::xmlMalloc,
                                   &::xmlNewParserCtxt,
                                   &::xmlNodeGetContent,
                                   &::xmlParseURIRaw,
                                   &::xmlReadMemory,
                                   &::xmlResetLastError,
                                   &::xmlSetStructuredErrorFunc,
                                   &::xmlStopParser,
                                   &::xmlXPathEvalExpr,
                                   &::xmlXPathFreeContext,
                                   &::xmlXPathFreeObject,
                                   &::xmlXPathFreeParserContext,
                                   &::xmlXPathNewContext,
                                   &::xmlXPathNewParserContext>;

/// Loads libxml2 at the first call; null when the machine has none. With the tables for character sets that
/// it brings along it costs more than all of a call that reads no XML.
const XmlFunctions* TheXmlFunctions();

}  // namespace base

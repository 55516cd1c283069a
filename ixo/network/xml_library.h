#pragma once

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/uri.h>

namespace custom_bidi::network {

/// The functions of libxml2 that are used here, with the names and types of its own headers.
struct XmlLibrary {
  decltype(&::xmlDocGetRootElement) xmlDocGetRootElement;
  decltype(&::xmlFree) xmlFree;  // a variable
  decltype(&::xmlFreeDoc) xmlFreeDoc;
  decltype(&::xmlFreeURI) xmlFreeURI;
  decltype(&::xmlGetNoNsProp) xmlGetNoNsProp;
  decltype(&::xmlParseURIRaw) xmlParseURIRaw;
  decltype(&::xmlReadMemory) xmlReadMemory;
};

/// libxml2, loaded at the first call; null when the machine has none. Reading a printer's state does without.
const XmlLibrary* TheXmlLibrary();

}  // namespace custom_bidi::network

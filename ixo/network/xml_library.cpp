#include "ixo/network/xml_library.h"

#include "ixo/support/objects.h"
#include "pal/system_library.h"

namespace custom_bidi::network {
namespace {

SRWLOCK library_lock = SRWLOCK_INIT;
bool library_tried = false;
bool library_whole = false;
XmlLibrary library;

bool Load() {
  const pal::SystemLibrary xml("libxml2.so.2");
  return xml.Bind("xmlDocGetRootElement", library.xmlDocGetRootElement) &&
         xml.Bind("xmlFree", library.xmlFree) && xml.Bind("xmlFreeDoc", library.xmlFreeDoc) &&
         xml.Bind("xmlFreeURI", library.xmlFreeURI) && xml.Bind("xmlGetNoNsProp", library.xmlGetNoNsProp) &&
         xml.Bind("xmlParseURIRaw", library.xmlParseURIRaw) &&
         xml.Bind("xmlReadMemory", library.xmlReadMemory);
}

}  // namespace

const XmlLibrary* TheXmlLibrary() {
  const device::Locked locked(library_lock);
  if (!library_tried) {
    library_tried = true;
    library_whole = Load();
  }
  return library_whole ? &library : nullptr;
}

}  // namespace custom_bidi::network

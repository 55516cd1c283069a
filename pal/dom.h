#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "base/types.h"
#include "base/xml_functions.h"

namespace pal {

/// Only where libxml2 has been found.
inline const base::XmlFunctions& Xml() {
  return *base::TheXmlFunctions();
}

struct DomError {
  HRESULT code = 0;  // 0: none
  LONG line = 0;
  LONG position = 0;
  std::u16string reason;
};

struct FreeXmlDocument {
  void operator()(xmlDoc* document) const { Xml().Call<&::xmlFreeDoc>(document); }
};

/// What a load made: the tree, or null and why. It never changes, and every object of the DOM that stands for
/// a part of it shares it.
struct DomTree {
  std::unique_ptr<xmlDoc, FreeXmlDocument> document;
  DomError error;
};
using DomTreePtr = std::shared_ptr<const DomTree>;

/// Loads the file of a Windows path. Never null; may throw std::bad_alloc.
DomTreePtr LoadDomTree(std::u16string_view path);

/// For the life of this object, and on this thread only, libxml2 reports errors to `handler` with `context`
/// instead of printing them. The last error it keeps per thread is forgotten at the end.
class ScopedXmlErrors {
 public:
  ScopedXmlErrors(xmlStructuredErrorFunc handler, void* context);
  ~ScopedXmlErrors();
  ScopedXmlErrors(const ScopedXmlErrors&) = delete;
  ScopedXmlErrors& operator=(const ScopedXmlErrors&) = delete;

 private:
  xmlStructuredErrorFunc former_handler_;
  void* former_context_;
};

/// A new document, empty, by the interface asked for.
HRESULT CreateDomDocument(REFIID iid, void** object);

}  // namespace pal

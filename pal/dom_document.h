#pragma once

#include "pal/dom.h"
#include "pal/dom_tree.h"

namespace pal {

/// A new document, empty, by the interface asked for.
HRESULT CreateDomDocument(REFIID iid, void** object);

/// A new document object for a tree that is loaded, without a reference yet.
IXMLDOMDocument* MakeDocument(DomTreePtr tree);

}  // namespace pal

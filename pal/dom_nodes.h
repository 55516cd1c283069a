#pragma once

#include <vector>

#include "pal/dom_object.h"
#include "pal/dom_tree.h"

namespace pal {

/// A node of a tree, and the tree, which it keeps alive. Without a node it is the document that has not
/// loaded.
struct NodeInTree {
  DomTreePtr tree;
  xmlNode* node = nullptr;
};

// The methods of IXMLDOMNode, for nodes and documents. May throw std::bad_alloc.
HRESULT GetAttributes(const NodeInTree& at, IXMLDOMNamedNodeMap** attributes);
HRESULT SelectNodes(const NodeInTree& at, BSTR query, IXMLDOMNodeList** nodes);
HRESULT SelectSingleNode(const NodeInTree& at, BSTR query, IXMLDOMNode** node);
HRESULT GetText(const NodeInTree& at, BSTR* text);

/// A new node object, without a reference yet.
IXMLDOMElement* MakeNode(const NodeInTree& at);

}  // namespace pal

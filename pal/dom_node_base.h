#pragma once

#include "pal/dom_nodes.h"
#include "pal/guarded.h"

namespace pal {

/// IXMLDOMNode for nodes and documents. It checks the arguments, sees to it that an out parameter is null
/// unless there is something to give, and lets a test make a call fail.
template <class Interface>
class DomNodeBase : public DomObject<Interface> {
 public:
  HRESULT get_attributes(IXMLDOMNamedNodeMap** attributes) final {
    return Answer("IXMLDOMNode::get_attributes", attributes,
                  [&] { return GetAttributes(Here(), attributes); });
  }
  HRESULT selectNodes(BSTR query, IXMLDOMNodeList** nodes) final {
    return Answer("IXMLDOMNode::selectNodes", nodes, [&] { return SelectNodes(Here(), query, nodes); });
  }
  HRESULT selectSingleNode(BSTR query, IXMLDOMNode** node) final {
    return Answer("IXMLDOMNode::selectSingleNode", node,
                  [&] { return SelectSingleNode(Here(), query, node); });
  }
  HRESULT get_text(BSTR* text) final {
    return Answer("IXMLDOMNode::get_text", text, [&] { return GetText(Here(), text); });
  }

 protected:
  virtual NodeInTree Here() const = 0;

  template <class Out, class Body>
  static HRESULT Answer(const char* function, Out* out, Body&& body) {
    if (!out)
      return E_INVALIDARG;
    *out = Out{};
    if (MustFail(function))
      return E_OUTOFMEMORY;
    return GuardedMethod(std::forward<Body>(body));
  }
};

}  // namespace pal

#include "pal/dom_nodes.h"

#include <algorithm>
#include <memory>
#include <string>

#include "pal/allocation.h"
#include "pal/dom_document.h"
#include "pal/dom_node_base.h"
#include "pal/text.h"

namespace pal {
namespace {

constexpr std::u16string_view kXmlBlanks = u" \t\r\n";

std::u16string FromXml(const xmlChar* text) {
  return text ? ToUtf16(reinterpret_cast<const char*>(text)) : std::u16string();
}

std::u16string_view ViewOf(BSTR text) {
  return {text ? text : u"", SysStringLen(text)};
}

class DomNode final : public DomNodeBase<IXMLDOMElement> {
 public:
  explicit DomNode(const NodeInTree& here) : here_(here) {}

  HRESULT get_ownerDocument(IXMLDOMDocument** document) override {
    return Answer("IXMLDOMNode::get_ownerDocument", document,
                  [&] { return HandOut(MakeDocument(here_.tree), document); });
  }

 protected:
  NodeInTree Here() const override { return here_; }
  bool Implements(REFIID iid) const override {
    return iid == kIidNode || (iid == kIidElement && here_.node->type == XML_ELEMENT_NODE);
  }

 private:
  const NodeInTree here_;
};

class DomNodeList final : public DomObject<IXMLDOMNodeList> {
 public:
  DomNodeList(DomTreePtr tree, std::vector<xmlNode*> nodes)
      : tree_(std::move(tree)), nodes_(std::move(nodes)) {}

  HRESULT get_length(LONG* length) override {
    if (!length)
      return E_INVALIDARG;
    *length = 0;
    if (MustFail("IXMLDOMNodeList::get_length"))
      return E_FAIL;
    *length = static_cast<LONG>(nodes_.size());
    return S_OK;
  }

  HRESULT get_item(LONG index, IXMLDOMNode** node) override {
    if (!node)
      return E_INVALIDARG;
    *node = nullptr;
    if (MustFail("IXMLDOMNodeList::get_item"))
      return E_OUTOFMEMORY;
    if (index < 0 || static_cast<size_t>(index) >= nodes_.size())
      return S_FALSE;
    return GuardedMethod([&] {
      return HandOut(MakeNode({tree_, nodes_[static_cast<size_t>(index)]}), node);
    });
  }

 protected:
  bool Implements(REFIID iid) const override { return iid == kIidNodeList; }

 private:
  const DomTreePtr tree_;
  const std::vector<xmlNode*> nodes_;
};

// "prefix:name", as the document has it.
std::string QualifiedName(const xmlAttr& attribute) {
  std::string name;
  if (attribute.ns && attribute.ns->prefix)
    name.append(reinterpret_cast<const char*>(attribute.ns->prefix)) += ':';
  return name.append(reinterpret_cast<const char*>(attribute.name));
}

class DomAttributes final : public DomObject<IXMLDOMNamedNodeMap> {
 public:
  explicit DomAttributes(const NodeInTree& element) : element_(element) {}

  HRESULT getNamedItem(BSTR name, IXMLDOMNode** node) override {
    if (!name || !node)
      return E_INVALIDARG;
    *node = nullptr;
    if (MustFail("IXMLDOMNamedNodeMap::getNamedItem"))
      return E_OUTOFMEMORY;
    return GuardedMethod([&]() -> HRESULT {
      const std::string wanted = ToUtf8(ViewOf(name));
      for (xmlAttr* attribute = element_.node->properties; attribute; attribute = attribute->next) {
        if (QualifiedName(*attribute) == wanted)
          return HandOut(MakeNode({element_.tree, reinterpret_cast<xmlNode*>(attribute)}), node);
      }
      return S_FALSE;
    });
  }

 protected:
  bool Implements(REFIID iid) const override { return iid == kIidNamedNodeMap; }

 private:
  const NodeInTree element_;
};

void IgnoreXmlError(void*, xmlErrorPtr) {}

// S_OK with the nodes in document order, which may be none; E_FAIL when the query is malformed or gives
// something that is not a node of the tree.
HRESULT Evaluate(const NodeInTree& at, BSTR query, std::vector<xmlNode*>* nodes) {
  if (!query)
    return E_INVALIDARG;
  if (!at.node)
    return E_FAIL;
  const std::u16string_view text = ViewOf(query);
  if (!IsValidUtf16(text) || text.find(u'\0') != std::u16string_view::npos)
    return E_FAIL;

  const ScopedXmlErrors errors(IgnoreXmlError, nullptr);
  const std::unique_ptr<xmlXPathContext, void (*)(xmlXPathContextPtr)> context(
      Xml().xmlXPathNewContext(at.tree->document.get()), Xml().xmlXPathFreeContext);
  if (!context)
    throw std::bad_alloc();
  context->node = at.node;
  const std::string expression = ToUtf8(text);
  const std::unique_ptr<xmlXPathObject, void (*)(xmlXPathObjectPtr)> result(
      Xml().xmlXPathEvalExpression(reinterpret_cast<const xmlChar*>(expression.c_str()), context.get()),
      Xml().xmlXPathFreeObject);
  if (!result || result->type != XPATH_NODESET)
    return E_FAIL;
  if (xmlXPathNodeSetIsEmpty(result->nodesetval))
    return S_OK;
  nodes->assign(result->nodesetval->nodeTab, result->nodesetval->nodeTab + result->nodesetval->nodeNr);
  // A namespace declaration belongs to the result, not to the tree.
  const bool has_namespace = std::any_of(
      nodes->begin(), nodes->end(), [](const xmlNode* node) { return node->type == XML_NAMESPACE_DECL; });
  return has_namespace ? E_FAIL : S_OK;
}

}  // namespace

HRESULT GetAttributes(const NodeInTree& at, IXMLDOMNamedNodeMap** attributes) {
  if (!at.node || at.node->type != XML_ELEMENT_NODE)
    return S_FALSE;
  return HandOut(new DomAttributes(at), attributes);
}

HRESULT SelectNodes(const NodeInTree& at, BSTR query, IXMLDOMNodeList** nodes) {
  std::vector<xmlNode*> found;
  const HRESULT result = Evaluate(at, query, &found);
  return FAILED(result) ? result : HandOut(new DomNodeList(at.tree, std::move(found)), nodes);
}

HRESULT SelectSingleNode(const NodeInTree& at, BSTR query, IXMLDOMNode** node) {
  std::vector<xmlNode*> found;
  const HRESULT result = Evaluate(at, query, &found);
  if (FAILED(result))
    return result;
  return found.empty() ? S_FALSE : HandOut(MakeNode({at.tree, found.front()}), node);
}

HRESULT GetText(const NodeInTree& at, BSTR* text) {
  if (!at.node)
    return S_FALSE;
  const std::unique_ptr<xmlChar, void (*)(void*)> content(Xml().xmlNodeGetContent(at.node), *Xml().xmlFree);
  const std::u16string whole = FromXml(content.get());
  std::u16string_view shown = whole;
  if (at.node->type != XML_ATTRIBUTE_NODE) {
    shown.remove_prefix(std::min(shown.find_first_not_of(kXmlBlanks), shown.size()));
    shown = shown.substr(0, shown.find_last_not_of(kXmlBlanks) + 1);
  }
  *text = AllocateBstr(shown);
  return *text ? S_OK : E_OUTOFMEMORY;
}

IXMLDOMElement* MakeNode(const NodeInTree& at) {
  return new DomNode(at);
}

}  // namespace pal

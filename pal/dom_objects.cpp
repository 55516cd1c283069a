#include <algorithm>
#include <atomic>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/utf.h"
#include "pal/com.h"
#include "pal/dom.h"
#include "pal/internal.h"

namespace pal {
namespace {

inline constexpr IID kIidUnknown = {0, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

/// The IIDs of the DOM's interfaces differ in their first number only.
constexpr IID DomIid(uint32_t first) {
  return {first, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
}
inline constexpr IID kIidNode = DomIid(0x2933BF80);
inline constexpr IID kIidDocument = DomIid(0x2933BF81);
inline constexpr IID kIidNodeList = DomIid(0x2933BF82);
inline constexpr IID kIidNamedNodeMap = DomIid(0x2933BF83);
inline constexpr IID kIidElement = DomIid(0x2933BF86);
inline constexpr IID kIidDocument3 = DomIid(0x2933BF96);
inline constexpr IID kIidParseError = {0x3050F426,
                                       0x98B5,
                                       0x11CF,
                                       {0xBB, 0x82, 0x00, 0xAA, 0x00, 0xBD, 0xCE, 0x0B}};

/// What is common to all objects of the DOM: they are made with no reference, and end with their last one.
template <class Interface>
class DomObject : public Interface {
 public:
  DomObject(const DomObject&) = delete;
  DomObject& operator=(const DomObject&) = delete;

  HRESULT QueryInterface(REFIID iid, void** object) final {
    if (object == nullptr) {
      return E_INVALIDARG;
    }
    *object = nullptr;
    if (iid != kIidUnknown && !Implements(iid)) {
      return E_NOINTERFACE;
    }
    // Each object has a single table, so all its interfaces are at one address.
    *object = static_cast<Interface*>(this);
    AddRef();
    return S_OK;
  }

  ULONG AddRef() final { return references_.fetch_add(1, std::memory_order_relaxed) + 1; }

  ULONG Release() final {
    const ULONG left = references_.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (left == 0) {
      delete this;
    }
    return left;
  }

 protected:
  DomObject() { CountUp(Kind::kDomObject); }
  virtual ~DomObject() { CountDown(Kind::kDomObject); }

  virtual bool Implements(REFIID iid) const = 0;

 private:
  std::atomic<ULONG> references_{0};
};

/// Hands out a new object with its first reference.
template <class Object, class Interface>
HRESULT HandOut(Object* object, Interface** out) {
  object->AddRef();
  *out = object;
  return S_OK;
}

HRESULT HandOutText(std::u16string_view text, BSTR* out) {
  *out = AllocateBstr(text.data(), text.size());
  return *out != nullptr ? S_OK : E_OUTOFMEMORY;
}

/// Runs what a method does. The out parameter is null unless there is something to give; a test can make the
/// method fail.
template <class Out, class Body>
HRESULT Answer(const char* function, Out* out, Body&& body, HRESULT fault = E_OUTOFMEMORY) {
  if (out == nullptr) {
    return E_INVALIDARG;
  }
  *out = Out{};
  if (MustFail(function)) {
    return fault;
  }
  return GuardedMethod(std::forward<Body>(body));
}

/// A node of a tree, and the tree, which it keeps alive. Without a node it is the document that has not
/// loaded.
struct NodeInTree {
  DomTreePtr tree;
  xmlNode* node = nullptr;
};

// New objects, without a reference yet.
IXMLDOMElement* MakeNode(const NodeInTree& at);
IXMLDOMDocument* MakeDocument(DomTreePtr tree);

constexpr std::u16string_view kXmlBlanks = u" \t\r\n";

std::u16string FromXml(const xmlChar* text) {
  return text != nullptr ? base::ToUtf16(reinterpret_cast<const char*>(text)) : std::u16string();
}

std::u16string_view ViewOf(BSTR text) {
  return {text != nullptr ? text : u"", SysStringLen(text)};
}

class DomNodeList final : public DomObject<IXMLDOMNodeList> {
 public:
  DomNodeList(DomTreePtr tree, std::vector<xmlNode*> nodes)
      : tree_(std::move(tree)), nodes_(std::move(nodes)) {}

  HRESULT get_length(LONG* length) override {
    return Answer(
        "IXMLDOMNodeList::get_length", length,
        [&] {
          *length = static_cast<LONG>(nodes_.size());
          return S_OK;
        },
        E_FAIL);
  }

  HRESULT get_item(LONG index, IXMLDOMNode** node) override {
    return Answer("IXMLDOMNodeList::get_item", node, [&]() -> HRESULT {
      if (index < 0 || static_cast<size_t>(index) >= nodes_.size()) {
        return S_FALSE;
      }
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
  if (attribute.ns != nullptr && attribute.ns->prefix != nullptr) {
    name.append(reinterpret_cast<const char*>(attribute.ns->prefix)) += ':';
  }
  return name.append(reinterpret_cast<const char*>(attribute.name));
}

class DomAttributes final : public DomObject<IXMLDOMNamedNodeMap> {
 public:
  explicit DomAttributes(const NodeInTree& element) : element_(element) {}

  HRESULT getNamedItem(BSTR name, IXMLDOMNode** node) override {
    if (name == nullptr) {
      return E_INVALIDARG;
    }
    return Answer("IXMLDOMNamedNodeMap::getNamedItem", node, [&]() -> HRESULT {
      const std::string wanted = base::ToUtf8(ViewOf(name));
      for (xmlAttr* attribute = element_.node->properties; attribute != nullptr;
           attribute = attribute->next) {
        if (QualifiedName(*attribute) == wanted) {
          return HandOut(MakeNode({element_.tree, reinterpret_cast<xmlNode*>(attribute)}), node);
        }
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

using XPathResult = std::unique_ptr<xmlXPathObject, void (*)(xmlXPathObjectPtr)>;

/// What libxml2's xmlXPathEvalExpression does, which frees a context twice when there is no memory for its
/// stack of values: so that is made here. Null when the query is malformed.
XPathResult RunQuery(xmlXPathContext* context, const std::string& query) {
  constexpr int kFirstValues = 10;
  const std::unique_ptr<xmlXPathParserContext, void (*)(xmlXPathParserContextPtr)> parser(
      Xml().Call<&::xmlXPathNewParserContext>(reinterpret_cast<const xmlChar*>(query.c_str()), context),
      Xml().Get<&::xmlXPathFreeParserContext>());
  if (!parser) {
    throw std::bad_alloc();
  }
  parser->valueTab =
      static_cast<xmlXPathObjectPtr*>((*Xml().Get<&::xmlMalloc>())(kFirstValues * sizeof(xmlXPathObjectPtr)));
  if (parser->valueTab == nullptr) {
    throw std::bad_alloc();
  }
  parser->valueMax = kFirstValues;
  Xml().Call<&::xmlXPathEvalExpr>(parser.get());
  XPathResult result(Xml().Call<&::valuePop>(parser.get()), Xml().Get<&::xmlXPathFreeObject>());
  if (parser->error == XPATH_MEMORY_ERROR) {
    throw std::bad_alloc();
  }
  if (parser->error != XPATH_EXPRESSION_OK) {
    result.reset();
  }
  return result;
}

// S_OK with the nodes in document order, which may be none; E_FAIL when the query is malformed or gives
// something that is not a node of the tree.
HRESULT Evaluate(const NodeInTree& at, BSTR query, std::vector<xmlNode*>* nodes) {
  if (query == nullptr) {
    return E_INVALIDARG;
  }
  if (at.node == nullptr) {
    return E_FAIL;
  }
  const std::u16string_view text = ViewOf(query);
  if (!base::IsValidUtf16(text) || text.find(u'\0') != std::u16string_view::npos) {
    return E_FAIL;
  }

  const ScopedXmlErrors errors(IgnoreXmlError, nullptr);
  const std::unique_ptr<xmlXPathContext, void (*)(xmlXPathContextPtr)> context(
      Xml().Call<&::xmlXPathNewContext>(at.tree->document.get()), Xml().Get<&::xmlXPathFreeContext>());
  if (!context) {
    throw std::bad_alloc();
  }
  context->node = at.node;
  const std::string expression = base::ToUtf8(text);
  const XPathResult result = RunQuery(context.get(), expression);
  if (!result || result->type != XPATH_NODESET) {
    return E_FAIL;
  }
  if (xmlXPathNodeSetIsEmpty(result->nodesetval)) {
    return S_OK;
  }
  nodes->assign(result->nodesetval->nodeTab, result->nodesetval->nodeTab + result->nodesetval->nodeNr);
  // A namespace declaration belongs to the result, not to the tree.
  const bool has_namespace = std::any_of(
      nodes->begin(), nodes->end(), [](const xmlNode* node) { return node->type == XML_NAMESPACE_DECL; });
  return has_namespace ? E_FAIL : S_OK;
}

// The methods of IXMLDOMNode, for nodes and documents. May throw std::bad_alloc.

HRESULT GetAttributes(const NodeInTree& at, IXMLDOMNamedNodeMap** attributes) {
  if (at.node == nullptr || at.node->type != XML_ELEMENT_NODE) {
    return S_FALSE;
  }
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
  if (FAILED(result)) {
    return result;
  }
  return found.empty() ? S_FALSE : HandOut(MakeNode({at.tree, found.front()}), node);
}

HRESULT GetText(const NodeInTree& at, BSTR* text) {
  if (at.node == nullptr) {
    return S_FALSE;
  }
  const std::unique_ptr<xmlChar, void (*)(void*)> content(Xml().Call<&::xmlNodeGetContent>(at.node),
                                                          *Xml().Get<&::xmlFree>());
  const std::u16string whole = FromXml(content.get());
  std::u16string_view shown = whole;
  if (at.node->type != XML_ATTRIBUTE_NODE) {
    shown.remove_prefix(std::min(shown.find_first_not_of(kXmlBlanks), shown.size()));
    shown = shown.substr(0, shown.find_last_not_of(kXmlBlanks) + 1);
  }
  return HandOutText(shown, text);
}

/// IXMLDOMNode for nodes and documents.
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
};

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

class DomParseError final : public DomObject<IXMLDOMParseError> {
 public:
  explicit DomParseError(DomTreePtr tree) : tree_(std::move(tree)) {}

  HRESULT get_errorCode(LONG* code) override { return Number(Error().code, code); }
  HRESULT get_line(LONG* line) override { return Number(Error().line, line); }
  HRESULT get_linepos(LONG* position) override { return Number(Error().position, position); }

  HRESULT get_reason(BSTR* reason) override {
    return Answer("IXMLDOMParseError::get_reason", reason,
                  [&] { return Error().reason.empty() ? S_FALSE : HandOutText(Error().reason, reason); });
  }

 protected:
  bool Implements(REFIID iid) const override { return iid == kIidParseError; }

 private:
  const DomError& Error() const {
    static const DomError kNone;
    return tree_ ? tree_->error : kNone;
  }

  HRESULT Number(LONG number, LONG* out) const {
    if (out == nullptr) {
      return E_INVALIDARG;
    }
    *out = number;
    return Error().code == 0 ? S_FALSE : S_OK;
  }

  const DomTreePtr tree_;
};

class DomDocument final : public DomNodeBase<IXMLDOMDocument3> {
 public:
  explicit DomDocument(DomTreePtr tree) : tree_(std::move(tree)) {}

  HRESULT put_async(VARIANT_BOOL is_async) override { return is_async ? E_INVALIDARG : S_OK; }

  HRESULT load(VARIANT source, VARIANT_BOOL* is_successful) override {
    return Answer("IXMLDOMDocument::load", is_successful, [&] {
      if (source.vt != VT_BSTR || source.bstrVal == nullptr) {
        return E_INVALIDARG;
      }
      tree_ = LoadDomTree({source.bstrVal, SysStringLen(source.bstrVal)});
      *is_successful = tree_->document ? VARIANT_TRUE : VARIANT_FALSE;
      return tree_->document ? S_OK : S_FALSE;
    });
  }

  HRESULT get_parseError(IXMLDOMParseError** error) override {
    return Answer("IXMLDOMDocument::get_parseError", error,
                  [&] { return HandOut(new DomParseError(tree_), error); });
  }

  HRESULT get_documentElement(IXMLDOMElement** element) override {
    return Answer("IXMLDOMDocument::get_documentElement", element, [&]() -> HRESULT {
      xmlNode* root =
          tree_ && tree_->document ? Xml().Call<&::xmlDocGetRootElement>(tree_->document.get()) : nullptr;
      return root != nullptr ? HandOut(MakeNode({tree_, root}), element) : S_FALSE;
    });
  }

  HRESULT get_ownerDocument(IXMLDOMDocument** document) override {
    return Answer("IXMLDOMNode::get_ownerDocument", document, [] { return S_FALSE; });
  }

 protected:
  NodeInTree Here() const override {
    return {tree_, tree_ ? reinterpret_cast<xmlNode*>(tree_->document.get()) : nullptr};
  }
  bool Implements(REFIID iid) const override {
    return iid == kIidDocument3 || iid == kIidDocument || iid == kIidNode;
  }

 private:
  DomTreePtr tree_;
};

IXMLDOMElement* MakeNode(const NodeInTree& at) {
  return new DomNode(at);
}

IXMLDOMDocument* MakeDocument(DomTreePtr tree) {
  return new DomDocument(std::move(tree));
}

}  // namespace

HRESULT CreateDomDocument(REFIID iid, void** object) {
  IXMLDOMDocument3* document = nullptr;
  HandOut(new DomDocument(nullptr), &document);
  const HRESULT result = document->QueryInterface(iid, object);
  document->Release();
  return result;
}

}  // namespace pal

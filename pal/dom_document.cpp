#include "pal/dom_document.h"

#include <utility>

#include "pal/allocation.h"
#include "pal/dom_node_base.h"

namespace pal {
namespace {

class DomParseError final : public DomObject<IXMLDOMParseError> {
 public:
  explicit DomParseError(DomTreePtr tree) : tree_(std::move(tree)) {}

  HRESULT get_errorCode(LONG* code) override { return Number(Error().code, code); }
  HRESULT get_line(LONG* line) override { return Number(Error().line, line); }
  HRESULT get_linepos(LONG* position) override { return Number(Error().position, position); }

  HRESULT get_reason(BSTR* reason) override {
    if (!reason)
      return E_INVALIDARG;
    *reason = nullptr;
    if (MustFail("IXMLDOMParseError::get_reason"))
      return E_OUTOFMEMORY;
    if (Error().reason.empty())
      return S_FALSE;
    *reason = AllocateBstr(Error().reason);
    return *reason ? S_OK : E_OUTOFMEMORY;
  }

 protected:
  bool Implements(REFIID iid) const override { return iid == kIidParseError; }

 private:
  const DomError& Error() const {
    static const DomError kNone;
    return tree_ ? tree_->error : kNone;
  }

  HRESULT Number(LONG number, LONG* out) const {
    if (!out)
      return E_INVALIDARG;
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
    if (!is_successful)
      return E_INVALIDARG;
    *is_successful = VARIANT_FALSE;
    if (MustFail("IXMLDOMDocument::load"))
      return E_OUTOFMEMORY;
    if (source.vt != VT_BSTR || !source.bstrVal)
      return E_INVALIDARG;
    return GuardedMethod([&] {
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
      xmlNode* root = tree_ && tree_->document ? Xml().xmlDocGetRootElement(tree_->document.get()) : nullptr;
      return root ? HandOut(MakeNode({tree_, root}), element) : S_FALSE;
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

}  // namespace

HRESULT CreateDomDocument(REFIID iid, void** object) {
  IXMLDOMDocument3* document = nullptr;
  HandOut(new DomDocument(nullptr), &document);
  const HRESULT result = document->QueryInterface(iid, object);
  document->Release();
  return result;
}

IXMLDOMDocument* MakeDocument(DomTreePtr tree) {
  return new DomDocument(std::move(tree));
}

}  // namespace pal

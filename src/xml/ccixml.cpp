#include "src/xml/ccixml.h"

#include "src/text.h"
#include "src/trace/guard.h"
#include "src/xml/dom_document.h"

namespace custom_bidi {
namespace {

/// The lines that frame every method, on every way out.
class MethodTrace {
 public:
  explicit MethodTrace(const WCHAR* method) : method_(method) { TraceLog(W("%s << Enter"), method_); }
  ~MethodTrace() { TraceLog(W("%s >> Leave"), method_); }
  MethodTrace(const MethodTrace&) = delete;
  MethodTrace& operator=(const MethodTrace&) = delete;

 private:
  const WCHAR* method_;
};

/// A VARIANT of our own that holds a text.
class TextVariant {
 public:
  explicit TextVariant(Bstr text) {
    VariantInit(&value_);
    value_.bstrVal = text.Release();
    value_.vt = VT_BSTR;
  }
  ~TextVariant() { VariantClear(&value_); }
  TextVariant(const TextVariant&) = delete;
  TextVariant& operator=(const TextVariant&) = delete;

  const VARIANT& Get() const { return value_; }

 private:
  VARIANT value_;
};

}  // namespace

template <class Body>
DWORD CCIXML::Run(const WCHAR* method, Body&& body) noexcept {
  const MethodTrace trace(method);
  return Guarded(
      body, [](DWORD code) { return code; },
      [this, method] {
        Record(kXmlGpf, method, {});
        TraceLog(W("Error in %s"), method);
        return kXmlGpf;
      });
}

CCIXML::CCIXML() noexcept {
  const MethodTrace trace(W("CCIXML::CCIXML"));
  com_result_ = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  com_initialised_ = SUCCEEDED(com_result_) || com_result_ == RPC_E_CHANGED_MODE;
}

CCIXML::~CCIXML() {
  const MethodTrace trace(W("CCIXML::~CCIXML"));
  error_.parse_error.Reset();
  document_.Reset();
  // A thread that already belonged to another apartment was not initialised by us.
  if (com_initialised_ && SUCCEEDED(com_result_))
    CoUninitialize();
}

DWORD CCIXML::Load(const WCHAR* path) noexcept {
  return Run(W("CCIXML::Load"), [&]() -> DWORD {
    if (IsNullOrEmpty(path))
      return ERROR_INVALID_PARAMETER;
    CopyText(file_path_, path);

    ComPtr<IXMLDOMDocument3> document = CreateDomDocument();
    if (!document)
      return kXmlNoDocumentClass;
    document.Get()->put_async(VARIANT_FALSE);

    Bstr path_text(SysAllocString(path));
    if (!path_text)
      return kXmlNoDocumentClass;
    const TextVariant source(std::move(path_text));
    VARIANT_BOOL loaded = VARIANT_FALSE;
    const HRESULT result = document.Get()->load(source.Get(), &loaded);
    if (FAILED(result) || loaded == VARIANT_FALSE) {
      RecordLoadFailure(document.Get());
      return ERROR_INVALID_DATA;
    }
    document_ = std::move(document);
    return ERROR_SUCCESS;
  });
}

void CCIXML::RecordLoadFailure(IXMLDOMDocument3* document) noexcept {
  ComPtr<IXMLDOMParseError> parse_error;
  if (FAILED(document->get_parseError(parse_error.Put())))
    return;
  // The location stays as it was.
  error_.code = kXmlParseError;
  error_.parse_error = std::move(parse_error);

  WCHAR text[kErrorTextChars] = {};
  GetErrorText(text);
  TraceLog(W("[XML] Load %s XML file Failed!!! <<%s>>"), file_path_, text);
}

DWORD CCIXML::GetRootNode(IXMLDOMNode** out) noexcept {
  return Run(W("CCIXML::GetRootNode"), [&]() -> DWORD {
    if (out == nullptr)
      return ERROR_INVALID_PARAMETER;
    if (!document_)
      return ERROR_INVALID_HANDLE;
    IXMLDOMElement* root = nullptr;
    if (FAILED(document_.Get()->get_documentElement(&root)))
      return ERROR_INVALID_HANDLE;
    *out = root;
    return ERROR_SUCCESS;
  });
}

DWORD CCIXML::GetPathedNode(IXMLDOMNode* node, const WCHAR* query, IXMLDOMNode** out) noexcept {
  return Run(W("CCIXML::GetPathedNode"), [&]() -> DWORD {
    if (node == nullptr || query == nullptr || out == nullptr)
      return ERROR_INVALID_PARAMETER;
    const Bstr query_text = MakeBstr(query);
    ComPtr<IXMLDOMNode> found;
    if (FAILED(node->selectSingleNode(query_text.Get(), found.Put())) || !found)
      return ERROR_PATH_NOT_FOUND;
    *out = found.Release();
    return ERROR_SUCCESS;
  });
}

DWORD CCIXML::GetPathedNode(const WCHAR* query, IXMLDOMNode** out) noexcept {
  return Run(W("CCIXML::GetPathedNode"), [&]() -> DWORD {
    ComPtr<IXMLDOMNode> root;
    const DWORD result = GetRootNode(root.Put());
    return result != ERROR_SUCCESS ? result : GetPathedNode(root.Get(), query, out);
  });
}

DWORD CCIXML::GetPathedNodeList(IXMLDOMNode* node, const WCHAR* query, IXMLDOMNodeList** out) noexcept {
  constexpr const WCHAR* kMethod = W("CCIXML::GetPathedNodeList");
  return Run(kMethod, [&]() -> DWORD {
    if (node == nullptr || query == nullptr || out == nullptr)
      return ERROR_INVALID_PARAMETER;
    const Bstr query_text = MakeBstr(query);
    ComPtr<IXMLDOMNodeList> list;
    if (node->selectNodes(query_text.Get(), list.Put()) != S_OK)
      return RecordParseErrorOf(node, kMethod);
    *out = list.Release();
    return ERROR_SUCCESS;
  });
}

DWORD CCIXML::GetPathedNodeList(const WCHAR* query, IXMLDOMNodeList** out) noexcept {
  return Run(W("CCIXML::GetPathedNodeList"), [&]() -> DWORD {
    if (out == nullptr)
      return ERROR_INVALID_PARAMETER;
    ComPtr<IXMLDOMNode> root;
    const DWORD result = GetRootNode(root.Put());
    return result != ERROR_SUCCESS ? result : GetPathedNodeList(root.Get(), query, out);
  });
}

DWORD CCIXML::GetPathedNodeListAsArray(const WCHAR* query, std::vector<ComPtr<IXMLDOMNode>>& nodes) noexcept {
  return Run(W("CCIXML::GetPathedNodeListAsArray"), [&]() -> DWORD {
    // These lines name the operation by an older name, and always have.
    TraceLog(W("CIXML::SavePathedNodeListToMap  PathQuery = %s"), query);
    ComPtr<IXMLDOMNodeList> list;
    if (GetPathedNodeList(query, list.Put()) != ERROR_SUCCESS) {
      TraceLog(W("ERROR: CIXML::SavePathedNodeListToMap  failed to get node list"));
      return kXmlParseError;
    }
    LONG count = 0;
    if (FAILED(list.Get()->get_length(&count))) {
      TraceLog(W("ERROR: CIXML::SavePathedNodeListToMap  failed to get nodes count"));
      return kXmlParseError;
    }
    TraceLog(W("CIXML::SavePathedNodeListToMap - current nodes count = %d"), count);
    for (LONG i = 0; i < count; ++i) {
      ComPtr<IXMLDOMNode> node;
      if (FAILED(list.Get()->get_item(i, node.Put())) || !node) {
        TraceLog(W("ERROR: CIXML::SavePathedNodeListToMap  failed to get pCurElement"));
        return kXmlParseError;
      }
      nodes.push_back(std::move(node));
    }
    return ERROR_SUCCESS;
  });
}

DWORD CCIXML::GetAttributeValue(IXMLDOMNode* node, const WCHAR* name, WCHAR* value) noexcept {
  constexpr const WCHAR* kMethod = W("CCIXML::GetAttributeValue");
  return Run(kMethod, [&]() -> DWORD {
    if (node == nullptr || IsNullOrEmpty(name) || value == nullptr)
      return ERROR_INVALID_PARAMETER;
    ComPtr<IXMLDOMNamedNodeMap> attributes;
    if (node->get_attributes(attributes.Put()) != S_OK)
      return RecordParseErrorOf(node, kMethod);
    if (!attributes)
      return ERROR_INVALID_DATA;

    const Bstr name_text = MakeBstr(name);
    ComPtr<IXMLDOMNode> attribute;
    if (attributes.Get()->getNamedItem(name_text.Get(), attribute.Put()) != S_OK)
      return RecordParseErrorOf(node, kMethod);
    if (!attribute)
      return ERROR_INVALID_DATA;

    Bstr text;
    const HRESULT result = attribute.Get()->get_text(text.Put());
    if (result == S_FALSE)
      return ERROR_SUCCESS;
    if (result != S_OK)
      return RecordParseErrorOf(node, kMethod);
    CopyText({value, kValueChars}, BstrText(text.Get()));
    return ERROR_SUCCESS;
  });
}

void CCIXML::Record(DWORD code, const WCHAR* method, ComPtr<IXMLDOMParseError> parse_error) noexcept {
  error_.code = code;
  CopyText(error_.location, method);
  error_.parse_error = std::move(parse_error);
}

/// Keeps what the node's document last had to report, and says how that went.
DWORD CCIXML::RecordParseErrorOf(IXMLDOMNode* node, const WCHAR* method) noexcept {
  ComPtr<IXMLDOMDocument> document;
  if (FAILED(node->get_ownerDocument(document.Put())) || !document)
    return ERROR_PATH_NOT_FOUND;
  ComPtr<IXMLDOMParseError> parse_error;
  if (FAILED(document.Get()->get_parseError(parse_error.Put())))
    return ERROR_INVALID_DATA;
  Record(kXmlParseError, method, std::move(parse_error));
  return kXmlParseError;
}

}  // namespace custom_bidi

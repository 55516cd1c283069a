#include "src/xml/ccixml.h"

#include "src/system_text.h"
#include "src/text.h"
#include "src/trace/guard.h"

namespace custom_bidi {
namespace {

// msxml6.h and msxml2.h; not every SDK has all of them.
constexpr GUID kIidDomDocument3 = {0x2933BF96,
                                   0x7B36,
                                   0x11D2,
                                   {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
constexpr GUID kDomDocument60 = {0x88D96A05,
                                 0xF192,
                                 0x11D4,
                                 {0xA6, 0x5F, 0x00, 0x40, 0x96, 0x32, 0x51, 0xE5}};
constexpr GUID kDomDocument30 = {0xF5078F32,
                                 0xC551,
                                 0x11D3,
                                 {0x89, 0xB9, 0x00, 0x00, 0xF8, 0x1F, 0xE2, 0x21}};
constexpr GUID kDomDocument = {0xF6D90F11, 0x9C73, 0x11D3, {0xB3, 0x2E, 0x00, 0xC0, 0x4F, 0x99, 0x0B, 0xB4}};

struct DomClass {
  const GUID& id;
  const WCHAR* failure;
};

constexpr DomClass kDomClasses[] = {
    {kDomDocument60, W("Failed to CoCreateInstance DOMDocument60")},
    {kDomDocument30, W("Failed to CoCreateInstance DOMDocument30")},
    {kDomDocument, W("Failed to CoCreateInstance DOMDocument")},
};

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

size_t DescribeParseError(std::span<WCHAR> text, const WCHAR* location, IXMLDOMParseError* parse_error) {
  LONG code = 0;
  LONG line = 0;
  LONG position = 0;
  Bstr reason;
  parse_error->get_errorCode(&code);
  parse_error->get_line(&line);
  parse_error->get_linepos(&position);
  parse_error->get_reason(reason.Put());
  if (!reason) {
    return FormatText(text, W("XML Error [%s]\r\n Error Code 0x%08X on line %d, position %d"), location, code,
                      line, position);
  }
  return FormatText(text, W("XML Error [%s]\r\n Error Code 0x%08X on line %d, position %d\r\nReason: %s"),
                    location, code, line, position, reason.Get());
}

size_t DescribeCode(std::span<WCHAR> text, const WCHAR* location, DWORD code) {
  const SystemText system_text = SystemTextOf(code);
  if (!system_text) {
    return FormatText(text, W("XML Error [%s]\r\n Error Code 0x%08X"), location, code);
  }
  return FormatText(text, W("XML Error [%s]\r\n Error Code 0x%08X : %s"), location, code, system_text.Get());
}

size_t Describe(std::span<WCHAR> text, const _CIXML_ERROR& error) {
  if (error.code == kXmlGpf) {
    return FormatText(text, W("\r\n\r\n !!!!! XML Error :GPF in %s function  !!!!!!!!!!!!!!\r\n\r\n"),
                      error.location);
  }
  if (error.code == kXmlNoDocumentClass) {
    return FormatText(text, W("XML Error [%s]: COM initializing error"), error.location);
  }
  if (error.parse_error) {
    return DescribeParseError(text, error.location, error.parse_error.Get());
  }
  if (error.code != ERROR_SUCCESS) {
    return DescribeCode(text, error.location, error.code);
  }
  return 0;
}

}  // namespace

ComPtr<IXMLDOMDocument3> CreateDomDocument() {
  ComPtr<IXMLDOMDocument3> document;
  for (const DomClass& dom_class : kDomClasses) {
    void* created = nullptr;
    const HRESULT result =
        CoCreateInstance(dom_class.id, nullptr, CLSCTX_INPROC_SERVER, kIidDomDocument3, &created);
    document.Reset(static_cast<IXMLDOMDocument3*>(created));
    if (SUCCEEDED(result) && document) {
      return document;
    }
    document.Reset();
    TraceLog(dom_class.failure);
  }
  return document;
}

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
}

CCIXML::~CCIXML() {
  const MethodTrace trace(W("CCIXML::~CCIXML"));
  error_.parse_error.Reset();
  document_.Reset();
  // A thread that already belonged to another apartment was not initialised by us.
  if (SUCCEEDED(com_result_)) {
    CoUninitialize();
  }
}

DWORD CCIXML::Load(const WCHAR* path) noexcept {
  return Run(W("CCIXML::Load"), [&]() -> DWORD {
    if (IsNullOrEmpty(path)) {
      return ERROR_INVALID_PARAMETER;
    }
    CopyText(file_path_, path);

    ComPtr<IXMLDOMDocument3> document = CreateDomDocument();
    if (!document) {
      return kXmlNoDocumentClass;
    }
    document.Get()->put_async(VARIANT_FALSE);

    Bstr path_text(SysAllocString(path));
    if (!path_text) {
      return kXmlNoDocumentClass;
    }
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
  if (FAILED(document->get_parseError(parse_error.Put()))) {
    return;
  }
  // The location stays as it was.
  error_.code = kXmlParseError;
  error_.parse_error = std::move(parse_error);

  WCHAR text[kErrorTextChars] = {};
  GetErrorText(text);
  TraceLog(W("[XML] Load %s XML file Failed!!! <<%s>>"), file_path_, text);
}

DWORD CCIXML::GetRootNode(IXMLDOMNode** out) noexcept {
  return Run(W("CCIXML::GetRootNode"), [&]() -> DWORD {
    if (out == nullptr) {
      return ERROR_INVALID_PARAMETER;
    }
    if (!document_) {
      return ERROR_INVALID_HANDLE;
    }
    IXMLDOMElement* root = nullptr;
    if (FAILED(document_.Get()->get_documentElement(&root))) {
      return ERROR_INVALID_HANDLE;
    }
    *out = root;
    return ERROR_SUCCESS;
  });
}

DWORD CCIXML::GetPathedNode(IXMLDOMNode* node, const WCHAR* query, IXMLDOMNode** out) noexcept {
  return Run(W("CCIXML::GetPathedNode"), [&]() -> DWORD {
    if (node == nullptr || query == nullptr || out == nullptr) {
      return ERROR_INVALID_PARAMETER;
    }
    const Bstr query_text = MakeBstr(query);
    ComPtr<IXMLDOMNode> found;
    if (FAILED(node->selectSingleNode(query_text.Get(), found.Put())) || !found) {
      return ERROR_PATH_NOT_FOUND;
    }
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
    if (node == nullptr || query == nullptr || out == nullptr) {
      return ERROR_INVALID_PARAMETER;
    }
    const Bstr query_text = MakeBstr(query);
    ComPtr<IXMLDOMNodeList> list;
    if (node->selectNodes(query_text.Get(), list.Put()) != S_OK) {
      return RecordParseErrorOf(node, kMethod);
    }
    *out = list.Release();
    return ERROR_SUCCESS;
  });
}

DWORD CCIXML::GetPathedNodeList(const WCHAR* query, IXMLDOMNodeList** out) noexcept {
  return Run(W("CCIXML::GetPathedNodeList"), [&]() -> DWORD {
    if (out == nullptr) {
      return ERROR_INVALID_PARAMETER;
    }
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
    if (node == nullptr || IsNullOrEmpty(name) || value == nullptr) {
      return ERROR_INVALID_PARAMETER;
    }
    ComPtr<IXMLDOMNamedNodeMap> attributes;
    if (node->get_attributes(attributes.Put()) != S_OK) {
      return RecordParseErrorOf(node, kMethod);
    }
    if (!attributes) {
      return ERROR_INVALID_DATA;
    }

    const Bstr name_text = MakeBstr(name);
    ComPtr<IXMLDOMNode> attribute;
    if (attributes.Get()->getNamedItem(name_text.Get(), attribute.Put()) != S_OK) {
      return RecordParseErrorOf(node, kMethod);
    }
    if (!attribute) {
      return ERROR_INVALID_DATA;
    }

    Bstr text;
    const HRESULT result = attribute.Get()->get_text(text.Put());
    if (result == S_FALSE) {
      return ERROR_SUCCESS;
    }
    if (result != S_OK) {
      return RecordParseErrorOf(node, kMethod);
    }
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
  if (FAILED(node->get_ownerDocument(document.Put())) || !document) {
    return ERROR_PATH_NOT_FOUND;
  }
  ComPtr<IXMLDOMParseError> parse_error;
  if (FAILED(document.Get()->get_parseError(parse_error.Put()))) {
    return ERROR_INVALID_DATA;
  }
  Record(kXmlParseError, method, std::move(parse_error));
  return kXmlParseError;
}

void CCIXML::GetErrorText(WCHAR* text) const noexcept {
  WCHAR description[1024] = {};
  const size_t length = Describe(description, error_);
  if (text != nullptr && length > 0 && length <= kErrorTextChars) {
    CopyText({text, kErrorTextChars}, description);
  }
}

}  // namespace custom_bidi

#pragma once

#include <new>
#include <vector>

#include "src/unique.h"

namespace custom_bidi {

template <class Interface>
struct ComTraits {
  using Value = Interface*;
  static Value Empty() { return nullptr; }
  static void Close(Value value) { value->Release(); }
};

/// Owns one reference.
template <class Interface>
using ComPtr = Unique<ComTraits<Interface>>;

struct BstrTraits {
  using Value = BSTR;
  static Value Empty() { return nullptr; }
  static void Close(Value value) { SysFreeString(value); }
};

using Bstr = Unique<BstrTraits>;

/// Copies `text` (not null) into a BSTR; throws std::bad_alloc when memory is short.
inline Bstr MakeBstr(const WCHAR* text) {
  Bstr copy(SysAllocString(text));
  if (!copy) {
    throw std::bad_alloc();
  }
  return copy;
}

/// Makes an empty DOM document of the newest class that the system has; null, with a trace line for each
/// class tried, when it has none.
ComPtr<IXMLDOMDocument3> CreateDomDocument();

// Codes of the XML wrapper beside the Win32 ones.
inline constexpr DWORD kXmlNoDocumentClass = 0xFFFD;  ///< no DOM document, or no memory for a string
inline constexpr DWORD kXmlParseError = 0xFFFE;       ///< the DOM reported an error, now in the error record
inline constexpr DWORD kXmlGpf = 0xFFFF;              ///< an unexpected exception ended the method

/// The wrapper's last recorded error.
struct _CIXML_ERROR {  // NOLINT(bugprone-reserved-identifier): the record's established name
  DWORD code = 0;
  WCHAR location[260] = {};  // the method it was recorded in
  ComPtr<IXMLDOMParseError> parse_error;
};

/// One XML document, loaded synchronously through the platform's DOM and asked by path and attribute.
///
/// A wrapper joins its thread to COM from construction to destruction and is used by that thread only. Every
/// method returns a code and none throws: 0; 87 for a missing argument; or what is given below. Selected
/// nodes are the caller's to release.
class CCIXML {
 public:
  CCIXML() noexcept;
  ~CCIXML();
  CCIXML(const CCIXML&) = delete;
  CCIXML& operator=(const CCIXML&) = delete;

  /// Loads the file at `path`. 13 when it does not load: the document held before stays, and the trace has
  /// the reason with line and position. 0xFFFD when no DOM, or no memory for the path, can be had.
  DWORD Load(const WCHAR* path) noexcept;

  bool HasDocument() const { return static_cast<bool>(document_); }

  /// 6 without a document.
  DWORD GetRootNode(IXMLDOMNode** out) noexcept;

  /// The first node that `query` selects from `node`, or from the root element; 3 when there is none.
  DWORD GetPathedNode(IXMLDOMNode* node, const WCHAR* query, IXMLDOMNode** out) noexcept;
  DWORD GetPathedNode(const WCHAR* query, IXMLDOMNode** out) noexcept;

  /// All nodes that `query` selects from `node`, or from the root element; the list may be empty. 0xFFFE when
  /// the DOM refuses the query.
  DWORD GetPathedNodeList(IXMLDOMNode* node, const WCHAR* query, IXMLDOMNodeList** out) noexcept;
  DWORD GetPathedNodeList(const WCHAR* query, IXMLDOMNodeList** out) noexcept;

  /// Appends all nodes that `query` selects from the root element, in document order. 0xFFFE when the list
  /// cannot be had or read to its end; what was read until then stays appended.
  DWORD GetPathedNodeListAsArray(const WCHAR* query, std::vector<ComPtr<IXMLDOMNode>>& nodes) noexcept;

  static constexpr size_t kValueChars = 256;

  /// Copies the attribute's text, at most 255 characters of it. 0xFFFE, with `value` untouched, when `node`
  /// has no such attribute.
  DWORD GetAttributeValue(IXMLDOMNode* node, const WCHAR* name, WCHAR* value) noexcept;

  static constexpr size_t kErrorTextChars = 256;

  /// Describes the error record in at most 255 characters. `text` stays untouched when there is nothing to
  /// describe, or when the description has more than 256 characters.
  void GetErrorText(WCHAR* text) const noexcept;

 private:
  template <class Body>
  DWORD Run(const WCHAR* method, Body&& body) noexcept;

  void Record(DWORD code, const WCHAR* method, ComPtr<IXMLDOMParseError> parse_error) noexcept;
  DWORD RecordParseErrorOf(IXMLDOMNode* node, const WCHAR* method) noexcept;
  void RecordLoadFailure(IXMLDOMDocument3* document) noexcept;

  ComPtr<IXMLDOMDocument3> document_;
  _CIXML_ERROR error_;
  WCHAR file_path_[1024] = {};
  HRESULT com_result_ = E_FAIL;
};

}  // namespace custom_bidi

#pragma once

/// COM, and the one thing that is made with it.

#include "base/error_codes.h"
#include "base/types.h"
#include "pal/memory.h"

/// No virtual destructor: it would move the positions behind it. Objects end with their last Release.
struct IUnknown {
  virtual HRESULT QueryInterface(REFIID iid, void** object) = 0;
  virtual ULONG AddRef() = 0;
  virtual ULONG Release() = 0;

 protected:
  ~IUnknown() = default;
};

enum COINIT { COINIT_MULTITHREADED = 0, COINIT_APARTMENTTHREADED = 2 };
enum CLSCTX { CLSCTX_INPROC_SERVER = 1 };

/// Joins the calling thread to an apartment: S_OK the first time, S_FALSE when it is there already, and
/// RPC_E_CHANGED_MODE, which counts for nothing, when it is in the other one. E_INVALIDARG for a `reserved`
/// that is not null and for any other flag.
HRESULT CoInitializeEx(void* reserved, DWORD flags);

/// Undoes one successful CoInitializeEx of the calling thread; one too many does nothing.
void CoUninitialize();

/// Makes a DOM document, whichever of its three classes is asked for. CO_E_NOTINITIALIZED on a thread
/// that is in no apartment, REGDB_E_CLASSNOTREG for any other class. On failure `*object` is null.
HRESULT CoCreateInstance(REFCLSID class_id, IUnknown* outer, DWORD context, REFIID iid, void** object);

// The part of the MSXML DOM that is used here, over libxml2.
//
// Every method gives a non-negative result on success; S_FALSE stands for "there is none", with the out
// parameter null. A null out parameter is E_INVALIDARG. An out parameter that is an object comes with a
// reference, a BSTR is the caller's to free. Objects may be used and released on any thread, one at a time.

struct IXMLDOMNode;

/// What went wrong with the load of a document; all zero, and without a reason, when nothing did.
struct IXMLDOMParseError : IUnknown {
  /// A negative code: 0x800C0006 when there is no such file, 0x80070005 when it may not be read, 0xC00CExxx
  /// when it is no well-formed document. S_FALSE with 0 when nothing went wrong.
  virtual HRESULT get_errorCode(LONG* code) = 0;
  /// Ends in CR LF. S_FALSE with a null text when nothing went wrong.
  virtual HRESULT get_reason(BSTR* reason) = 0;
  /// Counts from 1; 0 when the error is not one of the text.
  virtual HRESULT get_line(LONG* line) = 0;
  /// Counts from 1; 0 when the error is not one of the text.
  virtual HRESULT get_linepos(LONG* position) = 0;

 protected:
  ~IXMLDOMParseError() = default;
};

struct IXMLDOMNodeList : IUnknown {
  virtual HRESULT get_item(LONG index, IXMLDOMNode** node) = 0;
  virtual HRESULT get_length(LONG* length) = 0;

 protected:
  ~IXMLDOMNodeList() = default;
};

struct IXMLDOMNamedNodeMap : IUnknown {
  /// The attribute of that qualified name. Namespace declarations are not among them.
  virtual HRESULT getNamedItem(BSTR name, IXMLDOMNode** node) = 0;

 protected:
  ~IXMLDOMNamedNodeMap() = default;
};

struct IXMLDOMDocument;

/// A node keeps its whole document alive.
struct IXMLDOMNode : IUnknown {
  /// S_FALSE for any node but an element.
  virtual HRESULT get_attributes(IXMLDOMNamedNodeMap** attributes) = 0;
  /// The query is XPath 1.0, relative to this node, without namespace prefixes. Negative when it is malformed
  /// or does not give nodes.
  virtual HRESULT selectNodes(BSTR query, IXMLDOMNodeList** nodes) = 0;
  /// The first of them in document order.
  virtual HRESULT selectSingleNode(BSTR query, IXMLDOMNode** node) = 0;
  /// The text of the node and all below it, without white space at its ends unless it is an attribute's.
  virtual HRESULT get_text(BSTR* text) = 0;
  /// S_FALSE for the document itself. It may be another object than the one that loaded it, but has its parse
  /// error.
  virtual HRESULT get_ownerDocument(IXMLDOMDocument** document) = 0;

 protected:
  ~IXMLDOMNode() = default;
};

struct IXMLDOMElement : IXMLDOMNode {
 protected:
  ~IXMLDOMElement() = default;
};

struct IXMLDOMDocument : IXMLDOMNode {
  /// Loading is always synchronous: E_INVALIDARG for VARIANT_TRUE.
  virtual HRESULT put_async(VARIANT_BOOL is_async) = 0;
  /// Loads the file whose path is the VT_BSTR `source`, in place of what was there before. S_FALSE and
  /// VARIANT_FALSE when it cannot be read or is not well-formed, which includes a prefix without a namespace;
  /// the parse error says why. Nothing outside the file is ever read, and a document with a DOCTYPE is
  /// refused.
  virtual HRESULT load(VARIANT source, VARIANT_BOOL* is_successful) = 0;
  virtual HRESULT get_parseError(IXMLDOMParseError** error) = 0;
  virtual HRESULT get_documentElement(IXMLDOMElement** element) = 0;

 protected:
  ~IXMLDOMDocument() = default;
};

struct IXMLDOMDocument3 : IXMLDOMDocument {
 protected:
  ~IXMLDOMDocument3() = default;
};

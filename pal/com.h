#pragma once

#include "pal/error_codes.h"
#include "pal/types.h"

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

/// Makes a DOM document (dom.h), whichever of its three classes is asked for. CO_E_NOTINITIALIZED on a thread
/// that is in no apartment, REGDB_E_CLASSNOTREG for any other class. On failure `*object` is null.
HRESULT CoCreateInstance(REFCLSID class_id, IUnknown* outer, DWORD context, REFIID iid, void** object);

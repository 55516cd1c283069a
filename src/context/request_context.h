#pragma once

#include <array>
#include <vector>

#include "include/custom_bidi.h"
#include "src/context/item_map.h"
#include "src/deviceio/ixo_wrapper.h"
#include "src/trace/trace_log.h"
#include "src/xml/ccixml.h"

namespace custom_bidi {

/// The code of an initialisation or of a work that failed.
inline constexpr DWORD kFailed = 1;

/// A queue's port as the spooler gives it (several ports come as one list), at most 255 characters; empty
/// when there is none.
using PortName = std::array<WCHAR, 256>;

/// The request context: the one object of an export call, built at its entry and torn down before it returns.
///
/// An operation checks its arguments, starts the trace for its queue, initialises the context and does its
/// work. It returns a Win32 code (0; 87 for a missing argument; 1 when the initialisation or the work failed)
/// unless said otherwise, and raises nothing. Its member functions are defined in the room of their subject.
class CCustomBiDi {
 public:
  CCustomBiDi() = default;
  CCustomBiDi(const CCustomBiDi&) = delete;
  CCustomBiDi& operator=(const CCustomBiDi&) = delete;

  // context/initialisation.cpp

  /// Makes the context ready for a queue's data items. Both texts count up to 1023 characters; `default_cid`
  /// may be null.
  DWORD Init(const WCHAR* queue, const WCHAR* default_cid) noexcept;
  /// Makes the context ready for the status of the printer at an IP address.
  DWORD InitForStatus(const WCHAR* address) noexcept;

  // response/

  /// Reads the named items into the item map. A negative count is an empty list, a null name is skipped. 1
  /// when the map is still empty at the end.
  DWORD LoadIPPResponse(const WCHAR* const* names, LONG count) noexcept;
  /// Takes the CID and reads the items that the data map names. 1 also when there is no CID at all.
  DWORD LoadIPPResponse() noexcept;
  /// Keeps the CID of an IEEE 1284 device ID, else the default CID; 1 when there is neither.
  DWORD ParseAndSaveCIDInfo(WStringView device_id) noexcept;
  /// The item map and the CID as one JSON object. Throws std::bad_alloc.
  WString ComposeBidiJson() const;
  /// Writes the printer's state as a JSON object to `json`. A printer that cannot be read has a state, too;
  /// any other failure gives its code, and "{}". Throws std::bad_alloc.
  DWORD ComposeStatusJson(WString& json);
  /// Writes what lies behind the queue's port (kCustomBidiPort…) to `status`, which may be null; untouched
  /// when the question could not be answered.
  DWORD GetPortStatus(const WCHAR* queue, LONG* status) noexcept;

  // security/

  DWORD ProcessPassword(const BYTE* password,
                        DWORD length_bytes,
                        const WCHAR* user,
                        const WCHAR* target,
                        PasswordMode mode,
                        const WCHAR* queue) noexcept;
  /// A new record, or null.
  DeviceCertificate* GetPrinterCertificate(const WCHAR* user, const WCHAR* queue, DWORD mode) noexcept;
  DWORD VerifyCertificateValidity(const WCHAR* user,
                                  const WCHAR* queue,
                                  DWORD mode,
                                  DeviceCertificate* record) noexcept;

 private:
  static constexpr size_t kNameChars = 1024;

  DWORD StartForQueue(const WCHAR* queue, const WCHAR* default_cid = nullptr);
  static DWORD FailInitialisation();
  DWORD LoadConfigXml();
  static DWORD LoadXmlFile(const WCHAR* path, CCIXML& document);
  DWORD InitIOWrapper() noexcept;
  DWORD InitIOWrapperForSEPassword() noexcept;
  DWORD InitIOWrapperForStatus(const WCHAR* address);
  DWORD LoadLibrarySet(const WCHAR* ixo_path,
                       const WCHAR* xdm_path,
                       const WCHAR* cert_path,
                       const WCHAR* success);
  DWORD ConnectTo(const WCHAR* name, AddressKind kind);
  /// Empty when the queue has none, or when it cannot be had; `code`, which may be null, then tells why not.
  PortName ReadPortName(DWORD* code = nullptr) const;
  DWORD GetPortInfoIOWrapper(LONG* status) noexcept;
  DWORD GetStatusData(DWORD& printer_status, DWORD& response_code, DWORD& status_code) noexcept;

  DWORD ReadItem(const WCHAR* name);
  DWORD ReadDataMapItems();
  void MergePrintQualityEntries();

  // In this order: the context is torn down in its reverse, the trace file's share first.
  ItemMap items_;
  CCIXML configuration_;
  CCIXML data_map_;
  IxoWrapper ixo_;
  WCHAR queue_[kNameChars] = {};
  WCHAR cid_[kNameChars] = {};
  WCHAR status_address_[kNameChars] = {};
  TraceShare trace_share_;
};

}  // namespace custom_bidi

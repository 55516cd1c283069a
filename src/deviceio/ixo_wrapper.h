#pragma once

#include <map>

#include "include/custom_bidi.h"
#include "src/deviceio/device_objects.h"

namespace custom_bidi {

/// What a name given to IxoWrapper::GetAddress is.
enum class AddressKind : DWORD { kQueueName = 0, kPortName = 1, kIpAddress = 2, kHostName = 3 };

/// What a password call asks of the vault.
enum class PasswordMode : DWORD { kSave = 1, kPresent = 2, kDelete = 3 };

/// Longest path that a library is loaded from: 1023 characters, as in the system's own 1024-character
/// buffers.
inline constexpr size_t kMaxModulePathChars = 1023;

/// The three device libraries of one request, and what was made from them.
///
/// Used by one thread, for one request. Operations return Win32 codes; none throws, whatever a library
/// raises: a raised code is the operation's result (null where it returns an object), anything else is traced
/// and gives the result named below. Objects of the libraries are borrowed: they are dropped when the
/// libraries go.
class IxoWrapper {
 public:
  IxoWrapper() = default;
  ~IxoWrapper();
  IxoWrapper(const IxoWrapper&) = delete;
  IxoWrapper& operator=(const IxoWrapper&) = delete;

  /// Loads the libraries from full paths, in the order of the parameters. 87 for a missing or empty path,
  /// with nothing loaded; 206 for a path of more than 1023 characters; else the system's code of the load
  /// that failed, with none left loaded. A failed load for which the system has the code 0 ends the sequence
  /// with 0, and what was loaded stays.
  DWORD LoadIxoLibraries(const WCHAR* ixo_path, const WCHAR* xdm_path, const WCHAR* cert_path) noexcept;

  /// Loads the I/O library alone, by the same rules.
  DWORD LoadIxoLibrary(const WCHAR* ixo_path) noexcept;

  /// Makes an address; null when that fails. Does not store it.
  PrinterAddress GetAddress(const WCHAR* name, AddressKind kind) noexcept;

  /// Makes the address that the operations below are about; false when that fails, and there is none then.
  bool KeepAddress(const WCHAR* name, AddressKind kind) noexcept;

  /// Asks whether the device behind a port answers: `connected` receives 1 or 0. 87 for a missing name, 13
  /// when no address can be made, 31 when the library raises anything.
  DWORD IsPortConnected(const WCHAR* port, DWORD& connected) noexcept;

  /// Makes the data collection of the kept address from `data_map_path`. 13 when the library makes none; the
  /// system's code when it has no such entry point.
  DWORD BiDiData() noexcept;

  /// Reads the item `name` as text into `text`, which holds `capacity_chars` characters with the terminator.
  /// A value that is neither a number nor a text leaves the buffer alone, with 0. 87 for a missing name or
  /// buffer; 13 when the read fails, or when the text does not fit: the buffer is then empty.
  DWORD GetData(const WCHAR* name, WCHAR* text, size_t capacity_chars) noexcept;

  /// The printer's own names of its print-quality modes in the user's language, by attribute name. Every
  /// failure gives an empty or a partly filled map.
  std::map<WString, WString> GetCustomPQ() noexcept;

  /// Reads the printer's state over SNMP. Each result stays as it was when the device gives no value. 13 when
  /// a read cannot be made; the results of the earlier reads are then written. An exception of the third read
  /// is passed on to the caller.
  DWORD GetPrinterStatus(DWORD& printer_status, DWORD& response_code, DWORD& status_code);

  /// Binds the maker of OID providers; 13 when the data-map library has none.
  DWORD BindOidProviderMaker() noexcept;

  // security/

  /// Saves, tests or deletes an entry of the credential vault. 29 for an empty password; 31 when there is no
  /// vault provider, or it refuses a name; 1168 when there is no entry to test or delete; else the provider's
  /// code.
  DWORD ProcessPasswordInCredManager(const BYTE* password,
                                     DWORD length_bytes,
                                     const WCHAR* user,
                                     const WCHAR* target,
                                     PasswordMode mode) noexcept;

  /// Reads the device's certificate into a new record; null when that fails. What the library raises passes
  /// through.
  DeviceCertificate* FetchDeviceCertificate(const WCHAR* user, const WCHAR* port, DWORD mode);

  /// Checks a record and writes the verdict into it; 1, with the record as it was, when the check cannot be
  /// run to its end. What the library raises passes through.
  DWORD VerifyDeviceCertificate(const WCHAR* user, DWORD mode, DeviceCertificate* record);

  void set_data_map_path(const WCHAR* path) { data_map_path_ = path; }

 private:
  void FreeModules() noexcept;
  HRESULT ReadPrinterErrorState(WString& text);
  HRESULT ReadOid(const WCHAR* oid, VARIANT& value);
  HRESULT ReadInteger(const WCHAR* oid, DWORD& value) noexcept;

  Module ixo_module_;
  Module xdm_module_;
  Module cert_module_;
  WString data_map_path_;
  PrinterAddress printer_address_;
  DataCollection data_collection_;
  EntryPoint<deviceio::CreateOidProviderFunction> make_oid_provider_;
};

}  // namespace custom_bidi

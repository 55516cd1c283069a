#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "ixo/simulated/operation.h"
#include "ixo/support/value.h"
#include "src/deviceio/ixo_contract.h"

namespace custom_bidi::simulated {

/// An address under which the printer is known.
struct Address {
  /// The address as text; without one it is the name itself.
  std::optional<WString> text;
  bool active = true;
};

/// Addresses by name. A name that leads nowhere has an entry without an address.
using AddressBook = std::map<WString, std::optional<Address>, std::less<>>;

enum class AddressKind : size_t { kQueue, kPort, kIp, kHost };
inline constexpr size_t kAddressKindCount = 4;

/// What the printer says of its certificate, which need not be one.
struct Certificate {
  /// The certificate itself; none is not the same as one of no bytes.
  std::optional<std::vector<BYTE>> der;
  std::optional<WString> uuid;
  std::vector<DWORD> warnings;
  /// What the last failure is said to have been, whatever it was.
  std::optional<DWORD> last_error;
};

/// How calls of one operation fail, and which.
struct Fault {
  /// The first does the call's work, late or with another length.
  enum class Kind { kNone, kNull, kResult, kRaise, kThrow };

  Kind kind = Kind::kNone;
  /// The result (as the bits of an HRESULT) or the raised code.
  DWORD code = 0;
  /// What the call gives comes with the result, even if that is a failure.
  bool deliver = false;
  /// The length or number that is told, whatever it is.
  std::optional<DWORD> length;
  DWORD delay_ms = 0;
  /// The only subject concerned; every one when absent.
  std::optional<WString> only;
  /// The only call concerned, from 1, counted over all calls of the operation; every one when absent.
  std::optional<uint64_t> call;
};

/// A printer, as its file describes it: what the device would answer, and where it fails. Never changed once
/// made, so any number of threads may read it.
struct Printer {
  std::array<AddressBook, kAddressKindCount> addresses;
  std::map<WString, support::Value, std::less<>> items;
  std::map<WString, support::Value, std::less<>> oids;
  std::map<WString, WString, std::less<>> locale;
  /// A printer without one cannot be asked for anything about it.
  std::optional<Certificate> certificate;
  /// The file of the running executable's folder that the certificate library notes its calls in.
  std::optional<std::string> log;
  /// By operation; the first that applies counts.
  std::array<std::vector<Fault>, kOperationCount> faults;

  /// Each of these is null when there is no such entry. A "*" among addresses and languages stands for every
  /// name without an entry of its own.
  const Address* FindAddress(AddressKind kind, WStringView name) const;
  const support::Value* FindItem(WStringView name) const;
  const support::Value* FindOid(WStringView oid) const;
  const WString* FindLocale(WStringView language) const;
  const Fault* FindFault(Operation operation, WStringView subject, uint64_t call) const;
};

}  // namespace custom_bidi::simulated

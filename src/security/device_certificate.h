#pragma once

#include <array>
#include <memory>
#include <span>

#include "include/custom_bidi.h"
#include "src/platform.h"

namespace custom_bidi {

/// The security warnings of one certificate: up to ten codes.
class WarningList {
 public:
  static constexpr DWORD kCapacity = 10;

  WarningList() = default;
  /// Takes at most the first ten of `count` codes; none from a null pointer.
  WarningList(const DWORD* codes, DWORD count);

  std::span<const DWORD> codes() const { return {codes_.data(), count_}; }
  DWORD count() const { return count_; }
  bool Holds(DWORD code) const;
  /// Adds the code unless the list is full.
  void Append(DWORD code);
  void Clear() { count_ = 0; }

 private:
  std::array<DWORD, kCapacity> codes_{};
  DWORD count_ = 0;
};

/// Whether a device or a vault may say that a certificate has so many bytes. None has as many as 16 MiB; more,
/// such as all bits set, is neither allocated nor read.
inline bool IsCertificateLength(size_t length_bytes) {
  return length_bytes <= size_t{16} << 20;
}

/// True when one of the codes is a verdict that nobody may wave through. Codes are compared for equality: one
/// that combines several trust-status bits is not among them.
bool HasNonNegotiableError(std::span<const DWORD> codes);

/// Releases what a record holds and empties it; its own 40 bytes stay the caller's. Null is allowed.
void ReleaseDeviceCertificate(DeviceCertificate* record) noexcept;

struct DeviceCertificateDeleter {
  void operator()(DeviceCertificate* record) const noexcept;
};

/// A record that has not been handed out yet.
using DeviceCertificatePtr = std::unique_ptr<DeviceCertificate, DeviceCertificateDeleter>;

/// Makes a record: the identifier and the record itself from the COM task allocator, the rest from this
/// library's heap. Throws std::bad_alloc; only an identifier that cannot be allocated stays null.
DeviceCertificatePtr MakeDeviceCertificate(std::span<const BYTE> certificate,
                                           const WarningList& warnings,
                                           WStringView identifier);

}  // namespace custom_bidi

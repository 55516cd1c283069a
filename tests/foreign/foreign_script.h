#pragma once

/// What the test and the foreign family tell one another, in one process: the variable FOREIGN_SCRIPT holds
/// the record's address in hexadecimal. Read by two compilers, so nothing but plain numbers and pointers.

/// Where the family may raise: the 12 entry points, then the 15 operations.
enum class ForeignPoint : int {
  kNone,
  kAddressFromQueueName,
  kAddressFromPortName,
  kAddressFromIpAddress,
  kAddressFromHostName,
  kCreateDataCollection,
  kCreateOidProvider,
  kGetLocaleStrings,
  kDisposeStringBuffer,
  kCreateVault,
  kDisposeVault,
  kCreateCertificateProvider,
  kDisposeCertificateProvider,
  kIsActive,
  kGetAddressString,
  kGetItem,
  kGetOid,
  kSaveTarget,
  kGetCertFromVault,
  kDeleteTarget,
  kIsTargetPresent,
  kSetTargetName,
  kSetUserName,
  kGetDeviceUuid,
  kGetWarnings,
  kGetCertificate,
  kCheckDate,
  kGetLastErrorCode,
};

enum class ForeignKind : int { kDword, kObject, kRethrownDword, kAccessViolation };

struct ForeignScript {
  // Set by the test.
  ForeignPoint point;
  int nth_call;  // of the point raises, counted from 1
  ForeignKind kind;
  unsigned code;
  bool without_uuid;  // GetDeviceUUID fails
  const unsigned char* certificate;
  unsigned certificate_bytes;
  // Counted by the family.
  int calls;      // of the point
  int objects;    // thrown objects that are alive; below 0 when one was destroyed twice
  int destroyed;  // thrown objects that were destroyed
  int frames;     // frames entered by the family and not left or unwound
  int providers;  // of both kinds, made and not given back
  int wrong;      // arguments that the contract does not allow
};

/// The nine functions that Vexmo.Quellix.CustomBidi exports, and the record that crosses its boundary.
///
/// For C11 and C++20. All text is UTF-16 and NUL-terminated; what is passed in is only read. Every call
/// stands for itself: it loads what it needs, answers, and leaves nothing loaded or open. Calls from several
/// threads at once are supported. No exception ever leaves a call, neither one of this library's own compiler
/// nor what device libraries raise that Microsoft's compiler made: each ends as a result. A crash inside a
/// device library (an access violation, say) is no exception: it passes untouched to the calling process and
/// its crash reporter.
///
/// The configuration (an XML file named after the executable) and the device libraries are found beside the
/// executable of the calling process.
#ifndef CUSTOM_BIDI_H_
#define CUSTOM_BIDI_H_

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#else
#include <stdbool.h>
#include <uchar.h>
#endif

/* The widths are those of WCHAR, BOOL, DWORD and LONG on Windows; there the types are the very same. */
#ifdef _WIN32
typedef wchar_t CustomBidiChar;
typedef int CustomBidiBool;
typedef unsigned long CustomBidiDword;
typedef long CustomBidiLong;
#else
typedef char16_t CustomBidiChar;
typedef int32_t CustomBidiBool;
typedef uint32_t CustomBidiDword;
typedef int32_t CustomBidiLong;
#endif

/// The printer's device certificate with its security warnings: 40 bytes, read by the caller directly.
/// All blocks of a record from GetDeviceCertificate belong to the library: give them back with
/// DeleteDeviceCertificate, never one by one.
typedef struct DeviceCertificate {
  CustomBidiChar* identifier;          ///< device UUID, NUL-terminated; empty when none was read
  CustomBidiDword certificate_length;  ///< in bytes; 0 when there is no certificate
  uint8_t* certificate;                ///< DER-encoded X.509, or null
  CustomBidiDword warning_count;       ///< valid entries of `warnings`, 0 to 10
  CustomBidiDword* warnings;           ///< Win32 and CryptoAPI codes; always room for 10
} DeviceCertificate;

/// What lies behind a queue's port, as GetPortStatus tells it.
enum {
  kCustomBidiPortOffline = -1,     ///< a network device that does not answer
  kCustomBidiPortNonPhysical = 0,  ///< no network device: a local, parallel or serial port
  kCustomBidiPortConnected = 1     ///< a network device that answers
};

/// Gathers the printer's data items as one JSON object of string members, "CID" last.
///
/// Item values are copied into the text as the device gave them; nothing is escaped.
/// @param response    receives the answer and its NUL. It has no capacity: it must hold the whole answer.
///                    A null buffer makes the call fail. Written only when the result is TRUE.
/// @param queue       name of the print queue; at most 1023 characters count.
/// @param default_cid the CID to answer with when the device names none; may be null or empty; at most 1023
///                    characters count.
/// @param items       names of the items to read, or null for all items of the data map. A null entry is
///                    skipped.
/// @param item_count  number of entries in `items`; negative counts as 0.
/// @return TRUE (1) when at least one item was read, else FALSE (0).
CustomBidiBool GetBidiResponse(CustomBidiChar* response,
                               const CustomBidiChar* queue,
                               const CustomBidiChar* default_cid,
                               const CustomBidiChar* const* items,
                               CustomBidiLong item_count);

/// Reports the printer's state from three SNMP objects (RFC 2790) as
/// {"printerState":…,"responseCode":…,"statusCode":…}.
///
/// A printer that cannot be read is answered with printerState 5 and responseCode 1, and TRUE.
/// @param address  the printer's IP address as text; at most 1023 characters count.
/// @param response receives the answer and its NUL; at least 80 characters. A null buffer makes the call
///                 fail.
/// @return FALSE when the call could not be set up (nothing is written) or the answer is "{}".
CustomBidiBool GetStatusData(const CustomBidiChar* address, CustomBidiChar* response);

/// Says what lies behind the queue's port.
/// @param queue  name of the print queue.
/// @param status receives one of the kCustomBidiPort values, or stays untouched when the question could not
///               be answered; may be null.
/// @return FALSE when the queue name is missing, or the configuration or the device library does not load.
CustomBidiBool GetPortStatus(const CustomBidiChar* queue, CustomBidiLong* status);

/// Keeps a password in the credential vault under a target and a user name.
/// @param password        the bytes; a first byte of 0 counts as no password.
/// @param password_length in bytes.
/// @return TRUE only when the vault has stored it.
CustomBidiBool SavePassword(const uint8_t* password,
                            CustomBidiDword password_length,
                            const CustomBidiChar* user,
                            const CustomBidiChar* target,
                            const CustomBidiChar* queue);

/// Removes the password kept under a target and a user name. FALSE also when there is none.
CustomBidiBool DeletePassword(const CustomBidiChar* user,
                              const CustomBidiChar* target,
                              const CustomBidiChar* queue);

/// TRUE when a password is kept under the target and the user name.
CustomBidiBool IsPasswordPresent(const CustomBidiChar* user,
                                 const CustomBidiChar* target,
                                 const CustomBidiChar* queue);

/// Reads the printer's device certificate, its security warnings and the device UUID.
/// @param mode 0: full reading over the device's address; 1: without an address.
/// @return a new record, or null. Its contents go back through DeleteDeviceCertificate; the record's own 40
///         bytes come from CoTaskMemAlloc and are the caller's.
DeviceCertificate* GetDeviceCertificate(const CustomBidiChar* user,
                                        const CustomBidiChar* queue,
                                        CustomBidiDword mode);

/// Releases what a record holds and empties it, so that a second release does no harm. The record's own 40
/// bytes stay the caller's. Null is allowed. Always true.
bool DeleteDeviceCertificate(DeviceCertificate* record);

/// Checks a record against the copy kept in the vault and against its validity dates, and writes the
/// resulting warnings into it: 1169 differs from the vault's copy, 12037 the dates do not hold.
/// @return TRUE when the check ran to its end; else FALSE, with the record as it was.
CustomBidiBool VerifyCertificateValidity(const CustomBidiChar* user,
                                         const CustomBidiChar* queue,
                                         CustomBidiDword mode,
                                         DeviceCertificate* record);

#ifdef __cplusplus
}
#endif

#endif  // CUSTOM_BIDI_H_

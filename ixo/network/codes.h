#pragma once

/// What can go wrong on the way to a device, as Win32 codes (winerror.h, winsock2.h).

#include "src/platform.h"

namespace custom_bidi::network {

inline constexpr DWORD kNotSupported = 50;         // ERROR_NOT_SUPPORTED
inline constexpr DWORD kTooLarge = 223;            // ERROR_FILE_TOO_LARGE
inline constexpr DWORD kConnectionRefused = 1225;  // ERROR_CONNECTION_REFUSED
inline constexpr DWORD kHostUnreachable = 1232;    // ERROR_HOST_UNREACHABLE
inline constexpr DWORD kConnectionAborted = 1236;  // ERROR_CONNECTION_ABORTED
inline constexpr DWORD kTimeout = 1460;            // ERROR_TIMEOUT
inline constexpr DWORD kHostUnknown = 11001;       // WSAHOST_NOT_FOUND
inline constexpr DWORD kBadAnswer = ERROR_INVALID_DATA;

}  // namespace custom_bidi::network

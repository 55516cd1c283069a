// The sizes, places and numbers that the Windows headers give. Compiled in both lanes, so that the real
// headers are the judges of the stand-in's.

#include <cstddef>

#include "src/platform.h"

static_assert(sizeof(WCHAR) == 2 && sizeof(OLECHAR) == 2 && sizeof(BYTE) == 1 && sizeof(WORD) == 2);
static_assert(sizeof(BOOL) == 4 && sizeof(DWORD) == 4 && sizeof(LONG) == 4 && sizeof(ULONG) == 4);
static_assert(sizeof(UINT) == 4 && sizeof(INT) == 4 && sizeof(HRESULT) == 4 && sizeof(ULONGLONG) == 8);
static_assert(static_cast<LONG>(-1) < 0 && static_cast<BOOL>(-1) < 0 && static_cast<HRESULT>(-1) < 0);
static_assert(static_cast<DWORD>(-1) > 0 && static_cast<ULONG>(-1) > 0 && static_cast<BYTE>(-1) > 0);
static_assert(sizeof(HANDLE) == sizeof(void*) && sizeof(HMODULE) == sizeof(void*));
static_assert(sizeof(HKEY) == sizeof(void*) && sizeof(FARPROC) == sizeof(void*));
static_assert(sizeof(GUID) == 16 && sizeof(DATE) == 8 && sizeof(VARIANT_BOOL) == 2 && sizeof(VARTYPE) == 2);
static_assert(sizeof(VARIANT) == 24 && offsetof(VARIANT, vt) == 0 && offsetof(VARIANT, wReserved1) == 2);
static_assert(offsetof(VARIANT, lVal) == 8 && offsetof(VARIANT, bstrVal) == 8);
static_assert(offsetof(VARIANT, cVal) == 8 && offsetof(VARIANT, uiVal) == 8 &&
              offsetof(VARIANT, dblVal) == 8);
static_assert(VT_EMPTY == 0 && VT_NULL == 1 && VT_I2 == 2 && VT_I4 == 3 && VT_R8 == 5 && VT_DATE == 7);
static_assert(VT_BSTR == 8 && VT_BOOL == 11 && VT_I1 == 16 && VT_UI1 == 17 && VT_UI2 == 18 && VT_UI4 == 19);
static_assert(VARIANT_TRUE == -1 && VARIANT_FALSE == 0);

static_assert(sizeof(SYSTEMTIME) == 16 && offsetof(SYSTEMTIME, wDayOfWeek) == 4);
static_assert(offsetof(SYSTEMTIME, wHour) == 8 && offsetof(SYSTEMTIME, wMilliseconds) == 14);
static_assert(sizeof(SRWLOCK) == 8 && alignof(SRWLOCK) == 8);

static_assert(sizeof(PRINTER_INFO_2W) == 136 && offsetof(PRINTER_INFO_2W, pPrinterName) == 8);
static_assert(offsetof(PRINTER_INFO_2W, pPortName) == 24 && offsetof(PRINTER_INFO_2W, pDevMode) == 56);
static_assert(offsetof(PRINTER_INFO_2W, Attributes) == 104 && offsetof(PRINTER_INFO_2W, AveragePPM) == 132);

static_assert(sizeof(CERT_CONTEXT) == 40 && offsetof(CERT_CONTEXT, dwCertEncodingType) == 0);
static_assert(offsetof(CERT_CONTEXT, pbCertEncoded) == 8 && offsetof(CERT_CONTEXT, cbCertEncoded) == 16);
static_assert(offsetof(CERT_CONTEXT, pCertInfo) == 24 && offsetof(CERT_CONTEXT, hCertStore) == 32);
static_assert(X509_ASN_ENCODING == 1 && PKCS_7_ASN_ENCODING == 0x10000 && CERT_SHA1_HASH_PROP_ID == 3);

static_assert(ERROR_SUCCESS == 0 && NO_ERROR == 0 && ERROR_FILE_NOT_FOUND == 2);
static_assert(ERROR_PATH_NOT_FOUND == 3 && ERROR_ACCESS_DENIED == 5);
static_assert(ERROR_INVALID_HANDLE == 6 && ERROR_NOT_ENOUGH_MEMORY == 8 && ERROR_INVALID_DATA == 13);
static_assert(ERROR_WRITE_FAULT == 29 && ERROR_GEN_FAILURE == 31);
static_assert(ERROR_FILE_EXISTS == 80 && ERROR_INVALID_PARAMETER == 87 && ERROR_DISK_FULL == 112);
static_assert(ERROR_INSUFFICIENT_BUFFER == 122 && ERROR_INVALID_NAME == 123 && ERROR_INVALID_LEVEL == 124);
static_assert(ERROR_MOD_NOT_FOUND == 126 && ERROR_PROC_NOT_FOUND == 127 && ERROR_ALREADY_EXISTS == 183);
static_assert(ERROR_BAD_EXE_FORMAT == 193 && ERROR_ENVVAR_NOT_FOUND == 203);
static_assert(ERROR_FILENAME_EXCED_RANGE == 206 && ERROR_MORE_DATA == 234 && ERROR_MR_MID_NOT_FOUND == 317);
static_assert(ERROR_NOT_FOUND == 1168 && ERROR_NO_MATCH == 1169 && ERROR_INVALID_PRINTER_NAME == 1801);

// As 32-bit patterns: the real constants are not all of one type.
constexpr bool Is(HRESULT result, DWORD pattern) {
  return static_cast<DWORD>(result) == pattern;
}
static_assert(Is(S_OK, 0) && Is(S_FALSE, 1) && Is(E_NOINTERFACE, 0x80004002));
static_assert(Is(E_FAIL, 0x80004005) && Is(E_OUTOFMEMORY, 0x8007000E) && Is(E_INVALIDARG, 0x80070057));
static_assert(Is(RPC_E_CHANGED_MODE, 0x80010106) && Is(DISP_E_BADVARTYPE, 0x80020008));
static_assert(Is(CLASS_E_NOAGGREGATION, 0x80040110) && Is(REGDB_E_CLASSNOTREG, 0x80040154));
static_assert(Is(CO_E_NOTINITIALIZED, 0x800401F0) && Is(CRYPT_E_NOT_FOUND, 0x80092004));
static_assert(Is(CRYPT_E_ASN1_EOD, 0x80093102) && Is(CRYPT_E_ASN1_CORRUPT, 0x80093103));
static_assert(Is(CRYPT_E_ASN1_BADTAG, 0x8009310B));
static_assert(SUCCEEDED(S_FALSE) && FAILED(E_FAIL) && !FAILED(S_OK));

static_assert(GENERIC_READ == 0x80000000 && GENERIC_WRITE == 0x40000000);
static_assert(FILE_SHARE_READ == 1 && FILE_SHARE_WRITE == 2 && CREATE_NEW == 1 && OPEN_EXISTING == 3);
static_assert(FILE_ATTRIBUTE_NORMAL == 0x80);
static_assert(REG_SZ == 1 && REG_BINARY == 3 && REG_DWORD == 4 && KEY_READ == 0x20019);
static_assert(GPTR == 0x40 && LOCALE_SISO639LANGNAME == 0x59);
static_assert(FORMAT_MESSAGE_ALLOCATE_BUFFER == 0x100 && FORMAT_MESSAGE_FROM_SYSTEM == 0x1000);
static_assert(GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT == 2 &&
              GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS == 4);
static_assert(COINIT_MULTITHREADED == 0 && COINIT_APARTMENTTHREADED == 2 && CLSCTX_INPROC_SERVER == 1);

#pragma once

/// The print queues. A queue is a key below SYSTEM\CurrentControlSet\Control\Print\Printers of
/// HKEY_LOCAL_MACHINE; its text value `Port` names the port. One that is not there, or has no port there, is
/// asked of CUPS, whose device URI is the port's name.

#include "base/error_codes.h"
#include "base/types.h"

struct DEVMODEW;

struct PRINTER_DEFAULTSW {
  LPWSTR pDatatype;
  DEVMODEW* pDevMode;
  ACCESS_MASK DesiredAccess;
};

/// Only pPrinterName and pPortName are ever filled; all else is null or 0.
struct PRINTER_INFO_2W {
  LPWSTR pServerName;
  LPWSTR pPrinterName;
  LPWSTR pShareName;
  LPWSTR pPortName;
  LPWSTR pDriverName;
  LPWSTR pComment;
  LPWSTR pLocation;
  DEVMODEW* pDevMode;
  LPWSTR pSepFile;
  LPWSTR pPrintProcessor;
  LPWSTR pDatatype;
  LPWSTR pParameters;
  void* pSecurityDescriptor;
  DWORD Attributes;
  DWORD Priority;
  DWORD DefaultPriority;
  DWORD StartTime;
  DWORD UntilTime;
  DWORD Status;
  DWORD cJobs;
  DWORD AveragePPM;
};

/// Opens a queue; `defaults` is null. ERROR_INVALID_PRINTER_NAME, and a null handle, when there is none of
/// that name. What GetPrinterW tells later is how the queue was at this moment.
BOOL OpenPrinterW(LPWSTR name, HANDLE* printer, PRINTER_DEFAULTSW* defaults);

/// At level 2, a PRINTER_INFO_2W followed by its texts. `*needed_bytes` receives the size of all that; when
/// `size_bytes` is less, ERROR_INSUFFICIENT_BUFFER. Any other level is ERROR_INVALID_LEVEL.
BOOL GetPrinterW(HANDLE printer, DWORD level, BYTE* info, DWORD size_bytes, DWORD* needed_bytes);

BOOL ClosePrinter(HANDLE printer);

#pragma once

#include "pal/types.h"

struct SYSTEMTIME {
  WORD wYear;
  WORD wMonth;      ///< 1 to 12
  WORD wDayOfWeek;  ///< 0 is Sunday
  WORD wDay;
  WORD wHour;
  WORD wMinute;
  WORD wSecond;
  WORD wMilliseconds;
};

/// One reading of the system clock, in the zone that `TZ` names now, else in the machine's.
void GetLocalTime(SYSTEMTIME* time);

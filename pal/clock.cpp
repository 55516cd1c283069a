#include "pal/clock.h"

#include <time.h>

void GetLocalTime(SYSTEMTIME* time) {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  // localtime_r alone looks at TZ only once.
  tzset();
  tm local{};
  localtime_r(&now.tv_sec, &local);
  *time = {.wYear = static_cast<WORD>(local.tm_year + 1900),
           .wMonth = static_cast<WORD>(local.tm_mon + 1),
           .wDayOfWeek = static_cast<WORD>(local.tm_wday),
           .wDay = static_cast<WORD>(local.tm_mday),
           .wHour = static_cast<WORD>(local.tm_hour),
           .wMinute = static_cast<WORD>(local.tm_min),
           .wSecond = static_cast<WORD>(local.tm_sec),
           .wMilliseconds = static_cast<WORD>(now.tv_nsec / 1000000)};
}

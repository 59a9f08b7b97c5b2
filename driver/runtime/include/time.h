/* The library's clock: a signed 32-bit count of seconds since 1970-01-01
   00:00:00 UTC, and broken-down UTC time. */
#ifndef CRT_TIME_H
#define CRT_TIME_H

#include <CrtTypes.h>

typedef int32_t time_t;

struct tm {
  int tm_sec;
  int tm_min;
  int tm_hour;
  int tm_mday;
  int tm_mon;
  int tm_year;
  int tm_wday;
  int tm_yday;
  int tm_isdst;
};

CRT_BEGIN
time_t time(time_t *Place);
struct tm *gmtime(const time_t *Place);
CRT_END

#endif

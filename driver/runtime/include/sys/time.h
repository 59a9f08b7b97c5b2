/* The wall clock of library sources that the driver never links. */
#ifndef CRT_SYS_TIME_H
#define CRT_SYS_TIME_H

#include <time.h>

struct timeval {
  long tv_sec;
  long tv_usec;
};

CRT_BEGIN
int gettimeofday(struct timeval *Now, void *Zone);
CRT_END

#endif

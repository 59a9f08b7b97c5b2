/* Just enough of <sys/stat.h> for the library's file store to compile: there
   is no file, so every question is answered with a failure. */
#ifndef CRT_SYS_STAT_H
#define CRT_SYS_STAT_H

#include <sys/types.h>

struct stat {
  int st_mode;
};

#define S_ISDIR(Mode) 0

CRT_BEGIN
int stat(const char *Path, struct stat *Result);
CRT_END

#endif

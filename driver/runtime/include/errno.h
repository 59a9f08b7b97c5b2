/* The library sets and tests an error number that nothing in the driver
   reads. */
#ifndef CRT_ERRNO_H
#define CRT_ERRNO_H

#include <CrtTypes.h>

#define EINTR 4
#define EAGAIN 11
#define ENOMEM 12
#define EINVAL 22
#define ERANGE 34

CRT_BEGIN
extern int errno;
CRT_END

#endif

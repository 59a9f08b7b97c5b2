/* Types that the crypto library takes from <sys/types.h>. */
#ifndef CRT_SYS_TYPES_H
#define CRT_SYS_TYPES_H

#include <CrtTypes.h>
#include <time.h>

#endif

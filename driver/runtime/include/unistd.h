/* Included by the crypto library for systems with processes and files; the
   driver has neither. */
#ifndef CRT_UNISTD_H
#define CRT_UNISTD_H

#include <sys/time.h>
#include <sys/types.h>

#endif

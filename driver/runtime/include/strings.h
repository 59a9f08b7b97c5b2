/* Case-blind comparison, for library sources that take it from <strings.h>. */
#ifndef CRT_STRINGS_H
#define CRT_STRINGS_H

#include <string.h>

#endif

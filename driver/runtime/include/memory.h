/* The older name of <string.h>. */
#include <string.h>

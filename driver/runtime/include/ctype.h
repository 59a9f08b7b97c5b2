/* Character classes of the C locale. */
#ifndef CRT_CTYPE_H
#define CRT_CTYPE_H

#include <CrtTypes.h>

CRT_BEGIN
int isdigit(int Character);
int isspace(int Character);
int tolower(int Character);
CRT_END

#endif

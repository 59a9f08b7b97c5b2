/* The part of <stdio.h> that the crypto library names. The driver has no
   files and no formatted input. */
#ifndef CRT_STDIO_H
#define CRT_STDIO_H

#include <CrtTypes.h>
#include <stdarg.h>

typedef struct CRT_FILE FILE;

#define EOF (-1)
#define BUFSIZ 1024

CRT_BEGIN
/* Only library code that is never linked calls the file routines. */
FILE *fopen(const char *Path, const char *Mode);
void clearerr(FILE *File);
int fclose(FILE *File);
int ferror(FILE *File);
size_t fread(void *Block, size_t Size, size_t Count, FILE *File);
size_t fwrite(const void *Block, size_t Size, size_t Count, FILE *File);
void setbuf(FILE *File, char *Buffer);
int sscanf(const char *Text, const char *Format, ...);
CRT_END

#endif

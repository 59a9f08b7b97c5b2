/* The part of <stdlib.h> that the crypto library uses; contracts in
   driver/runtime. */
#ifndef CRT_STDLIB_H
#define CRT_STDLIB_H

#include <CrtTypes.h>

CRT_BEGIN
void *malloc(size_t Size);
void *realloc(void *Block, size_t Size);
void free(void *Block);
void qsort(void *Base, size_t Count, size_t Width, int (*Compare)(const void *, const void *));
int atoi(const char *Text);
long strtol(const char *Text, char **End, int Base);
unsigned long strtoul(const char *Text, char **End, int Base);
char *getenv(const char *Name);
__attribute__((noreturn)) void abort(void);
CRT_END

#endif

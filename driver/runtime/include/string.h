/* The part of <string.h> that the crypto library uses; contracts in
   driver/runtime. */
#ifndef CRT_STRING_H
#define CRT_STRING_H

#include <CrtTypes.h>

CRT_BEGIN
void *memcpy(void *Destination, const void *Source, size_t Count);
void *memmove(void *Destination, const void *Source, size_t Count);
void *memset(void *Block, int Value, size_t Count);
int memcmp(const void *First, const void *Second, size_t Count);
void *memchr(const void *Block, int Value, size_t Count);
size_t strlen(const char *Text);
int strcmp(const char *First, const char *Second);
int strncmp(const char *First, const char *Second, size_t Count);
char *strcpy(char *Destination, const char *Source);
#ifndef CRT_IMPLEMENTATION
char *strncpy(char *Destination, const char *Source, size_t Count);
char *strcat(char *Destination, const char *Source);
#endif
char *strchr(const char *Text, int Character);
char *strrchr(const char *Text, int Character);
char *strstr(const char *Text, const char *Part);
char *strpbrk(const char *Text, const char *Accepted);
char *strdup(const char *Text);
size_t strspn(const char *Text, const char *Accepted);
size_t strcspn(const char *Text, const char *Refused);
char *strerror(int Error);
CRT_END

#endif

// The remaining C string routines of the crypto library, on NUL-terminated
// 8-bit text. strcmp and atoi differ from the C standard as noted.
#define CRT_IMPLEMENTATION
#include <ctype.h>
#include <string.h>

#include "driver/platform/Memory.h"
#include "driver/runtime/Heap.h"

extern "C" {

size_t strlen(const CHAR8 *Text) {
  size_t Length = 0;
  while (Text[Length] != '\0') {
    Length++;
  }
  return Length;
}

// The bytes are compared as signed values: a consistent order, which is all the
// library's tables need.
int strcmp(const CHAR8 *First, const CHAR8 *Second) {
  while (*First != '\0' && *First == *Second) {
    First++;
    Second++;
  }
  return static_cast<INT8>(*First) - static_cast<INT8>(*Second);
}

int strncmp(const CHAR8 *First, const CHAR8 *Second, size_t Count) {
  for (; Count != 0; Count--, First++, Second++) {
    if (*First != *Second || *First == '\0') {
      return static_cast<INT8>(*First) - static_cast<INT8>(*Second);
    }
  }
  return 0;
}

CHAR8 *strcpy(CHAR8 *Destination, const CHAR8 *Source) {
  MoveMemory(Destination, Source, strlen(Source) + 1);
  return Destination;
}

CHAR8 *strdup(const CHAR8 *Text) {
  size_t Size = strlen(Text) + 1;
  auto *Copy = static_cast<CHAR8 *>(malloc(Size));
  if (Copy != nullptr) {
    MoveMemory(Copy, Text, Size);
  }
  return Copy;
}

CHAR8 *strchr(const CHAR8 *Text, int Character) {
  return static_cast<CHAR8 *>(memchr(Text, Character, strlen(Text) + 1));
}

CHAR8 *strrchr(const CHAR8 *Text, int Character) {
  for (size_t Length = strlen(Text) + 1; Length != 0; Length--) {
    if (Text[Length - 1] == static_cast<CHAR8>(Character)) {
      return const_cast<CHAR8 *>(Text + Length - 1);
    }
  }
  return nullptr;
}

CHAR8 *strstr(const CHAR8 *Text, const CHAR8 *Part) {
  size_t Length = strlen(Part);
  for (; strncmp(Text, Part, Length) != 0; Text++) {
    if (*Text == '\0') {
      return nullptr;
    }
  }
  return const_cast<CHAR8 *>(Text);
}

static size_t SpanWhile(const CHAR8 *Text, const CHAR8 *Set, bool Inside) {
  size_t Length = 0;
  while (Text[Length] != '\0' && (strchr(Set, Text[Length]) != nullptr) == Inside) {
    Length++;
  }
  return Length;
}

size_t strspn(const CHAR8 *Text, const CHAR8 *Accepted) {
  return SpanWhile(Text, Accepted, true);
}

size_t strcspn(const CHAR8 *Text, const CHAR8 *Refused) {
  return SpanWhile(Text, Refused, false);
}

CHAR8 *strpbrk(const CHAR8 *Text, const CHAR8 *Accepted) {
  Text += strcspn(Text, Accepted);
  return *Text != '\0' ? const_cast<CHAR8 *>(Text) : nullptr;
}

// Spaces, tabs and leading zeros are skipped, digits read; there is no sign, so
// text that starts with one gives 0. Unsigned 64-bit: callers that take an int
// read the low half.
UINT64 atoi(const CHAR8 *Text) {
  while (*Text == ' ' || *Text == '\t') {
    Text++;
  }
  UINT64 Value = 0;
  for (; isdigit(*Text); Text++) {
    Value = Value * 10 + static_cast<UINT64>(*Text - '0');
  }
  return Value;
}

int isdigit(int Character) {
  return Character >= '0' && Character <= '9';
}

int isspace(int Character) {
  return Character == ' ' || (Character >= '\t' && Character <= '\r');
}

int tolower(int Character) {
  return Character >= 'A' && Character <= 'Z' ? Character - 'A' + 'a' : Character;
}
}

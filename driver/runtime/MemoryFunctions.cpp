// The C memory routines of the crypto library and of the compiler.
#include <string.h>

#include "driver/platform/Memory.h"

extern "C" {

VOID *memcpy(VOID *Destination, const VOID *Source, size_t Count) {
  MoveMemory(Destination, Source, Count);
  return Destination;
}

VOID *memmove(VOID *Destination, const VOID *Source, size_t Count) {
  MoveMemory(Destination, Source, Count);
  return Destination;
}

VOID *memset(VOID *Block, int Value, size_t Count) {
  FillMemory(Block, Count, static_cast<UINT8>(Value));
  return Block;
}

int memcmp(const VOID *First, const VOID *Second, size_t Count) {
  return static_cast<int>(CompareMemory(First, Second, Count));
}

VOID *memchr(const VOID *Block, int Value, size_t Count) {
  const auto *Place = static_cast<const UINT8 *>(Block);
  for (; Count != 0; Count--, Place++) {
    if (*Place == static_cast<UINT8>(Value)) {
      return const_cast<UINT8 *>(Place);
    }
  }
  return nullptr;
}
}

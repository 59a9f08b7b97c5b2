// The internal table from a HASH_TYPE to its five hash functions. It is not
// reachable through the protocol.
#pragma once

#include "uefi/Uefi.h"

#include "CryptoServicesProtocol.h"

// All answer FALSE for a NULL pointer (Update: NULL data only with a size) and
// change nothing then.
struct HASH_DISPATCH_ENTRY {
  UINTN(EFIAPI *ContextSize)();
  BOOLEAN(EFIAPI *Init)(VOID *Context);
  BOOLEAN(EFIAPI *Duplicate)(const VOID *Context, VOID *NewContext);
  BOOLEAN(EFIAPI *Update)(VOID *Context, const VOID *Data, UINTN DataSize);
  BOOLEAN(EFIAPI *Final)(VOID *Context, UINT8 *Digest);
};

// The row of HashType; NULL for an unknown type.
const HASH_DISPATCH_ENTRY *FindHashRow(HASH_TYPE HashType);

// Digest size of HashType in bytes; 0 for an unknown type.
UINTN DigestSizeOf(HASH_TYPE HashType);

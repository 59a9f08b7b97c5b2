// MD5 (RFC 1321) for the one-shot digest service alone; no slot publishes it.
// The contracts are those of the matching columns of HASH_DISPATCH_ENTRY.
#pragma once

#include "uefi/Base.h"

UINTN EFIAPI HashRowMd5GetContextSize();
BOOLEAN EFIAPI HashRowMd5Init(VOID *Context);
BOOLEAN EFIAPI HashRowMd5Duplicate(const VOID *Context, VOID *NewContext);
BOOLEAN EFIAPI HashRowMd5Update(VOID *Context, const VOID *Data, UINTN DataSize);
BOOLEAN EFIAPI HashRowMd5Final(VOID *Context, UINT8 *Digest);

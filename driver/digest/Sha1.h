// Streaming SHA-1 (FIPS 180-4, section 6.1) in a context that the caller owns: at least
// the size that SvcSha1GetContextSize answers, no pointers inside, free to copy.
// Nothing is allocated; the data is not copied.
#pragma once

#include "uefi/Uefi.h"

#include "CryptoServicesProtocol.h"

// Slots of the service table; each refusal is FALSE and changes nothing.
UINTN EFIAPI SvcSha1GetContextSize();
BOOLEAN EFIAPI SvcSha1Init(VOID *Context);
BOOLEAN EFIAPI SvcSha1Update(VOID *Context, const VOID *Data, UINTN DataSize);
BOOLEAN EFIAPI SvcSha1Final(VOID *Context, UINT8 *Digest);

// Copies Context over NewContext, so that both go on independently. FALSE when
// either is NULL; the same pointer twice is TRUE and copies nothing.
BOOLEAN EFIAPI HashRowSha1Duplicate(const VOID *Context, VOID *NewContext);

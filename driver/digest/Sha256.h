// Streaming SHA-256 (FIPS 180-4, section 6.2) in a context that the caller owns: at least
// the size that SvcSha256GetContextSize answers, no pointers inside, free to copy.
// Nothing is allocated; the data is not copied.
#pragma once

#include "uefi/Uefi.h"

#include "CryptoServicesProtocol.h"

// Slots of the service table; each refusal is FALSE and changes nothing.
UINTN EFIAPI SvcSha256GetContextSize();
BOOLEAN EFIAPI SvcSha256Init(VOID *Context);
BOOLEAN EFIAPI SvcSha256Update(VOID *Context, const VOID *Data, UINTN DataSize);
BOOLEAN EFIAPI SvcSha256Final(VOID *Context, UINT8 *Digest);

// Copies Context over NewContext, so that both go on independently. FALSE when
// either is NULL; the same pointer twice is TRUE and copies nothing.
BOOLEAN EFIAPI HashRowSha256Duplicate(const VOID *Context, VOID *NewContext);

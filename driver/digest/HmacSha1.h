// Streaming HMAC-SHA1 (RFC 2104) in a context that the caller owns. The context
// holds a handle to the crypto library's own object and a mark that tells it
// from other memory; it must not be copied.
#pragma once

#include "uefi/Uefi.h"

#include "CryptoServicesProtocol.h"

// Slots of the service table. They answer FALSE for a NULL pointer (Update:
// NULL data only with a size; Init does not test the key) and for a key above
// 0x7FFFFFFF bytes, and change nothing then. Failures inside the library are
// not reported: they leave an idle context, with which Update and Final do
// nothing and answer TRUE.
UINTN EFIAPI SvcHmacSha1GetContextSize();

// Does not look at what the context held: the library object of one that is
// still active is lost.
BOOLEAN EFIAPI SvcHmacSha1Init(VOID *Context, const UINT8 *Key, UINTN KeySize);
BOOLEAN EFIAPI SvcHmacSha1Update(VOID *Context, const VOID *Data, UINTN DataSize);

// Releases the library object and sets the whole context to zero.
BOOLEAN EFIAPI SvcHmacSha1Final(VOID *Context, UINT8 *Mac);

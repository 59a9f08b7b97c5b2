// The streaming digest services as one shape, for the families that feed messages through them.
#pragma once

#include <string>
#include <vector>

#include "uefi/Base.h"

#include "CryptoServicesProtocol.h"

// First is the slot of GetContextSize; Init, Update and Final follow it. All zero for an algorithm without
// streaming services.
struct DIGEST_STREAM {
  UINTN First;
  UINTN ContextSize;
  UINTN(EFIAPI *GetContextSize)();
  BOOLEAN(EFIAPI *Init)(VOID *Context);
  BOOLEAN(EFIAPI *Update)(VOID *Context, const VOID *Data, UINTN DataSize);
  BOOLEAN(EFIAPI *Final)(VOID *Context, UINT8 *Digest);
};

struct DIGEST_ALGORITHM {
  HASH_TYPE Type;
  UINTN DigestSize;
  DIGEST_STREAM Stream;
};

class VectorCase;

// The algorithm that the case names in "alg", its services taken from Services. Throws VectorError for a name
// that is none.
DIGEST_ALGORITHM DigestOfCase(VectorCase &Case, const CRYPTO_SERVICES_PROTOCOL &Services);

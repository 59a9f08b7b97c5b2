// The driver's own way to the protocol: in C++, over the platform definitions of this tree. Compiles only.
#include "uefi/Uefi.h"

#define CRYPTO_SERVICES_PLATFORM_TYPES
#include "CryptoServicesProtocol.h"

#include "tests/layout/ProtocolChecks.h"

// A routine written with the tree's types fits its slot without a cast.
static BOOLEAN EFIAPI Sha256Init(VOID *Context) {
  return Context != nullptr;
}
static_assert(CRYPTO_SERVICES_SHA256_INIT(Sha256Init) == Sha256Init);

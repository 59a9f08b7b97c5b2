// SHA-256 over the crypto library's routines; the checks are all that is added.
#include "driver/digest/Sha256.h"

#include <openssl/sha.h>

#include "driver/platform/Memory.h"

static_assert(sizeof(SHA256_CTX) == CRYPTO_SERVICES_SHA256_CONTEXT_SIZE);

UINTN EFIAPI SvcSha256GetContextSize() {
  return sizeof(SHA256_CTX);
}

BOOLEAN EFIAPI SvcSha256Init(VOID *Context) {
  if (Context == nullptr) {
    return FALSE;
  }
  return SHA256_Init(static_cast<SHA256_CTX *>(Context)) == 1;
}

BOOLEAN EFIAPI SvcSha256Update(VOID *Context, const VOID *Data, UINTN DataSize) {
  if (Context == nullptr || (Data == nullptr && DataSize != 0)) {
    return FALSE;
  }
  return SHA256_Update(static_cast<SHA256_CTX *>(Context), Data, DataSize) == 1;
}

BOOLEAN EFIAPI SvcSha256Final(VOID *Context, UINT8 *Digest) {
  if (Context == nullptr || Digest == nullptr) {
    return FALSE;
  }
  return SHA256_Final(Digest, static_cast<SHA256_CTX *>(Context)) == 1;
}

BOOLEAN EFIAPI HashRowSha256Duplicate(const VOID *Context, VOID *NewContext) {
  if (Context == nullptr || NewContext == nullptr) {
    return FALSE;
  }
  BoundedCopy(NewContext, sizeof(SHA256_CTX), Context, sizeof(SHA256_CTX));
  return TRUE;
}

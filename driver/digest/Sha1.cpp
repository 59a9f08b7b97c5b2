// SHA-1 over the crypto library's routines; the checks are all that is added.
#include "driver/digest/Sha1.h"

#include <openssl/sha.h>

#include "driver/platform/Memory.h"

static_assert(sizeof(SHA_CTX) == CRYPTO_SERVICES_SHA1_CONTEXT_SIZE);

UINTN EFIAPI SvcSha1GetContextSize() {
  return sizeof(SHA_CTX);
}

BOOLEAN EFIAPI SvcSha1Init(VOID *Context) {
  if (Context == nullptr) {
    return FALSE;
  }
  return SHA1_Init(static_cast<SHA_CTX *>(Context)) == 1;
}

BOOLEAN EFIAPI SvcSha1Update(VOID *Context, const VOID *Data, UINTN DataSize) {
  if (Context == nullptr || (Data == nullptr && DataSize != 0)) {
    return FALSE;
  }
  return SHA1_Update(static_cast<SHA_CTX *>(Context), Data, DataSize) == 1;
}

BOOLEAN EFIAPI SvcSha1Final(VOID *Context, UINT8 *Digest) {
  if (Context == nullptr || Digest == nullptr) {
    return FALSE;
  }
  return SHA1_Final(Digest, static_cast<SHA_CTX *>(Context)) == 1;
}

BOOLEAN EFIAPI HashRowSha1Duplicate(const VOID *Context, VOID *NewContext) {
  if (Context == nullptr || NewContext == nullptr) {
    return FALSE;
  }
  BoundedCopy(NewContext, sizeof(SHA_CTX), Context, sizeof(SHA_CTX));
  return TRUE;
}

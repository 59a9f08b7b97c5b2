// MD5 over the crypto library's update and final; the start is set here.
#include "driver/digest/Md5.h"

#include <openssl/md5.h>

#include "driver/platform/Memory.h"

static_assert(sizeof(MD5_CTX) == 92);

UINTN EFIAPI HashRowMd5GetContextSize() {
  return sizeof(MD5_CTX);
}

BOOLEAN EFIAPI HashRowMd5Init(VOID *Context) {
  if (Context == nullptr) {
    return FALSE;
  }
  auto *Md5 = static_cast<MD5_CTX *>(Context);
  ZeroMemory(Md5, sizeof(MD5_CTX));
  // RFC 1321, section 3.3.
  Md5->A = 0x67452301;
  Md5->B = 0xEFCDAB89;
  Md5->C = 0x98BADCFE;
  Md5->D = 0x10325476;
  return TRUE;
}

BOOLEAN EFIAPI HashRowMd5Duplicate(const VOID *Context, VOID *NewContext) {
  if (Context == nullptr || NewContext == nullptr) {
    return FALSE;
  }
  BoundedCopy(NewContext, sizeof(MD5_CTX), Context, sizeof(MD5_CTX));
  return TRUE;
}

BOOLEAN EFIAPI HashRowMd5Update(VOID *Context, const VOID *Data, UINTN DataSize) {
  if (Context == nullptr || (Data == nullptr && DataSize != 0)) {
    return FALSE;
  }
  return MD5_Update(static_cast<MD5_CTX *>(Context), Data, DataSize) == 1;
}

BOOLEAN EFIAPI HashRowMd5Final(VOID *Context, UINT8 *Digest) {
  if (Context == nullptr || Digest == nullptr) {
    return FALSE;
  }
  return MD5_Final(Digest, static_cast<MD5_CTX *>(Context)) == 1;
}

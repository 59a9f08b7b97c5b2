// Nothing but the library's calls. The base types come first, because the library's headers are in firmware
// mode.
#include "tools/session/BareLibrary.h"

#include <openssl/md5.h>
#include <openssl/sha.h>

void BareSha1(const VOID *Data, UINTN DataSize, UINT8 *Digest) {
  SHA_CTX Context;
  SHA1_Init(&Context);
  SHA1_Update(&Context, Data, DataSize);
  SHA1_Final(Digest, &Context);
}

void BareSha256(const VOID *Data, UINTN DataSize, UINT8 *Digest) {
  SHA256_CTX Context;
  SHA256_Init(&Context);
  SHA256_Update(&Context, Data, DataSize);
  SHA256_Final(Digest, &Context);
}

void BareMd5(const VOID *Data, UINTN DataSize, UINT8 *Digest) {
  MD5_CTX Context;
  MD5_Init(&Context);
  MD5_Update(&Context, Data, DataSize);
  MD5_Final(Digest, &Context);
}

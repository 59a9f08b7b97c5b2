// Rows in the order SHA-1, SHA-256, MD5.
#include "driver/digest/HashDispatch.h"

#include "driver/digest/Md5.h"
#include "driver/digest/Sha1.h"
#include "driver/digest/Sha256.h"

static constexpr HASH_DISPATCH_ENTRY HASH_DISPATCH_TABLE[] = {
    {SvcSha1GetContextSize, SvcSha1Init, HashRowSha1Duplicate, SvcSha1Update, SvcSha1Final},
    {SvcSha256GetContextSize, SvcSha256Init, HashRowSha256Duplicate, SvcSha256Update, SvcSha256Final},
    {HashRowMd5GetContextSize, HashRowMd5Init, HashRowMd5Duplicate, HashRowMd5Update, HashRowMd5Final},
};

const HASH_DISPATCH_ENTRY *FindHashRow(HASH_TYPE HashType) {
  switch (HashType) {
  case HASH_TYPE_SHA1:
    return &HASH_DISPATCH_TABLE[0];
  case HASH_TYPE_SHA256:
    return &HASH_DISPATCH_TABLE[1];
  case HASH_TYPE_MD5:
    return &HASH_DISPATCH_TABLE[2];
  default:
    return nullptr;
  }
}

UINTN DigestSizeOf(HASH_TYPE HashType) {
  switch (HashType) {
  case HASH_TYPE_SHA1:
    return CRYPTO_SERVICES_SHA1_DIGEST_SIZE;
  case HASH_TYPE_SHA256:
    return CRYPTO_SERVICES_SHA256_DIGEST_SIZE;
  case HASH_TYPE_MD5:
    return CRYPTO_SERVICES_MD5_DIGEST_SIZE;
  default:
    return 0;
  }
}

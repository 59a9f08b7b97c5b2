// One row per service; a digest is everything from its start to its result.
#include "benchmarks/DigestWork.h"

#include "tools/session/BareLibrary.h"

namespace {

void DriverSha256(const CRYPTO_SERVICES_PROTOCOL &Services, const VOID *Data, UINTN DataSize, UINT8 *Digest) {
  UINT8 Context[CRYPTO_SERVICES_SHA256_CONTEXT_SIZE];
  Services.SvcSha256Init(Context);
  Services.SvcSha256Update(Context, Data, DataSize);
  Services.SvcSha256Final(Context, Digest);
}

void DriverSha1(const CRYPTO_SERVICES_PROTOCOL &Services, const VOID *Data, UINTN DataSize, UINT8 *Digest) {
  UINT8 Context[CRYPTO_SERVICES_SHA1_CONTEXT_SIZE];
  Services.SvcSha1Init(Context);
  Services.SvcSha1Update(Context, Data, DataSize);
  Services.SvcSha1Final(Context, Digest);
}

template <HASH_TYPE TYPE>
void DriverHashAll(const CRYPTO_SERVICES_PROTOCOL &Services, const VOID *Data, UINTN DataSize,
                   UINT8 *Digest) {
  UINTN DigestSize = CRYPTO_SERVICES_SHA256_DIGEST_SIZE;
  Services.SvcHashAll(TYPE, Data, DataSize, Digest, &DigestSize);
}

constexpr DIGEST_WORK mWorks[] = {
    {"SHA-256, slots 6-9", 0, BareSha256, DriverSha256},
    {"SHA-1, slots 10-13", 0, BareSha1, DriverSha1},
    {"SHA-256, slot 2", 1, BareSha256, DriverHashAll<HASH_TYPE_SHA256>},
    {"SHA-1, slot 2", 1, BareSha1, DriverHashAll<HASH_TYPE_SHA1>},
    {"MD5, slot 2", 1, BareMd5, DriverHashAll<HASH_TYPE_MD5>},
};

constexpr UINTN mSizes[] = {64, 256, 1024, 4096, 16384, 65536, 1 << 20, 16 << 20};

} // namespace

std::span<const DIGEST_WORK> DigestWorks() {
  return mWorks;
}

std::span<const UINTN> WorkSizes() {
  return mSizes;
}

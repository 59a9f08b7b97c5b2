// A digest is everything from its start to its result.
#include "benchmarks/work/Work.h"

#include "tools/session/BareLibrary.h"

namespace {

template <void (*HASH)(const VOID *, UINTN, UINT8 *)> STEP Bare(UINTN Size) {
  return [Size] {
    HASH(InputBuffer(), Size, OutputBuffer());
    return true;
  };
}

STEP Sha256(const BOOTED &Driver, UINTN Size) {
  return [&Services = Driver.Services, Size] {
    UINT8 Context[CRYPTO_SERVICES_SHA256_CONTEXT_SIZE];
    return Services.SvcSha256Init(Context) && Services.SvcSha256Update(Context, InputBuffer(), Size) &&
           Services.SvcSha256Final(Context, OutputBuffer());
  };
}

STEP Sha1(const BOOTED &Driver, UINTN Size) {
  return [&Services = Driver.Services, Size] {
    UINT8 Context[CRYPTO_SERVICES_SHA1_CONTEXT_SIZE];
    return Services.SvcSha1Init(Context) && Services.SvcSha1Update(Context, InputBuffer(), Size) &&
           Services.SvcSha1Final(Context, OutputBuffer());
  };
}

template <HASH_TYPE TYPE> STEP HashAll(const BOOTED &Driver, UINTN Size) {
  return [&Services = Driver.Services, Size] {
    UINTN DigestSize = CRYPTO_SERVICES_SHA256_DIGEST_SIZE;
    return Services.SvcHashAll(TYPE, InputBuffer(), Size, OutputBuffer(), &DigestSize) == EFI_SUCCESS;
  };
}

constexpr WORK Row(const char *Name, STEP (*Bare)(UINTN), STEP (*Driver)(const BOOTED &, UINTN),
                   bool Streaming = false) {
  return {"Digests", Name, UNIT::Bytes, mDataSizes, 0.97, Bare, Driver, PROCESSOR::Native, Streaming};
}

constexpr WORK mWorks[] = {
    Row("SHA-256, slots 7-9", Bare<BareSha256>, Sha256, true),
    Row("SHA-1, slots 11-13", Bare<BareSha1>, Sha1, true),
    Row("SHA-256, slot 2", Bare<BareSha256>, HashAll<HASH_TYPE_SHA256>),
    Row("SHA-1, slot 2", Bare<BareSha1>, HashAll<HASH_TYPE_SHA1>),
    Row("MD5, slot 2", Bare<BareMd5>, HashAll<HASH_TYPE_MD5>),
};

} // namespace

std::span<const WORK> DigestWorks() {
  return mWorks;
}

// A MAC is everything from the key to the result. The bare library hashes the message where it lies; the
// one-shot services copy it behind a pad, by the interface.
#include "benchmarks/work/Work.h"

#include <algorithm>

#include <openssl/evp.h>
#include <openssl/hmac.h>

namespace {

constexpr UINT8 mKey[32] = {1, 2, 3};
constexpr const char *mPassword = "correct horse battery staple";
constexpr UINTN mPasswordSize = 28;
constexpr UINTN mIterations = 1000;

template <const EVP_MD *(*DIGEST)()> STEP Bare(UINTN Size) {
  return [Size] {
    HMAC_CTX *Context = HMAC_CTX_new();
    unsigned MacSize = 0;
    const bool Fine = HMAC_Init_ex(Context, mKey, sizeof(mKey), DIGEST(), nullptr) == 1 &&
                      HMAC_Update(Context, InputBuffer(), Size) == 1 &&
                      HMAC_Final(Context, OutputBuffer(), &MacSize) == 1;
    HMAC_CTX_free(Context);
    return Fine;
  };
}

STEP Sha1(const BOOTED &Driver, UINTN Size) {
  return [&Services = Driver.Services, Size] {
    UINT8 Context[CRYPTO_SERVICES_HMAC_SHA1_CONTEXT_SIZE];
    return Services.SvcHmacSha1Init(Context, mKey, sizeof(mKey)) &&
           Services.SvcHmacSha1Update(Context, InputBuffer(), Size) &&
           Services.SvcHmacSha1Final(Context, OutputBuffer());
  };
}

template <HASH_TYPE TYPE> STEP Compute(const BOOTED &Driver, UINTN Size) {
  return [&Services = Driver.Services, Size] {
    UINTN MacSize = CRYPTO_SERVICES_SHA256_DIGEST_SIZE;
    return Services.SvcHmacCompute(TYPE, mKey, sizeof(mKey), InputBuffer(), Size, OutputBuffer(), &MacSize) ==
           EFI_SUCCESS;
  };
}

STEP Verify(const BOOTED &Driver, UINTN Size) {
  const bool Ready = Compute<HASH_TYPE_SHA256>(Driver, Size)();
  const Bytes Mac(OutputBuffer(), OutputBuffer() + CRYPTO_SERVICES_SHA256_DIGEST_SIZE);
  return [&Services = Driver.Services, Size, Ready, Mac] {
    std::copy(Mac.begin(), Mac.end(), OutputBuffer());
    return Ready && Services.SvcHmacVerify(HASH_TYPE_SHA256, mKey, sizeof(mKey), InputBuffer(), Size,
                                           Mac.data(), Mac.size()) == EFI_SUCCESS;
  };
}

STEP BarePbkdf2(UINTN) {
  return [] {
    return PKCS5_PBKDF2_HMAC(mPassword, mPasswordSize, mKey, sizeof(mKey), mIterations, EVP_sha1(), 32,
                             OutputBuffer()) == 1;
  };
}

STEP Pbkdf2(const BOOTED &Driver, UINTN) {
  return [&Services = Driver.Services] {
    return Services.SvcPbkdf2HmacSha1(reinterpret_cast<const UINT8 *>(mPassword), mPasswordSize, mKey,
                                      sizeof(mKey), mIterations, OutputBuffer(), 32) == EFI_SUCCESS;
  };
}

constexpr const char *mFamily = "HMAC and PBKDF2";
constexpr WORK mWorks[] = {
    {mFamily, "HMAC-SHA1, slots 15-17", UNIT::Bytes, mDataSizes, 0.97, Bare<EVP_sha1>, Sha1},
    {mFamily, "HMAC-SHA1, slot 52", UNIT::Bytes, mDataSizes, 0, Bare<EVP_sha1>, Compute<HASH_TYPE_SHA1>},
    {mFamily, "HMAC-SHA256, slot 52", UNIT::Bytes, mDataSizes, 0, Bare<EVP_sha256>,
     Compute<HASH_TYPE_SHA256>},
    {mFamily, "HMAC-SHA256, slot 53", UNIT::Bytes, mDataSizes, 0, Bare<EVP_sha256>, Verify},
    {mFamily, "PBKDF2, 1,000 rounds, slot 49", UNIT::Nothing, mNoSize, 0.97, BarePbkdf2, Pbkdf2},
};

} // namespace

std::span<const WORK> MacWorks() {
  return mWorks;
}

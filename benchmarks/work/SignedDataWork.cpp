// Signed data: a SHA-256 pass, a key from its bytes, and one RSA-2048 verification.
#include "benchmarks/work/Work.h"

#include <memory>

#include <openssl/bn.h>
#include <openssl/objects.h>
#include <openssl/rsa.h>

#include "benchmarks/work/Material.h"
#include "tools/session/BareLibrary.h"

namespace {

Bytes Signature(UINTN Size) {
  return Material("data" + std::to_string(Size) + ".sig");
}

STEP Bare(UINTN Size) {
  return [Size, N = RsaComponents("type1")[RsaKeyN], Signed = Signature(Size)] {
    UINT8 Digest[CRYPTO_SERVICES_SHA256_DIGEST_SIZE];
    BareSha256(InputBuffer(), Size, Digest);
    const std::unique_ptr<RSA, void (*)(RSA *)> Key(RSA_new(), RSA_free);
    BIGNUM *Exponent = BN_new();
    BN_set_word(Exponent, 65537);
    RSA_set0_key(Key.get(), BN_bin2bn(N.data(), static_cast<int>(N.size()), nullptr), Exponent, nullptr);
    return RSA_verify(NID_sha256, Digest, sizeof(Digest), Signed.data(), static_cast<unsigned>(Signed.size()),
                      Key.get()) == 1;
  };
}

STEP BuiltinKey(const BOOTED &Driver, UINTN Size) {
  return [&Services = Driver.Services, Size, Signed = Reversed(Signature(Size))] {
    return Services.SvcVerifyBufferWithBuiltinKeys(InputBuffer(), Size, Signed.data(), Signed.size(), 1,
                                                   HASH_TYPE_SHA256, nullptr) == EFI_SUCCESS;
  };
}

STEP CallersKey(const BOOTED &Driver, UINTN Size) {
  return [&Services = Driver.Services, Size, N = Reversed(RsaComponents("type1")[RsaKeyN]),
          Signed = Reversed(Signature(Size))] {
    const VOID *Data = InputBuffer();
    return Services.SvcVerifyDataListWithKey(&Data, &Size, 1, N.data(), N.size(), Signed.data(),
                                             Signed.size(), HASH_TYPE_SHA256) == EFI_SUCCESS;
  };
}

constexpr WORK mWorks[] = {
    {"Signed data", "Built-in key, slot 0", UNIT::Bytes, mSignedSizes, 0, Bare, BuiltinKey},
    {"Signed data", "Caller's modulus, slot 1", UNIT::Bytes, mSignedSizes, 0, Bare, CallersKey},
};

} // namespace

std::span<const WORK> SignedDataWorks() {
  return mWorks;
}

// RSA with a prepared key (slots 25 and 26) and with the key's bytes (slots 60 and 61).
#include "benchmarks/work/Work.h"

#include <cstring>
#include <memory>

#include <openssl/bn.h>
#include <openssl/objects.h>
#include <openssl/rsa.h>

#include "benchmarks/work/Material.h"

namespace {

using RSA_HANDLE = std::shared_ptr<RSA>;

std::string KeyName(UINTN Bits) {
  return "rsa" + std::to_string(Bits);
}

BIGNUM *Number(const Bytes &Value) {
  return BN_bin2bn(Value.data(), static_cast<int>(Value.size()), nullptr);
}

RSA_HANDLE BareKey(const Bytes &N, const Bytes &E, const Bytes *D) {
  RSA_HANDLE Key(RSA_new(), RSA_free);
  RSA_set0_key(Key.get(), Number(N), Number(E), D != nullptr ? Number(*D) : nullptr);
  return Key;
}

RSA_HANDLE WholeBareKey(UINTN Bits) {
  const auto Parts = RsaComponents(KeyName(Bits));
  RSA_HANDLE Key = BareKey(Parts[RsaKeyN], Parts[RsaKeyE], &Parts[RsaKeyD]);
  RSA_set0_factors(Key.get(), Number(Parts[RsaKeyP]), Number(Parts[RsaKeyQ]));
  RSA_set0_crt_params(Key.get(), Number(Parts[RsaKeyDp]), Number(Parts[RsaKeyDq]), Number(Parts[RsaKeyQInv]));
  return Key;
}

std::shared_ptr<VOID> DriverKey(const BOOTED &Driver, UINTN Bits) {
  std::shared_ptr<VOID> Key(Driver.Services.SvcRsaNew(),
                            [&Services = Driver.Services](VOID *Context) { Services.SvcRsaFree(Context); });
  const auto Parts = RsaComponents(KeyName(Bits));
  for (RSA_KEY_TAG Tag = RsaKeyN; Tag <= RsaKeyQInv; ++Tag) {
    Driver.Services.SvcRsaSetKey(Key.get(), Tag, Parts[Tag].data(), Parts[Tag].size());
  }
  return Key;
}

STEP BareSign(UINTN Bits) {
  return [Key = WholeBareKey(Bits), Digest = Material("digest.bin")] {
    unsigned Size = 0;
    return RSA_sign(NID_sha256, Digest.data(), static_cast<unsigned>(Digest.size()), OutputBuffer(), &Size,
                    Key.get()) == 1;
  };
}

STEP Sign(const BOOTED &Driver, UINTN Bits) {
  return [&Services = Driver.Services, Key = DriverKey(Driver, Bits), Digest = Material("digest.bin")] {
    UINTN Size = mBufferSize;
    return Services.SvcRsaPkcs1Sign(Key.get(), Digest.data(), Digest.size(), OutputBuffer(), &Size) != FALSE;
  };
}

STEP BareVerify(UINTN Bits) {
  return [Key = WholeBareKey(Bits), Digest = Material("digest.bin"),
          Signature = Material(KeyName(Bits) + ".sig")] {
    return RSA_verify(NID_sha256, Digest.data(), static_cast<unsigned>(Digest.size()), Signature.data(),
                      static_cast<unsigned>(Signature.size()), Key.get()) == 1;
  };
}

STEP Verify(const BOOTED &Driver, UINTN Bits) {
  return [&Services = Driver.Services, Key = DriverKey(Driver, Bits), Digest = Material("digest.bin"),
          Signature = Material(KeyName(Bits) + ".sig")] {
    return Services.SvcRsaPkcs1Verify(Key.get(), Digest.data(), Digest.size(), Signature.data(),
                                      Signature.size()) != FALSE;
  };
}

STEP BareEncrypt(UINTN Bits) {
  return [Parts = RsaComponents(KeyName(Bits)), Message = Material("digest.bin")] {
    const RSA_HANDLE Key = BareKey(Parts[RsaKeyN], Parts[RsaKeyE], nullptr);
    Bytes Output(Parts[RsaKeyN].size());
    return RSA_public_encrypt(static_cast<int>(Message.size()), Message.data(), Output.data(), Key.get(),
                              RSA_PKCS1_PADDING) > 0;
  };
}

STEP Encrypt(const BOOTED &Driver, UINTN Bits) {
  return [Driver, Parts = RsaComponents(KeyName(Bits)), Message = Material("digest.bin")] {
    UINT8 *Output = nullptr;
    UINT32 Size = 0;
    const Bytes &N = Parts[RsaKeyN];
    if (Driver.Services.SvcRsaPublicEncrypt(static_cast<UINT32>(Message.size()), Message.data(), N.data(),
                                            N.size(), &Output, &Size) != EFI_SUCCESS) {
      return false;
    }
    Driver.Boot.FreePool(Output);
    return true;
  };
}

STEP BareDecrypt(UINTN Bits) {
  return [Parts = RsaComponents(KeyName(Bits)), Input = Material(KeyName(Bits) + ".enc")] {
    const RSA_HANDLE Key = BareKey(Parts[RsaKeyN], Parts[RsaKeyE], &Parts[RsaKeyD]);
    return RSA_private_decrypt(static_cast<int>(Input.size()), Input.data(), OutputBuffer(), Key.get(),
                               RSA_PKCS1_PADDING) == 32;
  };
}

STEP Decrypt(const BOOTED &Driver, UINTN Bits) {
  return [Driver, Parts = RsaComponents(KeyName(Bits)), Input = Material(KeyName(Bits) + ".enc")] {
    UINT8 *Output = nullptr;
    UINT32 Size = 0;
    const Bytes &N = Parts[RsaKeyN];
    const Bytes &D = Parts[RsaKeyD];
    if (Driver.Services.SvcRsaPrivateDecrypt(static_cast<UINT32>(Input.size()), Input.data(), N.data(),
                                             N.size(), D.data(), D.size(), &Output, &Size) != EFI_SUCCESS) {
      return false;
    }
    std::memcpy(OutputBuffer(), Output, Size);
    Driver.Boot.FreePool(Output);
    return Size == 32;
  };
}

constexpr const char *mFamily = "RSA";
constexpr WORK mWorks[] = {
    {mFamily, "PKCS#1 signature, slot 25", UNIT::Bits, mKeyBits, 0, BareSign, Sign},
    {mFamily, "PKCS#1 verification, slot 26", UNIT::Bits, mKeyBits, 0, BareVerify, Verify},
    {mFamily, "Encryption with a modulus, slot 60", UNIT::Bits, mKeyBits, 0, BareEncrypt, Encrypt},
    {mFamily, "Decryption with an exponent, slot 61", UNIT::Bits, mKeyBits, 0, BareDecrypt, Decrypt},
};

} // namespace

std::span<const WORK> RsaWorks() {
  return mWorks;
}

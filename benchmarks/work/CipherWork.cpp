// AES and triple DES with a prepared context; AES beside the library's EVP interface, triple DES beside its
// plain call. AES twice: as the processor is, and as one without AES instructions.
#include "benchmarks/work/Work.h"

#include <array>
#include <cstring>
#include <memory>

#include <openssl/aes.h>
#include <openssl/des.h>
#include <openssl/evp.h>

namespace {

constexpr UINT8 mKey[32] = {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF, 0xFE, 0xDC, 0xBA,
                            0x98, 0x76, 0x54, 0x32, 0x10, 0x89, 0xAB, 0xCD, 0xEF, 0x01, 0x23,
                            0x45, 0x67, 0x10, 0x32, 0x54, 0x76, 0x98, 0xBA, 0xDC, 0xFE};
constexpr UINT8 mVector[16] = {7};

// The library's key setup in both forms that a driver's context holds.
STEP BareAesKey(UINTN Bits) {
  return [Bits] {
    AES_KEY Keys[2];
    return AES_set_encrypt_key(mKey, static_cast<int>(Bits), &Keys[0]) == 0 &&
           AES_set_decrypt_key(mKey, static_cast<int>(Bits), &Keys[1]) == 0;
  };
}

STEP AesKey(const BOOTED &Driver, UINTN Bits) {
  return [&Services = Driver.Services, Bits] {
    alignas(8) UINT8 Context[CRYPTO_SERVICES_AES_CONTEXT_SIZE];
    return Services.SvcAesInit(Context, mKey, Bits) != FALSE;
  };
}

template <const EVP_CIPHER *(*CIPHER)(), int ENCRYPT> STEP BareAes(UINTN Size) {
  std::shared_ptr<EVP_CIPHER_CTX> Context(EVP_CIPHER_CTX_new(), EVP_CIPHER_CTX_free);
  const bool Ready = EVP_CipherInit_ex(Context.get(), CIPHER(), nullptr, mKey, mVector, ENCRYPT) == 1 &&
                     EVP_CIPHER_CTX_set_padding(Context.get(), 0) == 1;
  return [Context, Ready, Size] {
    int Written = 0;
    return Ready && EVP_CipherInit_ex(Context.get(), nullptr, nullptr, nullptr, mVector, -1) == 1 &&
           EVP_CipherUpdate(Context.get(), OutputBuffer(), &Written, InputBuffer(), static_cast<int>(Size)) ==
               1 &&
           Written == static_cast<int>(Size);
  };
}

template <UINTN BITS> std::shared_ptr<Bytes> AesContext(const BOOTED &Driver) {
  auto Context = std::make_shared<Bytes>(Driver.Services.SvcAesGetContextSize());
  Driver.Services.SvcAesInit(Context->data(), mKey, BITS);
  return Context;
}

template <auto SERVICE, UINTN BITS> STEP AesCbc(const BOOTED &Driver, UINTN Size) {
  return [&Services = Driver.Services, Context = AesContext<BITS>(Driver), Size] {
    return (Services.*SERVICE)(Context->data(), InputBuffer(), Size, mVector, OutputBuffer()) != FALSE;
  };
}

template <auto SERVICE> STEP AesEcb(const BOOTED &Driver, UINTN Size) {
  return [&Services = Driver.Services, Context = AesContext<256>(Driver), Size] {
    return (Services.*SERVICE)(Context->data(), InputBuffer(), Size, OutputBuffer()) != FALSE;
  };
}

template <int ENCRYPT> STEP BareTdes(UINTN Size) {
  auto Keys = std::make_shared<std::array<DES_key_schedule, 3>>();
  for (UINTN Part = 0; Part < 3; ++Part) {
    DES_cblock Key;
    std::memcpy(Key, mKey + 8 * Part, sizeof(Key));
    DES_set_key_unchecked(&Key, &(*Keys)[Part]);
  }
  return [Keys, Size] {
    DES_cblock Vector;
    std::memcpy(Vector, mVector, sizeof(Vector));
    DES_ede3_cbc_encrypt(InputBuffer(), OutputBuffer(), static_cast<long>(Size), &(*Keys)[0], &(*Keys)[1],
                         &(*Keys)[2], &Vector, ENCRYPT);
    return true;
  };
}

template <auto SERVICE> STEP Tdes(const BOOTED &Driver, UINTN Size) {
  auto Context = std::make_shared<Bytes>(Driver.Services.SvcTdesGetContextSize());
  const bool Ready = Driver.Services.SvcTdesInit(Context->data(), mKey, 192) != FALSE;
  return [&Services = Driver.Services, Context, Ready, Size] {
    return Ready &&
           (Services.*SERVICE)(Context->data(), InputBuffer(), Size, mVector, OutputBuffer()) != FALSE;
  };
}

constexpr auto mCbcEncrypt = &CRYPTO_SERVICES_PROTOCOL::SvcAesCbcEncrypt;
constexpr auto mCbcDecrypt = &CRYPTO_SERVICES_PROTOCOL::SvcAesCbcDecrypt;
constexpr auto mEcbEncrypt = &CRYPTO_SERVICES_PROTOCOL::SvcAesEcbEncrypt;
constexpr auto mEcbDecrypt = &CRYPTO_SERVICES_PROTOCOL::SvcAesEcbDecrypt;

constexpr WORK Data(const char *Family, const char *Name, STEP (*Bare)(UINTN),
                    STEP (*Driver)(const BOOTED &, UINTN), PROCESSOR Processor) {
  return {Family, Name, UNIT::Bytes, mDataSizes, 0.97, Bare, Driver, Processor, true};
}

constexpr const char *mAes = "AES";
constexpr const char *mSlowAes = "AES on a processor without AES instructions";
constexpr PROCESSOR mSlow = PROCESSOR::WithoutAesNi;
constexpr PROCESSOR mNative = PROCESSOR::Native;
constexpr UINTN mAesBits[] = {128, 256};

constexpr WORK mWorks[] = {
    {mAes, "Key, slot 36", UNIT::Bits, mAesBits, 0, BareAesKey, AesKey, mNative, true},
    Data(mAes, "AES-128-CBC encryption, slot 37", BareAes<EVP_aes_128_cbc, 1>, AesCbc<mCbcEncrypt, 128>,
         mNative),
    Data(mAes, "AES-256-CBC encryption, slot 37", BareAes<EVP_aes_256_cbc, 1>, AesCbc<mCbcEncrypt, 256>,
         mNative),
    Data(mAes, "AES-256-CBC decryption, slot 38", BareAes<EVP_aes_256_cbc, 0>, AesCbc<mCbcDecrypt, 256>,
         mNative),
    Data(mAes, "AES-256-ECB encryption, slot 39", BareAes<EVP_aes_256_ecb, 1>, AesEcb<mEcbEncrypt>, mNative),
    Data(mAes, "AES-256-ECB decryption, slot 40", BareAes<EVP_aes_256_ecb, 0>, AesEcb<mEcbDecrypt>, mNative),
    Data(mSlowAes, "AES-256-CBC encryption, slot 37", BareAes<EVP_aes_256_cbc, 1>, AesCbc<mCbcEncrypt, 256>,
         mSlow),
    Data(mSlowAes, "AES-256-CBC decryption, slot 38", BareAes<EVP_aes_256_cbc, 0>, AesCbc<mCbcDecrypt, 256>,
         mSlow),
    Data(mSlowAes, "AES-256-ECB encryption, slot 39", BareAes<EVP_aes_256_ecb, 1>, AesEcb<mEcbEncrypt>,
         mSlow),
    Data(mSlowAes, "AES-256-ECB decryption, slot 40", BareAes<EVP_aes_256_ecb, 0>, AesEcb<mEcbDecrypt>,
         mSlow),
    Data("Triple DES", "CBC encryption, slot 20", BareTdes<DES_ENCRYPT>,
         Tdes<&CRYPTO_SERVICES_PROTOCOL::SvcTdesCbcEncrypt>, mNative),
    Data("Triple DES", "CBC decryption, slot 21", BareTdes<DES_DECRYPT>,
         Tdes<&CRYPTO_SERVICES_PROTOCOL::SvcTdesCbcDecrypt>, mNative),
};

} // namespace

std::span<const WORK> CipherWorks() {
  return mWorks;
}

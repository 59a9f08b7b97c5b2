// The choice among the library's routines, by what start-up found out about the
// processor, and the form of the key that each of them takes.
#include "driver/cipher/AesCipher.h"

#include <openssl/modes.h>

#include "driver/platform/Memory.h"
#include "driver/runtime/ProcessorFeatures.h"

// Assembler routines of the library that its headers do not declare.
extern "C" {

// On AES instructions. The schedules are those of the AES_set_…_key calls, the number of rounds is one lower.
void aesni_ecb_encrypt(const UINT8 *Input, UINT8 *Output, size_t Size, const AES_KEY *Key, int Direction);
void aesni_cbc_encrypt(const UINT8 *Input, UINT8 *Output, size_t Size, const AES_KEY *Key, UINT8 *Vector,
                       int Direction);
void aesni_encrypt(const UINT8 *Input, UINT8 *Output, const AES_KEY *Key);

// On SSSE3 byte shuffles, in constant time, with schedules of their own.
int vpaes_set_encrypt_key(const UINT8 *UserKey, int Bits, AES_KEY *Key);
int vpaes_set_decrypt_key(const UINT8 *UserKey, int Bits, AES_KEY *Key);
void vpaes_encrypt(const UINT8 *Input, UINT8 *Output, const AES_KEY *Key);
void vpaes_decrypt(const UINT8 *Input, UINT8 *Output, const AES_KEY *Key);
void vpaes_cbc_encrypt(const UINT8 *Input, UINT8 *Output, size_t Size, const AES_KEY *Key, UINT8 *Vector,
                       int Direction);

// On SSSE3 too, eight blocks at a time, with the schedule of AES_set_decrypt_key. It only decrypts.
void ossl_bsaes_cbc_encrypt(const UINT8 *Input, UINT8 *Output, size_t Size, const AES_KEY *Key, UINT8 *Vector,
                            int Direction);
}

AesCipher::AesCipher(const AES_CONTEXT &Context, int Direction)
    : Schedule_(Direction == AES_ENCRYPT ? Context.Encryption : Context.Decryption), Direction_(Direction) {
  if (ProcessorFeatures.AesNi) {
    MoveMemory(&Key_, &Schedule_, sizeof(Key_));
    Key_.rounds--;
  } else if (ProcessorFeatures.Ssse3) {
    // The schedule for encryption starts with the key itself; it has 10, 12 or 14 rounds for 128, 192 or 256
    // bits.
    const auto *UserKey = reinterpret_cast<const UINT8 *>(Context.Encryption.rd_key);
    int Bits = (Context.Encryption.rounds - 6) * 32;
    (void)(Direction == AES_ENCRYPT ? vpaes_set_encrypt_key : vpaes_set_decrypt_key)(UserKey, Bits, &Key_);
  }
}

AesCipher::~AesCipher() {
  WipeMemory(&Key_, sizeof(Key_));
}

void AesCipher::Ecb(const UINT8 *Input, UINT8 *Output, UINTN Size) const {
  if (ProcessorFeatures.AesNi) {
    aesni_ecb_encrypt(Input, Output, Size, &Key_, Direction_);
    return;
  }
  auto Block = Direction_ == AES_ENCRYPT ? AES_encrypt : AES_decrypt;
  const AES_KEY *Key = &Schedule_;
  if (ProcessorFeatures.Ssse3) {
    Block = Direction_ == AES_ENCRYPT ? vpaes_encrypt : vpaes_decrypt;
    Key = &Key_;
  }
  for (UINTN Offset = 0; Offset < Size; Offset += AES_BLOCK_SIZE) {
    Block(Input + Offset, Output + Offset, Key);
  }
}

void AesCipher::Cbc(const UINT8 *Input, UINT8 *Output, UINTN Size, UINT8 *Vector) const {
  if (ProcessorFeatures.AesNi) {
    aesni_cbc_encrypt(Input, Output, Size, &Key_, Vector, Direction_);
  } else if (!ProcessorFeatures.Ssse3) {
    AES_cbc_encrypt(Input, Output, Size, &Schedule_, Vector, Direction_);
  } else if (Direction_ == AES_ENCRYPT) {
    vpaes_cbc_encrypt(Input, Output, Size, &Key_, Vector, AES_ENCRYPT);
  } else {
    ossl_bsaes_cbc_encrypt(Input, Output, Size, &Schedule_, Vector, AES_DECRYPT);
  }
}

void AesCipher::Cfb8Decrypt(const UINT8 *Input, UINT8 *Output, UINTN Size, UINT8 *Vector) const {
  auto Block = ProcessorFeatures.AesNi ? aesni_encrypt : AES_encrypt;
  const AES_KEY *Key = ProcessorFeatures.AesNi ? &Key_ : &Schedule_;
  CRYPTO_cfb128_8_encrypt(Input, Output, Size, Key, Vector, nullptr, 0, reinterpret_cast<block128_f>(Block));
}

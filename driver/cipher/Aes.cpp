// The argument checks of the AES slots, and one call each below them.
#include "driver/cipher/Aes.h"

#include "driver/cipher/AesCipher.h"
#include "driver/platform/Memory.h"

static_assert(sizeof(AES_CONTEXT) == CRYPTO_SERVICES_AES_CONTEXT_SIZE);
static_assert(AES_BLOCK_SIZE == CRYPTO_SERVICES_AES_BLOCK_SIZE);

namespace {

constexpr UINTN LargestCbcSize = 0x7FFFFFFF;

BOOLEAN Ecb(const VOID *Context, const UINT8 *Input, UINTN InputSize, UINT8 *Output, int Direction) {
  if (Context == nullptr || Input == nullptr || InputSize % AES_BLOCK_SIZE != 0 || Output == nullptr) {
    return FALSE;
  }
  AesCipher(*static_cast<const AES_CONTEXT *>(Context), Direction).Ecb(Input, Output, InputSize);
  return TRUE;
}

BOOLEAN Cbc(const VOID *Context, const UINT8 *Input, UINTN InputSize, const UINT8 *Ivec, UINT8 *Output,
            int Direction) {
  if (Context == nullptr || Input == nullptr || InputSize % AES_BLOCK_SIZE != 0 || Ivec == nullptr ||
      Output == nullptr || InputSize > LargestCbcSize) {
    return FALSE;
  }
  UINT8 Vector[AES_BLOCK_SIZE];
  MoveMemory(Vector, Ivec, sizeof(Vector));
  AesCipher(*static_cast<const AES_CONTEXT *>(Context), Direction).Cbc(Input, Output, InputSize, Vector);
  return TRUE;
}

} // namespace

UINTN EFIAPI SvcAesGetContextSize() {
  return sizeof(AES_CONTEXT);
}

BOOLEAN EFIAPI SvcAesInit(VOID *Context, const UINT8 *Key, UINTN KeyLength) {
  if (Context == nullptr || Key == nullptr || (KeyLength != 128 && KeyLength != 192 && KeyLength != 256)) {
    return FALSE;
  }
  auto *Keys = static_cast<AES_CONTEXT *>(Context);
  int Bits = static_cast<int>(KeyLength);
  return AES_set_encrypt_key(Key, Bits, &Keys->Encryption) == 0 &&
         AES_set_decrypt_key(Key, Bits, &Keys->Decryption) == 0;
}

BOOLEAN EFIAPI SvcAesCbcEncrypt(VOID *Context, const UINT8 *Input, UINTN InputSize, const UINT8 *Ivec,
                                UINT8 *Output) {
  return Cbc(Context, Input, InputSize, Ivec, Output, AES_ENCRYPT);
}

BOOLEAN EFIAPI SvcAesCbcDecrypt(VOID *Context, const UINT8 *Input, UINTN InputSize, const UINT8 *Ivec,
                                UINT8 *Output) {
  return Cbc(Context, Input, InputSize, Ivec, Output, AES_DECRYPT);
}

BOOLEAN EFIAPI SvcAesEcbEncrypt(VOID *Context, const UINT8 *Input, UINTN InputSize, UINT8 *Output) {
  return Ecb(Context, Input, InputSize, Output, AES_ENCRYPT);
}

BOOLEAN EFIAPI SvcAesEcbDecrypt(VOID *Context, const UINT8 *Input, UINTN InputSize, UINT8 *Output) {
  return Ecb(Context, Input, InputSize, Output, AES_DECRYPT);
}

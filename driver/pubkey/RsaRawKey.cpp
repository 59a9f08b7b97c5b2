// A temporary key object around one operation of the library.
#include "driver/pubkey/RsaRawKey.h"

#include "driver/platform/Memory.h"
#include "driver/platform/Pool.h"
#include "driver/pubkey/Rsa.h"
#include "driver/pubkey/RsaContext.h"

namespace {

// One byte more than the padding itself takes, by the interface.
constexpr UINT32 PaddingReserve = RSA_PKCS1_PADDING_SIZE + 1;

bool SetPublicKey(RSA_CONTEXT *Key, const UINT8 *Modulus, UINTN ModulusSize) {
  return SvcRsaSetKey(Key, RsaKeyN, Modulus, ModulusSize) &&
         SvcRsaSetKey(Key, RsaKeyE, mRsaPublicExponent, sizeof(mRsaPublicExponent));
}

int Encrypt(RSA_CONTEXT *Key, const UINT8 *Message, UINT32 MessageSize, UINT8 *Output, UINT32 Size) {
  if (Size < PaddingReserve || MessageSize > Size - PaddingReserve) {
    return -1;
  }
  RSA *LibraryKey = RsaPublicKeyOf(Key);
  if (LibraryKey == nullptr) {
    return -1;
  }
  return RSA_public_encrypt(static_cast<int>(MessageSize), Message, Output, LibraryKey, RSA_PKCS1_PADDING);
}

int Decrypt(RSA_CONTEXT *Key, const UINT8 *Ciphertext, UINT32 CiphertextSize, UINT8 *Output, UINT32 Size) {
  if (CiphertextSize != Size || Size < RSA_PKCS1_PADDING_SIZE) {
    return -1;
  }
  RSA *LibraryKey = RsaPrivateKeyOf(Key);
  if (LibraryKey == nullptr) {
    return -1;
  }
  // The padding is checked apart: the library's combined call may answer a random message for a malformed
  // one.
  UINT8 Block[RSA_MODULUS_SIZE_MAX];
  int BlockSize = RSA_private_decrypt(static_cast<int>(Size), Ciphertext, Block, LibraryKey, RSA_NO_PADDING);
  int MessageSize = -1;
  if (BlockSize == static_cast<int>(Size)) {
    MessageSize = RSA_padding_check_PKCS1_type_2(Output, BlockSize, Block, BlockSize, BlockSize);
  }
  WipeMemory(Block, Size);
  return MessageSize;
}

// Either of the two: writes into Output, of the modulus size, and returns the size of the result there;
// negative for a refusal.
using OPERATION = int (*)(RSA_CONTEXT *Key, const UINT8 *Input, UINT32 InputSize, UINT8 *Output, UINT32 Size);

EFI_STATUS RunIntoNewBlock(OPERATION Operation, RSA_CONTEXT *Key, const UINT8 *Input, UINT32 InputSize,
                           UINT8 **Output, UINT32 *OutputSize) {
  UINT32 Size = static_cast<UINT32>(RsaModulusSize(Key));
  PoolBlock<UINT8> Block = ZeroedBlock(Size);
  *Output = nullptr;
  *OutputSize = Size;
  if (!Block) {
    return EFI_OUT_OF_RESOURCES;
  }
  int ResultSize = Operation(Key, Input, InputSize, Block.Get(), Size);
  if (ResultSize < 0) {
    *OutputSize = 0;
    return EFI_DEVICE_ERROR;
  }
  *Output = Block.Release();
  *OutputSize = static_cast<UINT32>(ResultSize);
  return EFI_SUCCESS;
}

} // namespace

EFI_STATUS EFIAPI SvcRsaPublicEncrypt(UINT32 MessageSize, const UINT8 *Message, const UINT8 *Modulus,
                                      UINTN ModulusSize, UINT8 **Output, UINT32 *OutputSize) {
  if (MessageSize == 0 || Message == nullptr || Modulus == nullptr || ModulusSize == 0 || Output == nullptr ||
      OutputSize == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  RsaContextHandle Key(NewRsaContext());
  if (!Key) {
    return EFI_OUT_OF_RESOURCES;
  }
  if (!SetPublicKey(Key.Get(), Modulus, ModulusSize)) {
    return EFI_DEVICE_ERROR;
  }
  return RunIntoNewBlock(Encrypt, Key.Get(), Message, MessageSize, Output, OutputSize);
}

EFI_STATUS EFIAPI SvcRsaPrivateDecrypt(UINT32 CiphertextSize, const UINT8 *Ciphertext, const UINT8 *Modulus,
                                       UINTN ModulusSize, const UINT8 *PrivateExponent,
                                       UINTN PrivateExponentSize, UINT8 **Output, UINT32 *OutputSize) {
  if (CiphertextSize == 0 || Ciphertext == nullptr || Modulus == nullptr || ModulusSize == 0 ||
      PrivateExponent == nullptr || PrivateExponentSize == 0 || Output == nullptr || OutputSize == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  RsaContextHandle Key(NewRsaContext());
  if (!Key) {
    return EFI_OUT_OF_RESOURCES;
  }
  if (!SetPublicKey(Key.Get(), Modulus, ModulusSize) ||
      !SvcRsaSetKey(Key.Get(), RsaKeyD, PrivateExponent, PrivateExponentSize)) {
    return EFI_DEVICE_ERROR;
  }
  return RunIntoNewBlock(Decrypt, Key.Get(), Ciphertext, CiphertextSize, Output, OutputSize);
}

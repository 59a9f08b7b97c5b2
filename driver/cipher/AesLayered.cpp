// The layers and passes of the transform, in pool blocks that are wiped before
// they go back.
#include "driver/cipher/AesLayered.h"

#include "driver/platform/Memory.h"
#include "driver/platform/SecretBlock.h"

namespace {

constexpr UINTN PassCount = 3;
constexpr UINTN SizeLimit = UINTN{1} << 32; // the block modes count in 32 bits

void ReverseBytes(UINT8 *Block, UINTN Size) {
  UINT8 *Low = Block;
  UINT8 *High = Block + Size;
  while (High - Low >= 16) {
    High -= 8;
    UINT64 First;
    UINT64 Last;
    __builtin_memcpy(&First, Low, 8);
    __builtin_memcpy(&Last, High, 8);
    First = __builtin_bswap64(First);
    Last = __builtin_bswap64(Last);
    __builtin_memcpy(Low, &Last, 8);
    __builtin_memcpy(High, &First, 8);
    Low += 8;
  }
  while (High - Low >= 2) {
    UINT8 Byte = *Low;
    *Low++ = *--High;
    *High = Byte;
  }
}

} // namespace

EFI_STATUS AesLayeredPass(const AesCipher *Encryption, const AesCipher *Decryption, UINT8 *Buffer, UINTN Size,
                          UINT8 *Vector) {
  if (Encryption == nullptr || Decryption == nullptr || Buffer == nullptr || Size == 0) {
    return EFI_INVALID_PARAMETER;
  }
  Encryption->Ecb(Vector, Vector, AES_BLOCK_SIZE);
  SecretBlock Plain(Size);
  if (!Plain) {
    return EFI_OUT_OF_RESOURCES;
  }
  UINTN Tail = Size % AES_BLOCK_SIZE;
  UINTN Whole = Size - Tail;
  Decryption->Cbc(Buffer, Plain.Get(), Whole, Vector);
  // The rounds of encryption run with the schedule for decryption: what the output has always been made with.
  Decryption->Cfb8Decrypt(Buffer + Whole, Plain.Get() + Whole, Tail, Vector);
  BoundedCopy(Buffer, Size, Plain.Get(), Size);
  return EFI_SUCCESS;
}

EFI_STATUS AesLayeredRunPasses(const AesCipher *Encryption, const AesCipher *Decryption, UINT8 *Output,
                               UINT8 *Buffer, UINTN Size) {
  if (Encryption == nullptr || Decryption == nullptr || Output == nullptr || Buffer == nullptr || Size == 0) {
    return EFI_INVALID_PARAMETER;
  }
  for (UINTN Pass = 0; Pass < PassCount; Pass++) {
    if (Pass != 0) {
      ReverseBytes(Buffer, Size);
    }
    UINT8 Vector[AES_BLOCK_SIZE] = {};
    EFI_STATUS Status = AesLayeredPass(Encryption, Decryption, Buffer, Size, Vector);
    if (EFI_ERROR(Status)) {
      return Status;
    }
  }
  BoundedCopy(Output, Size, Buffer, Size);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI SvcAesLayeredTransform(UINT8 *Output, const UINT8 *Input, UINTN Size, const UINT8 *Key,
                                         UINTN KeyLength) {
  if (Input == nullptr || Size == 0 || Size >= SizeLimit || Output == nullptr || Key == nullptr ||
      KeyLength != 256) {
    return EFI_INVALID_PARAMETER;
  }
  SecretBlock Context(sizeof(AES_CONTEXT));
  if (!Context) {
    return EFI_OUT_OF_RESOURCES;
  }
  SecretBlock Buffer(Size);
  if (!Buffer) {
    return EFI_OUT_OF_RESOURCES;
  }
  BoundedCopy(Buffer.Get(), Size, Input, Size);
  auto *Keys = reinterpret_cast<AES_CONTEXT *>(Context.Get());
  if (AES_set_encrypt_key(Key, 256, &Keys->Encryption) != 0 ||
      AES_set_decrypt_key(Key, 256, &Keys->Decryption) != 0) {
    return EFI_DEVICE_ERROR;
  }
  AesCipher Encryption(*Keys, AES_ENCRYPT);
  AesCipher Decryption(*Keys, AES_DECRYPT);
  return AesLayeredRunPasses(&Encryption, &Decryption, Output, Buffer.Get(), Size);
}

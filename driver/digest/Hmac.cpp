// Two passes of the one-shot digest over pool blocks that live only within the
// call; what depends on the key is wiped.
#include "driver/digest/Hmac.h"

#include "driver/digest/HashAll.h"
#include "driver/digest/HashDispatch.h"

namespace {

constexpr UINTN KeyBlockSize = 64; // the block of both hashes
constexpr UINT8 InnerPadByte = 0x36;
constexpr UINT8 OuterPadByte = 0x5C;

// The MAC's size, 0 for a type that is not offered.
UINTN MacSizeOf(HASH_TYPE HashType) {
  return HashType == HASH_TYPE_SHA1 || HashType == HASH_TYPE_SHA256 ? DigestSizeOf(HashType) : 0;
}

void FillPad(UINT8 *Pad, const UINT8 *KeyBlock, UINT8 PadByte) {
  for (UINTN Index = 0; Index < KeyBlockSize; Index++) {
    Pad[Index] = KeyBlock[Index] ^ PadByte;
  }
}

// A pad with a message behind it; empty without memory.
SecretBlock JoinPad(const UINT8 *Pad, const UINT8 *Message, UINTN Size) {
  if (Size > ~UINTN{0} - KeyBlockSize) {
    return SecretBlock();
  }
  SecretBlock Joined(KeyBlockSize + Size);
  if (Joined) {
    MoveMemory(Joined.Get(), Pad, KeyBlockSize);
    MoveMemory(Joined.Get() + KeyBlockSize, Message, Size);
  }
  return Joined;
}

} // namespace

EFI_STATUS HmacPrepareKeyBlock(HASH_TYPE HashType, const UINT8 *Key, UINTN KeySize, SecretBlock *KeyBlock) {
  UINTN DigestSize = MacSizeOf(HashType);
  if (DigestSize == 0) {
    return EFI_INVALID_PARAMETER;
  }
  *KeyBlock = SecretBlock(KeyBlockSize);
  if (!*KeyBlock) {
    return EFI_OUT_OF_RESOURCES;
  }
  if (KeySize <= KeyBlockSize) {
    BoundedCopy(KeyBlock->Get(), KeyBlockSize, Key, KeySize);
    return EFI_SUCCESS;
  }
  // The interface leaves the digest of a long key in the pool uncleared.
  PoolBlock<UINT8> KeyDigest = ZeroedBlock(DigestSize);
  if (!KeyDigest) {
    return EFI_OUT_OF_RESOURCES;
  }
  EFI_STATUS Status = SvcHashAll(HashType, Key, KeySize, KeyDigest.Get(), &DigestSize);
  if (!EFI_ERROR(Status)) {
    BoundedCopy(KeyBlock->Get(), KeyBlockSize, KeyDigest.Get(), DigestSize);
  }
  return Status;
}

EFI_STATUS EFIAPI SvcHmacCompute(HASH_TYPE HashType, const UINT8 *Key, UINTN KeySize, const UINT8 *Data,
                                 UINTN DataSize, UINT8 *Mac, UINTN *MacSize) {
  if (Key == nullptr || KeySize == 0 || Data == nullptr || DataSize == 0 || MacSize == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  UINTN Room = *MacSize;
  if (Room != 0 && Mac == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  UINTN Needed = MacSizeOf(HashType);
  if (Needed == 0) {
    return EFI_UNSUPPORTED;
  }
  *MacSize = Needed;
  if (Room < Needed) {
    return EFI_BUFFER_TOO_SMALL;
  }

  // Released and wiped in the reverse order of these declarations.
  SecretBlock InnerPad(KeyBlockSize);
  if (!InnerPad) {
    return EFI_OUT_OF_RESOURCES;
  }
  SecretBlock KeyBlock;
  EFI_STATUS Status = HmacPrepareKeyBlock(HashType, Key, KeySize, &KeyBlock);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  FillPad(InnerPad.Get(), KeyBlock.Get(), InnerPadByte);
  SecretBlock InnerMessage = JoinPad(InnerPad.Get(), Data, DataSize);
  if (!InnerMessage) {
    return EFI_OUT_OF_RESOURCES;
  }
  SecretBlock InnerDigest(Needed);
  if (!InnerDigest) {
    return EFI_OUT_OF_RESOURCES;
  }
  UINTN DigestSize = Needed;
  Status = SvcHashAll(HashType, InnerMessage.Get(), KeyBlockSize + DataSize, InnerDigest.Get(), &DigestSize);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  SecretBlock OuterPad(KeyBlockSize);
  if (!OuterPad) {
    return EFI_OUT_OF_RESOURCES;
  }
  FillPad(OuterPad.Get(), KeyBlock.Get(), OuterPadByte);
  SecretBlock OuterMessage = JoinPad(OuterPad.Get(), InnerDigest.Get(), Needed);
  if (!OuterMessage) {
    return EFI_OUT_OF_RESOURCES;
  }
  return SvcHashAll(HashType, OuterMessage.Get(), KeyBlockSize + Needed, Mac, &DigestSize);
}

EFI_STATUS EFIAPI SvcHmacVerify(HASH_TYPE HashType, const UINT8 *Key, UINTN KeySize, const UINT8 *Data,
                                UINTN DataSize, const UINT8 *ExpectedMac, UINTN ExpectedMacSize) {
  UINTN MacSize = 0;
  if (SvcHmacCompute(HashType, Key, KeySize, Data, DataSize, nullptr, &MacSize) != EFI_BUFFER_TOO_SMALL) {
    return EFI_NOT_STARTED;
  }
  PoolBlock<UINT8> Mac = ZeroedBlock(MacSize);
  if (!Mac) {
    return EFI_OUT_OF_RESOURCES;
  }
  EFI_STATUS Status = SvcHmacCompute(HashType, Key, KeySize, Data, DataSize, Mac.Get(), &MacSize);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  bool Equal = ExpectedMac != nullptr && ExpectedMacSize == MacSize &&
               CompareMemory(Mac.Get(), ExpectedMac, MacSize) == 0;
  return Equal ? EFI_SUCCESS : EFI_SECURITY_VIOLATION;
}

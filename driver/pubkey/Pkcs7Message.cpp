// What surrounds a SignedData is looked at or written byte by byte, because it decides what counts as a
// message at all.
#include "driver/pubkey/Pkcs7Message.h"

#include <openssl/objects.h>

#include "driver/platform/Memory.h"
#include "driver/platform/Pool.h"

namespace {

// Outer SEQUENCE with its length, the signedData OID, and the [0] field with its length.
constexpr UINT8 mContentInfoHeader[] = {0x30, 0x82, 0,    0,    0x06, 0x09, 0x2A, 0x86, 0x48, 0x86,
                                        0xF7, 0x0D, 0x01, 0x07, 0x02, 0xA0, 0x82, 0,    0};
constexpr UINTN SequenceLengthAt = 2;
constexpr UINTN OidAt = 4;
constexpr UINTN FieldLengthAt = 17;
constexpr UINTN BehindSequenceLength = sizeof(mContentInfoHeader) - OidAt;
constexpr UINTN BareSizeMax = 0xFFFF - BehindSequenceLength;

constexpr UINTN LengthMax = 0x7FFFFFFF; // the library counts in signed 32 bits

void StoreLength(UINT8 *Place, UINTN Length) {
  Place[0] = static_cast<UINT8>(Length >> 8);
  Place[1] = static_cast<UINT8>(Length);
}

// Leaves a ContentInfo as it is, with NULL in *Wrapped; around a bare SignedData it puts one, in a new block
// in *Wrapped, and turns *Der and *Size to that. FALSE when it is too long for the two-byte lengths, or
// memory runs out.
bool EnsureSignedContentInfo(const UINT8 **Der, UINTN *Size, UINT8 **Wrapped) {
  *Wrapped = nullptr;
  if (IsContentInfo(*Der, *Size)) {
    return true;
  }
  if (*Size > BareSizeMax) {
    return false;
  }
  UINT8 *ContentInfo = static_cast<UINT8 *>(AllocateBootPool(sizeof(mContentInfoHeader) + *Size));
  if (ContentInfo == nullptr) {
    return false;
  }
  MoveMemory(ContentInfo, mContentInfoHeader, sizeof(mContentInfoHeader));
  StoreLength(ContentInfo + SequenceLengthAt, *Size + BehindSequenceLength);
  StoreLength(ContentInfo + FieldLengthAt, *Size);
  MoveMemory(ContentInfo + sizeof(mContentInfoHeader), *Der, *Size);
  *Der = *Wrapped = ContentInfo;
  *Size += sizeof(mContentInfoHeader);
  return true;
}

} // namespace

// The four bytes in front of the OID are not examined.
bool IsContentInfo(const UINT8 *Der, UINTN Size) {
  return Size >= FieldLengthAt &&
         CompareMemory(Der + OidAt, mContentInfoHeader + OidAt, FieldLengthAt - OidAt) == 0;
}

MessageHandle ParseSignedContentInfo(const UINT8 *Der, UINTN Size) {
  MessageHandle Message(Size <= LengthMax ? d2i_PKCS7(nullptr, &Der, static_cast<long>(Size)) : nullptr);
  // The content is optional in a ContentInfo, and the library would go through it unseen.
  if (Message && (OBJ_obj2nid(Message.Get()->type) != NID_pkcs7_signed || Message.Get()->d.sign == nullptr)) {
    Message.Reset();
  }
  return Message;
}

MessageHandle ParseSignedMessage(const UINT8 *Der, UINTN Size) {
  UINT8 *Block;
  if (!EnsureSignedContentInfo(&Der, &Size, &Block)) {
    return MessageHandle();
  }
  PoolBlock<UINT8> Wrapped(Block);
  return ParseSignedContentInfo(Der, Size);
}

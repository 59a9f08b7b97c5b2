// What is signed here is the message's own content, which says which image it is for.
#include "driver/pubkey/Authenticode.h"

#include <openssl/objects.h>

#include "driver/platform/Memory.h"
#include "driver/pubkey/Pkcs7Message.h"
#include "driver/pubkey/Pkcs7Verify.h"
#include "driver/pubkey/X509Trust.h"

namespace {

constexpr UINTN LengthMax = 0x7FFFFFFF; // the library counts in signed 32 bits

// SPC_INDIRECT_DATA, 1.3.6.1.4.1.311.2.1.4.
constexpr UINT8 mSpcIndirectDataOid[] = {0x2B, 0x06, 0x01, 0x04, 0x01, 0x82, 0x37, 0x02, 0x01, 0x04};

struct OCTETS {
  const UINT8 *Bytes; // NULL: none
  UINTN Size;
};

// Longer identifiers that start with these bytes pass.
bool IsSpcIndirectData(const ASN1_OBJECT *Type) {
  return OBJ_length(Type) >= sizeof(mSpcIndirectDataOid) &&
         CompareMemory(OBJ_get0_data(Type), mSpcIndirectDataOid, sizeof(mSpcIndirectDataOid)) == 0;
}

// What is behind tag and length of an encoding; none when the length takes more than two bytes or reaches
// beyond Size.
OCTETS ContentOctets(const UINT8 *Der, UINTN Size) {
  UINTN First = Size >= 2 ? Der[1] : 0x80;
  UINTN LengthSize = First < 0x80 ? 0 : First - 0x80; // bytes that follow the first one
  UINTN HeaderSize = 2 + LengthSize;
  if (First == 0x80 || LengthSize > 2 || Size < HeaderSize) {
    return {};
  }
  UINTN Length = LengthSize == 0 ? First : Der[2];
  if (LengthSize == 2) {
    Length = Length << 8 | Der[3];
  }
  return Length <= Size - HeaderSize ? OCTETS{Der + HeaderSize, Length} : OCTETS{};
}

// The octets of the message's SpcIndirectDataContent, owned by the message; none when it has another content.
OCTETS SpcIndirectDataOctets(const PKCS7_SIGNED *Signed) {
  const PKCS7 *Content = Signed->contents;
  if (Content == nullptr || !IsSpcIndirectData(Content->type)) {
    return {};
  }
  const ASN1_TYPE *Value = Content->d.other;
  if (Value == nullptr || Value->type != V_ASN1_SEQUENCE) {
    return {};
  }
  const ASN1_STRING *Encoding = Value->value.sequence;
  return ContentOctets(ASN1_STRING_get0_data(Encoding), static_cast<UINTN>(ASN1_STRING_length(Encoding)));
}

bool EndsIn(const OCTETS &Octets, const UINT8 *Digest, UINTN Size) {
  return Size <= Octets.Size && CompareMemory(Octets.Bytes + Octets.Size - Size, Digest, Size) == 0;
}

} // namespace

BOOLEAN EFIAPI SvcAuthenticodeVerify(const UINT8 *AuthData, UINTN AuthSize, const UINT8 *TrustedCert,
                                     UINTN TrustedCertSize, const UINT8 *ImageDigest, UINTN ImageDigestSize) {
  if (AuthData == nullptr || TrustedCert == nullptr || ImageDigest == nullptr || AuthSize > LengthMax ||
      TrustedCertSize > LengthMax || ImageDigestSize > LengthMax) {
    return FALSE;
  }
  MessageHandle Message = ParseSignedContentInfo(AuthData, AuthSize);
  if (!Message) {
    return FALSE;
  }
  OCTETS Octets = SpcIndirectDataOctets(Message.Get()->d.sign);
  if (Octets.Bytes == nullptr || !EndsIn(Octets, ImageDigest, ImageDigestSize)) {
    return FALSE;
  }
  // From here on as slot 33 does with the same bytes, which takes fewer encodings for a ContentInfo. Parsing
  // them once more would cost a third of the time.
  RegisterLongDigests();
  return IsContentInfo(AuthData, AuthSize) &&
         VerifySignedMessage(Message.Get(), TrustedCert, TrustedCertSize, Octets.Bytes, Octets.Size);
}

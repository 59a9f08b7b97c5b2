// Certificates, keys and signed messages: slots 27 to 30, 32, 33 and 48; and what the tools say of them.
#include "tests/fuzz/FuzzSession.h"
#include "tools/fwboot/CertificateText.h"

namespace {

UINT8 mMark; // left in places that a refusal must not touch
constexpr UINTN mUnchanged = 77;

const CRYPTO_SERVICES_PROTOCOL &Services() {
  return FuzzSession().Services();
}

// Whether the key signs, and its signature verifies. Frees it.
bool UseKey(VOID *Context) {
  KeyText(Services(), Context);
  const UINT8 Digest[CRYPTO_SERVICES_SHA256_DIGEST_SIZE] = {1};
  UINT8 Signature[512];
  UINTN Size = sizeof(Signature);
  bool Works = Services().SvcRsaPkcs1Sign(Context, Digest, sizeof(Digest), Signature, &Size);
  if (Works) {
    Promise(Size <= sizeof(Signature), "a signature beyond its buffer");
    Works = Services().SvcRsaPkcs1Verify(Context, Digest, sizeof(Digest), Signature, Size);
  }
  Services().SvcRsaFree(Context);
  return Works;
}

void PublicKeyAndSubject(const std::vector<UINT8> &Certificate) {
  VOID *Context = &mMark;
  if (Services().SvcRsaGetPublicKeyFromX509(Certificate.data(), Certificate.size(), &Context)) {
    Promise(!UseKey(Context), "a public key signs");
  } else {
    Promise(Context == &mMark, "slot 28 refused and stored a context");
  }
  std::vector<UINT8> Name(Certificate.size() + 1, 0xA5);
  UINTN Size = Certificate.size();
  if (Services().SvcX509GetSubjectName(Certificate.data(), Certificate.size(), Name.data(), &Size)) {
    Promise(Size <= Certificate.size() && Name[Size] == 0xA5, "the subject is not as long as it said");
  }
}

} // namespace

// Two certificates, the first of which may have issued the second; without it the second may have issued
// itself.
bool FuzzCertificate(std::span<const UINT8> Input) {
  InputParts Parts(Input);
  const std::vector<UINT8> Issuer = Parts.Part();
  const std::vector<UINT8> Certificate = Parts.Rest();
  PublicKeyAndSubject(Certificate);
  DescribeCertificate(Services(), Certificate);
  const std::vector<UINT8> &Trusted = Issuer.empty() ? Certificate : Issuer;
  return Services().SvcX509VerifyCert(Certificate.data(), Certificate.size(), Trusted.data(), Trusted.size());
}

// A password, or none when its length is 0, and a text.
bool FuzzPem(std::span<const UINT8> Input) {
  InputParts Parts(Input);
  std::vector<UINT8> Password = Parts.Part();
  const bool HasPassword = !Password.empty();
  Password.push_back(0);
  const std::vector<UINT8> Text = Parts.Rest();
  VOID *Context = &mMark;
  if (Services().SvcRsaGetPrivateKeyFromPem(
          Text.data(), Text.size(), HasPassword ? reinterpret_cast<const CHAR8 *>(Password.data()) : nullptr,
          &Context)) {
    return UseKey(Context);
  }
  Promise(Context == nullptr || Text.empty(), "slot 27 refused and stored no NULL");
  return false;
}

bool FuzzSigners(std::span<const UINT8> Input) {
  const std::vector<UINT8> Message = InputParts(Input).Rest();
  SIGNER_CERT_LIST *List = &mMark;
  UINT8 *First = &mMark;
  UINTN ListSize = mUnchanged;
  UINTN FirstSize = mUnchanged;
  if (!Services().SvcPkcs7GetSigners(Message.data(), Message.size(), &List, &ListSize, &First, &FirstSize)) {
    Promise(List == &mMark && First == &mMark && ListSize == mUnchanged && FirstSize == mUnchanged,
            "slot 32 refused and stored a result");
    return false;
  }
  UINTN Place = 1;
  UINT8 Count = 0;
  for (; Place + 4 <= ListSize; ++Count) {
    const UINTN Length = List[Place] | UINTN{List[Place + 1]} << 8 | UINTN{List[Place + 2]} << 16 |
                         UINTN{List[Place + 3]} << 24;
    Place += 4 + Length;
    Promise(Place != ListSize || Length == FirstSize, "the first signer is not the last of the list");
  }
  Promise(Place == ListSize && Count == List[0], "the list does not end where it says");
  Services().SvcPkcs7FreeSigners(List);
  Services().SvcPkcs7FreeSigners(First);
  return true;
}

// A trusted certificate, data, and a message over it.
bool FuzzPkcs7(std::span<const UINT8> Input) {
  InputParts Parts(Input);
  const std::vector<UINT8> Trusted = Parts.Part();
  std::vector<UINT8> Data = Parts.Part();
  const std::vector<UINT8> Message = Parts.Rest();
  const auto Verify = [&] {
    return Services().SvcPkcs7Verify(Message.data(), Message.size(), Trusted.data(), Trusted.size(),
                                     Data.data(), Data.size());
  };
  if (!Verify()) {
    return false;
  }
  Promise(!Data.empty(), "empty data was verified");
  Data[Data.size() / 2] ^= 1;
  Promise(!Verify(), "other data was verified as well");
  return true;
}

// A trusted certificate, a digest, and a signature.
bool FuzzAuthenticode(std::span<const UINT8> Input) {
  InputParts Parts(Input);
  const std::vector<UINT8> Trusted = Parts.Part();
  std::vector<UINT8> Digest = Parts.Part();
  const std::vector<UINT8> Message = Parts.Rest();
  const auto Verify = [&] {
    return Services().SvcAuthenticodeVerify(Message.data(), Message.size(), Trusted.data(), Trusted.size(),
                                            Digest.data(), Digest.size());
  };
  if (!Verify()) {
    return false;
  }
  if (!Digest.empty()) {
    Digest[Digest.size() / 2] ^= 1;
    Promise(!Verify(), "another digest was verified as well");
  }
  return true;
}

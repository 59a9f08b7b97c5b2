// Certificates, keys and signed messages: slots 27 to 30, 32, 33 and 48.
#include "tests/fuzz/FuzzSession.h"

namespace {

UINT8 mMark; // left in places that a refusal must not touch
constexpr UINTN mUnchanged = 77;

const CRYPTO_SERVICES_PROTOCOL &Services() {
  return FuzzSession().Services();
}

void UseKey(VOID *Context) {
  const UINT8 Digest[CRYPTO_SERVICES_SHA256_DIGEST_SIZE] = {1};
  UINT8 Signature[512];
  UINTN Size = sizeof(Signature);
  if (Services().SvcRsaPkcs1Sign(Context, Digest, sizeof(Digest), Signature, &Size)) {
    Promise(Size <= sizeof(Signature), "a signature beyond its buffer");
    Services().SvcRsaPkcs1Verify(Context, Digest, sizeof(Digest), Signature, Size);
  }
  Services().SvcRsaFree(Context);
}

void PublicKeyAndSubject(const std::vector<UINT8> &Certificate) {
  VOID *Context = &mMark;
  if (Services().SvcRsaGetPublicKeyFromX509(Certificate.data(), Certificate.size(), &Context)) {
    UseKey(Context);
  } else {
    Promise(Context == &mMark || Context == nullptr, "slot 28 refused and stored a context");
  }
  UINTN Size = 0;
  Promise(!Services().SvcX509GetSubjectName(Certificate.data(), Certificate.size(), nullptr, &Size),
          "a size query answered TRUE");
  std::vector<UINT8> Name(Size + 1, 0xA5);
  if (Services().SvcX509GetSubjectName(Certificate.data(), Certificate.size(), Name.data(), &Size)) {
    Promise(Size + 1 == Name.size() && Name[Size] == 0xA5, "the subject is not as long as it said");
  }
}

} // namespace

// Two certificates, the first of which may have issued the second.
void FuzzCertificate(std::span<const UINT8> Input) {
  InputParts Parts(Input);
  const std::vector<UINT8> Issuer = Parts.Part();
  const std::vector<UINT8> Certificate = Parts.Rest();
  PublicKeyAndSubject(Certificate);
  Services().SvcX509VerifyCert(Certificate.data(), Certificate.size(), Issuer.data(), Issuer.size());
  Services().SvcX509VerifyCert(Certificate.data(), Certificate.size(), Certificate.data(),
                               Certificate.size());
}

// A password, or none when its length is 0, and a text.
void FuzzPem(std::span<const UINT8> Input) {
  InputParts Parts(Input);
  std::vector<UINT8> Password = Parts.Part();
  const bool HasPassword = !Password.empty();
  Password.push_back(0);
  const std::vector<UINT8> Text = Parts.Rest();
  VOID *Context = &mMark;
  if (Services().SvcRsaGetPrivateKeyFromPem(
          Text.data(), Text.size(), HasPassword ? reinterpret_cast<const CHAR8 *>(Password.data()) : nullptr,
          &Context)) {
    UseKey(Context);
  } else {
    Promise(Context == nullptr || Text.empty(), "slot 27 refused and stored no NULL");
  }
}

void FuzzSigners(std::span<const UINT8> Input) {
  const std::vector<UINT8> Message = InputParts(Input).Rest();
  SIGNER_CERT_LIST *List = &mMark;
  UINT8 *First = &mMark;
  UINTN ListSize = mUnchanged;
  UINTN FirstSize = mUnchanged;
  if (!Services().SvcPkcs7GetSigners(Message.data(), Message.size(), &List, &ListSize, &First, &FirstSize)) {
    Promise(List == &mMark && First == &mMark && ListSize == mUnchanged && FirstSize == mUnchanged,
            "slot 32 refused and stored a result");
    return;
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
}

// A trusted certificate, data, and a message over it.
void FuzzPkcs7(std::span<const UINT8> Input) {
  InputParts Parts(Input);
  const std::vector<UINT8> Trusted = Parts.Part();
  std::vector<UINT8> Data = Parts.Part();
  const std::vector<UINT8> Message = Parts.Rest();
  if (Services().SvcPkcs7Verify(Message.data(), Message.size(), Trusted.data(), Trusted.size(), Data.data(),
                                Data.size())) {
    Promise(!Data.empty(), "empty data was verified");
    Data[Data.size() / 2] ^= 1;
    Promise(!Services().SvcPkcs7Verify(Message.data(), Message.size(), Trusted.data(), Trusted.size(),
                                       Data.data(), Data.size()),
            "other data was verified as well");
  }
}

// A trusted certificate, a digest, and a signature.
void FuzzAuthenticode(std::span<const UINT8> Input) {
  InputParts Parts(Input);
  const std::vector<UINT8> Trusted = Parts.Part();
  std::vector<UINT8> Digest = Parts.Part();
  const std::vector<UINT8> Message = Parts.Rest();
  if (Services().SvcAuthenticodeVerify(Message.data(), Message.size(), Trusted.data(), Trusted.size(),
                                       Digest.data(), Digest.size()) &&
      !Digest.empty()) {
    Digest[Digest.size() / 2] ^= 1;
    Promise(!Services().SvcAuthenticodeVerify(Message.data(), Message.size(), Trusted.data(), Trusted.size(),
                                              Digest.data(), Digest.size()),
            "another digest was verified as well");
  }
}

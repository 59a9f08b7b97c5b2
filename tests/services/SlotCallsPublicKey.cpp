// The rows of RSA, certificates, PKCS#7, Diffie-Hellman and signed data.
#include <map>

#include "tests/services/Der.h"
#include "tests/services/RsaTestKey.h"
#include "tests/services/SlotCallRows.h"
#include "tests/services/TestFolder.h"

namespace {

using KEY = const RsaTestKey &();

const Bytes mDigest = Pattern(32, 12);
const Bytes mPlain = Pattern(30, 13);
constexpr char mPassword[] = "correct horse battery staple";

const RsaTestKey &SmallKey() {
  return RsaTestKey::Load("rsa1024-private");
}
const RsaTestKey &BuiltinKey() {
  return RsaTestKey::Load("type1-private");
}

// Files of TestPki, and in it a private key in the old and the new form, encrypted and clear, and messages
// and a program signed along a chain. Read once: the calls wait for nothing.
const Bytes &File(const std::string &Name) {
  static std::map<std::string, Bytes> Contents;
  if (Contents.empty()) {
    TestPki().Write("message.bin", SlotMessage());
    TestPki().Write("program.efi", TestPki().Read(TestedImage()));
    TestPki().Run(std::string("key='" TEST_KEYS_PATH "/rsa1024-private.pem' pass='pass:") + mPassword + "'" +
                  R"sh(
openssl rsa -in "$key" -traditional -aes128 -passout "$pass" -out old.pem
openssl pkcs8 -topk8 -in "$key" -v2 aes-256-cbc -iter 4 -passout "$pass" -out new.pem
openssl pkcs8 -topk8 -in "$key" -v1 PBE-SHA1-3DES -iter 4 -passout "$pass" -out new1.pem
openssl rsa -in "$key" -traditional -out clear.pem
openssl rsa -in "$key" -out clear8.pem
openssl smime -sign -binary -in message.bin -outform DER -out message.p7 -md sha256 -certfile inter.pem \
  -signer leaf.pem -inkey leaf.key
rm -f signed.efi signed.sig
osslsigncode sign -h sha256 -certs leaf.pem -key leaf.key -ac inter.pem -in program.efi -out signed.efi
osslsigncode extract-signature -in signed.efi -out signed.sig
)sh");
  }
  auto [Entry, IsNew] = Contents.try_emplace(Name);
  if (IsNew) {
    Entry->second = TestPki().Read(Name);
  }
  return Entry->second;
}

std::vector<Bytes> Private(const RsaTestKey &Key) {
  return {Key.Components.begin() + RsaKeyD, Key.Components.end()};
}

std::function<void(SlotStage &)> WithKey(KEY *Key, const std::vector<RSA_KEY_TAG> &Tags) {
  return [=](SlotStage &s) {
    s.Object = s.Svc.SvcRsaNew();
    for (RSA_KEY_TAG Tag : Tags) {
      SetComponents(s.Svc, s.Object, Key(), {Tag});
    }
  };
}

void FreeRsa(SlotStage &s) {
  s.Svc.SvcRsaFree(s.Object);
}

std::function<void(SlotStage &)> ReadRsa(RSA_KEY_TAG Tag) {
  return [=](SlotStage &s) {
    EXPECT_TRUE(s.Svc.SvcRsaGetKey(s.Object, Tag, OUT));
    FreeRsa(s);
  };
}

void AddRsa() {
  const auto Secrets = [](const SlotStage &) { return Private(SmallKey()); };
  const auto WithD = WithKey(SmallKey, {RsaKeyD});
  const auto Whole =
      WithKey(SmallKey, {RsaKeyN, RsaKeyE, RsaKeyD, RsaKeyP, RsaKeyQ, RsaKeyDp, RsaKeyDq, RsaKeyQInv});
  const auto Sign = CALL(SvcRsaPkcs1Sign(s.Object, IN(mDigest), OUT));
  AddCall(22, [](SlotStage &s) { return (s.Object = s.Svc.SvcRsaNew()) != nullptr; }, {.Finish = FreeRsa});
  AddCall(23, CALL(SvcRsaGetKey(s.Object, RsaKeyD, OUT)),
          {.Prepare = WithD, .Finish = FreeRsa, .Secrets = Secrets});
  AddCall(24, CALL(SvcRsaSetKey(s.Object, RsaKeyD, IN(SmallKey().Components[RsaKeyD]))),
          {.Prepare = WithD, .Finish = ReadRsa(RsaKeyD), .Secrets = Secrets});
  AddCall(25, Sign, {.Prepare = Whole, .Finish = FreeRsa, .Secrets = Secrets});
  const struct {
    const char *Name;
    std::vector<RSA_KEY_TAG> Tags;
  } Sets[] = {{", n and d", {RsaKeyN, RsaKeyD}},
              {", n, e and d", {RsaKeyN, RsaKeyE, RsaKeyD}},
              {", n, e and the primes", {RsaKeyN, RsaKeyE, RsaKeyP, RsaKeyQ}}};
  for (const auto &Set : Sets) {
    AddCall(
        25, Sign,
        {.Variant = Set.Name, .Prepare = WithKey(SmallKey, Set.Tags), .Finish = FreeRsa, .Secrets = Secrets});
  }
  const auto Signed = [](SlotStage &s) {
    s.Input = SignDigest(s.Svc, BuiltinKey(), mDigest);
    WithKey(BuiltinKey, {RsaKeyN, RsaKeyE})(s);
  };
  AddCall(26, CALL(SvcRsaPkcs1Verify(s.Object, IN(mDigest), IN(s.Input))),
          {.Prepare = Signed, .Finish = FreeRsa});
  const auto PemSecrets = [](const SlotStage &) {
    std::vector<Bytes> All = Private(SmallKey());
    All.emplace_back(mPassword, mPassword + sizeof(mPassword) - 1);
    return All;
  };
  const struct {
    const char *Name, *File;
  } Forms[] = {{"", "old.pem"},
               {", PKCS#8", "new.pem"},
               {", PKCS#8 in its first form", "new1.pem"},
               {", clear", "clear.pem"},
               {", clear PKCS#8", "clear8.pem"}};
  for (const auto &Form : Forms) {
    AddCall(27, CALL(SvcRsaGetPrivateKeyFromPem(IN(File(Form.File)), mPassword, &s.Object)),
            {.Variant = Form.Name, .Finish = ReadRsa(RsaKeyD), .Secrets = PemSecrets});
  }
  AddCall(31, RELEASE(SvcRsaFree(s.Object)), {.Prepare = STEP(Whole(s), Sign(s)), .Secrets = Secrets});
}

void AddRawKeys() {
  const Bytes &N = BuiltinKey().N();
  const Bytes &D = BuiltinKey().Components[RsaKeyD];
  const auto Encrypt = [&N](SlotStage &s) {
    return s.Svc.SvcRsaPublicEncrypt(static_cast<UINT32>(mPlain.size()), mPlain.data(), IN(N), &s.Made[0],
                                     &s.ShortSize);
  };
  const auto Decrypt = [&N, &D](SlotStage &s) {
    return s.Svc.SvcRsaPrivateDecrypt(static_cast<UINT32>(s.Input.size()), s.Input.data(), IN(N), IN(D),
                                      &s.Made[0], &s.ShortSize);
  };
  const auto Take = STEP(TakeMade(s, s.ShortSize));
  const auto TakeInput = STEP(Take(s), s.Input = s.Output);
  const std::vector<UINT64> Failures = {EFI_OUT_OF_RESOURCES, EFI_DEVICE_ERROR};
  AddCall(
      60, Encrypt,
      {.Finish = STEP(TakeInput(s), Decrypt(s), Take(s)), .Secrets = SECRETS(mPlain), .Failures = Failures});
  AddCall(61, Decrypt,
          {.Prepare = STEP(Encrypt(s), TakeInput(s), s.Output.clear()),
           .Finish = Take,
           .Secrets =
               [&D](const SlotStage &) {
                 return std::vector<Bytes>{mPlain, D};
               },
           .Failures = Failures});
}

void AddCertificates() {
  AddCall(28, CALL(SvcRsaGetPublicKeyFromX509(IN(File("second.der")), &s.Object)),
          {.Finish = ReadRsa(RsaKeyN)});
  AddCall(29, CALL(SvcX509GetSubjectName(IN(File("second.der")), OUT)));
  AddCall(30, CALL(SvcX509VerifyCert(IN(File("second.der")), IN(File("root.der")))));
  const auto Signers = [](SlotStage &s) {
    UINTN FirstSize;
    return s.Svc.SvcPkcs7GetSigners(IN(File("message.p7")), &s.Made[0], &s.Size, &s.Made[1], &FirstSize);
  };
  AddCall(32, Signers, {.Finish = STEP(TakeMade(s, 1, 1), TakeMade(s, s.Size))});
  AddCall(33, CALL(SvcPkcs7Verify(IN(File("message.p7")), IN(File("root.der")), IN(SlotMessage()))));
  AddCall(34, RELEASE(SvcPkcs7FreeSigners(s.Made[0])),
          {.Prepare = Signers, .Finish = STEP(s.Svc.SvcPkcs7FreeSigners(s.Made[1]))});
  // ContentInfo { type, [0] { SignedData { version, digests, content { type, [0] { { data, { algorithm,
  // digest } } } } } } }
  const auto Digest = [](SlotStage &s) {
    s.Input = DerFind(File("signed.sig"), {0, 1, 0, 2, 1, 0, 1, 1}).Content;
  };
  AddCall(48, CALL(SvcAuthenticodeVerify(IN(File("signed.sig")), IN(File("root.der")), IN(s.Input))),
          {.Prepare = Digest});
}

// The modulus stands in for a prime: the service takes what it is given, and two parties still agree.
bool SetGroup(SlotStage &s, VOID *Context) {
  return s.Svc.SvcDhGenerateParameter(Context, 2, SmallKey().Size() * 8, SmallKey().N().data());
}

VOID *NewDh(SlotStage &s) {
  VOID *Context = s.Svc.SvcDhNew();
  EXPECT_TRUE(SetGroup(s, Context));
  return Context;
}

Bytes DhPublic(SlotStage &s, VOID *Context) {
  Bytes Value(128);
  UINTN Size = Value.size();
  EXPECT_TRUE(s.Svc.SvcDhGenerateKey(Context, Value.data(), &Size));
  return FirstOf(Value, Size);
}

Bytes DhSecret(SlotStage &s, VOID *Context, const Bytes &PeerValue) {
  Bytes Value(128);
  UINTN Size = Value.size();
  EXPECT_TRUE(s.Svc.SvcDhComputeKey(Context, IN(PeerValue), Value.data(), &Size));
  return FirstOf(Value, Size);
}

// Leaves whether two parties agree.
void FinishDh(SlotStage &s) {
  s.Peer = s.Peer != nullptr ? s.Peer : NewDh(s);
  const Bytes Own = DhPublic(s, s.Object);
  s.Output = {DhSecret(s, s.Object, DhPublic(s, s.Peer)) == DhSecret(s, s.Peer, Own)};
  s.Svc.SvcDhFree(s.Object);
  s.Svc.SvcDhFree(s.Peer);
}

void AddDh() {
  AddCall(41, [](SlotStage &s) { return (s.Object = s.Svc.SvcDhNew()) != nullptr; },
          {.Finish = STEP(s.Svc.SvcDhFree(s.Object))});
  AddCall(42, [](SlotStage &s) { return SetGroup(s, s.Object); },
          {.Prepare = STEP(s.Object = s.Svc.SvcDhNew()), .Finish = FinishDh});
  AddCall(43, CALL(SvcDhGenerateKey(s.Object, OUT)),
          {.Prepare = STEP(s.Object = NewDh(s)), .Finish = FinishDh});
  const auto TwoParties = [](SlotStage &s) {
    s.Object = NewDh(s);
    s.Peer = NewDh(s);
    DhPublic(s, s.Object);
    s.Input = DhPublic(s, s.Peer);
  };
  AddCall(44, CALL(SvcDhComputeKey(s.Object, IN(s.Input), OUT)),
          {.Prepare = TwoParties, .Finish = FinishDh, .Secrets = SECRETS(FirstOf(s.Output, s.Size))});
  AddCall(45, RELEASE(SvcDhFree(s.Object)), {.Prepare = STEP(s.Object = NewDh(s), DhPublic(s, s.Object))});
}

void AddTrust() {
  static const VOID *const Data[] = {SlotMessage().data(), SlotMessage().data() + 120};
  static const UINTN Sizes[] = {120, 80};
  const VOID **List = const_cast<const VOID **>(Data);
  const Bytes Modulus = Reversed(BuiltinKey().N());
  const SlotRest Rest = {
      .Prepare = STEP(s.Input = SignMessage(s.Svc, BuiltinKey(), HASH_TYPE_SHA256, SlotMessage())),
      .Failures = {EFI_OUT_OF_RESOURCES, EFI_NOT_READY, EFI_SECURITY_VIOLATION}};
  AddCall(
      0,
      CALL(SvcVerifyBufferWithBuiltinKeys(IN(SlotMessage()), IN(s.Input), 1, HASH_TYPE_SHA256, &s.ShortSize)),
      Rest);
  AddCall(1, CALL(SvcVerifyDataListWithKey(List, Sizes, 2, IN(Modulus), IN(s.Input), HASH_TYPE_SHA256)),
          Rest);
  AddCall(
      3,
      CALL(SvcVerifyDataListWithBuiltinKeys(List, Sizes, 2, IN(s.Input), 1, &s.ShortSize, HASH_TYPE_SHA256)),
      Rest);
  const auto Image = [](SlotStage &s) {
    s.Output = Pattern(3000, 14);
    std::fill_n(s.Output.begin() + IMAGE_SIGNATURE_BLOCK_KEY_SELECT_OFFSET, 4, UINT8{0});
  };
  // As far as the store lets an image come.
  AddCall(4, CALL(SvcVerifyFirmwareImage(IN(s.Output), TRUE)),
          {.Prepare = Image,
           .Success = EFI_SECURITY_VIOLATION,
           .Failures = {EFI_OUT_OF_RESOURCES, EFI_NOT_READY}});
}

} // namespace

void AddPublicKeyCalls() {
  AddRsa();
  AddRawKeys();
  AddCertificates();
  AddDh();
  AddTrust();
}

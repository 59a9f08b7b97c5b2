// Signatures of PE images through slot 48.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/services/Der.h"
#include "tests/services/TestFolder.h"
#include "tests/support/Sweep.h"

namespace {

// The driver's own image serves as the program to sign; NAME.sig is the message alone. osslsigncode puts the
// intermediate in, the root stays outside.
constexpr const char *mSignScript = R"sh(
sign() { # NAME DIGEST CERTIFICATE KEY OPTIONS...
  name=$1 digest=$2 cert=$3 key=$4; shift 4
  rm -f $name.efi $name.sig
  osslsigncode sign -h $digest -certs $cert -key $key "$@" -in program.efi -out $name.efi
  osslsigncode extract-signature -in $name.efi -out $name.sig
}
sign plain sha256 second.pem second.key
sign chain sha256 leaf.pem leaf.key -ac inter.pem
sign sha1 sha1 second.pem second.key
sign sha384 sha384 second.pem second.key
)sh";

const TestFolder &Signatures() {
  static const bool Made = [] {
    TestPki().Write("program.efi", TestPki().Read(TestedImage()));
    TestPki().Run(mSignScript);
    return true;
  }();
  (void)Made;
  return TestPki();
}

// ContentInfo { type, [0] { SignedData { version, digests, content { type, [0] { SpcIndirectDataContent } }
// ... } } }
const std::vector<UINTN> mContent = {0, 1, 0, 2, 1};
const std::vector<UINTN> mContentType = {0, 1, 0, 2, 0};
// ... { data, DigestInfo { algorithm, digest } }
const std::vector<UINTN> mDigest = {0, 1, 0, 2, 1, 0, 1, 1};

class AuthenticodeTest : public DriverTest {
protected:
  AuthenticodeTest() { LibraryKeepsBlocks = true; }
  void SetUp() override { SetClock(Firmware(), 1); }

  static Bytes Signature(const std::string &Name) { return Signatures().Read(Name + ".sig"); }
  static Bytes DigestOf(const Bytes &Signed) { return DerFind(Signed, mDigest).Content; }

  bool Verify(const Bytes &Signed, const std::string &Trusted, const Bytes &Digest) {
    const Bytes Certificate = Cert(Trusted);
    const UINT8 Nothing = 0;
    return Svc().SvcAuthenticodeVerify(Signed.data(), Signed.size(), Certificate.data(), Certificate.size(),
                                       Digest.empty() ? &Nothing : Digest.data(), Digest.size());
  }

  // Signed with its content encoded anew, LengthBytes behind the first one.
  static Bytes WithContentLength(const Bytes &Signed, int LengthBytes) {
    return DerEdit(Signed, mContent, [&](DerValue &Value) {
      Value.Content = DerChildren(Value.Content)[0].Encode(LengthBytes);
    });
  }
};

TEST_F(AuthenticodeTest, SignaturesVerifyByTheirChain) {
  const struct {
    const char *Name, *Trusted;
    int Days;
    bool Answer;
  } Rows[] = {
      {"plain", "root", 1, true},   {"plain", "second", 1, true},   {"plain", "other", 1, false},
      {"plain", "root", -1, false}, {"plain", "root", 3651, false}, {"chain", "root", 1, true},
      {"chain", "inter", 1, true},  {"chain", "leaf", 1, true},     {"sha1", "root", 1, true},
      {"sha384", "root", 1, true},
  };
  for (const auto &Row : Rows) {
    SetClock(Firmware(), Row.Days);
    const Bytes Signed = Signature(Row.Name);
    EXPECT_EQ(Verify(Signed, Row.Trusted, DigestOf(Signed)), Row.Answer)
        << Row.Name << " for " << Row.Trusted;
  }
}

TEST_F(AuthenticodeTest, TheEndOfTheContentIsCompared) {
  const Bytes Signed = Signature("plain");
  const Bytes Digest = DigestOf(Signed);
  ASSERT_EQ(Digest.size(), 32U);
  EXPECT_TRUE(Verify(Signed, "root", {})) << "no digest, no comparison";
  EXPECT_TRUE(Verify(Signed, "root", Bytes(Digest.begin() + 16, Digest.end())));
  const Bytes Octets = DerChildren(DerFind(Signed, mContent).Content)[0].Content;
  EXPECT_TRUE(Verify(Signed, "root", Octets));
  Bytes Longer = Octets;
  Longer.insert(Longer.begin(), static_cast<UINT8>(Octets.size()));
  EXPECT_FALSE(Verify(Signed, "root", Longer)) << "the length's last byte is no content";
  for (UINTN Place = 0; Place < Digest.size(); Place++) {
    Bytes Changed = Digest;
    Changed[Place] ^= 0x80;
    EXPECT_FALSE(Verify(Signed, "root", Changed)) << Place;
  }
}

TEST_F(AuthenticodeTest, TheContentsLengthTakesUpToTwoBytes) {
  const Bytes Signed = Signature("plain");
  const Bytes Digest = DigestOf(Signed);
  // The signature is over the octets alone, so it holds for every form of the length.
  for (int LengthBytes : {0, 1, 2, 3, 4}) {
    EXPECT_EQ(Verify(WithContentLength(Signed, LengthBytes), "root", Digest), LengthBytes <= 2)
        << LengthBytes;
  }
  const Bytes Indefinite = DerEdit(Signed, mContent, [](DerValue &Value) {
    const Bytes Octets = DerChildren(Value.Content)[0].Content;
    Value.Content = {0x30, 0x80};
    Value.Content.insert(Value.Content.end(), Octets.begin(), Octets.end());
    Value.Content.insert(Value.Content.end(), {0, 0});
  });
  EXPECT_FALSE(Verify(Indefinite, "root", Digest));
}

TEST_F(AuthenticodeTest, OnlyIndirectDataIsAccepted) {
  const Bytes Signed = Signature("plain");
  const Bytes Digest = DigestOf(Signed);
  const auto WithType = [&](const std::string &Oid) {
    return DerEdit(Signed, mContentType, [&](DerValue &Value) { Value.Content = FromHex(Oid); });
  };
  EXPECT_TRUE(Verify(WithType("2B060104018237020104"), "root", Digest));
  EXPECT_TRUE(Verify(WithType("2B06010401823702010401"), "root", Digest)) << "the first ten bytes decide";
  EXPECT_FALSE(Verify(WithType("2B060104018237020105"), "root", Digest));
  EXPECT_FALSE(Verify(WithType("2B0601040182370201"), "root", Digest));
  EXPECT_FALSE(Verify(WithType("2A864886F70D010701"), "root", Digest));
  for (UINT8 Tag : {0x04, 0x31, 0x05}) {
    const Bytes Other = DerEdit(Signed, mContent, [Tag](DerValue &Value) { Value.Content[0] = Tag; });
    EXPECT_FALSE(Verify(Other, "root", Digest)) << static_cast<int>(Tag);
  }
  const Bytes Absent = DerEdit(
      Signed, {0, 1, 0, 2}, [](DerValue &Value) { Value.Content = DerChildren(Value.Content)[0].Encode(); });
  EXPECT_FALSE(Verify(Absent, "root", Digest));
  EXPECT_FALSE(Verify(Absent, "root", {}));
  const Bytes Empty = DerEdit(Signed, mContent, [](DerValue &Value) { Value.Content = {0x30, 0x00}; });
  EXPECT_FALSE(Verify(Empty, "root", {}));
  // A message over data, as slot 33 would take it.
  TestPki().Run("head -c 100 root.der > data100.bin; openssl smime -sign -binary -nodetach -in data100.bin "
                "-outform DER -out data100.p7 -md sha256 -signer second.pem -inkey second.key");
  EXPECT_FALSE(Verify(TestPki().Read("data100.p7"), "root", {}));
}

TEST_F(AuthenticodeTest, OnlyAContentInfoIsTaken) {
  const Bytes Signed = Signature("plain");
  const Bytes Digest = DigestOf(Signed);
  EXPECT_FALSE(Verify(DerFind(Signed, {0, 1, 0}).Encode(), "root", Digest));
  // Data instead of signedData, and a signedData whose content is absent.
  EXPECT_FALSE(Verify(FromHex("300b06092a864886f70d010701"), "root", Digest));
  EXPECT_FALSE(Verify(FromHex("300b06092a864886f70d010702"), "root", Digest));
  Bytes Padded = Signed;
  for (int Count = 0; Count < 8; Count++) {
    EXPECT_TRUE(Verify(Padded, "root", Digest)) << Count << " bytes behind";
    Padded.push_back(0);
  }
  // The library parses both, but only two-byte lengths pass for a message.
  const DerValue Outer = DerChildren(Signed)[0];
  std::vector<DerValue> Fields = DerChildren(Outer.Content);
  Bytes Inner = Fields[0].Encode();
  const Bytes Field = Fields[1].Encode(3);
  Inner.insert(Inner.end(), Field.begin(), Field.end());
  EXPECT_TRUE(Verify(Outer.Encode(2), "root", Digest));
  EXPECT_FALSE(Verify(Outer.Encode(3), "root", Digest));
  EXPECT_FALSE(Verify(DerValue{0x30, Inner}.Encode(), "root", Digest));
  for (UINTN Size : {UINTN{0}, UINTN{1}, UINTN{17}, Signed.size() / 2, Signed.size() - 1}) {
    EXPECT_FALSE(
        Verify(Bytes(Signed.begin(), Signed.begin() + static_cast<std::ptrdiff_t>(Size)), "root", Digest));
  }
}

TEST_F(AuthenticodeTest, AMessageOf64KiBIsTooLong) {
  const Bytes Signed = Signature("plain");
  const Bytes Certificate = DerFind(Signed, {0, 1, 0, 3, 0}).Encode();
  const auto WithCertificates = [&](UINTN Size) {
    return DerEdit(Signed, {0, 1, 0, 3}, [&](DerValue &Value) {
      while (Value.Content.size() + Certificate.size() < Size) {
        Value.Content.insert(Value.Content.end(), Certificate.begin(), Certificate.end());
      }
    });
  };
  EXPECT_TRUE(Verify(WithCertificates(0xF800), "root", DigestOf(Signed)));
  EXPECT_FALSE(Verify(WithCertificates(0x10800), "root", DigestOf(Signed)));
}

TEST_F(AuthenticodeTest, NoChangedSignedBitIsAccepted) {
  const Bytes Signed = Signature("plain");
  // The signer's certificate, the content behind its header, the attributes, and the signature.
  std::vector<Bytes> Covered = {Cert("second"), DerChildren(DerFind(Signed, mContent).Content)[0].Content};
  for (const DerValue &Field : DerChildren(DerFind(Signed, {0, 1, 0, 4, 0}).Content)) {
    if (Field.Tag == 0xA0 || Field.Tag == 0x04) {
      Covered.push_back(Field.Encode());
    }
  }
  ASSERT_EQ(Covered.size(), 4U);
  for (const Bytes &Part : Covered) {
    const auto Begin = std::search(Signed.begin(), Signed.end(), Part.begin(), Part.end());
    ASSERT_NE(Begin, Signed.end());
    for (UINTN Place = 0; Place < Part.size(); Place += StrideOfBuild(7)) {
      Bytes Changed = Signed;
      Changed[static_cast<UINTN>(Begin - Signed.begin()) + Place] ^= static_cast<UINT8>(1 << Place % 8);
      EXPECT_FALSE(Verify(Changed, "root", {})) << Place << " of " << Part.size();
    }
  }
}

// Refused before the message is verified: nothing is kept, and the digests of slot 33 are not registered.
TEST_F(AuthenticodeTest, EarlyRefusalsLeaveNothingBehind) {
  const Bytes Signed = Signature("plain");
  const Bytes Digest = DigestOf(Signed);
  const Bytes OtherType = DerEdit(Signed, mContentType, [&](DerValue &Value) { Value.Content[9]++; });
  const Bytes Empty = DerValue{0x30, DerFind(Signed, {0, 0}).Encode()}.Encode();
  const Bytes Sealed = TestPki().Make("openssl smime -encrypt -binary -aes128 -in root.der -outform DER "
                                      "-out sealed.p7 second.pem",
                                      "sealed.p7");
  const Bytes Root = Cert("root");
  const Bytes Long = Cert("sha384");
  const auto LongPasses = [&] {
    return Svc().SvcX509VerifyCert(Long.data(), Long.size(), Root.data(), Root.size());
  };
  ExpectRefusalKeepsNothing(Memory(), "type", [&] { return Verify(OtherType, "root", Digest); });
  ExpectRefusalKeepsNothing(Memory(), "digest", [&] { return Verify(Signed, "root", Pattern(32)); });
  for (const Bytes &Other : {Pattern(200), Empty, Sealed}) {
    ExpectRefusalKeepsNothing(Memory(), "no signed data", [&] { return Verify(Other, "root", Digest); });
  }
  EXPECT_FALSE(LongPasses());
  ExpectRefusalKeepsNothing(Memory(), "another root", [&] { return Verify(Signed, "other", Digest); });
  EXPECT_TRUE(LongPasses());
}

TEST_F(AuthenticodeTest, RefusedArguments) {
  const Bytes Signed = Signature("plain");
  const Bytes Root = Cert("root");
  const Bytes Digest = DigestOf(Signed);
  const auto &Service = Svc().SvcAuthenticodeVerify;
  const UINTN Size = Signed.size();
  EXPECT_FALSE(Service(nullptr, Size, Root.data(), Root.size(), Digest.data(), 32));
  EXPECT_FALSE(Service(Signed.data(), Size, nullptr, Root.size(), Digest.data(), 32));
  EXPECT_FALSE(Service(Signed.data(), Size, Root.data(), Root.size(), nullptr, 32));
  EXPECT_FALSE(Service(Signed.data(), Size, Root.data(), Root.size(), nullptr, 0));
  for (UINTN Length : {UINTN{0}, UINTN{1}, UINTN{0x7FFFFFFF}, UINTN{0x80000000}, ~UINTN{0}}) {
    // A certificate ends where its own lengths say, and so does a message.
    const bool Answer = Length == 0x7FFFFFFF;
    EXPECT_EQ(Service(Signed.data(), Length, Root.data(), Root.size(), Digest.data(), 32), Answer) << Length;
    EXPECT_EQ(Service(Signed.data(), Size, Root.data(), Length, Digest.data(), 32), Answer) << Length;
    // The first byte alone is not the last one of the content.
    EXPECT_EQ(Service(Signed.data(), Size, Root.data(), Root.size(), Digest.data(), Length), Length == 0)
        << Length;
  }
}

} // namespace

// Certificates through slots 28 to 30.
#include <gtest/gtest.h>

#include "simulator/DriverCall.h"
#include "tests/services/Der.h"
#include "tests/services/RsaTestKey.h"
#include "tests/services/TestFolder.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/support/Sweep.h"

namespace {

constexpr UINTN mTooLong = 0x80000000;
constexpr UINTN mUnchanged = 7777;

class X509Test : public DriverTest {
protected:
  X509Test() { LibraryKeepsBlocks = true; }
  void SetUp() override { SetClock(Firmware(), 1); }

  BOOLEAN Verify(const Bytes &Certificate, const Bytes &Issuer) {
    return Svc().SvcX509VerifyCert(Certificate.data(), Certificate.size(), Issuer.data(), Issuer.size());
  }
  BOOLEAN Verify(const std::string &Name, const std::string &Issuer) {
    return Verify(Cert(Name), Cert(Issuer));
  }

  BOOLEAN PublicKey(const Bytes &Certificate, VOID **Context) {
    return Svc().SvcRsaGetPublicKeyFromX509(Certificate.data(), Certificate.size(), Context);
  }

  // Registers SHA-384 and SHA-512, as every call of slot 33 does.
  void RegisterLongDigests() {
    const UINT8 Byte = 0;
    EXPECT_FALSE(Svc().SvcPkcs7Verify(&Byte, 1, &Byte, 1, &Byte, 1));
  }
};

TEST_F(X509Test, ThePublicKeyComesAlone) {
  // SEQUENCE { tbs { version, serial, algorithm, issuer, validity, subject, key { algorithm, bits } } }
  const Bytes Leaf = Cert("leaf");
  Bytes Bits = DerFind(Leaf, {0, 0, 6, 1}).Content;
  Bits.erase(Bits.begin());
  Bytes Modulus = DerFind(Bits, {0, 0}).Content;
  Modulus.erase(Modulus.begin());
  VOID *Context = nullptr;
  ASSERT_TRUE(PublicKey(Leaf, &Context));
  EXPECT_EQ(Component(Svc(), Context, RsaKeyN), Modulus);
  EXPECT_EQ(Component(Svc(), Context, RsaKeyE), (Bytes{1, 0, 1}));
  EXPECT_EQ(Component(Svc(), Context, RsaKeyD), Bytes());
  Svc().SvcRsaFree(Context);
}

TEST_F(X509Test, OtherKeysAndArgumentsLeaveThePlaceAlone) {
  const Bytes Leaf = Cert("leaf");
  UINT8 Mark = 0;
  VOID *Context = &Mark;
  EXPECT_FALSE(PublicKey(Cert("ec"), &Context));
  EXPECT_FALSE(Svc().SvcRsaGetPublicKeyFromX509(nullptr, Leaf.size(), &Context));
  EXPECT_FALSE(Svc().SvcRsaGetPublicKeyFromX509(Leaf.data(), Leaf.size(), nullptr));
  EXPECT_FALSE(Svc().SvcRsaGetPublicKeyFromX509(Leaf.data(), mTooLong, &Context));
  for (UINTN Size : {UINTN{0}, UINTN{1}, Leaf.size() - 1}) {
    EXPECT_FALSE(Svc().SvcRsaGetPublicKeyFromX509(Leaf.data(), Size, &Context)) << Size;
  }
  // A key that is not what its algorithm says: the modulus' INTEGER becomes an OCTET STRING.
  EXPECT_FALSE(
      PublicKey(DerEdit(Leaf, {0, 0, 6, 1}, [](DerValue &Value) { Value.Content[5] = 0x04; }), &Context));
  TestPki().Run("openssl genpkey -algorithm RSA-PSS -pkeyopt rsa_keygen_bits:1024 -out onlypss.key; "
                "openssl req -x509 -key onlypss.key -subj /CN=x -outform DER -out onlypss.der");
  EXPECT_FALSE(PublicKey(Cert("onlypss"), &Context)) << "a key for PSS alone is no RSA key";
  EXPECT_EQ(Context, &Mark);
  Bytes Padded = Leaf;
  Padded.resize(Leaf.size() + 100);
  ASSERT_TRUE(PublicKey(Padded, &Context)) << "bytes behind the certificate do not matter";
  Svc().SvcRsaFree(Context);
}

TEST_F(X509Test, TheSubjectIsCopiedAsItIsEncoded) {
  const Bytes Leaf = Cert("ec"); // whatever its key
  const Bytes Name = DerFind(Leaf, {0, 0, 5}).Encode();
  const struct {
    bool Buffer;
    UINTN Size;
    bool Answer;
  } Rows[] = {
      {false, 0, false},        {false, mUnchanged, false},     {true, 0, false},
      {true, 1, false},         {true, Name.size() - 1, false}, {true, Name.size(), true},
      {true, mUnchanged, true},
  };
  for (const auto &Row : Rows) {
    GuardedBuffer Subject(mUnchanged);
    UINTN Size = Row.Size;
    EXPECT_EQ(
        Svc().SvcX509GetSubjectName(Leaf.data(), Leaf.size(), Row.Buffer ? Subject.Get() : nullptr, &Size),
        Row.Answer);
    EXPECT_EQ(Size, Name.size());
    EXPECT_TRUE(Subject.OnlyWritten(Row.Answer ? Name.size() : 0));
    if (Row.Answer) {
      Bytes Got = Subject.Content();
      Got.resize(Size);
      EXPECT_EQ(Got, Name);
    }
  }
}

TEST_F(X509Test, ARefusedSubjectTouchesNothing) {
  const Bytes Leaf = Cert("leaf");
  GuardedBuffer Subject(500);
  UINTN Size = mUnchanged;
  EXPECT_FALSE(Svc().SvcX509GetSubjectName(nullptr, Leaf.size(), Subject.Get(), &Size));
  EXPECT_FALSE(Svc().SvcX509GetSubjectName(Leaf.data(), Leaf.size(), Subject.Get(), nullptr));
  for (UINTN Length : {UINTN{0}, UINTN{1}, Leaf.size() - 1, mTooLong, ~UINTN{0}}) {
    EXPECT_FALSE(Svc().SvcX509GetSubjectName(Leaf.data(), Length, Subject.Get(), &Size)) << Length;
  }
  EXPECT_EQ(Size, mUnchanged);
  EXPECT_TRUE(Subject.Untouched());
}

TEST_F(X509Test, OnlyAnIssuerThatIsSelfSignedAndInTimeVouches) {
  const struct {
    const char *Certificate, *Issuer;
    int Days;
    bool Answer;
  } Rows[] = {
      {"second", "root", 1, true},     {"root", "root", 1, true},    {"inter", "root", 1, true},
      {"leaf", "inter", 1, false},     {"leaf", "root", 1, false},   {"second", "other", 1, false},
      {"leaf", "leaf", 1, false},      {"bare", "bare", 1, true},    {"short", "root", 29, true},
      {"short", "root", 31, false},    {"second", "root", 31, true}, {"second", "root", -1, false},
      {"second", "root", 3651, false}, {"md5", "root", 1, true},     {"sha1", "root", 1, true},
      {"pss", "root", 1, true},        {"ec", "root", 1, false},     {"sha224", "root", 1, false},
      {"sha384", "root", 1, false},    {"sha512", "root", 1, false},
  };
  for (const auto &Row : Rows) {
    SetClock(Firmware(), Row.Days);
    EXPECT_EQ(Verify(Row.Certificate, Row.Issuer), Row.Answer) << Row.Certificate << " by " << Row.Issuer;
  }
}

TEST_F(X509Test, LongDigestsCountOnceSlot33HasRunInTheBoot) {
  const UINT8 Byte = 0;
  for (UINTN Refused = 0; Refused < 6; Refused++) {
    const auto Pointer = [&](UINTN Index) { return Refused == Index ? nullptr : &Byte; };
    const auto Size = [&](UINTN Index) { return Refused == Index ? mTooLong : UINTN{1}; };
    EXPECT_FALSE(Svc().SvcPkcs7Verify(Pointer(0), Size(1), Pointer(2), Size(3), Pointer(4), Size(5)));
    EXPECT_FALSE(Verify("sha384", "root")) << "refused argument " << Refused << " registers something";
  }
  RegisterLongDigests();
  EXPECT_TRUE(Verify("sha384", "root"));
  EXPECT_TRUE(Verify("sha512", "root"));
  EXPECT_FALSE(Verify("sha224", "root"));
  Reboot();
  SetClock(Firmware(), 1);
  EXPECT_FALSE(Verify("sha384", "root"));
}

TEST_F(X509Test, WithoutAClockNothingIsValid) {
  EXPECT_TRUE(Verify("second", "root"));
  Firmware().RealTimeClock.GetTimeCalls.FailFrom(1, EFI_DEVICE_ERROR);
  EXPECT_FALSE(Verify("second", "root"));
  // Nobody checks an anchor's own signature, so its dates can be changed: to hold the time that stands for
  // none.
  const Bytes Old = DerEdit(Cert("root"), {0, 0, 4, 0}, [](DerValue &Value) {
    Value.Content = FromHex("3630303130313030303030305A"); // 600101000000Z
  });
  EXPECT_FALSE(Verify(Old, Old));
  Firmware().RealTimeClock.GetTimeCalls.Clear();
  EXPECT_TRUE(Verify("second", "root"));
  EXPECT_TRUE(Verify(Old, Old));
}

TEST_F(X509Test, RefusedArgumentsOfTheCheck) {
  const Bytes Root = Cert("root");
  const Bytes Second = Cert("second");
  EXPECT_FALSE(Svc().SvcX509VerifyCert(nullptr, Second.size(), Root.data(), Root.size()));
  EXPECT_FALSE(Svc().SvcX509VerifyCert(Second.data(), Second.size(), nullptr, Root.size()));
  for (UINTN Size : {UINTN{0}, UINTN{1}, UINTN{100}, mTooLong, ~UINTN{0}}) {
    EXPECT_FALSE(Svc().SvcX509VerifyCert(Second.data(), Size, Root.data(), Root.size()));
    EXPECT_FALSE(Svc().SvcX509VerifyCert(Second.data(), Second.size(), Root.data(), Size));
  }
  EXPECT_TRUE(Svc().SvcX509VerifyCert(Second.data(), 0x7FFFFFFF, Root.data(), 0x7FFFFFFF));
}

TEST_F(X509Test, NoChangedOrCutCertificatePasses) {
  const Bytes Root = Cert("root");
  const Bytes Second = Cert("second");
  RegisterLongDigests();
  for (UINTN Place = 0; Place < Second.size(); Place += StrideOfBuild(7)) {
    ASSERT_FALSE(Verify(Bytes(Second.data(), Second.data() + Place), Root)) << Place << " bytes";
    Bytes Changed = Second;
    Changed[Place] ^= static_cast<UINT8>(1 << Place % 8);
    ASSERT_FALSE(Verify(Changed, Root)) << "byte " << Place;
    VOID *Context = nullptr;
    if (PublicKey(Changed, &Context)) {
      Svc().SvcRsaFree(Context);
    }
  }
}

TEST_F(X509Test, BombsAreAnsweredQuicklyAndInLittleMemory) {
  Bytes Nested(65000, 0x30);
  for (UINTN Place = 1; Place < Nested.size(); Place += 2) {
    Nested[Place] = 0x80;
  }
  const Bytes Leaf = Cert("leaf");
  const Bytes Attribute = FromHex("300806035504031301 41");
  Bytes Set;
  while (Set.size() < 60000) {
    Set.insert(Set.end(), Attribute.begin(), Attribute.end());
  }
  const Bytes HugeName = DerEdit(Leaf, {0, 0, 5, 0}, [&](DerValue &Value) { Value.Content = Set; });
  const Bytes OddDate = DerEdit(Leaf, {0, 0, 4, 1}, [](DerValue &Value) {
    Value = {0x18, {'9', '9', '9', '9', '1', '2', '3', '1', '2', '3', '5', '9', '5', '9', 'Z'}};
  });
  for (const Bytes &Hostile : {Nested, HugeName, OddDate}) {
    const UINTN PeakBefore = Memory().Figures().LiveBytes;
    VOID *Context = nullptr;
    UINTN Size = 0;
    const std::clock_t Begin = std::clock();
    if (PublicKey(Hostile, &Context)) {
      Svc().SvcRsaFree(Context);
    }
    EXPECT_FALSE(Svc().SvcX509GetSubjectName(Hostile.data(), Hostile.size(), nullptr, &Size));
    EXPECT_FALSE(Verify(Hostile, Cert("inter")));
    EXPECT_LT(static_cast<double>(std::clock() - Begin) / CLOCKS_PER_SEC, TestsImage() ? 2 : 10);
    EXPECT_LT(Memory().Figures().PeakBytes - PeakBefore, UINTN{16} << 20);
  }
}

TEST_F(X509Test, RefusalsKeepNothing) {
  const Bytes Ec = Cert("ec");
  const Bytes Garbage = Pattern(200);
  VOID *Context = nullptr;
  UINT8 Byte = 0;
  UINTN Size = 0;
  const struct {
    const char *What;
    std::function<bool()> Call;
  } Rows[] = {
      {"key of an EC certificate", [&] { return PublicKey(Ec, &Context); }},
      {"key of no certificate", [&] { return PublicKey(Garbage, &Context); }},
      {"subject with a short buffer",
       [&] {
         Size = 1;
         return Svc().SvcX509GetSubjectName(Ec.data(), Ec.size(), &Byte, &Size);
       }},
      {"subject of no certificate",
       [&] { return Svc().SvcX509GetSubjectName(Garbage.data(), Garbage.size(), &Byte, &Size); }},
      {"another issuer", [&] { return Verify("second", "other"); }},
      {"EC certificate", [&] { return Verify("ec", "root"); }},
      {"no certificate", [&] { return Verify(Garbage, Ec); }},
      {"an issuer that is none", [&] { return Verify(Ec, Garbage); }},
  };
  for (const auto &Row : Rows) {
    ExpectRefusalKeepsNothing(Memory(), Row.What, Row.Call);
  }
}

TEST_F(X509Test, NoFailedAllocationMakesAForgeryPass) {
  const Bytes Root = Cert("root");
  const Bytes Forged = DerEdit(Cert("second"), {0, 2}, [](DerValue &Value) { Value.Content[100] ^= 1; });
  SweepScenario Refused{.Name = "SvcX509VerifyCert of a forgery",
                        .Call = [&] { return Verify(Forged, Root); },
                        .Success = FALSE,
                        .Stride = StrideOfBuild(17)};
  EXPECT_GT(SweepAllocations(Session(), Refused), 10U);
}

} // namespace

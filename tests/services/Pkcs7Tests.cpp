// Signed messages through slots 32 to 34.
#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>

#include "tests/services/Der.h"
#include "tests/services/TestFolder.h"
#include "tests/support/Sweep.h"

namespace {

constexpr UINTN mUnchanged = 7777;

// NAME.p7 over data.bin. The certificates in it are the signers' and those named.
constexpr const char *mMessagesScript = R"sh(
head -c 5000 /dev/urandom > data.bin
head -c 70000 /dev/urandom > large.bin
sign() { # NAME OPTIONS...
  name=$1; shift
  openssl smime -sign -binary -in data.bin -outform DER -out $name.p7 "$@"
}
leaf="-signer leaf.pem -inkey leaf.key" second="-signer second.pem -inkey second.key"
sign second -md sha256 $second
sign noattr -md sha256 -noattr $second
sign leaf -md sha256 $leaf
sign chain -md sha256 -certfile inter.pem $leaf
cat inter.pem root.pem > both.pem
sign whole -md sha256 -certfile both.pem $leaf
sign two -md sha256 -certfile inter.pem $leaf $second
sign short -md sha256 -signer short.pem -inkey second.key
sign nocerts -md sha256 -nocerts $second
sign embedded -md sha256 -nodetach $second
sign ec -md sha256 -signer ec.pem -inkey ec.key
sign bare -md sha256 -signer bare.pem -inkey other.key
for d in md5 sha1 sha224 sha384 sha512; do sign md-$d -md $d $second; sign by-$d -md sha256 -signer $d.pem -inkey leaf.key; done
openssl smime -sign -binary -nodetach -in large.bin -outform DER -out large-inside.p7 -md sha256 $second
openssl smime -sign -binary -in large.bin -outform DER -out large.p7 -md sha256 $second
openssl crl2pkcs7 -nocrl -certfile second.pem -outform DER -out certs.p7
openssl smime -encrypt -binary -aes128 -in data.bin -outform DER -out enveloped.p7 second.pem
)sh";

const TestFolder &Messages() {
  static const bool Made = (TestPki().Run(mMessagesScript), true);
  (void)Made;
  return TestPki();
}

// ContentInfo { type, [0] { SignedData { version, digests, content, [0] certificates, [1] crls, signers } } }
const std::vector<UINTN> mSignedData = {0, 1, 0};

Bytes Bare(const Bytes &Message) {
  return DerFind(Message, mSignedData).Encode();
}

struct SignerResult {
  bool Answer = false;
  Bytes List;
  Bytes First;
};

class Pkcs7Test : public DriverTest {
protected:
  Pkcs7Test() { LibraryKeepsBlocks = true; }
  void SetUp() override { SetClock(Firmware(), 1); }

  static Bytes Message(const std::string &Name) { return Messages().Read(Name + ".p7"); }
  static Bytes Data() { return Messages().Read("data.bin"); }

  bool Verify(const Bytes &Signed, const Bytes &Trusted, const Bytes &Content) {
    return Svc().SvcPkcs7Verify(Signed.data(), Signed.size(), Trusted.data(), Trusted.size(), Content.data(),
                                Content.size());
  }

  // Whether slot 32 gives a list, which is released.
  bool Answers(const Bytes &Signed) {
    SIGNER_CERT_LIST *List = nullptr;
    UINT8 *First = nullptr;
    UINTN ListSize = 0;
    UINTN FirstSize = 0;
    const bool Answer =
        Svc().SvcPkcs7GetSigners(Signed.data(), Signed.size(), &List, &ListSize, &First, &FirstSize);
    Svc().SvcPkcs7FreeSigners(List);
    Svc().SvcPkcs7FreeSigners(First);
    return Answer;
  }

  // The results, released; checks that a refusal stores nothing.
  SignerResult Signers(const Bytes &Signed) {
    UINT8 Mark = 0;
    SIGNER_CERT_LIST *List = &Mark;
    UINT8 *First = &Mark;
    UINTN ListSize = mUnchanged;
    UINTN FirstSize = mUnchanged;
    SignerResult Result;
    Result.Answer =
        Svc().SvcPkcs7GetSigners(Signed.data(), Signed.size(), &List, &ListSize, &First, &FirstSize);
    if (Result.Answer) {
      Result.List.assign(List, List + ListSize);
      Result.First.assign(First, First + FirstSize);
      Svc().SvcPkcs7FreeSigners(List);
      Svc().SvcPkcs7FreeSigners(First);
    } else {
      EXPECT_TRUE(List == &Mark && First == &Mark && ListSize == mUnchanged && FirstSize == mUnchanged);
    }
    return Result;
  }

  static Bytes ListOf(const std::vector<std::string> &Names) {
    Bytes List{static_cast<UINT8>(Names.size())};
    for (const std::string &Name : Names) {
      const Bytes Der = Cert(Name);
      for (int Shift = 0; Shift < 32; Shift += 8) {
        List.push_back(static_cast<UINT8>(Der.size() >> Shift));
      }
      List.insert(List.end(), Der.begin(), Der.end());
    }
    return List;
  }
};

TEST_F(Pkcs7Test, MessagesVerifyByWhatTheirChainsReach) {
  const struct {
    const char *Message, *Trusted;
    int Days;
    bool Answer;
  } Rows[] = {
      {"second", "root", 1, true},     {"second", "second", 1, true},    {"second", "other", 1, false},
      {"noattr", "root", 1, true},     {"leaf", "leaf", 1, true},        {"leaf", "inter", 1, true},
      {"leaf", "root", 1, false},      {"chain", "root", 1, true},       {"chain", "inter", 1, true},
      {"chain", "leaf", 1, true},      {"chain", "other", 1, false},     {"whole", "root", 1, true},
      {"whole", "inter", 1, true},     {"whole", "leaf", 1, false},      {"two", "root", 1, true},
      {"two", "inter", 1, false},      {"two", "second", 1, false},      {"nocerts", "second", 1, false},
      {"short", "root", 29, true},     {"short", "root", 31, false},     {"short", "short", 31, false},
      {"second", "root", -1, false},   {"second", "second", -1, false},  {"chain", "inter", 3651, false},
      {"embedded", "root", 1, true},   {"ec", "root", 1, false},         {"bare", "bare", 1, true},
      {"md-md5", "root", 1, true},     {"md-sha1", "root", 1, true},     {"md-sha224", "root", 1, false},
      {"md-sha384", "root", 1, true},  {"md-sha512", "root", 1, true},   {"by-md5", "root", 1, true},
      {"by-sha1", "root", 1, true},    {"by-sha224", "root", 1, false},  {"by-sha384", "root", 1, true},
      {"by-sha512", "root", 1, true},  {"by-sha224", "sha224", 1, true}, {"certs", "root", 1, false},
      {"enveloped", "root", 1, false},
  };
  for (const auto &Row : Rows) {
    SetClock(Firmware(), Row.Days);
    EXPECT_EQ(Verify(Message(Row.Message), Cert(Row.Trusted), Data()), Row.Answer)
        << Row.Message << " for " << Row.Trusted << ", day " << Row.Days;
  }
}

TEST_F(Pkcs7Test, BareAndWrappedMessagesAreOne) {
  for (const char *Name : {"second", "chain", "two"}) {
    const Bytes Wrapped = Message(Name);
    EXPECT_TRUE(Verify(Bare(Wrapped), Cert("root"), Data())) << Name;
    const SignerResult Whole = Signers(Wrapped);
    const SignerResult Inner = Signers(Bare(Wrapped));
    EXPECT_TRUE(Whole.Answer && Inner.Answer);
    EXPECT_EQ(Whole.List, Inner.List);
    EXPECT_EQ(Whole.First, Inner.First);
  }
  const Bytes Inner = Bare(Message("two"));
  Memory().FailAt(1);
  EXPECT_FALSE(Signers(Inner).Answer) << "no memory to wrap it";
}

TEST_F(Pkcs7Test, OnlyTwoByteLengthsMakeAContentInfo) {
  const Bytes Good = Message("second");
  const DerValue Outer = DerChildren(Good)[0];
  const std::vector<DerValue> Fields = DerChildren(Outer.Content);
  Bytes LongField = Fields[0].Encode();
  Bytes Indefinite = LongField;
  const Bytes Field = Fields[1].Encode(3);
  LongField.insert(LongField.end(), Field.begin(), Field.end());
  Indefinite.insert(Indefinite.end(), {0xA0, 0x80});
  Indefinite.insert(Indefinite.end(), Fields[1].Content.begin(), Fields[1].Content.end());
  Indefinite.insert(Indefinite.end(), {0, 0});
  Indefinite = DerValue{0x30, Indefinite}.Encode();
  Bytes Padded = Good;
  Padded.resize(Good.size() + 7);
  const struct {
    const char *What;
    Bytes Encoding;
    bool Answer;
  } Rows[] = {
      {"three bytes outside", Outer.Encode(3), false},
      {"three bytes inside", DerValue{0x30, LongField}.Encode(), false},
      {"indefinite inside", Indefinite, false},
      {"bytes behind", Padded, true},
      {"one byte short", Bytes(Good.begin(), Good.end() - 1), false},
      {"16 bytes", Bytes(Good.begin(), Good.begin() + 16), false},
      {"nothing but the type", DerValue{0x30, Fields[0].Encode()}.Encode(2), false},
  };
  for (const auto &Row : Rows) {
    EXPECT_EQ(Signers(Row.Encoding).Answer, Row.Answer) << Row.What;
    EXPECT_EQ(Verify(Row.Encoding, Cert("root"), Data()), Row.Answer) << Row.What;
  }
}

TEST_F(Pkcs7Test, SignersAreListedFromTheLastToTheFirst) {
  const SignerResult One = Signers(Message("chain"));
  EXPECT_EQ(One.List, ListOf({"leaf"}));
  EXPECT_EQ(One.First, Cert("leaf"));
  const SignerResult Two = Signers(Message("two"));
  // The encoding orders SignerInfos by their bytes, so either may be the first one.
  const bool LeafFirst = Two.First == Cert("leaf");
  EXPECT_EQ(Two.List, LeafFirst ? ListOf({"second", "leaf"}) : ListOf({"leaf", "second"}));
  EXPECT_EQ(Two.First, Cert(LeafFirst ? "leaf" : "second"));
  EXPECT_TRUE(Signers(Message("ec")).Answer) << "nothing is verified";
  for (const char *Name : {"nocerts", "certs", "enveloped"}) {
    EXPECT_FALSE(Signers(Message(Name)).Answer) << Name;
  }
  Svc().SvcPkcs7FreeSigners(nullptr);
}

const std::vector<UINTN> mSigners = {0, 1, 0, 4};

// Count copies of the message's first SignerInfo; Short ones have only what leads to the certificate.
Bytes WithSigners(const Bytes &Signed, int Count, bool Short) {
  return DerEdit(Signed, mSigners, [&](DerValue &Value) {
    DerValue One = DerChildren(Value.Content)[0];
    if (Short) {
      std::vector<DerValue> Fields = DerChildren(One.Content);
      Fields.resize(5);
      Fields[4] = {0x04, {}};
      Fields[3] = Fields[2];
      One.Content = DerJoin(Fields);
    }
    Value.Content = DerJoin(std::vector<DerValue>(static_cast<UINTN>(Count), One));
  });
}

TEST_F(Pkcs7Test, TheCountOfSignersIsOneByte) {
  EXPECT_FALSE(Signers(WithSigners(Message("second"), 257, false)).Answer) << "too long for two-byte lengths";
  const SignerResult Result = Signers(WithSigners(Message("noattr"), 257, true));
  ASSERT_TRUE(Result.Answer);
  EXPECT_EQ(Result.List[0], 1);
  EXPECT_EQ(Result.List.size(), 1 + 257 * (4 + Cert("second").size()));
}

TEST_F(Pkcs7Test, SignersNamedOverAndOverAreRefused) {
  // With one certificate in the message.
  EXPECT_TRUE(Verify(WithSigners(Message("noattr"), 128, false), Cert("root"), Data()));
  EXPECT_FALSE(Verify(WithSigners(Message("noattr"), 129, false), Cert("root"), Data()));

  // A certificate of some 30 KB: its subject's attribute many times.
  const Bytes Large = DerEdit(Message("noattr"), {0, 1, 0, 3, 0, 0, 5, 0}, [](DerValue &Value) {
    Value.Content = DerJoin(std::vector<DerValue>(2000, DerChildren(Value.Content)[0]));
  });
  const UINTN LiveBefore = Memory().Figures().LiveBytes;
  EXPECT_TRUE(Signers(WithSigners(Large, 100, true)).Answer);
  EXPECT_FALSE(Answers(WithSigners(Large, 300, true)));
  EXPECT_LT(Memory().Figures().PeakBytes - LiveBefore, UINTN{16} << 20);
}

TEST_F(Pkcs7Test, BombsAreAnsweredQuicklyAndInLittleMemory) {
  Bytes Nested(65000, 0x30);
  for (UINTN Place = 1; Place < Nested.size(); Place += 2) {
    Nested[Place] = 0x80;
  }
  const Bytes Good = Message("second");
  const auto Inside = [](const Bytes &Signed, const std::vector<UINTN> &Path, const Bytes &Content) {
    return DerEdit(Signed, Path, [&](DerValue &Value) { Value.Content = Content; });
  };
  const Bytes Attribute = FromHex("300a 0603550403 3103 020101");
  Bytes Attributes;
  for (int Count = 0; Count < 5000; Count++) {
    Attributes.insert(Attributes.end(), Attribute.begin(), Attribute.end());
    Attributes.back() = static_cast<UINT8>(5000 - Count);
  }
  const Bytes Certificate = DerFind(Good, {0, 1, 0, 3, 0}).Encode();
  Bytes Certificates;
  while (Certificates.size() < 60000) {
    Certificates.insert(Certificates.end(), Certificate.begin(), Certificate.end());
  }
  const Bytes Hostile[] = {
      Nested,
      Inside(Message("embedded"), {0, 1, 0, 2, 1}, Bytes(Nested.begin() + 4000, Nested.end())),
      Inside(Good, {0, 1, 0, 4, 0, 3}, Attributes),
      Inside(Good, {0, 1, 0, 3}, Certificates),
  };
  for (const Bytes &Bomb : Hostile) {
    const UINTN LiveBefore = Memory().Figures().LiveBytes;
    const std::clock_t Begin = std::clock();
    Signers(Bomb);
    const bool Repeated = &Bomb == &Hostile[3];
    EXPECT_EQ(Verify(Bomb, Cert("root"), Data()), Repeated) << "the same certificate many times does no harm";
    EXPECT_LT(static_cast<double>(std::clock() - Begin) / CLOCKS_PER_SEC, TestsImage() ? 2 : 10);
    EXPECT_LT(Memory().Figures().PeakBytes - LiveBefore, UINTN{16} << 20);
  }
}

TEST_F(Pkcs7Test, TheCallersDataIsWhatCounts) {
  const Bytes Root = Cert("root");
  for (const char *Name : {"second", "noattr", "embedded", "two"}) {
    const Bytes Signed = Message(Name);
    EXPECT_TRUE(Verify(Signed, Root, Data())) << Name;
    for (UINTN Place : {UINTN{0}, UINTN{2500}, UINTN{4999}}) {
      Bytes Changed = Data();
      Changed[Place] ^= 0x10;
      EXPECT_FALSE(Verify(Signed, Root, Changed)) << Name;
    }
    Bytes Longer = Data();
    Longer.push_back(0);
    EXPECT_FALSE(Verify(Signed, Root, Longer)) << Name;
  }
}

TEST_F(Pkcs7Test, LongDataIsFineAndALongMessageIsNot) {
  const Bytes Large = Messages().Read("large.bin");
  EXPECT_TRUE(Verify(Message("large"), Cert("root"), Large));
  EXPECT_FALSE(Verify(Message("large-inside"), Cert("root"), Large));
  EXPECT_FALSE(Signers(Message("large-inside")).Answer);
}

TEST_F(Pkcs7Test, AMessageNamesAtMostSixteenDigests) {
  for (int Count : {1, 2, 16, 17, 3000}) {
    const Bytes Edited = DerEdit(Message("second"), {0, 1, 0, 1}, [Count](DerValue &Value) {
      const Bytes One = Value.Content;
      for (int Index = 1; Index < Count; Index++) {
        Value.Content.insert(Value.Content.end(), One.begin(), One.end());
      }
    });
    EXPECT_EQ(Verify(Edited, Cert("root"), Data()), Count <= 16) << Count;
  }
  const Bytes Md4 = DerEdit(Message("second"), {0, 1, 0, 1, 0, 0},
                            [](DerValue &Value) { Value.Content = FromHex("2A864886F70D0204"); });
  EXPECT_FALSE(Verify(Md4, Cert("root"), Data()));
}

// Another name in place of a digest's, which no signature covers: the list of all takes the names of
// signatures too, a signer's entry does not.
TEST_F(Pkcs7Test, DigestsHaveOtherNamesToo) {
  const std::vector<UINTN> Listed = {0, 1, 0, 1, 0, 0};
  const std::vector<UINTN> OfSigner = {0, 1, 0, 4, 0, 2, 0};
  const struct {
    const char *Message;
    const std::vector<UINTN> &Place;
    const char *Oid;
    bool Answer;
  } Rows[] = {
      {"md-sha1", Listed, "2B0E03021A", true},          // sha1
      {"md-sha1", Listed, "2B0E03021D", true},          // sha1WithRSA, the alias
      {"md-sha1", Listed, "2A864886F70D010105", true},  // sha1WithRSAEncryption
      {"md-sha1", Listed, "608648016503040201", false}, // sha256: the signer's is not listed
      {"second", OfSigner, "608648016503040201", true},
      {"second", OfSigner, "2A864886F70D01010B", false}, // sha256WithRSAEncryption
      {"second", OfSigner, "2B0E03021A", false},
  };
  for (const auto &Row : Rows) {
    const Bytes Edited =
        DerEdit(Message(Row.Message), Row.Place, [&](DerValue &Value) { Value.Content = FromHex(Row.Oid); });
    EXPECT_EQ(Verify(Edited, Cert("root"), Data()), Row.Answer) << Row.Message << ", " << Row.Oid;
  }
}

TEST_F(Pkcs7Test, RefusalsKeepNothing) {
  const Bytes Root = Cert("root");
  const Bytes Content = Data();
  const Bytes Garbage = Pattern(200);
  const struct {
    const char *What;
    Bytes Signed, Trusted;
    const Bytes &Data;
  } Rows[] = {{"other data", Message("two"), Root, Garbage},
              {"another root", Message("chain"), Cert("other"), Content},
              {"a trusted certificate that is none", Message("second"), Garbage, Content},
              {"an EC signer", Message("ec"), Root, Content},
              {"no certificate of the signer", Message("nocerts"), Root, Content},
              {"no signer", Message("certs"), Root, Content},
              {"another content type", Message("enveloped"), Root, Content},
              {"no message", Garbage, Root, Content}};
  for (const auto &Row : Rows) {
    ExpectRefusalKeepsNothing(Memory(), Row.What, [&] { return Verify(Row.Signed, Row.Trusted, Row.Data); });
  }
  for (UINTN Row : {4, 5, 6, 7}) {
    ExpectRefusalKeepsNothing(Memory(), Rows[Row].What, [&] { return Signers(Rows[Row].Signed).Answer; });
  }
}

TEST_F(Pkcs7Test, RefusedArguments) {
  const Bytes Good = Message("second");
  const Bytes Root = Cert("root");
  const Bytes Content = Data();
  const auto Call = [&](bool HasMessage, UINTN Size, bool HasTrusted, UINTN TrustedSize, bool HasData,
                        UINTN DataSize) {
    return Svc().SvcPkcs7Verify(HasMessage ? Good.data() : nullptr, Size, HasTrusted ? Root.data() : nullptr,
                                TrustedSize, HasData ? Content.data() : nullptr, DataSize);
  };
  const UINTN Size = Good.size();
  EXPECT_TRUE(Call(true, Size, true, Root.size(), true, Content.size()));
  EXPECT_FALSE(Call(false, Size, true, Root.size(), true, Content.size()));
  EXPECT_FALSE(Call(true, Size, false, Root.size(), true, Content.size()));
  EXPECT_FALSE(Call(true, Size, true, Root.size(), false, Content.size()));
  for (UINTN Length : {UINTN{0}, UINTN{1}, UINTN{0x7FFFFFFF}, UINTN{0x80000000}, ~UINTN{0}}) {
    // A message or certificate ends where its own lengths say; only data is read in full.
    EXPECT_EQ(Call(true, Length, true, Root.size(), true, Content.size()), Length == 0x7FFFFFFF);
    EXPECT_EQ(Call(true, Size, true, Length, true, Content.size()), Length == 0x7FFFFFFF);
    EXPECT_FALSE(Call(true, Size, true, Root.size(), true, Length));
  }

  UINT8 Mark = 0;
  SIGNER_CERT_LIST *List = &Mark;
  UINT8 *First = &Mark;
  UINTN ListSize = mUnchanged;
  UINTN FirstSize = mUnchanged;
  const auto &Service = Svc().SvcPkcs7GetSigners;
  EXPECT_FALSE(Service(nullptr, Size, &List, &ListSize, &First, &FirstSize));
  EXPECT_FALSE(Service(Good.data(), Size, nullptr, &ListSize, &First, &FirstSize));
  EXPECT_FALSE(Service(Good.data(), Size, &List, nullptr, &First, &FirstSize));
  EXPECT_FALSE(Service(Good.data(), Size, &List, &ListSize, nullptr, &FirstSize));
  EXPECT_FALSE(Service(Good.data(), Size, &List, &ListSize, &First, nullptr));
  EXPECT_FALSE(Service(Good.data(), 0x80000000, &List, &ListSize, &First, &FirstSize));
  EXPECT_FALSE(Service(Good.data(), 0, &List, &ListSize, &First, &FirstSize));
  EXPECT_TRUE(List == &Mark && First == &Mark && ListSize == mUnchanged && FirstSize == mUnchanged);
}

TEST_F(Pkcs7Test, NoCutMessageIsAccepted) {
  const Bytes Good = Message("noattr");
  for (UINTN Size = 0; Size < Good.size(); Size += StrideOfBuild(7)) {
    const Bytes Cut(Good.data(), Good.data() + Size);
    EXPECT_FALSE(Verify(Cut, Cert("root"), Data())) << Size;
    EXPECT_FALSE(Signers(Cut).Answer) << Size;
  }
}

TEST_F(Pkcs7Test, NoChangedSignedByteIsAccepted) {
  const Bytes Root = Cert("root");
  const Bytes Content = Data();
  for (const char *Name : {"second", "noattr"}) {
    const Bytes Good = Message(Name);
    // What signatures cover: the signer's certificate, the attributes, and the message's signature itself.
    std::vector<Bytes> Covered = {Cert("second")};
    for (const DerValue &Field : DerChildren(DerFind(Good, {0, 1, 0, 4, 0}).Content)) {
      if (Field.Tag == 0xA0 || Field.Tag == 0x04) {
        Covered.push_back(Field.Encode());
      }
    }
    ASSERT_EQ(Covered.size(), std::string(Name) == "noattr" ? 2U : 3U);
    std::vector<bool> Signed(Good.size());
    for (const Bytes &Part : Covered) {
      const auto Begin = std::search(Good.begin(), Good.end(), Part.begin(), Part.end());
      ASSERT_NE(Begin, Good.end());
      std::fill_n(Signed.begin() + (Begin - Good.begin()), Part.size(), true);
    }
    for (UINTN Place = 0; Place < Good.size(); Place += StrideOfBuild(7)) {
      Bytes Changed = Good;
      Changed[Place] ^= static_cast<UINT8>(1 << Place % 8);
      const bool Accepted = Verify(Changed, Root, Content);
      Signers(Changed);
      EXPECT_FALSE(Accepted && Signed[Place]) << Name << ", byte " << Place;
    }
  }
}

TEST_F(Pkcs7Test, WhatIsReleasedWhenMemoryRunsOut) {
  const Bytes Signed = Message("two");
  UINT8 Mark = 0;
  SIGNER_CERT_LIST *List = nullptr;
  UINT8 *First = nullptr;
  UINTN ListSize = 0;
  UINTN FirstSize = 0;
  UINTN CopyFailures = 0;
  SweepScenario Scenario;
  Scenario.Name = "SvcPkcs7GetSigners";
  Scenario.Call = [&] {
    List = First = &Mark;
    ListSize = FirstSize = mUnchanged;
    return Svc().SvcPkcs7GetSigners(Signed.data(), Signed.size(), &List, &ListSize, &First, &FirstSize);
  };
  Scenario.Success = TRUE;
  Scenario.Stride = StrideOfBuild(17);
  Scenario.Failures = {FALSE};
  Scenario.AfterSuccess = [&] {
    // A certificate that could not be encoded ends the list early.
    EXPECT_TRUE(List[0] == 1 || List[0] == 2);
    Svc().SvcPkcs7FreeSigners(List);
    Svc().SvcPkcs7FreeSigners(First);
  };
  Scenario.AfterFailure = [&] {
    EXPECT_TRUE(List == nullptr || List == &Mark);
    EXPECT_EQ(ListSize, mUnchanged);
    if (First == nullptr) {
      CopyFailures++;
      EXPECT_EQ(List, nullptr);
      EXPECT_NE(FirstSize, mUnchanged);
    } else {
      EXPECT_EQ(First, &Mark);
      EXPECT_EQ(FirstSize, mUnchanged);
    }
  };
  EXPECT_GT(SweepAllocations(Session(), Scenario), 10U);
  EXPECT_TRUE(CopyFailures >= 1 || !TestsImage());
}

TEST_F(Pkcs7Test, NoFailedAllocationMakesAForgeryPass) {
  const Bytes Root = Cert("root");
  const Bytes Content = Pattern(100);
  Messages().Write("small.bin", Content);
  Messages().Run(
      "openssl smime -sign -binary -in small.bin -outform DER -out small.p7 -md sha256 -certfile inter.pem "
      "-signer leaf.pem -inkey leaf.key");
  const Bytes Good = Message("small");
  Bytes Other = Content;
  Other[50] ^= 1;
  const struct {
    const char *What;
    Bytes Trusted;
    const Bytes &Data;
  } Rows[] = {{"of other data", Root, Other}, {"for another root", Cert("other"), Content}};
  for (const auto &Row : Rows) {
    SweepScenario Refused{.Name = std::string("SvcPkcs7Verify ") + Row.What,
                          .Call = [&] { return Verify(Good, Row.Trusted, Row.Data); },
                          .Success = FALSE,
                          .Stride = StrideOfBuild(17)};
    EXPECT_GT(SweepAllocations(Session(), Refused), 10U);
  }
}

} // namespace

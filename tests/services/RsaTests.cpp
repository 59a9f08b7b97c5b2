// RSA key objects and PKCS#1 signatures through slots 22 to 26 and 31.
#include <gtest/gtest.h>

#include <ctime>
#include <random>

#include "tests/services/RsaTestKey.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/support/Sweep.h"

namespace {

constexpr RSA_KEY_TAG mAllTags[] = {RsaKeyN, RsaKeyE,  RsaKeyD,  RsaKeyP,
                                    RsaKeyQ, RsaKeyDp, RsaKeyDq, RsaKeyQInv};
constexpr UINTN mTooLong = 0x80000000;
constexpr UINTN mUnchanged = 7777;

// Of two numbers of the same length, with a byte more when it needs one.
Bytes Sum(Bytes Number, const Bytes &Other) {
  UINT32 Carry = 0;
  for (UINTN Index = Number.size(); Index-- != 0;) {
    Carry += Number[Index] + Other[Index];
    Number[Index] = static_cast<UINT8>(Carry);
    Carry >>= 8;
  }
  if (Carry != 0) {
    Number.insert(Number.begin(), static_cast<UINT8>(Carry));
  }
  return Number;
}

class RsaTest : public DriverTest {
protected:
  RsaTest() { LibraryKeepsBlocks = true; }
  void SetUp() override { Context = Svc().SvcRsaNew(); }
  void TearDown() override {
    Svc().SvcRsaFree(Context);
    DriverTest::TearDown();
  }

  BOOLEAN Set(RSA_KEY_TAG Tag, const Bytes &Value) {
    return Svc().SvcRsaSetKey(Context, Tag, Value.data(), Value.size());
  }
  BOOLEAN Clear(RSA_KEY_TAG Tag) { return Svc().SvcRsaSetKey(Context, Tag, nullptr, 0); }
  void SetAll(const RsaTestKey &Key, std::initializer_list<RSA_KEY_TAG> Tags) {
    SetComponents(Svc(), Context, Key, Tags);
  }

  // What slot 23 gives out; absent and zero are both empty.
  Bytes Get(RSA_KEY_TAG Tag) {
    UINTN Size = 4096;
    GuardedBuffer Buffer(Size);
    EXPECT_TRUE(Svc().SvcRsaGetKey(Context, Tag, Buffer.Get(), &Size));
    EXPECT_TRUE(Buffer.OnlyWritten(Size));
    Bytes Value = Buffer.Content();
    Value.resize(Size);
    return Value;
  }

  // The signature, or nothing when slot 25 refuses, having written nothing then.
  Bytes Sign(const Bytes &Digest, UINTN BufferSize = 4096) {
    GuardedBuffer Signature(BufferSize);
    UINTN Size = BufferSize;
    if (!Svc().SvcRsaPkcs1Sign(Context, Digest.data(), Digest.size(), Signature.Get(), &Size)) {
      EXPECT_TRUE(Signature.Untouched());
      EXPECT_EQ(Size, BufferSize);
      return {};
    }
    EXPECT_TRUE(Signature.OnlyWritten(Size));
    Bytes Result = Signature.Content();
    Result.resize(Size);
    return Result;
  }
  BOOLEAN Verify(const Bytes &Digest, const Bytes &Signature) {
    return Svc().SvcRsaPkcs1Verify(Context, Digest.data(), Digest.size(), Signature.data(), Signature.size());
  }

  VOID *Context = nullptr;
  const RsaTestKey &Small = RsaTestKey::Load("rsa512-private");
  const RsaTestKey &Medium = RsaTestKey::Load("rsa1024-private");
  const RsaTestKey &Large = RsaTestKey::Load("type1-private");
};

TEST_F(RsaTest, ComponentsAreStoredReadAndClearedOneByOne) {
  for (RSA_KEY_TAG Tag : mAllTags) {
    EXPECT_EQ(Get(Tag), Bytes());
    ASSERT_TRUE(Set(Tag, {0, 0, 1, 2, 3}));
    EXPECT_EQ(Get(Tag), (Bytes{1, 2, 3})) << "leading zeros do not count";
    ASSERT_TRUE(Set(Tag, Large.Components[Tag]));
    EXPECT_EQ(Get(Tag), Large.Components[Tag]);
  }
  for (RSA_KEY_TAG Tag : mAllTags) {
    ASSERT_TRUE(Clear(Tag));
    EXPECT_EQ(Get(Tag), Bytes());
    EXPECT_TRUE(Clear(Tag)) << "clearing twice is no fault";
  }
}

TEST_F(RsaTest, RefusedSettingsChangeNothing) {
  ASSERT_TRUE(Set(RsaKeyN, {5}));
  const UINT8 Byte = 9;
  EXPECT_FALSE(Svc().SvcRsaSetKey(nullptr, RsaKeyN, &Byte, 1));
  EXPECT_FALSE(Svc().SvcRsaSetKey(Context, RsaKeyN, &Byte, mTooLong));
  EXPECT_FALSE(Svc().SvcRsaSetKey(Context, RsaKeyN, nullptr, mTooLong))
      << "the length is refused even to clear";
  for (RSA_KEY_TAG Tag : {RSA_KEY_TAG{8}, RSA_KEY_TAG{0xFFFFFFFF}}) {
    EXPECT_FALSE(Svc().SvcRsaSetKey(Context, Tag, &Byte, 1));
    EXPECT_FALSE(Svc().SvcRsaSetKey(Context, Tag, nullptr, 0));
  }
  EXPECT_EQ(Get(RsaKeyN), Bytes{5});
}

TEST_F(RsaTest, ReadingAnswersByItsSizeProtocol) {
  ASSERT_TRUE(Svc().SvcRsaSetKey(Context, RsaKeyE, Small.N().data(), 0)) << "a value of no bytes is zero";
  ASSERT_TRUE(Set(RsaKeyN, Large.N()));
  struct Row {
    RSA_KEY_TAG Tag;
    bool Buffer;
    UINTN Size;
    BOOLEAN Answer;
    UINTN SizeAfter;
  };
  const Row Rows[] = {
      {RsaKeyN, false, 0, FALSE, 256},   {RsaKeyN, false, 255, FALSE, 256}, {RsaKeyN, true, 255, FALSE, 256},
      {RsaKeyN, false, 256, FALSE, 256}, {RsaKeyN, false, 300, FALSE, 300}, {RsaKeyN, true, 256, TRUE, 256},
      {RsaKeyN, true, 300, TRUE, 256},   {RsaKeyE, true, 40, TRUE, 0},      {RsaKeyE, false, 40, FALSE, 40},
      {RsaKeyE, false, 0, FALSE, 0},     {RsaKeyD, true, 40, TRUE, 0},      {RsaKeyD, false, 40, TRUE, 0},
      {8, true, 40, FALSE, 0},           {8, false, 0, FALSE, 0},
  };
  for (const Row &Case : Rows) {
    GuardedBuffer Buffer(300);
    UINTN Size = Case.Size;
    EXPECT_EQ(Svc().SvcRsaGetKey(Context, Case.Tag, Case.Buffer ? Buffer.Get() : nullptr, &Size), Case.Answer)
        << Case.Tag << ", " << Case.Size;
    EXPECT_EQ(Size, Case.SizeAfter) << Case.Tag << ", " << Case.Size;
    EXPECT_TRUE(Buffer.OnlyWritten(Case.Answer ? Size : 0));
  }
  UINTN Size = mUnchanged;
  EXPECT_FALSE(Svc().SvcRsaGetKey(nullptr, RsaKeyN, nullptr, &Size));
  EXPECT_EQ(Size, mUnchanged);
  EXPECT_FALSE(Svc().SvcRsaGetKey(Context, RsaKeyN, nullptr, nullptr));
}

TEST_F(RsaTest, SigningAnswersInTheOrderOfItsTests) {
  const Bytes Digest = Pattern(64);
  UINTN Size = mUnchanged;
  GuardedBuffer Buffer(300);
  EXPECT_FALSE(Svc().SvcRsaPkcs1Sign(Context, Digest.data(), 32, Buffer.Get(), &Size)) << "no modulus";
  EXPECT_EQ(Size, mUnchanged);
  SetAll(Large, {RsaKeyN, RsaKeyE});
  struct Row {
    bool Buffer;
    UINTN DigestSize;
    UINTN Size;
    UINTN SizeAfter;
  };
  const Row Rows[] = {{false, 32, 0, 256},  {false, 48, 0, 256},   {true, 48, 255, 256},
                      {true, 20, 255, 256}, {false, 32, 256, 256}, {false, 32, 300, 300},
                      {true, 48, 300, 300}, {true, 0, 300, 300},   {true, 64, 300, 300},
                      {true, 32, 300, 300}};
  for (const Row &Case : Rows) {
    Size = Case.Size;
    EXPECT_FALSE(Svc().SvcRsaPkcs1Sign(Context, Digest.data(), Case.DigestSize,
                                       Case.Buffer ? Buffer.Get() : nullptr, &Size));
    EXPECT_EQ(Size, Case.SizeAfter) << Case.DigestSize << ", " << Case.Size;
  }
  SetAll(Large, {RsaKeyD});
  Size = 0;
  EXPECT_FALSE(Svc().SvcRsaPkcs1Sign(Context, nullptr, 32, nullptr, &Size));
  EXPECT_EQ(Size, 0U) << "without a digest it is no query";
  Size = 300;
  EXPECT_FALSE(Svc().SvcRsaPkcs1Sign(Context, Digest.data(), 32, nullptr, &Size));
  EXPECT_EQ(Size, 300U) << "room, but nowhere";
  Size = mUnchanged;
  EXPECT_FALSE(Svc().SvcRsaPkcs1Sign(nullptr, Digest.data(), 32, Buffer.Get(), &Size));
  EXPECT_FALSE(Svc().SvcRsaPkcs1Sign(Context, nullptr, 32, Buffer.Get(), &Size));
  EXPECT_FALSE(Svc().SvcRsaPkcs1Sign(Context, Digest.data(), 32, Buffer.Get(), nullptr));
  EXPECT_EQ(Size, mUnchanged);
  EXPECT_TRUE(Buffer.Untouched());
}

// Made by the openssl command: printf abc | openssl dgst -sha256 -sign tests/keys/rsa1024-private.pem
TEST_F(RsaTest, SignaturesAreThoseOfAnotherImplementation) {
  struct Row {
    UINTN DigestSize;
    const char *Digest;
    const char *Signature;
  };
  const Row Rows[] = {
      {16, "900150983cd24fb0d6963f7d28e17f72",
       "0363b6937c77747c6fbf5623ea81f11b4851d3f2aea52512b88c531d76f9e91558d5b385850eb3dd67124b0ee7be670650c3"
       "31d4b0ecd272120e28c2fc45e410271e43214aca931b1e1ed652c226a5e35d5b5ca2f23f857869e80afe2fce65fdcadca8ed"
       "4e00cedfd3af819ef5089c47a180d0145c3c6e0a3213b03b101962d5"},
      {20, "a9993e364706816aba3e25717850c26c9cd0d89d",
       "660bb9cc1273f5d587f44239d2714addee4fa33904719ccdbe12ecc79c6c0b36ba8894466b65945869be13abe807a24b9c46"
       "ce822c2862c61537b8e3dcadeb6b08d64db4cb7254ce6b0b4d55eedab619db84e9ec108271a9433ef20ef42d6aef47d80611"
       "73f9bf206d622ac53bfd749a2a5d7490182aae42f8d6b209496d3697"},
      {32, "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad",
       "9eba5a53dee573e95767e3e96f71f086156e90741c359bc3349b5a06c801503d6406b790c762fb5161e2555322be358bb3a5"
       "93508a1871ea1466cf8f68734da8668998e164bf92482175e4a544ed39822c0bc81fd5ff2cf5d900bf27f995df35ad5c52c7"
       "47e3fee311fc8dd7977e23f616c572f64d207d8194740fed98eaa5f6"},
  };
  for (const Row &Case : Rows) {
    EXPECT_EQ(SignDigest(Svc(), Medium, FromHex(Case.Digest)), FromHex(Case.Signature)) << Case.DigestSize;
    SetAll(Medium, {RsaKeyN, RsaKeyE});
    EXPECT_TRUE(Verify(FromHex(Case.Digest), FromHex(Case.Signature))) << Case.DigestSize;
  }
}

// The parts of a key that are enough, and those that are not.
TEST_F(RsaTest, SignsWithEveryCompleteSetOfComponents) {
  struct Row {
    std::initializer_list<RSA_KEY_TAG> Tags;
    bool Enough;
  };
  const Row Rows[] = {
      {{RsaKeyN, RsaKeyD}, true},
      {{RsaKeyN, RsaKeyE, RsaKeyD}, true},
      {{RsaKeyN, RsaKeyE, RsaKeyD, RsaKeyP}, true},
      {{RsaKeyN, RsaKeyE, RsaKeyD, RsaKeyP, RsaKeyQ, RsaKeyDp, RsaKeyDq, RsaKeyQInv}, true},
      {{RsaKeyN, RsaKeyD, RsaKeyP, RsaKeyQ, RsaKeyDp, RsaKeyDq, RsaKeyQInv}, true},
      {{RsaKeyN, RsaKeyE, RsaKeyP, RsaKeyQ, RsaKeyDp, RsaKeyDq, RsaKeyQInv}, true},
      {{RsaKeyN, RsaKeyE, RsaKeyP, RsaKeyQ}, true},
      {{RsaKeyN, RsaKeyD, RsaKeyDp, RsaKeyDq, RsaKeyQInv}, true},
      {{RsaKeyN, RsaKeyE}, false},
      {{RsaKeyN}, false},
      {{RsaKeyE, RsaKeyD}, false},
      {{RsaKeyN, RsaKeyE, RsaKeyP}, false},
      {{RsaKeyN, RsaKeyP, RsaKeyQ, RsaKeyDp, RsaKeyDq, RsaKeyQInv}, false},
      {{RsaKeyN, RsaKeyE, RsaKeyDp, RsaKeyDq, RsaKeyQInv}, false},
  };
  const Bytes Digest = Pattern(32);
  const Bytes Expected = SignDigest(Svc(), Medium, Digest);
  for (const Row &Case : Rows) {
    for (RSA_KEY_TAG Tag : mAllTags) {
      ASSERT_TRUE(Clear(Tag));
    }
    SetAll(Medium, Case.Tags);
    EXPECT_EQ(Sign(Digest), Case.Enough ? Expected : Bytes()) << "row " << &Case - Rows;
  }
  // The inverse plus p is one as well, but wider than p: the key then signs by n, e and d.
  SetAll(Medium, {RsaKeyN, RsaKeyE, RsaKeyD, RsaKeyP, RsaKeyQ, RsaKeyDp, RsaKeyDq});
  ASSERT_TRUE(Set(RsaKeyQInv, Sum(Medium.Components[RsaKeyQInv], Medium.Components[RsaKeyP])));
  EXPECT_EQ(Sign(Digest), Expected);
  ASSERT_TRUE(Set(RsaKeyQInv, Medium.N()));
  EXPECT_EQ(Sign(Digest), Expected) << "also an inverse of another number, when it is wider than p";
  Svc().SvcRsaFree(nullptr);
}

TEST_F(RsaTest, VerificationRefusesEverythingButTheSignature) {
  const Bytes Digest = Pattern(32);
  const Bytes Signature = SignDigest(Svc(), Small, Digest);
  SetAll(Small, {RsaKeyN, RsaKeyE});
  ASSERT_TRUE(Verify(Digest, Signature));
  for (UINTN Bit = 0; Bit < Signature.size() * 8; Bit += 3) {
    Bytes Changed = Signature;
    Changed[Bit / 8] = static_cast<UINT8>(Changed[Bit / 8] ^ 1 << Bit % 8);
    EXPECT_FALSE(Verify(Digest, Changed)) << "bit " << Bit;
  }
  for (UINTN Byte = 0; Byte < Digest.size(); Byte++) {
    Bytes Changed = Digest;
    Changed[Byte] ^= 0x40;
    EXPECT_FALSE(Verify(Changed, Signature)) << "digest byte " << Byte;
  }
  for (UINTN Size : {16, 20}) {
    EXPECT_FALSE(
        Verify(Bytes(Digest.begin(), Digest.begin() + static_cast<std::ptrdiff_t>(Size)), Signature));
  }
  Bytes Longer = Signature;
  Longer.insert(Longer.begin(), 0);
  EXPECT_FALSE(Verify(Digest, Longer));
  EXPECT_FALSE(Verify(Digest, Bytes(Signature.begin(), Signature.end() - 1)));
  // The same residue, one modulus higher.
  EXPECT_FALSE(Verify(Digest, Sum(Signature, Small.N())));

  const CRYPTO_SERVICES_PROTOCOL &Table = Svc();
  EXPECT_FALSE(Table.SvcRsaPkcs1Verify(nullptr, Digest.data(), 32, Signature.data(), Signature.size()));
  EXPECT_FALSE(Table.SvcRsaPkcs1Verify(Context, nullptr, 32, Signature.data(), Signature.size()));
  EXPECT_FALSE(Table.SvcRsaPkcs1Verify(Context, Digest.data(), 32, nullptr, Signature.size()));
  for (UINTN Size : {UINTN{0}, mTooLong, ~UINTN{0}, mTooLong * 2 + Signature.size()}) {
    EXPECT_FALSE(Table.SvcRsaPkcs1Verify(Context, Digest.data(), 32, Signature.data(), Size));
  }
  for (UINTN Size : {0, 19, 48, 64}) {
    const Bytes Other = Pattern(Size);
    EXPECT_FALSE(Table.SvcRsaPkcs1Verify(Context, Other.data(), Size, Signature.data(), Signature.size()));
  }
  ASSERT_TRUE(Clear(RsaKeyE));
  EXPECT_FALSE(Verify(Digest, Signature)) << "no exponent";
  SetAll(Small, {RsaKeyE});
  ASSERT_TRUE(Verify(Digest, Signature));
  ASSERT_TRUE(Clear(RsaKeyN));
  EXPECT_FALSE(Verify(Digest, Signature)) << "no modulus";
}

// Random sequences of settings and uses. A context whose components are all of one key behaves as that key,
// whatever it held before; one with parts of several refuses or answers something, and never more than that.
TEST_F(RsaTest, RandomSequencesBehaveAsTheModel) {
  const RsaTestKey *const Keys[] = {&Small, &Medium, &Large};
  const Bytes Digest = Pattern(20);
  Bytes Signatures[3];
  for (UINTN Key = 0; Key < 3; Key++) {
    Signatures[Key] = SignDigest(Svc(), *Keys[Key], Digest);
  }
  std::mt19937_64 Random(20);
  constexpr int Absent = -1;
  int Owner[8];
  std::fill(std::begin(Owner), std::end(Owner), Absent);
  UINTN Signed = 0;
  UINTN Verified = 0;
  for (UINTN Step = 0; Step < 1500; Step++) {
    const auto Tag = static_cast<RSA_KEY_TAG>(Random() % 8);
    const int Key = static_cast<int>(Random() % 3);
    switch (Random() % 8) {
    case 0:
      ASSERT_TRUE(Clear(Tag));
      Owner[Tag] = Absent;
      break;
    case 1:
      ASSERT_TRUE(Set(Tag, Keys[Key]->Components[Tag]));
      Owner[Tag] = Key;
      break;
    case 2: // a whole key, so that consistent ones are frequent
      for (RSA_KEY_TAG Each : mAllTags) {
        ASSERT_TRUE(Set(Each, Keys[Key]->Components[Each]));
        Owner[Each] = Key;
      }
      break;
    case 3:
      ASSERT_EQ(Get(Tag), Owner[Tag] == Absent ? Bytes() : Keys[Owner[Tag]]->Components[Tag]);
      break;
    case 4:
    case 5: {
      const bool OneKey = std::all_of(std::begin(Owner), std::end(Owner),
                                      [&](int Each) { return Each == Absent || Each == Owner[RsaKeyN]; });
      const bool Enough = Owner[RsaKeyD] != Absent ||
                          (Owner[RsaKeyE] != Absent && Owner[RsaKeyP] != Absent && Owner[RsaKeyQ] != Absent);
      const Bytes Signature = Sign(Digest);
      if (Owner[RsaKeyN] != Absent && OneKey) {
        ASSERT_EQ(Signature, Enough ? Signatures[Owner[RsaKeyN]] : Bytes()) << "step " << Step;
        Signed += Enough;
      } else if (Owner[RsaKeyN] == Absent || !Enough) {
        ASSERT_EQ(Signature, Bytes()) << "step " << Step;
      }
      break;
    }
    default:
      // The keys share their exponent.
      ASSERT_EQ(Verify(Digest, Signatures[Key]), Owner[RsaKeyN] == Key && Owner[RsaKeyE] != Absent)
          << "step " << Step;
      Verified += Owner[RsaKeyN] == Key && Owner[RsaKeyE] != Absent;
    }
  }
  EXPECT_GT(Signed, 50U);
  EXPECT_GT(Verified, 30U);
}

double ProcessorSeconds() {
  timespec Now;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &Now);
  return static_cast<double>(Now.tv_sec) + 1e-9 * static_cast<double>(Now.tv_nsec);
}

// Values that no key has, alone and in pairs, in an otherwise good key: an answer, and a prompt one.
TEST_F(RsaTest, HostileComponentsAreAnsweredPromptly) {
  const Bytes Digest = Pattern(20);
  const Bytes Wide = Pattern(512);
  const Bytes Huge = Pattern(3000);
  const Bytes Signature = SignDigest(Svc(), Medium, Digest);
  Bytes Even = Medium.N();
  Even.back() &= 0xFE;
  const std::vector<Bytes> Values = {{0},  {1}, {2}, {3}, Even, Medium.N(), Medium.Components[RsaKeyP],
                                     Wide, Huge};
  double Slowest = 0;
  for (RSA_KEY_TAG First : mAllTags) {
    for (RSA_KEY_TAG Second : mAllTags) {
      for (UINTN Pair = 0; Pair < Values.size() * Values.size(); Pair++) {
        if (First > Second || (First == Second && Pair >= Values.size())) {
          continue;
        }
        SetAll(Medium, {RsaKeyN, RsaKeyE, RsaKeyD, RsaKeyP, RsaKeyQ, RsaKeyDp, RsaKeyDq, RsaKeyQInv});
        ASSERT_TRUE(Set(First, Values[Pair % Values.size()]));
        if (First != Second) {
          ASSERT_TRUE(Set(Second, Values[Pair / Values.size()]));
        }
        const double Begin = ProcessorSeconds();
        GuardedBuffer Result(3000);
        UINTN Size = 3000;
        if (Svc().SvcRsaPkcs1Sign(Context, Digest.data(), Digest.size(), Result.Get(), &Size)) {
          EXPECT_TRUE(Result.OnlyWritten(Size));
        } else {
          EXPECT_TRUE(Result.Untouched());
          EXPECT_EQ(Size, 3000U);
        }
        const bool TrueKey = Get(RsaKeyN) == Medium.N() && Get(RsaKeyE) == Medium.Components[RsaKeyE];
        EXPECT_EQ(Verify(Digest, Signature), TrueKey) << First << " " << Second << " " << Pair;
        Slowest = std::max(Slowest, ProcessorSeconds() - Begin);
      }
    }
  }
  RecordProperty("slowest", std::to_string(Slowest));
  EXPECT_LT(Slowest, 0.5) << "seconds of processor time";
}

TEST_F(RsaTest, PrivateOperationsHaveABoundAndEndWithinIt) {
  const Bytes Digest = Pattern(32);
  // n = 3p, all else as wide: blinding, the CRT way, its check and the plain way are all gone through.
  Bytes Prime = Pattern(2048, 5);
  Prime.front() = 0x2A;
  Prime.back() |= 1;
  Bytes Modulus = Prime;
  UINT32 Carry = 0;
  for (UINTN Index = Modulus.size(); Index-- != 0;) {
    Carry += 3U * Prime[Index];
    Modulus[Index] = static_cast<UINT8>(Carry);
    Carry >>= 8;
  }
  for (RSA_KEY_TAG Tag : mAllTags) {
    ASSERT_TRUE(Set(Tag, Prime));
  }
  ASSERT_TRUE(Set(RsaKeyN, Modulus));
  ASSERT_TRUE(Set(RsaKeyQ, {3}));
  double Begin = ProcessorSeconds();
  Sign(Digest);
  RecordProperty("seconds", std::to_string(ProcessorSeconds() - Begin));
  EXPECT_LT(ProcessorSeconds() - Begin, 10.0);

  // A bit more than the modulus, in any component, and a bit more than the bound.
  Begin = ProcessorSeconds();
  for (RSA_KEY_TAG Tag : {RsaKeyE, RsaKeyD, RsaKeyP, RsaKeyQ, RsaKeyDp, RsaKeyDq, RsaKeyQInv}) {
    SetAll(Small, {RsaKeyN, RsaKeyE, RsaKeyD, RsaKeyP, RsaKeyQ, RsaKeyDp, RsaKeyDq, RsaKeyQInv});
    Bytes Wider(Small.Size() + 1);
    Wider.front() = 1;
    Wider.back() = 3;
    ASSERT_TRUE(Set(Tag, Wider));
    EXPECT_EQ(Sign(Digest), Bytes()) << "component " << Tag;
  }
  Modulus.insert(Modulus.begin(), 1);
  ASSERT_TRUE(Set(RsaKeyN, Modulus));
  for (RSA_KEY_TAG Tag : {RsaKeyP, RsaKeyQ, RsaKeyDp, RsaKeyDq, RsaKeyQInv}) {
    ASSERT_TRUE(Clear(Tag));
  }
  ASSERT_TRUE(Set(RsaKeyE, {1, 0, 1}));
  ASSERT_TRUE(Set(RsaKeyD, {3}));
  EXPECT_EQ(Sign(Digest), Bytes());
  EXPECT_FALSE(Verify(Digest, Modulus));
  EXPECT_LT(ProcessorSeconds() - Begin, 1.0);
}

// No block goes back to the pool with a stretch of a private component in it, in the byte order of the
// library's numbers.
TEST_F(RsaTest, PrivateComponentsAreWiped) {
  UINTN Released = 0;
  Memory().ObserveFree([&](const Pool::Block &Block) {
    const Bytes Content(Block.Address, Block.Address + Block.Size);
    Released++;
    for (RSA_KEY_TAG Tag : {RsaKeyD, RsaKeyP, RsaKeyQ, RsaKeyDp, RsaKeyDq, RsaKeyQInv}) {
      const Bytes Secret = Reversed(Medium.Components[Tag]);
      EXPECT_EQ(std::search(Content.begin(), Content.end(), Secret.begin() + 8, Secret.begin() + 24),
                Content.end())
          << "component " << Tag << " in a block of " << Block.Size;
    }
  });
  SetAll(Medium, {RsaKeyN, RsaKeyE, RsaKeyD, RsaKeyP, RsaKeyQ, RsaKeyDp, RsaKeyDq, RsaKeyQInv});
  EXPECT_NE(Sign(Pattern(32)), Bytes());
  ASSERT_TRUE(Clear(RsaKeyD));
  EXPECT_NE(Sign(Pattern(32)), Bytes());
  for (RSA_KEY_TAG Tag : mAllTags) {
    ASSERT_TRUE(Clear(Tag));
  }
  Memory().ObserveFree({});
  EXPECT_GT(Released, 50U);
}

TEST_F(RsaTest, SurvivesEveryAllocationFailure) {
  const Bytes Digest = Pattern(32);
  const Bytes Expected = SignDigest(Svc(), Medium, Digest);
  GrowHeapTable(Svc());
  SweepScenario Scenario;
  Scenario.Failures = {FALSE};

  VOID *Made = nullptr;
  Scenario.Name = "SvcRsaNew";
  Scenario.Success = TRUE;
  Scenario.Call = [&]() -> UINT64 {
    Made = Svc().SvcRsaNew();
    return Made != nullptr;
  };
  Scenario.AfterSuccess = [&] { Svc().SvcRsaFree(Made); };
  EXPECT_EQ(SweepAllocations(Session(), Scenario), 1U);

  // A value that was there before is gone after a failure too.
  ASSERT_TRUE(Set(RsaKeyN, {9}));
  Scenario.Name = "SvcRsaSetKey and SvcRsaGetKey";
  Scenario.Call = [&]() -> UINT64 { return Set(RsaKeyN, Medium.N()); };
  Scenario.AfterSuccess = [&] {
    EXPECT_EQ(Get(RsaKeyN), Medium.N());
    ASSERT_TRUE(Set(RsaKeyN, {9}));
  };
  Scenario.AfterFailure = [&] {
    EXPECT_EQ(Get(RsaKeyN), Bytes());
    ASSERT_TRUE(Set(RsaKeyN, {9}));
  };
  EXPECT_GE(SweepAllocations(Session(), Scenario), 2U);

  // Setting a component drops the library's key, so that each call builds it anew.
  Scenario.AfterFailure = [] {};
  Scenario.AfterSuccess = [&] { SetAll(Medium, {RsaKeyN}); };
  const std::initializer_list<RSA_KEY_TAG> Sets[] = {
      {RsaKeyN, RsaKeyD},
      {RsaKeyN, RsaKeyE, RsaKeyD},
      {RsaKeyN, RsaKeyE, RsaKeyD, RsaKeyP, RsaKeyQ, RsaKeyDp, RsaKeyDq, RsaKeyQInv},
      {RsaKeyN, RsaKeyE, RsaKeyP, RsaKeyQ}};
  for (std::initializer_list<RSA_KEY_TAG> Tags : Sets) {
    for (RSA_KEY_TAG Tag : mAllTags) {
      ASSERT_TRUE(Clear(Tag));
    }
    SetAll(Medium, Tags);
    Scenario.Name = "SvcRsaPkcs1Sign with " + std::to_string(Tags.size()) + " components";
    Scenario.Call = [&]() -> UINT64 {
      const Bytes Signature = Sign(Digest);
      EXPECT_TRUE(Signature.empty() || Signature == Expected);
      return !Signature.empty();
    };
    Scenario.AfterFailure = Scenario.AfterSuccess;
    SweepAllocations(Session(), Scenario);
  }
  SetAll(Medium, {RsaKeyN, RsaKeyE});
  Scenario.Name = "SvcRsaPkcs1Verify";
  Scenario.Call = [&]() -> UINT64 { return Verify(Digest, Expected); };
  SweepAllocations(Session(), Scenario);
}

} // namespace

// RSA key objects and PKCS#1 signatures through slots 22 to 26 and 31.
#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
#include <random>

#include "tests/services/RsaTestKey.h"
#include "tests/support/GuardedBuffer.h"

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

  Bytes Get(RSA_KEY_TAG Tag) { return Component(Svc(), Context, Tag); }

  // The signature, or nothing when slot 25 refuses, having written nothing then.
  Bytes Sign(const Bytes &Digest, UINTN BufferSize = 4096) {
    GuardedBuffer Signature(BufferSize);
    UINTN Size = BufferSize;
    if (!Svc().SvcRsaPkcs1Sign(Context, Digest.data(), Digest.size(), Signature.Get(), &Size)) {
      EXPECT_TRUE(Signature.Untouched());
      EXPECT_EQ(Size, BufferSize);
      return {};
    }
    return Signature.Taken(Size);
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

TEST_F(RsaTest, ASettingThatFailsDropsTheOldValue) {
  for (UINTN Number : {1, 2}) {
    ASSERT_TRUE(Set(RsaKeyN, {9}));
    Memory().FailAt(Number);
    EXPECT_FALSE(Set(RsaKeyN, Medium.N()));
    EXPECT_EQ(Get(RsaKeyN), Bytes());
  }
}

} // namespace

// Diffie-Hellman through slots 41 to 45.
#include <gtest/gtest.h>

#include "tests/support/GuardedBuffer.h"

namespace {

constexpr UINTN mTooLong = 0x80000000;
constexpr UINTN mUnchanged = 7777;

// RFC 2409, section 6.1: 768 bits.
const Bytes mGroup1 =
    FromHex("FFFFFFFFFFFFFFFFC90FDAA22168C234C4C6628B80DC1CD129024E088A67CC74020BBEA63B139B22514A"
            "08798E3404DDEF9519B3CD3A431B302B0A6DF25F14374FE1356D6D51C245E485B576625E7EC6F44C42E9"
            "A63A3620FFFFFFFFFFFFFFFF");

Bytes Minus(Bytes Number, UINT8 Small) {
  Number.back() = static_cast<UINT8>(Number.back() - Small);
  return Number;
}

class DhTest : public DriverTest {
protected:
  DhTest() { LibraryKeepsBlocks = true; }
  void SetUp() override {
    Svc().SvcRandomSeed(Pattern(32).data(), 32);
    Own = Svc().SvcDhNew();
    Peer = Svc().SvcDhNew();
  }
  void TearDown() override {
    Svc().SvcDhFree(Own);
    Svc().SvcDhFree(Peer);
    DriverTest::TearDown();
  }

  BOOLEAN SetParameters(VOID *Context, const Bytes &Prime, UINTN Generator = 2) {
    return Svc().SvcDhGenerateParameter(Context, Generator, Prime.size() * 8, Prime.data());
  }

  // What slot 43 gives; nothing, and nothing written, when it refuses.
  Bytes PublicValue(VOID *Context, UINTN BufferSize = 2000) {
    GuardedBuffer Value(BufferSize);
    UINTN Size = BufferSize;
    if (!Svc().SvcDhGenerateKey(Context, Value.Get(), &Size)) {
      EXPECT_TRUE(Value.Untouched());
      EXPECT_EQ(Size, BufferSize);
      return {};
    }
    return Value.Taken(Size);
  }

  // The same of slot 44.
  Bytes Secret(VOID *Context, const Bytes &PeerValue, UINTN BufferSize = 2000) {
    GuardedBuffer Value(BufferSize);
    UINTN Size = BufferSize;
    const UINT8 Nothing = 0;
    if (!Svc().SvcDhComputeKey(Context, PeerValue.empty() ? &Nothing : PeerValue.data(), PeerValue.size(),
                               Value.Get(), &Size)) {
      EXPECT_TRUE(Value.Untouched());
      EXPECT_EQ(Size, BufferSize);
      return {};
    }
    return Value.Taken(Size);
  }

  VOID *Own = nullptr;
  VOID *Peer = nullptr;
};

TEST_F(DhTest, TwoPartiesAgreeOverPrimesOfAnySize) {
  const struct {
    Bytes Prime;
    UINTN Generator;
  } Rows[] = {
      {{23}, 5}, {{0xFB}, 2}, {{0x01, 0x01}, 5}, {FromHex("00 00 FFF1"), 2}, {mGroup1, 2}, {mGroup1, 5},
  };
  for (const auto &Row : Rows) {
    Bytes Ours;
    Bytes Theirs;
    // With a small prime a public value may be 1 or p - 1, and is then refused.
    for (int Try = 0; Try < 100 && (Ours.empty() || Theirs.empty()); Try++) {
      ASSERT_TRUE(SetParameters(Own, Row.Prime, Row.Generator));
      ASSERT_TRUE(SetParameters(Peer, Row.Prime, Row.Generator));
      const Bytes OurValue = PublicValue(Own);
      Ours = Secret(Own, PublicValue(Peer));
      Theirs = Secret(Peer, OurValue);
    }
    ASSERT_FALSE(Ours.empty()) << Row.Prime.size() << " bytes";
    EXPECT_EQ(Ours, Theirs);
    EXPECT_NE(Ours[0], 0) << "no leading zeros";
  }
}

TEST_F(DhTest, RefusedParametersChangeNothing) {
  ASSERT_TRUE(SetParameters(Own, mGroup1));
  const Bytes Before = PublicValue(Own);
  const UINT8 *Prime = mGroup1.data();
  EXPECT_FALSE(Svc().SvcDhGenerateParameter(nullptr, 2, 768, Prime));
  EXPECT_FALSE(Svc().SvcDhGenerateParameter(Own, 2, 768, nullptr));
  EXPECT_FALSE(Svc().SvcDhGenerateParameter(Own, 2, mTooLong, Prime));
  EXPECT_FALSE(Svc().SvcDhGenerateParameter(Own, 2, ~UINTN{0}, Prime));
  for (UINTN Generator : {UINTN{0}, UINTN{1}, UINTN{3}, UINTN{4}, UINTN{6}, (UINTN{1} << 32) + 2}) {
    EXPECT_FALSE(Svc().SvcDhGenerateParameter(Own, Generator, 768, Prime)) << Generator;
  }
  EXPECT_EQ(PublicValue(Own), Before);
}

TEST_F(DhTest, ThePrimeIsReadInWholeBytes) {
  // 775 bits are 96 bytes; a 97th would be read beyond the buffer's end.
  ASSERT_TRUE(Svc().SvcDhGenerateParameter(Own, 2, 775, Bytes(mGroup1).data()));
  ASSERT_TRUE(SetParameters(Peer, mGroup1));
  const Bytes OurValue = PublicValue(Own);
  EXPECT_EQ(Secret(Own, PublicValue(Peer)), Secret(Peer, OurValue));
  ASSERT_TRUE(Svc().SvcDhGenerateParameter(Own, 2, 767, Bytes(mGroup1.begin(), mGroup1.end() - 1).data()));
  EXPECT_EQ(PublicValue(Own, 95).size(), 95U) << "767 bits are 95 bytes";
}

TEST_F(DhTest, PrimesThatCannotServeMakeNoKey) {
  const struct {
    const char *What;
    Bytes Prime;
  } Rows[] = {
      {"no bytes", {}},
      {"zero", {0, 0}},
      {"one", {1}},
      {"even", Minus(mGroup1, 1)},
      {"10,008 bits", Bytes(1251, 0xFF)},
  };
  for (const auto &Row : Rows) {
    const UINT8 Nothing = 0;
    EXPECT_TRUE(Svc().SvcDhGenerateParameter(Own, 2, Row.Prime.size() * 8,
                                             Row.Prime.empty() ? &Nothing : Row.Prime.data()))
        << Row.What;
    EXPECT_EQ(PublicValue(Own), Bytes()) << Row.What;
    EXPECT_EQ(Secret(Own, {2}), Bytes()) << Row.What;
  }
}

TEST_F(DhTest, TheKeyPairIsKeptUntilTheParametersChange) {
  ASSERT_TRUE(SetParameters(Own, mGroup1));
  UINTN Size = 0;
  EXPECT_FALSE(Svc().SvcDhGenerateKey(Own, nullptr, &Size));
  EXPECT_GT(Size, 90U);
  EXPECT_LE(Size, mGroup1.size());
  const Bytes First = PublicValue(Own, Size);
  EXPECT_EQ(First.size(), Size);
  EXPECT_EQ(PublicValue(Own), First);

  GuardedBuffer Short(Size - 1);
  UINTN ShortSize = Size - 1;
  EXPECT_FALSE(Svc().SvcDhGenerateKey(Own, Short.Get(), &ShortSize));
  EXPECT_EQ(ShortSize, Size);
  EXPECT_TRUE(Short.Untouched());

  ASSERT_TRUE(SetParameters(Own, mGroup1));
  EXPECT_EQ(Secret(Own, First), Bytes()) << "the old key pair is gone";
  EXPECT_NE(PublicValue(Own), First);
}

TEST_F(DhTest, RefusedKeyCallsTouchNothing) {
  UINTN Size = mUnchanged;
  UINT8 Byte = 0x5A;
  EXPECT_EQ(PublicValue(Own), Bytes()) << "no parameters";
  EXPECT_EQ(Secret(Own, {2}), Bytes()) << "no parameters";
  ASSERT_TRUE(SetParameters(Own, mGroup1));
  EXPECT_EQ(Secret(Own, {2}), Bytes()) << "no key pair";
  EXPECT_FALSE(Svc().SvcDhGenerateKey(nullptr, &Byte, &Size));
  EXPECT_FALSE(Svc().SvcDhGenerateKey(Own, &Byte, nullptr));
  Size = 10;
  EXPECT_FALSE(Svc().SvcDhGenerateKey(Own, nullptr, &Size));
  EXPECT_EQ(Size, 10U);
  EXPECT_EQ(Secret(Own, {2}), Bytes()) << "the call before made no key";
  Bytes Value = PublicValue(Own);
  Size = mUnchanged;
  EXPECT_FALSE(Svc().SvcDhComputeKey(nullptr, Value.data(), Value.size(), &Byte, &Size));
  EXPECT_FALSE(Svc().SvcDhComputeKey(Own, nullptr, Value.size(), &Byte, &Size));
  EXPECT_FALSE(Svc().SvcDhComputeKey(Own, Value.data(), Value.size(), nullptr, &Size));
  EXPECT_FALSE(Svc().SvcDhComputeKey(Own, Value.data(), Value.size(), &Byte, nullptr));
  EXPECT_FALSE(Svc().SvcDhComputeKey(Own, Value.data(), mTooLong, &Byte, &Size));
  EXPECT_EQ(Size, mUnchanged);
  EXPECT_EQ(Byte, 0x5A);
  Svc().SvcDhFree(nullptr);
}

TEST_F(DhTest, PeersOutsideTheRangeAreRefused) {
  ASSERT_TRUE(SetParameters(Own, mGroup1));
  ASSERT_FALSE(PublicValue(Own).empty());
  const Bytes P = mGroup1;
  Bytes Above = P;
  Above.insert(Above.begin(), 1);
  const struct {
    const char *What;
    Bytes Value;
    bool Accepted;
  } Rows[] = {
      {"no bytes", {}, false},
      {"0", {0}, false},
      {"1", {1}, false},
      {"2", {2}, true},
      {"2 behind zeros", {0, 0, 2}, true},
      {"p - 2", Minus(P, 2), true},
      {"p - 1", Minus(P, 1), false},
      {"p", P, false},
      {"far above p", Above, false},
      {"64 KiB", Bytes(65536, 0xFF), false},
  };
  for (const auto &Row : Rows) {
    EXPECT_EQ(!Secret(Own, Row.Value).empty(), Row.Accepted) << Row.What;
  }
}

TEST_F(DhTest, ASecretNeverGoesBeyondTheBuffer) {
  ASSERT_TRUE(SetParameters(Own, mGroup1));
  ASSERT_TRUE(SetParameters(Peer, mGroup1));
  const Bytes Value = PublicValue(Peer);
  PublicValue(Own);
  const UINTN Length = Secret(Own, Value).size();
  for (UINTN Room : {UINTN{0}, UINTN{1}, Length - 1}) {
    GuardedBuffer Short(Room);
    UINTN Size = Room;
    EXPECT_FALSE(Svc().SvcDhComputeKey(Own, Value.data(), Value.size(), Short.Get(), &Size));
    EXPECT_EQ(Size, Length);
    EXPECT_TRUE(Short.Untouched());
  }
  EXPECT_EQ(Secret(Own, Value, Length).size(), Length);
}

TEST_F(DhTest, KeysWaitForTheRandomGenerator) {
  for (VOID *Context : {Own, Peer}) {
    Svc().SvcDhFree(Context);
  }
  Own = Peer = nullptr;
  Options.Prepare = [](DriverSession &Starting) {
    Starting.Processor().SetFeature(ProcessorScript::Feature::Rdrand, false);
    Starting.Processor().SetFeature(ProcessorScript::Feature::Rdseed, false);
  };
  Reboot();
  Own = Svc().SvcDhNew();
  ASSERT_TRUE(SetParameters(Own, mGroup1));
  EXPECT_EQ(PublicValue(Own), Bytes());
  EXPECT_TRUE(Svc().SvcRandomSeed(Pattern(32).data(), 32));
  EXPECT_FALSE(PublicValue(Own).empty());
}

TEST_F(DhTest, ParametersThatFailDropTheOldOnes) {
  for (UINTN Number : {1, 2, 3, 4}) {
    ASSERT_TRUE(SetParameters(Own, mGroup1));
    Memory().FailAt(Number);
    EXPECT_FALSE(SetParameters(Own, mGroup1, 5)) << "allocation " << Number;
    EXPECT_EQ(PublicValue(Own), Bytes()) << "allocation " << Number;
  }
}

} // namespace

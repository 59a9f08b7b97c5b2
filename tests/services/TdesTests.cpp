// Triple DES through slots 18 to 21: key layout, weak keys, sizes and refusals. More known answers:
// tests/vectors.
#include <gtest/gtest.h>

#include "tests/services/CipherSupport.h"
#include "tests/support/DriverTest.h"
#include "tests/support/GuardedBuffer.h"

namespace {

constexpr UINTN mContextSize = 384;

class TdesTest : public CipherTest {
protected:
  Bytes MakeContext(const Bytes &Key) {
    GuardedBuffer Context(mContextSize, 8);
    EXPECT_TRUE(Svc().SvcTdesInit(Context.Get(), Key.data(), Key.size() * 8));
    EXPECT_TRUE(Context.OnlyWritten(mContextSize));
    return Context.Content();
  }

  Bytes Cbc(bool Encrypt, Bytes &Context, const Bytes &Vector, const Bytes &Input, UINTN Misalignment = 0) {
    GuardedBuffer Output(Input.size(), Misalignment);
    Bytes Kept = Vector;
    auto Service = Encrypt ? Svc().SvcTdesCbcEncrypt : Svc().SvcTdesCbcDecrypt;
    EXPECT_TRUE(Service(Context.data(), DataOf(Input), Input.size(), Kept.data(), Output.Get()));
    EXPECT_EQ(Kept, Vector);
    EXPECT_TRUE(Output.OnlyWritten(Input.size()));
    return Output.Content();
  }
};

Bytes Join(const Bytes &First, const Bytes &Second) {
  Bytes Result = First;
  Result.insert(Result.end(), Second.begin(), Second.end());
  return Result;
}

TEST_F(TdesTest, ShorterKeysRepeatTheirParts) {
  const Bytes First = Pattern(8, 1);
  const Bytes Second = Pattern(8, 2);
  EXPECT_EQ(MakeContext(First), MakeContext(Join(First, First)));
  EXPECT_EQ(MakeContext(First), MakeContext(Join(First, Join(First, First))));
  EXPECT_EQ(MakeContext(Join(First, Second)), MakeContext(Join(First, Join(Second, First))));
  EXPECT_NE(MakeContext(Join(First, Second)), MakeContext(Join(First, Join(Second, Second))));
}

TEST_F(TdesTest, EverySizeInPlaceAndApart) {
  // NIST CAVP, TCBCMMT3.
  Bytes Known = MakeContext(FromHex("1a5d4c0825072a15a8ad9dfdaeda8c048adffb85bc4fced0"));
  EXPECT_EQ(Cbc(true, Known, FromHex("7fcfa736f7548b6f"), FromHex("983c3edacd939406010e1bc6ff9e1232")),
            FromHex("d84fa24f38cf451ca2c9adc960120bd8"));
  OnEachProcessor([&] {
    const Bytes Message = Pattern(304);
    const Bytes Vector = Pattern(8, 2);
    const UINTN Allocations = Memory().Calls();
    EXPECT_EQ(Svc().SvcTdesGetContextSize(), mContextSize);
    for (UINTN KeySize : {8, 16, 24}) {
      Bytes Context = MakeContext(Pattern(KeySize, KeySize));
      const Bytes Before = Context;
      Bytes Chained;
      Bytes Last = Vector;
      for (UINTN Offset = 0; Offset < Message.size(); Offset += 8) {
        Last = Cbc(
            true, Context, Last,
            {Message.begin() + static_cast<long>(Offset), Message.begin() + static_cast<long>(Offset) + 8});
        Chained = Join(Chained, Last);
      }
      for (UINTN Size = 0; Size <= Message.size(); Size += 8) {
        const Bytes Plain(Message.begin(), Message.begin() + static_cast<long>(Size));
        const Bytes Expected(Chained.begin(), Chained.begin() + static_cast<long>(Size));
        ASSERT_EQ(Cbc(true, Context, Vector, Plain, Size / 8 % 8), Expected) << Size;
        ASSERT_EQ(Cbc(false, Context, Vector, Expected, Size / 8 % 8), Plain) << Size;
        GuardedBuffer InPlace(Size);
        std::copy(Plain.begin(), Plain.end(), InPlace.Get());
        ASSERT_TRUE(
            Svc().SvcTdesCbcEncrypt(Context.data(), InPlace.Get(), Size, Vector.data(), InPlace.Get()));
        ASSERT_EQ(InPlace.Content(), Expected) << Size;
        ASSERT_TRUE(
            Svc().SvcTdesCbcDecrypt(Context.data(), InPlace.Get(), Size, Vector.data(), InPlace.Get()));
        ASSERT_EQ(InPlace.Content(), Plain) << Size;
      }
      EXPECT_EQ(Context, Before) << "the services only read the context";
    }
    EXPECT_EQ(Memory().Calls(), Allocations) << "nothing is allocated";
  });
}

// SP 800-67, section 3.4: four weak and twelve semi-weak keys, with odd parity.
TEST_F(TdesTest, WeakKeysAreRefusedInEveryPart) {
  OnEachProcessor([&] {
    const char *const Weak[] = {
        "0101010101010101", "fefefefefefefefe", "1f1f1f1f0e0e0e0e", "e0e0e0e0f1f1f1f1",
        "01fe01fe01fe01fe", "fe01fe01fe01fe01", "1fe01fe00ef10ef1", "e01fe01ff10ef10e",
        "01e001e001f101f1", "e001e001f101f101", "1ffe1ffe0efe0efe", "fe1ffe1ffe0efe0e",
        "011f011f010e010e", "1f011f010e010e01", "e0fee0fef1fef1fe", "fee0fee0fef1fef1",
    };
    const Bytes Good = FromHex("0123456789abcdef");
    const Bytes Schedules = MakeContext(Good);
    Bytes Context(mContextSize);
    for (const char *Text : Weak) {
      const Bytes Key = FromHex(Text);
      Bytes OtherParity = Key;
      OtherParity[7] ^= 1;
      for (UINTN Parts = 1; Parts <= 3; Parts++) {
        for (UINTN Position = 0; Position < Parts; Position++) {
          Bytes Whole;
          Bytes Allowed;
          for (UINTN Part = 0; Part < Parts; Part++) {
            Whole = Join(Whole, Part == Position ? Key : Good);
            Allowed = Join(Allowed, Part == Position ? OtherParity : Good);
          }
          EXPECT_FALSE(Svc().SvcTdesInit(Context.data(), Whole.data(), Parts * 64))
              << Text << " as part " << Position;
          EXPECT_TRUE(Svc().SvcTdesInit(Context.data(), Allowed.data(), Parts * 64))
              << Text << " as part " << Position;
        }
      }
      for (UINTN Done : {1, 2}) {
        GuardedBuffer Partial(mContextSize);
        EXPECT_FALSE(Svc().SvcTdesInit(Partial.Get(), Join(Join(Good, Done == 2 ? Good : Key), Key).data(),
                                       64 + Done * 64));
        EXPECT_TRUE(std::equal(Partial.Get(), Partial.Get() + Done * 128, Schedules.begin()))
            << "the parts before stay";
        EXPECT_TRUE(Partial.OnlyWritten(Done * 128));
      }
      // Behind the parts in use, a weak key is not looked at.
      EXPECT_TRUE(Svc().SvcTdesInit(Context.data(), Join(Good, Key).data(), 64));
    }
  });
}

TEST_F(TdesTest, RefusalsWriteNothing) {
  OnEachProcessor([&] {
    const Bytes Key = Pattern(24);
    GuardedBuffer Unset(mContextSize);
    EXPECT_FALSE(Svc().SvcTdesInit(nullptr, Key.data(), 64));
    EXPECT_FALSE(Svc().SvcTdesInit(Unset.Get(), nullptr, 64));
    for (UINTN KeyLength : {UINTN{0}, UINTN{8}, UINTN{56}, UINTN{112}, UINTN{256}, UINTN{0x100000040}}) {
      EXPECT_FALSE(Svc().SvcTdesInit(Unset.Get(), Key.data(), KeyLength)) << KeyLength;
    }
    EXPECT_TRUE(Unset.Untouched());

    Bytes Context = MakeContext(Key);
    struct Row {
      bool Context, Input, Vector, Output;
      UINTN Size;
    };
    const Row Rows[] = {
        {false, true, true, true, 8},         {true, false, true, true, 8},
        {true, true, false, true, 8},         {true, true, true, false, 8},
        {true, true, true, true, 7},          {true, true, true, true, 9},
        {true, true, true, true, 0x80000000}, {true, true, true, true, 4},
        {true, true, true, true, ~UINTN{7}},
    };
    for (const Row &Case : Rows) {
      GuardedBuffer Output(32);
      for (bool Encrypt : {true, false}) {
        auto Service = Encrypt ? Svc().SvcTdesCbcEncrypt : Svc().SvcTdesCbcDecrypt;
        EXPECT_FALSE(Service(Case.Context ? Context.data() : nullptr, Case.Input ? Key.data() : nullptr,
                             Case.Size, Case.Vector ? Key.data() : nullptr,
                             Case.Output ? Output.Get() : nullptr))
            << "row " << &Case - Rows;
      }
      EXPECT_TRUE(Output.Untouched());
    }
  });
}

} // namespace

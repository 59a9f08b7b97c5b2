// AES through slots 35 to 40, on every kind of processor: every size and alignment, and what is refused.
// More known answers: tests/vectors.
#include <gtest/gtest.h>

#include <cstring>

#include <sys/mman.h>
#include <unistd.h>

#include "tests/services/CipherSupport.h"
#include "tests/support/DriverTest.h"
#include "tests/support/GuardedBuffer.h"

namespace {

constexpr UINTN mContextSize = 488;
constexpr UINTN mKeyLengths[] = {128, 192, 256};

class AesTest : public CipherTest {
protected:
  Bytes MakeContext(const Bytes &Key) {
    Bytes Context(mContextSize);
    EXPECT_TRUE(Svc().SvcAesInit(Context.data(), Key.data(), Key.size() * 8));
    return Context;
  }

  Bytes Ecb(bool Encrypt, Bytes &Context, const Bytes &Input) {
    GuardedBuffer Output(Input.size());
    auto Service = Encrypt ? Svc().SvcAesEcbEncrypt : Svc().SvcAesEcbDecrypt;
    EXPECT_TRUE(Service(Context.data(), DataOf(Input), Input.size(), Output.Get()));
    EXPECT_TRUE(Output.OnlyWritten(Input.size()));
    return Output.Content();
  }

  Bytes Cbc(bool Encrypt, Bytes &Context, const Bytes &Vector, const Bytes &Input, UINTN Misalignment = 0) {
    GuardedBuffer Output(Input.size(), Misalignment);
    Bytes Kept = Vector;
    auto Service = Encrypt ? Svc().SvcAesCbcEncrypt : Svc().SvcAesCbcDecrypt;
    EXPECT_TRUE(Service(Context.data(), DataOf(Input), Input.size(), Kept.data(), Output.Get()));
    EXPECT_EQ(Kept, Vector);
    EXPECT_TRUE(Output.OnlyWritten(Input.size()));
    return Output.Content();
  }
};

// Against chaining by hand over single-block calls, at each size, alignment and key length, in place and
// apart.
TEST_F(AesTest, EverySizeAndAlignment) {
  // SP 800-38A, F.1.1.
  Bytes Known = MakeContext(FromHex("2b7e151628aed2a6abf7158809cf4f3c"));
  EXPECT_EQ(Ecb(true, Known, FromHex("6bc1bee22e409f96e93d7e117393172a")),
            FromHex("3ad77bb40d7a3660a89ecaf32466ef97"));
  const Bytes Message = Pattern(304);
  const Bytes Vector = Pattern(16, 2);
  OnEachProcessor([&] {
    const UINTN Allocations = Memory().Calls();
    EXPECT_EQ(Svc().SvcAesGetContextSize(), mContextSize);
    for (UINTN KeyLength : mKeyLengths) {
      Bytes Context = MakeContext(Pattern(KeyLength / 8, KeyLength));
      const Bytes Before = Context;
      Bytes Chained;
      Bytes Single;
      Bytes Last = Vector;
      for (UINTN Offset = 0; Offset < Message.size(); Offset += 16) {
        Bytes Block(Message.begin() + static_cast<long>(Offset),
                    Message.begin() + static_cast<long>(Offset) + 16);
        const Bytes Alone = Ecb(true, Context, Block);
        Single.insert(Single.end(), Alone.begin(), Alone.end());
        for (UINTN Index = 0; Index < 16; Index++) {
          Block[Index] ^= Last[Index];
        }
        Last = Ecb(true, Context, Block);
        Chained.insert(Chained.end(), Last.begin(), Last.end());
      }
      for (UINTN Size = 0; Size <= Message.size(); Size += 16) {
        const Bytes Plain(Message.begin(), Message.begin() + static_cast<long>(Size));
        const Bytes Expected(Chained.begin(), Chained.begin() + static_cast<long>(Size));
        const Bytes Blocks(Single.begin(), Single.begin() + static_cast<long>(Size));
        ASSERT_EQ(Cbc(true, Context, Vector, Plain, Size / 16 % 16), Expected) << Size;
        ASSERT_EQ(Cbc(false, Context, Vector, Expected, Size / 16 % 16), Plain) << Size;
        // The rest in a second call, from the last block of the first one's cipher text.
        const Bytes Rest(Message.begin() + static_cast<long>(Size), Message.end());
        const Bytes RestExpected(Chained.begin() + static_cast<long>(Size), Chained.end());
        const Bytes Middle = Size == 0 ? Vector : Bytes(Expected.end() - 16, Expected.end());
        ASSERT_EQ(Cbc(true, Context, Middle, Rest), RestExpected) << Size;
        ASSERT_EQ(Cbc(false, Context, Middle, RestExpected), Rest) << Size;
        ASSERT_EQ(Ecb(true, Context, Plain), Blocks) << Size;
        ASSERT_EQ(Ecb(false, Context, Blocks), Plain) << Size;
        GuardedBuffer InPlace(Size, Size / 16 % 8);
        std::copy(Plain.begin(), Plain.end(), InPlace.Get());
        Bytes Scratch = Vector;
        ASSERT_TRUE(
            Svc().SvcAesCbcEncrypt(Context.data(), InPlace.Get(), Size, Scratch.data(), InPlace.Get()));
        ASSERT_EQ(InPlace.Content(), Expected) << Size;
        ASSERT_TRUE(
            Svc().SvcAesCbcDecrypt(Context.data(), InPlace.Get(), Size, Scratch.data(), InPlace.Get()));
        ASSERT_TRUE(Svc().SvcAesEcbEncrypt(Context.data(), InPlace.Get(), Size, InPlace.Get()));
        ASSERT_EQ(InPlace.Content(), Blocks) << Size;
        ASSERT_TRUE(Svc().SvcAesEcbDecrypt(Context.data(), InPlace.Get(), Size, InPlace.Get()));
        ASSERT_EQ(InPlace.Content(), Plain) << Size;
        ASSERT_TRUE(InPlace.OnlyWritten(Size));
      }
      EXPECT_EQ(Context, Before) << "the services only read the context";
    }
    EXPECT_EQ(Memory().Calls(), Allocations) << "nothing is allocated";
  });
}

// The same bytes whatever the processor; both schedules' rounds in their places; usable anywhere and as a
// copy.
TEST_F(AesTest, ContextsHoldTheTwoSchedulesAndNothingElse) {
  std::vector<Bytes> First;
  const Bytes Plain = Pattern(160);
  const Bytes Vector = Pattern(16, 2);
  OnEachProcessor([&] {
    for (UINTN KeyLength : mKeyLengths) {
      const Bytes Key = Pattern(KeyLength / 8, KeyLength);
      GuardedBuffer Place(mContextSize, 8);
      ASSERT_TRUE(Svc().SvcAesInit(Place.Get(), Key.data(), KeyLength));
      EXPECT_TRUE(Place.OnlyWritten(mContextSize));
      Bytes Context = Place.Content();
      UINT32 Rounds = 0;
      for (UINTN Offset : {240, 484}) {
        std::memcpy(&Rounds, &Context[Offset], sizeof(Rounds));
        EXPECT_EQ(Rounds, KeyLength / 32 + 6);
      }
      // The schedule for encryption begins with the key, the other one ends with it (FIPS 197,
      // section 5.3.5).
      EXPECT_TRUE(std::equal(Context.begin(), Context.begin() + 16, Key.begin()));
      EXPECT_TRUE(
          std::equal(Key.begin(), Key.begin() + 16, Context.begin() + 244 + 16 * static_cast<long>(Rounds)));
      Bytes Output(Plain.size());
      ASSERT_TRUE(
          Svc().SvcAesCbcEncrypt(Place.Get(), Plain.data(), Plain.size(), Vector.data(), Output.data()));
      EXPECT_EQ(Cbc(true, Context, Vector, Plain), Output);
      // Only the words in use are the library's; the rest of a shorter schedule stays as the caller left it.
      Bytes Fresh = MakeContext(Key);
      if (First.size() < 3) {
        First.push_back(Fresh);
      }
      EXPECT_EQ(Fresh, First[KeyLength / 64 - 2]);
    }
  });
}

TEST_F(AesTest, RefusalsWriteNothing) {
  OnEachProcessor([&] {
    const Bytes Key = Pattern(32);
    const Bytes Input = Pattern(64);
    GuardedBuffer Unset(mContextSize);
    EXPECT_FALSE(Svc().SvcAesInit(nullptr, Key.data(), 128));
    EXPECT_FALSE(Svc().SvcAesInit(Unset.Get(), nullptr, 128));
    for (UINTN KeyLength : {UINTN{0}, UINTN{16}, UINTN{64}, UINTN{127}, UINTN{320}, UINTN{0x100000080}}) {
      EXPECT_FALSE(Svc().SvcAesInit(Unset.Get(), Key.data(), KeyLength)) << KeyLength;
    }
    EXPECT_TRUE(Unset.Untouched());

    Bytes Context = MakeContext(Key);
    struct Row {
      bool Context, Input, Vector, Output;
      UINTN Size;
      bool CbcOnly;
    };
    const Row Rows[] = {
        {false, true, true, true, 16, false},       {true, false, true, true, 16, false},
        {true, true, false, true, 16, true},        {true, true, true, false, 16, false},
        {true, true, true, true, 1, false},         {true, true, true, true, 15, false},
        {true, true, true, true, 17, false},        {true, true, true, true, 0x7FFFFFFF, false},
        {true, true, true, true, 0x80000000, true}, {true, true, true, true, 0xFFFFFFFFFFFFFFF0, true},
        {true, false, true, true, 0, false},        {true, true, true, false, 0, false},
    };
    for (const Row &Case : Rows) {
      GuardedBuffer Output(64);
      VOID *Keys = Case.Context ? Context.data() : nullptr;
      const UINT8 *From = Case.Input ? Input.data() : nullptr;
      const UINT8 *Vector = Case.Vector ? Key.data() : nullptr;
      UINT8 *To = Case.Output ? Output.Get() : nullptr;
      EXPECT_FALSE(Svc().SvcAesCbcEncrypt(Keys, From, Case.Size, Vector, To)) << "row " << &Case - Rows;
      EXPECT_FALSE(Svc().SvcAesCbcDecrypt(Keys, From, Case.Size, Vector, To)) << "row " << &Case - Rows;
      if (!Case.CbcOnly) {
        EXPECT_FALSE(Svc().SvcAesEcbEncrypt(Keys, From, Case.Size, To)) << "row " << &Case - Rows;
        EXPECT_FALSE(Svc().SvcAesEcbDecrypt(Keys, From, Case.Size, To)) << "row " << &Case - Rows;
      }
      EXPECT_TRUE(Output.Untouched());
    }
  });
}

// 2 GiB and a block, the same 16 MiB of memory over and over: 129 encryptions of each block.
TEST_F(AesTest, EcbHasNoUpperBound) {
  if (!ProcessorScript::NativelyPresent(ProcessorScript::Feature::AesNi)) {
    GTEST_SKIP() << "takes minutes without AES instructions";
  }
  constexpr UINTN Piece = UINTN{16} << 20;
  constexpr UINTN Pieces = 129;
  constexpr UINTN Size = (UINTN{1} << 31) + 16;
  const int File = memfd_create("ecb", 0);
  ASSERT_EQ(ftruncate(File, Piece), 0);
  auto *Place =
      static_cast<UINT8 *>(mmap(nullptr, Piece * Pieces, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
  ASSERT_NE(Place, MAP_FAILED);
  for (UINTN Index = 0; Index < Pieces; Index++) {
    ASSERT_NE(mmap(Place + Index * Piece, Piece, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, File, 0),
              MAP_FAILED);
  }
  Bytes Context = MakeContext(Pattern(16));
  Bytes First(16);
  Bytes Second(16);
  for (UINTN Round = 0; Round < Pieces; Round++) {
    First = Ecb(true, Context, First);
    Second = Round + 1 < Pieces ? Ecb(true, Context, Second) : Second;
  }
  EXPECT_TRUE(Svc().SvcAesEcbEncrypt(Context.data(), Place, Size, Place));
  EXPECT_EQ(Bytes(Place, Place + 16), First);
  EXPECT_EQ(Bytes(Place + 16, Place + 32), Second);
  EXPECT_TRUE(Svc().SvcAesEcbDecrypt(Context.data(), Place, Size, Place));
  EXPECT_EQ(Bytes(Place, Place + 32), Bytes(32));
  munmap(Place, Piece * Pieces);
  close(File);
}

} // namespace

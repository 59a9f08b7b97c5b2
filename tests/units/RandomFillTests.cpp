// The clock-seeded fill against a model that is fed the same clock, counter and generator; and what slot 46
// hands to the generator.
#include <gtest/gtest.h>

#include <array>
#include <cstring>

#include "simulator/CmosPorts.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/units/LibraryScript.h"

#include <openssl/sha.h>

namespace {

using Block = std::array<UINT8, 32>;

// What answers in the generator's place, alike for the driver and for the model: not always ready, and with
// draws that fail and leave what was there.
struct ScriptedGenerator {
  UINT64 Asked = 0;
  UINT64 Drawn = 0;
  std::vector<Bytes> Seeds;

  void Seed(const VOID *Data, int Size) {
    const auto *Place = static_cast<const UINT8 *>(Data);
    Seeds.emplace_back(Place, Place + Size);
  }
  int Status() { return Asked++ % 5 == 2 ? 0 : 1; }
  int Draw(UINT8 *Output, int Size) {
    if (Drawn++ % 7 == 3) {
      return 0;
    }
    const Bytes Content = Pattern(static_cast<UINTN>(Size), Drawn);
    std::copy(Content.begin(), Content.end(), Output);
    return 1;
  }
};

struct FillModel {
  ProcessorScript::TimeSource Counter;
  EFI_TIME Clock = {};
  ScriptedGenerator Generator = {};
  Block Seed = {};
  Block Output = {};
  UINTN Passes = 0;

  UINT64 Stamp() {
    const UINT64 Now = Counter();
    std::memcpy(&Seed[0], &Clock, 8);
    std::memcpy(&Seed[8], &Now, 8);
    return Now;
  }

  Bytes Fill(UINTN Size) {
    Bytes Result;
    while (Result.size() < Size) {
      const UINT64 Now = Stamp();
      const UINT64 Divisor = (Clock.Second + (Now & 0xFF)) % 256;
      for (UINT64 Pass = 0; Pass <= Now % (Divisor == 0 ? 1 : Divisor) % 60; Pass++) {
        Generator.Seed(Seed.data(), 32);
        if (Generator.Status() == 1) {
          Generator.Draw(Output.data(), 32);
        }
        Seed = Output;
        SHA256_CTX Hash;
        SHA256_Init(&Hash);
        SHA256_Update(&Hash, Seed.data(), Seed.size());
        SHA256_Final(Output.data(), &Hash);
        Seed = Output;
        Stamp();
        Passes++;
      }
      Result.insert(Result.end(), Output.begin(), Output.end());
    }
    Result.resize(Size);
    return Result;
  }
};

class RandomFillTest : public ScriptedLibraryTest {
protected:
  void Script(ScriptedGenerator &Generator) {
    // Which would allocate.
    mLibrary.AddDigest = [] { return 1; };
    mLibrary.Seed = [&](const VOID *Seed, int Size) { Generator.Seed(Seed, Size); };
    mLibrary.GeneratorStatus = [&] { return Generator.Status(); };
    mLibrary.GeneratorBytes = [&](UINT8 *Output, int Size) { return Generator.Draw(Output, Size); };
  }
};

TEST_F(RandomFillTest, EqualsTheModelFromCallToCall) {
  struct Row {
    EFI_TIME Clock;
    ProcessorScript::TimeSource Counter;
  };
  const Row Rows[] = {
      {{.Year = 2024, .Month = 2, .Day = 29, .Hour = 12, .Minute = 34, .Second = 56},
       ProcessorScript::Counting(0x123456789ABCDEF0, 0x9E3779B97F4A7C15)},
      {{.Year = 2099, .Month = 12, .Day = 31, .Hour = 23, .Minute = 59, .Second = 59},
       ProcessorScript::Counting(~UINT64{0} - 1000, 37)},
      // The counter's low byte and the second make 256: the divisor is 1, and each block takes one pass.
      {{.Year = 2000, .Month = 1, .Day = 1, .Second = 56}, ProcessorScript::Constant(0xFFC8)},
  };
  CmosPorts Ports;
  for (const Row &Case : Rows) {
    mLibrary = {};
    Reboot();
    ScriptedGenerator Generator;
    Script(Generator);
    Session().Processor().SetTimeStamp(Case.Counter);
    Ports.SetClock(Case.Clock);
    FillModel Model{.Counter = Case.Counter, .Clock = Case.Clock};
    const UINTN Calls = Memory().Calls();
    for (const UINTN Size : {1, 32, 33, 64, 300, 5}) {
      GuardedBuffer Output(Size);
      EXPECT_EQ(Svc().SvcRandomFillClockSeeded(Output.Get(), Size), EFI_SUCCESS);
      EXPECT_EQ(Output.Content(), Model.Fill(Size)) << Size << " bytes";
      EXPECT_TRUE(Output.OnlyWritten(Size));
    }
    EXPECT_EQ(Generator.Seeds, Model.Generator.Seeds);
    EXPECT_EQ(Memory().Calls() - Calls, Model.Passes) << "one allocation for each digest";
    EXPECT_TRUE(Model.Passes > 100 || &Case == &Rows[2]);
  }
}

// The status of the last digest is the answer, whatever the others were.
TEST_F(RandomFillTest, AnswersWithTheLastDigest) {
  CmosPorts Ports;
  ScriptedGenerator Generator;
  Script(Generator);
  Session().Processor().SetTimeStamp(ProcessorScript::Constant(0xFFC8));
  // For each of the two blocks one digest over the seed, in the entropy pool, and then its own.
  for (const int Failing : {2, 4}) {
    int Digests = 0;
    mLibrary.Sha256Final = [&] { return ++Digests == Failing ? 0 : 1; };
    Bytes Output(64);
    EXPECT_EQ(Svc().SvcRandomFillClockSeeded(Output.data(), 64),
              Failing == 4 ? EFI_SECURITY_VIOLATION : EFI_SUCCESS);
    EXPECT_EQ(Digests, 4);
  }
}

TEST_F(RandomFillTest, SeedsReachTheGenerator) {
  ScriptedGenerator Generator;
  Script(Generator);
  Session().Processor().SetTimeStamp(ProcessorScript::Constant(1234567890123));
  const Bytes Seed = Pattern(40);
  EXPECT_TRUE(Svc().SvcRandomSeed(Seed.data(), Seed.size()));
  EXPECT_TRUE(Svc().SvcRandomSeed(nullptr, 5));
  ASSERT_EQ(Generator.Seeds.size(), 2U);
  EXPECT_EQ(Generator.Seeds[0], Seed);
  ASSERT_EQ(Generator.Seeds[1].size(), 128U);
  EXPECT_STREQ(reinterpret_cast<const char *>(Generator.Seeds[1].data()),
               "UEFI Crypto Library default seed (1234567890123)");
}

} // namespace

// Every service in every environment that a platform may call it in: at each task priority level, under
// other control words, on lesser processors; how deep its stack gets and what it asks of the firmware.
// Registers and flags are watched by the gate.
#include <gtest/gtest.h>

#include <xmmintrin.h>

#include <cstdio>
#include <set>

#include "simulator/DriverCall.h"
#include "tests/services/SlotCalls.h"
#include "tools/session/SlotTable.h"

namespace {

using enum ProcessorScript::Feature;

// Services that read the clock, which the standard allows up to TPL_CALLBACK (UEFI 2.10, section 7.1), for
// the validity of certificates or for the age of the random generator's seed.
const std::set<UINTN> mClockSlots = {25, 30, 33, 43, 46, 47, 48, 50, 60, 61};

// Digests and ciphers work on the caller's memory alone; so do sizes, copies and releases.
const std::set<UINTN> mWithoutPool = {6,  7,  8,  9,  10, 11, 12, 13, 14, 16, 18, 19,
                                      20, 21, 23, 31, 34, 35, 36, 37, 38, 39, 40, 45};

struct ENVIRONMENT {
  EFI_TPL Tpl;
  UINT32 Mxcsr;
  UINT16 X87;
};

// The standard's own control words (UEFI 2.10, section 2.3.4.2), and others with all exceptions masked.
constexpr ENVIRONMENT mEnvironments[] = {{TPL_APPLICATION, 0x1F80, 0x037F},
                                         {TPL_APPLICATION, 0xFFC0, 0x0C7F},
                                         {TPL_CALLBACK, 0x3F80, 0x067F},
                                         {TPL_NOTIFY, 0x5FC0, 0x0A7F}};

void WithControlWords(const ENVIRONMENT &Words, const std::function<void()> &Body) {
  const UINT32 Mxcsr = _mm_getcsr();
  UINT16 X87;
  __asm__ volatile("fnstcw %0" : "=m"(X87));
  _mm_setcsr(Words.Mxcsr);
  __asm__ volatile("fldcw %0" : : "m"(Words.X87));
  Body();
  _mm_setcsr(Mxcsr);
  __asm__ volatile("fldcw %0" : : "m"(X87));
}

class EnvironmentTest : public SlotTest {
protected:
  UINTN ClockCalls() { return Firmware().RealTimeClock.GetTimeCalls.Calls(); }
};

TEST_F(EnvironmentTest, EveryServiceIsCalled) {
  std::set<UINTN> Slots;
  for (const SlotCall &Call : SlotCalls()) {
    Slots.insert(Call.Slot);
  }
  EXPECT_EQ(Slots.size(), CRYPTO_SERVICES_SLOT_COUNT);
}

TEST_F(EnvironmentTest, EveryLevelAndControlWordGivesTheSameResult) {
  Boot();
  std::set<UINTN> ClockSlots;
  for (const SlotCall &Call : SlotCalls()) {
    const SlotOutcome Wanted = Expected(Call);
    for (const ENVIRONMENT &Row : mEnvironments) {
      if (Row.Tpl == TPL_NOTIFY && mClockSlots.contains(Call.Slot)) {
        continue;
      }
      const SlotOutcome Outcome = RunSlot(Svc(), Call, [&](SlotStage &, const auto &Make) {
        const UINTN Before = ClockCalls();
        const EFI_TPL Old = Firmware().BootServices()->RaiseTPL(Row.Tpl);
        WithControlWords(Row, Make);
        EXPECT_EQ(Firmware().Events.CurrentTpl(), Row.Tpl) << Call.Name;
        Firmware().BootServices()->RestoreTPL(Old);
        if (ClockCalls() != Before) {
          ClockSlots.insert(Call.Slot);
        }
      });
      EXPECT_EQ(Outcome, Wanted) << Call.Name << " at TPL " << Row.Tpl << " under MXCSR " << Row.Mxcsr;
      EXPECT_EQ(Firmware().TakeFaults(), std::vector<std::string>{}) << Call.Name << " at TPL " << Row.Tpl;
    }
  }
  EXPECT_EQ(ClockSlots, mClockSlots);
}

TEST_F(EnvironmentTest, EveryProcessorGivesTheSameResult) {
  Boot();
  for (const SlotCall &Call : SlotCalls()) {
    Expected(Call);
  }
  const std::vector<ProcessorScript::Feature> Removals[] = {
      {AesNi}, {Sha}, {Rdseed, Rdrand}, {AesNi, Pclmul, Sha, Ssse3, Rdseed, Rdrand}};
  for (const auto &Removed : Removals) {
    Boot(Removed);
    for (const SlotCall &Call : SlotCalls()) {
      EXPECT_EQ(RunSlot(Svc(), Call), Expected(Call))
          << Call.Name << ", " << Removed.size() << " features less";
    }
  }
}

// The library's capability words (its OPENSSL_ia32cap manual page): AVX, FMA and XOP, then AVX2, the AVX-512
// family, VAES and VPCLMULQDQ.
TEST_F(EnvironmentTest, TheLibraryIsNotToldOfAvx) {
  auto Install = Options.Prepare;
  Options.Prepare = [=](DriverSession &Starting) {
    Install(Starting);
    Starting.Processor().SetFeature(Avx, true);
  };
  Boot();
  // The image's map places common data by the pointer to it alone.
  const DriverTarget &Target = Session().Target();
  const auto *Words = static_cast<const UINT64 *>(Target.Symbol("OPENSSL_ia32cap_P"));
  if (const VOID *Pointer = Target.Symbol(".refptr.OPENSSL_ia32cap_P");
      Words == nullptr && Pointer != nullptr) {
    Words = *static_cast<const UINT64 *const *>(Pointer);
  }
  ASSERT_NE(Words, nullptr);
  EXPECT_NE(Words[0], 0U);
  EXPECT_EQ(Words[0] & 0x1000180000000000, 0U);
  EXPECT_EQ(Words[1] & 0x00005E42DC230020, 0U);
  EXPECT_EQ(Words[0] >> 57 & 1, UINT64{ProcessorScript::NativelyPresent(AesNi)}) << "all else stays";
  EXPECT_EQ(Words[1] >> 29 & 1, UINT64{ProcessorScript::NativelyPresent(Sha)}) << "all else stays";
}

// One line for each call; a warm one, so that the library's first use shows in the stack alone.
TEST_F(EnvironmentTest, StackAndAllocationsOfEveryService) {
  Boot();
  const bool WatchesAvx = TestsImage() && HostHasAvx() && HostLeavesAvxAlone();
  std::printf("upper register halves %s; stack measured of the image alone\n",
              WatchesAvx ? "watched" : "not watched");
  std::printf("%4s  %-52s %11s %6s %6s\n", "slot", "service", "allocations", "stack", "clock");
  for (const SlotCall &Call : SlotCalls()) {
    UINTN Allocations = 0;
    UINTN Clock = 0;
    UINT64 Stack = 0;
    for (int Round = 0; Round < 2; Round++) {
      RunSlot(Svc(), Call, [&](SlotStage &, const auto &Make) {
        ClearDeepestStacks();
        Allocations = Memory().Calls();
        Clock = ClockCalls();
        Make();
        Allocations = Memory().Calls() - Allocations;
        Clock = ClockCalls() - Clock;
        Stack = std::max(Stack, DeepestStack(DescribeSlot(Call.Slot).Name));
      });
    }
    std::printf("%4zu  %-52s %11zu %6zu %6zu\n", static_cast<size_t>(Call.Slot), Call.Name.c_str(),
                static_cast<size_t>(Allocations), static_cast<size_t>(Stack), static_cast<size_t>(Clock));
    EXPECT_EQ(Allocations == 0, mWithoutPool.contains(Call.Slot) || Call.Slot == 47) << Call.Name;
    const bool BuildsChains = Call.Slot == 30 || Call.Slot == 33 || Call.Slot == 48;
    EXPECT_LE(Stack, BuildsChains ? 0x8000U : 0x4000U) << Call.Name;
  }
}

} // namespace

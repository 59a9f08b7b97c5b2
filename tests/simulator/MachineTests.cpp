// The machine around a loaded driver: checked calls, stack figures, the halt watch, the scripted processor
// and the CMOS ports, each driven by hand-written routines of the sample image.
#include <algorithm>
#include <csignal>
#include <cstring>
#include <ctime>
#include <functional>
#include <memory>
#include <stdexcept>

#include <gtest/gtest.h>
#include <sys/time.h>
#include <unistd.h>

#include "simulator/CheckedServices.h"
#include "simulator/CmosPorts.h"
#include "simulator/DriverCall.h"
#include "simulator/DriverTarget.h"
#include "simulator/Faults.h"
#include "simulator/HaltWatch.h"
#include "simulator/ProcessorScript.h"
#include "tests/simulator/PeSample.h"

namespace {

using Opcode = ProcessorOpcode;
using Feature = ProcessorScript::Feature;

class MachineTest : public testing::Test {
protected:
  void SetUp() override {
    Target_ = DriverTarget::OpenImage(Files_.ImagePath());
    SetDriverCallChecks({});
    ClearDeepestStacks();
  }

  const void *Routine(const char *Name) const { return Target_->Symbol(Name); }

  UINT64 Run(const char *Name, std::initializer_list<UINT64> Arguments = {}) const {
    return CallDriver(Name, Routine(Name), Arguments);
  }

  // What a run of Name has reported; without a living firmware reports go to the error stream.
  std::string FaultsOf(const char *Name) const {
    testing::internal::CaptureStderr();
    Run(Name);
    return testing::internal::GetCapturedStderr();
  }

  PeSampleFiles Files_;
  std::unique_ptr<DriverTarget> Target_;
};

using MachineDeathTest = MachineTest;

template <typename T> UINT64 AddressOf(T *Thing) {
  return reinterpret_cast<UINT64>(Thing);
}

// Target and names

TEST_F(MachineTest, TargetKnowsItsImage) {
  EXPECT_STREQ(Target_->Name(), "image");
  EXPECT_EQ(Target_->EntryPoint(), Routine("Entry"));
  EXPECT_EQ(AddressOf(Routine("Halt")), Target_->Image()->Base() + PeRoutineRva("Halt"));
  EXPECT_EQ(Target_->Code().Begin, Target_->Image()->Base() + mPeTextRva);
  EXPECT_TRUE(Target_->Code().Holds(AddressOf(Routine("OPENSSL_rdtsc"))));
  EXPECT_EQ(Routine("Absent"), nullptr);
  EXPECT_EQ(Target_->Start(reinterpret_cast<EFI_HANDLE>(0x1000), reinterpret_cast<EFI_SYSTEM_TABLE *>(0x234)),
            0x1234u);
  const std::string Place = DescribePlace(static_cast<const UINT8 *>(Routine("Halt")) + 5);
  EXPECT_EQ(Place.rfind("Halt+0x5 (image+0x", 0), 0u) << Place;
}

TEST_F(MachineTest, EveryOpeningIsFresh) {
  *reinterpret_cast<UINT64 *>(Target_->Image()->Base() + mPeDataRva + 0x20) = 1;
  Target_.reset();
  Target_ = DriverTarget::OpenImage(Files_.ImagePath());
  EXPECT_EQ(*reinterpret_cast<UINT64 *>(Target_->Image()->Base() + mPeDataRva + 0x20), 0u);
}

TEST_F(MachineTest, WorksWithoutMapButScriptsNothing) {
  Target_.reset();
  const PeSampleFiles Bare{""};
  Target_ = DriverTarget::OpenImage(Bare.ImagePath());
  EXPECT_EQ(CallDriver("Entry", Target_->EntryPoint(), {2, 3}), 5u);
  EXPECT_EQ(DescribePlace(Target_->EntryPoint()), "image+0x1000");
  ProcessorScript Script(*Target_);
  EXPECT_THROW(Script.SetTimeStamp(ProcessorScript::Constant(1)), LoadError);
  EXPECT_THROW(Script.SetRdseed(ProcessorScript::Failing()), LoadError);
  EXPECT_THROW(Script.SetFeature(Feature::Sha, false), LoadError);
}

TEST_F(MachineTest, RefusesTheMapOfAnotherImage) {
  std::string Map = PeSampleMap();
  Map.replace(Map.find("0001:00000000\n\n Static"), 13, "0001:00000040");
  const PeSampleFiles Stale{Map};
  Target_.reset();
  EXPECT_THROW(DriverTarget::OpenImage(Stale.ImagePath()), LoadError);
}

// Checked calls

TEST_F(MachineTest, PassesEightArguments) {
  EXPECT_EQ(Run("Digits", {1, 2, 3, 4, 5, 6, 7, 8}), 0x12345678u);
}

TEST_F(MachineTest, ReportsEveryBreachOfTheConvention) {
  const std::pair<const char *, const char *> Breaches[] = {
      {"BreakRbx", "register rbx"},        {"BreakRbp", "register rbp"},
      {"BreakRdi", "register rdi"},        {"BreakRsi", "register rsi"},
      {"BreakR12", "register r12"},        {"BreakR13", "register r13"},
      {"BreakR14", "register r14"},        {"BreakR15", "register r15"},
      {"BreakXmm6", "register xmm6 "},     {"BreakXmm7", "register xmm7 "},
      {"BreakXmm8", "register xmm8 "},     {"BreakXmm9", "register xmm9 "},
      {"BreakXmm10", "register xmm10"},    {"BreakXmm11", "register xmm11"},
      {"BreakXmm12", "register xmm12"},    {"BreakXmm13", "register xmm13"},
      {"BreakXmm14", "register xmm14"},    {"BreakXmm15", "register xmm15"},
      {"BreakMxcsr", "register MXCSR"},    {"BreakX87", "register x87"},
      {"BreakDirection", "register flags"}};
  for (const bool UpperVectors : {false, true}) {
    SetDriverCallChecks({.PaintBytes = 0, .UpperVectors = UpperVectors});
    for (const auto &[Name, Expected] : Breaches) {
      const std::string Faults = FaultsOf(Name);
      EXPECT_NE(Faults.find(std::string(Name) + ": " + Expected), std::string::npos)
          << Name << ": " << Faults;
      EXPECT_EQ(std::count(Faults.begin(), Faults.end(), '\n'), 1) << Faults;
    }
    for (const char *Name : {"Entry", "UseVolatile", "SetMxcsrStatus"}) {
      EXPECT_EQ(FaultsOf(Name), "") << Name;
    }
  }
}

TEST_F(MachineTest, ReportsAvxCode) {
  if (!HostHasAvx()) {
    GTEST_SKIP() << "no AVX on this processor";
  }
  for (const auto &[Name, Expected] :
       {std::pair("UseYmm0", "register ymm0"), std::pair("UseYmm9", "register ymm9")}) {
    SetDriverCallChecks({.PaintBytes = 0, .UpperVectors = true});
    const std::string Faults = FaultsOf(Name);
    EXPECT_NE(Faults.find(Expected), std::string::npos) << Faults;
  }
  SetDriverCallChecks({});
  EXPECT_EQ(FaultsOf("UseYmm0"), "") << "only the upper halves are volatile evidence";
}

// Stack figures

const DriverTarget *mNestedTarget;
UINT64 mNestedDepth;

void EFIAPI NestTouch() {
  CallDriver("Inner", mNestedTarget->Symbol("Touch"), {mNestedDepth});
}

void EFIAPI NestTouchAndCall() {
  CallDriver("Middle", mNestedTarget->Symbol("TouchAndCall"), {0x20000, AddressOf(&NestTouch)});
}

TEST_F(MachineTest, MeasuresTheDeepestStack) {
  EXPECT_EQ(Run("Touch", {0x100}), Run("Touch", {0x100})) << "unmeasured calls work alike";
  EXPECT_EQ(DeepestStack("Touch"), 0u);
  SetDriverCallChecks({.PaintBytes = 0x10000, .UpperVectors = false});
  Run("Entry");
  EXPECT_EQ(DeepestStack("Entry"), 8u);
  for (const UINT64 Depth : {0x40, 0x2000, 0x800}) {
    Run("Touch", {Depth});
  }
  EXPECT_EQ(DeepestStack("Touch"), 0x2008u);
  Run("Touch", {0x20000});
  EXPECT_EQ(DeepestStack("Touch"), 0x2008u) << "below what is painted nothing is seen";
  Run("Touch", {0xFFF8});
  EXPECT_EQ(DeepestStack("Touch"), 0x10000u);
}

TEST_F(MachineTest, KeepsStackFiguresApartWhenCallsNest) {
  SetDriverCallChecks({.PaintBytes = 0x40000, .UpperVectors = false});
  mNestedTarget = Target_.get();
  const UINT64 Nested = AddressOf(&NestTouch);
  mNestedDepth = 0x400;
  Run("TouchAndCall", {0x30000, Nested});
  EXPECT_EQ(DeepestStack("Inner"), 0x408u);
  EXPECT_EQ(DeepestStack("TouchAndCall"), 0x30008u) << "painting for the inner call wiped the outer's mark";
  ClearDeepestStacks();
  mNestedDepth = 0x20000;
  Run("TouchAndCall", {8, Nested});
  EXPECT_EQ(DeepestStack("Inner"), 0x20008u);
  EXPECT_GT(DeepestStack("TouchAndCall"), 0x20008u);
  EXPECT_LT(DeepestStack("TouchAndCall"), 0x2C000u);
  ClearDeepestStacks();
  mNestedDepth = 0x100;
  Run("TouchAndCall", {8, AddressOf(&NestTouchAndCall)});
  EXPECT_EQ(DeepestStack("Middle"), 0x20008u);
  EXPECT_GT(DeepestStack("TouchAndCall"), 0x20008u) << "the innermost painting wiped the middle one's mark";
}

// The halt watch

void EFIAPI NestHalt() {
  CallDriver("Halt", mNestedTarget->Symbol("Halt"), {});
}

TEST_F(MachineTest, NoticesAHalt) {
  SetDriverCallChecks({.PaintBytes = 0x1000, .UpperVectors = false});
  mNestedTarget = Target_.get();
  for (int Time = 0; Time < 2; ++Time) {
    EXPECT_EQ(RunBoot([&] { Run("Halt"); }), RunOutcome::Halted);
    EXPECT_TRUE(Target_->Find("Halt")->Holds(HaltAddress()));
    EXPECT_EQ(RunBoot([&] { Run("TouchAndCall", {8, AddressOf(&NestHalt)}); }), RunOutcome::Halted);
    EXPECT_EQ(RunBoot([&] { Run("Entry"); }), RunOutcome::Returned);
    EXPECT_EQ(DeepestStack("Entry"), 8u);
  }
  sigset_t Blocked;
  sigprocmask(SIG_SETMASK, nullptr, &Blocked);
  EXPECT_EQ(sigismember(&Blocked, SIGVTALRM), 0);
}

TEST_F(MachineTest, PassesExceptionsOfTheBody) {
  EXPECT_THROW(RunBoot([] { throw std::runtime_error("host"); }), std::runtime_error);
  EXPECT_EQ(RunBoot([] {}), RunOutcome::Returned);
}

double CpuSeconds() {
  timespec Now;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &Now);
  return static_cast<double>(Now.tv_sec) + static_cast<double>(Now.tv_nsec) * 1e-9;
}

// Each routine runs in one piece for well over the time in which a halt is noticed.
TEST_F(MachineTest, TakesLongLoopsForWhatTheyAre) {
  std::vector<UINT8> Block(0x100000);
  const std::pair<const char *, std::function<void(UINT64)>> Loops[] = {
      {"CountDown", [&](UINT64 Count) { Run("CountDown", {Count * 0x10000}); }},
      {"CountOnStack", [&](UINT64 Count) { Run("CountOnStack", {Count * 0x1000}); }},
      {"Fill",
       [&](UINT64 Count) {
         Run("Fill", {AddressOf(Block.data()), Block.size(), Count});
       }},
  };
  for (const auto &Each : Loops) {
    UINT64 Count = 16;
    double Spent = 0;
    while (Spent < 0.3) {
      Count *= Spent < 0.03 ? 8 : 2;
      const double Start = CpuSeconds();
      ASSERT_EQ(RunBoot([&] { Each.second(Count); }), RunOutcome::Returned)
          << Each.first << " after " << CpuSeconds() - Start;
      Spent = CpuSeconds() - Start;
    }
  }
}

// Ends the process with code 4 after half a second of processor time.
void EndWithFour() {
  itimerval HalfSecond = {};
  HalfSecond.it_value.tv_usec = 500000;
  signal(SIGPROF, [](int) { _exit(4); });
  setitimer(ITIMER_PROF, &HalfSecond, nullptr);
}

// An endless loop outside the driver is a hang of the host, and no halt.
TEST_F(MachineDeathTest, WatchesDriverCodeOnly) {
  SetDriverCode(Target_->Code().End, Target_->Code().End + 0x1000);
  EXPECT_EXIT((EndWithFour(), RunBoot([&] { Run("Halt"); })), testing::ExitedWithCode(4), "");
}

// The scripted processor

struct CpuidValues {
  UINT32 Eax, Ebx, Ecx, Edx;
};

TEST_F(MachineTest, ScriptsFeatures) {
  struct Row {
    Feature Which;
    UINT32 Leaf;
    UINT32 CpuidValues::*Register;
    int Bit;
  };
  const Row Rows[] = {
      {Feature::AesNi, 1, &CpuidValues::Ecx, 25},  {Feature::Pclmul, 1, &CpuidValues::Ecx, 1},
      {Feature::Ssse3, 1, &CpuidValues::Ecx, 9},   {Feature::Sha, 7, &CpuidValues::Ebx, 29},
      {Feature::Avx, 1, &CpuidValues::Ecx, 28},    {Feature::Avx, 7, &CpuidValues::Ebx, 5},
      {Feature::Rdseed, 7, &CpuidValues::Ebx, 18}, {Feature::Rdrand, 1, &CpuidValues::Ecx, 30}};
  const auto Cpuid = [&](UINT32 Leaf) {
    CpuidValues Values;
    Run("ProcessorCpuid", {Leaf, 0, AddressOf(&Values)});
    return Values;
  };
  for (const Row &Each : Rows) {
    const UINT32 Mask = 1u << Each.Bit;
    const CpuidValues Native = Cpuid(Each.Leaf);
    ProcessorScript Script(*Target_);
    Script.SetFeature(Each.Which, false);
    const CpuidValues Off = Cpuid(Each.Leaf);
    EXPECT_EQ(Off.*Each.Register & Mask, 0u) << Each.Leaf << " bit " << Each.Bit;
    EXPECT_EQ(Off.Edx, Native.Edx) << Each.Leaf;
    Script.SetFeature(Each.Which, true);
    if (Each.Bit != 5) { // AVX2 is not switched on by AVX.
      EXPECT_EQ(Cpuid(Each.Leaf).*Each.Register, Native.*Each.Register | Mask)
          << Each.Leaf << " bit " << Each.Bit;
    }
    EXPECT_EQ(Script.Answered(Opcode::Cpuid), Each.Bit != 5 ? 2u : 1u);
    Script.Undo();
    EXPECT_EQ(Cpuid(Each.Leaf).*Each.Register, Native.*Each.Register);
  }
}

TEST_F(MachineTest, ScriptsTheTimeStamp) {
  const auto Read = [&] { return Run("ProcessorTimeStamp"); };
  ProcessorScript Script(*Target_);
  Script.SetTimeStamp(ProcessorScript::Constant(0x123456789ABCDEF0));
  EXPECT_EQ(Read(), 0x123456789ABCDEF0u);
  EXPECT_EQ(Read(), 0x123456789ABCDEF0u);
  Script.SetTimeStamp(ProcessorScript::Counting(0xFFFFFFFF, 3));
  EXPECT_EQ(Read(), 0xFFFFFFFFu);
  EXPECT_EQ(Read(), 0x100000002u);
  Script.SetTimeStamp(ProcessorScript::List({5, 4}));
  EXPECT_EQ(Read(), 5u);
  EXPECT_EQ(Read(), 4u);
  EXPECT_EQ(Read(), 4u);
  EXPECT_EQ(Script.Answered(Opcode::TimeStamp), 7u);
  Script.Undo();
  const UINT64 First = Read();
  EXPECT_GT(First, 5u);
  EXPECT_GE(Read(), First);
}

TEST_F(MachineTest, ScriptsRandomNumbers) {
  struct Answer {
    UINT64 Carry;
    UINT64 Value;
    bool operator==(const Answer &) const = default;
  };
  const auto Draw = [&](const char *Name) {
    UINT64 Value = ~UINT64{0};
    const UINT64 Carry = Run(Name, {AddressOf(&Value)});
    return Answer{Carry, Value};
  };
  using Script = ProcessorScript;
  const std::pair<const char *, void (Script::*)(Script::RandomSource)> Sources[] = {
      {"ProcessorRdrand", &Script::SetRdrand}, {"ProcessorRdseed", &Script::SetRdseed}};
  for (const auto &[Name, Set] : Sources) {
    Script Processor(*Target_);
    (Processor.*Set)(Script::Failing());
    EXPECT_EQ(Draw(Name), (Answer{0, 0})) << Name;
    (Processor.*Set)(Script::Stuck(0xFEDCBA9876543210));
    EXPECT_EQ(Draw(Name), (Answer{1, 0xFEDCBA9876543210})) << Name;
    EXPECT_EQ(Draw(Name), (Answer{1, 0xFEDCBA9876543210})) << Name;
    (Processor.*Set)(Script::Sequence({7, 8}));
    EXPECT_EQ(Draw(Name), (Answer{1, 7})) << Name;
    EXPECT_EQ(Draw(Name), (Answer{1, 8})) << Name;
    EXPECT_EQ(Draw(Name), (Answer{0, 0})) << Name;
    (Processor.*Set)(Script::PseudoRandom(1));
    const Answer First = Draw(Name);
    EXPECT_NE(Draw(Name), First);
    (Processor.*Set)(Script::PseudoRandom(1));
    EXPECT_EQ(Draw(Name), First);
  }
  Script Processor(*Target_);
  Processor.SetRdrand(Script::Stuck(0xFEDCBA9876543210));
  EXPECT_EQ(Draw("OPENSSL_ia32_rdrand_bytes"), (Answer{1, 0x76543210})) << "rdrand r9d";
}

TEST_F(MachineTest, ReportsInstructionsThatTheProcessorDoesNotHave) {
  UINT64 Value = 1;
  ProcessorScript Script(*Target_);
  Script.SetFeature(Feature::Rdseed, false);
  testing::internal::CaptureStderr();
  EXPECT_EQ(Run("ProcessorRdseed", {AddressOf(&Value)}), 0u);
  EXPECT_EQ(Value, 0u);
  EXPECT_NE(testing::internal::GetCapturedStderr().find("rdseed run on a processor"), std::string::npos);
}

TEST_F(MachineTest, PatchesInstructionsOnlyAndPutsThemBack) {
  const UINT64 Text = Target_->Code().Begin;
  const auto Code = [&] {
    return std::vector<UINT8>(reinterpret_cast<UINT8 *>(Text),
                              reinterpret_cast<UINT8 *>(Target_->Code().End));
  };
  const std::vector<UINT8> Before = Code();
  {
    ProcessorScript Script(*Target_);
    EXPECT_EQ(Code(), Before) << "an empty script leaves everything native";
    Script.SetTimeStamp(ProcessorScript::Constant(9));
    Script.SetFeature(Feature::Sha, false);
    EXPECT_NE(Code(), Before);
    EXPECT_EQ(PePageRights(Text), "r-x");
    EXPECT_EQ(Run("OPENSSL_rdtsc") & 0xFFFFFFFF, 0xA20F310Fu)
        << "a constant that looks like opcodes was patched";
  }
  EXPECT_EQ(Code(), Before);
  EXPECT_EQ(PePageRights(Text), "r-x");
}

// CMOS

using Log = std::vector<CmosPorts::Access>;

TEST_F(MachineTest, EmulatesTheCmosClock) {
  CmosPorts Ports;
  EFI_TIME Time = {};
  Time.Year = 1999;
  Time.Month = 12;
  Time.Day = 31;
  Time.Hour = 23;
  Time.Minute = 58;
  Time.Second = 7;
  Ports.SetClock(Time);
  const std::pair<UINT8, UINT8> Cells[] = {{0x00, 0x07}, {0x02, 0x58}, {0x04, 0x23},
                                           {0x07, 0x31}, {0x08, 0x12}, {0x09, 0x99}};
  for (const auto &[Index, Expected] : Cells) {
    EXPECT_EQ(Run("CmosRead", {Index}), Expected);
    EXPECT_EQ(Run("CmosReadImmediate", {0xAB00u | Index}), 0xAB00u | Expected) << "only al changes";
  }
  Ports.ClearLog();
  Run("CmosWrite", {0x80 | 0x2A, 0x5C});
  EXPECT_EQ(Ports.Cell(0x2A), 0x5C) << "the top bit of the index is no part of it";
  EXPECT_EQ(Run("CmosRead", {0x2A}), 0x5Cu);
  EXPECT_EQ(Ports.Log(),
            (Log{{0x70, true, 0xAA}, {0x71, true, 0x5C}, {0x70, true, 0x2A}, {0x71, false, 0x5C}}));
}

TEST_F(MachineDeathTest, RefusesAllOtherPorts) {
  const CmosPorts Ports;
  EXPECT_DEATH(Run("PortIn", {0x80}), "may not read port 0x80");
  EXPECT_DEATH(Run("PortOut", {0xCF9}), "may not write port 0xcf9");
  EXPECT_DEATH(Run("PortIn", {0x70}), "may not read port 0x70");
  EXPECT_DEATH(Run("PortInWide", {0x71}), "may not read port 0x71 .wide");
  EXPECT_DEATH(Run("PortInWord", {0x71}), "may not read port 0x71 .wide");
  EXPECT_DEATH(Run("PortInString", {0x71}), "may not read port 0x71 .string");
}

TEST_F(MachineDeathTest, LeavesOtherFaultsToOthers) {
  const auto Earlier = [](int) {
    static const char Text[] = "the earlier handler";
    [[maybe_unused]] const auto Written = write(2, Text, sizeof(Text));
    _exit(3);
  };
  EXPECT_EXIT(
      {
        signal(SIGSEGV, Earlier);
        const CmosPorts Ports;
        Run("ReadNowhere");
      },
      testing::ExitedWithCode(3), "the earlier handler");
  EXPECT_DEATH(Run("PortIn", {0x71}), "") << "without ports an access is a fault";
}

// The checked service table

UINT64 CallSlot(const CRYPTO_SERVICES_PROTOCOL *Table, UINTN Slot, const UINT64 (&Arguments)[8]) {
  UINT64(EFIAPI * Entry)(UINT64, UINT64, UINT64, UINT64, UINT64, UINT64, UINT64, UINT64);
  std::memcpy(&Entry, reinterpret_cast<const UINT8 *>(Table) + Slot * sizeof(void *), sizeof(Entry));
  return Entry(Arguments[0], Arguments[1], Arguments[2], Arguments[3], Arguments[4], Arguments[5],
               Arguments[6], Arguments[7]);
}

TEST_F(MachineTest, ChecksEverySlotUnderItsName) {
  constexpr UINTN Slots = sizeof(CRYPTO_SERVICES_PROTOCOL) / sizeof(void *);
  for (UINTN Broken = 0; Broken < Slots; ++Broken) {
    CRYPTO_SERVICES_PROTOCOL Raw;
    const void *Entries[Slots];
    for (UINTN Slot = 0; Slot < Slots; ++Slot) {
      Entries[Slot] = Routine(Slot == Broken ? "BreakR13" : "Digits");
    }
    std::memcpy(&Raw, Entries, sizeof(Raw));
    const CheckedServices Checked(&Raw);
    testing::internal::CaptureStderr();
    for (UINTN Slot = 0; Slot < Slots; ++Slot) {
      const UINT64 Result = CallSlot(Checked.Table(), Slot, {8, 7, 6, 5, 4, 3, 2, 1});
      EXPECT_TRUE(Slot == Broken || Result == 0x87654321) << Slot;
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              std::string("fault: ") + CheckedServices::SlotName(Broken) + ": register r13 not preserved\n");
  }
}

// A stub is itself called in the driver's convention, and must keep what a faulty service does not.
TEST_F(MachineTest, ServiceStubsKeepTheConventionThemselves) {
  for (const char *Breaker : {"BreakRdi", "BreakRsi", "BreakRbx", "BreakR12", "BreakXmm6", "BreakXmm7",
                              "BreakXmm8", "BreakXmm9", "BreakXmm10", "BreakXmm11", "BreakXmm12",
                              "BreakXmm13", "BreakXmm14", "BreakXmm15", "BreakMxcsr", "BreakDirection"}) {
    CRYPTO_SERVICES_PROTOCOL Raw;
    const std::vector<const void *> Entries(sizeof(Raw) / sizeof(void *), Routine(Breaker));
    std::memcpy(&Raw, Entries.data(), sizeof(Raw));
    const CheckedServices Checked(&Raw);
    const void *Stub;
    std::memcpy(&Stub, Checked.Table(), sizeof(Stub));
    testing::internal::CaptureStderr();
    CallDriver("Stub", Stub, {});
    const std::string Faults = testing::internal::GetCapturedStderr();
    EXPECT_EQ(Faults.find("Stub"), std::string::npos) << Faults;
    EXPECT_NE(Faults.find(CheckedServices::SlotName(0)), std::string::npos) << Faults;
  }
}

} // namespace

// The machine around a loaded driver: checked calls, stack figures, the halt watch, the scripted processor
// and the CMOS ports, each driven by hand-written routines of the sample image.
#include <algorithm>
#include <array>
#include <csignal>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <functional>
#include <memory>
#include <stdexcept>

#include <gtest/gtest.h>
#include <sys/resource.h>
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

using Feature = ProcessorScript::Feature;

// What the gate calls the things that a service must keep; the routine "Break_" and the name changes it.
constexpr const char *mKept[] = {"rbx",   "rbp",   "rdi",   "rsi",   "r12",   "r13",   "r14",
                                 "r15",   "xmm6",  "xmm7",  "xmm8",  "xmm9",  "xmm10", "xmm11",
                                 "xmm12", "xmm13", "xmm14", "xmm15", "MXCSR", "x87",   "flags"};

constexpr UINTN mSlots = sizeof(CRYPTO_SERVICES_PROTOCOL) / sizeof(void *);

class MachineTest : public testing::Test {
protected:
  void SetUp() override {
    Target_ = DriverTarget::OpenImage(PE_SAMPLE_PATH);
    SetDriverCallChecks({});
    ClearDeepestStacks();
  }

  const void *Routine(const std::string &Name) const { return Target_->Symbol(Name); }

  UINT64 Run(const char *Name, std::initializer_list<UINT64> Arguments = {}) const {
    return CallDriver(Name, Routine(Name), Arguments);
  }

  // What Body has reported; without a living firmware reports go to the error stream.
  static std::string FaultsOf(const std::function<void()> &Body) {
    testing::internal::CaptureStderr();
    Body();
    return testing::internal::GetCapturedStderr();
  }

  std::string FaultsOf(const std::string &Name) const {
    return FaultsOf([&] { Run(Name.c_str()); });
  }

  std::unique_ptr<DriverTarget> Target_;
};

using MachineDeathTest = MachineTest;

template <typename T> UINT64 AddressOf(T *Thing) {
  return reinterpret_cast<UINT64>(Thing);
}

// Target and names

TEST_F(MachineTest, TargetKnowsItsImage) {
  EXPECT_EQ(Target_->Code().Begin, Target_->Image()->Base() + mPeTextRva);
  EXPECT_TRUE(Target_->Code().Holds(AddressOf(Routine("OPENSSL_rdtsc"))));
  EXPECT_EQ(Routine("Absent"), nullptr);
  EXPECT_EQ(Target_->Start(reinterpret_cast<EFI_HANDLE>(0x1000), reinterpret_cast<EFI_SYSTEM_TABLE *>(0x234)),
            0x1234u);
  const std::string Place = DescribePlace(static_cast<const UINT8 *>(Routine("Halt")) + 5);
  EXPECT_EQ(Place.rfind("Halt+0x5 (image+0x", 0), 0u) << Place;
}

TEST_F(MachineTest, WorksWithoutMapButNotWithThatOfAnotherImage) {
  Target_.reset();
  const std::string Bare = testing::TempDir() + "PeSample" + std::to_string(getpid());
  std::filesystem::copy_file(PE_SAMPLE_PATH, Bare + ".efi");
  Target_ = DriverTarget::OpenImage(Bare + ".efi");
  EXPECT_EQ(CallDriver("Entry", Target_->EntryPoint(), {2, 3}), 5u);
  EXPECT_EQ(DescribePlace(Target_->EntryPoint()), "image+0x1000");
  {
    ProcessorScript Script(*Target_);
    EXPECT_THROW(Script.SetTimeStamp(ProcessorScript::Constant(1)), LoadError);
    EXPECT_THROW(Script.SetRdseed(ProcessorScript::Failing()), LoadError);
    EXPECT_THROW(Script.SetFeature(Feature::Sha, false), LoadError);
  }
  Target_.reset();
  std::ofstream(Bare + ".map") << " entry point at         0001:00000040\n";
  EXPECT_THROW(DriverTarget::OpenImage(Bare + ".efi"), LoadError);
  std::filesystem::remove(Bare + ".efi");
  std::filesystem::remove(Bare + ".map");
}

// Checked calls

TEST_F(MachineTest, ReportsEveryBreachOfTheConvention) {
  for (const bool UpperVectors : {false, true}) {
    SetDriverCallChecks({.PaintBytes = 0, .UpperVectors = UpperVectors});
    for (const std::string Kept : mKept) {
      const std::string Faults = FaultsOf("Break_" + Kept);
      EXPECT_EQ(Faults.find("fault: Break_" + Kept + ": register " + Kept), 0u) << Faults;
      EXPECT_EQ(std::count(Faults.begin(), Faults.end(), '\n'), 1) << Faults;
    }
    EXPECT_EQ(FaultsOf("Entry") + FaultsOf("UseVolatile"), "");
    for (const std::string Upper : {"ymm0", "ymm9"}) {
      const std::string Faults = HostHasAvx() ? FaultsOf("Break_" + Upper) : "";
      EXPECT_EQ(Faults.find("register " + Upper) != std::string::npos, UpperVectors && HostHasAvx())
          << Faults;
    }
  }
}

// The service table with Service in every slot.
CRYPTO_SERVICES_PROTOCOL TableOf(const void *Service) {
  CRYPTO_SERVICES_PROTOCOL Table;
  const std::vector<const void *> Entries(mSlots, Service);
  std::memcpy(&Table, Entries.data(), sizeof(Table));
  return Table;
}

TEST_F(MachineTest, ChecksEverySlotUnderItsNameAndWithItsArguments) {
  using SERVICE = UINT64(EFIAPI *)(UINT64, UINT64, UINT64, UINT64, UINT64, UINT64, UINT64, UINT64);
  const CRYPTO_SERVICES_PROTOCOL Raw = TableOf(Routine("BadDigits"));
  const CheckedServices Checked(&Raw);
  SERVICE Stubs[mSlots];
  std::memcpy(Stubs, Checked.Table(), sizeof(Stubs));
  for (UINTN Slot = 0; Slot < mSlots; ++Slot) {
    const std::string Faults = FaultsOf([&] { EXPECT_EQ(Stubs[Slot](8, 7, 6, 5, 4, 3, 2, 1), 0x87654321u); });
    EXPECT_EQ(Faults,
              std::string("fault: ") + CheckedServices::SlotName(Slot) + ": register r13 not preserved\n");
  }
}

// A stub is itself called in the driver's convention, and must keep what a faulty service does not.
TEST_F(MachineTest, ServiceStubsKeepTheConventionThemselves) {
  for (const std::string Kept : mKept) {
    const CRYPTO_SERVICES_PROTOCOL Raw = TableOf(Routine("Break_" + Kept));
    const CheckedServices Checked(&Raw);
    const void *Stub;
    std::memcpy(&Stub, Checked.Table(), sizeof(Stub));
    const std::string Faults = FaultsOf([&] { CallDriver("Stub", Stub, {}); });
    EXPECT_EQ(Faults.find("Stub"), std::string::npos) << Faults;
    EXPECT_NE(Faults.find(CheckedServices::SlotName(0)), std::string::npos) << Faults;
  }
}

// Stack figures and halts; what the driver calls back for has no context.

const DriverTarget *mNestedTarget;
UINT64 mNestedDepth;

void EFIAPI NestTouch() {
  CallDriver("Inner", mNestedTarget->Symbol("Touch"), {mNestedDepth});
}

void EFIAPI NestTouchAndCall() {
  CallDriver("Middle", mNestedTarget->Symbol("TouchAndCall"), {0x20000, AddressOf(&NestTouch)});
}

void EFIAPI NestHalt() {
  CallDriver("Halt", mNestedTarget->Symbol("Halt"), {});
}

TEST_F(MachineTest, MeasuresTheDeepestStack) {
  Run("Touch", {0x100});
  EXPECT_EQ(DeepestStack("Touch"), 0u) << "not measured";
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
  mNestedDepth = 0x400;
  Run("TouchAndCall", {0x30000, AddressOf(&NestTouch)});
  EXPECT_EQ(DeepestStack("Inner"), 0x408u);
  EXPECT_EQ(DeepestStack("TouchAndCall"), 0x30008u) << "painting for the inner call wiped the outer's mark";
  ClearDeepestStacks();
  mNestedDepth = 0x20000;
  Run("TouchAndCall", {8, AddressOf(&NestTouch)});
  EXPECT_EQ(DeepestStack("Inner"), 0x20008u);
  EXPECT_GT(DeepestStack("TouchAndCall"), 0x20008u);
  EXPECT_LT(DeepestStack("TouchAndCall"), 0x2C000u);
  ClearDeepestStacks();
  mNestedDepth = 0x100;
  Run("TouchAndCall", {8, AddressOf(&NestTouchAndCall)});
  EXPECT_EQ(DeepestStack("Middle"), 0x20008u);
  EXPECT_GT(DeepestStack("TouchAndCall"), 0x20008u) << "the innermost painting wiped the middle one's mark";
}

TEST_F(MachineTest, NoticesAHalt) {
  SetDriverCallChecks({.PaintBytes = 0x1000, .UpperVectors = false});
  mNestedTarget = Target_.get();
  for (int Time = 0; Time < 2; ++Time) {
    EXPECT_EQ(RunBoot([&] { Run("Halt"); }), RunOutcome::Halted);
    EXPECT_TRUE(Target_->Find("Halt")->Holds(HaltAddress()));
    EXPECT_EQ(RunBoot([&] { Run("TouchAndCall", {8, AddressOf(&NestHalt)}); }), RunOutcome::Halted);
    EXPECT_THROW(RunBoot([] { throw std::runtime_error("host"); }), std::runtime_error);
    EXPECT_EQ(RunBoot([&] { Run("Entry"); }), RunOutcome::Returned);
    EXPECT_EQ(DeepestStack("Entry"), 8u);
  }
  sigset_t Blocked;
  sigprocmask(SIG_SETMASK, nullptr, &Blocked);
  EXPECT_EQ(sigismember(&Blocked, SIGVTALRM), 0);
}

// Each routine runs in one piece for well over the time in which a halt is noticed.
TEST_F(MachineTest, TakesLongLoopsForWhatTheyAre) {
  std::vector<UINT8> Block(0x100000);
  const std::function<void(UINT64)> Loops[] = {
      [&](UINT64 Count) { Run("CountDown", {Count * 0x10000}); },
      [&](UINT64 Count) { Run("CountOnStack", {Count * 0x1000}); },
      [&](UINT64 Count) {
        Run("Fill", {AddressOf(Block.data()), Block.size(), Count});
      },
  };
  for (const auto &Loop : Loops) {
    clock_t Spent = 0;
    for (UINT64 Count = 128; Spent < 3 * CLOCKS_PER_SEC / 10; Count *= Spent < CLOCKS_PER_SEC / 30 ? 8 : 2) {
      const clock_t Start = clock();
      ASSERT_EQ(RunBoot([&] { Loop(Count); }), RunOutcome::Returned) << "loop " << &Loop - Loops;
      Spent = clock() - Start;
    }
  }
}

// An endless loop outside the driver is a hang of the host, and no halt.
TEST_F(MachineDeathTest, WatchesDriverCodeOnly) {
  SetDriverCode(Target_->Code().End, Target_->Code().End + 0x1000);
  const auto Hang = [&] {
    const rlimit OneSecond = {1, 2};
    setrlimit(RLIMIT_CPU, &OneSecond);
    RunBoot([&] { Run("Halt"); });
  };
  EXPECT_EXIT(Hang(), testing::KilledBySignal(SIGXCPU), "");
}

// The scripted processor

TEST_F(MachineTest, ScriptsFeatures) {
  enum { Ebx = 1, Ecx, Edx };
  const struct {
    Feature Which;
    UINT32 Leaf;
    int Register;
    int Bit;
  } Rows[] = {
      {Feature::AesNi, 1, Ecx, 25},  {Feature::Pclmul, 1, Ecx, 1},  {Feature::Ssse3, 1, Ecx, 9},
      {Feature::Sha, 7, Ebx, 29},    {Feature::Avx, 1, Ecx, 28},    {Feature::Avx, 7, Ebx, 5},
      {Feature::Rdseed, 7, Ebx, 18}, {Feature::Rdrand, 1, Ecx, 30},
  };
  const auto Cpuid = [&](UINT32 Leaf) {
    std::array<UINT32, 4> Values;
    Run("ProcessorCpuid", {Leaf, 0, AddressOf(Values.data())});
    return Values;
  };
  for (const auto &Row : Rows) {
    SCOPED_TRACE(testing::Message() << "leaf " << Row.Leaf << " bit " << Row.Bit);
    const UINT32 Mask = 1u << Row.Bit;
    const auto Native = Cpuid(Row.Leaf);
    ProcessorScript Script(*Target_);
    Script.SetFeature(Row.Which, false);
    const auto Off = Cpuid(Row.Leaf);
    EXPECT_EQ(Off[Row.Register] & Mask, 0u);
    EXPECT_EQ(Off[Edx], Native[Edx]);
    Script.SetFeature(Row.Which, true);
    if (Row.Bit != 5) { // AVX2 is not switched on by AVX.
      EXPECT_EQ(Cpuid(Row.Leaf)[Row.Register], Native[Row.Register] | Mask);
    }
  }
}

TEST_F(MachineTest, ScriptsTheTimeStamp) {
  const auto Read = [&] { return Run("ProcessorTimeStamp"); };
  {
    ProcessorScript Script(*Target_);
    Script.SetTimeStamp(ProcessorScript::Constant(0x123456789ABCDEF0));
    EXPECT_EQ(Read(), 0x123456789ABCDEF0u);
    EXPECT_EQ(Read(), 0x123456789ABCDEF0u);
    Script.SetTimeStamp(ProcessorScript::Counting(0xFFFFFFFF, 3));
    EXPECT_EQ(Read(), 0xFFFFFFFFu);
    EXPECT_EQ(Read(), 0x100000002u);
  }
  const UINT64 First = Read();
  EXPECT_GT(First, 0x100000002u);
  EXPECT_GE(Read(), First);
}

TEST_F(MachineTest, ScriptsRandomNumbers) {
  // Carry flag and value.
  using Answer = std::pair<UINT64, UINT64>;
  const auto Draw = [&](const char *Name) {
    UINT64 Value = ~UINT64{0};
    const UINT64 Carry = Run(Name, {AddressOf(&Value)});
    return Answer{Carry, Value};
  };
  using Script = ProcessorScript;
  const std::pair<const char *, void (Script::*)(Script::RandomSource)> Sources[] = {
      {"ProcessorRdrand", &Script::SetRdrand}, {"ProcessorRdseed", &Script::SetRdseed}};
  for (const auto &[Name, Set] : Sources) {
    SCOPED_TRACE(Name);
    Script Processor(*Target_);
    (Processor.*Set)(Script::Failing());
    EXPECT_EQ(Draw(Name), (Answer{0, 0}));
    (Processor.*Set)(Script::Stuck(0xFEDCBA9876543210));
    EXPECT_EQ(Draw(Name), (Answer{1, 0xFEDCBA9876543210}));
    EXPECT_EQ(Draw(Name), (Answer{1, 0xFEDCBA9876543210}));
    (Processor.*Set)(Script::Sequence({7, 8}));
    for (const Answer &Expected : {Answer{1, 7}, Answer{1, 8}, Answer{0, 0}}) {
      EXPECT_EQ(Draw(Name), Expected);
    }
    (Processor.*Set)(Script::PseudoRandom(1));
    const Answer First = Draw(Name);
    EXPECT_NE(Draw(Name), First);
    (Processor.*Set)(Script::PseudoRandom(1));
    EXPECT_EQ(Draw(Name), First);
  }
  Script Processor(*Target_);
  Processor.SetRdrand(Script::Stuck(0xFEDCBA9876543210));
  EXPECT_EQ(Draw("OPENSSL_ia32_rdrand_bytes"), (Answer{1, 0x76543210})) << "32 bits, a high register";
  Processor.SetFeature(Feature::Rdseed, false);
  const std::string Faults = FaultsOf([&] { EXPECT_EQ(Draw("ProcessorRdseed"), (Answer{0, 0})); });
  EXPECT_NE(Faults.find("rdseed run on a processor that does not have it"), std::string::npos) << Faults;
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

TEST_F(MachineTest, EmulatesTheCmosClock) {
  using Log = std::vector<CmosPorts::Access>;
  CmosPorts Ports;
  Ports.SetClock({1999, 12, 31, 23, 58, 7, 0, 0, 0, 0, 0});
  const std::pair<UINT8, UINT8> Cells[] = {{0x00, 0x07}, {0x02, 0x58}, {0x04, 0x23},
                                           {0x07, 0x31}, {0x08, 0x12}, {0x09, 0x99}};
  for (const auto &[Index, Expected] : Cells) {
    EXPECT_EQ(Run("CmosRead", {Index}), Expected);
    EXPECT_EQ(Run("CmosReadImmediate", {0xAB00u | Index}), 0xAB00u | Expected) << "only al changes";
  }
  Ports.ClearLog();
  Run("CmosWrite", {0x80 | 0x2A, 0x5C});
  EXPECT_EQ(Run("CmosRead", {0x2A}), 0x5Cu) << "the top bit of the index is no part of it";
  EXPECT_EQ(Ports.Log(),
            (Log{{0x70, true, 0xAA}, {0x71, true, 0x5C}, {0x70, true, 0x2A}, {0x71, false, 0x5C}}));
}

TEST_F(MachineDeathTest, RefusesAllOtherPorts) {
  const struct {
    const char *Routine;
    UINT64 Port;
    const char *Message;
  } Rows[] = {
      {"PortIn", 0x80, "may not read port 0x80"},
      {"PortOut", 0xCF9, "may not write port 0xcf9"},
      {"PortIn", 0x70, "may not read port 0x70"},
      {"PortInWide", 0x71, "may not read port 0x71 .wide"},
      {"PortInString", 0x71, "may not read port 0x71 .string"},
  };
  EXPECT_DEATH(Run("PortIn", {0x71}), "") << "without ports an access is a fault";
  const CmosPorts Ports;
  for (const auto &Row : Rows) {
    EXPECT_DEATH(Run(Row.Routine, {Row.Port}), Row.Message);
  }
}

TEST_F(MachineDeathTest, LeavesOtherFaultsToOthers) {
  EXPECT_EXIT(
      {
        signal(SIGSEGV, [](int) { _exit(3); });
        const CmosPorts Ports;
        Run("ReadNowhere");
      },
      testing::ExitedWithCode(3), "");
}

} // namespace

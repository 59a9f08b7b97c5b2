// Fills the record of one checked driver call, judges what DriverCallGate brought back, and keeps the stack
// figures. Must not hold anything with a destructor across the call: a halt leaves through it.
#include "simulator/DriverCall.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <utility>

#include <unistd.h>

#include "simulator/Faults.h"

namespace {

constexpr UINTN mMaximumArguments = 8;
constexpr UINT64 mUnusedArgument = 0xAFAFAFAFAFAFAFAF;
constexpr UINT64 mDirectionFlag = 0x400;
constexpr UINT32 mMxcsrControlBits = 0xFFC0;
constexpr const char *mIntegerNames[8] = {"rbx", "rbp", "rdi", "rsi", "r12", "r13", "r14", "r15"};

} // namespace

struct DRIVER_CALL {
  const void *Function;
  UINT64 Arguments[mMaximumArguments];
  UINT64 PaintBytes;
  UINT64 UpperVectors;
  UINT64 StackTop;
  UINT64 Lowest;
  UINT64 Result;
  UINT64 Integers[8];
  UINT64 Flags;
  UINT32 MxcsrBefore;
  UINT32 MxcsrAfter;
  UINT16 X87Before;
  UINT16 X87After;
  alignas(16) UINT8 Vectors[16][32];
  UINT8 OuterUpper[16][16];
  UINT8 *StackCopy;
  UINT64 Trap;
  UINT64 LowestSoFar;
  DRIVER_CALL *Outer;
};

static_assert(offsetof(DRIVER_CALL, PaintBytes) == 72 && offsetof(DRIVER_CALL, UpperVectors) == 80);
static_assert(offsetof(DRIVER_CALL, StackTop) == 88 && offsetof(DRIVER_CALL, Lowest) == 96);
static_assert(offsetof(DRIVER_CALL, Result) == 104 && offsetof(DRIVER_CALL, Integers) == 112);
static_assert(offsetof(DRIVER_CALL, Flags) == 176 && offsetof(DRIVER_CALL, MxcsrBefore) == 184);
static_assert(offsetof(DRIVER_CALL, X87Before) == 192 && offsetof(DRIVER_CALL, Vectors) == 208);
static_assert(offsetof(DRIVER_CALL, OuterUpper) == 720 && offsetof(DRIVER_CALL, StackCopy) == 976);
static_assert(offsetof(DRIVER_CALL, Trap) == 984);

struct VECTOR_PATTERNS {
  UINT8 Bytes[16][32];
};

extern "C" {

UINT64 DriverCallGate(DRIVER_CALL *Call);
UINT64 DriverStackLowest(UINT64 Bottom, UINT64 Top);

// What DriverCallGate loads before the call; hidden, so that it is reached relative to the instruction.
__attribute__((visibility("hidden"))) extern const UINT64 mDriverCallIntegers[8];
__attribute__((visibility("hidden"))) extern const VECTOR_PATTERNS mDriverCallVectors;

const UINT64 mDriverCallIntegers[8] = {0xB0B1B2B3B4B5B6B7, 0xC0C1C2C3C4C5C6C7, 0xD0D1D2D3D4D5D6D7,
                                       0xE0E1E2E3E4E5E6E7, 0x9091929394959697, 0xA0A1A2A3A4A5A6A7,
                                       0xF0F1F2F3F4F5F6F7, 0x8081828384858687};
constinit const VECTOR_PATTERNS mDriverCallVectors = [] {
  VECTOR_PATTERNS Patterns = {};
  for (UINT8 Number = 0; Number < 16; ++Number) {
    for (UINT8 Byte = 0; Byte < 32; ++Byte) {
      Patterns.Bytes[Number][Byte] = static_cast<UINT8>(0x80 + 7 * Byte + 3 * Number);
    }
  }
  return Patterns;
}();

} // extern "C"

namespace {

DriverCallChecks mChecks;
std::vector<UINT8> *mStackCopy = nullptr;
bool mTrapNext = false;
DRIVER_CALL *mInnermost = nullptr;

std::map<std::string, UINT64, std::less<>> &Stacks() {
  static std::map<std::string, UINT64, std::less<>> Figures;
  return Figures;
}

void Breach(const char *Name, const std::string &What) {
  ReportFault(std::string(Name) + ": " + What);
}

// The number of the first ymm register whose upper half changed, or 16.
UINTN ChangedUpper(const DRIVER_CALL &Call) {
  UINTN Number = 0;
  while (Number < 16 &&
         std::memcmp(&Call.Vectors[Number][16], &mDriverCallVectors.Bytes[Number][16], 16) == 0) {
    ++Number;
  }
  return Number;
}

void JudgeRegisters(const char *Name, const DRIVER_CALL &Call) {
  for (UINTN Index = 0; Index < 8; ++Index) {
    if (Call.Integers[Index] != mDriverCallIntegers[Index]) {
      Breach(Name, std::string("register ") + mIntegerNames[Index] + " not preserved");
    }
  }
  for (UINTN Number = 6; Number < 16; ++Number) {
    if (std::memcmp(Call.Vectors[Number], mDriverCallVectors.Bytes[Number], 16) != 0) {
      Breach(Name, "register xmm" + std::to_string(Number) + " not preserved");
    }
  }
  if (((Call.MxcsrBefore ^ Call.MxcsrAfter) & mMxcsrControlBits) != 0) {
    Breach(Name, "register MXCSR: control bits changed");
  }
  if (Call.X87Before != Call.X87After) {
    Breach(Name, "register x87 control word changed");
  }
  if ((Call.Flags & mDirectionFlag) != 0) {
    Breach(Name, "register flags: direction flag left set");
  }
  const UINTN Upper = Call.UpperVectors != 0 ? ChangedUpper(Call) : 16;
  if (Upper < 16) {
    Breach(Name, "register ymm" + std::to_string(Upper) + ": upper half changed, AVX code ran");
  }
}

// Painting for a nested call wipes what the calls around it left below the present stack pointer: read it
// first.
void SaveOuterStack() {
  if (mInnermost == nullptr || mInnermost->PaintBytes == 0) {
    return;
  }
  const UINT64 Here = reinterpret_cast<UINT64>(__builtin_frame_address(0)) & ~UINT64{7};
  const UINT64 Lowest = DriverStackLowest(mInnermost->StackTop - mInnermost->PaintBytes, Here);
  mInnermost->LowestSoFar = std::min(mInnermost->LowestSoFar, Lowest);
}

void RecordStack(const char *Name, const DRIVER_CALL &Call) {
  if (Call.PaintBytes == 0) {
    return;
  }
  const UINT64 Lowest = std::min(Call.Lowest, Call.LowestSoFar);
  if (Call.Outer != nullptr) {
    Call.Outer->LowestSoFar = std::min(Call.Outer->LowestSoFar, Lowest);
  }
  const UINT64 Used = std::min(Call.StackTop - Lowest, Call.PaintBytes);
  auto Place = Stacks().find(std::string_view(Name));
  if (Place == Stacks().end()) {
    Place = Stacks().emplace(Name, 0).first;
  }
  Place->second = std::max(Place->second, Used);
}

// Entered through the gate like a driver routine: runs the parts of the C library that use vectors where they
// can.
UINT64 EFIAPI ExerciseHost() {
  static UINT8 Source[0x20000], Target[0x20000];
  void *(*volatile Copy)(void *, const void *, size_t) = std::memcpy;
  void *(*volatile Move)(void *, const void *, size_t) = std::memmove;
  void *(*volatile Fill)(void *, int, size_t) = std::memset;
  int (*volatile Compare)(const void *, const void *, size_t) = std::memcmp;
  size_t (*volatile Length)(const char *) = std::strlen;
  UINT64 Sum = 0;
  for (const size_t Size : {7u, 24u, 48u, 100u, 300u, 3000u, 0x10000u}) {
    Fill(Source, 1, Size);
    Source[Size] = 0;
    Copy(Target, Source, Size);
    Move(Target + 1, Target, Size);
    Sum += static_cast<UINT64>(Compare(Source, Target, Size)) + Length(reinterpret_cast<char *>(Source));
  }
  void *volatile Block = std::malloc(300);
  std::free(Block);
  return Sum;
}

} // namespace

void SetDriverCallChecks(const DriverCallChecks &Checks) {
  mChecks = Checks;
}

void KeepDriverStack(std::vector<UINT8> *Copy) {
  mStackCopy = Copy;
}

void TrapNextDriverCall() {
  mTrapNext = true;
}

UINT64 CallDriver(const char *Name, const void *Function, const UINT64 *Arguments, UINTN Count) {
  if (Count > mMaximumArguments) {
    AbortRun(std::string(Name) + ": more than eight arguments");
  }
  SaveOuterStack();
  DRIVER_CALL Call;
  Call.Function = Function;
  for (UINTN Index = 0; Index < mMaximumArguments; ++Index) {
    Call.Arguments[Index] = Index < Count ? Arguments[Index] : mUnusedArgument;
  }
  Call.PaintBytes = mChecks.PaintBytes;
  Call.UpperVectors = mChecks.UpperVectors && HostHasAvx() ? 1 : 0;
  Call.LowestSoFar = ~UINT64{0};
  Call.Outer = mInnermost;
  Call.StackCopy = nullptr;
  if (mStackCopy != nullptr && Call.Outer == nullptr) {
    mStackCopy->resize(Call.PaintBytes);
    Call.StackCopy = mStackCopy->data();
  }
  Call.Trap = std::exchange(mTrapNext, false) ? 1 : 0;
  mInnermost = &Call;
  DriverCallGate(&Call);
  mInnermost = Call.Outer;
  if (Call.StackCopy != nullptr) {
    mStackCopy->resize(Call.StackTop - Call.Lowest);
  }
  JudgeRegisters(Name, Call);
  RecordStack(Name, Call);
  return Call.Result;
}

UINT64 CallDriver(const char *Name, const void *Function, std::initializer_list<UINT64> Arguments) {
  return CallDriver(Name, Function, Arguments.begin(), Arguments.size());
}

UINT64 DeepestStack(const char *Name) {
  const auto Place = Stacks().find(std::string_view(Name));
  return Place == Stacks().end() ? 0 : Place->second;
}

const std::map<std::string, UINT64, std::less<>> &DeepestStacks() {
  return Stacks();
}

void ClearDeepestStacks() {
  Stacks().clear();
}

void AbandonDriverCalls() {
  mInnermost = nullptr;
}

bool HostHasAvx() {
  return __builtin_cpu_supports("avx") != 0;
}

bool HostLeavesAvxAlone() {
  static const bool Alone = [] {
    DRIVER_CALL Call = {};
    Call.Function = reinterpret_cast<const void *>(&ExerciseHost);
    Call.UpperVectors = 1;
    if (HostHasAvx()) {
      DriverCallGate(&Call);
    }
    return !HostHasAvx() || ChangedUpper(Call) == 16;
  }();
  return Alone;
}

void RestartWithoutHostAvx(char **Arguments) {
  const char *Present = std::getenv("GLIBC_TUNABLES");
  const std::string Tunables = Present != nullptr ? Present : "";
  if (HostLeavesAvxAlone() || Tunables.find("glibc.cpu.hwcaps") != std::string::npos) {
    return;
  }
  const std::string Wanted = "glibc.cpu.hwcaps=-AVX2,-AVX_Fast_Unaligned_Load,-AVX512F,-AVX512VL,-AVX512BW";
  setenv("GLIBC_TUNABLES", (Tunables.empty() ? Wanted : Tunables + ":" + Wanted).c_str(), 1);
  execv("/proc/self/exe", Arguments);
}

// Patches the scripted instructions and emulates them when they trap. Must leave an image's pages never
// writable and executable at once; the program's own code needs both for the moment of patching, as the
// patcher may lie there too.
#include "simulator/ProcessorScript.h"

#include <cstring>

#include <cpuid.h>
#include <sys/mman.h>

#include "simulator/Faults.h"

namespace {

// The crypto library's routines and the driver's own.
constexpr const char *mRoutines[] = {
    "OPENSSL_ia32_cpuid", "OPENSSL_rdtsc",      "OPENSSL_ia32_rdrand_bytes", "OPENSSL_ia32_rdseed_bytes",
    "ProcessorCpuid",     "ProcessorTimeStamp", "ProcessorRdrand",           "ProcessorRdseed"};

constexpr std::array<UINT8, 2> mUndefined = {0x0F, 0x0B};
constexpr UINT64 mPageBytes = 0x1000;
constexpr const char *mOpcodeNames[] = {"cpuid", "rdtsc", "rdrand", "rdseed"};

// Carry, parity, adjust, zero, sign, overflow: rdrand and rdseed write all six.
constexpr greg_t mArithmeticFlags = 0x8D5;
constexpr greg_t mCarryFlag = 0x001;

enum CPUID_REGISTER { Eax, Ebx, Ecx, Edx };

struct FEATURE_BITS {
  ProcessorScript::Feature Feature;
  UINT32 Leaf;
  CPUID_REGISTER Register;
  UINT32 Own;       // Set or cleared.
  UINT32 Dependent; // Cleared with it.
};

using enum ProcessorScript::Feature;

// Intel 64 manual, volume 2, CPUID; the extended leaf holds AMD's XOP and FMA4.
constexpr FEATURE_BITS mFeatureBits[] = {
    {AesNi, 1, Ecx, 1u << 25, 0},
    {AesNi, 7, Ecx, 0, 1u << 9},
    {Pclmul, 1, Ecx, 1u << 1, 0},
    {Pclmul, 7, Ecx, 0, 1u << 10},
    {Ssse3, 1, Ecx, 1u << 9, 0},
    {Sha, 7, Ebx, 1u << 29, 0},
    {Avx, 1, Ecx, 1u << 28, 1u << 12 | 1u << 29},
    {Avx, 7, Ebx, 0,
     1u << 5 | 1u << 16 | 1u << 17 | 1u << 21 | 1u << 26 | 1u << 27 | 1u << 28 | 1u << 30 | 1u << 31},
    {Avx, 7, Ecx, 0, 1u << 1 | 1u << 6 | 1u << 9 | 1u << 10 | 1u << 11 | 1u << 12 | 1u << 14},
    {Avx, 0x80000001, Ecx, 0, 1u << 11 | 1u << 16},
    {Rdseed, 7, Ebx, 1u << 18, 0},
    {Rdrand, 1, Ecx, 1u << 30, 0},
};

constexpr int mGeneralRegisters[] = {REG_RAX, REG_RCX, REG_RDX, REG_RBX, REG_RSP, REG_RBP, REG_RSI, REG_RDI,
                                     REG_R8,  REG_R9,  REG_R10, REG_R11, REG_R12, REG_R13, REG_R14, REG_R15};

ProcessorScript *mLiving = nullptr;

std::optional<UINT64> NativeRandom(bool IsRdrand) {
  UINT64 Value;
  bool Given;
  if (IsRdrand) {
    __asm__ volatile("rdrand %0" : "=r"(Value), "=@ccc"(Given));
  } else {
    __asm__ volatile("rdseed %0" : "=r"(Value), "=@ccc"(Given));
  }
  return Given ? std::optional<UINT64>(Value) : std::nullopt;
}

UINTN IndexOf(ProcessorScript::Feature Which) {
  return static_cast<UINTN>(Which);
}

} // namespace

ProcessorScript::ProcessorScript(const DriverTarget &Target)
    : InImage_(Target.Image() != nullptr), Handler_(SIGILL, OnUndefined) {
  for (const char *Routine : mRoutines) {
    const auto Extent = Target.Find(Routine);
    if (!Extent) {
      continue;
    }
    UINT8 *Code = reinterpret_cast<UINT8 *>(Extent->Begin);
    for (const ProcessorOpcodePlace &Found : FindProcessorOpcodes(Code, Extent->End - Extent->Begin)) {
      UINT8 *Opcode = Code + Found.Offset;
      Places_.push_back({Opcode, Found, {Opcode[0], Opcode[1]}, false});
    }
  }
  mLiving = this;
}

ProcessorScript::~ProcessorScript() {
  for (Place &Each : Places_) {
    if (Each.Patched) {
      Overwrite(Each, Each.Original);
    }
  }
  mLiving = nullptr;
}

// Needed says whether it is an error of the test when the driver has no such instruction.
void ProcessorScript::Script(ProcessorOpcode Opcode, bool Needed) {
  bool Found = false;
  for (Place &Each : Places_) {
    if (Each.Instruction.Opcode == Opcode) {
      Found = true;
      Overwrite(Each, mUndefined);
      Each.Patched = true;
    }
  }
  if (Needed && !Found) {
    throw LoadError(std::string("the driver holds no ") + mOpcodeNames[static_cast<UINTN>(Opcode)] +
                    " in a known routine, so it cannot be scripted");
  }
}

void ProcessorScript::Overwrite(Place &Where, const std::array<UINT8, 2> &Bytes) {
  const UINT64 First = reinterpret_cast<UINT64>(Where.Address) & ~(mPageBytes - 1);
  const UINT64 End = reinterpret_cast<UINT64>(Where.Address) + Bytes.size();
  void *Pages = reinterpret_cast<void *>(First);
  if (mprotect(Pages, End - First, PROT_READ | PROT_WRITE | (InImage_ ? 0 : PROT_EXEC)) != 0) {
    AbortRun("code pages cannot be patched");
  }
  std::memcpy(Where.Address, Bytes.data(), Bytes.size());
  if (mprotect(Pages, End - First, PROT_READ | PROT_EXEC) != 0) {
    AbortRun("patched code pages cannot be closed");
  }
}

void ProcessorScript::SetFeature(Feature Which, bool Present) {
  Script(ProcessorOpcode::Cpuid, true);
  Features_[IndexOf(Which)] = Present;
  if (Which != Feature::Rdrand && Which != Feature::Rdseed) {
    return;
  }
  RandomSource &Source = Which == Feature::Rdrand ? Rdrand_ : Rdseed_;
  if (Present && !Source && !NativelyPresent(Which)) {
    Source = PseudoRandom(0);
  }
  if (!Present || Source) {
    Script(Which == Feature::Rdrand ? ProcessorOpcode::Rdrand : ProcessorOpcode::Rdseed, false);
  }
}

void ProcessorScript::SetRdrand(RandomSource Source) {
  Script(ProcessorOpcode::Rdrand, true);
  Rdrand_ = std::move(Source);
}

void ProcessorScript::SetRdseed(RandomSource Source) {
  Script(ProcessorOpcode::Rdseed, true);
  Rdseed_ = std::move(Source);
}

void ProcessorScript::SetTimeStamp(TimeSource Source) {
  Script(ProcessorOpcode::TimeStamp, true);
  TimeStamp_ = std::move(Source);
}

bool ProcessorScript::OnUndefined(const siginfo_t &, ucontext_t &Context) {
  greg_t *Registers = Context.uc_mcontext.gregs;
  const UINT8 *Address = reinterpret_cast<const UINT8 *>(Registers[REG_RIP]);
  if (mLiving == nullptr) {
    return false;
  }
  for (const Place &Each : mLiving->Places_) {
    if (Each.Address == Address && Each.Patched) {
      const ProcessorOpcodePlace Instruction = Each.Instruction;
      mLiving->Answer(Instruction, Registers);
      Registers[REG_RIP] += static_cast<greg_t>(Instruction.Length);
      return true;
    }
  }
  return false;
}

void ProcessorScript::Answer(const ProcessorOpcodePlace &Instruction, greg_t *Registers) {
  if (Instruction.Opcode == ProcessorOpcode::Cpuid) {
    AnswerCpuid(Registers);
  } else if (Instruction.Opcode == ProcessorOpcode::TimeStamp) {
    const UINT64 Time = TimeStamp_ ? TimeStamp_() : __builtin_ia32_rdtsc();
    Registers[REG_RAX] = static_cast<greg_t>(Time & 0xFFFFFFFF);
    Registers[REG_RDX] = static_cast<greg_t>(Time >> 32);
  } else {
    AnswerRandom(Instruction, Registers);
  }
}

void ProcessorScript::AnswerCpuid(greg_t *Registers) const {
  const UINT32 Leaf = static_cast<UINT32>(Registers[REG_RAX]);
  const UINT32 Subleaf = static_cast<UINT32>(Registers[REG_RCX]);
  UINT32 Values[4];
  __cpuid_count(Leaf, Subleaf, Values[Eax], Values[Ebx], Values[Ecx], Values[Edx]);
  for (const FEATURE_BITS &Bits : mFeatureBits) {
    const std::optional<bool> Present = Features_[IndexOf(Bits.Feature)];
    if (!Present || Bits.Leaf != Leaf || (Leaf == 7 && Subleaf != 0)) {
      continue;
    }
    UINT32 &Value = Values[Bits.Register];
    Value = *Present ? Value | Bits.Own : Value & ~(Bits.Own | Bits.Dependent);
  }
  Registers[REG_RAX] = Values[Eax];
  Registers[REG_RBX] = Values[Ebx];
  Registers[REG_RCX] = Values[Ecx];
  Registers[REG_RDX] = Values[Edx];
}

void ProcessorScript::AnswerRandom(const ProcessorOpcodePlace &Instruction, greg_t *Registers) {
  const bool IsRdrand = Instruction.Opcode == ProcessorOpcode::Rdrand;
  std::optional<UINT64> Value;
  if (Features_[IndexOf(IsRdrand ? Feature::Rdrand : Feature::Rdseed)] == false) {
    ReportFault(std::string(IsRdrand ? "rdrand" : "rdseed") + " run on a processor that does not have it");
  } else {
    const RandomSource &Source = IsRdrand ? Rdrand_ : Rdseed_;
    Value = Source ? Source() : NativeRandom(IsRdrand);
  }
  greg_t &Register = Registers[mGeneralRegisters[Instruction.Register]];
  const UINT64 Bits = Value.value_or(0);
  if (Instruction.OperandBytes == 8) {
    Register = static_cast<greg_t>(Bits);
  } else if (Instruction.OperandBytes == 4) {
    Register = static_cast<greg_t>(Bits & 0xFFFFFFFF);
  } else {
    Register = (Register & ~greg_t{0xFFFF}) | static_cast<greg_t>(Bits & 0xFFFF);
  }
  Registers[REG_EFL] = (Registers[REG_EFL] & ~mArithmeticFlags) | (Value ? mCarryFlag : 0);
}

bool ProcessorScript::NativelyPresent(Feature Which) {
  for (const FEATURE_BITS &Bits : mFeatureBits) {
    UINT32 Values[4];
    if (Bits.Feature == Which && Bits.Own != 0 &&
        __get_cpuid_count(Bits.Leaf, 0, &Values[Eax], &Values[Ebx], &Values[Ecx], &Values[Edx]) != 0) {
      return (Values[Bits.Register] & Bits.Own) != 0;
    }
  }
  return false;
}

ProcessorScript::RandomSource ProcessorScript::Failing() {
  return [] { return std::optional<UINT64>(); };
}

ProcessorScript::RandomSource ProcessorScript::Stuck(UINT64 Value) {
  return [Value] { return std::optional<UINT64>(Value); };
}

ProcessorScript::RandomSource ProcessorScript::Sequence(std::vector<UINT64> Values) {
  return [Values = std::move(Values), Next = size_t{0}]() mutable {
    return Next < Values.size() ? std::optional<UINT64>(Values[Next++]) : std::nullopt;
  };
}

ProcessorScript::RandomSource ProcessorScript::PseudoRandom(UINT64 Seed) {
  // SplitMix64: every state gives another value, so no two consecutive ones are alike.
  return [State = Seed]() mutable {
    State += 0x9E3779B97F4A7C15;
    UINT64 Mixed = (State ^ (State >> 30)) * 0xBF58476D1CE4E5B9;
    Mixed = (Mixed ^ (Mixed >> 27)) * 0x94D049BB133111EB;
    return std::optional<UINT64>(Mixed ^ (Mixed >> 31));
  };
}

ProcessorScript::TimeSource ProcessorScript::Constant(UINT64 Value) {
  return [Value] { return Value; };
}

ProcessorScript::TimeSource ProcessorScript::Counting(UINT64 First, UINT64 Step) {
  return [Next = First, Step]() mutable {
    const UINT64 Value = Next;
    Next += Step;
    return Value;
  };
}

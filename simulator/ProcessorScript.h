// Scripts the processor a driver sees: its features, its random numbers, its time-stamp counter. The
// instructions run natively until a script asks otherwise; then an undefined instruction stands in their
// place and is emulated. Only the few routines named in ProcessorScript.cpp are touched.
#pragma once

#include <array>
#include <functional>
#include <optional>
#include <vector>

#include "simulator/DriverTarget.h"
#include "simulator/ProcessorOpcodes.h"
#include "simulator/SignalHandler.h"

class ProcessorScript {
public:
  enum class Feature { AesNi, Pclmul, Ssse3, Sha, Avx, Rdseed, Rdrand };
  static constexpr UINTN mFeatureCount = 7;

  // One answer of rdrand or rdseed; nothing stands for a cleared carry flag.
  using RandomSource = std::function<std::optional<UINT64>()>;
  using TimeSource = std::function<UINT64()>;

  // Target must outlive the script; destruction puts every instruction back. One script lives at a time.
  explicit ProcessorScript(const DriverTarget &Target);
  ~ProcessorScript();
  ProcessorScript(const ProcessorScript &) = delete;
  ProcessorScript &operator=(const ProcessorScript &) = delete;

  // What cpuid says from now on; all else stays as the processor answers. Without AVX what builds on it goes
  // too. A driver that runs rdrand or rdseed although they are absent is reported as a fault and gets a
  // cleared carry flag.
  void SetFeature(Feature Which, bool Present);

  void SetRdrand(RandomSource Source);
  void SetRdseed(RandomSource Source);
  void SetTimeStamp(TimeSource Source);

  // The four setters throw LoadError when the driver holds no such instruction in a routine that is known by
  // name: an image without link map, for one.

  static bool NativelyPresent(Feature Which);

  static RandomSource Failing();
  static RandomSource Stuck(UINT64 Value);
  static RandomSource Sequence(std::vector<UINT64> Values); // Fails behind the last one.
  static RandomSource PseudoRandom(UINT64 Seed);
  static TimeSource Constant(UINT64 Value);
  static TimeSource Counting(UINT64 First, UINT64 Step);

private:
  struct Place {
    UINT8 *Address;
    ProcessorOpcodePlace Instruction;
    std::array<UINT8, 2> Original;
    bool Patched;
  };

  static bool OnUndefined(const siginfo_t &Information, ucontext_t &Context);
  void Script(ProcessorOpcode Opcode, bool Needed);
  void Overwrite(Place &Where, const std::array<UINT8, 2> &Bytes);
  void Answer(const ProcessorOpcodePlace &Instruction, greg_t *Registers);
  void AnswerCpuid(greg_t *Registers) const;
  void AnswerRandom(const ProcessorOpcodePlace &Instruction, greg_t *Registers);

  bool InImage_;
  std::vector<Place> Places_;
  std::array<std::optional<bool>, mFeatureCount> Features_;
  RandomSource Rdrand_;
  RandomSource Rdseed_;
  TimeSource TimeStamp_;
  SignalHandler Handler_;
};

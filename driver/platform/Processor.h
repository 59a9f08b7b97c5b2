// The processor instructions that no C++ expression reaches: identification,
// time-stamp counter, hardware random numbers. Each is a routine of its own, so
// that a simulator finds the one instruction in it by the routine's name.
#pragma once

#include "uefi/Base.h"

struct CPUID_RESULT {
  UINT32 Eax;
  UINT32 Ebx;
  UINT32 Ecx;
  UINT32 Edx;
};

extern "C" {

// CPUID of a leaf and sub-leaf; a leaf above the highest one gives what the
// processor gives.
void ProcessorCpuid(UINT32 Leaf, UINT32 SubLeaf, CPUID_RESULT *Result);

// The time-stamp counter.
UINT64 ProcessorTimeStamp(void);

// One attempt at a hardware random word; FALSE when the processor has none
// ready. The processor must have the instruction.
BOOLEAN ProcessorRdseed(UINT64 *Word);
BOOLEAN ProcessorRdrand(UINT64 *Word);
}

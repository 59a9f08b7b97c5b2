// Finds the instructions whose answers a test may script (cpuid, rdtsc, rdrand, rdseed) in a piece of machine
// code. Reads code, executes and changes none.
#pragma once

#include <vector>

#include "uefi/Base.h"

enum class ProcessorOpcode { Cpuid, TimeStamp, Rdrand, Rdseed };

struct ProcessorOpcodePlace {
  ProcessorOpcode Opcode;
  UINTN Offset;       // From the start of the code.
  UINTN Length;       // Whole instruction, prefixes included, in bytes.
  UINTN Register;     // rdrand and rdseed: number of the destination, 0 (rax) to 15.
  UINTN OperandBytes; // rdrand and rdseed: 2, 4 or 8.
};

// Decodes [Code, Code + Size) instruction by instruction, so that nothing inside another instruction is taken
// for an opcode, and stops at the first one that is not known.
std::vector<ProcessorOpcodePlace> FindProcessorOpcodes(const UINT8 *Code, UINTN Size);

// The inputs that come from outside, each as one routine over bytes: for the fuzzer, and for replaying what
// it has found. A routine ends the program when the driver breaks a promise.
#pragma once

#include <span>

#include "uefi/Base.h"

struct FUZZ_TARGET {
  const char *Name;
  void (*Run)(std::span<const UINT8> Input);
};

// All of them, and the one of a name; NULL for a name that is none.
std::span<const FUZZ_TARGET> FuzzTargets();
const FUZZ_TARGET *FindFuzzTarget(const char *Name);

// Runs a target and then looks for faults of the driver. Memory is the sanitizer's to watch.
void RunFuzzTarget(const FUZZ_TARGET &Target, std::span<const UINT8> Input);

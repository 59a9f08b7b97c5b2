// The inputs that come from outside, each as one routine over bytes: for the fuzzer, and for replaying what
// it has found. A routine ends the program when the driver breaks a promise.
#pragma once

#include <span>

#include "uefi/Base.h"

struct FUZZ_TARGET {
  const char *Name;
  // Answers whether the input was taken as a good one, all the way to the end.
  bool (*Run)(std::span<const UINT8> Input);
};

// All of them, and the one of a name; NULL for a name that is none.
std::span<const FUZZ_TARGET> FuzzTargets();
const FUZZ_TARGET *FindFuzzTarget(const char *Name);

// Runs a target and ends the program for a fault of the driver and, under the address sanitizer, for memory
// that is lost: an input after which the heap has grown runs again until it does not.
// Answers what the target answers.
bool RunFuzzTarget(const FUZZ_TARGET &Target, std::span<const UINT8> Input);

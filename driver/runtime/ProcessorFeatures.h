// What the processor offers, looked at once at start-up.
#pragma once

#include "uefi/Base.h"

struct PROCESSOR_FEATURES {
  bool AesNi;
  bool Ssse3;
  bool Rdseed;
  bool Rdrand;
};

extern PROCESSOR_FEATURES ProcessorFeatures;

// Lets the crypto library look at the processor, takes the AVX family away
// from it, and fills ProcessorFeatures. Called once, before any other use of
// the library: its fast routines are off until then.
void SetUpProcessorFeatures();

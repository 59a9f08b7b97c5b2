// The entropy behind the crypto library's random generator: the processor's
// random instructions where it has working ones, mixed with every seed that
// callers give; without them, seeds alone, once 32 bytes have been given.
// Conditioning is SHA-256.
#pragma once

#include "uefi/Base.h"

// Mixes Size bytes of seed into the entropy pool. Every byte counts towards the
// 32 that a processor without random instructions needs.
void MixEntropySeed(const VOID *Seed, UINTN Size);

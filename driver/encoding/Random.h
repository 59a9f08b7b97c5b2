// The crypto library's random generator, one for all callers, as services.
#pragma once

#include "uefi/Uefi.h"

#include "CryptoServicesProtocol.h"

// Slot 46: mixes SeedSize bytes into the generator, or a default text with the
// time-stamp counter when Seed is NULL. TRUE when the generator is ready. FALSE
// too for a size above 0x7FFFFFFF, with or without Seed, and when SHA-1 cannot
// be registered; nothing is mixed then.
BOOLEAN EFIAPI SvcRandomSeed(const UINT8 *Seed, UINTN SeedSize);

// Slot 47: draws Size bytes. FALSE: Output is NULL, Size above 0x7FFFFFFF, or
// the generator is not ready or fails.
BOOLEAN EFIAPI SvcRandomBytes(UINT8 *Output, UINTN Size);

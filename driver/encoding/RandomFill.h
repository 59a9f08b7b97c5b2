// Bytes out of the real-time clock, the time-stamp counter, the generator and
// SHA-256: each 32-byte block is a digest over a fresh draw from a generator
// that was reseeded from the block before. Two 32-byte blocks live on between
// calls.
#pragma once

#include "uefi/Uefi.h"

#include "CryptoServicesProtocol.h"

// Slot 50: fills Output with Size bytes. EFI_INVALID_PARAMETER: Output is NULL
// or Size 0, nothing written; otherwise the status of the last digest. Failures
// of seeding and drawing are not reported.
EFI_STATUS EFIAPI SvcRandomFillClockSeeded(UINT8 *Output, UINTN Size);

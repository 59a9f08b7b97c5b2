// The crypto library's own digests, called without the driver: the measure for the driver's speed. It is the
// library of the linked driver, and runs at full speed only after that has been started once in this program.
#pragma once

#include "uefi/Base.h"

// What the digest services do, by the library's routines alone: Digest receives 20, 32 or 16 bytes.
void BareSha1(const VOID *Data, UINTN DataSize, UINT8 *Digest);
void BareSha256(const VOID *Data, UINTN DataSize, UINT8 *Digest);
void BareMd5(const VOID *Data, UINTN DataSize, UINT8 *Digest);

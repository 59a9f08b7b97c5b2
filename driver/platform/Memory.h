// Plain memory primitives of the driver: zero, fill, overlap-safe copy,
// compare, and the bounded and reversing copies of the platform layer. They
// allocate nothing and keep nothing.
#pragma once

#include "uefi/Base.h"

// Sets Size bytes at Block to zero, or to Value.
void ZeroMemory(VOID *Block, UINTN Size);
void FillMemory(VOID *Block, UINTN Size, UINT8 Value);

// Sets Size bytes at Block to zero in a way that the compiler cannot drop
// because the block is about to be released.
void WipeMemory(VOID *Block, UINTN Size);

// Copies Size bytes; the areas may overlap.
void MoveMemory(VOID *Destination, const VOID *Source, UINTN Size);

// 0 when the Size bytes are equal (always for Size 0), else the difference of
// the first two bytes that differ, each taken as unsigned. Stops at the first
// difference: not for secrets.
INTN CompareMemory(const VOID *First, const VOID *Second, UINTN Size);

// Equality of two GUIDs.
[[nodiscard]] bool SameGuid(const EFI_GUID &First, const EFI_GUID &Second);

// Copies the smaller of the two sizes from Source to Destination, overlap-safe.
// Does nothing when either size is 0, Source is NULL, or both addresses are
// the same.
void BoundedCopy(VOID *Destination, UINTN DestinationSize, const VOID *Source, UINTN SourceSize);

// Copies Source to Destination with the order of the bytes reversed.
// EFI_INVALID_PARAMETER: a pointer is NULL or a size 0; EFI_BAD_BUFFER_SIZE:
// the sizes differ. Nothing is written then.
[[nodiscard]] EFI_STATUS CopyByteReversed(VOID *Destination, UINTN DestinationSize, const VOID *Source,
                                          UINTN SourceSize);

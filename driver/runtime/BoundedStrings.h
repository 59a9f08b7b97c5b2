// strncpy and strcat as the crypto library gets them: bounded to buffers of
// 4096 bytes and answering an EFI_STATUS, which the library ignores.
#pragma once

#include "uefi/Base.h"

extern "C" {

// Copies the first Count characters of Source at most and a terminating NUL;
// the destination holds Count + 1 bytes. Nothing is written on a refusal:
// EFI_INVALID_PARAMETER: a NULL pointer, or Count above 1,000,000;
// EFI_BUFFER_TOO_SMALL: Count and the source both reach 4096 characters;
// EFI_ACCESS_DENIED: the areas overlap, or the source starts less than 4096
// bytes above the destination.
EFI_STATUS strncpy(CHAR8 *Destination, const CHAR8 *Source, UINTN Count);

// Appends Source and its NUL to the text in a 4096-byte Destination. Nothing is
// written on a refusal: EFI_INVALID_PARAMETER: a NULL pointer;
// EFI_BAD_BUFFER_SIZE: no room left; EFI_BUFFER_TOO_SMALL: the source does not
// fit; EFI_ACCESS_DENIED: overlap, judged as for strncpy.
EFI_STATUS strcat(CHAR8 *Destination, const CHAR8 *Source);
}

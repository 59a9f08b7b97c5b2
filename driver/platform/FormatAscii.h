// Bounded ASCII formatting for the few texts that the driver makes itself.
#pragma once

#include "uefi/Base.h"

// Writes Format into Buffer with its first "%ld" replaced by the decimal form
// of Value (signed 64-bit). At most Size bytes are written, the terminating
// zero included; a Size of 0 writes nothing. Bytes behind the terminator keep
// their contents.
void FormatAscii(CHAR8 *Buffer, UINTN Size, const CHAR8 *Format, INT64 Value);

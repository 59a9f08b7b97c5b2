// The caller's bytes as a stream that the library reads from.
#pragma once

#include "uefi/Uefi.h" // first: the library's headers want its types

#include <openssl/bio.h>

#include "driver/platform/LibraryHandle.h"

// Owns a stream with all that is behind it.
using StreamHandle = LibraryHandle<BIO, BIO_free_all>;

// A stream over the Size bytes at Data, which are not copied and must outlive it. Empty when there are none,
// more than 0x5FFFFFFC, the most that the library's memory streams hold, or no memory.
[[nodiscard]] inline StreamHandle OpenMemoryStream(const UINT8 *Data, UINTN Size) {
  constexpr UINTN SizeMax = 0x5FFFFFFC;
  return StreamHandle(Size != 0 && Size <= SizeMax ? BIO_new_mem_buf(Data, static_cast<int>(Size)) : nullptr);
}

// What the two directions of Base64 share: the argument tests, the alphabets
// and the library's objects.
#pragma once

#include "uefi/Uefi.h"

#include <openssl/bio.h>

#include "driver/platform/LibraryHandle.h"

// Each object of a chain is owned and freed by itself.
using BioHandle = LibraryHandle<BIO, BIO_free>;

constexpr UINTN LargestBase64Length = 0x7FFFFFFF; // the library counts in 32 bits with a sign

// The refusals common to all services, nothing written.
template <typename INPUT, typename OUTPUT>
[[nodiscard]] EFI_STATUS CheckBase64Arguments(const INPUT *Input, UINTN Length, OUTPUT *const *Output,
                                              const UINTN *OutputLength) {
  if (Input == nullptr || Length == 0 || Length > LargestBase64Length || Output == nullptr ||
      OutputLength == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  return *Output != nullptr ? EFI_BAD_BUFFER_SIZE : EFI_SUCCESS;
}

struct BASE64_ALPHABET {
  CHAR8 Value62;
  CHAR8 Value63;
};
inline constexpr BASE64_ALPHABET mStandardAlphabet = {'+', '/'};
inline constexpr BASE64_ALPHABET mUrlSafeAlphabet = {'-', '_'};

// Rewrites the two characters in which the alphabets differ, up to the first
// zero byte within Length.
void TranslateAlphabet(CHAR8 *Text, UINTN Length, const BASE64_ALPHABET &From, const BASE64_ALPHABET &To);

// A new filter in front of Source, in the layout that NoNewline says.
// EFI_OUT_OF_RESOURCES: Source is empty or there is no memory;
// EFI_DEVICE_ERROR: they cannot be chained. Source must outlive the filter.
[[nodiscard]] EFI_STATUS ChainBase64Filter(const BioHandle &Source, BOOLEAN NoNewline, BioHandle *Filter);

// Every seed goes into the driver's entropy pool first, from which the library
// makes the generator ready, and then into the generator itself.
#include "driver/encoding/Random.h"

#include <openssl/evp.h>
#include <openssl/rand.h>

#include "driver/platform/FormatAscii.h"
#include "driver/platform/Processor.h"
#include "driver/runtime/Entropy.h"

namespace {

constexpr UINTN LargestSize = 0x7FFFFFFF;
constexpr UINTN DefaultSeedSize = 128;

void MixSeed(const VOID *Bytes, UINTN Size) {
  MixEntropySeed(Bytes, Size);
  RAND_seed(Bytes, static_cast<int>(Size));
}

} // namespace

BOOLEAN EFIAPI SvcRandomSeed(const UINT8 *Seed, UINTN SeedSize) {
  if (SeedSize > LargestSize || EVP_add_digest(EVP_sha1()) == 0) {
    return FALSE;
  }
  if (Seed != nullptr) {
    MixSeed(Seed, SeedSize);
  } else {
    // All of it is seed; behind the text lies what the stack held, which is not cleared on purpose.
    CHAR8 Text[DefaultSeedSize];
    FormatAscii(Text, sizeof(Text), "UEFI Crypto Library default seed (%ld)",
                static_cast<INT64>(ProcessorTimeStamp()));
    MixSeed(Text, sizeof(Text));
  }
  return RAND_status() == 1;
}

BOOLEAN EFIAPI SvcRandomBytes(UINT8 *Output, UINTN Size) {
  if (Output == nullptr || Size > LargestSize) {
    return FALSE;
  }
  return RAND_bytes(Output, static_cast<int>(Size)) == 1;
}

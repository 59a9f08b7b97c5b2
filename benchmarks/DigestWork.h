// The digests that are measured: by the bare library and through the driver's table. Nothing here measures.
#pragma once

#include <span>

#include "uefi/Base.h"

#include "CryptoServicesProtocol.h"

struct DIGEST_WORK {
  const char *Name;
  // Pool allocations that one digest may cost.
  UINTN Allocations;
  // Hash Data; Digest has room for 32 bytes.
  void (*Bare)(const VOID *Data, UINTN DataSize, UINT8 *Digest);
  void (*Driver)(const CRYPTO_SERVICES_PROTOCOL &Services, const VOID *Data, UINTN DataSize, UINT8 *Digest);
};

// The streaming services of slots 6 to 13, then slot 2 with each of its types.
std::span<const DIGEST_WORK> DigestWorks();

// 64 bytes to 16 MiB.
std::span<const UINTN> WorkSizes();

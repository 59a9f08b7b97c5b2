// The one-shot digest service (slot 2).
#pragma once

#include "uefi/Uefi.h"

#include "CryptoServicesProtocol.h"

// Digest of DataSize bytes at Data with SHA-1, SHA-256 or MD5. *DigestSize is
// the size of the Digest buffer on entry and receives the digest size N. Tested
// in this order: EFI_INVALID_PARAMETER (Data or DigestSize NULL, DataSize 0;
// nothing written), EFI_BUFFER_TOO_SMALL (Digest NULL or too small),
// EFI_UNSUPPORTED (unknown type, *DigestSize is 0 then), EFI_BAD_BUFFER_SIZE
// (context of size 0), EFI_OUT_OF_RESOURCES, EFI_SECURITY_VIOLATION (a hash
// step refused). Exactly N bytes of Digest are written on success.
EFI_STATUS EFIAPI SvcHashAll(HASH_TYPE HashType, const VOID *Data, UINTN DataSize, UINT8 *Digest,
                             UINTN *DigestSize);

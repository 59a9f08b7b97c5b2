// One-shot HMAC (RFC 2104, FIPS 198-1) with SHA-1 or SHA-256, built here out of
// the one-shot digest service.
#pragma once

#include "driver/platform/SecretBlock.h"
#include "uefi/Uefi.h"

#include "CryptoServicesProtocol.h"

// Makes the 64-byte key block: the key, or the digest of a longer one, and
// zeros behind. EFI_INVALID_PARAMETER: HashType is neither SHA-1 nor SHA-256;
// EFI_OUT_OF_RESOURCES; or the status of the digest. *KeyBlock may hold a block
// after a failure too; it wipes itself.
[[nodiscard]] EFI_STATUS HmacPrepareKeyBlock(HASH_TYPE HashType, const UINT8 *Key, UINTN KeySize,
                                             SecretBlock *KeyBlock);

// Slot 52. *MacSize is the size of Mac on entry and receives the MAC's size.
// Tested in this order: EFI_INVALID_PARAMETER (Key, Data or MacSize NULL,
// KeySize or DataSize 0, *MacSize not 0 without Mac) and EFI_UNSUPPORTED (no
// such type), nothing written; EFI_BUFFER_TOO_SMALL (the size query too);
// EFI_OUT_OF_RESOURCES; the status of a digest that failed.
EFI_STATUS EFIAPI SvcHmacCompute(HASH_TYPE HashType, const UINT8 *Key, UINTN KeySize, const UINT8 *Data,
                                 UINTN DataSize, UINT8 *Mac, UINTN *MacSize);

// Slot 53. EFI_NOT_STARTED for arguments that SvcHmacCompute refuses;
// EFI_OUT_OF_RESOURCES or the status of a failed computation;
// EFI_SECURITY_VIOLATION when the expected MAC is NULL, of another size, or
// different.
EFI_STATUS EFIAPI SvcHmacVerify(HASH_TYPE HashType, const UINT8 *Key, UINTN KeySize, const UINT8 *Data,
                                UINTN DataSize, const UINT8 *ExpectedMac, UINTN ExpectedMacSize);

// PKCS#1 v1.5 signatures (RFC 8017, section 8.2) over data given as a list of buffers, which are hashed in
// order as one message (slots 0, 1 and 3). Signature and modulus come least-significant byte first; the
// exponent is 65537. No caller's buffer is changed.
#pragma once

#include "driver/trust/BuiltinKeys.h"
#include "uefi/Uefi.h"

#include "CryptoServicesProtocol.h"

// Verifies with the caller's modulus. Tested in this order: EFI_INVALID_PARAMETER (a pointer NULL; Count,
// ModulusSize or SignatureSize 0; HashType neither SHA-1 nor SHA-256), EFI_BAD_BUFFER_SIZE (an entry that is
// NULL or empty), EFI_OUT_OF_RESOURCES, EFI_NOT_FOUND (a hash step refused), EFI_OUT_OF_RESOURCES (no memory
// for the key), EFI_NOT_READY (a modulus that the library cannot hold), EFI_SECURITY_VIOLATION (the signature
// does not verify).
EFI_STATUS EFIAPI SvcVerifyDataListWithKey(const VOID **DataList, const UINTN *SizeList, UINTN Count,
                                           const UINT8 *Modulus, UINTN ModulusSize, const UINT8 *Signature,
                                           UINTN SignatureSize, HASH_TYPE HashType);

// Verifies with the built-in keys of KeyType; the first that verifies wins, and *KeyValid (optional) receives
// its valid mark. EFI_INVALID_PARAMETER (a pointer NULL; Count or SignatureSize 0; unknown HashType), the
// refusals of GetBuiltinKeys, then the answer of SvcVerifyDataListWithKey for the last key.
EFI_STATUS EFIAPI SvcVerifyDataListWithBuiltinKeys(const VOID **DataList, const UINTN *SizeList, UINTN Count,
                                                   const UINT8 *Signature, UINTN SignatureSize,
                                                   BUILTIN_KEY_TYPE KeyType, UINT32 *KeyValid,
                                                   HASH_TYPE HashType);

// The same for one buffer. EFI_INVALID_PARAMETER (unknown HashType; Signature NULL or empty) comes before the
// key lookup, the test of Data and DataSize (EFI_BAD_BUFFER_SIZE) behind it.
EFI_STATUS EFIAPI SvcVerifyBufferWithBuiltinKeys(const VOID *Data, UINTN DataSize, const UINT8 *Signature,
                                                 UINTN SignatureSize, BUILTIN_KEY_TYPE KeyType,
                                                 HASH_TYPE HashType, UINT32 *KeyValid);

// A signature and what it covers.
struct SIGNED_DATA {
  const VOID **DataList;
  const UINTN *SizeList;
  UINTN Count;
  const UINT8 *Signature;
  UINTN SignatureSize;
  HASH_TYPE HashType;
};

// Verifies Signed with each key that Lookup gives for KeyType until one succeeds, and stores that key's valid
// mark in *KeyValid unless it is NULL. The lookup's refusal, or the last key's; EFI_SECURITY_VIOLATION when
// the lookup gives no key at all.
[[nodiscard]] EFI_STATUS VerifyWithKeysOf(KEY_LOOKUP Lookup, BUILTIN_KEY_TYPE KeyType,
                                          const SIGNED_DATA &Signed, UINT32 *KeyValid);

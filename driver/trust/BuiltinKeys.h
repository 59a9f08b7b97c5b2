// The store of the driver's own public keys. Its moduli are part of its code, so that no table in the image's
// data holds them, and no caller can supply or replace one.
#pragma once

#include "uefi/Uefi.h"

#include "CryptoServicesProtocol.h"

constexpr UINTN BUILTIN_MODULUS_SIZE = 256;

// One candidate key, exponent 65537. A record without key material is all zero.
struct BUILTIN_KEY_RECORD {
  UINT8 Modulus[BUILTIN_MODULUS_SIZE]; // least-significant byte first
  UINT32 Kind;                         // 1
  UINT32 KeyType;                      // the type that was asked for
  UINT32 Valid;                        // 1
};
static_assert(sizeof(BUILTIN_KEY_RECORD) == 268);

// Stores a new pool block with one record in *Records and 1 in *Count: the key of types 1, 3 and 4, an empty
// record for type 0. *Records must be NULL before, and is the caller's to release whatever the answer.
// DataList, the data about to be verified, is not read. Tested in this order: EFI_INVALID_PARAMETER (Count
// NULL), EFI_BAD_BUFFER_SIZE (*Records not NULL), EFI_NOT_FOUND (type 2 or above 5), EFI_OUT_OF_RESOURCES;
// for type 5 EFI_SECURITY_VIOLATION, or EFI_INVALID_PARAMETER without DataList, with an empty record in
// *Records. *Count is written on success alone.
[[nodiscard]] EFI_STATUS GetBuiltinKeys(BUILTIN_KEY_TYPE KeyType, BUILTIN_KEY_RECORD **Records, UINTN *Count,
                                        const VOID *const *DataList);

// How a check gets its candidate keys: GetBuiltinKeys in every service.
using KEY_LOOKUP = EFI_STATUS (*)(BUILTIN_KEY_TYPE KeyType, BUILTIN_KEY_RECORD **Records, UINTN *Count,
                                  const VOID *const *DataList);

// Stores a new pool block of Count zeroed records in *Records. EFI_INVALID_PARAMETER: Count 0;
// EFI_BAD_BUFFER_SIZE: *Records not NULL, or more bytes than can be counted; EFI_OUT_OF_RESOURCES.
[[nodiscard]] EFI_STATUS AllocateKeyRecords(BUILTIN_KEY_RECORD **Records, UINTN Count);

// Fills the first of Count records, which must be zeroed, for KeyType; types 0 and 5 write nothing.
// EFI_INVALID_PARAMETER: Record NULL or Count 0; otherwise the answers of GetBuiltinKeys. A routine of its
// own under a plain name, so that a tool finds out through the link map which keys an image holds.
extern "C" [[nodiscard]] EFI_STATUS EFIAPI FillBuiltinKeyRecord(BUILTIN_KEY_TYPE KeyType,
                                                                BUILTIN_KEY_RECORD *Record, UINTN Count,
                                                                const VOID *const *DataList);

// Registration of string packages with the HII database (UEFI 2.10, sections
// 33.3.1 and 34.8).
#pragma once

#include "uefi/HiiDatabase.h"

// Registers the packages of all Arrays as one package list named ListGuid for
// DeviceHandle (may be NULL). Arrays ends with NULL; each array starts with a
// little-endian UINT32, its own length in bytes with those four, and whole
// packages follow. NULL when there is nothing to register, no database, no
// memory, or the database refuses. The database keeps its own copy.
EFI_HII_HANDLE AddStringPackages(const EFI_GUID &ListGuid, EFI_HANDLE DeviceHandle,
                                 const UINT8 *const *Arrays);

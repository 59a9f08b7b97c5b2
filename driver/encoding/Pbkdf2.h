// PBKDF2 with HMAC-SHA1 (RFC 8018, section 5.2).
#pragma once

#include "uefi/Uefi.h"

#include "CryptoServicesProtocol.h"

// Slot 49: OutputLength bytes of key from a password and a salt, which may be
// NULL when it is empty. EFI_INVALID_PARAMETER: Password or Output NULL, their
// length or the count 0, or a number above 0x7FFFFFFF; EFI_BAD_BUFFER_SIZE: a
// salt without address; EFI_DEVICE_ERROR: the library fails.
EFI_STATUS EFIAPI SvcPbkdf2HmacSha1(const UINT8 *Password, UINTN PasswordLength, const UINT8 *Salt,
                                    UINTN SaltLength, UINTN IterationCount, UINT8 *Output,
                                    UINTN OutputLength);

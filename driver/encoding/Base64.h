// Base64 (RFC 4648, sections 4 and 5) between bytes and CHAR8 or CHAR16 text,
// as the six services of the table. The coding itself is the crypto library's
// filter.
#pragma once

#include "uefi/Uefi.h"

#include "CryptoServicesProtocol.h"

// All six: lengths count characters or bytes of one buffer; *Output must hold
// NULL and receives a new pool block of the caller's, which ends in one zero
// character behind *OutputLength. UrlSafe takes "-" and "_" for "+" and "/".
// NoNewline means text without line breaks, otherwise lines of 64 characters
// each ended by a line feed. In this order: EFI_INVALID_PARAMETER (a NULL
// pointer, a length of 0 or above 0x7FFFFFFF), EFI_BAD_BUFFER_SIZE (*Output is
// not NULL), EFI_OUT_OF_RESOURCES, EFI_DEVICE_ERROR (the filter cannot be
// chained, or a read fails), EFI_UNSUPPORTED and EFI_NOT_FOUND (other failures
// of a read), EFI_LOAD_ERROR (nothing came out). No failure writes *Output or
// *OutputLength.

// Slots 54 and 55.
EFI_STATUS EFIAPI SvcBase64EncodeToUnicode(BOOLEAN UrlSafe, BOOLEAN NoNewline, const UINT8 *Data,
                                           UINTN DataSize, CHAR16 **Output, UINTN *OutputLength);
EFI_STATUS EFIAPI SvcBase64EncodeToAscii(BOOLEAN UrlSafe, BOOLEAN NoNewline, const UINT8 *Data,
                                         UINTN DataSize, CHAR8 **Output, UINTN *OutputLength);

// Slots 56 and 58. With UrlSafe the CHAR8 text itself is rewritten to the
// standard alphabet, up to its first zero byte, and stays so after a later
// failure. CHAR16 text is only read, the low byte of each character.
EFI_STATUS EFIAPI SvcBase64DecodeUnicode(BOOLEAN UrlSafe, BOOLEAN NoNewline, const CHAR16 *Input,
                                         UINTN InputLength, UINT8 **Output, UINTN *OutputLength);
EFI_STATUS EFIAPI SvcBase64DecodeAscii(BOOLEAN UrlSafe, BOOLEAN NoNewline, CHAR8 *Input, UINTN InputLength,
                                       UINT8 **Output, UINTN *OutputLength);

// Slots 57 and 59: as above, UrlSafe when the text holds "-" or "_", NoNewline
// when it holds neither line feed nor carriage return.
EFI_STATUS EFIAPI SvcBase64DecodeUnicodeAuto(const CHAR16 *Input, UINTN InputLength, UINT8 **Output,
                                             UINTN *OutputLength);
EFI_STATUS EFIAPI SvcBase64DecodeAsciiAuto(CHAR8 *Input, UINTN InputLength, UINT8 **Output,
                                           UINTN *OutputLength);

// Verification of a whole firmware image in memory against the signature block inside it (slot 4). The image
// is the caller's, and is changed during the call; nobody else may touch it meanwhile.
#pragma once

#include "driver/trust/BuiltinKeys.h"
#include "uefi/Uefi.h"

#include "CryptoServicesProtocol.h"

// Blanks with 0xFF what the image's signature does not cover (the excluded regions that IMAGE_LAYOUT_PROTOCOL
// names, and the signature areas), verifies the first block's signature over the whole with SHA-256 and the
// built-in keys of type 0 or 5 (by the block's KeySelect as it reads then), and asks the platform's policy.
// Afterwards each signature area holds the first block's signature, and each excluded region its old contents
// (Preserve TRUE) or 0xFF (FALSE).
//
// With the image unchanged: EFI_INVALID_PARAMETER (Image NULL, ImageSize 0), the failure to find or to ask
// the layout protocol, EFI_INVALID_PARAMETER (a region or block of the layout reaches beyond the image; with
// Preserve also an excluded region of size 0), EFI_OUT_OF_RESOURCES (no memory to save a region). With the
// image restored: the answers of VerifyWithKeysOf, EFI_SECURITY_VIOLATION when the policy objects.
EFI_STATUS EFIAPI SvcVerifyFirmwareImage(UINT8 *Image, UINTN ImageSize, BOOLEAN Preserve);

// The same with another source of keys.
[[nodiscard]] EFI_STATUS VerifyImageWithKeysOf(KEY_LOOKUP Lookup, UINT8 *Image, UINTN ImageSize,
                                               BOOLEAN Preserve);

// The platform's word on an image whose signature holds. EFI_SUCCESS when the check is waived, when there is
// no validation policy, or when its two answers agree; EFI_INVALID_PARAMETER (Image NULL, ImageSize 0);
// EFI_SECURITY_VIOLATION when they differ.
[[nodiscard]] EFI_STATUS CheckImagePolicy(UINT8 *Image, UINTN ImageSize);

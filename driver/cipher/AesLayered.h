// A transform of the driver's own: three passes of AES-256 in the direction of
// decryption over a buffer of any length, with the order of its bytes reversed
// before the second and the third. Its output is fixed byte for byte.
#pragma once

#include "driver/cipher/AesCipher.h"
#include "uefi/Uefi.h"

#include "CryptoServicesProtocol.h"

// One pass in place: Vector becomes its own encryption, then the whole blocks
// of Buffer are decrypted in CBC mode and the remaining bytes in 8-bit CFB mode
// on it. EFI_INVALID_PARAMETER: a pointer but Vector is NULL or Size is 0;
// EFI_OUT_OF_RESOURCES: no memory, Buffer as it was.
[[nodiscard]] EFI_STATUS AesLayeredPass(const AesCipher *Encryption, const AesCipher *Decryption,
                                        UINT8 *Buffer, UINTN Size, UINT8 *Vector);

// All passes over Buffer, then its copy to Output, each of Size bytes. The
// failures are those of a pass, Output untouched.
[[nodiscard]] EFI_STATUS AesLayeredRunPasses(const AesCipher *Encryption, const AesCipher *Decryption,
                                             UINT8 *Output, UINT8 *Buffer, UINTN Size);

// Slot 51. Output may be Input. EFI_INVALID_PARAMETER: a pointer is NULL, Size
// is 0 or 4 GiB and more, or KeyLength (in bits) is not 256;
// EFI_OUT_OF_RESOURCES; EFI_DEVICE_ERROR: the library refuses the key. Output
// is written on success only.
EFI_STATUS EFIAPI SvcAesLayeredTransform(UINT8 *Output, const UINT8 *Input, UINTN Size, const UINT8 *Key,
                                         UINTN KeyLength);

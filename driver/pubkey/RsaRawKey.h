// RSA encryption of short messages with keys given as raw big-endian numbers (RSAES-PKCS1-v1_5, RFC 8017,
// section 7.2; slots 60 and 61). The public exponent is 65537; a key lives only within the call.
#pragma once

#include "uefi/Uefi.h"

#include "CryptoServicesProtocol.h"

// Both: k is the modulus size without leading zeros. EFI_INVALID_PARAMETER: a length 0 or a pointer NULL;
// EFI_OUT_OF_RESOURCES: no memory for the key; EFI_DEVICE_ERROR: a number that the library cannot hold.
// Nothing is written in these cases. Then EFI_OUT_OF_RESOURCES: no memory for the result, *Output is NULL and
// *OutputSize k; EFI_DEVICE_ERROR: everything else, *Output is NULL and *OutputSize 0. On success *Output is
// a pool block of k bytes that belongs to the caller.

// Encrypts a message of at most k - 12 bytes; *OutputSize becomes k. The random generator must be ready.
EFI_STATUS EFIAPI SvcRsaPublicEncrypt(UINT32 MessageSize, const UINT8 *Message, const UINT8 *Modulus,
                                      UINTN ModulusSize, UINT8 **Output, UINT32 *OutputSize);

// Decrypts a ciphertext of exactly k bytes; *OutputSize becomes the message size, the bytes behind it are
// zero. Padding that is not well-formed is EFI_DEVICE_ERROR, never a made-up message; so are a modulus above
// 16384 bits and an exponent wider than the modulus.
EFI_STATUS EFIAPI SvcRsaPrivateDecrypt(UINT32 CiphertextSize, const UINT8 *Ciphertext, const UINT8 *Modulus,
                                       UINTN ModulusSize, const UINT8 *PrivateExponent,
                                       UINTN PrivateExponentSize, UINT8 **Output, UINT32 *OutputSize);

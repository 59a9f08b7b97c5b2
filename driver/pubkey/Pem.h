// RSA private keys out of PEM texts (RFC 7468, and RFC 1421 for traditional encryption; slot 27).
#pragma once

#include "uefi/Uefi.h"

#include "CryptoServicesProtocol.h"

// Stores a new key object with the components of the text's first private key, for SvcRsaFree. Password opens
// an encrypted one: NUL-terminated, at most PEM_PASSWORD_SIZE_MAX bytes in use, or NULL for none, which
// stands for an empty one. FALSE with *RsaContext as it was: PemData or RsaContext NULL, PemSize 0 or above
// 0x7FFFFFFF, no memory to begin. FALSE with *RsaContext NULL: everything that PemKey.h refuses, no memory
// later.
BOOLEAN EFIAPI SvcRsaGetPrivateKeyFromPem(const UINT8 *PemData, UINTN PemSize, const CHAR8 *Password,
                                          VOID **RsaContext);

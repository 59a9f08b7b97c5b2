// Verification of Authenticode signatures, the PKCS#7 blocks of signed PE images (Microsoft, "Windows
// Authenticode Portable Executable Signature Format"; slot 48). The image's digest is the caller's to
// compute.
#pragma once

#include "uefi/Uefi.h"

#include "CryptoServicesProtocol.h"

// TRUE when AuthData is a ContentInfo of signed data whose content is an SpcIndirectDataContent, that ends in
// the ImageDigestSize bytes at ImageDigest (0: not compared), and SvcPkcs7Verify accepts the message over the
// content's octets, tag and length left out. FALSE for everything else: a pointer NULL, a size above
// 0x7FFFFFFF, another content, a length of more than two bytes.
BOOLEAN EFIAPI SvcAuthenticodeVerify(const UINT8 *AuthData, UINTN AuthSize, const UINT8 *TrustedCert,
                                     UINTN TrustedCertSize, const UINT8 *ImageDigest, UINTN ImageDigestSize);

// Verification of detached PKCS#7 signatures against one trusted certificate (RFC 2315, section 9; slot 33).
#pragma once

#include "uefi/Uefi.h" // first: the library's headers want its types

#include <openssl/pkcs7.h>

#include "CryptoServicesProtocol.h"

// TRUE when the message has signers, every signer's chain reaches TrustedCert without another error than that
// it may end there, everything in it is valid at the time of the firmware's clock and signed with registered
// digests, and every signature holds over Data, whatever content the message has of its own. Registers
// SHA-384 and SHA-512 first. Takes a ContentInfo or a bare SignedData. FALSE for everything else: a pointer
// NULL, a size above 0x7FFFFFFF, Data that is empty, more than 16 digest algorithms, signers times one more
// than the certificates above 256, no memory.
BOOLEAN EFIAPI SvcPkcs7Verify(const UINT8 *P7Data, UINTN P7Size, const UINT8 *TrustedCert,
                              UINTN TrustedCertSize, const UINT8 *Data, UINTN DataSize);

// The same for a signed message with a content that is parsed already, and that is only read; SHA-384 and
// SHA-512 are registered by the caller. Sizes are at most 0x7FFFFFFF.
[[nodiscard]] bool VerifySignedMessage(PKCS7 *Message, const UINT8 *TrustedCert, UINTN TrustedCertSize,
                                       const UINT8 *Data, UINTN DataSize);

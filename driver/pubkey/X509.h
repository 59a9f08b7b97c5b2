// What callers want of certificates without reading them: public key, subject, and whether one issued the
// other (RFC 5280; slots 28 to 30). Certificates are DER; no service keeps anything of them.
#pragma once

#include "uefi/Uefi.h"

#include "CryptoServicesProtocol.h"

// Stores a new key object with n and e of the certificate's RSA key, for SvcRsaFree. FALSE with *RsaContext
// as it was: a pointer NULL, no certificate, another kind of key, a key that does not decode. FALSE with
// *RsaContext NULL: no memory for the copy.
BOOLEAN EFIAPI SvcRsaGetPublicKeyFromX509(const UINT8 *Cert, UINTN CertSize, VOID **RsaContext);

// Copies the Name of the subject as the certificate encodes it. *SubjectSize is the buffer's size and
// receives the name's. FALSE with *SubjectSize as it was: Cert or SubjectSize NULL, no certificate. FALSE
// with the needed size stored: buffer too small, or Subject NULL.
BOOLEAN EFIAPI SvcX509GetSubjectName(const UINT8 *Cert, UINTN CertSize, UINT8 *Subject, UINTN *SubjectSize);

// TRUE when CaCert is self-signed in name, both are valid at the time of the firmware's clock, and CaCert
// issued Cert by every rule of RFC 5280 that the library checks, with a registered digest. FALSE for
// everything else.
BOOLEAN EFIAPI SvcX509VerifyCert(const UINT8 *Cert, UINTN CertSize, const UINT8 *CaCert, UINTN CaCertSize);

// The certificates of a message's signers in the caller's hands (slots 32 and 34). Nothing is verified here.
#pragma once

#include "uefi/Uefi.h"

#include "CryptoServicesProtocol.h"

// Stores two new pool blocks, each for SvcPkcs7FreeSigners: a SIGNER_CERT_LIST with the certificate of every
// SignerInfo, the last one first, and a copy of the certificate of the first SignerInfo. Takes a ContentInfo
// or a bare SignedData. FALSE with nothing stored: a pointer NULL, P7Size above 0x7FFFFFFF, no signed
// message, no SignerInfo, a signer's certificate that is not in the message. When memory runs out on the way
// or the list would be longer than 4 MiB, FALSE with NULL in *CertList, and with the copy's size in
// *FirstSignerCertSize and NULL in *FirstSignerCert if it was the copy that failed.
BOOLEAN EFIAPI SvcPkcs7GetSigners(const UINT8 *P7Data, UINTN P7Size, SIGNER_CERT_LIST **CertList,
                                  UINTN *CertListSize, UINT8 **FirstSignerCert, UINTN *FirstSignerCertSize);

// Releases one of the two blocks; NULL is allowed.
VOID EFIAPI SvcPkcs7FreeSigners(VOID *Buffer);

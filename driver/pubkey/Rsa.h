// RSA key objects and PKCS#1 v1.5 signatures over finished digests (RFC 8017, section 8.2; slots 22 to 26 and
// 31). Contexts belong to the caller from SvcRsaNew to SvcRsaFree; numbers are big-endian.
#pragma once

#include "uefi/Uefi.h"

#include "CryptoServicesProtocol.h"

// An empty context; NULL when there is no memory.
VOID *EFIAPI SvcRsaNew();

// Releases a context with its components; NULL is allowed.
VOID EFIAPI SvcRsaFree(VOID *Context);

// Sets component Tag to a copy of the Size bytes at Value; a NULL Value clears it. FALSE with nothing
// changed: Context NULL, Size above 0x7FFFFFFF, unknown tag. FALSE with the component absent: no memory for
// the number, or more bytes than the library's numbers hold.
BOOLEAN EFIAPI SvcRsaSetKey(VOID *Context, RSA_KEY_TAG Tag, const UINT8 *Value, UINTN Size);

// Writes component Tag in its least number of bytes. *Size is the buffer's size and receives the written one.
// FALSE: Context or Size NULL; unknown tag (*Size becomes 0); buffer too small (*Size receives the needed
// size); Value NULL (*Size stays). An absent component is TRUE with *Size 0.
BOOLEAN EFIAPI SvcRsaGetKey(VOID *Context, RSA_KEY_TAG Tag, UINT8 *Value, UINTN *Size);

// Signs a digest of 16, 20 or 32 bytes as MD5, SHA-1 or SHA-256. *SignatureSize is the buffer's size and
// receives the modulus size. FALSE, tested in this order: Context, Digest or SignatureSize NULL, or no
// modulus; buffer too small (*SignatureSize receives the modulus size); Signature NULL; another digest size;
// a key that cannot sign, or no memory. Nothing but that one size is written then.
BOOLEAN EFIAPI SvcRsaPkcs1Sign(VOID *Context, const UINT8 *Digest, UINTN DigestSize, UINT8 *Signature,
                               UINTN *SignatureSize);

// TRUE only when Signature is a signature of exactly that digest by the key's n and e. FALSE for everything
// else: a NULL pointer, a SignatureSize that is not the modulus size, an unknown digest size, no memory.
BOOLEAN EFIAPI SvcRsaPkcs1Verify(VOID *Context, const UINT8 *Digest, UINTN DigestSize, const UINT8 *Signature,
                                 UINTN SignatureSize);

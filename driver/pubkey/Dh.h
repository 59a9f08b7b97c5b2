// Diffie-Hellman key agreement over the caller's prime and generator (PKCS#3; slots 41 to 45). Contexts
// belong to the caller from SvcDhNew to SvcDhFree; numbers are big-endian. The prime is used as it is,
// without any test.
#pragma once

#include "uefi/Uefi.h"

#include "CryptoServicesProtocol.h"

// An empty context; NULL when there is no memory.
VOID *EFIAPI SvcDhNew();

// Releases a context with its numbers, the private one wiped; NULL is allowed.
VOID EFIAPI SvcDhFree(VOID *Context);

// Gives the context a prime of PrimeLength / 8 bytes at Prime and a generator of 2 or 5; what it held before
// is released. FALSE with nothing changed: Context or Prime NULL, PrimeLength above 0x7FFFFFFF, another
// generator. FALSE with an empty context: no memory, or more bytes than the library's numbers hold.
BOOLEAN EFIAPI SvcDhGenerateParameter(VOID *Context, UINTN Generator, UINTN PrimeLength, const UINT8 *Prime);

// Writes the public value in its least number of bytes; the private value is drawn in the first call that can
// and kept. *PublicKeySize is the buffer's size and receives the value's. FALSE with *PublicKeySize as it
// was: Context or PublicKeySize NULL, PublicKey NULL with another size than 0, no parameters, a prime that is
// even, below 3 or above 10,000 bits, a random generator that is not ready, no memory. FALSE with the needed
// size stored: buffer too small.
BOOLEAN EFIAPI SvcDhGenerateKey(VOID *Context, UINT8 *PublicKey, UINTN *PublicKeySize);

// Writes the secret shared with the owner of PeerPublicKey in its least number of bytes. FALSE with *KeySize
// as it was: a pointer NULL, PeerPublicKeySize above 0x7FFFFFFF, no key pair, a peer value outside 2 to p -
// 2, no memory. FALSE with the needed size stored and Key untouched: buffer too small.
BOOLEAN EFIAPI SvcDhComputeKey(VOID *Context, const UINT8 *PeerPublicKey, UINTN PeerPublicKeySize, UINT8 *Key,
                               UINTN *KeySize);

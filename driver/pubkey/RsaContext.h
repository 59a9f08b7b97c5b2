// The RSA key object behind the opaque contexts of the service table: eight optional components, and the
// library's keys built from them on demand. Callers of the table never see a library key; whoever has one
// from elsewhere copies it in.
#pragma once

#include "uefi/Uefi.h" // first: the library's headers want its types

#include <openssl/rsa.h>

#include "driver/platform/LibraryHandle.h"

#include "CryptoServicesProtocol.h"

// The public exponent 65537 of every key that a caller gives as a bare modulus, big-endian.
inline constexpr UINT8 mRsaPublicExponent[] = {0x01, 0x00, 0x01};

constexpr UINTN RSA_COMPONENT_COUNT = 8;

// Widest modulus, in bits and in bytes, with which any operation works.
constexpr int RSA_MODULUS_BITS_MAX = OPENSSL_RSA_MAX_MODULUS_BITS;
constexpr UINTN RSA_MODULUS_SIZE_MAX = RSA_MODULUS_BITS_MAX / 8;

struct RSA_CONTEXT {
  BIGNUM *Components[RSA_COMPONENT_COUNT]; // by RSA_KEY_TAG; NULL: absent
  RSA *PublicKey;                          // NULL until used, and again after every change of a component
  RSA *PrivateKey;
  BOOLEAN CanBlind; // PrivateKey holds the true public exponent
};

// A context without components; NULL when there is no memory.
[[nodiscard]] RSA_CONTEXT *NewRsaContext();

// A context with a copy of every component that Key has; Key stays the caller's. NULL when memory runs out.
[[nodiscard]] RSA_CONTEXT *NewRsaContextFrom(const RSA *Key);

// Releases the context with all its components, which are wiped. NULL is allowed.
void FreeRsaContext(RSA_CONTEXT *Context);

using RsaContextHandle = LibraryHandle<RSA_CONTEXT, FreeRsaContext>;

// Makes Value, owned by the context from now on, the component Tag (0 to 7); NULL clears it. The old value is
// wiped, and the library's keys are dropped.
void ReplaceRsaComponent(RSA_CONTEXT *Context, RSA_KEY_TAG Tag, BIGNUM *Value);

// Bytes of the modulus without leading zeros; 0 when it is zero or absent.
[[nodiscard]] UINTN RsaModulusSize(const RSA_CONTEXT *Context);

// The library's key of n and e. NULL when one is absent, the modulus is above RSA_MODULUS_BITS_MAX, e is
// wider than the modulus, or memory runs out. The key belongs to the context and is valid until a component
// changes.
[[nodiscard]] RSA *RsaPublicKeyOf(RSA_CONTEXT *Context);

// The library's key for signing and decrypting, with blinding as soon as the random generator is ready and e
// is known. Needs n with d, or with e, p and q; takes the CRT way when all five of its components are there
// and qInv is no wider than p. p and q count only when their product is n. NULL when these are missing or
// have no inverse, the modulus is above RSA_MODULUS_BITS_MAX, any component is wider than the modulus (the
// time would grow without bound), or memory runs out. Owned as RsaPublicKeyOf says.
[[nodiscard]] RSA *RsaPrivateKeyOf(RSA_CONTEXT *Context);

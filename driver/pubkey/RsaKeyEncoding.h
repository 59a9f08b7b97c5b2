// RSA keys in the encodings of RFC 8017, appendix A.1, as certificates and private-key files hold them. What
// is around them is the callers' concern.
#pragma once

#include "uefi/Uefi.h" // first: the library's headers want its types

#include <openssl/asn1.h>
#include <openssl/rsa.h>

#include "driver/platform/LibraryHandle.h"

using RsaKeyHandle = LibraryHandle<RSA, RSA_free>;

// Whether a key of this algorithm is a plain RSA key: rsaEncryption, or the rsa of X.509. RSASSA-PSS keys are
// not.
[[nodiscard]] bool IsRsaAlgorithm(const ASN1_OBJECT *Algorithm);

// An RSAPublicKey or RSAPrivateKey at the start of the Size bytes at Der. Empty when none stands there, when
// a private key has more than two primes, or when memory runs out.
[[nodiscard]] RsaKeyHandle DecodeRsaPublicKey(const UINT8 *Der, long Size);
[[nodiscard]] RsaKeyHandle DecodeRsaPrivateKey(const UINT8 *Der, long Size);

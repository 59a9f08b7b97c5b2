// Finding and opening the private key in a PEM text. Opens nothing with a cipher outside the four that are
// registered: DES-EDE3-CBC and AES-CBC with 128, 192 or 256 bits.
#pragma once

#include "driver/pubkey/MemoryStream.h"
#include "driver/pubkey/RsaKeyEncoding.h"

#include "CryptoServicesProtocol.h"

// Bytes of a password that count.
constexpr UINTN PEM_PASSWORD_SIZE_MAX = 1024;

// The library's password callback: fills Buffer with the NUL-terminated Password, cut to Size, and zeros
// behind it. Returns the length in use; 0 for a Password of NULL.
int PemPasswordCallback(CHAR8 *Buffer, int Size, int Writing, VOID *Password);

// The first private key in Text: PKCS#8 (RFC 5958), encrypted by PBES2 or a PKCS#12 or PBES1 scheme (RFC
// 8018), or RSAPrivateKey, with encryption headers or without. Blocks of other kinds in front of it are
// passed over. Empty when there is none or a malformed block comes first; when it is not RSA, has more than
// two primes, or does not decode; when it is encrypted and the cipher is not registered, the password wrong,
// or its derivation asks for more than PEM_ITERATIONS_MAX rounds; when memory runs out.
[[nodiscard]] RsaKeyHandle ReadPemRsaKey(BIO *Text, const CHAR8 *Password);

// Up to two seconds of work, by the function that is slowest, where usual keys ask for thousandths. Without a
// bound a key file could stop the boot.
constexpr long PEM_ITERATIONS_MAX = 700'000;

// CRYPTO_SERVICES_PROTOCOL: the 62 crypto services that the driver installs on a handle of its own, for every
// firmware module to find by GUID and call. Plain C11, readable as C++ too. This is the whole interface: it
// must not name anything internal to the driver, and no member may ever move.
#ifndef CRYPTO_SERVICES_PROTOCOL_H
#define CRYPTO_SERVICES_PROTOCOL_H

// The header brings the few base types it needs. With CRYPTO_SERVICES_PLATFORM_TYPES defined it brings none
// and takes EFI_STATUS with its codes, EFI_GUID, BOOLEAN, UINT8, UINT32, UINTN, INT32, CHAR8, CHAR16, VOID
// and EFIAPI from the platform's own headers, included before this one.
#ifdef CRYPTO_SERVICES_PLATFORM_TYPES
#ifndef EFIAPI
#error "CRYPTO_SERVICES_PLATFORM_TYPES is defined, but no platform types were included before this header."
#endif
#else
#if defined(EFIAPI) || defined(EFI_SUCCESS) || defined(EFI_ERROR)
#error "Platform types are already defined: define CRYPTO_SERVICES_PLATFORM_TYPES to use them here."
#endif

#include <stdint.h>

typedef int32_t INT32;
typedef uint8_t UINT8;
typedef uint16_t UINT16;
typedef uint32_t UINT32;
typedef uint64_t UINTN;
typedef uint8_t BOOLEAN;
typedef void VOID;
typedef char CHAR8;
#ifdef __cplusplus
typedef char16_t CHAR16;
#else
typedef uint16_t CHAR16;
#endif

#define TRUE ((BOOLEAN)1)
#define FALSE ((BOOLEAN)0)

typedef struct {
  UINT32 Data1;
  UINT16 Data2;
  UINT16 Data3;
  UINT8 Data4[8];
} EFI_GUID;

// UEFI 2.10, section 2.3.4: a target whose own calling convention it is needs no mark.
#if defined(__x86_64__) && !defined(_WIN32)
#define EFIAPI __attribute__((ms_abi))
#else
#define EFIAPI
#endif

// UEFI 2.10, appendix D, as far as the services answer with them.
typedef UINTN EFI_STATUS;
#define EFI_ERROR(Status) (((EFI_STATUS)(Status) >> 63) != 0)
#define EFI_SUCCESS ((EFI_STATUS)0)
#define EFI_LOAD_ERROR ((EFI_STATUS)0x8000000000000001)
#define EFI_INVALID_PARAMETER ((EFI_STATUS)0x8000000000000002)
#define EFI_UNSUPPORTED ((EFI_STATUS)0x8000000000000003)
#define EFI_BAD_BUFFER_SIZE ((EFI_STATUS)0x8000000000000004)
#define EFI_BUFFER_TOO_SMALL ((EFI_STATUS)0x8000000000000005)
#define EFI_NOT_READY ((EFI_STATUS)0x8000000000000006)
#define EFI_DEVICE_ERROR ((EFI_STATUS)0x8000000000000007)
#define EFI_OUT_OF_RESOURCES ((EFI_STATUS)0x8000000000000009)
#define EFI_NOT_FOUND ((EFI_STATUS)0x800000000000000E)
#define EFI_ACCESS_DENIED ((EFI_STATUS)0x800000000000000F)
#define EFI_NOT_STARTED ((EFI_STATUS)0x8000000000000013)
#define EFI_SECURITY_VIOLATION ((EFI_STATUS)0x800000000000001A)
#endif

#ifdef __cplusplus
extern "C" {
#endif

// clang-format off
#define CRYPTO_SERVICES_PROTOCOL_GUID \
  { 0xebe5f44e, 0xbe74, 0x4a52, { 0x96, 0xbe, 0xa0, 0xb9, 0xdf, 0x0a, 0xd0, 0x50 } }
// clang-format on

#define CRYPTO_SERVICES_SLOT_COUNT 62

// Selects a digest algorithm; every other value is unknown.
typedef UINT32 HASH_TYPE;
#define HASH_TYPE_SHA1 ((HASH_TYPE)1)
#define HASH_TYPE_SHA256 ((HASH_TYPE)2)
#define HASH_TYPE_MD5 ((HASH_TYPE)5)

#define CRYPTO_SERVICES_MD5_DIGEST_SIZE 16
#define CRYPTO_SERVICES_SHA1_DIGEST_SIZE 20
#define CRYPTO_SERVICES_SHA256_DIGEST_SIZE 32

// What the GetContextSize services answer, in bytes.
#define CRYPTO_SERVICES_SHA1_CONTEXT_SIZE 96
#define CRYPTO_SERVICES_SHA256_CONTEXT_SIZE 112
#define CRYPTO_SERVICES_HMAC_SHA1_CONTEXT_SIZE 288
#define CRYPTO_SERVICES_TDES_CONTEXT_SIZE 384
#define CRYPTO_SERVICES_AES_CONTEXT_SIZE 488

#define CRYPTO_SERVICES_TDES_BLOCK_SIZE 8
#define CRYPTO_SERVICES_AES_BLOCK_SIZE 16

// Selects the driver's own public keys. Types 1, 3 and 4 hold one RSA-2048 key each; type 0 holds no key
// material and verifies nothing; type 5 is refused with EFI_SECURITY_VIOLATION; every other type is
// EFI_NOT_FOUND.
typedef UINT32 BUILTIN_KEY_TYPE;

// Selects one component of an RSA key; every other value is refused.
typedef UINT32 RSA_KEY_TAG;
enum {
  RsaKeyN = 0,   // modulus n
  RsaKeyE = 1,   // public exponent e
  RsaKeyD = 2,   // private exponent d
  RsaKeyP = 3,   // first prime p
  RsaKeyQ = 4,   // second prime q
  RsaKeyDp = 5,  // d mod (p - 1)
  RsaKeyDq = 6,  // d mod (q - 1)
  RsaKeyQInv = 7 // q^-1 mod p
};

// Signer certificates as packed bytes without alignment: one byte, the number of certificates modulo 256,
// then for each a little-endian UINT32 with its length and its DER encoding. The signer that the message
// names last comes first.
typedef UINT8 SIGNER_CERT_LIST;

// IMAGE_SIGNATURE_BLOCK, an area inside a firmware image: byte offsets of its two fields, and the least
// number of bytes that it spans. KeySelect is a little-endian UINT32 without alignment (0 selects
// BUILTIN_KEY_TYPE 0, every other value type 5); Signature is an RSA-2048 value, least-significant byte
// first.
#define IMAGE_SIGNATURE_BLOCK_KEY_SELECT_OFFSET 645
#define IMAGE_SIGNATURE_BLOCK_SIGNATURE_OFFSET 1400
#define IMAGE_SIGNATURE_BLOCK_SIGNATURE_SIZE 256
#define IMAGE_SIGNATURE_BLOCK_SIZE 1656

// What holds for every service, unless its own comment says otherwise:
// - Sizes and lengths count bytes. No pointer may be NULL. A refused argument changes nothing. Refusals are
//   named in the order in which they are tested.
// - A BOOLEAN answer is TRUE on success and FALSE on every refusal and every failure, memory that ran out
//   included.
// - EFI_OUT_OF_RESOURCES is the pool's refusal.
// - "Size query": the size variable holds the buffer's size on entry and receives the needed size when that
//   is too small (FALSE or EFI_BUFFER_TOO_SMALL), the written size on success. A NULL buffer with a size of 0
//   asks only.
// - "New buffer": boot services pool (EfiBootServicesData) that belongs to the caller from success on, to be
//   released with FreePool.
// - Memory for a context is the caller's, of at least the size that the GetContextSize service answers, at a
//   multiple of 8 bytes, as pool blocks are. A context that is too small, or that no Init has filled, is not
//   noticed.
// - Input is only read, and stays the caller's. An output buffer overlaps nothing else.
// - Big numbers are unsigned big-endian byte strings, except in slots 0, 1, 3 and 4, which take moduli and
//   signatures least-significant byte first.
// - A service runs at its caller's task priority level and keeps no state between calls, but for the random
//   generator (slots 46, 47, 50), the two blocks that slot 50 carries over, the digests that slots 33 and 48
//   make known, and the answer that slot 5 remembers.

// Digests: SHA-1 and SHA-256 (FIPS 180-4), MD5 (RFC 1321).

// One digest over the DataSize bytes of Data, MD5 among the types, into Digest; *DigestSize receives its
// size. EFI_INVALID_PARAMETER for a NULL Data or DigestSize or a DataSize of 0, *DigestSize as it was.
// EFI_BUFFER_TOO_SMALL for a NULL Digest, or a *DigestSize below the digest's size, which is stored (0 for an
// unknown type); EFI_UNSUPPORTED for an unknown type, 0 stored; EFI_OUT_OF_RESOURCES. EFI_SECURITY_VIOLATION
// for a hash that fails, which the library's does not.
typedef EFI_STATUS(EFIAPI *CRYPTO_SERVICES_HASH_ALL)(HASH_TYPE HashType, const VOID *Data, UINTN DataSize,
                                                     UINT8 *Digest, UINTN *DigestSize);

// Answers CRYPTO_SERVICES_SHA256_CONTEXT_SIZE, the bytes of a SHA-256 context. A context holds no pointers,
// needs no clean-up and may be copied byte for byte between Init and Final.
typedef UINTN(EFIAPI *CRYPTO_SERVICES_SHA256_GET_CONTEXT_SIZE)(VOID);
// Starts a digest in the caller's Context, whatever that held before. FALSE for a NULL Context, and nothing
// else.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_SHA256_INIT)(VOID *Context);
// Adds DataSize bytes, without an upper bound, to a started digest. FALSE for a NULL Context, or a NULL Data
// with a DataSize other than 0.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_SHA256_UPDATE)(VOID *Context, const VOID *Data, UINTN DataSize);
// Writes the 32 bytes of the digest. The context is spent: only Init makes it usable again. FALSE for a NULL
// pointer, and nothing else.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_SHA256_FINAL)(VOID *Context, UINT8 *Digest);

// Answers CRYPTO_SERVICES_SHA1_CONTEXT_SIZE, the bytes of a SHA-1 context, under the same rules as for
// SHA-256.
typedef UINTN(EFIAPI *CRYPTO_SERVICES_SHA1_GET_CONTEXT_SIZE)(VOID);
// Starts a digest in the caller's Context, whatever that held before. FALSE for a NULL Context, and nothing
// else.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_SHA1_INIT)(VOID *Context);
// Adds DataSize bytes, without an upper bound, to a started digest. FALSE for a NULL Context, or a NULL Data
// with a DataSize other than 0.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_SHA1_UPDATE)(VOID *Context, const VOID *Data, UINTN DataSize);
// Writes the 20 bytes of the digest. The context is spent: only Init makes it usable again. FALSE for a NULL
// pointer, and nothing else.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_SHA1_FINAL)(VOID *Context, UINT8 *Digest);

// Message authentication: HMAC (RFC 2104, FIPS 198-1).

// Answers CRYPTO_SERVICES_HMAC_SHA1_CONTEXT_SIZE, the bytes of an HMAC-SHA1 context. A context has pool
// memory attached from Init to Final and must be neither copied nor moved: elsewhere it counts as idle.
typedef UINTN(EFIAPI *CRYPTO_SERVICES_HMAC_SHA1_GET_CONTEXT_SIZE)(VOID);
// Starts an HMAC with the KeySize bytes of Key, 0 to 0x7FFFFFFF; one longer than 64 bytes is hashed first.
// Context is idle, or memory that was none yet; what is attached to an active one is lost. FALSE for a NULL
// Context or a KeySize above 0x7FFFFFFF. Failures inside are not reported: a NULL Key, or no memory, leaves a
// context with which Update and Final do nothing and answer TRUE.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_HMAC_SHA1_INIT)(VOID *Context, const UINT8 *Key, UINTN KeySize);
// Adds DataSize bytes, without an upper bound. FALSE for a NULL Context, or a NULL Data with a DataSize other
// than 0. On an idle context it does nothing and answers TRUE.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_HMAC_SHA1_UPDATE)(VOID *Context, const VOID *Data, UINTN DataSize);
// Writes the 20 bytes of the MAC, releases the memory attached to the context and leaves it idle, all zero.
// On an idle context it writes no MAC and answers TRUE. FALSE for a NULL pointer, and nothing else.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_HMAC_SHA1_FINAL)(VOID *Context, UINT8 *Mac);

// HMAC with SHA-1 (20 bytes) or SHA-256 (32 bytes) in one call; size query through Mac, which may be NULL,
// and MacSize. EFI_INVALID_PARAMETER for a NULL Key, Data or MacSize, a KeySize or DataSize of 0, or a
// *MacSize other than 0 without Mac; EFI_UNSUPPORTED for any other type; *MacSize is as it was in both. Then
// the MAC's size is stored, and EFI_BUFFER_TOO_SMALL, EFI_OUT_OF_RESOURCES, which a DataSize within 64 bytes
// of the largest UINTN is too, or the status of a failed hash leave Mac unwritten. Needs DataSize bytes of
// pool.
typedef EFI_STATUS(EFIAPI *CRYPTO_SERVICES_HMAC_COMPUTE)(HASH_TYPE HashType, const UINT8 *Key, UINTN KeySize,
                                                         const UINT8 *Data, UINTN DataSize, UINT8 *Mac,
                                                         UINTN *MacSize);
// Computes the HMAC and compares, in a time that tells where the first difference is. EFI_NOT_STARTED for any
// argument or type that SvcHmacCompute refuses; EFI_OUT_OF_RESOURCES or the status of a failed hash;
// EFI_SECURITY_VIOLATION when ExpectedMac is NULL, ExpectedMacSize is not the MAC's size, or a byte differs.
typedef EFI_STATUS(EFIAPI *CRYPTO_SERVICES_HMAC_VERIFY)(HASH_TYPE HashType, const UINT8 *Key, UINTN KeySize,
                                                        const UINT8 *Data, UINTN DataSize,
                                                        const UINT8 *ExpectedMac, UINTN ExpectedMacSize);

// Ciphers: triple DES (SP 800-67), AES (FIPS 197), their ECB and CBC modes (SP 800-38A). Output receives
// exactly InputSize bytes and may be the same buffer as Input. Ivec is one block, is only read, and starts
// every call anew: whoever splits a message passes the last ciphertext block on.

// Answers CRYPTO_SERVICES_TDES_CONTEXT_SIZE, the bytes of a triple-DES context. It holds the key, may be
// copied byte for byte, and is the caller's to clear.
typedef UINTN(EFIAPI *CRYPTO_SERVICES_TDES_GET_CONTEXT_SIZE)(VOID);
// Sets the key. KeyLength counts bits: 64 (K1 = K2 = K3), 128 (K3 = K1) or 192; KeyLength / 8 bytes are read.
// FALSE for a NULL pointer, any other KeyLength, or one of the 16 weak and semi-weak DES keys, written with
// odd parity, among the parts; then the context is not usable until an Init succeeds. Parity is not tested
// otherwise.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_TDES_INIT)(VOID *Context, const UINT8 *Key, UINTN KeyLength);
// EDE encryption in CBC mode with the 8 bytes of Ivec. FALSE for a NULL pointer, or an InputSize that is no
// multiple of 8 or above 0x7FFFFFFF; with 0 nothing is written.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_TDES_CBC_ENCRYPT)(VOID *Context, const UINT8 *Input, UINTN InputSize,
                                                          const UINT8 *Ivec, UINT8 *Output);
// EDE decryption in CBC mode with the 8 bytes of Ivec. FALSE for a NULL pointer, or an InputSize that is no
// multiple of 8 or above 0x7FFFFFFF; with 0 nothing is written.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_TDES_CBC_DECRYPT)(VOID *Context, const UINT8 *Input, UINTN InputSize,
                                                          const UINT8 *Ivec, UINT8 *Output);

// Answers CRYPTO_SERVICES_AES_CONTEXT_SIZE, the bytes of an AES context. It holds the key, may be copied byte
// for byte, and is the caller's to clear.
typedef UINTN(EFIAPI *CRYPTO_SERVICES_AES_GET_CONTEXT_SIZE)(VOID);
// Sets the key for both directions. KeyLength counts bits: 128, 192 or 256; KeyLength / 8 bytes are read.
// FALSE for a NULL pointer or any other KeyLength.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_AES_INIT)(VOID *Context, const UINT8 *Key, UINTN KeyLength);
// Encryption in CBC mode with the 16 bytes of Ivec. FALSE for a NULL pointer, or an InputSize that is no
// multiple of 16 or above 0x7FFFFFFF; with 0 nothing is written.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_AES_CBC_ENCRYPT)(VOID *Context, const UINT8 *Input, UINTN InputSize,
                                                         const UINT8 *Ivec, UINT8 *Output);
// Decryption in CBC mode with the 16 bytes of Ivec. FALSE for a NULL pointer, or an InputSize that is no
// multiple of 16 or above 0x7FFFFFFF; with 0 nothing is written.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_AES_CBC_DECRYPT)(VOID *Context, const UINT8 *Input, UINTN InputSize,
                                                         const UINT8 *Ivec, UINT8 *Output);
// Encryption block by block (ECB). FALSE for a NULL pointer, or an InputSize that is no multiple of 16. There
// is no upper bound; with 0 nothing is written.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_AES_ECB_ENCRYPT)(VOID *Context, const UINT8 *Input, UINTN InputSize,
                                                         UINT8 *Output);
// Decryption block by block (ECB). FALSE for a NULL pointer, or an InputSize that is no multiple of 16. There
// is no upper bound; with 0 nothing is written.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_AES_ECB_DECRYPT)(VOID *Context, const UINT8 *Input, UINTN InputSize,
                                                         UINT8 *Output);

// Three passes of AES-256 decryption (CBC, and 8-bit CFB for the last 0 to 15 bytes), with a byte-order
// reversal of the whole before the second and the third; docs/services.md defines it. There is no inverse.
// Output comes first, receives Size bytes and may be the same buffer as Input; Key is 32 bytes.
// EFI_INVALID_PARAMETER for a NULL pointer, a Size of 0 or of 4 GiB and more, or a KeyLength (bits) other
// than 256; EFI_OUT_OF_RESOURCES, twice Size being needed; EFI_DEVICE_ERROR for a key that the library
// refuses. All leave Output untouched.
typedef EFI_STATUS(EFIAPI *CRYPTO_SERVICES_AES_LAYERED_TRANSFORM)(UINT8 *Output, const UINT8 *Input,
                                                                  UINTN Size, const UINT8 *Key,
                                                                  UINTN KeyLength);

// RSA (RFC 8017, PKCS#1 v1.5 throughout).

// A new RSA context without components, owned by the caller until SvcRsaFree; NULL when there is no memory.
// The eight components may be set, replaced and cleared in any order between uses.
typedef VOID *(EFIAPI *CRYPTO_SERVICES_RSA_NEW)(VOID);
// Writes one component without leading zero bytes, the number zero as no bytes; size query through Buffer,
// which may be NULL, and BufferSize. An absent component answers TRUE with size 0. FALSE for a NULL
// RsaContext or BufferSize; for an unknown tag, with size 0; for a size too small, with the needed one; for a
// NULL Buffer whose size would do, with the size as it was.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_RSA_GET_KEY)(VOID *RsaContext, RSA_KEY_TAG Tag, UINT8 *Buffer,
                                                     UINTN *BufferSize);
// Sets one component from a copy of the Length bytes of Value, leading zero bytes allowed, or clears it when
// Value is NULL; the old value is wiped. FALSE for a NULL context, a Length above 0x7FFFFFFF or an unknown
// tag, nothing changed; FALSE without memory, and the component is then absent.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_RSA_SET_KEY)(VOID *RsaContext, RSA_KEY_TAG Tag, const UINT8 *Value,
                                                     UINTN Length);
// Signs a finished digest of 16 (MD5), 20 (SHA-1) or 32 (SHA-256) bytes into as many bytes as the modulus
// has; needs n with d, or n with e, p and q. FALSE for a NULL pointer or an absent modulus; for a
// *SignatureSize below the modulus length, which is stored whatever DigestSize is (Signature may be NULL in
// this query); then, with the size as it was, for a NULL Signature, any other DigestSize, a key without
// private part or too short for the digest, a modulus above 16,384 bits, or a component wider than the
// modulus. Blinds once the random generator is ready, if e is known.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_RSA_PKCS1_SIGN)(VOID *RsaContext, const UINT8 *Digest,
                                                        UINTN DigestSize, UINT8 *Signature,
                                                        UINTN *SignatureSize);
// Checks a signature over a finished digest of 16 (MD5), 20 (SHA-1) or 32 (SHA-256) bytes; needs n and e.
// TRUE only when Signature has the modulus length and decodes to exactly the DigestInfo of that digest, its
// NULL parameters included. FALSE for a NULL pointer, a SignatureSize of 0 or above 0x7FFFFFFF, any other
// DigestSize, a modulus above 16,384 bits, an e not below n, or an e above 64 bits with an n above 3,072.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_RSA_PKCS1_VERIFY)(VOID *RsaContext, const UINT8 *Digest,
                                                          UINTN DigestSize, const UINT8 *Signature,
                                                          UINTN SignatureSize);
// Releases an RSA context from slot 22, 27 or 28 with all its components, which are wiped; NULL is allowed.
typedef VOID(EFIAPI *CRYPTO_SERVICES_RSA_FREE)(VOID *RsaContext);

// Encrypts (RSAES-PKCS1-v1_5) with a modulus of k significant bytes and the exponent 65537 into a new buffer
// of k bytes. The message is 1 to k - 12 bytes. What *Ciphertext held before does not count.
// EFI_INVALID_PARAMETER for a zero length or a NULL pointer, EFI_OUT_OF_RESOURCES for no key object, and
// EFI_DEVICE_ERROR for a key that cannot be built (ModulusLength above 0x7FFFFFFF, no memory) write nothing.
// EFI_OUT_OF_RESOURCES for no result buffer stores NULL and k. EFI_DEVICE_ERROR for a message too long, a
// modulus that will not do (above 16,384 bits, or even), no memory, or a random generator that is not ready
// stores NULL and 0.
typedef EFI_STATUS(EFIAPI *CRYPTO_SERVICES_RSA_PUBLIC_ENCRYPT)(UINT32 MessageLength, const UINT8 *Message,
                                                               const UINT8 *Modulus, UINTN ModulusLength,
                                                               UINT8 **Ciphertext, UINT32 *CiphertextLength);
// Decrypts a ciphertext of exactly k bytes with modulus and private exponent into a new buffer of k bytes, of
// which PlaintextLength, possibly 0, are the message and the rest zero. Refusals as for encryption, in the
// same order and with the same stores; EFI_DEVICE_ERROR with NULL and 0 for a ciphertext of another length, a
// modulus below 11 bytes or above 16,384 bits, a private exponent wider than the modulus, or a block that is
// not well-formed. The generator need not be ready; once it is, the operation is blinded.
typedef EFI_STATUS(EFIAPI *CRYPTO_SERVICES_RSA_PRIVATE_DECRYPT)(
    UINT32 CiphertextLength, const UINT8 *Ciphertext, const UINT8 *Modulus, UINTN ModulusLength,
    const UINT8 *PrivateExponent, UINTN PrivateExponentLength, UINT8 **Plaintext, UINT32 *PlaintextLength);

// Diffie-Hellman (PKCS#3).

// A new Diffie-Hellman context without numbers, owned by the caller until SvcDhFree; NULL when there is no
// memory.
typedef VOID *(EFIAPI *CRYPTO_SERVICES_DH_NEW)(VOID);
// Sets generator and prime, and drops what the context held. PrimeLength counts bits, and PrimeLength / 8
// bytes of Prime are read, rounded down. The prime is taken as it is: neither primality nor safety is tested.
// FALSE for a NULL pointer, a PrimeLength above 0x7FFFFFFF, or a Generator other than 2 and 5, nothing
// changed; FALSE without memory, and the context is then empty.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_DH_GENERATE_PARAMETER)(VOID *DhContext, UINTN Generator,
                                                               UINTN PrimeLength, const UINT8 *Prime);
// Draws the private value on first use and hands out the public value, without leading zero bytes; later
// calls give the same until the parameters change. Size query through PublicKey, which may be NULL only with
// a size of 0, and PublicKeySize. FALSE with the size as it was for a NULL pointer, or when the key cannot be
// made: no parameters, a prime that is even, zero or above 10,000 bits, a random generator that is not ready,
// no memory.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_DH_GENERATE_KEY)(VOID *DhContext, UINT8 *PublicKey,
                                                         UINTN *PublicKeySize);
// Writes the shared secret, without leading zero bytes. FALSE with *KeySize as it was for a NULL pointer, a
// peer length above 0x7FFFFFFF, a context without a key pair, a peer value that is not from 2 to p - 2, or no
// memory; FALSE with the secret's length stored, and nothing written to Key, when *KeySize is too small.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_DH_COMPUTE_KEY)(VOID *DhContext, const UINT8 *PeerPublicKey,
                                                        UINTN PeerPublicKeySize, UINT8 *Key, UINTN *KeySize);
// Releases a Diffie-Hellman context with its numbers, of which the private value is wiped; NULL is allowed.
typedef VOID(EFIAPI *CRYPTO_SERVICES_DH_FREE)(VOID *DhContext);

// Certificates (RFC 5280) and PEM private keys (RFC 7468, RFC 1421).
// Certificates are DER, and what lies behind one within its length is ignored; every length is at most
// 0x7FFFFFFF.

// A new RSA context, to be released with SvcRsaFree, from the first private key in a PEM text: PKCS#8, plain
// or encrypted, or RSAPrivateKey with or without encryption headers. It opens DES-EDE3-CBC and AES-CBC alone,
// and derivations of at most 700,000 rounds. Password is NUL-terminated ASCII, of which the first 1,024
// bytes count, or NULL for an empty one. FALSE with *RsaContext as it was for a NULL PemData or RsaContext, a
// PemSize of 0 or above 0x5FFFFFFC, or no memory for the stream; FALSE with NULL stored for everything else:
// no key, a malformed block before it, one that is not RSA or has more than two primes, a wrong password, no
// memory.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_RSA_GET_PRIVATE_KEY_FROM_PEM)(const UINT8 *PemData, UINTN PemSize,
                                                                      const CHAR8 *Password,
                                                                      VOID **RsaContext);
// A new RSA context, to be released with SvcRsaFree, with n and e of the certificate's public key. FALSE with
// *RsaContext as it was for a NULL pointer, a certificate that does not decode, or a key that is not RSA
// (RSA-PSS and elliptic curves are not); FALSE with NULL stored when memory for the copy ran out.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_RSA_GET_PUBLIC_KEY_FROM_X509)(const UINT8 *Cert, UINTN CertSize,
                                                                      VOID **RsaContext);
// Copies the subject's Name, in DER, exactly as the certificate encodes it. FALSE with *SubjectSize as it was
// for a NULL Cert or SubjectSize, or a certificate that does not decode; then *SubjectSize receives the
// name's length whatever the answer, and FALSE for a NULL Subject or a size too small.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_X509_GET_SUBJECT_NAME)(const UINT8 *Cert, UINTN CertSize,
                                                               UINT8 *Subject, UINTN *SubjectSize);
// TRUE when the self-signed CaCert issued Cert (RFC 5280, section 6, without revocation) and both are valid
// at the time that the firmware's clock gives; without a clock none is. A version 3 CA needs
// basicConstraints that say so. Signatures with MD5, SHA-1 or SHA-256 are accepted, with SHA-384 and SHA-512
// once slot 33 has run in this boot; CaCert's own is not looked at. FALSE for everything else: a NULL
// pointer, certificates that do not decode, elliptic-curve keys, no memory.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_X509_VERIFY_CERT)(const UINT8 *Cert, UINTN CertSize,
                                                          const UINT8 *CaCert, UINTN CaCertSize);

// PKCS#7 signed data (RFC 2315) and Authenticode.
// Every length is at most 0x7FFFFFFF. A message is DER: a ContentInfo whose two outer lengths take two bytes
// each, or a bare SignedData of at most 65,520 bytes with nothing behind it.

// Collects the signers' certificates out of a message; it verifies nothing. Stores the list with its size,
// and a copy of the certificate of the message's first signer with its size, in two buffers that the caller
// releases one by one with SvcPkcs7FreeSigners. FALSE for a NULL pointer, what is no message, or one without
// signers or without the certificate of one: nothing is stored. FALSE when memory ran out once the list had
// begun, or the list would have more than 4 MiB: NULL in *CertList, and if it was for the copy, NULL in
// *FirstSignerCert and its size. A certificate for whose encoding there is no memory ends the list early,
// with TRUE.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_PKCS7_GET_SIGNERS)(const UINT8 *P7Data, UINTN P7Size,
                                                           SIGNER_CERT_LIST **CertList, UINTN *CertListSize,
                                                           UINT8 **FirstSignerCert,
                                                           UINTN *FirstSignerCertSize);
// TRUE when the message has signers, every signer's chain reaches TrustedCert, which need not be self-signed,
// all of it is valid at the time of the firmware's clock, and every signature holds over Data, whether or not
// the message carries content of its own. Revocation is not looked at, and the signer's key usage does not
// matter. The message names at most 16 digest algorithms; it, its signers and its chains use MD5, SHA-1,
// SHA-256, SHA-384 or SHA-512; its signers times one more than its certificates are at most 256. FALSE for
// everything else: a NULL pointer, a length above 0x7FFFFFFF, a DataSize of 0 or above 0x5FFFFFFC, no memory.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_PKCS7_VERIFY)(const UINT8 *P7Data, UINTN P7Size,
                                                      const UINT8 *TrustedCert, UINTN TrustedCertSize,
                                                      const UINT8 *Data, UINTN DataSize);
// Releases one buffer from SvcPkcs7GetSigners; NULL is allowed.
typedef VOID(EFIAPI *CRYPTO_SERVICES_PKCS7_FREE_SIGNERS)(VOID *Buffer);
// Checks the Authenticode signature of a PE image: TRUE when AuthData is a ContentInfo, not a bare
// SignedData, with SpcIndirectDataContent, the last ImageDigestSize bytes of that equal ImageDigest, and
// SvcPkcs7Verify accepts the message for TrustedCert. With an ImageDigestSize of 0 no digest is compared.
// FALSE for everything else: a NULL pointer (ImageDigest too), a length above 0x7FFFFFFF, a content whose
// length takes more than two bytes.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_AUTHENTICODE_VERIFY)(const UINT8 *AuthData, UINTN AuthSize,
                                                             const UINT8 *TrustedCert, UINTN TrustedCertSize,
                                                             const UINT8 *ImageDigest, UINTN ImageDigestSize);

// Signed data and firmware images (PKCS#1 v1.5 signatures, RFC 8017, section 8.2, with SHA-1 or SHA-256,
// exponent 65537). Signature and Modulus are least-significant byte first and stay as they are. After the
// argument tests, for each key: EFI_OUT_OF_RESOURCES, EFI_NOT_FOUND for a hash that fails,
// EFI_OUT_OF_RESOURCES for no key object, EFI_NOT_READY for a key that cannot be built (a modulus above
// 0x7FFFFFFF bytes, no memory), EFI_SECURITY_VIOLATION for a signature that does not verify, its length
// included.

// Verifies one buffer with the built-in keys of KeyType. KeyValid, which may be NULL, receives the valid mark
// of the key that verified (1), on success alone. EFI_INVALID_PARAMETER for a HashType other than SHA-1 and
// SHA-256, or no Signature; the refusals of BUILTIN_KEY_TYPE, or EFI_OUT_OF_RESOURCES; EFI_BAD_BUFFER_SIZE
// for a NULL Data or a DataSize of 0; then as above. The last three arguments differ in order from slot 3.
typedef EFI_STATUS(EFIAPI *CRYPTO_SERVICES_VERIFY_BUFFER_WITH_BUILTIN_KEYS)(
    const VOID *Data, UINTN DataSize, const UINT8 *Signature, UINTN SignatureSize, BUILTIN_KEY_TYPE KeyType,
    HASH_TYPE HashType, UINT32 *KeyValid);
// Verifies Count buffers, DataList[i] of SizeList[i] bytes, hashed in order as one message, with the caller's
// modulus. EFI_INVALID_PARAMETER for a NULL pointer, a Count, ModulusSize or SignatureSize of 0, or a
// HashType other than SHA-1 and SHA-256; EFI_BAD_BUFFER_SIZE for an entry that is NULL or empty; then as
// above.
typedef EFI_STATUS(EFIAPI *CRYPTO_SERVICES_VERIFY_DATA_LIST_WITH_KEY)(
    const VOID **DataList, const UINTN *SizeList, UINTN Count, const UINT8 *Modulus, UINTN ModulusSize,
    const UINT8 *Signature, UINTN SignatureSize, HASH_TYPE HashType);
// Verifies Count buffers, as slot 1 does, with the built-in keys of KeyType, and stores KeyValid as slot 0
// does. EFI_INVALID_PARAMETER for a NULL DataList, SizeList or Signature, a Count or SignatureSize of 0, or a
// HashType other than SHA-1 and SHA-256; the refusals of BUILTIN_KEY_TYPE, or EFI_OUT_OF_RESOURCES;
// EFI_BAD_BUFFER_SIZE for an entry that is NULL or empty; then as above.
typedef EFI_STATUS(EFIAPI *CRYPTO_SERVICES_VERIFY_DATA_LIST_WITH_BUILTIN_KEYS)(
    const VOID **DataList, const UINTN *SizeList, UINTN Count, const UINT8 *Signature, UINTN SignatureSize,
    BUILTIN_KEY_TYPE KeyType, UINT32 *KeyValid, HASH_TYPE HashType);
// Verifies an image in memory, with SHA-256, against its IMAGE_SIGNATURE_BLOCK, then asks the platform's
// validation policy. The image is changed during the call and nobody else may touch it; afterwards every
// signature area holds the first block's signature, and the excluded regions their old bytes (Preserve TRUE)
// or 0xFF (FALSE). With the image unchanged: EFI_INVALID_PARAMETER for a NULL Image or an ImageSize of 0, the
// failure of the layout protocol's lookup or answer, EFI_INVALID_PARAMETER for a region that is not empty or
// a signature block beyond the image, and, with Preserve, EFI_INVALID_PARAMETER for an empty region or
// EFI_OUT_OF_RESOURCES. With the image restored: the refusal of the selected key type or
// EFI_OUT_OF_RESOURCES, then as above, and EFI_SECURITY_VIOLATION when the policy objects. Key types 0 and 5
// accept nothing: see BUILTIN_KEY_TYPE.
typedef EFI_STATUS(EFIAPI *CRYPTO_SERVICES_VERIFY_FIRMWARE_IMAGE)(UINT8 *Image, UINTN ImageSize,
                                                                  BOOLEAN Preserve);

// Base64 (RFC 4648). UrlSafe takes "-" and "_" for "+" and "/"; NoNewline means text without line breaks,
// else lines of 64 characters each ended by a line feed, the last one too. Text lengths count characters.
// *Output must be NULL on entry and receives a new buffer that ends with one zero character behind
// *OutputLength. EFI_INVALID_PARAMETER for a NULL pointer, a length of 0 or one above 0x7FFFFFFF;
// EFI_BAD_BUFFER_SIZE for an *Output that is not NULL; EFI_OUT_OF_RESOURCES, also for text or data above
// 0x5FFFFFFC bytes; EFI_DEVICE_ERROR, EFI_UNSUPPORTED or EFI_NOT_FOUND for a filter that fails;
// EFI_LOAD_ERROR for an empty result, such as text that is no Base64. No failure writes to *Output or
// *OutputLength.

// Encodes DataSize bytes to CHAR16 text; the buffer has (*OutputLength + 1) * 2 bytes.
typedef EFI_STATUS(EFIAPI *CRYPTO_SERVICES_BASE64_ENCODE_TO_UNICODE)(BOOLEAN UrlSafe, BOOLEAN NoNewline,
                                                                     const UINT8 *Data, UINTN DataSize,
                                                                     CHAR16 **Output, UINTN *OutputLength);
// Encodes DataSize bytes to CHAR8 text; the buffer has *OutputLength + 1 bytes.
typedef EFI_STATUS(EFIAPI *CRYPTO_SERVICES_BASE64_ENCODE_TO_ASCII)(BOOLEAN UrlSafe, BOOLEAN NoNewline,
                                                                   const UINT8 *Data, UINTN DataSize,
                                                                   CHAR8 **Output, UINTN *OutputLength);
// Decodes InputLength characters of CHAR16 text to bytes; the high byte of each is dropped without a test.
// Input stays as it is.
typedef EFI_STATUS(EFIAPI *CRYPTO_SERVICES_BASE64_DECODE_UNICODE)(BOOLEAN UrlSafe, BOOLEAN NoNewline,
                                                                  const CHAR16 *Input, UINTN InputLength,
                                                                  UINT8 **Output, UINTN *OutputLength);
// Decodes CHAR16 text with UrlSafe when "-" or "_" is among its InputLength characters, and NoNewline when
// neither line feed nor carriage return is.
typedef EFI_STATUS(EFIAPI *CRYPTO_SERVICES_BASE64_DECODE_UNICODE_AUTO)(const CHAR16 *Input, UINTN InputLength,
                                                                       UINT8 **Output, UINTN *OutputLength);
// Decodes InputLength characters of CHAR8 text to bytes. With UrlSafe, Input itself is rewritten to the
// standard alphabet up to its first zero byte, once the arguments are accepted, and stays so when a later
// step fails.
typedef EFI_STATUS(EFIAPI *CRYPTO_SERVICES_BASE64_DECODE_ASCII)(BOOLEAN UrlSafe, BOOLEAN NoNewline,
                                                                CHAR8 *Input, UINTN InputLength,
                                                                UINT8 **Output, UINTN *OutputLength);
// Decodes CHAR8 text, its switches chosen as for CHAR16; Input is rewritten when it contains "-" or "_".
typedef EFI_STATUS(EFIAPI *CRYPTO_SERVICES_BASE64_DECODE_ASCII_AUTO)(CHAR8 *Input, UINTN InputLength,
                                                                     UINT8 **Output, UINTN *OutputLength);

// Key derivation (RFC 8018) and random bytes.

// PBKDF2 with HMAC-SHA1 (RFC 8018, section 5.2) into the OutputLength bytes of Output. Salt may be NULL when
// SaltLength is 0. EFI_INVALID_PARAMETER for a NULL Password or Output, a PasswordLength, IterationCount or
// OutputLength of 0, or any of the four numbers above 0x7FFFFFFF; EFI_BAD_BUFFER_SIZE for a SaltLength
// without Salt; EFI_DEVICE_ERROR when the derivation fails, as without memory: Output may then be written in
// part.
typedef EFI_STATUS(EFIAPI *CRYPTO_SERVICES_PBKDF2_HMAC_SHA1)(const UINT8 *Password, UINTN PasswordLength,
                                                             const UINT8 *Salt, UINTN SaltLength,
                                                             UINTN IterationCount, UINT8 *Output,
                                                             UINTN OutputLength);
// Mixes SeedSize bytes, at most 0x7FFFFFFF, or a default text of 128 bytes with the time-stamp counter when
// Seed is NULL, into the generator (SP 800-90A) that all modules share. TRUE when the generator is ready: at
// once where RDSEED or RDRAND works, else after 32 bytes of seed. The default text counts as seed although it
// proves no entropy. FALSE for a SeedSize above 0x7FFFFFFF, with Seed or without, nothing mixed; else when
// not ready.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_RANDOM_SEED)(const UINT8 *Seed, UINTN SeedSize);
// Draws Size bytes from the generator. FALSE for a NULL Output, a Size above 0x7FFFFFFF, or a generator that
// is not ready. Once ready it stays ready for the boot.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_RANDOM_BYTES)(UINT8 *Output, UINTN Size);
// Fills Output with SHA-256 blocks over draws from the generator, which it reseeds before each of them from
// the real-time clock's CMOS registers, the time-stamp counter and earlier blocks; 1 to 60 passes for every
// 32 bytes. EFI_INVALID_PARAMETER for a NULL Output or a Size of 0, nothing written; otherwise the status of
// the last digest. Seeding and drawing that fail are not reported.
typedef EFI_STATUS(EFIAPI *CRYPTO_SERVICES_RANDOM_FILL_CLOCK_SEEDED)(UINT8 *Output, UINTN Size);

// Module policy.

// Reports a policy event to the handler in system-management mode: Code 0 to 3 with DataSize bytes about the
// module, of which 96 travel. EFI_SECURITY_VIOLATION for a negative Code or one above 7, EFI_SUCCESS for 4 to
// 7, nothing sent. Codes 1 and 3 repeat the handler's last answer, once it has given one, without asking
// again and without a look at Data. Then EFI_INVALID_PARAMETER for a NULL Data or a DataSize of 0;
// EFI_OUT_OF_RESOURCES; the failure of the communication, or the handler's answer. EFI_NOT_FOUND from either,
// as while the channel is missing, keeps a copy to be sent once the channel is ready, up to its first zero
// byte: the answer is then the status of arming that, EFI_NOT_FOUND without memory.
typedef EFI_STATUS(EFIAPI *CRYPTO_SERVICES_REPORT_POLICY_EVENT)(INT32 Code, const CHAR8 *Data,
                                                                UINTN DataSize);

// The interface: 62 pointers in slot order, nothing in front and nothing behind.
typedef struct CRYPTO_SERVICES_PROTOCOL {
  // Slots 0 to 5: signed data, firmware images, one-shot digests, policy events.
  CRYPTO_SERVICES_VERIFY_BUFFER_WITH_BUILTIN_KEYS SvcVerifyBufferWithBuiltinKeys;
  CRYPTO_SERVICES_VERIFY_DATA_LIST_WITH_KEY SvcVerifyDataListWithKey;
  CRYPTO_SERVICES_HASH_ALL SvcHashAll;
  CRYPTO_SERVICES_VERIFY_DATA_LIST_WITH_BUILTIN_KEYS SvcVerifyDataListWithBuiltinKeys;
  CRYPTO_SERVICES_VERIFY_FIRMWARE_IMAGE SvcVerifyFirmwareImage;
  CRYPTO_SERVICES_REPORT_POLICY_EVENT SvcReportPolicyEvent;

  // Slots 6 to 13: SHA-256 and SHA-1.
  CRYPTO_SERVICES_SHA256_GET_CONTEXT_SIZE SvcSha256GetContextSize;
  CRYPTO_SERVICES_SHA256_INIT SvcSha256Init;
  CRYPTO_SERVICES_SHA256_UPDATE SvcSha256Update;
  CRYPTO_SERVICES_SHA256_FINAL SvcSha256Final;
  CRYPTO_SERVICES_SHA1_GET_CONTEXT_SIZE SvcSha1GetContextSize;
  CRYPTO_SERVICES_SHA1_INIT SvcSha1Init;
  CRYPTO_SERVICES_SHA1_UPDATE SvcSha1Update;
  CRYPTO_SERVICES_SHA1_FINAL SvcSha1Final;

  // Slots 14 to 17: HMAC-SHA1.
  CRYPTO_SERVICES_HMAC_SHA1_GET_CONTEXT_SIZE SvcHmacSha1GetContextSize;
  CRYPTO_SERVICES_HMAC_SHA1_INIT SvcHmacSha1Init;
  CRYPTO_SERVICES_HMAC_SHA1_UPDATE SvcHmacSha1Update;
  CRYPTO_SERVICES_HMAC_SHA1_FINAL SvcHmacSha1Final;

  // Slots 18 to 21: triple DES.
  CRYPTO_SERVICES_TDES_GET_CONTEXT_SIZE SvcTdesGetContextSize;
  CRYPTO_SERVICES_TDES_INIT SvcTdesInit;
  CRYPTO_SERVICES_TDES_CBC_ENCRYPT SvcTdesCbcEncrypt;
  CRYPTO_SERVICES_TDES_CBC_DECRYPT SvcTdesCbcDecrypt;

  // Slots 22 to 34: RSA, certificates, PKCS#7.
  CRYPTO_SERVICES_RSA_NEW SvcRsaNew;
  CRYPTO_SERVICES_RSA_GET_KEY SvcRsaGetKey;
  CRYPTO_SERVICES_RSA_SET_KEY SvcRsaSetKey;
  CRYPTO_SERVICES_RSA_PKCS1_SIGN SvcRsaPkcs1Sign;
  CRYPTO_SERVICES_RSA_PKCS1_VERIFY SvcRsaPkcs1Verify;
  CRYPTO_SERVICES_RSA_GET_PRIVATE_KEY_FROM_PEM SvcRsaGetPrivateKeyFromPem;
  CRYPTO_SERVICES_RSA_GET_PUBLIC_KEY_FROM_X509 SvcRsaGetPublicKeyFromX509;
  CRYPTO_SERVICES_X509_GET_SUBJECT_NAME SvcX509GetSubjectName;
  CRYPTO_SERVICES_X509_VERIFY_CERT SvcX509VerifyCert;
  CRYPTO_SERVICES_RSA_FREE SvcRsaFree;
  CRYPTO_SERVICES_PKCS7_GET_SIGNERS SvcPkcs7GetSigners;
  CRYPTO_SERVICES_PKCS7_VERIFY SvcPkcs7Verify;
  CRYPTO_SERVICES_PKCS7_FREE_SIGNERS SvcPkcs7FreeSigners;

  // Slots 35 to 40: AES.
  CRYPTO_SERVICES_AES_GET_CONTEXT_SIZE SvcAesGetContextSize;
  CRYPTO_SERVICES_AES_INIT SvcAesInit;
  CRYPTO_SERVICES_AES_CBC_ENCRYPT SvcAesCbcEncrypt;
  CRYPTO_SERVICES_AES_CBC_DECRYPT SvcAesCbcDecrypt;
  CRYPTO_SERVICES_AES_ECB_ENCRYPT SvcAesEcbEncrypt;
  CRYPTO_SERVICES_AES_ECB_DECRYPT SvcAesEcbDecrypt;

  // Slots 41 to 45: Diffie-Hellman.
  CRYPTO_SERVICES_DH_NEW SvcDhNew;
  CRYPTO_SERVICES_DH_GENERATE_PARAMETER SvcDhGenerateParameter;
  CRYPTO_SERVICES_DH_GENERATE_KEY SvcDhGenerateKey;
  CRYPTO_SERVICES_DH_COMPUTE_KEY SvcDhComputeKey;
  CRYPTO_SERVICES_DH_FREE SvcDhFree;

  // Slots 46 to 53: random bytes, Authenticode, key derivation, the layered transform, one-shot HMAC.
  CRYPTO_SERVICES_RANDOM_SEED SvcRandomSeed;
  CRYPTO_SERVICES_RANDOM_BYTES SvcRandomBytes;
  CRYPTO_SERVICES_AUTHENTICODE_VERIFY SvcAuthenticodeVerify;
  CRYPTO_SERVICES_PBKDF2_HMAC_SHA1 SvcPbkdf2HmacSha1;
  CRYPTO_SERVICES_RANDOM_FILL_CLOCK_SEEDED SvcRandomFillClockSeeded;
  CRYPTO_SERVICES_AES_LAYERED_TRANSFORM SvcAesLayeredTransform;
  CRYPTO_SERVICES_HMAC_COMPUTE SvcHmacCompute;
  CRYPTO_SERVICES_HMAC_VERIFY SvcHmacVerify;

  // Slots 54 to 61: Base64, RSA with raw keys.
  CRYPTO_SERVICES_BASE64_ENCODE_TO_UNICODE SvcBase64EncodeToUnicode;
  CRYPTO_SERVICES_BASE64_ENCODE_TO_ASCII SvcBase64EncodeToAscii;
  CRYPTO_SERVICES_BASE64_DECODE_UNICODE SvcBase64DecodeUnicode;
  CRYPTO_SERVICES_BASE64_DECODE_UNICODE_AUTO SvcBase64DecodeUnicodeAuto;
  CRYPTO_SERVICES_BASE64_DECODE_ASCII SvcBase64DecodeAscii;
  CRYPTO_SERVICES_BASE64_DECODE_ASCII_AUTO SvcBase64DecodeAsciiAuto;
  CRYPTO_SERVICES_RSA_PUBLIC_ENCRYPT SvcRsaPublicEncrypt;
  CRYPTO_SERVICES_RSA_PRIVATE_DECRYPT SvcRsaPrivateDecrypt;
} CRYPTO_SERVICES_PROTOCOL;

#ifdef __cplusplus
}
static_assert(sizeof(CRYPTO_SERVICES_PROTOCOL) == CRYPTO_SERVICES_SLOT_COUNT * 8,
              "62 pointers, nothing else");
#if __cplusplus >= 201703L
inline constexpr EFI_GUID mCryptoServicesProtocolGuid = CRYPTO_SERVICES_PROTOCOL_GUID;
#endif
#else
_Static_assert(sizeof(CRYPTO_SERVICES_PROTOCOL) == CRYPTO_SERVICES_SLOT_COUNT * 8,
               "62 pointers, nothing else");
#endif

#endif

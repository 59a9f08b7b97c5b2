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
// - Sizes and lengths count bytes; no pointer may be NULL; a refused argument changes nothing.
// - A BOOLEAN answer is TRUE on success and FALSE on every refusal or failure.
// - "Size query": the size variable holds the buffer's size on entry and receives the needed size when that
//   is too small (FALSE or EFI_BUFFER_TOO_SMALL), the written size on success. A NULL buffer with a size of 0
//   asks only.
// - "New buffer": boot services pool that belongs to the caller from success on, to be released with
//   FreePool.
// - Big numbers are unsigned big-endian byte strings, except in slots 0, 1, 3 and 4, which take moduli and
//   signatures least-significant byte first.
// - A service runs at its caller's task priority level and keeps no state between calls, but for the random
//   generator (slots 46, 47, 50), the algorithms that slot 33 makes known, and the answer that slot 5
//   remembers.

// Digests: SHA-1 and SHA-256 (FIPS 180-4), MD5 (RFC 1321).

// One digest over Data in one call, MD5 among the types. Digest may be NULL: then, and for a DigestSize
// below the digest's size, EFI_BUFFER_TOO_SMALL with the size stored (0 for an unknown type).
// EFI_INVALID_PARAMETER for a NULL Data or DigestSize or a DataSize of 0; EFI_UNSUPPORTED for an unknown
// type; EFI_OUT_OF_RESOURCES.
typedef EFI_STATUS(EFIAPI *CRYPTO_SERVICES_HASH_ALL)(HASH_TYPE HashType, const VOID *Data, UINTN DataSize,
                                                     UINT8 *Digest, UINTN *DigestSize);

// Bytes of memory that the caller allocates for a SHA-256 context: CRYPTO_SERVICES_SHA256_CONTEXT_SIZE. A
// context holds no pointers, needs no clean-up and may be copied byte for byte.
typedef UINTN(EFIAPI *CRYPTO_SERVICES_SHA256_GET_CONTEXT_SIZE)(VOID);
// Starts a digest in the caller's Context, whatever that held before.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_SHA256_INIT)(VOID *Context);
// Adds DataSize bytes to a started digest. Data may be NULL when DataSize is 0.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_SHA256_UPDATE)(VOID *Context, const VOID *Data, UINTN DataSize);
// Writes the 32 digest bytes. The context is spent: only Init makes it usable again.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_SHA256_FINAL)(VOID *Context, UINT8 *Digest);

// Bytes of memory for a SHA-1 context, CRYPTO_SERVICES_SHA1_CONTEXT_SIZE, under the same rules as for
// SHA-256.
typedef UINTN(EFIAPI *CRYPTO_SERVICES_SHA1_GET_CONTEXT_SIZE)(VOID);
// Starts a digest in the caller's Context, whatever that held before.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_SHA1_INIT)(VOID *Context);
// Adds DataSize bytes to a started digest. Data may be NULL when DataSize is 0.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_SHA1_UPDATE)(VOID *Context, const VOID *Data, UINTN DataSize);
// Writes the 20 digest bytes. The context is spent: only Init makes it usable again.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_SHA1_FINAL)(VOID *Context, UINT8 *Digest);

// Message authentication: HMAC (RFC 2104, FIPS 198-1).

// Bytes of memory for an HMAC-SHA1 context: CRYPTO_SERVICES_HMAC_SHA1_CONTEXT_SIZE. A context must not be
// copied.
typedef UINTN(EFIAPI *CRYPTO_SERVICES_HMAC_SHA1_GET_CONTEXT_SIZE)(VOID);
// Starts an HMAC in an idle Context; the memory attached to a context that is not idle is lost. FALSE for a
// NULL Context or a KeySize above 0x7FFFFFFF. Failures inside are not reported: a NULL Key, or no memory,
// leaves a context with which Update and Final do nothing and answer TRUE.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_HMAC_SHA1_INIT)(VOID *Context, const UINT8 *Key, UINTN KeySize);
// Adds DataSize bytes. Data may be NULL when DataSize is 0.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_HMAC_SHA1_UPDATE)(VOID *Context, const VOID *Data, UINTN DataSize);
// Writes the 20 bytes of the MAC, releases the memory attached to the context and leaves it idle, all zero.
// On an idle context it writes nothing and answers TRUE.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_HMAC_SHA1_FINAL)(VOID *Context, UINT8 *Mac);

// HMAC with SHA-1 or SHA-256 in one call; size query through Mac, which may be NULL, and MacSize. A NULL Key,
// Data or MacSize, a KeySize or DataSize of 0, or a size without a buffer is EFI_INVALID_PARAMETER; any other
// type EFI_UNSUPPORTED, nothing stored; then EFI_BUFFER_TOO_SMALL, EFI_OUT_OF_RESOURCES, or the status of a
// failed hash.
typedef EFI_STATUS(EFIAPI *CRYPTO_SERVICES_HMAC_COMPUTE)(HASH_TYPE HashType, const UINT8 *Key, UINTN KeySize,
                                                         const UINT8 *Data, UINTN DataSize, UINT8 *Mac,
                                                         UINTN *MacSize);
// Computes the HMAC and compares. EFI_SECURITY_VIOLATION when ExpectedMac is NULL, its size is not the MAC's,
// or a byte differs. EFI_NOT_STARTED for any argument or type that SvcHmacCompute refuses;
// EFI_OUT_OF_RESOURCES.
typedef EFI_STATUS(EFIAPI *CRYPTO_SERVICES_HMAC_VERIFY)(HASH_TYPE HashType, const UINT8 *Key, UINTN KeySize,
                                                        const UINT8 *Data, UINTN DataSize,
                                                        const UINT8 *ExpectedMac, UINTN ExpectedMacSize);

// Ciphers: triple DES (SP 800-67), AES (FIPS 197), their ECB and CBC modes (SP 800-38A). Output receives
// exactly InputSize bytes and may be the same buffer as Input. Ivec is one block, is only read, and starts
// every call anew: whoever splits a message passes the last ciphertext block on.

// Bytes of memory for a triple-DES context: CRYPTO_SERVICES_TDES_CONTEXT_SIZE. No clean-up is needed.
typedef UINTN(EFIAPI *CRYPTO_SERVICES_TDES_GET_CONTEXT_SIZE)(VOID);
// Sets the key. KeyLength counts bits: 64 (K1 = K2 = K3), 128 (K3 = K1) or 192. A weak or semi-weak DES key
// among the parts is refused, and the context is then not usable until an Init succeeds.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_TDES_INIT)(VOID *Context, const UINT8 *Key, UINTN KeyLength);
// EDE encryption in CBC mode. InputSize is a multiple of 8, at most 0x7FFFFFFF; 0 writes nothing.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_TDES_CBC_ENCRYPT)(VOID *Context, const UINT8 *Input, UINTN InputSize,
                                                          const UINT8 *Ivec, UINT8 *Output);
// EDE decryption in CBC mode. InputSize is a multiple of 8, at most 0x7FFFFFFF; 0 writes nothing.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_TDES_CBC_DECRYPT)(VOID *Context, const UINT8 *Input, UINTN InputSize,
                                                          const UINT8 *Ivec, UINT8 *Output);

// Bytes of memory for an AES context: CRYPTO_SERVICES_AES_CONTEXT_SIZE. No clean-up is needed.
typedef UINTN(EFIAPI *CRYPTO_SERVICES_AES_GET_CONTEXT_SIZE)(VOID);
// Sets the key for both directions. KeyLength counts bits: 128, 192 or 256.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_AES_INIT)(VOID *Context, const UINT8 *Key, UINTN KeyLength);
// Encryption in CBC mode. InputSize is a multiple of 16, at most 0x7FFFFFFF; 0 writes nothing.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_AES_CBC_ENCRYPT)(VOID *Context, const UINT8 *Input, UINTN InputSize,
                                                         const UINT8 *Ivec, UINT8 *Output);
// Decryption in CBC mode. InputSize is a multiple of 16, at most 0x7FFFFFFF; 0 writes nothing.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_AES_CBC_DECRYPT)(VOID *Context, const UINT8 *Input, UINTN InputSize,
                                                         const UINT8 *Ivec, UINT8 *Output);
// Encryption block by block. InputSize is a multiple of 16 without an upper bound; 0 writes nothing.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_AES_ECB_ENCRYPT)(VOID *Context, const UINT8 *Input, UINTN InputSize,
                                                         UINT8 *Output);
// Decryption block by block. InputSize is a multiple of 16 without an upper bound; 0 writes nothing.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_AES_ECB_DECRYPT)(VOID *Context, const UINT8 *Input, UINTN InputSize,
                                                         UINT8 *Output);

// Three passes of AES-256 decryption over 1 byte to below 4 GiB, with byte-order reversals between them.
// Output comes first, receives Size bytes and may be the same buffer as Input. Key is 32 bytes, KeyLength 256
// (bits). EFI_INVALID_PARAMETER, EFI_OUT_OF_RESOURCES or EFI_DEVICE_ERROR leave Output untouched.
typedef EFI_STATUS(EFIAPI *CRYPTO_SERVICES_AES_LAYERED_TRANSFORM)(UINT8 *Output, const UINT8 *Input,
                                                                  UINTN Size, const UINT8 *Key,
                                                                  UINTN KeyLength);

// RSA (RFC 8017, PKCS#1 v1.5 throughout).

// A new RSA context without components, owned by the caller until SvcRsaFree, or NULL without memory.
typedef VOID *(EFIAPI *CRYPTO_SERVICES_RSA_NEW)(VOID);
// Writes one component, without leading zero bytes; size query through Buffer, which may be NULL, and
// BufferSize. An absent component answers TRUE with size 0. FALSE also for an unknown tag, with size 0, and
// for a NULL Buffer whose size would do, with the size as it was.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_RSA_GET_KEY)(VOID *RsaContext, RSA_KEY_TAG Tag, UINT8 *Buffer,
                                                     UINTN *BufferSize);
// Sets one component from a copy of Value, or clears it when Value is NULL. FALSE for a NULL context, an
// unknown tag or a Length above 0x7FFFFFFF, nothing changed; FALSE without memory, and the component is then
// absent.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_RSA_SET_KEY)(VOID *RsaContext, RSA_KEY_TAG Tag, const UINT8 *Value,
                                                     UINTN Length);
// Signs a finished digest of 16 (MD5), 20 (SHA-1) or 32 (SHA-256) bytes; needs n and d. Signature may be NULL
// in a size query, which answers the modulus length whatever the digest's. FALSE also for any other digest
// length, a key without private part, too short for the digest or above 16,384 bits; the size is then as it
// was.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_RSA_PKCS1_SIGN)(VOID *RsaContext, const UINT8 *Digest,
                                                        UINTN DigestSize, UINT8 *Signature,
                                                        UINTN *SignatureSize);
// Checks a signature over a finished digest of 16, 20 or 32 bytes; needs n and e. TRUE only when Signature
// has the modulus length (and is not above 0x7FFFFFFF) and decodes to exactly the DigestInfo of that digest.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_RSA_PKCS1_VERIFY)(VOID *RsaContext, const UINT8 *Digest,
                                                          UINTN DigestSize, const UINT8 *Signature,
                                                          UINTN SignatureSize);
// Releases an RSA context with all its components, wherever it came from; NULL is allowed.
typedef VOID(EFIAPI *CRYPTO_SERVICES_RSA_FREE)(VOID *RsaContext);

// Encrypts with a modulus of k significant bytes and the exponent 65537 into a new buffer of k bytes. The
// message is at most k - 12 bytes. A zero length or NULL pointer is EFI_INVALID_PARAMETER, nothing written;
// EFI_OUT_OF_RESOURCES; EFI_DEVICE_ERROR for a message too long, a modulus that will not do, or a random
// generator without a seed. A failure after the key is built stores NULL, with length k when memory failed
// and 0 otherwise.
typedef EFI_STATUS(EFIAPI *CRYPTO_SERVICES_RSA_PUBLIC_ENCRYPT)(UINT32 MessageLength, const UINT8 *Message,
                                                               const UINT8 *Modulus, UINTN ModulusLength,
                                                               UINT8 **Ciphertext, UINT32 *CiphertextLength);
// Decrypts a ciphertext of exactly k bytes with modulus and private exponent into a new buffer of k bytes, of
// which PlaintextLength are the message and the rest zero. Refusals as for encryption; EFI_DEVICE_ERROR also
// for a block that is not well-formed and a modulus above 16,384 bits.
typedef EFI_STATUS(EFIAPI *CRYPTO_SERVICES_RSA_PRIVATE_DECRYPT)(
    UINT32 CiphertextLength, const UINT8 *Ciphertext, const UINT8 *Modulus, UINTN ModulusLength,
    const UINT8 *PrivateExponent, UINTN PrivateExponentLength, UINT8 **Plaintext, UINT32 *PlaintextLength);

// Diffie-Hellman (PKCS#3).

// A new Diffie-Hellman context, owned by the caller until SvcDhFree, or NULL without memory.
typedef VOID *(EFIAPI *CRYPTO_SERVICES_DH_NEW)(VOID);
// Sets generator (2 or 5) and prime, and drops what the context held. PrimeLength counts bits, at most
// 0x7FFFFFFF, and PrimeLength / 8 bytes are read. The prime is taken as it is: neither primality nor safety
// is tested.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_DH_GENERATE_PARAMETER)(VOID *DhContext, UINTN Generator,
                                                               UINTN PrimeLength, const UINT8 *Prime);
// Draws the private value on first use and hands out the public value, without leading zero bytes; later
// calls give the same. Size query through PublicKey, which may be NULL only with a size of 0, and
// PublicKeySize. When the key cannot be made: FALSE with the size as it was.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_DH_GENERATE_KEY)(VOID *DhContext, UINT8 *PublicKey,
                                                         UINTN *PublicKeySize);
// Writes the shared secret, without leading zero bytes. FALSE with the secret's length stored when KeySize is
// too small; FALSE with KeySize as it was for a peer length above 0x7FFFFFFF, a context without a key pair,
// or a peer value that is not between 2 and p - 2.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_DH_COMPUTE_KEY)(VOID *DhContext, const UINT8 *PeerPublicKey,
                                                        UINTN PeerPublicKeySize, UINT8 *Key, UINTN *KeySize);
// Releases a Diffie-Hellman context; NULL is allowed.
typedef VOID(EFIAPI *CRYPTO_SERVICES_DH_FREE)(VOID *DhContext);

// Certificates (RFC 5280) and PEM private keys (RFC 7468, RFC 1421).
// Certificates are DER; every length is at most 0x7FFFFFFF.

// A new RSA context from a PEM private key, plain or encrypted with DES-EDE3-CBC or AES-CBC. Password is
// NUL-terminated ASCII, 1,024 bytes at most in use, or NULL for none. A key that does not open or is not RSA
// stores NULL; any earlier failure leaves *RsaContext as it was.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_RSA_GET_PRIVATE_KEY_FROM_PEM)(const UINT8 *PemData, UINTN PemSize,
                                                                      const CHAR8 *Password,
                                                                      VOID **RsaContext);
// A new RSA context with n and e of the certificate's public key. A certificate that does not decode or whose
// key is not RSA leaves *RsaContext as it was; a copy that fails stores NULL.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_RSA_GET_PUBLIC_KEY_FROM_X509)(const UINT8 *Cert, UINTN CertSize,
                                                                      VOID **RsaContext);
// Copies the subject's Name exactly as the certificate encodes it. Subject may be NULL in a size query; once
// the certificate decodes, *SubjectSize receives the name's length whatever the answer.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_X509_GET_SUBJECT_NAME)(const UINT8 *Cert, UINTN CertSize,
                                                               UINT8 *Subject, UINTN *SubjectSize);
// Checks Cert against the self-signed CaCert, validity periods included, at the time that the firmware's
// clock gives; without a clock no certificate is valid. Signatures with MD5, SHA-1 or SHA-256 are accepted,
// with SHA-384 and SHA-512 once SvcPkcs7Verify has run in this boot.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_X509_VERIFY_CERT)(const UINT8 *Cert, UINTN CertSize,
                                                          const UINT8 *CaCert, UINTN CaCertSize);

// PKCS#7 signed data (RFC 2315) and Authenticode.
// Every length is at most 0x7FFFFFFF.

// Collects the signers' certificates out of a message, which is a ContentInfo or a bare SignedData. Stores
// the list, and a copy of the certificate of the message's first signer, in two buffers that the caller
// releases one by one with SvcPkcs7FreeSigners. FALSE stores nothing, unless memory ran out on the way: then
// NULL in *CertList, and for the copy its length with NULL.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_PKCS7_GET_SIGNERS)(const UINT8 *P7Data, UINTN P7Size,
                                                           SIGNER_CERT_LIST **CertList, UINTN *CertListSize,
                                                           UINT8 **FirstSignerCert,
                                                           UINTN *FirstSignerCertSize);
// Checks that every signer's chain reaches TrustedCert, which need not be self-signed, and that every
// signature holds over Data, whether or not the message carries content of its own. Takes a ContentInfo or a
// bare SignedData, signed with MD5, SHA-1, SHA-256, SHA-384 or SHA-512. Empty Data is refused.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_PKCS7_VERIFY)(const UINT8 *P7Data, UINTN P7Size,
                                                      const UINT8 *TrustedCert, UINTN TrustedCertSize,
                                                      const UINT8 *Data, UINTN DataSize);
// Releases one buffer from SvcPkcs7GetSigners; NULL is allowed.
typedef VOID(EFIAPI *CRYPTO_SERVICES_PKCS7_FREE_SIGNERS)(VOID *Buffer);
// Checks an Authenticode signature: a ContentInfo with SpcIndirectDataContent, whose last bytes must equal
// ImageDigest, and which SvcPkcs7Verify accepts for TrustedCert. With an ImageDigestSize of 0 no digest is
// compared.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_AUTHENTICODE_VERIFY)(const UINT8 *AuthData, UINTN AuthSize,
                                                             const UINT8 *TrustedCert, UINTN TrustedCertSize,
                                                             const UINT8 *ImageDigest, UINTN ImageDigestSize);

// Signed data and firmware images (PKCS#1 v1.5 signatures with SHA-1 or SHA-256, exponent 65537).
// Signature and Modulus are least-significant byte first and stay as they are. After the argument tests:
// EFI_OUT_OF_RESOURCES, EFI_NOT_FOUND for a hash that fails, EFI_NOT_READY for a key that cannot be built,
// EFI_SECURITY_VIOLATION for a signature that does not verify.

// Verifies one buffer with the built-in keys of KeyType. KeyValid, which may be NULL, receives the valid mark
// of the key that verified (1). EFI_INVALID_PARAMETER for an unknown HashType or no Signature, then the
// refusals of BUILTIN_KEY_TYPE, then EFI_BAD_BUFFER_SIZE for no Data. The last three arguments differ in
// order from slot 3.
typedef EFI_STATUS(EFIAPI *CRYPTO_SERVICES_VERIFY_BUFFER_WITH_BUILTIN_KEYS)(
    const VOID *Data, UINTN DataSize, const UINT8 *Signature, UINTN SignatureSize, BUILTIN_KEY_TYPE KeyType,
    HASH_TYPE HashType, UINT32 *KeyValid);
// Verifies Count buffers, DataList[i] of SizeList[i] bytes, hashed in order as one message, with the caller's
// modulus. EFI_INVALID_PARAMETER for a NULL pointer, a Count or size of 0 or an unknown HashType;
// EFI_BAD_BUFFER_SIZE for an entry that is NULL or empty.
typedef EFI_STATUS(EFIAPI *CRYPTO_SERVICES_VERIFY_DATA_LIST_WITH_KEY)(
    const VOID **DataList, const UINTN *SizeList, UINTN Count, const UINT8 *Modulus, UINTN ModulusSize,
    const UINT8 *Signature, UINTN SignatureSize, HASH_TYPE HashType);
// Verifies Count buffers, as slot 1 does, with the built-in keys of KeyType, and stores KeyValid as slot 0
// does. EFI_INVALID_PARAMETER as for slot 1, then the refusals of BUILTIN_KEY_TYPE, then EFI_BAD_BUFFER_SIZE.
typedef EFI_STATUS(EFIAPI *CRYPTO_SERVICES_VERIFY_DATA_LIST_WITH_BUILTIN_KEYS)(
    const VOID **DataList, const UINTN *SizeList, UINTN Count, const UINT8 *Signature, UINTN SignatureSize,
    BUILTIN_KEY_TYPE KeyType, UINT32 *KeyValid, HASH_TYPE HashType);
// Verifies an image in memory against its IMAGE_SIGNATURE_BLOCK, then asks the platform's validation policy.
// The image is changed during the call; afterwards every signature area holds the first block's signature,
// and the excluded regions their old bytes (Preserve TRUE, which refuses a region of size 0) or 0xFF (FALSE).
// Answers the layout protocol's failure, EFI_INVALID_PARAMETER for arguments or a layout beyond the image,
// with the image unchanged in both; otherwise as above, EFI_SECURITY_VIOLATION also when the policy objects.
typedef EFI_STATUS(EFIAPI *CRYPTO_SERVICES_VERIFY_FIRMWARE_IMAGE)(UINT8 *Image, UINTN ImageSize,
                                                                  BOOLEAN Preserve);

// Base64 (RFC 4648). UrlSafe takes "-" and "_" for "+" and "/"; NoNewline means text without line breaks,
// else lines of 64 characters each ended by a line feed. Text lengths count characters. *Output must be NULL
// on entry and receives a new buffer that ends with one zero character behind OutputLength.
// EFI_INVALID_PARAMETER for a NULL pointer, a length of 0 or one above 0x7FFFFFFF; EFI_BAD_BUFFER_SIZE for a
// *Output that is not NULL; EFI_OUT_OF_RESOURCES; EFI_DEVICE_ERROR, EFI_UNSUPPORTED or EFI_NOT_FOUND for a
// filter that fails; EFI_LOAD_ERROR for an empty result. No failure writes to *Output or *OutputLength.

// Encodes DataSize bytes to CHAR16 text.
typedef EFI_STATUS(EFIAPI *CRYPTO_SERVICES_BASE64_ENCODE_TO_UNICODE)(BOOLEAN UrlSafe, BOOLEAN NoNewline,
                                                                     const UINT8 *Data, UINTN DataSize,
                                                                     CHAR16 **Output, UINTN *OutputLength);
// Encodes DataSize bytes to CHAR8 text.
typedef EFI_STATUS(EFIAPI *CRYPTO_SERVICES_BASE64_ENCODE_TO_ASCII)(BOOLEAN UrlSafe, BOOLEAN NoNewline,
                                                                   const UINT8 *Data, UINTN DataSize,
                                                                   CHAR8 **Output, UINTN *OutputLength);
// Decodes CHAR16 text to bytes; the high byte of each character is dropped without a test.
typedef EFI_STATUS(EFIAPI *CRYPTO_SERVICES_BASE64_DECODE_UNICODE)(BOOLEAN UrlSafe, BOOLEAN NoNewline,
                                                                  const CHAR16 *Input, UINTN InputLength,
                                                                  UINT8 **Output, UINTN *OutputLength);
// Decodes CHAR16 text with UrlSafe when it contains "-" or "_" and NoNewline when it has no line break.
typedef EFI_STATUS(EFIAPI *CRYPTO_SERVICES_BASE64_DECODE_UNICODE_AUTO)(const CHAR16 *Input, UINTN InputLength,
                                                                       UINT8 **Output, UINTN *OutputLength);
// Decodes CHAR8 text to bytes. With UrlSafe, Input itself is rewritten to the standard alphabet up to its
// first zero byte, and stays so also when a later step fails.
typedef EFI_STATUS(EFIAPI *CRYPTO_SERVICES_BASE64_DECODE_ASCII)(BOOLEAN UrlSafe, BOOLEAN NoNewline,
                                                                CHAR8 *Input, UINTN InputLength,
                                                                UINT8 **Output, UINTN *OutputLength);
// Decodes CHAR8 text, its switches chosen as for CHAR16; Input is rewritten when it contains "-" or "_".
typedef EFI_STATUS(EFIAPI *CRYPTO_SERVICES_BASE64_DECODE_ASCII_AUTO)(CHAR8 *Input, UINTN InputLength,
                                                                     UINT8 **Output, UINTN *OutputLength);

// Key derivation (RFC 8018) and random bytes.

// PBKDF2 with HMAC-SHA1 into the OutputLength bytes of Output. Salt may be NULL when SaltLength is 0. A NULL
// Password or Output, a zero length or IterationCount, or a length above 0x7FFFFFFF is EFI_INVALID_PARAMETER;
// a SaltLength without Salt EFI_BAD_BUFFER_SIZE; EFI_DEVICE_ERROR when the derivation fails.
typedef EFI_STATUS(EFIAPI *CRYPTO_SERVICES_PBKDF2_HMAC_SHA1)(const UINT8 *Password, UINTN PasswordLength,
                                                             const UINT8 *Salt, UINTN SaltLength,
                                                             UINTN IterationCount, UINT8 *Output,
                                                             UINTN OutputLength);
// Mixes SeedSize bytes, at most 0x7FFFFFFF, or a default text with the time-stamp counter when Seed is NULL,
// into the generator that all modules share. TRUE when the generator is ready; the default text proves no
// entropy.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_RANDOM_SEED)(const UINT8 *Seed, UINTN SeedSize);
// Draws Size bytes, at most 0x7FFFFFFF, from the generator. FALSE when it is not ready.
typedef BOOLEAN(EFIAPI *CRYPTO_SERVICES_RANDOM_BYTES)(UINT8 *Output, UINTN Size);
// Fills Output with SHA-256 blocks over draws from the generator, which it reseeds from the real-time clock,
// the time-stamp counter and earlier blocks. EFI_INVALID_PARAMETER for no Output, nothing written; otherwise
// the status of the last digest. Seeding and drawing that fail are not reported.
typedef EFI_STATUS(EFIAPI *CRYPTO_SERVICES_RANDOM_FILL_CLOCK_SEEDED)(UINT8 *Output, UINTN Size);

// Module policy.

// Reports a policy event to the handler in system-management mode: Code 0 to 3 with DataSize bytes about the
// module, of which 96 travel. Codes 4 to 7 are EFI_SUCCESS and the others EFI_SECURITY_VIOLATION, nothing
// sent. EFI_INVALID_PARAMETER for no Data; the handler's answer; or, while the channel is not there, the
// status of keeping a copy to be sent once it is. Once the handler has answered, codes 1 and 3 repeat its
// last answer without asking again.
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

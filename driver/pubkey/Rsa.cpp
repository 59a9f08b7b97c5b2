// The RSA entries of the service table: argument checks and size queries around the key object and the
// library's PKCS#1 signatures.
#include "driver/pubkey/Rsa.h"

#include <openssl/bn.h>
#include <openssl/objects.h>

#include "driver/pubkey/RsaContext.h"

namespace {

constexpr UINTN LengthMax = 0x7FFFFFFF; // the library counts in signed 32 bits

// The library's name for the digest that has Size bytes; NID_undef for none.
int DigestIdentifier(UINTN Size) {
  switch (Size) {
  case CRYPTO_SERVICES_MD5_DIGEST_SIZE:
    return NID_md5;
  case CRYPTO_SERVICES_SHA1_DIGEST_SIZE:
    return NID_sha1;
  case CRYPTO_SERVICES_SHA256_DIGEST_SIZE:
    return NID_sha256;
  default:
    return NID_undef;
  }
}

} // namespace

VOID *EFIAPI SvcRsaNew() {
  return NewRsaContext();
}

VOID EFIAPI SvcRsaFree(VOID *Context) {
  FreeRsaContext(static_cast<RSA_CONTEXT *>(Context));
}

BOOLEAN EFIAPI SvcRsaSetKey(VOID *Context, RSA_KEY_TAG Tag, const UINT8 *Value, UINTN Size) {
  if (Context == nullptr || Size > LengthMax || Tag >= RSA_COMPONENT_COUNT) {
    return FALSE;
  }
  auto *Rsa = static_cast<RSA_CONTEXT *>(Context);
  ReplaceRsaComponent(Rsa, Tag, nullptr);
  if (Value == nullptr) {
    return TRUE;
  }
  Rsa->Components[Tag] = BN_bin2bn(Value, static_cast<int>(Size), nullptr);
  return Rsa->Components[Tag] != nullptr;
}

BOOLEAN EFIAPI SvcRsaGetKey(VOID *Context, RSA_KEY_TAG Tag, UINT8 *Value, UINTN *Size) {
  if (Context == nullptr || Size == nullptr) {
    return FALSE;
  }
  UINTN BufferSize = *Size;
  *Size = 0;
  if (Tag >= RSA_COMPONENT_COUNT) {
    return FALSE;
  }
  const BIGNUM *Component = static_cast<RSA_CONTEXT *>(Context)->Components[Tag];
  if (Component == nullptr) {
    return TRUE;
  }
  UINTN Needed = static_cast<UINTN>(BN_num_bytes(Component));
  if (BufferSize < Needed) {
    *Size = Needed;
    return FALSE;
  }
  if (Value == nullptr) {
    *Size = BufferSize;
    return FALSE;
  }
  *Size = static_cast<UINTN>(BN_bn2bin(Component, Value));
  return TRUE;
}

BOOLEAN EFIAPI SvcRsaPkcs1Sign(VOID *Context, const UINT8 *Digest, UINTN DigestSize, UINT8 *Signature,
                               UINTN *SignatureSize) {
  auto *Rsa = static_cast<RSA_CONTEXT *>(Context);
  if (Rsa == nullptr || Digest == nullptr || SignatureSize == nullptr ||
      Rsa->Components[RsaKeyN] == nullptr) {
    return FALSE;
  }
  // The size comes before the digest, so a query answers whatever digest it is made with.
  UINTN ModulusSize = RsaModulusSize(Rsa);
  if (*SignatureSize < ModulusSize) {
    *SignatureSize = ModulusSize;
    return FALSE;
  }
  int Identifier = DigestIdentifier(DigestSize);
  if (Signature == nullptr || Identifier == NID_undef) {
    return FALSE;
  }
  RSA *Key = RsaPrivateKeyOf(Rsa);
  unsigned int Written = 0;
  if (Key == nullptr ||
      RSA_sign(Identifier, Digest, static_cast<unsigned int>(DigestSize), Signature, &Written, Key) != 1) {
    return FALSE;
  }
  *SignatureSize = Written;
  return TRUE;
}

BOOLEAN EFIAPI SvcRsaPkcs1Verify(VOID *Context, const UINT8 *Digest, UINTN DigestSize, const UINT8 *Signature,
                                 UINTN SignatureSize) {
  if (Context == nullptr || Digest == nullptr || Signature == nullptr || SignatureSize == 0 ||
      SignatureSize > LengthMax) {
    return FALSE;
  }
  int Identifier = DigestIdentifier(DigestSize);
  if (Identifier == NID_undef) {
    return FALSE;
  }
  RSA *Key = RsaPublicKeyOf(static_cast<RSA_CONTEXT *>(Context));
  return Key != nullptr && RSA_verify(Identifier, Digest, static_cast<unsigned int>(DigestSize), Signature,
                                      static_cast<unsigned int>(SignatureSize), Key) == 1;
}

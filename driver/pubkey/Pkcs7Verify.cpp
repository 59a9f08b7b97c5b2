// The library verifies; here stand the limits of what it is given, and which errors of a chain are none.
#include "driver/pubkey/Pkcs7Verify.h"

#include <openssl/objects.h>
#include <openssl/x509v3.h>

#include "driver/pubkey/MemoryStream.h"
#include "driver/pubkey/Pkcs7Message.h"
#include "driver/pubkey/X509Certificate.h"
#include "driver/pubkey/X509Trust.h"

namespace {

constexpr UINTN LengthMax = 0x7FFFFFFF; // the library counts in signed 32 bits

// The library digests the data once for each entry of digestAlgorithms, one call within the other.
constexpr int DigestCountMax = 16;

// The chain of each signer may lead through every certificate of the message, and a signature by a large key
// with a large exponent takes milliseconds: without a bound a message could hold up the boot for minutes.
constexpr int ChainStepsMax = 256;

bool AcceptableChains(const PKCS7_SIGNED *Signed) {
  int Certificates = sk_X509_num(Signed->cert); // -1: none
  int Steps = Certificates > 0 ? Certificates + 1 : 1;
  return sk_PKCS7_SIGNER_INFO_num(Signed->signer_info) <= ChainStepsMax / Steps;
}

bool UsesRegisteredDigest(const X509_ALGOR *Algorithm) {
  return IsRegisteredDigest(OBJ_obj2nid(Algorithm->algorithm));
}

// Whether all digests that the message names are registered, and few enough for the stack.
bool AcceptableDigests(const PKCS7_SIGNED *Signed) {
  int Count = sk_X509_ALGOR_num(Signed->md_algs);
  if (Count > DigestCountMax) {
    return false;
  }
  for (int Index = 0; Index < Count; Index++) {
    if (!UsesRegisteredDigest(sk_X509_ALGOR_value(Signed->md_algs, Index))) {
      return false;
    }
  }
  for (int Index = 0; Index < sk_PKCS7_SIGNER_INFO_num(Signed->signer_info); Index++) {
    if (!UsesRegisteredDigest(sk_PKCS7_SIGNER_INFO_value(Signed->signer_info, Index)->digest_alg)) {
      return false;
    }
  }
  return true;
}

bool IsTrusted(X509_STORE_CTX *Context, const X509 *Certificate) {
  STACK_OF(X509_OBJECT) *Objects = X509_STORE_get0_objects(X509_STORE_CTX_get0_store(Context));
  for (int Index = 0; Index < sk_X509_OBJECT_num(Objects); Index++) {
    const X509 *Trusted = X509_OBJECT_get0_X509(sk_X509_OBJECT_value(Objects, Index));
    if (Trusted != nullptr && X509_cmp(Trusted, Certificate) == 0) {
      return true;
    }
  }
  return false;
}

bool ReachesTrust(X509_STORE_CTX *Context) {
  STACK_OF(X509) *Chain = X509_STORE_CTX_get0_chain(Context);
  for (int Index = 0; Index < sk_X509_num(Chain); Index++) {
    if (IsTrusted(Context, sk_X509_value(Chain, Index))) {
      return true;
    }
  }
  return false;
}

// The library's verification callback: what Ok says, or 1 for a chain that ends in the trusted certificate
// instead of a self-signed one. Errors stay in the context, and the library comes back with Ok set, so the
// answer is only raised.
int TrustAnchorVerifyCallback(int Ok, X509_STORE_CTX *Context) {
  switch (X509_STORE_CTX_get_error(Context)) {
  case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT:
    return Ok || IsTrusted(Context, X509_STORE_CTX_get_current_cert(Context));
  case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY:
    return Ok || IsTrusted(Context, X509_STORE_CTX_get_current_cert(Context)) || ReachesTrust(Context);
  case X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE:
  case X509_V_ERR_CERT_UNTRUSTED:
    return 1;
  default:
    return Ok;
  }
}

// The data as the library is to read it. Given a bare memory stream, it would make one of its own and lose
// that when it fails right after; so it sees a filter that passes everything.
StreamHandle OpenData(const UINT8 *Data, UINTN Size) {
  StreamHandle Memory = OpenMemoryStream(Data, Size);
  StreamHandle Filter(Memory ? BIO_new(BIO_f_null()) : nullptr);
  if (Filter) {
    BIO_push(Filter.Get(), Memory.Release());
  }
  return Filter;
}

} // namespace

BOOLEAN EFIAPI SvcPkcs7Verify(const UINT8 *P7Data, UINTN P7Size, const UINT8 *TrustedCert,
                              UINTN TrustedCertSize, const UINT8 *Data, UINTN DataSize) {
  if (P7Data == nullptr || TrustedCert == nullptr || Data == nullptr || P7Size > LengthMax ||
      TrustedCertSize > LengthMax || DataSize > LengthMax) {
    return FALSE;
  }
  RegisterLongDigests();
  MessageHandle Message = ParseSignedMessage(P7Data, P7Size);
  return Message && VerifySignedMessage(Message.Get(), TrustedCert, TrustedCertSize, Data, DataSize);
}

bool VerifySignedMessage(PKCS7 *Message, const UINT8 *TrustedCert, UINTN TrustedCertSize, const UINT8 *Data,
                         UINTN DataSize) {
  if (!AcceptableDigests(Message->d.sign) || !AcceptableChains(Message->d.sign)) {
    return false;
  }
  CertificateHandle Trusted = DecodeX509Certificate(TrustedCert, TrustedCertSize);
  if (!Trusted) {
    return false;
  }
  StoreHandle Store = MakeTrustStore(Trusted.Get());
  StreamHandle Stream = OpenData(Data, DataSize);
  if (!Store || !Stream) {
    return false;
  }
  X509_STORE_set_verify_cb(Store.Get(), TrustAnchorVerifyCallback);
  return X509_STORE_set_purpose(Store.Get(), X509_PURPOSE_ANY) &&
         PKCS7_verify(Message, nullptr, Store.Get(), Stream.Get(), nullptr, 0) == 1;
}

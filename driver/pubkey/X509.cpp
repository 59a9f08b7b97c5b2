// The certificate entries of the service table.
#include "driver/pubkey/X509.h"

#include "driver/platform/Memory.h"
#include "driver/pubkey/RsaContext.h"
#include "driver/pubkey/RsaKeyEncoding.h"
#include "driver/pubkey/X509Certificate.h"
#include "driver/pubkey/X509Trust.h"

namespace {

using ChainCheckHandle = LibraryHandle<X509_STORE_CTX, X509_STORE_CTX_free>;

RsaKeyHandle RsaKeyOf(const X509 *Certificate) {
  ASN1_OBJECT *Algorithm = nullptr;
  const UINT8 *Der = nullptr;
  int Size = 0;
  X509_PUBKEY_get0_param(&Algorithm, &Der, &Size, nullptr, X509_get_X509_PUBKEY(Certificate));
  return IsRsaAlgorithm(Algorithm) ? DecodeRsaPublicKey(Der, Size) : RsaKeyHandle();
}

} // namespace

BOOLEAN EFIAPI SvcRsaGetPublicKeyFromX509(const UINT8 *Cert, UINTN CertSize, VOID **RsaContext) {
  if (Cert == nullptr || RsaContext == nullptr) {
    return FALSE;
  }
  CertificateHandle Certificate = DecodeX509Certificate(Cert, CertSize);
  if (!Certificate) {
    return FALSE;
  }
  RsaKeyHandle Key = RsaKeyOf(Certificate.Get());
  if (!Key) {
    return FALSE;
  }
  *RsaContext = NewRsaContextFrom(Key.Get());
  return *RsaContext != nullptr;
}

BOOLEAN EFIAPI SvcX509GetSubjectName(const UINT8 *Cert, UINTN CertSize, UINT8 *Subject, UINTN *SubjectSize) {
  if (Cert == nullptr || SubjectSize == nullptr) {
    return FALSE;
  }
  CertificateHandle Certificate = DecodeX509Certificate(Cert, CertSize);
  const UINT8 *Name = nullptr;
  UINTN Needed = 0;
  if (!Certificate || !X509_NAME_get0_der(X509_get_subject_name(Certificate.Get()), &Name, &Needed)) {
    return FALSE;
  }
  bool Fits = *SubjectSize >= Needed && Subject != nullptr;
  *SubjectSize = Needed;
  if (Fits) {
    MoveMemory(Subject, Name, Needed);
  }
  return Fits;
}

BOOLEAN EFIAPI SvcX509VerifyCert(const UINT8 *Cert, UINTN CertSize, const UINT8 *CaCert, UINTN CaCertSize) {
  if (Cert == nullptr || CaCert == nullptr) {
    return FALSE;
  }
  CertificateHandle Certificate = DecodeX509Certificate(Cert, CertSize);
  if (!Certificate) {
    return FALSE;
  }
  CertificateHandle Issuer = DecodeX509Certificate(CaCert, CaCertSize);
  if (!Issuer) {
    return FALSE;
  }
  StoreHandle Store = MakeTrustStore(Issuer.Get());
  ChainCheckHandle Check(X509_STORE_CTX_new());
  return Store && Check && X509_STORE_CTX_init(Check.Get(), Store.Get(), Certificate.Get(), nullptr) &&
         X509_verify_cert(Check.Get()) == 1;
}

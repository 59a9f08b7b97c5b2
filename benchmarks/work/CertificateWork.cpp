// Certificates, PKCS#7 and Authenticode: from the encodings to the answer, nothing kept between runs.
#include "benchmarks/work/Work.h"

#include <memory>

#include <openssl/evp.h>
#include <openssl/pkcs7.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>
#include <openssl/x509_vfy.h>
#include <openssl/x509v3.h>

#include "benchmarks/work/Material.h"

namespace {

template <auto FREE> struct RELEASE {
  void operator()(auto *Object) const { FREE(Object); }
};
using X509_HANDLE = std::unique_ptr<X509, RELEASE<X509_free>>;
using STORE_HANDLE = std::unique_ptr<X509_STORE, RELEASE<X509_STORE_free>>;
using PKCS7_HANDLE = std::unique_ptr<PKCS7, RELEASE<PKCS7_free>>;

X509_HANDLE Decode(const Bytes &Der) {
  const UINT8 *Place = Der.data();
  return X509_HANDLE(d2i_X509(nullptr, &Place, static_cast<long>(Der.size())));
}

PKCS7_HANDLE DecodeMessage(const Bytes &Der) {
  const UINT8 *Place = Der.data();
  return PKCS7_HANDLE(d2i_PKCS7(nullptr, &Place, static_cast<long>(Der.size())));
}

STORE_HANDLE StoreOf(const Bytes &Trusted) {
  STORE_HANDLE Store(X509_STORE_new());
  const X509_HANDLE Certificate = Decode(Trusted);
  X509_STORE_add_cert(Store.get(), Certificate.get());
  return Store;
}

STEP BarePublicKey(UINTN) {
  return [Cert = Material("direct.der")] {
    const X509_HANDLE Certificate = Decode(Cert);
    const std::unique_ptr<EVP_PKEY, RELEASE<EVP_PKEY_free>> Key(X509_get_pubkey(Certificate.get()));
    const std::unique_ptr<RSA, RELEASE<RSA_free>> Rsa(EVP_PKEY_get1_RSA(Key.get()));
    return Rsa != nullptr;
  };
}

STEP PublicKey(const BOOTED &Driver, UINTN) {
  return [&Services = Driver.Services, Cert = Material("direct.der")] {
    VOID *Key = nullptr;
    const bool Fine = Services.SvcRsaGetPublicKeyFromX509(Cert.data(), Cert.size(), &Key) != FALSE;
    Services.SvcRsaFree(Key);
    return Fine;
  };
}

STEP BareVerifyCert(UINTN) {
  return [Cert = Material("direct.der"), Ca = Material("root.der")] {
    const X509_HANDLE Certificate = Decode(Cert);
    const STORE_HANDLE Store = StoreOf(Ca);
    const std::unique_ptr<X509_STORE_CTX, RELEASE<X509_STORE_CTX_free>> Check(X509_STORE_CTX_new());
    return X509_STORE_CTX_init(Check.get(), Store.get(), Certificate.get(), nullptr) == 1 &&
           X509_verify_cert(Check.get()) == 1;
  };
}

STEP VerifyCert(const BOOTED &Driver, UINTN) {
  return [&Services = Driver.Services, Cert = Material("direct.der"), Ca = Material("root.der")] {
    return Services.SvcX509VerifyCert(Cert.data(), Cert.size(), Ca.data(), Ca.size()) != FALSE;
  };
}

bool BareVerifyMessage(PKCS7 *Message, const Bytes &Trusted, const UINT8 *Data, UINTN Size) {
  const STORE_HANDLE Store = StoreOf(Trusted);
  X509_STORE_set_purpose(Store.get(), X509_PURPOSE_ANY);
  const std::unique_ptr<BIO, RELEASE<BIO_free>> Stream(BIO_new_mem_buf(Data, static_cast<int>(Size)));
  return PKCS7_verify(Message, nullptr, Store.get(), Stream.get(), nullptr, 0) == 1;
}

STEP BarePkcs7(UINTN) {
  return [Signed = Material("message.p7"), Trusted = Material("root.der"), Data = Material("message.bin")] {
    const PKCS7_HANDLE Message = DecodeMessage(Signed);
    return BareVerifyMessage(Message.get(), Trusted, Data.data(), Data.size());
  };
}

STEP Pkcs7(const BOOTED &Driver, UINTN) {
  return [&Services = Driver.Services, Signed = Material("message.p7"), Trusted = Material("root.der"),
          Data = Material("message.bin")] {
    return Services.SvcPkcs7Verify(Signed.data(), Signed.size(), Trusted.data(), Trusted.size(), Data.data(),
                                   Data.size()) != FALSE;
  };
}

// The content is signed without its tag and length, of two bytes here.
STEP BareAuthenticode(UINTN) {
  return [Signed = Material("program.p7"), Trusted = Material("root.der")] {
    const PKCS7_HANDLE Message = DecodeMessage(Signed);
    const ASN1_STRING *Content = Message->d.sign->contents->d.other->value.sequence;
    return BareVerifyMessage(Message.get(), Trusted, ASN1_STRING_get0_data(Content) + 2,
                             static_cast<UINTN>(ASN1_STRING_length(Content)) - 2);
  };
}

STEP Authenticode(const BOOTED &Driver, UINTN) {
  return [&Services = Driver.Services, Signed = Material("program.p7"), Trusted = Material("root.der")] {
    const UINT8 NoDigest = 0;
    return Services.SvcAuthenticodeVerify(Signed.data(), Signed.size(), Trusted.data(), Trusted.size(),
                                          &NoDigest, 0) != FALSE;
  };
}

constexpr WORK Row(const char *Name, STEP (*Bare)(UINTN), STEP (*Driver)(const BOOTED &, UINTN)) {
  return {"Certificates and signed messages", Name, UNIT::Nothing, mNoSize, 0.95, Bare, Driver};
}

constexpr WORK mWorks[] = {
    Row("Public key of a certificate, slot 28", BarePublicKey, PublicKey),
    Row("Certificate under its authority, slot 30", BareVerifyCert, VerifyCert),
    Row("PKCS#7 over 16 KiB, chain of three, slot 33", BarePkcs7, Pkcs7),
    Row("Authenticode, chain of three, slot 48", BareAuthenticode, Authenticode),
};

} // namespace

std::span<const WORK> CertificateWorks() {
  return mWorks;
}

// Every id has its own line: a new case is an error until somebody has decided about it.
#include "tools/vectors/SettledAnswers.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace {

constexpr std::string_view mAccepted[] = {
    // RSASSA-PSS is RSA, here with SHA-256.
    "openssl-certs/ca-pss-cert@croot-cert",
    "cryptography-x509/custom_rsa_pss_cert@custom_rsa_pss_cert",
    // A signing time that does not decode is none of the signature's concern.
    "openssl-p7/bad_signtime_attr.cms-definite-leaf",
    // Their encryption schemes all come down to registered ciphers.
    "cryptography-pem/pkcs12_s2k_pem-X_9607",
    "cryptography-pem/pkcs12_s2k_pem-X_9925",
    "cryptography-pem/pkcs12_s2k_pem-X_9927",
    "cryptography-pem/pkcs12_s2k_pem-X_9929",
    "cryptography-pem/pkcs12_s2k_pem-X_9931",
    "openssl-pem/key-pass-12345",
    // Primes of any size work.
    "botan-vec/0",
};

constexpr std::string_view mRefused[] = {
    // The key of the certificate or of its issuer is on an elliptic curve or of DSA; neither is linked.
    "openssl-certs/ca-cert-ec-explicit@croot-cert",
    "openssl-certs/ca-cert-ec-explicit@root-cross-cert",
    "openssl-certs/ca-cert-ec-named@croot-cert",
    "openssl-certs/ca-cert-ec-named-sigflip@croot-cert",
    "openssl-certs/client-ed448-cert@croot+anyEKU",
    "openssl-certs/client-ed448-cert@nroot+anyEKU",
    "openssl-certs/croot-cert@p384-root@unrelated",
    "openssl-certs/ec_privkey_with_chain@ec_privkey_with_chain-1",
    "openssl-certs/ee-cert-ec-named-explicit@ca+anyEKU",
    "openssl-certs/ee-ed25519@root-ed25519",
    "openssl-certs/p384-root@p384-root",
    "openssl-certs/root-ed448-cert@root-ed448-cert",
    "openssl-certs/server-cecdsa-cert@croot-cert",
    "openssl-certs/server-cecdsa-cert@root-cross-cert",
    "openssl-certs/server-dsa-cert@croot-cert",
    "openssl-certs/server-ec-compressed-cert@p384-root",
    "openssl-certs/server-ec-compressed-cert-sigflip@p384-root",
    "openssl-certs/server-ecdsa-brainpoolP256r1-cert@croot-cert",
    "openssl-certs/server-ecdsa-cert@croot+anyEKU",
    "openssl-certs/server-ecdsa-cert@nroot+anyEKU",
    "openssl-certs/server-ed25519-cert@croot-cert",
    "openssl-certs/server-ed448-cert@root-ed448-cert",
    "cryptography-x509/custom_ca_ca@custom_ca_ca",
    "cryptography-x509/custom_dsa_selfsigned_ca@custom_dsa_selfsigned_ca",
    "pkits/DSACACert@pkitsta",
    "pkits/ValidDSASignaturesTest4EE@DSACACert",
    // A changed signature.
    "openssl-certs/ca-pss-cert-sigflip@croot-cert",
    // More names under more constraints than the library compares.
    "openssl-certs/many-names2@many-constraints",
    // The certificate given as issuer is not the issuer, or not self-signed.
    "openssl-certs/server-pss-cert@croot-cert",
    "openssl-certs/server-pss-restrict-cert@croot+anyEKU",
    "openssl-certs/server-pss-restrict-cert@nroot+anyEKU",
    "authenticode/ms-msalruntime-x64-cert0@ms-msalruntime-arm64-cert1",
    // Messages signed by DSA and on an elliptic curve.
    "pkits-smime/SignedValidDSASignaturesTest4",
    "pkits-smime/SignedValidDSASignaturesTest4-bare",
    "go-pkcs7/ApkEcdsaFixture-trust0",
    // The trusted certificate has nothing to do with the signer.
    "openssl-p7/bad_signtime_attr.cms-definite",
    // No password, or another one.
    "cryptography-pem/pkcs12_s2k_pem-X_9607-nopw",
    "cryptography-pem/pkcs12_s2k_pem-X_9607-wrongpw",
    "cryptography-pem/pkcs12_s2k_pem-X_9925-nopw",
    "cryptography-pem/pkcs12_s2k_pem-X_9925-wrongpw",
    "cryptography-pem/pkcs12_s2k_pem-X_9927-nopw",
    "cryptography-pem/pkcs12_s2k_pem-X_9927-wrongpw",
    "cryptography-pem/pkcs12_s2k_pem-X_9929-nopw",
    "cryptography-pem/pkcs12_s2k_pem-X_9929-wrongpw",
    "cryptography-pem/pkcs12_s2k_pem-X_9931-nopw",
    "cryptography-pem/pkcs12_s2k_pem-X_9931-wrongpw",
    "openssl-pem/key-pass-12345-nopw",
    "openssl-pem/key-pass-12345-wrongpw",
    // Generators that are neither 2 nor 5.
    "rfc5114/0",
    "rfc5114/2",
    "openssl-dhparam/dh_p1024_t1862_pkcs3",
    "openssl-dhparam/dh_p2048_t1864_pkcs3",
};

template <size_t COUNT> bool Holds(const std::string_view (&Ids)[COUNT], const std::string &Id) {
  return std::find(std::begin(Ids), std::end(Ids), Id) != std::end(Ids);
}

} // namespace

std::optional<BOOLEAN> SettledAnswer(const std::string &Id) {
  if (Holds(mAccepted, Id)) {
    return TRUE;
  }
  return Holds(mRefused, Id) ? std::optional<BOOLEAN>(FALSE) : std::nullopt;
}

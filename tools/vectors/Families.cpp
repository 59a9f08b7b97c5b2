// The one list of families.
#include "tools/vectors/Families.h"

namespace {

constexpr VECTOR_FAMILY mFamilies[] = {
    {"digest", RunDigestCase, false},
    {"digest_monte", RunDigestMonteCase, false},
    {"x509_cert", RunX509CertCase, false},
    {"x509_verify", RunX509VerifyCase, false},
    {"pem_key", RunPemKeyCase, false},
    {"pkcs7", RunPkcs7Case, false},
    {"authenticode", RunAuthenticodeCase, false},
    {"dh", RunDhCase, false},
    {"hmac", RunHmacCase, false},
    {"aes", RunAesCase, false},
    {"tdes", RunTdesCase, false},
    {"base64", RunBase64Case, false},
    {"pbkdf2", RunPbkdf2Case, false},
    {"rsa_verify", RunRsaVerifyCase, false},
    {"rsa_sign", RunRsaSignCase, false},
    {"rsa_decrypt", RunRsaDecryptCase, false},
};

} // namespace

const VECTOR_FAMILY *FindVectorFamily(const std::string &Name) {
  for (const VECTOR_FAMILY &Family : mFamilies) {
    if (Name == Family.Name) {
      return &Family;
    }
  }
  return nullptr;
}

std::string VectorFamilyNames() {
  std::string Names;
  for (const VECTOR_FAMILY &Family : mFamilies) {
    Names += (Names.empty() ? "" : ", ") + std::string(Family.Name);
  }
  return Names;
}

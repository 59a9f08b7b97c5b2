// The crypto library's one provider, cut down to what the driver reaches, and
// its lists of algorithms by name. They stand under the library's own names:
// the linker takes them instead of those in the archive, and so leaves out
// every algorithm that is not listed here.
#include "uefi/Base.h"

#include <openssl/core_dispatch.h>
#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/objects.h>
#include <openssl/params.h>

// Internal to the library, so without linkage of their own.
extern "C" {
#include "prov/bio.h"
#include "prov/implementations.h"
#include "prov/names.h"
#include "prov/provider_ctx.h"
#include "prov/providercommon.h"
#include "prov/seeding.h"
#include "provider_local.h"
}

namespace {

constexpr char mDefault[] = "provider=default";
constexpr OSSL_ALGORITHM mEnd = {nullptr, nullptr, nullptr, nullptr};

constexpr OSSL_ALGORITHM Algorithm(const char *Names, const OSSL_DISPATCH *Functions) {
  return {Names, mDefault, Functions, nullptr};
}

const OSSL_ALGORITHM mDigests[] = {
    Algorithm(PROV_NAMES_MD5, ossl_md5_functions),
    Algorithm(PROV_NAMES_SHA1, ossl_sha1_functions),
    Algorithm(PROV_NAMES_SHA2_224, ossl_sha224_functions),
    Algorithm(PROV_NAMES_SHA2_256, ossl_sha256_functions),
    Algorithm(PROV_NAMES_SHA2_384, ossl_sha384_functions),
    Algorithm(PROV_NAMES_SHA2_512, ossl_sha512_functions),
    mEnd,
};

// CBC for private keys in PEM, the others for the generator.
const OSSL_ALGORITHM mCiphers[] = {
    Algorithm(PROV_NAMES_AES_128_CBC, ossl_aes128cbc_functions),
    Algorithm(PROV_NAMES_AES_192_CBC, ossl_aes192cbc_functions),
    Algorithm(PROV_NAMES_AES_256_CBC, ossl_aes256cbc_functions),
    Algorithm(PROV_NAMES_DES_EDE3_CBC, ossl_tdes_ede3_cbc_functions),
    Algorithm(PROV_NAMES_AES_256_ECB, ossl_aes256ecb_functions),
    Algorithm(PROV_NAMES_AES_256_CTR, ossl_aes256ctr_functions),
    mEnd,
};

const OSSL_ALGORITHM mDerivations[] = {
    Algorithm(PROV_NAMES_PBKDF2, ossl_kdf_pbkdf2_functions),
    Algorithm(PROV_NAMES_PKCS12KDF, ossl_kdf_pkcs12_functions),
    mEnd,
};

const OSSL_ALGORITHM mGenerators[] = {
    Algorithm(PROV_NAMES_CTR_DRBG, ossl_drbg_ctr_functions),
    Algorithm(PROV_NAMES_SEED_SRC, ossl_seed_src_functions),
    mEnd,
};

const OSSL_ALGORITHM mKeyManagement[] = {
    Algorithm(PROV_NAMES_RSA, ossl_rsa_keymgmt_functions),
    Algorithm(PROV_NAMES_RSA_PSS, ossl_rsapss_keymgmt_functions),
    mEnd,
};

const OSSL_ALGORITHM mSignatures[] = {Algorithm(PROV_NAMES_RSA, ossl_rsa_signature_functions), mEnd};

const OSSL_ALGORITHM mDecoders[] = {
    {"RSA", "provider=default,input=der,structure=PrivateKeyInfo",
     ossl_PrivateKeyInfo_der_to_rsa_decoder_functions, nullptr},
    {"RSA", "provider=default,input=der,structure=SubjectPublicKeyInfo",
     ossl_SubjectPublicKeyInfo_der_to_rsa_decoder_functions, nullptr},
    {"RSA", "provider=default,input=der,structure=type-specific",
     ossl_type_specific_keypair_der_to_rsa_decoder_functions, nullptr},
    {"RSA-PSS", "provider=default,input=der,structure=PrivateKeyInfo",
     ossl_PrivateKeyInfo_der_to_rsapss_decoder_functions, nullptr},
    {"RSA-PSS", "provider=default,input=der,structure=SubjectPublicKeyInfo",
     ossl_SubjectPublicKeyInfo_der_to_rsapss_decoder_functions, nullptr},
    {"DER", "provider=default,input=der,structure=SubjectPublicKeyInfo",
     ossl_SubjectPublicKeyInfo_der_to_der_decoder_functions, nullptr},
    {"DER", "provider=default,input=der,structure=EncryptedPrivateKeyInfo",
     ossl_EncryptedPrivateKeyInfo_der_to_der_decoder_functions, nullptr},
    {"DER", "provider=default,input=pem", ossl_pem_to_der_decoder_functions, nullptr},
    mEnd,
};

const OSSL_ALGORITHM *Query(void *, int Operation, int *NoCache) {
  *NoCache = 0;
  switch (Operation) {
  case OSSL_OP_DIGEST:
    return mDigests;
  case OSSL_OP_CIPHER:
    return mCiphers;
  case OSSL_OP_KDF:
    return mDerivations;
  case OSSL_OP_RAND:
    return mGenerators;
  case OSSL_OP_KEYMGMT:
    return mKeyManagement;
  case OSSL_OP_SIGNATURE:
    return mSignatures;
  case OSSL_OP_DECODER:
    return mDecoders;
  default:
    return nullptr;
  }
}

void TearDown(void *Context) {
  auto *Provider = static_cast<PROV_CTX *>(Context);
  BIO_meth_free(ossl_prov_ctx_get0_core_bio_method(Provider));
  ossl_prov_ctx_free(Provider);
}

const OSSL_DISPATCH mProviderFunctions[] = {
    {OSSL_FUNC_PROVIDER_TEARDOWN, reinterpret_cast<void (*)()>(TearDown)},
    {OSSL_FUNC_PROVIDER_QUERY_OPERATION, reinterpret_cast<void (*)()>(Query)},
    {0, nullptr},
};

OSSL_LIB_CTX *LibraryContext(const OSSL_CORE_HANDLE *Core, const OSSL_DISPATCH *CoreFunctions) {
  for (; CoreFunctions->function_id != 0; CoreFunctions++) {
    if (CoreFunctions->function_id == OSSL_FUNC_CORE_GET_LIBCTX) {
      return reinterpret_cast<OSSL_LIB_CTX *>(OSSL_FUNC_core_get_libctx(CoreFunctions)(Core));
    }
  }
  return nullptr;
}

// provider-base(7): called once by the library, on its first search for an algorithm.
int InitializeProvider(const OSSL_CORE_HANDLE *Core, const OSSL_DISPATCH *CoreFunctions,
                       const OSSL_DISPATCH **ProviderFunctions, void **Context) {
  OSSL_LIB_CTX *Library = LibraryContext(Core, CoreFunctions);
  if (Library == nullptr || !ossl_prov_bio_from_dispatch(CoreFunctions) ||
      !ossl_prov_seeding_from_dispatch(CoreFunctions)) {
    return 0;
  }
  PROV_CTX *Provider = ossl_prov_ctx_new();
  BIO_METHOD *CoreBio = Provider != nullptr ? ossl_bio_prov_init_bio_method() : nullptr;
  if (CoreBio == nullptr) {
    ossl_prov_ctx_free(Provider);
    return 0;
  }
  ossl_prov_ctx_set0_libctx(Provider, Library);
  ossl_prov_ctx_set0_handle(Provider, Core);
  ossl_prov_ctx_set0_core_bio_method(Provider, CoreBio);
  *Context = Provider;
  *ProviderFunctions = mProviderFunctions;
  return 1;
}

char mProviderName[] = "default"; // the library's type has no const

} // namespace

extern "C" {

// Loaded when nobody asks for a provider by name.
const OSSL_PROVIDER_INFO ossl_predefined_providers[] = {
    {mProviderName, nullptr, InitializeProvider, nullptr, 1},
    {nullptr, nullptr, nullptr, nullptr, 0},
};

void openssl_add_all_ciphers_int(void);
void openssl_add_all_digests_int(void);

// The names under which messages, certificates and keys mention an algorithm.
void openssl_add_all_ciphers_int(void) {
  EVP_add_cipher(EVP_des_ede3_cbc());
  EVP_add_cipher(EVP_aes_128_cbc());
  EVP_add_cipher(EVP_aes_192_cbc());
  EVP_add_cipher(EVP_aes_256_cbc());
}

void openssl_add_all_digests_int(void) {
  EVP_add_digest(EVP_md5());
  EVP_add_digest(EVP_sha1());
  EVP_add_digest_alias(SN_sha1WithRSAEncryption, SN_sha1WithRSA);
  EVP_add_digest_alias(SN_sha1WithRSAEncryption, LN_sha1WithRSA); // messages are looked up by long names
  EVP_add_digest(EVP_sha224());
  EVP_add_digest(EVP_sha256());
  EVP_add_digest(EVP_sha384());
  EVP_add_digest(EVP_sha512());
}
}

// The library itself knows more digests than are registered here, so their use is looked at where the chain
// stands.
#include "driver/pubkey/X509Trust.h"

#include <openssl/evp.h>
#include <openssl/x509.h>
#include <time.h>

namespace {

BOOLEAN LongDigestsRegistered;

// Stands in the place of the library's revocation check, which runs on the finished chain before any
// signature or date is looked at and would do nothing without a flag. 1: the chain may go on; 0: refused.
int CheckChain(X509_STORE_CTX *Context) {
  // Without a clock nothing is valid, not even what was in 1970.
  if (time(nullptr) == 0) {
    return 0;
  }
  STACK_OF(X509) *Chain = X509_STORE_CTX_get0_chain(Context);
  // Nobody verifies the signature of the last one.
  for (int Index = 0; Index + 1 < sk_X509_num(Chain); Index++) {
    int Digest = NID_undef;
    if (!X509_get_signature_info(sk_X509_value(Chain, Index), &Digest, nullptr, nullptr, nullptr) ||
        !IsRegisteredDigest(Digest)) {
      return 0;
    }
  }
  return 1;
}

} // namespace

void RegisterLongDigests() {
  LongDigestsRegistered = TRUE;
}

bool IsRegisteredDigest(int Identifier) {
  const EVP_MD *Digest = EVP_get_digestbynid(Identifier);
  switch (Digest != nullptr ? EVP_MD_get_type(Digest) : NID_undef) {
  case NID_md5:
  case NID_sha1:
  case NID_sha256:
    return true;
  case NID_sha384:
  case NID_sha512:
    return LongDigestsRegistered;
  default:
    return false;
  }
}

StoreHandle MakeTrustStore(X509 *Anchor) {
  StoreHandle Store(X509_STORE_new());
  if (Store) {
    if (X509_STORE_add_cert(Store.Get(), Anchor)) {
      X509_STORE_set_check_revocation(Store.Get(), CheckChain);
    } else {
      Store.Reset();
    }
  }
  return Store;
}

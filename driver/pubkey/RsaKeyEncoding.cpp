// The library's decoders, with the one refusal that the key object needs: it has no place for a third prime.
#include "driver/pubkey/RsaKeyEncoding.h"

#include <openssl/objects.h>

bool IsRsaAlgorithm(const ASN1_OBJECT *Algorithm) {
  int Identifier = OBJ_obj2nid(Algorithm);
  return Identifier == NID_rsaEncryption || Identifier == NID_rsa;
}

RsaKeyHandle DecodeRsaPublicKey(const UINT8 *Der, long Size) {
  return RsaKeyHandle(d2i_RSAPublicKey(nullptr, &Der, Size));
}

RsaKeyHandle DecodeRsaPrivateKey(const UINT8 *Der, long Size) {
  RsaKeyHandle Key(d2i_RSAPrivateKey(nullptr, &Der, Size));
  if (Key && RSA_get_multi_prime_extra_count(Key.Get()) != 0) {
    Key.Reset();
  }
  return Key;
}

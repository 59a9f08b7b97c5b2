// The library finds blocks, decodes and decrypts; which block counts and which cipher may open it is decided
// here. Everything that held a key or a password is wiped.
#include "driver/pubkey/PemKey.h"

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/pkcs12.h>

#include "driver/platform/Memory.h"

namespace {

using EncryptedKeyHandle = LibraryHandle<X509_SIG, X509_SIG_free>;
using KeyInfoHandle = LibraryHandle<PKCS8_PRIV_KEY_INFO, PKCS8_PRIV_KEY_INFO_free>;
using Pbes2Handle = LibraryHandle<PBE2PARAM, PBE2PARAM_free>;
using Pbkdf2Handle = LibraryHandle<PBKDF2PARAM, PBKDF2PARAM_free>;
using PbeHandle = LibraryHandle<PBEPARAM, PBEPARAM_free>;

static_assert(PEM_PASSWORD_SIZE_MAX == PEM_BUFSIZE, "the library offers its callback that much");

// What PEM_read_bio_ex gives, decoded from Base64.
struct PEM_BLOCK {
  CHAR8 *Name = nullptr;
  CHAR8 *Header = nullptr;
  UINT8 *Data = nullptr;
  long Size = 0;

  PEM_BLOCK() = default;
  PEM_BLOCK(const PEM_BLOCK &) = delete;
  PEM_BLOCK &operator=(const PEM_BLOCK &) = delete;
  ~PEM_BLOCK() {
    OPENSSL_free(Name);
    OPENSSL_free(Header);
    OPENSSL_clear_free(Data, AllocatedSize);
  }

  // FALSE when no further block stands in the text, or a malformed one.
  bool Read(BIO *Text) {
    bool Found =
        PEM_read_bio_ex(Text, &Name, &Header, &Data, &Size, PEM_FLAG_SECURE | PEM_FLAG_EAY_COMPATIBLE) == 1;
    AllocatedSize = static_cast<UINTN>(Size);
    return Found;
  }

private:
  UINTN AllocatedSize = 0; // decryption makes Size smaller
};

enum class KIND { NotKey, Pkcs8, EncryptedPkcs8, Rsa, OtherKey };

struct KIND_NAME {
  const CHAR8 *Name;
  KIND Kind;
};

constexpr KIND_NAME mKinds[] = {
    {PEM_STRING_PKCS8INF, KIND::Pkcs8},
    {PEM_STRING_PKCS8, KIND::EncryptedPkcs8},
    {PEM_STRING_RSA, KIND::Rsa},
    {PEM_STRING_DSA, KIND::OtherKey},
    {PEM_STRING_ECPRIVATEKEY, KIND::OtherKey},
};

bool SameText(const CHAR8 *First, const CHAR8 *Second) {
  while (*First != 0 && *First == *Second) {
    First++;
    Second++;
  }
  return *First == *Second;
}

KIND KindOf(const CHAR8 *Name) {
  for (const KIND_NAME &Row : mKinds) {
    if (SameText(Name, Row.Name)) {
      return Row.Kind;
    }
  }
  return KIND::NotKey;
}

bool IsRegisteredCipher(int Identifier) {
  return Identifier == NID_des_ede3_cbc || Identifier == NID_aes_128_cbc || Identifier == NID_aes_192_cbc ||
         Identifier == NID_aes_256_cbc;
}

bool AcceptableIterations(const ASN1_INTEGER *Iterations) {
  // -1 stands for a number that does not fit.
  long Count = ASN1_INTEGER_get(Iterations);
  return Count >= 0 && Count <= PEM_ITERATIONS_MAX;
}

// PBES2 names its key derivation and its cipher in its parameter.
bool AcceptablePbes2(const ASN1_TYPE *Parameter) {
  Pbes2Handle Scheme(
      static_cast<PBE2PARAM *>(ASN1_TYPE_unpack_sequence(ASN1_ITEM_rptr(PBE2PARAM), Parameter)));
  if (!Scheme || !IsRegisteredCipher(OBJ_obj2nid(Scheme.Get()->encryption->algorithm)) ||
      OBJ_obj2nid(Scheme.Get()->keyfunc->algorithm) != NID_id_pbkdf2) {
    return false;
  }
  Pbkdf2Handle Derivation(static_cast<PBKDF2PARAM *>(
      ASN1_TYPE_unpack_sequence(ASN1_ITEM_rptr(PBKDF2PARAM), Scheme.Get()->keyfunc->parameter)));
  return Derivation && AcceptableIterations(Derivation.Get()->iter);
}

bool AcceptableEncryption(const X509_ALGOR *Encryption) {
  int Scheme = OBJ_obj2nid(Encryption->algorithm);
  if (Scheme == NID_pbes2) {
    return AcceptablePbes2(Encryption->parameter);
  }
  int Cipher = NID_undef;
  if (!EVP_PBE_find(EVP_PBE_TYPE_OUTER, Scheme, &Cipher, nullptr, nullptr) || !IsRegisteredCipher(Cipher)) {
    return false;
  }
  PbeHandle Parameter(
      static_cast<PBEPARAM *>(ASN1_TYPE_unpack_sequence(ASN1_ITEM_rptr(PBEPARAM), Encryption->parameter)));
  return Parameter && AcceptableIterations(Parameter.Get()->iter);
}

// Undoes the encryption that the block's headers tell of.
bool DecryptBlock(PEM_BLOCK *Block, const CHAR8 *Password) {
  EVP_CIPHER_INFO Cipher;
  if (!PEM_get_EVP_CIPHER_INFO(Block->Header, &Cipher) ||
      (Cipher.cipher != nullptr && !IsRegisteredCipher(EVP_CIPHER_get_nid(Cipher.cipher)))) {
    return false;
  }
  return PEM_do_header(&Cipher, Block->Data, &Block->Size, PemPasswordCallback,
                       const_cast<CHAR8 *>(Password)) == 1;
}

KeyInfoHandle DecryptPkcs8(const UINT8 *Der, long Size, const CHAR8 *Password) {
  EncryptedKeyHandle Encrypted(d2i_X509_SIG(nullptr, &Der, Size));
  const X509_ALGOR *Encryption = nullptr;
  if (!Encrypted) {
    return KeyInfoHandle();
  }
  X509_SIG_get0(Encrypted.Get(), &Encryption, nullptr);
  if (!AcceptableEncryption(Encryption)) {
    return KeyInfoHandle();
  }
  CHAR8 Text[PEM_PASSWORD_SIZE_MAX];
  int Length = PemPasswordCallback(Text, sizeof(Text), 0, const_cast<CHAR8 *>(Password));
  KeyInfoHandle Plain(PKCS8_decrypt(Encrypted.Get(), Text, Length));
  WipeMemory(Text, sizeof(Text));
  return Plain;
}

RsaKeyHandle DecodePkcs8(const KeyInfoHandle &Info) {
  const ASN1_OBJECT *Algorithm = nullptr;
  const UINT8 *Der = nullptr;
  int Size = 0;
  if (!Info || !PKCS8_pkey_get0(&Algorithm, &Der, &Size, nullptr, Info.Get()) || !IsRsaAlgorithm(Algorithm)) {
    return RsaKeyHandle();
  }
  return DecodeRsaPrivateKey(Der, Size);
}

RsaKeyHandle OpenKey(KIND Kind, PEM_BLOCK *Block, const CHAR8 *Password) {
  if (!DecryptBlock(Block, Password)) {
    return RsaKeyHandle();
  }
  const UINT8 *Der = Block->Data;
  switch (Kind) {
  case KIND::Pkcs8:
    return DecodePkcs8(KeyInfoHandle(d2i_PKCS8_PRIV_KEY_INFO(nullptr, &Der, Block->Size)));
  case KIND::EncryptedPkcs8:
    return DecodePkcs8(DecryptPkcs8(Der, Block->Size, Password));
  case KIND::Rsa:
    return DecodeRsaPrivateKey(Der, Block->Size);
  default:
    return RsaKeyHandle();
  }
}

} // namespace

int PemPasswordCallback(CHAR8 *Buffer, int Size, int, VOID *Password) {
  UINTN Room = static_cast<UINTN>(Size);
  ZeroMemory(Buffer, Room);
  const auto *Text = static_cast<const CHAR8 *>(Password);
  UINTN Length = 0;
  while (Text != nullptr && Length < Room && Text[Length] != 0) {
    Buffer[Length] = Text[Length];
    Length++;
  }
  return static_cast<int>(Length);
}

RsaKeyHandle ReadPemRsaKey(BIO *Text, const CHAR8 *Password) {
  for (;;) {
    PEM_BLOCK Block;
    if (!Block.Read(Text)) {
      return RsaKeyHandle();
    }
    KIND Kind = KindOf(Block.Name);
    if (Kind != KIND::NotKey) {
      return OpenKey(Kind, &Block, Password);
    }
  }
}

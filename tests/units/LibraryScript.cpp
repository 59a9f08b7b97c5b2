// One routine for each wrapped one; the linker gives the library's own the prefix __real_.
#include "tests/units/LibraryScript.h"

#include <openssl/aes.h>
#include <openssl/evp.h>
#include <openssl/sha.h>

LibraryScript mLibrary;

// NOLINTBEGIN(bugprone-reserved-identifier): the linker's names
extern "C" {

int __real_BIO_read(BIO *Chain, VOID *Data, int Size);
int __wrap_BIO_read(BIO *Chain, VOID *Data, int Size) {
  const auto Real = [=] { return __real_BIO_read(Chain, Data, Size); };
  return mLibrary.ChunkRead && Size == 2048 ? mLibrary.ChunkRead(Chain, Real) : Real();
}

BIO *__real_BIO_push(BIO *First, BIO *Second);
BIO *__wrap_BIO_push(BIO *First, BIO *Second) {
  return mLibrary.Push ? mLibrary.Push() : __real_BIO_push(First, Second);
}

int __real_AES_set_encrypt_key(const UINT8 *Key, int Bits, AES_KEY *Schedule);
int __wrap_AES_set_encrypt_key(const UINT8 *Key, int Bits, AES_KEY *Schedule) {
  return mLibrary.SetEncryptKey ? mLibrary.SetEncryptKey() : __real_AES_set_encrypt_key(Key, Bits, Schedule);
}

int __real_AES_set_decrypt_key(const UINT8 *Key, int Bits, AES_KEY *Schedule);
int __wrap_AES_set_decrypt_key(const UINT8 *Key, int Bits, AES_KEY *Schedule) {
  return mLibrary.SetDecryptKey ? mLibrary.SetDecryptKey() : __real_AES_set_decrypt_key(Key, Bits, Schedule);
}

int __real_SHA256_Final(UINT8 *Digest, SHA256_CTX *Context);
int __wrap_SHA256_Final(UINT8 *Digest, SHA256_CTX *Context) {
  return mLibrary.Sha256Final ? mLibrary.Sha256Final() : __real_SHA256_Final(Digest, Context);
}

int __real_EVP_add_digest(const EVP_MD *Digest);
int __wrap_EVP_add_digest(const EVP_MD *Digest) {
  return mLibrary.AddDigest ? mLibrary.AddDigest() : __real_EVP_add_digest(Digest);
}

int __real_PKCS5_PBKDF2_HMAC(const char *Password, int PasswordSize, const UINT8 *Salt, int SaltSize,
                             int Count, const EVP_MD *Digest, int Size, UINT8 *Output);
int __wrap_PKCS5_PBKDF2_HMAC(const char *Password, int PasswordSize, const UINT8 *Salt, int SaltSize,
                             int Count, const EVP_MD *Digest, int Size, UINT8 *Output) {
  return mLibrary.Pbkdf2
             ? mLibrary.Pbkdf2()
             : __real_PKCS5_PBKDF2_HMAC(Password, PasswordSize, Salt, SaltSize, Count, Digest, Size, Output);
}

void __real_RAND_seed(const VOID *Seed, int Size);
void __wrap_RAND_seed(const VOID *Seed, int Size) {
  mLibrary.Seed ? mLibrary.Seed(Seed, Size) : __real_RAND_seed(Seed, Size);
}

int __real_RAND_status();
int __wrap_RAND_status() {
  return mLibrary.GeneratorStatus ? mLibrary.GeneratorStatus() : __real_RAND_status();
}

int __real_RAND_bytes(UINT8 *Output, int Size);
int __wrap_RAND_bytes(UINT8 *Output, int Size) {
  return mLibrary.GeneratorBytes ? mLibrary.GeneratorBytes(Output, Size) : __real_RAND_bytes(Output, Size);
}
}
// NOLINTEND(bugprone-reserved-identifier)

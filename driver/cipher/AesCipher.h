// One direction of AES (FIPS 197) under the key of a context, by the fastest of
// the crypto library's routines that the processor has: its AES instructions,
// else vector code, else tables. All give the same bytes. Nothing is allocated.
#pragma once

#include "uefi/Base.h"

#include <openssl/aes.h>

// What a caller's context holds: filled by the library's AES_set_encrypt_key
// and AES_set_decrypt_key from one key, whatever the processor.
struct AES_CONTEXT {
  AES_KEY Encryption;
  AES_KEY Decryption;
};

// Keeps the form of the key that the processor's routines take in itself and
// wipes it when it dies. The context is only read and must live as long.
class AesCipher {
public:
  // Direction is AES_ENCRYPT or AES_DECRYPT.
  AesCipher(const AES_CONTEXT &Context, int Direction);
  ~AesCipher();
  AesCipher(const AesCipher &) = delete;
  AesCipher &operator=(const AesCipher &) = delete;

  // Size is a multiple of 16. Output may be Input, with no other overlap. Cbc
  // chains on the 16 bytes of Vector, which then hold the last ciphertext block.
  void Ecb(const UINT8 *Input, UINT8 *Output, UINTN Size) const;
  void Cbc(const UINT8 *Input, UINT8 *Output, UINTN Size, UINT8 *Vector) const;

  // 8-bit CFB decryption (SP 800-38A, section 6.3) of Size bytes, chained on
  // Vector. The block function is the rounds of encryption run with this
  // direction's schedule, which is AES only for AES_ENCRYPT.
  void Cfb8Decrypt(const UINT8 *Input, UINT8 *Output, UINTN Size, UINT8 *Vector) const;

private:
  const AES_KEY &Schedule_; // as the context holds it
  const int Direction_;
  alignas(16) AES_KEY Key_;
};

// The checks of slot 49 before the library's derivation, which counts in 32
// bits with a sign.
#include "driver/encoding/Pbkdf2.h"

#include <openssl/evp.h>

static constexpr UINTN LargestNumber = 0x7FFFFFFF;

EFI_STATUS EFIAPI SvcPbkdf2HmacSha1(const UINT8 *Password, UINTN PasswordLength, const UINT8 *Salt,
                                    UINTN SaltLength, UINTN IterationCount, UINT8 *Output,
                                    UINTN OutputLength) {
  if (Password == nullptr || PasswordLength == 0 || IterationCount == 0 || Output == nullptr ||
      OutputLength == 0) {
    return EFI_INVALID_PARAMETER;
  }
  // Cut to 32 bits, a large count would become a small one.
  if (PasswordLength > LargestNumber || SaltLength > LargestNumber || IterationCount > LargestNumber ||
      OutputLength > LargestNumber) {
    return EFI_INVALID_PARAMETER;
  }
  if (SaltLength != 0 && Salt == nullptr) {
    return EFI_BAD_BUFFER_SIZE;
  }
  int Answer = PKCS5_PBKDF2_HMAC(reinterpret_cast<const char *>(Password), static_cast<int>(PasswordLength),
                                 Salt, static_cast<int>(SaltLength), static_cast<int>(IterationCount),
                                 EVP_sha1(), static_cast<int>(OutputLength), Output);
  return Answer == 1 ? EFI_SUCCESS : EFI_DEVICE_ERROR;
}

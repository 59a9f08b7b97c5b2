// The filter's layout flag and the alphabet translation.
#include "driver/encoding/Base64Text.h"

#include <openssl/evp.h>

void TranslateAlphabet(CHAR8 *Text, UINTN Length, const BASE64_ALPHABET &From, const BASE64_ALPHABET &To) {
  for (UINTN Index = 0; Index < Length && Text[Index] != '\0'; Index++) {
    if (Text[Index] == From.Value62) {
      Text[Index] = To.Value62;
    } else if (Text[Index] == From.Value63) {
      Text[Index] = To.Value63;
    }
  }
}

EFI_STATUS ChainBase64Filter(const BioHandle &Source, BOOLEAN NoNewline, BioHandle *Filter) {
  Filter->Reset(BIO_new(BIO_f_base64()));
  if (!Source || !*Filter) {
    return EFI_OUT_OF_RESOURCES;
  }
  if (NoNewline) {
    BIO_set_flags(Filter->Get(), BIO_FLAGS_BASE64_NO_NL);
  }
  return BIO_push(Filter->Get(), Source.Get()) == nullptr ? EFI_DEVICE_ERROR : EFI_SUCCESS;
}

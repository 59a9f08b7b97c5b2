// One call of the library and the bound that its length needs.
#include "driver/pubkey/X509Certificate.h"

CertificateHandle DecodeX509Certificate(const UINT8 *Der, UINTN Size) {
  constexpr UINTN LengthMax = 0x7FFFFFFF; // the library counts in signed 32 bits
  return CertificateHandle(Size <= LengthMax ? d2i_X509(nullptr, &Der, static_cast<long>(Size)) : nullptr);
}

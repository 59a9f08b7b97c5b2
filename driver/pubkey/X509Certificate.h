// Certificates as the library's objects (RFC 5280), for the services that look into them. Decoding judges
// nothing but the encoding.
#pragma once

#include "uefi/Uefi.h" // first: the library's headers want its types

#include <openssl/x509.h>

#include "driver/platform/LibraryHandle.h"

using CertificateHandle = LibraryHandle<X509, X509_free>;

// The certificate at the start of the Size bytes at Der, which must not be NULL; what lies behind it is
// ignored. Empty when Size is above 0x7FFFFFFF, no certificate stands there, or memory runs out.
[[nodiscard]] CertificateHandle DecodeX509Certificate(const UINT8 *Der, UINTN Size);

// Signed messages as the library's objects (PKCS#7, RFC 2315), for the services that read or verify them.
// Parsing trusts nothing of what a message says.
#pragma once

#include "uefi/Uefi.h" // first: the library's headers want its types

#include <openssl/pkcs7.h>

#include "driver/platform/LibraryHandle.h"

using MessageHandle = LibraryHandle<PKCS7, PKCS7_free>;

// The ContentInfo at the start of the Size bytes at Der; what lies behind it is ignored. Empty when Size is
// above 0x7FFFFFFF, none of type signedData with a content stands there, or memory runs out.
[[nodiscard]] MessageHandle ParseSignedContentInfo(const UINT8 *Der, UINTN Size);

// Whether Der is recognised as a ContentInfo: only when its two outer lengths take two bytes each.
[[nodiscard]] bool IsContentInfo(const UINT8 *Der, UINTN Size);

// As ParseSignedContentInfo for what is recognised as a ContentInfo, and for a bare SignedData, of 65,520
// bytes at most, that is put into one first.
[[nodiscard]] MessageHandle ParseSignedMessage(const UINT8 *Der, UINTN Size);

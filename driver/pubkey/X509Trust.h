// Trust in one certificate, and the digests that signatures on the way to it may use. Answers nothing about
// what a caller's own message was digested with, but which digests it may have been.
#pragma once

#include "uefi/Uefi.h" // first: the library's headers want its types

#include <openssl/x509_vfy.h>

#include "driver/platform/LibraryHandle.h"

using StoreHandle = LibraryHandle<X509_STORE, X509_STORE_free>;

// Lets SHA-384 and SHA-512 count as registered, for the rest of the boot; MD5, SHA-1 and SHA-256 always are.
void RegisterLongDigests();

// Whether an algorithm identifier (a NID) names a registered digest. A signature algorithm counts as its
// digest.
[[nodiscard]] bool IsRegisteredDigest(int Identifier);

// A store that holds Anchor alone, by reference. Chains checked with it are refused when the clock cannot be
// read, and when a certificate but the last is signed with a digest that is not registered. Empty when memory
// runs out.
[[nodiscard]] StoreHandle MakeTrustStore(X509 *Anchor);

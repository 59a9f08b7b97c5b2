// What an Authenticode signature says that it was made for (Windows Authenticode Portable Executable
// Signature Format, "SpcIndirectDataContent"). Verifies nothing.
#pragma once

#include <vector>

#include "tools/pe/DerReader.h"

struct SignedDigest {
  // The algorithm's object identifier, the content octets of its encoding.
  std::vector<UINT8> Oid;
  std::vector<UINT8> Value;
};

// The digest in the message of a signature. Throws DerError when it holds none.
SignedDigest ReadSignedDigest(DerBytes Message);

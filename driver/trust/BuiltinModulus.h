// The form in which the build hands over a provisioned public key. Its values must be used as constants of
// expressions alone: an object of this type in the image would be the table that the store avoids.
#pragma once

#include "uefi/Base.h"

// A 2048-bit modulus, least-significant word first.
struct BUILTIN_MODULUS {
  UINT64 Words[32];
};

// The address of bytes that a service is to read, for an empty string too: services tell NULL from it.
#pragma once

#include <vector>

#include "uefi/Base.h"

inline const UINT8 *InputBytes(const std::vector<UINT8> &Bytes) {
  static constexpr UINT8 mNothing = 0;
  return Bytes.empty() ? &mNothing : Bytes.data();
}

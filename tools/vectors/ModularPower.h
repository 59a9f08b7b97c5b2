// Powers modulo a large number, to check key agreements by another road than the driver's. Not for
// secrets: its time depends on the values.
#pragma once

#include <vector>

#include "uefi/Base.h"

// Base to the power of Exponent modulo Modulus, all big-endian; the result without leading zeros. Modulus
// must not be zero.
std::vector<UINT8> ModularPower(const std::vector<UINT8> &Base, const std::vector<UINT8> &Exponent,
                                const std::vector<UINT8> &Modulus);

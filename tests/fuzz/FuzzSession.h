// What the targets share: one boot of the linked driver, and inputs cut into parts.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <span>
#include <vector>

#include "tools/session/DriverSession.h"

// Booted on first use, its clock inside the validity of the corpus' certificates; and the same booted anew.
DriverSession &FuzzSession();
DriverSession &RestartFuzzSession();

// Ends the program with a line when a promise does not hold.
inline void Promise(bool Holds, const char *What) {
  if (!Holds) {
    std::fprintf(stderr, "broken promise: %s\n", What);
    std::abort();
  }
}

// Takes an input apart from its start: a part is two bytes of length, little-endian, and as many bytes, or
// what is left. Each part is a copy of its own, so that a sanitizer sees a read beyond it.
class InputParts {
public:
  explicit InputParts(std::span<const UINT8> Input) : Rest_(Input) {}

  UINT8 Byte() {
    const UINT8 Value = Rest_.empty() ? UINT8{0} : Rest_[0];
    Rest_ = Rest_.subspan(Rest_.empty() ? 0 : 1);
    return Value;
  }
  std::vector<UINT8> Part() {
    const size_t Low = Byte();
    const size_t Length = Low | static_cast<size_t>(Byte()) << 8;
    return Take(Length < Rest_.size() ? Length : Rest_.size());
  }
  std::vector<UINT8> Rest() { return Take(Rest_.size()); }

private:
  std::vector<UINT8> Take(size_t Length) {
    std::vector<UINT8> Part(Rest_.begin(), Rest_.begin() + static_cast<std::ptrdiff_t>(Length));
    Part.shrink_to_fit();
    Rest_ = Rest_.subspan(Length);
    return Part;
  }

  std::span<const UINT8> Rest_;
};

void FuzzCertificate(std::span<const UINT8> Input);
void FuzzPem(std::span<const UINT8> Input);
void FuzzSigners(std::span<const UINT8> Input);
void FuzzPkcs7(std::span<const UINT8> Input);
void FuzzAuthenticode(std::span<const UINT8> Input);
void FuzzBase64(std::span<const UINT8> Input);
void FuzzHobList(std::span<const UINT8> Input);
void FuzzPolicyEvent(std::span<const UINT8> Input);
void FuzzPe(std::span<const UINT8> Input);

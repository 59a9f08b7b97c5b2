// What the targets share: one boot of the linked driver, and inputs cut into parts.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <span>
#include <vector>

#include "tools/session/DriverSession.h"

// Booted on first use and kept for all inputs, its clock inside the validity of the corpus' certificates.
DriverSession &FuzzSession();

// Runs Body in a boot of its own, for inputs that leave something behind in it. What Body installs must
// outlive the call. Another one must not live: FuzzSession() is ended.
void RunInOwnBoot(const std::function<void(DriverSession &)> &Body);

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

bool FuzzCertificate(std::span<const UINT8> Input);
bool FuzzPem(std::span<const UINT8> Input);
bool FuzzSigners(std::span<const UINT8> Input);
bool FuzzPkcs7(std::span<const UINT8> Input);
bool FuzzAuthenticode(std::span<const UINT8> Input);
bool FuzzBase64(std::span<const UINT8> Input);
bool FuzzHobList(std::span<const UINT8> Input);
bool FuzzPolicyEvent(std::span<const UINT8> Input);
bool FuzzPe(std::span<const UINT8> Input);

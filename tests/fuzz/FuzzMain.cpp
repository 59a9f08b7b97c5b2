// The entry points of libFuzzer. The target is the program's name: one link for each.
#include <cstdio>
#include <cstring>

#include "tests/fuzz/FuzzTargets.h"

namespace {

const FUZZ_TARGET *Chosen;

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***Arguments) {
  const char *Name = (*Arguments)[0];
  const char *Slash = std::strrchr(Name, '/');
  Chosen = FindFuzzTarget(Slash != nullptr ? Slash + 1 : Name);
  if (Chosen == nullptr) {
    std::fprintf(stderr, "run it by the name of a target:");
    for (const FUZZ_TARGET &Target : FuzzTargets()) {
      std::fprintf(stderr, " %s", Target.Name);
    }
    std::fprintf(stderr, "\n");
    return 1;
  }
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const UINT8 *Input, size_t Size) {
  if (Chosen == nullptr) {
    return -1;
  }
  RunFuzzTarget(*Chosen, {Input, Size});
  return 0;
}

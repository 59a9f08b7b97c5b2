// An endless loop that no compiler may drop, because it reads a volatile.
#include "driver/policy/HaltForever.h"

#include "uefi/Base.h"

// A coverage counter in the loop would look like progress to whoever watches for a halt.
[[gnu::no_profile_instrument_function]] void HaltForever() {
  volatile UINTN Released = 0;
  while (Released == 0) {
  }
  __builtin_unreachable();
}

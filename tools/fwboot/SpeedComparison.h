// The driver's SHA-256 beside the bare crypto library's.
#pragma once

#include <optional>

#include "tools/fwboot/Command.h"

struct SpeedComparison {
  // Bytes per second.
  double Driver;
  double Bare;
  double Ratio() const { return Driver / Bare; }
};

// Hashes the same megabyte with the driver that the options choose and with the bare library, in turns, and
// takes the best of each. Boots on its own, so no other session may live. Nothing when no library is linked
// into this program. Throws BootError without services.
std::optional<SpeedComparison> CompareSha256Speed(const GLOBAL_OPTIONS &Options);

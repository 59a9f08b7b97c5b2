// Runs a boot and notices when the driver stops it: a halted boot is an outcome, not a hang. Counts processor
// time of the calling thread only, never the clock on the wall.
#pragma once

#include <functional>

#include "uefi/Base.h"

enum class RunOutcome { Returned, Halted };

// Where driver code lies, [Begin, End): only there can it be found halted. DriverTarget sets it.
void SetDriverCode(UINT64 Begin, UINT64 End);

// Runs Body, which may enter the driver any number of times. Halted when the processor stays within a few
// bytes of driver code and comes back to the same places with all general registers and the nearest stack
// unchanged, over tens of samples: an endless loop re-reading a variable does, while copying, filling and
// counting loops move something.
//
// A halt leaves Body's frames, and all between them and the halted driver, without running destructors; the
// driver calls in progress are abandoned. An exception that Body throws passes through. Runs do not nest.
RunOutcome RunBoot(const std::function<void()> &Body);

// The address the driver was last found halted at; 0 if never.
UINT64 HaltAddress();

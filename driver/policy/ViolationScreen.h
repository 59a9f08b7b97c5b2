// The screen that tells the user why the boot stops.
#pragma once

#include "uefi/Uefi.h"

// Shows the violation in the platform's language and halts the boot, with or
// without a screen, unless the display is not ready: then it arms itself for
// DISPLAY_READY_PROTOCOL at TPL_CALLBACK, without the record, and returns.
// Record is a POLICY_VIOLATION_RECORD of any alignment, or NULL for a screen
// that names no reason and no module. An event notification by its shape; Event
// is not used. The record is read before the first notification can run.
VOID EFIAPI ShowViolationScreen(EFI_EVENT Event, VOID *Record);

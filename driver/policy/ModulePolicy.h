// The platform's module policy: a boot with a recorded violation never gets as
// far as a boot option.
#pragma once

#include "uefi/Uefi.h"

// Called once by start-up, before the service table is published. With a record
// in the HOB list it shows the screen and halts, or returns with the boot armed
// to halt at ready-to-boot at the latest, and to show the screen when the
// display becomes ready before; whatever cannot be armed halts at once. Without
// a record it arms the question to the handler in system-management mode.
void CheckModulePolicy();

// Ready-to-boot notification at TPL_CALLBACK: halts the boot.
VOID EFIAPI HaltAtReadyToBoot(EFI_EVENT Event, VOID *Context);

// Ready-to-boot notification at TPL_NOTIFY: asks the handler for its record;
// EFI_SECURITY_VIOLATION leads to the screen with what it answered. Every other
// answer, and every failure to ask, lets the boot go on.
VOID EFIAPI QueryPolicyStateAtReadyToBoot(EFI_EVENT Event, VOID *Context);

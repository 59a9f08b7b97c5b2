// The start-up steps that run once inside the entry point.
#pragma once

#include "uefi/Uefi.h"

// Fills the driver context from the system table, finds the optional platform
// protocols and arms the watch for the validation policy when it is missing.
void InitializeDriverContext(EFI_SYSTEM_TABLE *SystemTable);

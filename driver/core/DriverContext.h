// The driver's one set of globals, filled by start-up and alive as long as the
// driver. Nothing in it is ever released; each field has one writer.
#pragma once

#include "uefi/HiiDatabase.h"
#include "uefi/HiiString.h"
#include "uefi/Uefi.h"
#include "uefi/ValidationPolicyProtocol.h"

struct DRIVER_CONTEXT {
  EFI_SYSTEM_TABLE *SystemTable;
  EFI_BOOT_SERVICES *BootServices;
  EFI_RUNTIME_SERVICES *RuntimeServices;
  EFI_HII_STRING_PROTOCOL *HiiString;           // NULL: no strings are available
  EFI_HII_DATABASE_PROTOCOL *HiiDatabase;       // NULL: no strings are available
  const VOID *HobList;                          // first HOB, or NULL
  VALIDATION_POLICY_PROTOCOL *ValidationPolicy; // NULL until that protocol is installed
  EFI_EVENT PolicyHaltEvent;                    // each created at most once, never closed
  EFI_EVENT PolicyFetchEvent;
  BOOLEAN PrivEventSent;      // a policy-event send has been answered
  BOOLEAN PrivEventSucceeded; // the latest such answer was EFI_SUCCESS
};

extern DRIVER_CONTEXT DriverContext;

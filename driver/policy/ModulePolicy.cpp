// What is armed at start-up, and what happens at ready-to-boot. The events made
// here are never closed.
#include "driver/policy/ModulePolicy.h"

#include "driver/platform/Events.h"
#include "driver/platform/Memory.h"
#include "driver/platform/Protocols.h"
#include "driver/policy/HaltForever.h"
#include "driver/policy/PolicyRecord.h"
#include "driver/policy/PrivilegedExchange.h"
#include "driver/policy/ViolationScreen.h"
#include "uefi/DisplayReadyProtocol.h"
#include "uefi/PolicyViolationRecord.h"

namespace {

// Firmware before UEFI 2.0 has no event groups.
bool HasReadyToBoot() {
  return DriverContext.SystemTable->Hdr.Revision >= EFI_2_00_SYSTEM_TABLE_REVISION;
}

// Halts unless the boot will halt at ready-to-boot.
void ArmHalt() {
  if (DriverContext.PolicyHaltEvent != nullptr) {
    return;
  }
  if (!HasReadyToBoot() || EFI_ERROR(RegisterReadyToBootCallback(TPL_CALLBACK, HaltAtReadyToBoot,
                                                                 &DriverContext.PolicyHaltEvent))) {
    HaltForever();
  }
}

void ArmFetch() {
  if (DriverContext.PolicyFetchEvent == nullptr && HasReadyToBoot()) {
    // Without the event nobody asks, and the boot goes on.
    (void)RegisterReadyToBootCallback(TPL_NOTIFY, QueryPolicyStateAtReadyToBoot,
                                      &DriverContext.PolicyFetchEvent);
  }
}

} // namespace

void CheckModulePolicy() {
  VOID *Record = FindPolicyRecord(DriverContext.HobList);
  if (Record == nullptr) {
    ArmFetch();
    return;
  }
  ArmHalt();
  VOID *Display;
  if (!EFI_ERROR(LocateInterface(mDisplayReadyProtocolGuid, &Display))) {
    ShowViolationScreen(nullptr, Record);
  } else if (EFI_ERROR(WatchForProtocol(mDisplayReadyProtocolGuid, TPL_NOTIFY, ShowViolationScreen, Record,
                                        nullptr))) {
    HaltForever();
  }
}

VOID EFIAPI HaltAtReadyToBoot(EFI_EVENT, VOID *) {
  HaltForever();
}

VOID EFIAPI QueryPolicyStateAtReadyToBoot(EFI_EVENT, VOID *) {
  POLICY_VIOLATION_RECORD Record = {};
  UINT32 Code = 0;
  EFI_STATUS Status = PrivilegedExchange(PRIV_FUNCTION_FETCH, &Code, Record.ModuleName,
                                         sizeof(Record.ModuleName), &Record.Kind);
  if (Status == EFI_SECURITY_VIOLATION) {
    Record.Reason = static_cast<INT32>(Code);
    ShowViolationScreen(nullptr, &Record);
  }
}

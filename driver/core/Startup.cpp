// Start-up steps 1 to 4: tables, HII protocols, HOB list, validation policy.
// None of them can fail the start; what is missing stays NULL.
#include "driver/core/Startup.h"

#include "driver/core/DriverContext.h"
#include "driver/platform/Events.h"
#include "driver/platform/Memory.h"
#include "driver/platform/Protocols.h"
#include "uefi/Hob.h"

DRIVER_CONTEXT DriverContext;

namespace {

VOID EFIAPI ValidationPolicyNotify(EFI_EVENT, VOID *);

void FindValidationPolicy() {
  if (EFI_ERROR(LocateInterface(mValidationPolicyProtocolGuid, &DriverContext.ValidationPolicy))) {
    // Without the watch the policy stays absent, which is a valid platform.
    (void)WatchForProtocol(mValidationPolicyProtocolGuid, TPL_CALLBACK, ValidationPolicyNotify, nullptr,
                           nullptr);
  }
}

VOID EFIAPI ValidationPolicyNotify(EFI_EVENT, VOID *) {
  FindValidationPolicy();
}

const VOID *FindHobList(const EFI_SYSTEM_TABLE *SystemTable) {
  for (UINTN Index = 0; Index < SystemTable->NumberOfTableEntries; Index++) {
    const EFI_CONFIGURATION_TABLE &Entry = SystemTable->ConfigurationTable[Index];
    if (SameGuid(Entry.VendorGuid, mEfiHobListGuid)) {
      return Entry.VendorTable;
    }
  }
  return nullptr;
}

} // namespace

void InitializeDriverContext(EFI_SYSTEM_TABLE *SystemTable) {
  DriverContext.SystemTable = SystemTable;
  DriverContext.BootServices = SystemTable->BootServices;
  DriverContext.RuntimeServices = SystemTable->RuntimeServices;
  (void)LocateInterface(mEfiHiiStringProtocolGuid, &DriverContext.HiiString);
  (void)LocateInterface(mEfiHiiDatabaseProtocolGuid, &DriverContext.HiiDatabase);
  DriverContext.HobList = FindHobList(SystemTable);
  FindValidationPolicy();
}

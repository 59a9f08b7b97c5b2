// The entry point that the firmware's driver dispatcher calls once. It returns
// the status of the protocol installation, or never when the boot must stop.
#include "driver/core/ServiceTable.h"
#include "driver/core/Startup.h"
#include "driver/core/StringPackages.h"
#include "driver/policy/MessagePackages.h"
#include "driver/policy/ModulePolicy.h"
#include "driver/runtime/ProcessorFeatures.h"

extern "C" EFI_STATUS EFIAPI CryptoDriverEntry(EFI_HANDLE, EFI_SYSTEM_TABLE *SystemTable) {
  InitializeDriverContext(SystemTable);
  SetUpProcessorFeatures();
  const UINT8 *const Packages[] = {mMessagePackages, nullptr};
  // The handle is not kept: each lookup finds the package list by its GUID.
  (void)AddStringPackages(mMessagePackageListGuid, nullptr, Packages);
  CheckModulePolicy();
  return InstallServiceTable();
}

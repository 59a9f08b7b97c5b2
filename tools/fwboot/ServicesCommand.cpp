// "services": the table of the booted driver, slot by slot: number, offset, name, result, family.
#include <fmt/core.h>

#include "tools/fwboot/Commands.h"
#include "tools/session/SlotTable.h"

namespace {

int RunServicesCommand(const GLOBAL_OPTIONS &Options) {
  DriverSession Session(Options.Session());
  RequireServices(Session);
  for (UINTN Slot = 0; Slot < CRYPTO_SERVICES_SLOT_COUNT; ++Slot) {
    const SlotInfo Info = DescribeSlot(Slot);
    fmt::print("{:2}  {:#05x}  {:34}{:12}{}\n", Slot, Slot * sizeof(void *), Info.Name, KindName(Info.Kind),
               Info.Family);
  }
  return mExitFine;
}

} // namespace

COMMAND_ACTION DeclareServices(CLI::App &) {
  return RunServicesCommand;
}

// "services": the service table, slot by slot.
#include <fmt/core.h>

#include "tools/fwboot/Commands.h"
#include "tools/session/SlotTable.h"

namespace {

int RunServicesCommand(const GLOBAL_OPTIONS &Options) {
  DriverSession Session(Options.Session());
  RequireServices(Session);
  UINTN Bound = 0;
  for (UINTN Slot = 0; Slot < CRYPTO_SERVICES_SLOT_COUNT; ++Slot) {
    const SlotInfo Info = DescribeSlot(Slot);
    const bool Refused = IsRefused(Session.Raw(), Slot);
    Bound += Refused ? 0 : 1;
    fmt::print("{:2}  {:34}{:12}{}\n", Slot, Info.Name, KindName(Info.Kind), Refused ? "refused" : "bound");
  }
  fmt::print("{} bound, {} refused\n", Bound, CRYPTO_SERVICES_SLOT_COUNT - Bound);
  return mExitFine;
}

} // namespace

COMMAND_ACTION DeclareServices(CLI::App &) {
  return RunServicesCommand;
}

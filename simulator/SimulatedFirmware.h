// The simulated firmware: real tables over the parts that do the work. One lives at a time, because the
// tables' services carry no pointer to themselves; many in sequence are normal. Its parts are open to
// scripting and inspection, also after a boot was stopped in the middle of a service.
#pragma once

#include <string>
#include <vector>

#include "simulator/Clock.h"
#include "simulator/EventQueue.h"
#include "simulator/HandleDatabase.h"
#include "simulator/HiiProtocols.h"
#include "simulator/HobList.h"
#include "simulator/Pool.h"
#include "simulator/Variables.h"
#include "uefi/Uefi.h"

struct FirmwareOptions {
  // Of all three tables.
  UINT32 Revision = EFI_2_100_SYSTEM_TABLE_REVISION;
  bool HiiDatabase = true;
  bool HiiString = true;
  // For benchmarks: the host's own allocator without guards, records, scripts or level checks.
  bool PlainPool = false;
};

enum class LeakKind { PoolBlock, Event, ProtocolWatch };

// Something still open. Place names where it was made; Number counts AllocatePool calls, events or watches.
struct Leak {
  LeakKind Kind;
  std::string Place;
  UINTN Number;
  // Size and memory type, the level and group, or the protocol.
  std::string Detail;

  // One line with all of it.
  std::string Text() const;
};

class SimulatedFirmware {
public:
  // Ends the run when another one lives.
  explicit SimulatedFirmware(const FirmwareOptions &Options = {});

  // Checks all guards, keeps leaks and faults for the Last… calls, prints faults that nobody has taken, and
  // releases everything.
  ~SimulatedFirmware();

  SimulatedFirmware(const SimulatedFirmware &) = delete;
  SimulatedFirmware &operator=(const SimulatedFirmware &) = delete;

  // The one that lives; ends the run when none does.
  static SimulatedFirmware &Living();
  static bool IsLiving();

  EFI_SYSTEM_TABLE *SystemTable() { return &SystemTable_; }
  EFI_BOOT_SERVICES *BootServices() { return &BootServices_; }
  EFI_RUNTIME_SERVICES *RuntimeServices() { return &RuntimeServices_; }

  // A handle to start a driver with.
  EFI_HANDLE ImageHandle() const { return ImageHandle_; }

  // Adds to the configuration table, which starts empty. An entry goes to the end, also when its GUID is
  // there already, and gives the table a new place and a new checksum.
  void AddConfiguration(const EFI_GUID &Guid, VOID *Table);

  // Adds the entry that leads to the list, which must outlive the boot.
  void AddHobList(HobList &List) { AddConfiguration(mEfiHobListGuid, List.Start()); }

  // What the boot manager does before it starts a boot option.
  void SignalReadyToBoot();

  // Everything still open, in the order in which it was made: pool blocks, then events, then watches.
  std::vector<Leak> Leaks() const;

  // Hands over the errors of the driver so far and forgets them.
  std::vector<std::string> TakeFaults();
  void AddFault(std::string Text) { Faults_.push_back(std::move(Text)); }

  // What the one destroyed last left behind.
  static const std::vector<Leak> &LastLeaks();
  static const std::vector<std::string> &LastFaults();

  // Reads of "PlatformLang" by a notification at TPL_NOTIFY, the one use of variables above the level of the
  // standard that is tolerated.
  UINTN LanguageReadsAtNotify() const { return LanguageReadsAtNotify_; }
  void CountLanguageReadAtNotify() { ++LanguageReadsAtNotify_; }

  // The parts.
  Pool Memory;
  EventQueue Events;
  HandleDatabase Handles;
  Variables Nvram;
  Clock RealTimeClock;
  HiiProtocols Hii;

private:
  void PublishConfiguration();

  EFI_SYSTEM_TABLE SystemTable_{};
  EFI_BOOT_SERVICES BootServices_{};
  EFI_RUNTIME_SERVICES RuntimeServices_{};
  EFI_HANDLE ImageHandle_ = nullptr;
  std::vector<EFI_CONFIGURATION_TABLE> Configuration_;
  std::vector<std::string> Faults_;
  UINTN LanguageReadsAtNotify_ = 0;
};

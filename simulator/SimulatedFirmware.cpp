// The life of the simulated firmware, its system table and its account of what the driver left behind.
#include "simulator/SimulatedFirmware.h"

#include <cstdio>
#include <utility>

#include "simulator/Faults.h"
#include "simulator/Guids.h"
#include "simulator/Refusal.h"
#include "simulator/ServiceTables.h"
#include "uefi/EventGroups.h"

namespace {

// EFI_LOADED_IMAGE_PROTOCOL (UEFI 2.10, section 9.1); only its presence makes the image handle one.
constexpr EFI_GUID mLoadedImageGuid = {
    0x5b1b31a1, 0x9562, 0x11d2, {0x8e, 0x3f, 0x00, 0xa0, 0xc9, 0x69, 0x72, 0x3b}};

SimulatedFirmware *LivingFirmware = nullptr;

struct Remains {
  std::vector<Leak> Leaks;
  std::vector<std::string> Faults;
};

Remains &LastRemains() {
  static Remains Last;
  return Last;
}

// Console protocols whose every member ends the run: the driver shows things through its dialog alone.
struct ConsoleMembers {
  VOID *Members[16];
};

ConsoleMembers *RefusingConsole() {
  static ConsoleMembers Refusing = [] {
    ConsoleMembers Fresh;
    for (VOID *&Member : Fresh.Members) {
      Member = reinterpret_cast<VOID *>(&RefuseCall<"a console protocol">);
    }
    return Fresh;
  }();
  return &Refusing;
}

} // namespace

std::string Leak::Text() const {
  static const char *const mKinds[] = {"pool block", "event", "protocol watch"};
  return std::string(mKinds[static_cast<int>(Kind)]) + " " + std::to_string(Number) + " (" + Detail +
         ") made at " + Place;
}

SimulatedFirmware::SimulatedFirmware(const FirmwareOptions &Options)
    : Memory(Options.PlainPool), Handles(Events) {
  if (LivingFirmware != nullptr) {
    AbortRun("a second simulated firmware was made while one lives");
  }
  LivingFirmware = this;
  FillBootServices(BootServices_, Options.Revision, Options.PlainPool);
  SealTable(BootServices_.Hdr);
  FillRuntimeServices(RuntimeServices_, Options.Revision);
  SealTable(RuntimeServices_.Hdr);

  static CHAR16 Vendor[] = u"Simulated Firmware";
  SystemTable_.Hdr.Signature = EFI_SYSTEM_TABLE_SIGNATURE;
  SystemTable_.Hdr.Revision = Options.Revision;
  SystemTable_.Hdr.HeaderSize = sizeof(SystemTable_);
  SystemTable_.FirmwareVendor = Vendor;
  SystemTable_.FirmwareRevision = 1;
  SystemTable_.ConIn = reinterpret_cast<EFI_SIMPLE_TEXT_INPUT_PROTOCOL *>(RefusingConsole());
  SystemTable_.ConOut = reinterpret_cast<EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL *>(RefusingConsole());
  SystemTable_.StdErr = SystemTable_.ConOut;
  SystemTable_.RuntimeServices = &RuntimeServices_;
  SystemTable_.BootServices = &BootServices_;
  PublishConfiguration();

  ImageHandle_ = Handles.InstallHost(mLoadedImageGuid, nullptr);
  if (Options.HiiDatabase) {
    Handles.InstallHost(mEfiHiiDatabaseProtocolGuid, &Hii.Database);
  }
  if (Options.HiiString) {
    Handles.InstallHost(mEfiHiiStringProtocolGuid, &Hii.String);
  }
}

SimulatedFirmware::~SimulatedFirmware() {
  Memory.CheckGuards();
  for (const std::string &Fault : Faults_) {
    std::fprintf(stderr, "fault: %s\n", Fault.c_str());
  }
  LastRemains() = {Leaks(), std::move(Faults_)};
  LivingFirmware = nullptr;
}

SimulatedFirmware &SimulatedFirmware::Living() {
  if (LivingFirmware == nullptr) {
    AbortRun("a firmware service was called while no simulated firmware lives");
  }
  return *LivingFirmware;
}

bool SimulatedFirmware::IsLiving() {
  return LivingFirmware != nullptr;
}

void SimulatedFirmware::AddConfiguration(const EFI_GUID &Guid, VOID *Table) {
  Configuration_.push_back({Guid, Table});
  PublishConfiguration();
}

void SimulatedFirmware::PublishConfiguration() {
  // A fresh copy each time, of exactly the right size, so that a sanitizer sees a walk beyond it.
  std::vector<EFI_CONFIGURATION_TABLE>(Configuration_).swap(Configuration_);
  SystemTable_.NumberOfTableEntries = Configuration_.size();
  SystemTable_.ConfigurationTable = Configuration_.empty() ? nullptr : Configuration_.data();
  SealTable(SystemTable_.Hdr);
}

void SimulatedFirmware::SignalReadyToBoot() {
  Events.SignalGroup(mEfiEventGroupReadyToBootGuid);
}

std::vector<Leak> SimulatedFirmware::Leaks() const {
  std::vector<Leak> All;
  for (const Pool::Block &Open : Memory.OpenBlocks()) {
    All.push_back({LeakKind::PoolBlock, DescribePlace(Open.Caller), Open.Number,
                   std::to_string(Open.Size) + " bytes of memory type " + std::to_string(Open.Type)});
  }
  for (const EventQueue::Event *Open : Events.OpenEvents()) {
    All.push_back(
        {LeakKind::Event, DescribePlace(Open->Caller), Open->Number,
         "TPL " + std::to_string(Open->Tpl) + (Open->Group ? ", group " + GuidText(*Open->Group) : "")});
  }
  for (const HandleDatabase::Watch *Open : Handles.OpenWatches()) {
    All.push_back({LeakKind::ProtocolWatch, DescribePlace(Open->Caller), Open->Number,
                   "protocol " + GuidText(Open->Protocol)});
  }
  return All;
}

std::vector<std::string> SimulatedFirmware::TakeFaults() {
  return std::exchange(Faults_, {});
}

const std::vector<Leak> &SimulatedFirmware::LastLeaks() {
  return LastRemains().Leaks;
}

const std::vector<std::string> &SimulatedFirmware::LastFaults() {
  return LastRemains().Faults;
}

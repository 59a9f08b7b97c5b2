// The services that stand in front. Those tables carry no pointer to their owner, so the living trace is
// found by name.
#include "tools/fwboot/BootTrace.h"

#include <algorithm>
#include <cstdlib>
#include <memory>

#include <cxxabi.h>

#include <fmt/format.h>

#include "simulator/Faults.h"
#include "simulator/Guids.h"
#include "simulator/ServiceTables.h"
#include "tools/fwboot/GuidNames.h"
#include "tools/session/StatusNames.h"

namespace {

constexpr UINTN mMostPairs = 4;

BootTrace *Living = nullptr;

std::string OptionalGuid(const EFI_GUID *Guid) {
  return Guid == nullptr ? "NULL" : GuidName(*Guid);
}

std::string Ascii(const CHAR16 *Text) {
  std::string Result;
  for (; Text != nullptr && *Text != 0; ++Text) {
    Result += *Text >= 0x20 && *Text < 0x7F ? static_cast<char>(*Text) : '?';
  }
  return Result;
}

} // namespace

std::string TplName(EFI_TPL Tpl) {
  switch (Tpl) {
  case TPL_APPLICATION:
    return "TPL_APPLICATION";
  case TPL_CALLBACK:
    return "TPL_CALLBACK";
  case TPL_NOTIFY:
    return "TPL_NOTIFY";
  case TPL_HIGH_LEVEL:
    return "TPL_HIGH_LEVEL";
  default:
    return fmt::format("TPL {}", Tpl);
  }
}

std::string RoutineName(const void *Address) {
  std::string Symbol = DescribePlace(Address);
  Symbol.erase(std::min(Symbol.size(), Symbol.find("+0x")));
  int Status = 0;
  const std::unique_ptr<char, void (*)(void *)> Demangled(
      abi::__cxa_demangle(Symbol.c_str(), nullptr, nullptr, &Status), std::free);
  const std::string Name = Status == 0 ? Demangled.get() : Symbol;
  const std::string Whole = Name.substr(0, Name.rfind('('));
  return Whole.substr(Whole.rfind(':') + 1);
}

// A service can run notifications, and one of those can halt the boot: so nothing that needs destroying is
// held across the call that is passed on.
struct TRACED_SERVICES {
  static const EFI_BOOT_SERVICES &Boot() { return Living->BootServices_; }

  static UINTN Begin(std::string Call) {
    Living->Add(std::move(Call));
    return Living->Lines_.size() - 1;
  }

  static EFI_STATUS End(UINTN Line, EFI_STATUS Status) {
    Living->Lines_[Line] += ": " + StatusName(Status);
    return Status;
  }

  static EFI_STATUS EFIAPI LocateProtocol(const EFI_GUID *Protocol, VOID *Registration, VOID **Interface) {
    const UINTN Line = Begin("LocateProtocol " + OptionalGuid(Protocol));
    return End(Line, Boot().LocateProtocol(Protocol, Registration, Interface));
  }

  static EFI_STATUS EFIAPI RegisterProtocolNotify(const EFI_GUID *Protocol, EFI_EVENT Event,
                                                  VOID **Registration) {
    const UINTN Line = Begin("RegisterProtocolNotify " + OptionalGuid(Protocol));
    return End(Line, Boot().RegisterProtocolNotify(Protocol, Event, Registration));
  }

  static EFI_STATUS EFIAPI CreateEvent(UINT32 Type, EFI_TPL Tpl, EFI_EVENT_NOTIFY Function, VOID *Context,
                                       EFI_EVENT *Event) {
    const UINTN Line = Begin("CreateEvent at " + TplName(Tpl) + " for " +
                             RoutineName(reinterpret_cast<const void *>(Function)));
    return End(Line, Boot().CreateEvent(Type, Tpl, Function, Context, Event));
  }

  static EFI_STATUS EFIAPI CreateEventEx(UINT32 Type, EFI_TPL Tpl, EFI_EVENT_NOTIFY Function,
                                         const VOID *Context, const EFI_GUID *Group, EFI_EVENT *Event) {
    const UINTN Line =
        Begin("CreateEventEx at " + TplName(Tpl) + " for " +
              RoutineName(reinterpret_cast<const void *>(Function)) + " in group " + OptionalGuid(Group));
    return End(Line, Boot().CreateEventEx(Type, Tpl, Function, Context, Group, Event));
  }

  static EFI_STATUS EFIAPI CloseEvent(EFI_EVENT Event) {
    const UINTN Line = Begin("CloseEvent");
    return End(Line, Boot().CloseEvent(Event));
  }

  static EFI_TPL EFIAPI RaiseTpl(EFI_TPL Tpl) {
    Begin("RaiseTPL to " + TplName(Tpl));
    return Boot().RaiseTPL(Tpl);
  }

  static VOID EFIAPI RestoreTpl(EFI_TPL Tpl) {
    Begin("RestoreTPL to " + TplName(Tpl));
    Boot().RestoreTPL(Tpl);
  }

  // A list of arguments cannot be passed on as it is, so it is taken apart and laid out again.
  static EFI_STATUS EFIAPI InstallMultiple(EFI_HANDLE *Handle, ...) {
    VOID *Pairs[2 * mMostPairs] = {};
    const UINTN Line = Begin("InstallMultipleProtocolInterfaces");
    __builtin_ms_va_list List;
    __builtin_ms_va_start(List, Handle);
    UINTN Count = 0;
    while (auto *Guid = __builtin_va_arg(List, EFI_GUID *)) {
      if (Count == 2 * mMostPairs) {
        AbortRun("more protocols in one installation than the trace passes on");
      }
      Pairs[Count++] = Guid;
      Pairs[Count++] = __builtin_va_arg(List, VOID *);
      Living->Lines_[Line] += " " + GuidName(*Guid);
    }
    __builtin_ms_va_end(List);
    return End(Line, Boot().InstallMultipleProtocolInterfaces(Handle, Pairs[0], Pairs[1], Pairs[2], Pairs[3],
                                                              Pairs[4], Pairs[5], Pairs[6], Pairs[7],
                                                              static_cast<VOID *>(nullptr)));
  }

  static EFI_STATUS EFIAPI GetVariable(const CHAR16 *Name, const EFI_GUID *Vendor, UINT32 *Attributes,
                                       UINTN *Size, VOID *Data) {
    const UINTN Line = Begin("GetVariable \"" + Ascii(Name) + "\" of " + OptionalGuid(Vendor));
    return End(Line, Living->RuntimeServices_.GetVariable(Name, Vendor, Attributes, Size, Data));
  }

  static EFI_STATUS EFIAPI GetTime(EFI_TIME *Time, EFI_TIME_CAPABILITIES *Capabilities) {
    const UINTN Line = Begin("GetTime");
    return End(Line, Living->RuntimeServices_.GetTime(Time, Capabilities));
  }

  static EFI_STATUS EFIAPI NewPackageList(const EFI_HII_DATABASE_PROTOCOL *This,
                                          const EFI_HII_PACKAGE_LIST_HEADER *List, EFI_HANDLE Driver,
                                          EFI_HII_HANDLE *Handle) {
    const UINT32 Bytes = List->PackageLength;
    const UINTN Line =
        Begin(fmt::format("NewPackageList {}, {} bytes", GuidText(List->PackageListGuid), Bytes));
    return End(Line, Living->HiiDatabase_.NewPackageList(This, List, Driver, Handle));
  }
};

BootTrace::BootTrace(SimulatedFirmware &Firmware)
    : Firmware_(Firmware), BootServices_(*Firmware.BootServices()),
      RuntimeServices_(*Firmware.RuntimeServices()), HiiDatabase_(Firmware.Hii.Database) {
  Living = this;
  EFI_BOOT_SERVICES &Boot = *Firmware_.BootServices();
  Boot.LocateProtocol = TRACED_SERVICES::LocateProtocol;
  Boot.RegisterProtocolNotify = TRACED_SERVICES::RegisterProtocolNotify;
  Boot.CreateEvent = TRACED_SERVICES::CreateEvent;
  // An older firmware's table ends before this one.
  if (Boot.Hdr.HeaderSize >= sizeof(Boot)) {
    Boot.CreateEventEx = TRACED_SERVICES::CreateEventEx;
  }
  Boot.CloseEvent = TRACED_SERVICES::CloseEvent;
  Boot.RaiseTPL = TRACED_SERVICES::RaiseTpl;
  Boot.RestoreTPL = TRACED_SERVICES::RestoreTpl;
  Boot.InstallMultipleProtocolInterfaces = TRACED_SERVICES::InstallMultiple;
  SealTable(Boot.Hdr);
  EFI_RUNTIME_SERVICES &Runtime = *Firmware_.RuntimeServices();
  Runtime.GetVariable = TRACED_SERVICES::GetVariable;
  Runtime.GetTime = TRACED_SERVICES::GetTime;
  SealTable(Runtime.Hdr);
  Firmware_.Hii.Database.NewPackageList = TRACED_SERVICES::NewPackageList;
}

void BootTrace::Add(std::string Line) {
  NoteNotifications();
  Lines_.push_back(std::move(Line));
}

void BootTrace::NoteNotifications() {
  const auto &Log = Firmware_.Events.Notifications();
  for (; NotificationsNoted_ < Log.size(); ++NotificationsNoted_) {
    const EventQueue::Notification &Started = Log[NotificationsNoted_];
    Lines_.push_back("notification at " + TplName(Started.Tpl) + ": " +
                     RoutineName(reinterpret_cast<const void *>(Started.Function)));
  }
}

BootTrace::~BootTrace() {
  *Firmware_.BootServices() = BootServices_;
  *Firmware_.RuntimeServices() = RuntimeServices_;
  Firmware_.Hii.Database = HiiDatabase_;
  Living = nullptr;
}

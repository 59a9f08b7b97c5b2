// The services themselves: each checks the task priority level and hands over to the part that does the work.
// A service that can dispatch notifications holds nothing that needs destroying.
#include "simulator/ServiceTables.h"

#include <cstddef>
#include <string_view>

#include "simulator/Faults.h"
#include "simulator/Refusal.h"
#include "simulator/SimulatedFirmware.h"

namespace {

// The place in the driver that a service was called from.
#define CALLER __builtin_return_address(0)

SimulatedFirmware &EnterService(const char *Service, EFI_TPL Highest) {
  SimulatedFirmware &Firmware = SimulatedFirmware::Living();
  Firmware.Events.RequireAtMost(Service, Highest);
  return Firmware;
}

EFI_TPL EFIAPI RaiseTpl(EFI_TPL NewTpl) {
  return SimulatedFirmware::Living().Events.Raise(NewTpl);
}

VOID EFIAPI RestoreTpl(EFI_TPL OldTpl) {
  SimulatedFirmware::Living().Events.Restore(OldTpl);
}

// As on a board, the memory lock raises the level, so that notifications signalled meanwhile run on the way
// out, inside the call.
EFI_STATUS EFIAPI AllocatePool(EFI_MEMORY_TYPE Type, UINTN Size, VOID **Buffer) {
  SimulatedFirmware &Firmware = EnterService("AllocatePool", TPL_NOTIFY);
  const EFI_TPL Previous = Firmware.Events.Enter();
  const EFI_STATUS Status = Firmware.Memory.Allocate(Type, Size, Buffer, CALLER);
  Firmware.Events.Leave(Previous);
  return Status;
}

EFI_STATUS EFIAPI FreePool(VOID *Buffer) {
  SimulatedFirmware &Firmware = EnterService("FreePool", TPL_NOTIFY);
  const EFI_TPL Previous = Firmware.Events.Enter();
  const EFI_STATUS Status = Firmware.Memory.Free(Buffer, CALLER);
  Firmware.Events.Leave(Previous);
  return Status;
}

EFI_STATUS EFIAPI PlainAllocatePool(EFI_MEMORY_TYPE Type, UINTN Size, VOID **Buffer) {
  return SimulatedFirmware::Living().Memory.Allocate(Type, Size, Buffer, nullptr);
}

EFI_STATUS EFIAPI PlainFreePool(VOID *Buffer) {
  return SimulatedFirmware::Living().Memory.Free(Buffer, nullptr);
}

EFI_STATUS EFIAPI CreateEvent(UINT32 Type, EFI_TPL Tpl, EFI_EVENT_NOTIFY Function, VOID *Context,
                              EFI_EVENT *Event) {
  EventQueue &Events = EnterService("CreateEvent", TPL_NOTIFY).Events;
  const EFI_STATUS Scripted = Events.CreateEventCalls.NextCall();
  return Scripted != EFI_SUCCESS ? Scripted
                                 : Events.Create(Type, Tpl, Function, Context, nullptr, Event, CALLER);
}

EFI_STATUS EFIAPI CreateEventEx(UINT32 Type, EFI_TPL Tpl, EFI_EVENT_NOTIFY Function, const VOID *Context,
                                const EFI_GUID *Group, EFI_EVENT *Event) {
  EventQueue &Events = EnterService("CreateEventEx", TPL_NOTIFY).Events;
  const EFI_STATUS Scripted = Events.CreateEventExCalls.NextCall();
  return Scripted != EFI_SUCCESS ? Scripted
                                 : Events.Create(Type, Tpl, Function, Context, Group, Event, CALLER);
}

EFI_STATUS EFIAPI SignalEvent(EFI_EVENT Event) {
  return EnterService("SignalEvent", TPL_HIGH_LEVEL).Events.Signal(Event);
}

EFI_STATUS EFIAPI CloseEvent(EFI_EVENT Event) {
  SimulatedFirmware &Firmware = EnterService("CloseEvent", TPL_NOTIFY);
  Firmware.Handles.ForgetEvent(Event);
  return Firmware.Events.Close(Event);
}

EFI_STATUS EFIAPI InstallProtocolInterface(EFI_HANDLE *Handle, const EFI_GUID *Protocol,
                                           EFI_INTERFACE_TYPE Type, VOID *Interface) {
  HandleDatabase &Handles = EnterService("InstallProtocolInterface", TPL_NOTIFY).Handles;
  return Type != EFI_NATIVE_INTERFACE ? EFI_INVALID_PARAMETER : Handles.Install(Handle, Protocol, Interface);
}

EFI_STATUS EFIAPI InstallMultipleProtocolInterfaces(EFI_HANDLE *Handle, ...) {
  HandleDatabase &Handles = EnterService("InstallMultipleProtocolInterfaces", TPL_NOTIFY).Handles;
  const EFI_STATUS Scripted = Handles.InstallMultipleCalls.NextCall();
  if (Scripted != EFI_SUCCESS) {
    return Scripted;
  }
  constexpr UINTN mMostPairs = 16;
  HandleDatabase::Pair Pairs[mMostPairs];
  UINTN Count = 0;
  __builtin_ms_va_list Arguments;
  __builtin_ms_va_start(Arguments, Handle);
  while (const auto *Protocol = __builtin_va_arg(Arguments, const EFI_GUID *)) {
    if (Count == mMostPairs) {
      AbortRun("InstallMultipleProtocolInterfaces: the list of pairs has no end");
    }
    Pairs[Count++] = {Protocol, __builtin_va_arg(Arguments, VOID *)};
  }
  __builtin_ms_va_end(Arguments);
  return Handles.InstallMultiple(Handle, Pairs, Count);
}

EFI_STATUS EFIAPI HandleProtocol(EFI_HANDLE Handle, const EFI_GUID *Protocol, VOID **Interface) {
  return EnterService("HandleProtocol", TPL_NOTIFY).Handles.OnHandle(Handle, Protocol, Interface);
}

EFI_STATUS EFIAPI LocateProtocol(const EFI_GUID *Protocol, VOID *Registration, VOID **Interface) {
  HandleDatabase &Handles = EnterService("LocateProtocol", TPL_NOTIFY).Handles;
  const EFI_STATUS Scripted = Handles.LocateProtocolCalls.NextCall();
  return Scripted != EFI_SUCCESS ? Scripted : Handles.Locate(Protocol, Registration, Interface);
}

EFI_STATUS EFIAPI RegisterProtocolNotify(const EFI_GUID *Protocol, EFI_EVENT Event, VOID **Registration) {
  HandleDatabase &Handles = EnterService("RegisterProtocolNotify", TPL_NOTIFY).Handles;
  const EFI_STATUS Scripted = Handles.RegisterProtocolNotifyCalls.NextCall();
  return Scripted != EFI_SUCCESS ? Scripted : Handles.RegisterNotify(Protocol, Event, Registration, CALLER);
}

EFI_STATUS EFIAPI GetTime(EFI_TIME *Time, EFI_TIME_CAPABILITIES *Capabilities) {
  return EnterService("GetTime", TPL_CALLBACK).RealTimeClock.Get(Time, Capabilities);
}

// The standard allows variables up to TPL_CALLBACK. A screen that ends the boot reads the platform's language
// from its notification at TPL_NOTIFY: tolerated by name, and counted.
EFI_STATUS EFIAPI GetVariable(const CHAR16 *Name, const EFI_GUID *Vendor, UINT32 *Attributes, UINTN *DataSize,
                              VOID *Data) {
  SimulatedFirmware &Firmware = SimulatedFirmware::Living();
  if (Firmware.Events.InNotifyLevelNotification() && Name != nullptr &&
      std::u16string_view(Name) == u"PlatformLang") {
    Firmware.CountLanguageReadAtNotify();
  } else {
    Firmware.Events.RequireAtMost("GetVariable", TPL_CALLBACK);
  }
  return Firmware.Nvram.Get(Name, Vendor, Attributes, DataSize, Data);
}

UINT32 Crc32(const UINT8 *Data, UINTN Size) {
  UINT32 Value = 0xFFFFFFFF;
  for (UINTN Index = 0; Index < Size; ++Index) {
    Value ^= Data[Index];
    for (int Bit = 0; Bit < 8; ++Bit) {
      Value = (Value >> 1) ^ (0xEDB88320 & (0 - (Value & 1)));
    }
  }
  return ~Value;
}

} // namespace

void FillBootServices(EFI_BOOT_SERVICES &Table, UINT32 Revision, bool PlainPool) {
  const bool Modern = Revision >= EFI_2_00_SYSTEM_TABLE_REVISION;
  Table = {};
  Table.Hdr.Signature = EFI_BOOT_SERVICES_SIGNATURE;
  Table.Hdr.Revision = Revision;
  Table.Hdr.HeaderSize = Modern ? sizeof(Table) : offsetof(EFI_BOOT_SERVICES, CreateEventEx);
  Table.RaiseTPL = RaiseTpl;
  Table.RestoreTPL = RestoreTpl;
  REFUSE_MEMBER(Table, AllocatePages);
  REFUSE_MEMBER(Table, FreePages);
  REFUSE_MEMBER(Table, GetMemoryMap);
  Table.AllocatePool = PlainPool ? PlainAllocatePool : AllocatePool;
  Table.FreePool = PlainPool ? PlainFreePool : FreePool;
  Table.CreateEvent = CreateEvent;
  REFUSE_MEMBER(Table, SetTimer);
  REFUSE_MEMBER(Table, WaitForEvent);
  Table.SignalEvent = SignalEvent;
  Table.CloseEvent = CloseEvent;
  REFUSE_MEMBER(Table, CheckEvent);
  Table.InstallProtocolInterface = InstallProtocolInterface;
  REFUSE_MEMBER(Table, ReinstallProtocolInterface);
  REFUSE_MEMBER(Table, UninstallProtocolInterface);
  Table.HandleProtocol = HandleProtocol;
  REFUSE_MEMBER(Table, Reserved);
  Table.RegisterProtocolNotify = RegisterProtocolNotify;
  REFUSE_MEMBER(Table, LocateHandle);
  REFUSE_MEMBER(Table, LocateDevicePath);
  REFUSE_MEMBER(Table, InstallConfigurationTable);
  REFUSE_MEMBER(Table, LoadImage);
  REFUSE_MEMBER(Table, StartImage);
  REFUSE_MEMBER(Table, Exit);
  REFUSE_MEMBER(Table, UnloadImage);
  REFUSE_MEMBER(Table, ExitBootServices);
  REFUSE_MEMBER(Table, GetNextMonotonicCount);
  REFUSE_MEMBER(Table, Stall);
  REFUSE_MEMBER(Table, SetWatchdogTimer);
  REFUSE_MEMBER(Table, ConnectController);
  REFUSE_MEMBER(Table, DisconnectController);
  REFUSE_MEMBER(Table, OpenProtocol);
  REFUSE_MEMBER(Table, CloseProtocol);
  REFUSE_MEMBER(Table, OpenProtocolInformation);
  REFUSE_MEMBER(Table, ProtocolsPerHandle);
  REFUSE_MEMBER(Table, LocateHandleBuffer);
  Table.LocateProtocol = LocateProtocol;
  Table.InstallMultipleProtocolInterfaces = InstallMultipleProtocolInterfaces;
  REFUSE_MEMBER(Table, UninstallMultipleProtocolInterfaces);
  REFUSE_MEMBER(Table, CalculateCrc32);
  REFUSE_MEMBER(Table, CopyMem);
  REFUSE_MEMBER(Table, SetMem);
  REFUSE_MEMBER(Table, CreateEventEx);
  if (Modern) {
    Table.CreateEventEx = CreateEventEx;
  }
}

void FillRuntimeServices(EFI_RUNTIME_SERVICES &Table, UINT32 Revision) {
  const bool Modern = Revision >= EFI_2_00_SYSTEM_TABLE_REVISION;
  Table = {};
  Table.Hdr.Signature = EFI_RUNTIME_SERVICES_SIGNATURE;
  Table.Hdr.Revision = Revision;
  Table.Hdr.HeaderSize = Modern ? sizeof(Table) : offsetof(EFI_RUNTIME_SERVICES, UpdateCapsule);
  Table.GetTime = GetTime;
  REFUSE_MEMBER(Table, SetTime);
  REFUSE_MEMBER(Table, GetWakeupTime);
  REFUSE_MEMBER(Table, SetWakeupTime);
  REFUSE_MEMBER(Table, SetVirtualAddressMap);
  REFUSE_MEMBER(Table, ConvertPointer);
  Table.GetVariable = GetVariable;
  REFUSE_MEMBER(Table, GetNextVariableName);
  REFUSE_MEMBER(Table, SetVariable);
  REFUSE_MEMBER(Table, GetNextHighMonotonicCount);
  REFUSE_MEMBER(Table, ResetSystem);
  REFUSE_MEMBER(Table, UpdateCapsule);
  REFUSE_MEMBER(Table, QueryCapsuleCapabilities);
  REFUSE_MEMBER(Table, QueryVariableInfo);
}

void SealTable(EFI_TABLE_HEADER &Header) {
  Header.CRC32 = 0;
  Header.CRC32 = Crc32(reinterpret_cast<const UINT8 *>(&Header), Header.HeaderSize);
}

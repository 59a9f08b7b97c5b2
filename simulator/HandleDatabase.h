// Handles, protocol interfaces and protocol watches (UEFI 2.10, section 7.3). Signals watches through the
// event queue; owns no interface that is installed.
#pragma once

#include <deque>
#include <memory>
#include <vector>

#include "simulator/EventQueue.h"
#include "simulator/ScriptedStatus.h"
#include "uefi/Uefi.h"

class HandleDatabase {
public:
  struct Pair {
    const EFI_GUID *Protocol;
    VOID *Interface;
  };

  // An event signalled whenever Protocol is installed. Caller is the place that registered it, Number its
  // position among all watches.
  struct Watch {
    EFI_GUID Protocol;
    EFI_EVENT Event;
    UINTN Number;
    const VOID *Caller;
    // Interfaces installed since and not yet handed out by a search with this registration.
    std::deque<UINTN> Fresh;
  };

  explicit HandleDatabase(EventQueue &Events) : Events_(Events) {}

  // InstallProtocolInterface: onto *Handle, or onto a new handle when it holds NULL. EFI_INVALID_PARAMETER
  // for a NULL argument, a foreign handle and a protocol that the handle already has. Watches are signalled;
  // their notifications run before *Handle is stored.
  EFI_STATUS Install(EFI_HANDLE *Handle, const EFI_GUID *Protocol, VOID *Interface);

  // InstallMultipleProtocolInterfaces: all pairs or none; no notification runs before the last pair is in.
  EFI_STATUS InstallMultiple(EFI_HANDLE *Handle, const Pair *Pairs, UINTN Count);

  // LocateProtocol: the interface installed first, or with a registration the next one installed since. NULL
  // is stored with EFI_NOT_FOUND; EFI_INVALID_PARAMETER for a NULL protocol or place.
  EFI_STATUS Locate(const EFI_GUID *Protocol, VOID *Registration, VOID **Interface);

  // HandleProtocol: EFI_UNSUPPORTED, with NULL stored, when the handle lacks the protocol.
  EFI_STATUS OnHandle(EFI_HANDLE Handle, const EFI_GUID *Protocol, VOID **Interface);

  // RegisterProtocolNotify: later installations count, earlier ones do not. EFI_INVALID_PARAMETER for a NULL
  // argument; an event that is not open is a fault besides.
  EFI_STATUS RegisterNotify(const EFI_GUID *Protocol, EFI_EVENT Event, VOID **Registration,
                            const VOID *Caller);

  // Ends the watches of an event that is being closed.
  void ForgetEvent(EFI_EVENT Event);

  // What other modules of the platform do: install on a new handle, and take away again. A protocol that is
  // not there ends the run: the test itself is wrong.
  EFI_HANDLE InstallHost(const EFI_GUID &Protocol, VOID *Interface);
  void UninstallHost(EFI_HANDLE Handle, const EFI_GUID &Protocol);

  // Host-side view: how many handles carry Protocol, the first interface (NULL when none), the watches alive.
  UINTN Count(const EFI_GUID &Protocol) const;
  VOID *Find(const EFI_GUID &Protocol) const;
  std::vector<const Watch *> OpenWatches() const;

  ScriptedStatus InstallMultipleCalls;
  ScriptedStatus LocateProtocolCalls;
  ScriptedStatus RegisterProtocolNotifyCalls;

private:
  struct Installation {
    EFI_HANDLE Handle;
    EFI_GUID Protocol;
    VOID *Interface;
    bool Present;
  };

  bool IsHandle(EFI_HANDLE Handle) const;
  Installation *FindOn(EFI_HANDLE Handle, const EFI_GUID &Protocol);
  EFI_STATUS Add(EFI_HANDLE *Handle, const EFI_GUID *Protocol, VOID *Interface);

  EventQueue &Events_;
  // In order of installation; what is taken away stays as a mark, so that the positions in watches hold.
  std::vector<Installation> Installations_;
  // Distinct addresses are all that handles need; none is given out twice.
  std::deque<UINT8> Handles_;
  std::vector<std::unique_ptr<Watch>> Watches_;
  UINTN WatchCount_ = 0;
};

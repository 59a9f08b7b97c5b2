// Events, event groups and task priority levels with the queue semantics of UEFI 2.10, section 7.1, and the
// check of the levels at which the driver calls services. Knows nothing of protocols: a watch is just a
// signalled event.
#pragma once

#include <deque>
#include <memory>
#include <optional>
#include <vector>

#include "simulator/ScriptedStatus.h"
#include "uefi/Uefi.h"

class EventQueue {
public:
  // An event not closed yet. Caller is the place that created it, Number its position among all events.
  struct Event {
    UINT32 Type;
    EFI_TPL Tpl;
    EFI_EVENT_NOTIFY Function;
    const VOID *Context;
    std::optional<EFI_GUID> Group;
    UINTN Number;
    const VOID *Caller;
    bool Open;
    bool Signalled;
  };

  // One run of a notification, in the order in which they started. Returned stays false for one that was left
  // by a halt.
  struct Notification {
    EFI_EVENT Event;
    EFI_EVENT_NOTIFY Function;
    EFI_TPL Tpl;
    bool Returned;
  };

  // CreateEvent (Group NULL) and CreateEventEx. EFI_INVALID_PARAMETER for a NULL place, an unknown type bit,
  // both notify types, a notify type without function or at a level other than TPL_CALLBACK and TPL_NOTIFY,
  // and a group for the two types that are groups of their own.
  EFI_STATUS Create(UINT32 Type, EFI_TPL Tpl, EFI_EVENT_NOTIFY Function, const VOID *Context,
                    const EFI_GUID *Group, EFI_EVENT *Created, const VOID *Caller);

  // SignalEvent and CloseEvent. An event that is not open is a fault and EFI_INVALID_PARAMETER.
  EFI_STATUS Signal(EFI_EVENT Handle);
  EFI_STATUS Close(EFI_EVENT Handle);

  // Signals every open event of the group and lets run what may run at the present level.
  void SignalGroup(const EFI_GUID &Group);

  // RaiseTPL and RestoreTPL as the driver calls them: a move in the wrong direction or to a level that the
  // standard does not name is a fault.
  EFI_TPL Raise(EFI_TPL NewTpl);
  void Restore(EFI_TPL OldTpl);

  // What services do around their work: rise to TPL_NOTIFY unless already there, and come back to Previous
  // with whatever became pending above it dispatched. Between the two no notification runs.
  EFI_TPL Enter();
  void Leave(EFI_TPL Previous);

  // Reports a fault when Service is called above Highest (UEFI 2.10, section 7.1, table of TPL restrictions).
  void RequireAtMost(const char *Service, EFI_TPL Highest) const;

  // Whether a notification is running at TPL_NOTIFY right now.
  bool InNotifyLevelNotification() const {
    return Depth_ != 0 && Tpl_ == TPL_NOTIFY && RunningTpl_ == TPL_NOTIFY;
  }

  bool IsOpen(EFI_EVENT Handle) const { return Find(Handle) != nullptr; }
  EFI_TPL CurrentTpl() const { return Tpl_; }
  std::vector<const Event *> OpenEvents() const;
  const std::vector<Notification> &Notifications() const { return Log_; }

  // How often a notification came down to TPL_APPLICATION by RestoreTPL: the one lowering that is tolerated,
  // because a screen that ends the boot needs the input of the levels it holds off.
  UINTN RestoresToApplication() const { return RestoresToApplication_; }

  ScriptedStatus CreateEventCalls;
  ScriptedStatus CreateEventExCalls;

private:
  Event *Find(EFI_EVENT Handle) const;
  void Mark(Event &Signalled);
  void Dispatch(EFI_TPL Floor);
  void Run(Event &Next);

  // Closed events stay here to the end, so that no event ever gets the address of an earlier one.
  std::vector<std::unique_ptr<Event>> Events_;
  std::deque<Event *> Pending_[TPL_HIGH_LEVEL + 1];
  std::vector<Notification> Log_;
  EFI_TPL Tpl_ = TPL_APPLICATION;
  EFI_TPL RunningTpl_ = TPL_APPLICATION;
  UINTN Depth_ = 0;
  UINTN RestoresToApplication_ = 0;
};

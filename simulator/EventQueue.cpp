// The event queue. Dispatch, Run and their callers hold nothing that needs destroying while driver code runs:
// a stopped boot leaves straight through their frames.
#include "simulator/EventQueue.h"

#include <algorithm>
#include <string>

#include "simulator/DriverCall.h"
#include "simulator/Faults.h"
#include "simulator/Guids.h"

namespace {

bool IsNamedLevel(EFI_TPL Tpl) {
  return Tpl == TPL_APPLICATION || Tpl == TPL_CALLBACK || Tpl == TPL_NOTIFY || Tpl == TPL_HIGH_LEVEL;
}

bool IsValidType(UINT32 Type, bool Grouped) {
  if (Type == EVT_SIGNAL_EXIT_BOOT_SERVICES || Type == EVT_SIGNAL_VIRTUAL_ADDRESS_CHANGE) {
    return !Grouped;
  }
  const UINT32 Notify = EVT_NOTIFY_WAIT | EVT_NOTIFY_SIGNAL;
  return (Type & ~(EVT_TIMER | EVT_RUNTIME | Notify)) == 0 && (Type & Notify) != Notify;
}

} // namespace

EFI_STATUS EventQueue::Create(UINT32 Type, EFI_TPL Tpl, EFI_EVENT_NOTIFY Function, const VOID *Context,
                              const EFI_GUID *Group, EFI_EVENT *Created, const VOID *Caller) {
  const bool Notifies = (Type & (EVT_NOTIFY_WAIT | EVT_NOTIFY_SIGNAL)) != 0;
  if (Created == nullptr || !IsValidType(Type, Group != nullptr) ||
      (Notifies && (Function == nullptr || (Tpl != TPL_CALLBACK && Tpl != TPL_NOTIFY)))) {
    return EFI_INVALID_PARAMETER;
  }
  // Without a notification the level is not looked at, whatever it holds.
  Event Fresh{Type, Notifies ? Tpl : TPL_APPLICATION, Function, Context, {}, Events_.size() + 1, Caller, true,
              false};
  if (Group != nullptr) {
    Fresh.Group = *Group;
  }
  Events_.push_back(std::make_unique<Event>(Fresh));
  *Created = Events_.back().get();
  return EFI_SUCCESS;
}

EFI_STATUS EventQueue::Signal(EFI_EVENT Handle) {
  Event *Target = Find(Handle);
  if (Target == nullptr) {
    ReportFault("SignalEvent: the event is not open");
    return EFI_INVALID_PARAMETER;
  }
  if (Target->Group) {
    SignalGroup(*Target->Group);
    return EFI_SUCCESS;
  }
  const EFI_TPL Previous = Enter();
  Mark(*Target);
  Leave(Previous);
  return EFI_SUCCESS;
}

void EventQueue::SignalGroup(const EFI_GUID &Group) {
  const EFI_TPL Previous = Enter();
  for (const auto &Member : Events_) {
    if (Member->Open && Member->Group && SameGuid(*Member->Group, Group)) {
      Mark(*Member);
    }
  }
  Leave(Previous);
}

EFI_STATUS EventQueue::Close(EFI_EVENT Handle) {
  Event *Target = Find(Handle);
  if (Target == nullptr) {
    ReportFault("CloseEvent: the event is not open");
    return EFI_INVALID_PARAMETER;
  }
  std::erase(Pending_[Target->Tpl], Target);
  Target->Open = false;
  return EFI_SUCCESS;
}

EFI_TPL EventQueue::Raise(EFI_TPL NewTpl) {
  const EFI_TPL Previous = Tpl_;
  if (!IsNamedLevel(NewTpl) || NewTpl < Tpl_) {
    ReportFault("RaiseTPL: from " + std::to_string(Tpl_) + " to " + std::to_string(NewTpl));
    return Previous;
  }
  Tpl_ = NewTpl;
  return Previous;
}

void EventQueue::Restore(EFI_TPL OldTpl) {
  if (!IsNamedLevel(OldTpl) || OldTpl > Tpl_) {
    ReportFault("RestoreTPL: from " + std::to_string(Tpl_) + " to " + std::to_string(OldTpl));
    return;
  }
  if (Depth_ != 0 && OldTpl < RunningTpl_) {
    if (OldTpl == TPL_APPLICATION) {
      ++RestoresToApplication_;
    } else {
      ReportFault("RestoreTPL: a notification at " + std::to_string(RunningTpl_) + " came down to " +
                  std::to_string(OldTpl));
    }
  }
  Dispatch(OldTpl);
  Tpl_ = OldTpl;
}

EFI_TPL EventQueue::Enter() {
  const EFI_TPL Previous = Tpl_;
  Tpl_ = std::max(Tpl_, TPL_NOTIFY);
  return Previous;
}

void EventQueue::Leave(EFI_TPL Previous) {
  Dispatch(Previous);
  Tpl_ = Previous;
}

void EventQueue::RequireAtMost(const char *Service, EFI_TPL Highest) const {
  if (Tpl_ > Highest) {
    ReportFault(std::string(Service) + ": called at TPL " + std::to_string(Tpl_) + ", allowed up to " +
                std::to_string(Highest));
  }
}

std::vector<const EventQueue::Event *> EventQueue::OpenEvents() const {
  std::vector<const Event *> Open;
  for (const auto &Candidate : Events_) {
    if (Candidate->Open) {
      Open.push_back(Candidate.get());
    }
  }
  return Open;
}

EventQueue::Event *EventQueue::Find(EFI_EVENT Handle) const {
  for (const auto &Candidate : Events_) {
    if (Candidate.get() == Handle) {
      return Candidate->Open ? Candidate.get() : nullptr;
    }
  }
  return nullptr;
}

void EventQueue::Mark(Event &Signalled) {
  if (Signalled.Signalled) {
    return;
  }
  Signalled.Signalled = true;
  if ((Signalled.Type & EVT_NOTIFY_SIGNAL) != 0) {
    Pending_[Signalled.Tpl].push_back(&Signalled);
  }
}

void EventQueue::Dispatch(EFI_TPL Floor) {
  // Whatever a notification signals above its own level runs inside it, so no level has to be looked at
  // again.
  for (EFI_TPL Level = TPL_HIGH_LEVEL; Level > Floor; --Level) {
    while (!Pending_[Level].empty()) {
      Event *Next = Pending_[Level].front();
      Pending_[Level].pop_front();
      Run(*Next);
    }
  }
}

void EventQueue::Run(Event &Next) {
  const EFI_TPL OuterRunning = RunningTpl_;
  const UINTN Entry = Log_.size();
  Log_.push_back({&Next, Next.Function, Next.Tpl, false});
  // Cleared before the call, so that a notification can signal its own event for another run.
  Next.Signalled = false;
  RunningTpl_ = Tpl_ = Next.Tpl;
  ++Depth_;
  CallDriver(Next.Tpl == TPL_NOTIFY ? "notification at TPL_NOTIFY" : "notification at TPL_CALLBACK",
             reinterpret_cast<const VOID *>(Next.Function),
             {reinterpret_cast<UINT64>(&Next), reinterpret_cast<UINT64>(Next.Context)});
  --Depth_;
  if (Tpl_ != RunningTpl_) {
    ReportFault("a notification at " + std::to_string(RunningTpl_) + " returned at TPL " +
                std::to_string(Tpl_));
  }
  RunningTpl_ = OuterRunning;
  Log_[Entry].Returned = true;
}

// The handle database. Every change happens between Enter and Leave of the event queue; nothing that needs
// destroying is held across Leave, because notifications run there and a stopped boot does not return.
#include "simulator/HandleDatabase.h"

#include <algorithm>
#include <string>

#include "simulator/Faults.h"
#include "simulator/Guids.h"

EFI_STATUS HandleDatabase::Install(EFI_HANDLE *Handle, const EFI_GUID *Protocol, VOID *Interface) {
  if (Handle == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  EFI_HANDLE Target = *Handle;
  const EFI_TPL Previous = Events_.Enter();
  const EFI_STATUS Status = Add(&Target, Protocol, Interface);
  Events_.Leave(Previous);
  if (!EFI_ERROR(Status)) {
    *Handle = Target;
  }
  return Status;
}

EFI_STATUS HandleDatabase::InstallMultiple(EFI_HANDLE *Handle, const Pair *Pairs, UINTN Count) {
  if (Handle == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  EFI_HANDLE Target = *Handle;
  EFI_STATUS Status = EFI_SUCCESS;
  const EFI_TPL Previous = Events_.Enter();
  for (UINTN Index = 0; Index < Count && !EFI_ERROR(Status); ++Index) {
    Status = Add(&Target, Pairs[Index].Protocol, Pairs[Index].Interface);
    if (EFI_ERROR(Status)) {
      for (UINTN Done = 0; Done < Index; ++Done) {
        FindOn(Target, *Pairs[Done].Protocol)->Present = false;
      }
    }
  }
  Events_.Leave(Previous);
  if (!EFI_ERROR(Status)) {
    *Handle = Target;
  }
  return Status;
}

EFI_STATUS HandleDatabase::Locate(const EFI_GUID *Protocol, VOID *Registration, VOID **Interface) {
  if (Protocol == nullptr || Interface == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  *Interface = nullptr;
  if (Registration == nullptr) {
    for (const Installation &Candidate : Installations_) {
      if (Candidate.Present && SameGuid(Candidate.Protocol, *Protocol)) {
        *Interface = Candidate.Interface;
        return EFI_SUCCESS;
      }
    }
    return EFI_NOT_FOUND;
  }
  const auto Known = std::find_if(Watches_.begin(), Watches_.end(),
                                  [&](const auto &Candidate) { return Candidate.get() == Registration; });
  if (Known == Watches_.end()) {
    ReportFault("LocateProtocol: the registration is not known");
    return EFI_NOT_FOUND;
  }
  Watch &Asked = **Known;
  while (SameGuid(Asked.Protocol, *Protocol) && !Asked.Fresh.empty()) {
    const Installation &Next = Installations_[Asked.Fresh.front()];
    Asked.Fresh.pop_front();
    if (Next.Present) {
      *Interface = Next.Interface;
      return EFI_SUCCESS;
    }
  }
  return EFI_NOT_FOUND;
}

EFI_STATUS HandleDatabase::OnHandle(EFI_HANDLE Handle, const EFI_GUID *Protocol, VOID **Interface) {
  if (!IsHandle(Handle) || Protocol == nullptr || Interface == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  const Installation *Found = FindOn(Handle, *Protocol);
  *Interface = Found != nullptr ? Found->Interface : nullptr;
  return Found != nullptr ? EFI_SUCCESS : EFI_UNSUPPORTED;
}

EFI_STATUS HandleDatabase::RegisterNotify(const EFI_GUID *Protocol, EFI_EVENT Event, VOID **Registration,
                                          const VOID *Caller) {
  if (Protocol == nullptr || Event == nullptr || Registration == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  if (!Events_.IsOpen(Event)) {
    ReportFault("RegisterProtocolNotify: the event is not open");
    return EFI_INVALID_PARAMETER;
  }
  Watches_.push_back(std::make_unique<Watch>(Watch{*Protocol, Event, ++WatchCount_, Caller, {}}));
  *Registration = Watches_.back().get();
  return EFI_SUCCESS;
}

void HandleDatabase::ForgetEvent(EFI_EVENT Event) {
  std::erase_if(Watches_, [&](const auto &Candidate) { return Candidate->Event == Event; });
}

EFI_HANDLE HandleDatabase::InstallHost(const EFI_GUID &Protocol, VOID *Interface) {
  EFI_HANDLE Handle = nullptr;
  (void)Install(&Handle, &Protocol, Interface);
  return Handle;
}

void HandleDatabase::UninstallHost(EFI_HANDLE Handle, const EFI_GUID &Protocol) {
  Installation *Found = FindOn(Handle, Protocol);
  if (Found == nullptr) {
    AbortRun("UninstallHost: " + GuidText(Protocol) + " is not on the handle");
  }
  Found->Present = false;
}

UINTN HandleDatabase::Count(const EFI_GUID &Protocol) const {
  return static_cast<UINTN>(
      std::count_if(Installations_.begin(), Installations_.end(), [&](const Installation &Candidate) {
        return Candidate.Present && SameGuid(Candidate.Protocol, Protocol);
      }));
}

VOID *HandleDatabase::Find(const EFI_GUID &Protocol) const {
  for (const Installation &Candidate : Installations_) {
    if (Candidate.Present && SameGuid(Candidate.Protocol, Protocol)) {
      return Candidate.Interface;
    }
  }
  return nullptr;
}

std::vector<const HandleDatabase::Watch *> HandleDatabase::OpenWatches() const {
  std::vector<const Watch *> Open;
  for (const auto &Candidate : Watches_) {
    Open.push_back(Candidate.get());
  }
  return Open;
}

// A handle lives as long as it carries an interface.
bool HandleDatabase::IsHandle(EFI_HANDLE Handle) const {
  return Handle != nullptr &&
         std::any_of(Installations_.begin(), Installations_.end(), [&](const Installation &Candidate) {
           return Candidate.Present && Candidate.Handle == Handle;
         });
}

HandleDatabase::Installation *HandleDatabase::FindOn(EFI_HANDLE Handle, const EFI_GUID &Protocol) {
  for (Installation &Candidate : Installations_) {
    if (Candidate.Present && Candidate.Handle == Handle && SameGuid(Candidate.Protocol, Protocol)) {
      return &Candidate;
    }
  }
  return nullptr;
}

EFI_STATUS HandleDatabase::Add(EFI_HANDLE *Handle, const EFI_GUID *Protocol, VOID *Interface) {
  if (Protocol == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  if (*Handle == nullptr) {
    Handles_.push_back(0);
    *Handle = &Handles_.back();
  } else if (!IsHandle(*Handle) || FindOn(*Handle, *Protocol) != nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  Installations_.push_back({*Handle, *Protocol, Interface, true});
  for (const auto &Watching : Watches_) {
    if (SameGuid(Watching->Protocol, *Protocol)) {
      Watching->Fresh.push_back(Installations_.size() - 1);
      Events_.Signal(Watching->Event);
    }
  }
  return EFI_SUCCESS;
}

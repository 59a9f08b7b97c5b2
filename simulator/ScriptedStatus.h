// Makes a service fail on chosen calls and counts its calls: what a test scripts in front of every service
// that can fail. Holds no behaviour of the service itself.
#pragma once

#include <map>

#include "uefi/Base.h"

class ScriptedStatus {
public:
  // Lets one call fail with Status: the Call-th from now, 1 being the next one.
  void FailAt(UINTN Call, EFI_STATUS Status) { Single_[Calls_ + Call] = Status; }

  // Lets every call from the Call-th on, counted the same way, fail with Status.
  void FailFrom(UINTN Call, EFI_STATUS Status) {
    From_ = Calls_ + Call;
    FromStatus_ = Status;
  }

  // Drops everything scripted; the count stays.
  void Clear() {
    Single_.clear();
    From_ = 0;
  }

  // Calls made so far, failed ones included.
  UINTN Calls() const { return Calls_; }

  // For the service: counts a call and gives its scripted failure, or EFI_SUCCESS when it is to go on.
  EFI_STATUS NextCall() {
    ++Calls_;
    if (auto Entry = Single_.find(Calls_); Entry != Single_.end()) {
      return Entry->second;
    }
    return From_ != 0 && Calls_ >= From_ ? FromStatus_ : EFI_SUCCESS;
  }

private:
  std::map<UINTN, EFI_STATUS> Single_;
  UINTN From_ = 0;
  EFI_STATUS FromStatus_ = EFI_SUCCESS;
  UINTN Calls_ = 0;
};

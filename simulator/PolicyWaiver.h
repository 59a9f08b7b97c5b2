// The platform module that can waive the policy check after an image's signature has been verified. Its
// interface carries no pointer to itself, so one lives at a time.
#pragma once

#include "uefi/PolicyCheckWaiverProtocol.h"

class PolicyWaiver {
public:
  PolicyWaiver();
  ~PolicyWaiver();
  PolicyWaiver(const PolicyWaiver &) = delete;
  PolicyWaiver &operator=(const PolicyWaiver &) = delete;

  // The interface to install.
  POLICY_CHECK_WAIVER_PROTOCOL Interface;

  // What IsWaived answers, and how often it was asked.
  BOOLEAN Answer = TRUE;
  UINTN Calls = 0;

private:
  static BOOLEAN EFIAPI IsWaived();
};

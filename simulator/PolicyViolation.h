// A module-policy violation as a test or a tool states it, and as the record that carries it to the driver.
#pragma once

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "uefi/PolicyViolationRecord.h"

struct PolicyViolation {
  INT32 Reason = 0;
  UINT32 Kind = 0;
  // What exceeds the record's field is cut off; a name that fills it has no NUL.
  std::string ModuleName = {};

  POLICY_VIOLATION_RECORD Record() const {
    POLICY_VIOLATION_RECORD Filled = {};
    Filled.Reason = Reason;
    Filled.Kind = Kind;
    std::memcpy(Filled.ModuleName, ModuleName.data(), std::min(ModuleName.size(), sizeof(Filled.ModuleName)));
    return Filled;
  }

  // The bytes of the record, for a hand-off block.
  std::vector<UINT8> Bytes() const {
    const POLICY_VIOLATION_RECORD Filled = Record();
    const auto *Start = reinterpret_cast<const UINT8 *>(&Filled);
    return {Start, Start + sizeof(Filled)};
  }
};

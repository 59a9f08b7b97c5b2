// The record of a refused module that an earlier boot phase leaves behind (PI
// 1.7, volume 3, section 5).
#pragma once

#include "uefi/Uefi.h"

// The first POLICY_VIOLATION_RECORD in the HOB list that starts at HobList
// (may be NULL), of any alignment and valid as long as the driver; NULL when
// there is none. The list ends with its end block or at a block whose length
// cannot be a step. A block by the record's name is a record whatever its
// length; what its length leaves out is zero.
[[nodiscard]] VOID *FindPolicyRecord(const VOID *HobList);

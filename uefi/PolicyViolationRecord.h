// POLICY_VIOLATION_RECORD: what an earlier boot phase, or the handler in system-management mode, says about a
// module that broke the platform's security policy. The name may lack its NUL and must be read within its
// bounds.
#pragma once

#include "uefi/Base.h"

// Names the GUID hand-off block whose data is one record.
#define POLICY_VIOLATION_HOB_GUID                                                                            \
  EFI_GUID_INITIALIZER(0x5a7f731d, 0xb069, 0x49de, 0xab, 0x5c, 0xe2, 0x72, 0x1e, 0xab, 0x72, 0xbf)

#define POLICY_VIOLATION_NAME_SIZE 96

// Kind when a required module was left out of the firmware build; other values have no meaning of their own.
#define POLICY_VIOLATION_KIND_EXCLUDED_MODULE 2

typedef struct {
  // Signed. 0 to 3: test code in production firmware; 4 to 7: a production policy was not met; else unknown.
  INT32 Reason;
  CHAR8 ModuleName[POLICY_VIOLATION_NAME_SIZE];
  UINT32 Kind;
} POLICY_VIOLATION_RECORD;

#ifdef __cplusplus
inline constexpr EFI_GUID mPolicyViolationHobGuid = POLICY_VIOLATION_HOB_GUID;
#endif

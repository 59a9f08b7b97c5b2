// The walk over the hand-off blocks. Their lengths are foreign and may leave
// blocks unaligned: everything is read by copying, and no further than the
// decision at hand needs.
#include "driver/policy/PolicyRecord.h"

#include "driver/platform/Memory.h"
#include "uefi/Hob.h"
#include "uefi/PolicyViolationRecord.h"

namespace {

// Stands in for a record that is shorter than it should be, also as the
// context of an event.
POLICY_VIOLATION_RECORD CompletedRecord;

// The comparison stops within the first half of a name that differs there,
// before the end of the smallest block that can follow.
bool IsPolicyRecord(const UINT8 *Hob, UINT16 Type) {
  return Type == EFI_HOB_TYPE_GUID_EXTENSION &&
         CompareMemory(Hob + sizeof(EFI_HOB_GENERIC_HEADER), &mPolicyViolationHobGuid, sizeof(EFI_GUID)) == 0;
}

VOID *RecordIn(const UINT8 *Hob, UINT16 Length) {
  const UINT8 *Data = Hob + sizeof(EFI_HOB_GUID_TYPE);
  if (Length >= sizeof(EFI_HOB_GUID_TYPE) + sizeof(POLICY_VIOLATION_RECORD)) {
    return const_cast<UINT8 *>(Data);
  }
  if (Length > sizeof(EFI_HOB_GUID_TYPE)) {
    MoveMemory(&CompletedRecord, Data, Length - sizeof(EFI_HOB_GUID_TYPE));
  }
  return &CompletedRecord;
}

} // namespace

VOID *FindPolicyRecord(const VOID *HobList) {
  const auto *Hob = static_cast<const UINT8 *>(HobList);
  while (Hob != nullptr) {
    EFI_HOB_GENERIC_HEADER Header;
    MoveMemory(&Header, Hob, sizeof(Header));
    if (IsPolicyRecord(Hob, Header.HobType)) {
      return RecordIn(Hob, Header.HobLength);
    }
    if (Header.HobType == EFI_HOB_TYPE_END_OF_HOB_LIST || Header.HobLength < sizeof(Header)) {
      break;
    }
    Hob += Header.HobLength;
  }
  return nullptr;
}

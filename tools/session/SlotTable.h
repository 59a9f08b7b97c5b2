// What the 62 slots of the service table are, for whoever lists them by number: name, family, kind of result.
#pragma once

#include "uefi/Base.h"

#include "CryptoServicesProtocol.h"

enum class ResultKind { Status, Boolean, Size, Context, Nothing };

struct SlotInfo {
  const char *Name;
  // The facility it belongs to, in a word or two.
  const char *Family;
  ResultKind Kind;
};

// Slot is 0 to 61.
SlotInfo DescribeSlot(UINTN Slot);

// "EFI_STATUS", "BOOLEAN", "UINTN", "VOID *" or "VOID".
const char *KindName(ResultKind Kind);

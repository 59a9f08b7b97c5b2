// What the 62 slots of the service table are, for whoever lists or drives them by number: name, family, kind
// of result, and whether the driver at hand serves them. Calls none of them.
#pragma once

#include <string>
#include <vector>

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

// The entry in a slot, as an address.
const UINT8 *SlotCode(const CRYPTO_SERVICES_PROTOCOL *Table, UINTN Slot);

// Whether the slot's whole code is a refusal: xor eax,eax; ret (FALSE, 0 or NULL), movabs
// rax,EFI_UNSUPPORTED; ret, or a lone ret for a slot that answers nothing. That is what the optimised builds
// hold for a service that is not there; an unoptimised or instrumented build has longer code, and there every
// slot counts as served.
bool IsRefused(const CRYPTO_SERVICES_PROTOCOL *Table, UINTN Slot);

// The slots of Table that are refused, in order.
std::vector<UINTN> RefusedSlots(const CRYPTO_SERVICES_PROTOCOL *Table);

// "0, 3-5, 9" for slots in ascending order.
std::string SlotRanges(const std::vector<UINTN> &Slots);

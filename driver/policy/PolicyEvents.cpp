// Sending, caching and deferring of policy events. The answers are cached in
// the driver context; a deferred event owns its copy until it is sent.
#include "driver/policy/PolicyEvents.h"

#include "driver/core/DriverContext.h"
#include "driver/platform/Events.h"
#include "driver/platform/Memory.h"
#include "driver/platform/Pool.h"
#include "driver/policy/PrivilegedExchange.h"
#include "uefi/PrivChannelReadyProtocol.h"

namespace {

struct DEFERRED_POLICY_EVENT {
  INT32 Code;
  // Zero bytes always follow the data.
  CHAR8 Data[PRIV_MESSAGE_DATA_SIZE + 4];
};

static_assert(sizeof(DEFERRED_POLICY_EVENT) == 104);

bool IsAnsweredFromCache(INT32 Code) {
  return Code >= 0 && Code <= 7 && Code % 2 == 1;
}

// Sends the copy at Context, once, as a NUL-terminated text: a zero byte in the
// data ends it.
VOID EFIAPI DeferredPolicyEventNotify(EFI_EVENT Event, VOID *Context) {
  if (Context == nullptr) {
    return;
  }
  // A later installation of the protocol must not find the copy again.
  DriverContext.BootServices->CloseEvent(Event);
  PoolBlock<DEFERRED_POLICY_EVENT> Deferred(static_cast<DEFERRED_POLICY_EVENT *>(Context));
  UINTN Length = 0;
  while (Deferred.Get()->Data[Length] != 0) {
    Length++;
  }
  // Nobody is left to hear the answer; it is remembered for later events.
  (void)SendPolicyEvent(Deferred.Get()->Code, Deferred.Get()->Data, Length);
}

EFI_STATUS Defer(INT32 Code, const CHAR8 *Data, UINTN DataSize) {
  PoolBlock<DEFERRED_POLICY_EVENT> Copy(
      static_cast<DEFERRED_POLICY_EVENT *>(AllocateZeroedPool(sizeof(DEFERRED_POLICY_EVENT))));
  if (!Copy) {
    return EFI_NOT_FOUND;
  }
  Copy.Get()->Code = Code;
  BoundedCopy(Copy.Get()->Data, PRIV_MESSAGE_DATA_SIZE, Data, DataSize);
  EFI_STATUS Status = WatchForProtocol(mPrivChannelReadyProtocolGuid, TPL_CALLBACK, DeferredPolicyEventNotify,
                                       Copy.Get(), nullptr);
  if (!EFI_ERROR(Status)) {
    (void)Copy.Release();
  }
  return Status;
}

} // namespace

EFI_STATUS SendPolicyEvent(INT32 Code, const CHAR8 *Data, UINTN DataSize) {
  if (DriverContext.PrivEventSent && IsAnsweredFromCache(Code)) {
    return DriverContext.PrivEventSucceeded ? EFI_SUCCESS : EFI_SECURITY_VIOLATION;
  }
  UINT32 Sent = static_cast<UINT32>(Code);
  EFI_STATUS Status =
      PrivilegedExchange(PRIV_FUNCTION_SEND, &Sent, const_cast<CHAR8 *>(Data), DataSize, nullptr);
  if (Status == EFI_SUCCESS || Status == EFI_SECURITY_VIOLATION) {
    DriverContext.PrivEventSent = TRUE;
    DriverContext.PrivEventSucceeded = Status == EFI_SUCCESS;
  }
  return Status == EFI_NOT_FOUND ? Defer(Code, Data, DataSize) : Status;
}

EFI_STATUS EFIAPI SvcReportPolicyEvent(INT32 Code, const CHAR8 *Data, UINTN DataSize) {
  if (Code < 0 || Code > 7) {
    return EFI_SECURITY_VIOLATION;
  }
  return Code <= 3 ? SendPolicyEvent(Code, Data, DataSize) : EFI_SUCCESS;
}

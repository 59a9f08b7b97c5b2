// Protocol watches and ready-to-boot notifications over the boot services.
#include "driver/platform/Events.h"

#include "driver/core/DriverContext.h"
#include "uefi/EventGroups.h"

EFI_STATUS WatchForProtocol(const EFI_GUID &Protocol, EFI_TPL NotifyTpl, EFI_EVENT_NOTIFY Notify,
                            VOID *Context, VOID **RegistrationKey) {
  EFI_BOOT_SERVICES *Boot = DriverContext.BootServices;
  EFI_EVENT Event = nullptr;
  EFI_STATUS Status = Boot->CreateEvent(EVT_NOTIFY_SIGNAL, NotifyTpl, Notify, Context, &Event);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  VOID *LocalKey = nullptr;
  Status = Boot->RegisterProtocolNotify(&Protocol, Event,
                                        RegistrationKey != nullptr ? RegistrationKey : &LocalKey);
  if (EFI_ERROR(Status)) {
    Boot->CloseEvent(Event);
  }
  return Status;
}

static VOID EFIAPI EmptyNotify(EFI_EVENT, VOID *) {}

EFI_STATUS RegisterReadyToBootCallback(EFI_TPL NotifyTpl, EFI_EVENT_NOTIFY Notify, EFI_EVENT *Event) {
  return DriverContext.BootServices->CreateEventEx(EVT_NOTIFY_SIGNAL, NotifyTpl,
                                                   Notify != nullptr ? Notify : EmptyNotify, nullptr,
                                                   &mEfiEventGroupReadyToBootGuid, Event);
}

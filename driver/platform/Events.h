// Event notifications (UEFI 2.10, section 7.1): protocol watches and the
// ready-to-boot group. Events made here are never closed by this layer.
#pragma once

#include "uefi/Uefi.h"

// Runs Notify with Context at NotifyTpl on each later installation of Protocol;
// an installation that has already happened does not count. RegistrationKey
// may be NULL. Returns the status of the failing call; the event is closed
// again when the registration fails.
[[nodiscard]] EFI_STATUS WatchForProtocol(const EFI_GUID &Protocol, EFI_TPL NotifyTpl,
                                          EFI_EVENT_NOTIFY Notify, VOID *Context, VOID **RegistrationKey);

// Makes an event of the ready-to-boot group and stores it in *Event. A NULL
// Notify stands for a notification that does nothing. The firmware must be of
// UEFI 2.0 or later. Returns the status of CreateEventEx.
[[nodiscard]] EFI_STATUS RegisterReadyToBootCallback(EFI_TPL NotifyTpl, EFI_EVENT_NOTIFY Notify,
                                                     EFI_EVENT *Event);

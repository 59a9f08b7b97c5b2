// Typed lookup of a protocol interface (UEFI 2.10, section 7.3.16).
#pragma once

#include "driver/core/DriverContext.h"
#include "uefi/Uefi.h"

// Stores the first installed interface of Protocol in *Interface; NULL there
// on every failure. Returns the status of LocateProtocol.
template <typename INTERFACE> EFI_STATUS LocateInterface(const EFI_GUID &Protocol, INTERFACE **Interface) {
  VOID *Found = nullptr;
  EFI_STATUS Status = DriverContext.BootServices->LocateProtocol(&Protocol, nullptr, &Found);
  *Interface = EFI_ERROR(Status) ? nullptr : static_cast<INTERFACE *>(Found);
  return Status;
}

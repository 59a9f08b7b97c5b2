// The platform's announcements to the driver: marker protocols whose presence alone has a meaning.
#pragma once

#include "simulator/SimulatedFirmware.h"
#include "uefi/DisplayReadyProtocol.h"
#include "uefi/PrivChannelReadyProtocol.h"

// Each installs its protocol on a new handle, as often as it is called. The interfaces point nowhere:
// following one ends the run.
inline EFI_HANDLE AnnounceDisplay(SimulatedFirmware &Firmware) {
  return Firmware.Handles.InstallHost(mDisplayReadyProtocolGuid, reinterpret_cast<VOID *>(UINTN{1}));
}

inline EFI_HANDLE AnnounceChannel(SimulatedFirmware &Firmware) {
  return Firmware.Handles.InstallHost(mPrivChannelReadyProtocolGuid, reinterpret_cast<VOID *>(UINTN{1}));
}

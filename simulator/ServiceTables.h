// Fills the boot and runtime services tables with the living firmware's services. Every member is filled;
// those that the driver has no business calling end the run with their name.
#pragma once

#include "uefi/Uefi.h"

// Services and headers up to the checksum, which SealTable adds. A revision below 2.0 gives the shorter
// tables of that time, and the members behind their ends end the run.
void FillBootServices(EFI_BOOT_SERVICES &Table, UINT32 Revision, bool PlainPool);
void FillRuntimeServices(EFI_RUNTIME_SERVICES &Table, UINT32 Revision);

// Brings Header.CRC32 up to date with the HeaderSize bytes that start at Header (UEFI 2.10, section 4.2).
void SealTable(EFI_TABLE_HEADER &Header);

// The system table, the configuration table and the shape of an image's entry point (UEFI 2.10, sections 4.1,
// 4.3 and 4.6). The console protocols stay opaque: nothing here may draw on them.
#pragma once

#include "uefi/Base.h"
#include "uefi/BootServices.h"
#include "uefi/RuntimeServices.h"

typedef struct EFI_SIMPLE_TEXT_INPUT_PROTOCOL EFI_SIMPLE_TEXT_INPUT_PROTOCOL;
typedef struct EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL;

typedef struct {
  EFI_GUID VendorGuid;
  VOID *VendorTable;
} EFI_CONFIGURATION_TABLE;

#define EFI_SYSTEM_TABLE_SIGNATURE 0x5453595320494249

// Revisions: the major number in the upper half, ten times the minor number (plus the patch number) in the
// lower.
#define EFI_2_100_SYSTEM_TABLE_REVISION 0x00020064
#define EFI_2_00_SYSTEM_TABLE_REVISION 0x00020000
#define EFI_1_10_SYSTEM_TABLE_REVISION 0x0001000A

typedef struct {
  EFI_TABLE_HEADER Hdr;
  CHAR16 *FirmwareVendor;
  UINT32 FirmwareRevision;
  EFI_HANDLE ConsoleInHandle;
  EFI_SIMPLE_TEXT_INPUT_PROTOCOL *ConIn;
  EFI_HANDLE ConsoleOutHandle;
  EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL *ConOut;
  EFI_HANDLE StandardErrorHandle;
  EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL *StdErr;
  EFI_RUNTIME_SERVICES *RuntimeServices;
  EFI_BOOT_SERVICES *BootServices;
  UINTN NumberOfTableEntries;
  EFI_CONFIGURATION_TABLE *ConfigurationTable;
} EFI_SYSTEM_TABLE;

typedef EFI_STATUS(EFIAPI *EFI_IMAGE_ENTRY_POINT)(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable);

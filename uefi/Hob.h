// Hand-off blocks that an earlier boot phase leaves for the driver phase (PI 1.7, volume 3, section 5).
// HobLength counts the whole block in bytes; a reader must not trust it. Declares the blocks that are read or
// built here.
#pragma once

#include "uefi/Base.h"

// Names the configuration table entry whose VendorTable is the first block of the list.
#define EFI_HOB_LIST_GUID                                                                                    \
  EFI_GUID_INITIALIZER(0x7739f24c, 0x93d7, 0x11d4, 0x9a, 0x3a, 0x00, 0x90, 0x27, 0x3f, 0xc1, 0x4d)

#define EFI_HOB_TYPE_HANDOFF 0x0001
#define EFI_HOB_TYPE_MEMORY_ALLOCATION 0x0002
#define EFI_HOB_TYPE_RESOURCE_DESCRIPTOR 0x0003
#define EFI_HOB_TYPE_GUID_EXTENSION 0x0004
#define EFI_HOB_TYPE_FV 0x0005
#define EFI_HOB_TYPE_CPU 0x0006
#define EFI_HOB_TYPE_MEMORY_POOL 0x0007
#define EFI_HOB_TYPE_FV2 0x0009
#define EFI_HOB_TYPE_UEFI_CAPSULE 0x000B
#define EFI_HOB_TYPE_FV3 0x000C
#define EFI_HOB_TYPE_UNUSED 0xFFFE
#define EFI_HOB_TYPE_END_OF_HOB_LIST 0xFFFF

typedef struct {
  UINT16 HobType;
  UINT16 HobLength;
  UINT32 Reserved;
} EFI_HOB_GENERIC_HEADER;

// The data follows the name.
typedef struct {
  EFI_HOB_GENERIC_HEADER Header;
  EFI_GUID Name;
} EFI_HOB_GUID_TYPE;

typedef UINT32 EFI_BOOT_MODE;
#define BOOT_WITH_FULL_CONFIGURATION 0x00

#define EFI_HOB_HANDOFF_TABLE_VERSION 0x0009

// The first block of every list.
typedef struct {
  EFI_HOB_GENERIC_HEADER Header;
  UINT32 Version;
  EFI_BOOT_MODE BootMode;
  EFI_PHYSICAL_ADDRESS EfiMemoryTop;
  EFI_PHYSICAL_ADDRESS EfiMemoryBottom;
  EFI_PHYSICAL_ADDRESS EfiFreeMemoryTop;
  EFI_PHYSICAL_ADDRESS EfiFreeMemoryBottom;
  EFI_PHYSICAL_ADDRESS EfiEndOfHobList;
} EFI_HOB_HANDOFF_INFO_TABLE;

#ifdef __cplusplus
inline constexpr EFI_GUID mEfiHobListGuid = EFI_HOB_LIST_GUID;
#endif

// Every offset and size that the firmware interface fixes, asserted at compile time for each target the tree
// is built for. Holds no code; a number here comes from the public standard, never from the header it checks.

#include "uefi/Base.h"
#include "uefi/BootServices.h"
#include "uefi/DisplayReadyProtocol.h"
#include "uefi/EventGroups.h"
#include "uefi/GlobalVariable.h"
#include "uefi/HiiDatabase.h"
#include "uefi/HiiFont.h"
#include "uefi/HiiPackages.h"
#include "uefi/HiiString.h"
#include "uefi/Hob.h"
#include "uefi/ImageLayoutProtocol.h"
#include "uefi/MessageDialogProtocol.h"
#include "uefi/PeImage.h"
#include "uefi/PolicyCheckWaiverProtocol.h"
#include "uefi/PolicyViolationRecord.h"
#include "uefi/PrivChannelReadyProtocol.h"
#include "uefi/PrivMessage.h"
#include "uefi/RuntimeServices.h"
#include "uefi/SmmCommunication.h"
#include "uefi/SystemTable.h"
#include "uefi/Uefi.h"
#include "uefi/ValidationPolicyProtocol.h"

#define AT(Type, Member, Offset) static_assert(offsetof(Type, Member) == (Offset), #Type "." #Member)
#define SIZE(Type, Size) static_assert(sizeof(Type) == (Size), #Type)

namespace {

template <typename A, typename B> inline constexpr bool mSame = false;
template <typename A> inline constexpr bool mSame<A, A> = true;

// The crypto library sees these names through the C headers, where they are the exact-width types.
static_assert(mSame<INT8, int8_t> && mSame<INT16, int16_t> && mSame<INT32, int32_t> && mSame<INT64, int64_t>);
static_assert(mSame<UINT8, uint8_t> && mSame<UINT16, uint16_t> && mSame<UINT32, uint32_t>);
static_assert(mSame<UINT64, uint64_t> && mSame<UINTN, uint64_t> && mSame<INTN, int64_t>);

SIZE(UINTN, sizeof(VOID *));
SIZE(CHAR16, 2);
SIZE(BOOLEAN, 1);
SIZE(EFI_STATUS, 8);
SIZE(EFI_TPL, 8);
SIZE(EFI_HANDLE, 8);
SIZE(EFI_EVENT, 8);
SIZE(EFI_MEMORY_TYPE, 4);
SIZE(EFI_ALLOCATE_TYPE, 4);
SIZE(EFI_LOCATE_SEARCH_TYPE, 4);
SIZE(EFI_RESET_TYPE, 4);

static_assert(EFI_NOT_FOUND == 0x800000000000000E && EFI_SECURITY_VIOLATION == 0x800000000000001A);
static_assert(EFI_ERROR(EFI_LOAD_ERROR) && !EFI_ERROR(EFI_SUCCESS) && !EFI_ERROR(EFI_WARN_STALE_DATA));
static_assert(EfiBootServicesData == 4 && EfiACPIMemoryNVS == 10 && EfiMaxMemoryType == 16);

SIZE(EFI_GUID, 16);
AT(EFI_GUID, Data1, 0);
AT(EFI_GUID, Data2, 4);
AT(EFI_GUID, Data3, 6);
AT(EFI_GUID, Data4, 8);
SIZE(EFI_TABLE_HEADER, 24);
AT(EFI_TABLE_HEADER, Signature, 0);
AT(EFI_TABLE_HEADER, Revision, 8);
AT(EFI_TABLE_HEADER, HeaderSize, 12);
AT(EFI_TABLE_HEADER, CRC32, 16);
AT(EFI_TABLE_HEADER, Reserved, 20);
SIZE(EFI_TIME, 16);
AT(EFI_TIME, Year, 0);
AT(EFI_TIME, Month, 2);
AT(EFI_TIME, Day, 3);
AT(EFI_TIME, Hour, 4);
AT(EFI_TIME, Minute, 5);
AT(EFI_TIME, Second, 6);
AT(EFI_TIME, Nanosecond, 8);
AT(EFI_TIME, TimeZone, 12);
AT(EFI_TIME, Daylight, 14);
SIZE(EFI_TIME_CAPABILITIES, 12);
AT(EFI_TIME_CAPABILITIES, Resolution, 0);
AT(EFI_TIME_CAPABILITIES, Accuracy, 4);
AT(EFI_TIME_CAPABILITIES, SetsToZero, 8);
SIZE(EFI_MEMORY_DESCRIPTOR, 40);
AT(EFI_MEMORY_DESCRIPTOR, Type, 0);
AT(EFI_MEMORY_DESCRIPTOR, PhysicalStart, 8);
AT(EFI_MEMORY_DESCRIPTOR, VirtualStart, 16);
AT(EFI_MEMORY_DESCRIPTOR, NumberOfPages, 24);
AT(EFI_MEMORY_DESCRIPTOR, Attribute, 32);
SIZE(EFI_OPEN_PROTOCOL_INFORMATION_ENTRY, 24);
AT(EFI_OPEN_PROTOCOL_INFORMATION_ENTRY, AgentHandle, 0);
AT(EFI_OPEN_PROTOCOL_INFORMATION_ENTRY, ControllerHandle, 8);
AT(EFI_OPEN_PROTOCOL_INFORMATION_ENTRY, Attributes, 16);
AT(EFI_OPEN_PROTOCOL_INFORMATION_ENTRY, OpenCount, 20);
SIZE(EFI_CAPSULE_HEADER, 28);
AT(EFI_CAPSULE_HEADER, CapsuleGuid, 0);
AT(EFI_CAPSULE_HEADER, HeaderSize, 16);
AT(EFI_CAPSULE_HEADER, Flags, 20);
AT(EFI_CAPSULE_HEADER, CapsuleImageSize, 24);
SIZE(EFI_CONFIGURATION_TABLE, 24);
AT(EFI_CONFIGURATION_TABLE, VendorGuid, 0);
AT(EFI_CONFIGURATION_TABLE, VendorTable, 16);

SIZE(EFI_BOOT_SERVICES, 0x178);
AT(EFI_BOOT_SERVICES, RaiseTPL, 0x18);
AT(EFI_BOOT_SERVICES, RestoreTPL, 0x20);
AT(EFI_BOOT_SERVICES, AllocatePages, 0x28);
AT(EFI_BOOT_SERVICES, FreePages, 0x30);
AT(EFI_BOOT_SERVICES, GetMemoryMap, 0x38);
AT(EFI_BOOT_SERVICES, AllocatePool, 0x40);
AT(EFI_BOOT_SERVICES, FreePool, 0x48);
AT(EFI_BOOT_SERVICES, CreateEvent, 0x50);
AT(EFI_BOOT_SERVICES, SetTimer, 0x58);
AT(EFI_BOOT_SERVICES, WaitForEvent, 0x60);
AT(EFI_BOOT_SERVICES, SignalEvent, 0x68);
AT(EFI_BOOT_SERVICES, CloseEvent, 0x70);
AT(EFI_BOOT_SERVICES, CheckEvent, 0x78);
AT(EFI_BOOT_SERVICES, InstallProtocolInterface, 0x80);
AT(EFI_BOOT_SERVICES, ReinstallProtocolInterface, 0x88);
AT(EFI_BOOT_SERVICES, UninstallProtocolInterface, 0x90);
AT(EFI_BOOT_SERVICES, HandleProtocol, 0x98);
AT(EFI_BOOT_SERVICES, Reserved, 0xA0);
AT(EFI_BOOT_SERVICES, RegisterProtocolNotify, 0xA8);
AT(EFI_BOOT_SERVICES, LocateHandle, 0xB0);
AT(EFI_BOOT_SERVICES, LocateDevicePath, 0xB8);
AT(EFI_BOOT_SERVICES, InstallConfigurationTable, 0xC0);
AT(EFI_BOOT_SERVICES, LoadImage, 0xC8);
AT(EFI_BOOT_SERVICES, StartImage, 0xD0);
AT(EFI_BOOT_SERVICES, Exit, 0xD8);
AT(EFI_BOOT_SERVICES, UnloadImage, 0xE0);
AT(EFI_BOOT_SERVICES, ExitBootServices, 0xE8);
AT(EFI_BOOT_SERVICES, GetNextMonotonicCount, 0xF0);
AT(EFI_BOOT_SERVICES, Stall, 0xF8);
AT(EFI_BOOT_SERVICES, SetWatchdogTimer, 0x100);
AT(EFI_BOOT_SERVICES, ConnectController, 0x108);
AT(EFI_BOOT_SERVICES, DisconnectController, 0x110);
AT(EFI_BOOT_SERVICES, OpenProtocol, 0x118);
AT(EFI_BOOT_SERVICES, CloseProtocol, 0x120);
AT(EFI_BOOT_SERVICES, OpenProtocolInformation, 0x128);
AT(EFI_BOOT_SERVICES, ProtocolsPerHandle, 0x130);
AT(EFI_BOOT_SERVICES, LocateHandleBuffer, 0x138);
AT(EFI_BOOT_SERVICES, LocateProtocol, 0x140);
AT(EFI_BOOT_SERVICES, InstallMultipleProtocolInterfaces, 0x148);
AT(EFI_BOOT_SERVICES, UninstallMultipleProtocolInterfaces, 0x150);
AT(EFI_BOOT_SERVICES, CalculateCrc32, 0x158);
AT(EFI_BOOT_SERVICES, CopyMem, 0x160);
AT(EFI_BOOT_SERVICES, SetMem, 0x168);
AT(EFI_BOOT_SERVICES, CreateEventEx, 0x170);

SIZE(EFI_RUNTIME_SERVICES, 0x88);
AT(EFI_RUNTIME_SERVICES, GetTime, 0x18);
AT(EFI_RUNTIME_SERVICES, SetTime, 0x20);
AT(EFI_RUNTIME_SERVICES, GetWakeupTime, 0x28);
AT(EFI_RUNTIME_SERVICES, SetWakeupTime, 0x30);
AT(EFI_RUNTIME_SERVICES, SetVirtualAddressMap, 0x38);
AT(EFI_RUNTIME_SERVICES, ConvertPointer, 0x40);
AT(EFI_RUNTIME_SERVICES, GetVariable, 0x48);
AT(EFI_RUNTIME_SERVICES, GetNextVariableName, 0x50);
AT(EFI_RUNTIME_SERVICES, SetVariable, 0x58);
AT(EFI_RUNTIME_SERVICES, GetNextHighMonotonicCount, 0x60);
AT(EFI_RUNTIME_SERVICES, ResetSystem, 0x68);
AT(EFI_RUNTIME_SERVICES, UpdateCapsule, 0x70);
AT(EFI_RUNTIME_SERVICES, QueryCapsuleCapabilities, 0x78);
AT(EFI_RUNTIME_SERVICES, QueryVariableInfo, 0x80);

SIZE(EFI_SYSTEM_TABLE, 0x78);
AT(EFI_SYSTEM_TABLE, FirmwareVendor, 0x18);
AT(EFI_SYSTEM_TABLE, FirmwareRevision, 0x20);
AT(EFI_SYSTEM_TABLE, ConsoleInHandle, 0x28);
AT(EFI_SYSTEM_TABLE, ConIn, 0x30);
AT(EFI_SYSTEM_TABLE, ConsoleOutHandle, 0x38);
AT(EFI_SYSTEM_TABLE, ConOut, 0x40);
AT(EFI_SYSTEM_TABLE, StandardErrorHandle, 0x48);
AT(EFI_SYSTEM_TABLE, StdErr, 0x50);
AT(EFI_SYSTEM_TABLE, RuntimeServices, 0x58);
AT(EFI_SYSTEM_TABLE, BootServices, 0x60);
AT(EFI_SYSTEM_TABLE, NumberOfTableEntries, 0x68);
AT(EFI_SYSTEM_TABLE, ConfigurationTable, 0x70);

SIZE(EFI_HII_DATABASE_PROTOCOL, 0x58);
AT(EFI_HII_DATABASE_PROTOCOL, NewPackageList, 0x0);
AT(EFI_HII_DATABASE_PROTOCOL, RemovePackageList, 0x8);
AT(EFI_HII_DATABASE_PROTOCOL, UpdatePackageList, 0x10);
AT(EFI_HII_DATABASE_PROTOCOL, ListPackageLists, 0x18);
AT(EFI_HII_DATABASE_PROTOCOL, ExportPackageLists, 0x20);
AT(EFI_HII_DATABASE_PROTOCOL, RegisterPackageNotify, 0x28);
AT(EFI_HII_DATABASE_PROTOCOL, UnregisterPackageNotify, 0x30);
AT(EFI_HII_DATABASE_PROTOCOL, FindKeyboardLayouts, 0x38);
AT(EFI_HII_DATABASE_PROTOCOL, GetKeyboardLayout, 0x40);
AT(EFI_HII_DATABASE_PROTOCOL, SetKeyboardLayout, 0x48);
AT(EFI_HII_DATABASE_PROTOCOL, GetPackageListHandle, 0x50);
SIZE(EFI_HII_STRING_PROTOCOL, 0x28);
AT(EFI_HII_STRING_PROTOCOL, NewString, 0x0);
AT(EFI_HII_STRING_PROTOCOL, GetString, 0x8);
AT(EFI_HII_STRING_PROTOCOL, SetString, 0x10);
AT(EFI_HII_STRING_PROTOCOL, GetLanguages, 0x18);
AT(EFI_HII_STRING_PROTOCOL, GetSecondaryLanguages, 0x20);

SIZE(EFI_HII_PACKAGE_LIST_HEADER, 20);
AT(EFI_HII_PACKAGE_LIST_HEADER, PackageListGuid, 0);
AT(EFI_HII_PACKAGE_LIST_HEADER, PackageLength, 16);
SIZE(EFI_HII_PACKAGE_HEADER, 4);
AT(EFI_HII_STRING_PACKAGE_HDR, Header, 0);
AT(EFI_HII_STRING_PACKAGE_HDR, HdrSize, 4);
AT(EFI_HII_STRING_PACKAGE_HDR, StringInfoOffset, 8);
AT(EFI_HII_STRING_PACKAGE_HDR, LanguageWindow, 12);
AT(EFI_HII_STRING_PACKAGE_HDR, LanguageName, 44);
AT(EFI_HII_STRING_PACKAGE_HDR, Language, 46);
AT(EFI_FONT_INFO, FontStyle, 0);
AT(EFI_FONT_INFO, FontSize, 4);
AT(EFI_FONT_INFO, FontName, 6);

SIZE(EFI_HOB_GENERIC_HEADER, 8);
AT(EFI_HOB_GENERIC_HEADER, HobType, 0);
AT(EFI_HOB_GENERIC_HEADER, HobLength, 2);
AT(EFI_HOB_GENERIC_HEADER, Reserved, 4);
SIZE(EFI_HOB_GUID_TYPE, 24);
AT(EFI_HOB_GUID_TYPE, Header, 0);
AT(EFI_HOB_GUID_TYPE, Name, 8);
SIZE(EFI_HOB_HANDOFF_INFO_TABLE, 56);
AT(EFI_HOB_HANDOFF_INFO_TABLE, Version, 8);
AT(EFI_HOB_HANDOFF_INFO_TABLE, BootMode, 12);
AT(EFI_HOB_HANDOFF_INFO_TABLE, EfiMemoryTop, 16);
AT(EFI_HOB_HANDOFF_INFO_TABLE, EfiMemoryBottom, 24);
AT(EFI_HOB_HANDOFF_INFO_TABLE, EfiFreeMemoryTop, 32);
AT(EFI_HOB_HANDOFF_INFO_TABLE, EfiFreeMemoryBottom, 40);
AT(EFI_HOB_HANDOFF_INFO_TABLE, EfiEndOfHobList, 48);
SIZE(POLICY_VIOLATION_RECORD, 104);
AT(POLICY_VIOLATION_RECORD, Reason, 0);
AT(POLICY_VIOLATION_RECORD, ModuleName, 4);
AT(POLICY_VIOLATION_RECORD, Kind, 100);

SIZE(EFI_SMM_COMMUNICATION_PROTOCOL, 8);
SIZE(EFI_SMM_COMMUNICATE_HEADER, 24);
AT(EFI_SMM_COMMUNICATE_HEADER, HeaderGuid, 0);
AT(EFI_SMM_COMMUNICATE_HEADER, MessageLength, 16);
SIZE(PRIV_MESSAGE, 136);
AT(PRIV_MESSAGE, Signature, 0);
AT(PRIV_MESSAGE, ReturnStatus, 8);
AT(PRIV_MESSAGE, Function, 16);
AT(PRIV_MESSAGE, Code, 20);
AT(PRIV_MESSAGE, Data, 24);
AT(PRIV_MESSAGE, DataSize, 120);
AT(PRIV_MESSAGE, Kind, 128);
SIZE(PRIV_COMMUNICATE_BUFFER, 160);
AT(PRIV_COMMUNICATE_BUFFER, Message, 24);

SIZE(IMAGE_LAYOUT_DESCRIPTOR, 544);
AT(IMAGE_LAYOUT_DESCRIPTOR, ExcludedRegion1Offset, 296);
AT(IMAGE_LAYOUT_DESCRIPTOR, ExcludedRegion1Size, 304);
AT(IMAGE_LAYOUT_DESCRIPTOR, ExcludedRegion2Offset, 344);
AT(IMAGE_LAYOUT_DESCRIPTOR, ExcludedRegion2Size, 352);
AT(IMAGE_LAYOUT_DESCRIPTOR, SignatureBlockOffset, 368);
AT(IMAGE_LAYOUT_DESCRIPTOR, SecondSignatureBlockOffset, 416);
AT(IMAGE_LAYOUT_DESCRIPTOR, ExcludedRegion3Offset, 528);
AT(IMAGE_LAYOUT_DESCRIPTOR, ExcludedRegion3Size, 536);
SIZE(DIALOG_LINE, 13);
AT(DIALOG_LINE, Text, 5);
AT(IMAGE_LAYOUT_PROTOCOL, GetImageLayout, 0);
AT(MESSAGE_DIALOG_PROTOCOL, ShowMessage, 0);
AT(VALIDATION_POLICY_PROTOCOL, QueryPolicy, 0);
AT(POLICY_CHECK_WAIVER_PROTOCOL, IsWaived, 0);

SIZE(IMAGE_DOS_HEADER, 64);
AT(IMAGE_DOS_HEADER, Magic, 0);
AT(IMAGE_DOS_HEADER, NewHeaderOffset, 60);
SIZE(IMAGE_FILE_HEADER, 20);
AT(IMAGE_FILE_HEADER, NumberOfSections, 2);
AT(IMAGE_FILE_HEADER, SizeOfOptionalHeader, 16);
AT(IMAGE_FILE_HEADER, Characteristics, 18);
SIZE(IMAGE_OPTIONAL_HEADER32, 224);
AT(IMAGE_OPTIONAL_HEADER32, AddressOfEntryPoint, 16);
AT(IMAGE_OPTIONAL_HEADER32, ImageBase, 28);
AT(IMAGE_OPTIONAL_HEADER32, SizeOfImage, 56);
AT(IMAGE_OPTIONAL_HEADER32, Subsystem, 68);
AT(IMAGE_OPTIONAL_HEADER32, NumberOfRvaAndSizes, 92);
AT(IMAGE_OPTIONAL_HEADER32, DataDirectory, 96);
SIZE(IMAGE_OPTIONAL_HEADER64, 240);
AT(IMAGE_OPTIONAL_HEADER64, AddressOfEntryPoint, 16);
AT(IMAGE_OPTIONAL_HEADER64, ImageBase, 24);
AT(IMAGE_OPTIONAL_HEADER64, SectionAlignment, 32);
AT(IMAGE_OPTIONAL_HEADER64, FileAlignment, 36);
AT(IMAGE_OPTIONAL_HEADER64, SizeOfImage, 56);
AT(IMAGE_OPTIONAL_HEADER64, SizeOfHeaders, 60);
AT(IMAGE_OPTIONAL_HEADER64, CheckSum, 64);
AT(IMAGE_OPTIONAL_HEADER64, Subsystem, 68);
AT(IMAGE_OPTIONAL_HEADER64, DllCharacteristics, 70);
AT(IMAGE_OPTIONAL_HEADER64, SizeOfStackReserve, 72);
AT(IMAGE_OPTIONAL_HEADER64, NumberOfRvaAndSizes, 108);
AT(IMAGE_OPTIONAL_HEADER64, DataDirectory, 112);
SIZE(IMAGE_SECTION_HEADER, 40);
AT(IMAGE_SECTION_HEADER, VirtualSize, 8);
AT(IMAGE_SECTION_HEADER, VirtualAddress, 12);
AT(IMAGE_SECTION_HEADER, SizeOfRawData, 16);
AT(IMAGE_SECTION_HEADER, PointerToRawData, 20);
AT(IMAGE_SECTION_HEADER, Characteristics, 36);
SIZE(IMAGE_DATA_DIRECTORY, 8);
SIZE(IMAGE_BASE_RELOCATION, 8);
SIZE(IMAGE_DEBUG_DIRECTORY, 28);
AT(IMAGE_DEBUG_DIRECTORY, Type, 12);
AT(IMAGE_DEBUG_DIRECTORY, SizeOfData, 16);
AT(IMAGE_DEBUG_DIRECTORY, AddressOfRawData, 20);
AT(IMAGE_DEBUG_DIRECTORY, PointerToRawData, 24);

} // namespace

// Every platform header together in C11, with the layouts that C sees. That each also stands alone is checked
// by one generated source per header and language. Compiles only.
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

#include <stddef.h>

_Static_assert(sizeof(CHAR16) == 2 && sizeof(CHAR8) == 1 && sizeof(BOOLEAN) == 1,
               "characters and truth values");
_Static_assert(sizeof(EFI_TABLE_HEADER) == 24 && sizeof(EFI_TIME) == 16, "records of the tables");
_Static_assert(sizeof(EFI_BOOT_SERVICES) == 0x178, "boot services");
_Static_assert(offsetof(EFI_BOOT_SERVICES, InstallMultipleProtocolInterfaces) == 0x148, "boot services");
_Static_assert(sizeof(EFI_RUNTIME_SERVICES) == 0x88, "runtime services");
_Static_assert(sizeof(EFI_SYSTEM_TABLE) == 0x78, "system table");
_Static_assert(sizeof(EFI_HII_PACKAGE_HEADER) == 4, "length and type share one word");
_Static_assert(sizeof(EFI_HII_PACKAGE_LIST_HEADER) == 20, "package list");
_Static_assert(offsetof(EFI_HII_STRING_PACKAGE_HDR, Language) == 46, "string package");
_Static_assert(sizeof(EFI_HOB_GUID_TYPE) == 24, "data of a GUID block");
_Static_assert(sizeof(POLICY_VIOLATION_RECORD) == 104, "policy record");
_Static_assert(sizeof(PRIV_MESSAGE) == 136 && sizeof(PRIV_COMMUNICATE_BUFFER) == 160, "message");
_Static_assert(sizeof(DIALOG_LINE) == 13 && offsetof(DIALOG_LINE, Text) == 5, "dialog line");
_Static_assert(sizeof(IMAGE_LAYOUT_DESCRIPTOR) == 544, "image layout");
_Static_assert(sizeof(IMAGE_OPTIONAL_HEADER32) == 224 && sizeof(IMAGE_OPTIONAL_HEADER64) == 240,
               "PE headers");

// Every GUID macro initialises an object in C.
const EFI_GUID mUefiHeaderGuids[] = {
    EFI_HII_STRING_PROTOCOL_GUID,
    EFI_HII_DATABASE_PROTOCOL_GUID,
    EFI_HOB_LIST_GUID,
    EFI_SMM_COMMUNICATION_PROTOCOL_GUID,
    EFI_EVENT_GROUP_READY_TO_BOOT,
    EFI_GLOBAL_VARIABLE,
    VALIDATION_POLICY_PROTOCOL_GUID,
    POLICY_CHECK_WAIVER_PROTOCOL_GUID,
    IMAGE_LAYOUT_PROTOCOL_GUID,
    DISPLAY_READY_PROTOCOL_GUID,
    MESSAGE_DIALOG_PROTOCOL_GUID,
    PRIV_CHANNEL_READY_PROTOCOL_GUID,
    PRIV_MESSAGE_GUID,
    POLICY_VIOLATION_HOB_GUID,
};

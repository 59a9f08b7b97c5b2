// The message strings as HII string packages, registered once by start-up.
#pragma once

#include "uefi/HiiPackages.h"

// Name of the package list under which start-up registers the strings.
#define MESSAGE_PACKAGE_LIST_GUID                                                                            \
  EFI_GUID_INITIALIZER(0x437a2a5a, 0x0dcb, 0x4948, 0xa2, 0x9c, 0x3e, 0x8e, 0xd1, 0x87, 0x6b, 0x40)
inline constexpr EFI_GUID mMessagePackageListGuid = MESSAGE_PACKAGE_LIST_GUID;

// What each string says. LanguageName is the language's own name for itself;
// the reasons are chosen by the violation record.
enum MESSAGE_STRING_ID : EFI_STRING_ID {
  MessageLanguageName = 1,
  MessageTitle = 2,
  MessageFirstLine = 3,
  MessageSecondLine = 4,
  MessageTestCode = 5,
  MessagePolicyNotMet = 6,
  MessageModuleExcluded = 7,
  MessageUnknownViolation = 8,
};

// A little-endian UINT32, the length of the whole array in bytes, followed by
// one string package for each language.
extern const UINT8 *const mMessagePackages;

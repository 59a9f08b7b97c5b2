// EFI_HII_STRING_PROTOCOL (UEFI 2.10, section 34.3). Sizes are in bytes, terminators included; a size too
// small answers EFI_BUFFER_TOO_SMALL with the needed size stored. Declares the protocol only.
#pragma once

#include "uefi/Base.h"
#include "uefi/HiiFont.h"
#include "uefi/HiiPackages.h"

#define EFI_HII_STRING_PROTOCOL_GUID                                                                         \
  EFI_GUID_INITIALIZER(0x0fd96974, 0x23aa, 0x4cdc, 0xb9, 0xcb, 0x98, 0xd1, 0x77, 0x50, 0x32, 0x2a)

typedef struct EFI_HII_STRING_PROTOCOL EFI_HII_STRING_PROTOCOL;

typedef EFI_STATUS(EFIAPI *EFI_HII_NEW_STRING)(const EFI_HII_STRING_PROTOCOL *This,
                                               EFI_HII_HANDLE PackageList, EFI_STRING_ID *StringId,
                                               const CHAR8 *Language, const CHAR16 *LanguageName,
                                               const CHAR16 *String, const EFI_FONT_INFO *StringFontInfo);
typedef EFI_STATUS(EFIAPI *EFI_HII_GET_STRING)(const EFI_HII_STRING_PROTOCOL *This, const CHAR8 *Language,
                                               EFI_HII_HANDLE PackageList, EFI_STRING_ID StringId,
                                               EFI_STRING String, UINTN *StringSize,
                                               EFI_FONT_INFO **StringFontInfo);
typedef EFI_STATUS(EFIAPI *EFI_HII_SET_STRING)(const EFI_HII_STRING_PROTOCOL *This,
                                               EFI_HII_HANDLE PackageList, EFI_STRING_ID StringId,
                                               const CHAR8 *Language, const CHAR16 *String,
                                               const EFI_FONT_INFO *StringFontInfo);

// Languages receives the tags of the package list, separated by semicolons, with a NUL at the end.
typedef EFI_STATUS(EFIAPI *EFI_HII_GET_LANGUAGES)(const EFI_HII_STRING_PROTOCOL *This,
                                                  EFI_HII_HANDLE PackageList, CHAR8 *Languages,
                                                  UINTN *LanguagesSize);
typedef EFI_STATUS(EFIAPI *EFI_HII_GET_2ND_LANGUAGES)(const EFI_HII_STRING_PROTOCOL *This,
                                                      EFI_HII_HANDLE PackageList,
                                                      const CHAR8 *PrimaryLanguage, CHAR8 *SecondaryLanguages,
                                                      UINTN *SecondaryLanguagesSize);

struct EFI_HII_STRING_PROTOCOL {
  EFI_HII_NEW_STRING NewString;
  EFI_HII_GET_STRING GetString;
  EFI_HII_SET_STRING SetString;
  EFI_HII_GET_LANGUAGES GetLanguages;
  EFI_HII_GET_2ND_LANGUAGES GetSecondaryLanguages;
};

#ifdef __cplusplus
inline constexpr EFI_GUID mEfiHiiStringProtocolGuid = EFI_HII_STRING_PROTOCOL_GUID;
#endif

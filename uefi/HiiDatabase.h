// EFI_HII_DATABASE_PROTOCOL (UEFI 2.10, section 34.8). Buffer lengths are in bytes; one too small answers
// EFI_BUFFER_TOO_SMALL with the needed length stored. Declares the protocol only; keyboard layouts stay
// opaque.
#pragma once

#include "uefi/Base.h"
#include "uefi/HiiPackages.h"

#define EFI_HII_DATABASE_PROTOCOL_GUID                                                                       \
  EFI_GUID_INITIALIZER(0xef9fc172, 0xa1b2, 0x4693, 0xb3, 0x27, 0x6d, 0x32, 0xfc, 0x41, 0x60, 0x42)

typedef struct EFI_HII_DATABASE_PROTOCOL EFI_HII_DATABASE_PROTOCOL;
typedef struct EFI_HII_KEYBOARD_LAYOUT EFI_HII_KEYBOARD_LAYOUT;

typedef UINTN EFI_HII_DATABASE_NOTIFY_TYPE;
#define EFI_HII_DATABASE_NOTIFY_NEW_PACK 0x00000001
#define EFI_HII_DATABASE_NOTIFY_REMOVE_PACK 0x00000002
#define EFI_HII_DATABASE_NOTIFY_EXPORT_PACK 0x00000004
#define EFI_HII_DATABASE_NOTIFY_ADD_PACK 0x00000008

typedef EFI_STATUS(EFIAPI *EFI_HII_DATABASE_NOTIFY)(UINT8 PackageType, const EFI_GUID *PackageGuid,
                                                    const EFI_HII_PACKAGE_HEADER *Package,
                                                    EFI_HII_HANDLE Handle,
                                                    EFI_HII_DATABASE_NOTIFY_TYPE NotifyType);

typedef EFI_STATUS(EFIAPI *EFI_HII_DATABASE_NEW_PACK)(const EFI_HII_DATABASE_PROTOCOL *This,
                                                      const EFI_HII_PACKAGE_LIST_HEADER *PackageList,
                                                      EFI_HANDLE DriverHandle, EFI_HII_HANDLE *Handle);
typedef EFI_STATUS(EFIAPI *EFI_HII_DATABASE_REMOVE_PACK)(const EFI_HII_DATABASE_PROTOCOL *This,
                                                         EFI_HII_HANDLE Handle);
typedef EFI_STATUS(EFIAPI *EFI_HII_DATABASE_UPDATE_PACK)(const EFI_HII_DATABASE_PROTOCOL *This,
                                                         EFI_HII_HANDLE Handle,
                                                         const EFI_HII_PACKAGE_LIST_HEADER *PackageList);
typedef EFI_STATUS(EFIAPI *EFI_HII_DATABASE_LIST_PACKS)(const EFI_HII_DATABASE_PROTOCOL *This,
                                                        UINT8 PackageType, const EFI_GUID *PackageGuid,
                                                        UINTN *HandleBufferLength, EFI_HII_HANDLE *Handle);
typedef EFI_STATUS(EFIAPI *EFI_HII_DATABASE_EXPORT_PACKS)(const EFI_HII_DATABASE_PROTOCOL *This,
                                                          EFI_HII_HANDLE Handle, UINTN *BufferSize,
                                                          EFI_HII_PACKAGE_LIST_HEADER *Buffer);
typedef EFI_STATUS(EFIAPI *EFI_HII_DATABASE_REGISTER_NOTIFY)(const EFI_HII_DATABASE_PROTOCOL *This,
                                                             UINT8 PackageType, const EFI_GUID *PackageGuid,
                                                             EFI_HII_DATABASE_NOTIFY PackageNotifyFn,
                                                             EFI_HII_DATABASE_NOTIFY_TYPE NotifyType,
                                                             EFI_HANDLE *NotifyHandle);
typedef EFI_STATUS(EFIAPI *EFI_HII_DATABASE_UNREGISTER_NOTIFY)(const EFI_HII_DATABASE_PROTOCOL *This,
                                                               EFI_HANDLE NotificationHandle);
typedef EFI_STATUS(EFIAPI *EFI_HII_FIND_KEYBOARD_LAYOUTS)(const EFI_HII_DATABASE_PROTOCOL *This,
                                                          UINT16 *KeyGuidBufferLength,
                                                          EFI_GUID *KeyGuidBuffer);
typedef EFI_STATUS(EFIAPI *EFI_HII_GET_KEYBOARD_LAYOUT)(const EFI_HII_DATABASE_PROTOCOL *This,
                                                        const EFI_GUID *KeyGuid, UINT16 *KeyboardLayoutLength,
                                                        EFI_HII_KEYBOARD_LAYOUT *KeyboardLayout);
typedef EFI_STATUS(EFIAPI *EFI_HII_SET_KEYBOARD_LAYOUT)(const EFI_HII_DATABASE_PROTOCOL *This,
                                                        const EFI_GUID *KeyGuid);
typedef EFI_STATUS(EFIAPI *EFI_HII_DATABASE_GET_PACK_HANDLE)(const EFI_HII_DATABASE_PROTOCOL *This,
                                                             EFI_HII_HANDLE PackageListHandle,
                                                             EFI_HANDLE *DriverHandle);

struct EFI_HII_DATABASE_PROTOCOL {
  EFI_HII_DATABASE_NEW_PACK NewPackageList;
  EFI_HII_DATABASE_REMOVE_PACK RemovePackageList;
  EFI_HII_DATABASE_UPDATE_PACK UpdatePackageList;
  EFI_HII_DATABASE_LIST_PACKS ListPackageLists;
  EFI_HII_DATABASE_EXPORT_PACKS ExportPackageLists;
  EFI_HII_DATABASE_REGISTER_NOTIFY RegisterPackageNotify;
  EFI_HII_DATABASE_UNREGISTER_NOTIFY UnregisterPackageNotify;
  EFI_HII_FIND_KEYBOARD_LAYOUTS FindKeyboardLayouts;
  EFI_HII_GET_KEYBOARD_LAYOUT GetKeyboardLayout;
  EFI_HII_SET_KEYBOARD_LAYOUT SetKeyboardLayout;
  EFI_HII_DATABASE_GET_PACK_HANDLE GetPackageListHandle;
};

#ifdef __cplusplus
inline constexpr EFI_GUID mEfiHiiDatabaseProtocolGuid = EFI_HII_DATABASE_PROTOCOL_GUID;
#endif

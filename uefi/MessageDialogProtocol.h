// MESSAGE_DIALOG_PROTOCOL: the platform's full-screen message box. Only its first member is declared; what
// stands behind it belongs to the provider and must not be relied on.
#pragma once

#include "uefi/Base.h"

#define MESSAGE_DIALOG_PROTOCOL_GUID                                                                         \
  EFI_GUID_INITIALIZER(0xb8c7206a, 0x9adc, 0x4d4b, 0x9b, 0x53, 0xcc, 0xaf, 0x64, 0x1a, 0x56, 0x5d)

// One line of text, 13 bytes without alignment. Text is NUL-terminated or NULL; the reserved bytes are zero.
#pragma pack(push, 1)
typedef struct {
  UINT8 Reserved[5];
  CHAR16 *Text;
} DIALOG_LINE;
#pragma pack(pop)

// Shows Title over the lines, an array of pointers that ends with NULL. The two reserved arguments are 0.
typedef EFI_STATUS(EFIAPI *MESSAGE_DIALOG_SHOW)(CHAR16 *Title, UINTN Reserved1, DIALOG_LINE **Lines,
                                                UINTN Reserved2);

// No interface pointer is passed.
typedef struct {
  MESSAGE_DIALOG_SHOW ShowMessage;
} MESSAGE_DIALOG_PROTOCOL;

#ifdef __cplusplus
inline constexpr EFI_GUID mMessageDialogProtocolGuid = MESSAGE_DIALOG_PROTOCOL_GUID;
#endif

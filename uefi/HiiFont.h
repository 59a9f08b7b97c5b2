// The font description that string calls can carry (UEFI 2.10, section 34.1). The font protocol itself is not
// declared: nothing here draws glyphs.
#pragma once

#include "uefi/Base.h"

typedef UINT32 EFI_HII_FONT_STYLE;

// FontName is NUL-terminated and of any length.
typedef struct {
  EFI_HII_FONT_STYLE FontStyle;
  UINT16 FontSize;
  CHAR16 FontName[1];
} EFI_FONT_INFO;

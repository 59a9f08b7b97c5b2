// Comparing and printing GUIDs for the simulated firmware. Holds no GUID of its own.
#pragma once

#include <cstdio>
#include <cstring>
#include <string>

#include "uefi/Base.h"

inline bool SameGuid(const EFI_GUID &Left, const EFI_GUID &Right) {
  return std::memcmp(&Left, &Right, sizeof(EFI_GUID)) == 0;
}

// The registry form, upper case, without braces.
inline std::string GuidText(const EFI_GUID &Guid) {
  char Text[37];
  const UINT8 *Tail = Guid.Data4;
  std::snprintf(Text, sizeof(Text), "%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X", Guid.Data1,
                Guid.Data2, Guid.Data3, Tail[0], Tail[1], Tail[2], Tail[3], Tail[4], Tail[5], Tail[6],
                Tail[7]);
  return Text;
}

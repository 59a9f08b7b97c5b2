// Names of the status codes that the driver and its firmware answer with (UEFI 2.10, appendix D), for reports
// and for files that give a status by name.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "uefi/Base.h"

// "EFI_NOT_FOUND"; "EFI_STATUS 0x…" for a code without a name here.
std::string StatusName(EFI_STATUS Status);

// The code of a name; nothing for a text that is none.
std::optional<EFI_STATUS> StatusOfName(std::string_view Name);

// Names of the GUIDs that the driver and its firmware exchange.
#pragma once

#include <string>

#include "uefi/Base.h"

// "EFI_HII_STRING_PROTOCOL"; the registry form for a GUID without a name here.
std::string GuidName(const EFI_GUID &Guid);

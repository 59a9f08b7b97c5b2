// The firmware's base types and its three tables in one include. Protocols and records are included by name,
// never through here.
#pragma once

#include "uefi/Base.h"
#include "uefi/BootServices.h"
#include "uefi/RuntimeServices.h"
#include "uefi/SystemTable.h"

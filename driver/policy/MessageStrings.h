// Reading the driver's own messages back from the HII database, in the
// language that serves the platform best.
#pragma once

#include "driver/platform/Pool.h"
#include "driver/policy/MessagePackages.h"

// The text of Id, NUL-terminated, in the platform's language or else the first
// one that the package list has. Empty when there are no HII protocols, no
// package list of the messages, no such string, or no memory.
[[nodiscard]] PoolBlock<CHAR16> LookupMessageString(MESSAGE_STRING_ID Id);

// The package lists named mMessagePackageListGuid in the order in which the
// database lists them, ended by NULL; empty when there is none, the database
// fails, or there is no memory. A list that cannot be exported is left out.
[[nodiscard]] PoolBlock<EFI_HII_HANDLE> FindMessagePackageList();

// The published service table. Each slot's code is the routine named in
// ServiceTable.cpp.
#pragma once

#include "uefi/Uefi.h"

#include "CryptoServicesProtocol.h"

extern const CRYPTO_SERVICES_PROTOCOL mServiceTable;

// Installs the table on a new handle. Returns the status of the installation.
[[nodiscard]] EFI_STATUS InstallServiceTable();

// The public keys inside a driver, and which of them are known development keys. Asks the driver's own store,
// which the link map finds; no service gives keys out.
#pragma once

#include <string>
#include <vector>

#include "tools/fwboot/Command.h"

struct BuiltinKey {
  UINT32 Type;
  // The store's answer when it is asked with a data list.
  EFI_STATUS Status;
  // SHA-256 of the SubjectPublicKeyInfo in DER, lower-case hex; empty for a type without key material.
  std::string Fingerprint;
  bool IsDevelopment;
};

// The answers for key types 0 to 6. Throws InputError for an image without a link map, or one that does not
// name the store; BootError without services.
std::vector<BuiltinKey> ReadBuiltinKeys(DriverSession &Session);

// One line on the standard output when the driver holds development keys. Says nothing when that cannot be
// found out.
void WarnOfDevelopmentKeys(const GLOBAL_OPTIONS &Options);

// Files and times that commands are given.
#pragma once

#include <string>
#include <vector>

#include "tools/session/DriverSession.h"

// The whole file; "-" is the standard input. Throws InputError when it cannot be read.
std::vector<UINT8> ReadInput(const std::string &Path);

// A certificate's DER, from a file that holds it as it is or in a PEM text, whose first CERTIFICATE block
// counts. Throws InputError for a file that cannot be read, and for a PEM text without a whole block. Whether
// it is a certificate is not looked at.
std::vector<UINT8> ReadCertificate(const std::string &Path);

// Sets the firmware's clock to Time, which is UTC as YYYYMMDDhhmmss, or to the host's time when it is empty.
// Returns it for people. Throws InputError for text of another form.
std::string SetClock(SimulatedFirmware &Firmware, const std::string &Time);

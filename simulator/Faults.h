// Where the parts of the simulated firmware report what the driver did wrong, and how they name places in
// code. A fault is collected and the run goes on; only a call that cannot be answered at all ends the
// process.
#pragma once

#include <functional>
#include <string>

// Records an error of the driver with the living firmware; without one, prints it to the error stream.
void ReportFault(std::string Text);

// Prints Why as one line to the error stream and aborts the process.
[[noreturn]] void AbortRun(const std::string &Why);

// Names an address in code for a report: what the place namer says, else "symbol+0x12", else "module+0x1234",
// else the bare number.
std::string DescribePlace(const void *Address);

// Installs the namer that is asked first, for code that the host's own loader does not know (a loaded image).
// It answers an empty text for an address that is not its own. An empty function removes it.
void SetPlaceNamer(std::function<std::string(const void *Address)> Namer);

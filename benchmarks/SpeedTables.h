// The measured cells as tables, one for each family, and what they say to the aims.
#pragma once

#include <string>
#include <vector>

#include "benchmarks/Findings.h"
#include "benchmarks/Measurement.h"

// Markdown. Appends a finding for each piece of work with an aim, and one for each family.
std::string SpeedTables(const std::vector<CELL> &Cells, FINDINGS *Findings);

// "64 B", "16 KiB", "1 MiB".
std::string SizeName(UINTN Size);

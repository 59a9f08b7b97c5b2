// Pool and stack that single calls of the services take.
#pragma once

#include <span>
#include <string>

#include "benchmarks/Findings.h"
#include "benchmarks/work/Work.h"

// Runs all work twice on the recording pool and through the checked gate: in the image, or in the linked
// driver what only that does. Markdown; appends findings. Throws std::runtime_error when work fails.
std::string ResourceTable(std::span<const WORK> Works, const std::string &ImagePath, FINDINGS *Findings);

// How large the image is, by section and by what brought it in, against the budget that tests hold it to.
#pragma once

#include <string>

#include "benchmarks/Findings.h"

// Markdown; appends findings. Throws std::runtime_error when image, link map or budget cannot be read.
std::string ImageSizeTables(const std::string &ImagePath, const std::string &BudgetPath, FINDINGS *Findings);

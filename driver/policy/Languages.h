// The choice of a language among those that a package list has.
#pragma once

#include "driver/platform/Pool.h"

// The platform's language, the global variable "PlatformLang" (UEFI 2.10,
// section 3.3), as NUL-terminated ASCII; empty when there is none or it cannot
// be read.
[[nodiscard]] PoolBlock<CHAR8> ReadPlatformLanguage();

// The tag of Supported, tags separated by ';', that serves the earliest of
// Candidates best. Candidates is an array that ends with NULL; of each, the
// part before the first ';' counts. A tag serves when it begins with the whole
// candidate, or else with the candidate cut at its last '-', and so on (RFC
// 4647, section 3.4); the first such tag is taken. Case matters. Empty when no
// tag serves or the pool refuses.
[[nodiscard]] PoolBlock<CHAR8> SelectBestLanguage(const CHAR8 *Supported, const CHAR8 *const *Candidates);

// This driver's own answers to the cases that leave them to the crypto library ("expect=any").
#pragma once

#include <optional>
#include <string>

#include "uefi/Base.h"

// What services that answer a BOOLEAN must answer to the case of this id; nothing for one that nobody has
// thought about.
std::optional<BOOLEAN> SettledAnswer(const std::string &Id);

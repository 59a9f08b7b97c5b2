// Bytes in hex, as commands read and print them.
#pragma once

#include <string>
#include <vector>

#include <fmt/format.h>

#include "tools/fwboot/Command.h"

// Lower case, without blanks.
inline std::string HexText(const std::vector<UINT8> &Bytes) {
  return fmt::format("{:02x}", fmt::join(Bytes, ""));
}

// Either case, whole bytes, without blanks. Throws InputError for anything else, with Name in front of the
// reason.
inline std::vector<UINT8> ParseHex(const std::string &Name, const std::string &Digits) {
  if (Digits.size() % 2 != 0 || Digits.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) {
    throw InputError(Name + ": not whole bytes in hex");
  }
  std::vector<UINT8> Bytes;
  for (size_t Index = 0; Index < Digits.size(); Index += 2) {
    Bytes.push_back(static_cast<UINT8>(std::stoul(Digits.substr(Index, 2), nullptr, 16)));
  }
  return Bytes;
}

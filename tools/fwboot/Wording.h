// Numbers as people read them.
#pragma once

#include <string>

#include "uefi/Base.h"

// "225,280".
inline std::string Grouped(UINT64 Value) {
  std::string Text = std::to_string(Value);
  for (size_t Place = Text.size(); Place > 3; Place -= 3) {
    Text.insert(Place - 3, ",");
  }
  return Text;
}

// "1 block", "2,000 blocks".
inline std::string Counted(UINT64 Value, const std::string &Thing) {
  return Grouped(Value) + " " + Thing + (Value == 1 ? "" : "s");
}

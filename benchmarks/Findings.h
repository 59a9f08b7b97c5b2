// What sections of the report hand in for its first page.
#pragma once

#include <string>
#include <vector>

// One aim, its figures as text.
struct FINDING {
  std::string What;
  std::string Aim;
  std::string Found;
  bool Met;
};

using FINDINGS = std::vector<FINDING>;

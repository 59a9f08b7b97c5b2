// A bar on the error stream while something long runs; nothing at all when that stream is no terminal.
#pragma once

#include <string>

#include "uefi/Base.h"

class ProgressBar {
public:
  explicit ProgressBar(std::string Label);
  ~ProgressBar() { Clear(); }
  ProgressBar(const ProgressBar &) = delete;
  ProgressBar &operator=(const ProgressBar &) = delete;

  // Draws when the share has moved by a percent and the work has lasted long enough to be worth it.
  void Show(UINT64 Done, UINT64 Total);

  // Takes the bar off the screen.
  void Clear();

private:
  std::string Label_;
  bool Terminal_;
  double Begin_;
  UINT64 Shown_ = 0;
  bool Visible_ = false;
};

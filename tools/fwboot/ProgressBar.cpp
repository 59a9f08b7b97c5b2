// Redraws one line of the terminal in place.
#include "tools/fwboot/ProgressBar.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include <fmt/core.h>
#include <unistd.h>

#include "tools/session/Stopwatch.h"

namespace {

constexpr double mPatienceSeconds = 0.3;
constexpr UINT64 mWidth = 40;
constexpr size_t mLabelWidth = 30;

} // namespace

ProgressBar::ProgressBar(std::string Label)
    : Label_(Label.size() <= mLabelWidth ? std::move(Label)
                                         : "..." + Label.substr(Label.size() - mLabelWidth + 3)),
      Terminal_(isatty(STDERR_FILENO) != 0), Begin_(SecondsNow()) {
  for (char &Character : Label_) {
    Character = static_cast<unsigned char>(Character) < 0x20 ? '?' : Character;
  }
}

void ProgressBar::Show(UINT64 Done, UINT64 Total) {
  if (!Terminal_ || Total == 0) {
    return;
  }
  const UINT64 Percent =
      static_cast<UINT64>(100.0 * static_cast<double>(std::min(Done, Total)) / static_cast<double>(Total));
  if (Percent == Shown_ || SecondsNow() - Begin_ < mPatienceSeconds) {
    return;
  }
  Shown_ = Percent;
  Visible_ = true;
  const UINT64 Filled = Percent * mWidth / 100;
  fmt::print(stderr, "\r{} [{:#<{}}{:{}}] {:3}%", Label_, "", Filled, "", mWidth - Filled, Percent);
  std::fflush(stderr);
}

void ProgressBar::Clear() {
  if (std::exchange(Visible_, false)) {
    std::fputs("\r\033[K", stderr);
    std::fflush(stderr);
  }
}

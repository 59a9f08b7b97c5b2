// An output buffer between guards, to see what a service writes and that it
// writes no further.
#pragma once

#include <algorithm>

#include "tests/support/DriverTest.h"

class GuardedBuffer {
public:
  // Misalignment moves the first byte off its 16-byte boundary.
  explicit GuardedBuffer(UINTN Size, UINTN Misalignment = 0)
      : Size_(Size), Start_(mGuard + Misalignment), Memory_(Start_ + Size + mGuard, mFill) {}

  UINT8 *Get() { return Memory_.data() + Start_; }
  UINTN Size() const { return Size_; }
  Bytes Content() const { return Bytes(Memory_.begin() + Begin(), Memory_.begin() + Begin() + Length()); }

  // The first Size bytes, with a gtest failure when more have been written to.
  Bytes Taken(UINTN Size) const {
    EXPECT_TRUE(OnlyWritten(Size));
    return Bytes(Memory_.begin() + Begin(), Memory_.begin() + Begin() + static_cast<std::ptrdiff_t>(Size));
  }

  // Nothing but the first Written bytes has been written to.
  bool OnlyWritten(UINTN Written) const {
    auto First = Memory_.begin();
    return std::all_of(First, First + Begin(), IsFill) &&
           std::all_of(First + Begin() + static_cast<std::ptrdiff_t>(Written), Memory_.end(), IsFill);
  }
  bool Untouched() const { return OnlyWritten(0); }

private:
  static constexpr UINTN mGuard = 64;
  static constexpr UINT8 mFill = 0xC7;
  static bool IsFill(UINT8 Byte) { return Byte == mFill; }
  std::ptrdiff_t Begin() const { return static_cast<std::ptrdiff_t>(Start_); }
  std::ptrdiff_t Length() const { return static_cast<std::ptrdiff_t>(Size_); }

  UINTN Size_;
  UINTN Start_;
  Bytes Memory_;
};

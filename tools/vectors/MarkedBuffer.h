// Memory that a service writes its result to, with marked bytes around it: shows a write outside, and whether
// anything was written at all.
#pragma once

#include <algorithm>
#include <vector>

#include "uefi/Base.h"

class MarkedBuffer {
public:
  explicit MarkedBuffer(UINTN Size) : Bytes_(Size + 2 * mGuard, mMark), Size_(Size) {}

  UINT8 *Data() { return Bytes_.data() + mGuard; }
  UINTN Size() const { return Size_; }
  std::vector<UINT8> Bytes() const { return {Bytes_.begin() + mGuard, Bytes_.end() - mGuard}; }

  // Whether no byte outside, or no byte at all, has changed.
  bool Intact() const {
    return std::all_of(Bytes_.begin(), Bytes_.begin() + mGuard, IsMark) &&
           std::all_of(Bytes_.end() - mGuard, Bytes_.end(), IsMark);
  }
  bool Untouched() const { return std::all_of(Bytes_.begin(), Bytes_.end(), IsMark); }

private:
  static constexpr INTN mGuard = 32;
  static constexpr UINT8 mMark = 0xA5;
  static bool IsMark(UINT8 Byte) { return Byte == mMark; }

  std::vector<UINT8> Bytes_;
  UINTN Size_;
};

// Taking DER apart and putting it together again (X.690), so that a test can change one field of a message
// and keep all lengths right.
#pragma once

#include <stdexcept>

#include "tests/support/DriverTest.h"

struct DerValue {
  UINT8 Tag;
  Bytes Content;

  // The encoding of it, with as few length bytes as possible, or with LengthBytes behind the first one.
  Bytes Encode(int LengthBytes = -1) const {
    Bytes Result{Tag};
    const UINTN Size = Content.size();
    if (LengthBytes < 0) {
      LengthBytes = Size < 0x80 ? 0 : Size < 0x100 ? 1 : Size < 0x10000 ? 2 : 3;
    }
    Result.push_back(static_cast<UINT8>(LengthBytes == 0 ? Size : 0x80 + static_cast<UINTN>(LengthBytes)));
    for (int Shift = LengthBytes * 8 - 8; Shift >= 0; Shift -= 8) {
      Result.push_back(static_cast<UINT8>(Size >> Shift));
    }
    Result.insert(Result.end(), Content.begin(), Content.end());
    return Result;
  }
};

// The values that follow each other in Encoding.
inline std::vector<DerValue> DerChildren(const Bytes &Encoding) {
  std::vector<DerValue> Values;
  for (UINTN Place = 0; Place < Encoding.size();) {
    const UINT8 Tag = Encoding.at(Place++);
    UINTN Size = Encoding.at(Place++);
    if (Size > 0x80) {
      const UINTN Count = Size - 0x80;
      Size = 0;
      for (UINTN Index = 0; Index < Count; Index++) {
        Size = Size << 8 | Encoding.at(Place++);
      }
    }
    if (Size > Encoding.size() - Place) {
      throw std::runtime_error("not DER");
    }
    const auto Begin = Encoding.begin() + static_cast<std::ptrdiff_t>(Place);
    Values.push_back({Tag, Bytes(Begin, Begin + static_cast<std::ptrdiff_t>(Size))});
    Place += Size;
  }
  return Values;
}

inline Bytes DerJoin(const std::vector<DerValue> &Values) {
  Bytes Result;
  for (const DerValue &Value : Values) {
    const Bytes Encoding = Value.Encode();
    Result.insert(Result.end(), Encoding.begin(), Encoding.end());
  }
  return Result;
}

// Encoding with the value at the end of Path (the index of a child on each level) given to Edit.
template <typename EDIT>
Bytes DerEdit(const Bytes &Encoding, const std::vector<UINTN> &Path, EDIT &&Edit, UINTN Level = 0) {
  std::vector<DerValue> Values = DerChildren(Encoding);
  DerValue &Value = Values.at(Path[Level]);
  if (Level + 1 == Path.size()) {
    Edit(Value);
  } else {
    Value.Content = DerEdit(Value.Content, Path, Edit, Level + 1);
  }
  return DerJoin(Values);
}

// The value at the end of Path.
inline DerValue DerFind(const Bytes &Encoding, const std::vector<UINTN> &Path) {
  DerValue Found{};
  DerEdit(Encoding, Path, [&](DerValue &Value) { Found = Value; });
  return Found;
}

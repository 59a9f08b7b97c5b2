// Reading DER (X.690) piece by piece, for tools that show what a certificate or message says. Believes no
// length before it was compared with what is there.
#pragma once

#include <span>
#include <stdexcept>

#include "uefi/Base.h"

class DerError : public std::runtime_error {
public:
  DerError() : std::runtime_error("malformed DER") {}
};

using DerBytes = std::span<const UINT8>;

struct DerElement {
  UINT8 Tag;
  DerBytes Content;
  // With tag and length.
  DerBytes Whole;
};

class DerReader {
public:
  explicit DerReader(DerBytes Bytes) : Rest_(Bytes) {}

  bool AtEnd() const { return Rest_.empty(); }

  // Whether an element with this tag comes next.
  bool Sees(UINT8 Tag) const { return !Rest_.empty() && Rest_[0] == Tag; }

  // The next element. Throws DerError when there is none, its tag is of the long form, or its length
  // indefinite, of more than four bytes, or beyond the end.
  DerElement Next() {
    if (Rest_.size() < 2 || (Rest_[0] & 0x1F) == 0x1F) {
      throw DerError();
    }
    size_t Header = 2;
    size_t Size = Rest_[1];
    if (Size >= 0x80) {
      const size_t Count = Size - 0x80;
      if (Count == 0 || Count > 4 || Rest_.size() < Header + Count) {
        throw DerError();
      }
      Size = 0;
      for (; Header < 2 + Count; ++Header) {
        Size = Size << 8 | Rest_[Header];
      }
    }
    if (Size > Rest_.size() - Header) {
      throw DerError();
    }
    const DerElement Element = {Rest_[0], Rest_.subspan(Header, Size), Rest_.first(Header + Size)};
    Rest_ = Rest_.subspan(Header + Size);
    return Element;
  }

  // The same of an element that must have this tag.
  DerElement Next(UINT8 Tag) {
    if (!Sees(Tag)) {
      throw DerError();
    }
    return Next();
  }

  // The inside of the next element, which must have this tag.
  DerReader Enter(UINT8 Tag) { return DerReader(Next(Tag).Content); }

private:
  DerBytes Rest_;
};

// Widths follow Unicode's East Asian Width property, by the blocks that hold its wide characters.
#include "tools/fwboot/TextShape.h"

#include <algorithm>
#include <iterator>

namespace {

struct BLOCK {
  char32_t First;
  char32_t Last;
};

constexpr BLOCK mWideBlocks[] = {
    {0x1100, 0x115F}, {0x2E80, 0x303E}, {0x3041, 0xA4CF}, {0xAC00, 0xD7A3},   {0xF900, 0xFAFF},
    {0xFE30, 0xFE6F}, {0xFF01, 0xFF60}, {0xFFE0, 0xFFE6}, {0x1F300, 0x1FAFF}, {0x20000, 0x3FFFD},
};

// What ends a sentence or a bracket, and the mark that lengthens the sound before it.
constexpr std::u32string_view mNeverFirst =
    U".,;:!?)]}\u3001\u3002\u300D\u300F\u30FC\uFF01\uFF09\uFF0C\uFF0E\uFF1A\uFF1F";

bool IsWide(char32_t Character) {
  return std::any_of(std::begin(mWideBlocks), std::end(mWideBlocks),
                     [=](const BLOCK &Block) { return Character >= Block.First && Character <= Block.Last; });
}

bool IsPrintable(char32_t Character) {
  return Character >= 0x20 && (Character < 0x7F || Character >= 0xA0) && (Character & 0xFFFE) != 0xFFFE;
}

void AppendUtf8(std::string &To, char32_t Character) {
  const auto Byte = [&To](char32_t Value) { To += static_cast<char>(Value); };
  if (Character < 0x80) {
    Byte(Character);
  } else if (Character < 0x800) {
    Byte(0xC0 | Character >> 6);
    Byte(0x80 | (Character & 0x3F));
  } else if (Character < 0x10000) {
    Byte(0xE0 | Character >> 12);
    Byte(0x80 | (Character >> 6 & 0x3F));
    Byte(0x80 | (Character & 0x3F));
  } else {
    Byte(0xF0 | Character >> 18);
    Byte(0x80 | (Character >> 12 & 0x3F));
    Byte(0x80 | (Character >> 6 & 0x3F));
    Byte(0x80 | (Character & 0x3F));
  }
}

// Whether a line may end before Text[Place], which is not its first character.
bool MayBreakBefore(std::u32string_view Text, size_t Place) {
  if (mNeverFirst.find(Text[Place]) != mNeverFirst.npos) {
    return false;
  }
  return Text[Place - 1] == U' ' || IsWide(Text[Place - 1]) || IsWide(Text[Place]);
}

std::u32string WithoutBlanksAround(std::u32string_view Line) {
  const size_t First = Line.find_first_not_of(U' ');
  return First == Line.npos ? std::u32string()
                            : std::u32string(Line.substr(First, Line.find_last_not_of(U' ') - First + 1));
}

} // namespace

std::u32string CodePoints(std::u16string_view Text) {
  std::u32string Result;
  for (size_t Place = 0; Place < Text.size(); ++Place) {
    const char32_t Unit = Text[Place];
    const bool Leads = Unit >= 0xD800 && Unit < 0xDC00;
    if (Leads && Place + 1 < Text.size() && (Text[Place + 1] & 0xFC00) == 0xDC00) {
      Result += 0x10000 + ((Unit - 0xD800) << 10) + (Text[++Place] - 0xDC00);
    } else {
      Result += (Unit & 0xF800) == 0xD800 ? U'\uFFFD' : Unit;
    }
  }
  return Result;
}

std::string Utf8(std::u32string_view Text) {
  std::string Result;
  for (const char32_t Character : Text) {
    AppendUtf8(Result, IsPrintable(Character) ? Character : U'\uFFFD');
  }
  return Result;
}

std::string Printable(std::string_view Bytes) {
  std::string Result(Bytes);
  std::replace_if(
      Result.begin(), Result.end(), [](char Byte) { return Byte < 0x20 || Byte == 0x7F; }, '?');
  return Result;
}

UINTN Columns(char32_t Character) {
  if (Character >= 0x300 && Character < 0x370) {
    return 0;
  }
  return IsWide(Character) ? 2 : 1;
}

UINTN Columns(std::u32string_view Text) {
  UINTN Sum = 0;
  for (const char32_t Character : Text) {
    Sum += Columns(Character);
  }
  return Sum;
}

std::vector<std::u32string> Wrapped(std::u32string_view Text, UINTN Limit,
                                    const std::function<UINTN(char32_t)> &WidthOf) {
  std::vector<std::u32string> Lines;
  size_t Start = 0;
  size_t Break = 0;
  UINTN Width = 0;
  for (size_t Place = 0; Place < Text.size(); ++Place) {
    if (Place > Start && MayBreakBefore(Text, Place)) {
      Break = Place;
    }
    Width += WidthOf(Text[Place]);
    if (Width <= Limit || Place == Start || Text[Place] == U' ') {
      continue;
    }
    const size_t End = Break > Start ? Break : Place;
    Lines.push_back(WithoutBlanksAround(Text.substr(Start, End - Start)));
    Start = End;
    Width = 0;
    Place = Start - 1;
  }
  Lines.push_back(WithoutBlanksAround(Text.substr(Start)));
  return Lines;
}

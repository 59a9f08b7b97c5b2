// Draws with box characters; every row ends in the same column, whatever the widths of its characters.
#include "tools/fwboot/ScreenText.h"

#include <algorithm>

#include "tools/fwboot/TextShape.h"

namespace {

constexpr UINTN mMostColumns = 76;

std::string Repeated(const std::string &Piece, UINTN Count) {
  std::string Row;
  while (Count-- != 0) {
    Row += Piece;
  }
  return Row;
}

std::string Row(const std::u32string &Text, UINTN Width, UINTN Indent) {
  return "│ " + std::string(Indent, ' ') + Utf8(Text) + std::string(Width - Indent - Columns(Text), ' ') +
         " │";
}

std::vector<std::u32string> Fitted(const std::optional<std::u16string> &Line) {
  return Wrapped(ScreenLine(Line), mMostColumns, [](char32_t Character) { return Columns(Character); });
}

UINTN Widest(const std::vector<std::u32string> &Lines) {
  UINTN Width = 0;
  for (const std::u32string &Line : Lines) {
    Width = std::max(Width, Columns(Line));
  }
  return Width;
}

} // namespace

std::u32string ScreenLine(const std::optional<std::u16string> &Line) {
  return Line ? CodePoints(*Line) : U"(no text)";
}

std::vector<std::string> ScreenBox(const MessageDialog::Screen &Screen) {
  const std::vector<std::u32string> Title = Fitted(Screen.Title);
  std::vector<std::u32string> Lines;
  for (const auto &Line : Screen.Lines) {
    const std::vector<std::u32string> Pieces = Fitted(Line);
    Lines.insert(Lines.end(), Pieces.begin(), Pieces.end());
  }
  const UINTN Width = std::max(Widest(Title), Widest(Lines));
  std::vector<std::string> Box = {"┌" + Repeated("─", Width + 2) + "┐"};
  for (const std::u32string &Line : Title) {
    Box.push_back(Row(Line, Width, (Width - Columns(Line)) / 2));
  }
  Box.push_back("├" + Repeated("─", Width + 2) + "┤");
  for (const std::u32string &Line : Lines) {
    Box.push_back(Row(Line, Width, 0));
  }
  Box.push_back("└" + Repeated("─", Width + 2) + "┘");
  return Box;
}

// Glyphs come from FreeType; the layout is that of a firmware message box.
#include "tools/fwboot/ScreenPicture.h"

#include <vector>

#include <ft2build.h>
#include FT_FREETYPE_H

#include <fmt/format.h>

#include "tools/fwboot/Command.h"
#include "tools/fwboot/ScreenText.h"
#include "tools/fwboot/TextShape.h"

namespace {

constexpr COLOUR mBackdrop = {12, 24, 56};
constexpr COLOUR mPaper = {236, 238, 242};
constexpr COLOUR mInk = {24, 26, 32};
constexpr COLOUR mBanner = {168, 28, 32};
constexpr COLOUR mBannerInk = {255, 255, 255};

constexpr UINTN mWidth = 900;
constexpr UINTN mHeight = 330;
constexpr UINTN mMargin = 20;
constexpr UINTN mPadding = 24;
constexpr UINTN mBannerHeight = 52;
constexpr UINTN mTitleSize = 26;
constexpr UINTN mTextSize = 20;
constexpr UINTN mLineHeight = 28;
constexpr UINTN mTextWidth = mWidth - 2 * (mMargin + mPadding);

std::vector<std::u32string> Fitted(ScreenFont &Font, const std::optional<std::u16string> &Line) {
  return Wrapped(ScreenLine(Line), mTextWidth,
                 [&Font](char32_t Character) { return Font.Advance(Character); });
}

} // namespace

struct ScreenFont::LIBRARY {
  FT_Library Handle = nullptr;
  FT_Face Face = nullptr;

  LIBRARY() = default;
  LIBRARY(const LIBRARY &) = delete;
  LIBRARY &operator=(const LIBRARY &) = delete;
  // Releases the face as well.
  ~LIBRARY() { FT_Done_FreeType(Handle); }
};

ScreenFont::ScreenFont(const std::string &Path) : Path_(Path), Library_(std::make_unique<LIBRARY>()) {
  if (FT_Init_FreeType(&Library_->Handle) != 0 ||
      FT_New_Face(Library_->Handle, Path.c_str(), 0, &Library_->Face) != 0) {
    throw InputError(Path + ": not a font that can be read");
  }
}

ScreenFont::~ScreenFont() = default;

void ScreenFont::SetSize(UINTN Pixels) {
  if (FT_Set_Pixel_Sizes(Library_->Face, 0, static_cast<FT_UInt>(Pixels)) != 0) {
    throw InputError(Path_ + ": not a font of any size");
  }
}

void ScreenFont::Load(char32_t Character, bool Render) {
  const FT_UInt Glyph = FT_Get_Char_Index(Library_->Face, Character);
  if (Glyph == 0 || FT_Load_Glyph(Library_->Face, Glyph, Render ? FT_LOAD_RENDER : FT_LOAD_DEFAULT) != 0) {
    throw InputError(fmt::format("{}: no glyph for U+{:04X}", Path_, static_cast<UINT32>(Character)));
  }
}

UINTN ScreenFont::Advance(char32_t Character) {
  Load(Character, false);
  return static_cast<UINTN>(Library_->Face->glyph->advance.x) / 64;
}

UINTN ScreenFont::Advance(const std::u32string &Text) {
  UINTN Sum = 0;
  for (const char32_t Character : Text) {
    Sum += Advance(Character);
  }
  return Sum;
}

void ScreenFont::Draw(Picture &Onto, UINTN Left, UINTN Baseline, const std::u32string &Text, COLOUR Colour) {
  auto Pen = static_cast<INTN>(Left);
  for (const char32_t Character : Text) {
    Load(Character, true);
    const FT_GlyphSlot Slot = Library_->Face->glyph;
    const FT_Bitmap &Bitmap = Slot->bitmap;
    for (UINTN Y = 0; Y < Bitmap.rows; ++Y) {
      for (UINTN X = 0; X < Bitmap.width; ++X) {
        const UINT8 Coverage = Bitmap.buffer[static_cast<INTN>(Y) * Bitmap.pitch + static_cast<INTN>(X)];
        Onto.Blend(Pen + Slot->bitmap_left + static_cast<INTN>(X),
                   static_cast<INTN>(Baseline) - Slot->bitmap_top + static_cast<INTN>(Y), Colour, Coverage);
      }
    }
    Pen += Slot->advance.x / 64;
  }
}

Picture DrawScreen(const MessageDialog::Screen &Screen, ScreenFont &Font) {
  Picture Drawn(mWidth, mHeight, mBackdrop);
  Drawn.Fill(mMargin, mMargin, mWidth - 2 * mMargin, mHeight - 2 * mMargin, mPaper);
  Drawn.Fill(mMargin, mMargin, mWidth - 2 * mMargin, mBannerHeight, mBanner);
  Font.SetSize(mTitleSize);
  // A title has one line; what does not fit is cut off.
  const std::u32string Title = Fitted(Font, Screen.Title).front();
  Font.Draw(Drawn, (mWidth - Font.Advance(Title)) / 2, mMargin + 36, Title, mBannerInk);
  Font.SetSize(mTextSize);
  UINTN Baseline = mMargin + mBannerHeight + mLineHeight;
  for (const auto &Line : Screen.Lines) {
    for (const std::u32string &Piece : Fitted(Font, Line)) {
      Font.Draw(Drawn, mMargin + mPadding, Baseline, Piece, mInk);
      Baseline += mLineHeight;
    }
  }
  return Drawn;
}

// The violation screen as a picture, drawn with a scalable font.
#pragma once

#include <memory>
#include <string>

#include "simulator/MessageDialog.h"
#include "tools/fwboot/Picture.h"

// A font file. A character that it has no glyph for cannot be drawn: InputError, as for a file that is no
// font.
class ScreenFont {
public:
  explicit ScreenFont(const std::string &Path);
  ~ScreenFont();
  ScreenFont(const ScreenFont &) = delete;
  ScreenFont &operator=(const ScreenFont &) = delete;

  // The size in pixels of what follows.
  void SetSize(UINTN Pixels);

  // Pixels from one character to the next, and over a whole text.
  UINTN Advance(char32_t Character);
  UINTN Advance(const std::u32string &Text);

  // Draws Text from Left on, standing on Baseline.
  void Draw(Picture &Onto, UINTN Left, UINTN Baseline, const std::u32string &Text, COLOUR Colour);

private:
  struct LIBRARY;
  void Load(char32_t Character, bool Render);

  std::string Path_;
  std::unique_ptr<LIBRARY> Library_;
};

// All pictures have the same size.
Picture DrawScreen(const MessageDialog::Screen &Screen, ScreenFont &Font);

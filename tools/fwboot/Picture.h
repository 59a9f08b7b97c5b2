// A picture in memory, and its way into a PNG file. Knows nothing of what it shows.
#pragma once

#include <string>
#include <vector>

#include "uefi/Base.h"

struct COLOUR {
  UINT8 Red, Green, Blue;
};

class Picture {
public:
  Picture(UINTN Width, UINTN Height, COLOUR Background);

  UINTN Width() const { return Width_; }
  UINTN Height() const { return Height_; }

  // Fills a rectangle; what lies outside the picture is cut off, here and below.
  void Fill(UINTN Left, UINTN Top, UINTN Width, UINTN Height, COLOUR Colour);

  // Mixes Colour into one pixel, 255 covering it wholly.
  void Blend(INTN X, INTN Y, COLOUR Colour, UINT8 Coverage);

  // Copies a picture in.
  void Paste(const Picture &Other, UINTN Left, UINTN Top);

  // The picture at half its width and height, each pixel the mean of four.
  Picture Halved() const;

  // Throws InputError when the file cannot be written.
  void WritePng(const std::string &Path) const;

private:
  COLOUR &At(UINTN X, UINTN Y) { return Pixels_[Y * Width_ + X]; }
  const COLOUR &At(UINTN X, UINTN Y) const { return Pixels_[Y * Width_ + X]; }

  UINTN Width_;
  UINTN Height_;
  std::vector<COLOUR> Pixels_;
};

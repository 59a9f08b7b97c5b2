// Plain loops over 8-bit pixels; libpng writes the file.
#include "tools/fwboot/Picture.h"

#include <algorithm>

#include <png.h>

#include "tools/fwboot/Command.h"

Picture::Picture(UINTN Width, UINTN Height, COLOUR Background)
    : Width_(Width), Height_(Height), Pixels_(Width * Height, Background) {}

void Picture::Fill(UINTN Left, UINTN Top, UINTN Width, UINTN Height, COLOUR Colour) {
  for (UINTN Y = Top; Y < std::min(Top + Height, Height_); ++Y) {
    for (UINTN X = Left; X < std::min(Left + Width, Width_); ++X) {
      At(X, Y) = Colour;
    }
  }
}

void Picture::Blend(INTN X, INTN Y, COLOUR Colour, UINT8 Coverage) {
  if (X < 0 || Y < 0 || static_cast<UINTN>(X) >= Width_ || static_cast<UINTN>(Y) >= Height_) {
    return;
  }
  COLOUR &Pixel = At(static_cast<UINTN>(X), static_cast<UINTN>(Y));
  const auto Mixed = [Coverage](UINT8 Old, UINT8 New) {
    return static_cast<UINT8>((Old * (255 - Coverage) + New * Coverage) / 255);
  };
  Pixel = {Mixed(Pixel.Red, Colour.Red), Mixed(Pixel.Green, Colour.Green), Mixed(Pixel.Blue, Colour.Blue)};
}

void Picture::Paste(const Picture &Other, UINTN Left, UINTN Top) {
  for (UINTN Y = 0; Y < Other.Height_ && Top + Y < Height_; ++Y) {
    for (UINTN X = 0; X < Other.Width_ && Left + X < Width_; ++X) {
      At(Left + X, Top + Y) = Other.At(X, Y);
    }
  }
}

Picture Picture::Halved() const {
  Picture Half(Width_ / 2, Height_ / 2, {});
  const auto Mean = [this](UINTN X, UINTN Y, UINT8 COLOUR::*Part) {
    const int Sum = At(X, Y).*Part + At(X + 1, Y).*Part + At(X, Y + 1).*Part + At(X + 1, Y + 1).*Part;
    return static_cast<UINT8>((Sum + 2) / 4);
  };
  for (UINTN Y = 0; Y < Half.Height_; ++Y) {
    for (UINTN X = 0; X < Half.Width_; ++X) {
      Half.At(X, Y) = {Mean(2 * X, 2 * Y, &COLOUR::Red), Mean(2 * X, 2 * Y, &COLOUR::Green),
                       Mean(2 * X, 2 * Y, &COLOUR::Blue)};
    }
  }
  return Half;
}

void Picture::WritePng(const std::string &Path) const {
  png_image Image = {};
  Image.version = PNG_IMAGE_VERSION;
  Image.format = PNG_FORMAT_RGB;
  Image.width = static_cast<png_uint_32>(Width_);
  Image.height = static_cast<png_uint_32>(Height_);
  static_assert(sizeof(COLOUR) == 3);
  if (png_image_write_to_file(&Image, Path.c_str(), 0, Pixels_.data(), 0, nullptr) == 0) {
    throw InputError(Path + ": " + Image.message);
  }
}

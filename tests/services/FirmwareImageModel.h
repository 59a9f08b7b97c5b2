// What slot 4 must make of an image and its layout, worked out byte by byte rather than by the steps of the
// service; and layouts to try it with. Layouts given to it lie inside the image.
#pragma once

#include <random>

#include "tests/support/DriverTest.h"
#include "uefi/ImageLayoutProtocol.h"

struct ImageModel {
  Bytes Signed;     // what the signature covers
  Bytes Signature;  // what the first block holds when it is read
  UINT32 KeySelect; // the same
  Bytes Afterwards; // the image after the call

  ImageModel(const Bytes &Image, const IMAGE_LAYOUT_DESCRIPTOR &Layout, BOOLEAN Preserve);
};

// One to two signature blocks and up to three regions anywhere in an image of ImageSize bytes, overlaps
// included; with AllRegions none of them is empty.
IMAGE_LAYOUT_DESCRIPTOR RandomLayout(std::mt19937_64 &Random, UINTN ImageSize, bool AllRegions);

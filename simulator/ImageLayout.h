// The platform's description of the firmware image at hand: gives out the descriptor that a test put there,
// reserved bytes included. It does not look at any image. Its interface carries no pointer to itself, so one
// lives at a time.
#pragma once

#include "simulator/ScriptedStatus.h"
#include "uefi/ImageLayoutProtocol.h"

class ImageLayout {
public:
  ImageLayout();
  ~ImageLayout();
  ImageLayout(const ImageLayout &) = delete;
  ImageLayout &operator=(const ImageLayout &) = delete;

  // The interface to install.
  IMAGE_LAYOUT_PROTOCOL Interface;

  // What GetImageLayout gives out; a fresh one has no excluded region, its only block at offset 0, and noise
  // in the reserved bytes. A descriptor that arrives not zeroed, or NULL, is a fault.
  IMAGE_LAYOUT_DESCRIPTOR Descriptor;

  // A call that fails has filled the descriptor with noise already.
  ScriptedStatus GetImageLayoutCalls;

private:
  static EFI_STATUS EFIAPI GetImageLayout(IMAGE_LAYOUT_DESCRIPTOR *Descriptor);
};

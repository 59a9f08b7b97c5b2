// The model keeps no order of steps: each byte's fate follows from the areas that it lies in.
#include "tests/services/FirmwareImageModel.h"

namespace {

// Unsigned, so that an index before the area is far behind it.
bool Excluded(const IMAGE_LAYOUT_DESCRIPTOR &Layout, UINTN Index) {
  return Index - Layout.ExcludedRegion1Offset < Layout.ExcludedRegion1Size ||
         Index - Layout.ExcludedRegion2Offset < Layout.ExcludedRegion2Size ||
         Index - Layout.ExcludedRegion3Offset < Layout.ExcludedRegion3Size;
}

bool HasSecond(const IMAGE_LAYOUT_DESCRIPTOR &Layout) {
  return Layout.SecondSignatureBlockOffset != 0xFFFFFFFF;
}

} // namespace

ImageModel::ImageModel(const Bytes &Image, const IMAGE_LAYOUT_DESCRIPTOR &Layout, BOOLEAN Preserve)
    : Signed(Image), Signature(256), Afterwards(Image) {
  const UINTN First = Layout.SignatureBlockOffset + 1400;
  const UINTN Second = Layout.SecondSignatureBlockOffset + 1400;
  for (UINTN Index = 0; Index < Signature.size(); Index++) {
    Signature[Index] = Excluded(Layout, First + Index) ? 0xFF : Image[First + Index];
  }
  for (UINTN Index = 0; Index < Image.size(); Index++) {
    const bool InFirst = Index - First < Signature.size();
    const bool InSecond = HasSecond(Layout) && Index - Second < Signature.size();
    if (Excluded(Layout, Index) || InFirst || InSecond) {
      Signed[Index] = 0xFF;
    }
    if (Excluded(Layout, Index) && Preserve) {
      continue;
    }
    if (InSecond) {
      Afterwards[Index] = Signature[Index - Second];
    } else if (InFirst) {
      Afterwards[Index] = Signature[Index - First];
    } else if (Excluded(Layout, Index)) {
      Afterwards[Index] = 0xFF;
    }
  }
  const UINT8 *Field = &Signed[Layout.SignatureBlockOffset + 645];
  KeySelect = static_cast<UINT32>(Field[0] | Field[1] << 8 | Field[2] << 16 | Field[3] << 24);
}

IMAGE_LAYOUT_DESCRIPTOR RandomLayout(std::mt19937_64 &Random, UINTN ImageSize, bool AllRegions) {
  IMAGE_LAYOUT_DESCRIPTOR Layout = {};
  auto PlaceRegion = [&](UINT64 &Offset, UINT64 &Size) {
    Offset = Random() % ImageSize;
    // Small and large ones, some up to the very end.
    const UINT64 Room = ImageSize - Offset;
    Size = Random() % 4 == 0 ? Room : 1 + Random() % (Random() % 2 == 0 ? Room : std::min<UINT64>(Room, 40));
    if (!AllRegions && Random() % 3 == 0) {
      Size = 0;
      Offset = Random();
    }
  };
  PlaceRegion(Layout.ExcludedRegion1Offset, Layout.ExcludedRegion1Size);
  PlaceRegion(Layout.ExcludedRegion2Offset, Layout.ExcludedRegion2Size);
  PlaceRegion(Layout.ExcludedRegion3Offset, Layout.ExcludedRegion3Size);
  const UINTN BlockRoom = ImageSize - IMAGE_SIGNATURE_BLOCK_SIZE + 1;
  Layout.SignatureBlockOffset = Random() % BlockRoom;
  Layout.SecondSignatureBlockOffset = Random() % 2 == 0 ? IMAGE_LAYOUT_NO_SECOND_BLOCK : Random() % BlockRoom;
  return Layout;
}

// The image layout protocol.
#include "simulator/ImageLayout.h"

#include <algorithm>
#include <cstring>

#include "simulator/Faults.h"

namespace {

constexpr UINT8 mNoise = 0xA5;

ImageLayout *LivingLayout = nullptr;

} // namespace

ImageLayout::ImageLayout() : Interface{GetImageLayout} {
  if (LivingLayout != nullptr) {
    AbortRun("a second image layout was made while one lives");
  }
  LivingLayout = this;
  std::memset(&Descriptor, mNoise, sizeof(Descriptor));
  Descriptor.ExcludedRegion1Offset = Descriptor.ExcludedRegion1Size = 0;
  Descriptor.ExcludedRegion2Offset = Descriptor.ExcludedRegion2Size = 0;
  Descriptor.ExcludedRegion3Offset = Descriptor.ExcludedRegion3Size = 0;
  Descriptor.SignatureBlockOffset = 0;
  Descriptor.SecondSignatureBlockOffset = IMAGE_LAYOUT_NO_SECOND_BLOCK;
}

ImageLayout::~ImageLayout() {
  LivingLayout = nullptr;
}

EFI_STATUS EFIAPI ImageLayout::GetImageLayout(IMAGE_LAYOUT_DESCRIPTOR *Descriptor) {
  if (LivingLayout == nullptr) {
    AbortRun("GetImageLayout was called while no image layout lives");
  }
  const EFI_STATUS Scripted = LivingLayout->GetImageLayoutCalls.NextCall();
  if (Descriptor == nullptr) {
    ReportFault("GetImageLayout: no descriptor");
    return EFI_INVALID_PARAMETER;
  }
  const UINT8 *First = reinterpret_cast<const UINT8 *>(Descriptor);
  if (std::any_of(First, First + sizeof(*Descriptor), [](UINT8 Byte) { return Byte != 0; })) {
    ReportFault("GetImageLayout: the descriptor is not zeroed");
  }
  if (Scripted != EFI_SUCCESS) {
    std::memset(Descriptor, mNoise, sizeof(*Descriptor));
    return Scripted;
  }
  std::memcpy(Descriptor, &LivingLayout->Descriptor, sizeof(*Descriptor));
  return EFI_SUCCESS;
}

// The layout comes from outside the driver and is checked whole before the first byte changes. Regions and
// blocks may overlap; the order of the steps decides then.
#include "driver/trust/FirmwareImage.h"

#include "driver/core/DriverContext.h"
#include "driver/platform/Memory.h"
#include "driver/platform/Pool.h"
#include "driver/platform/Protocols.h"
#include "driver/trust/DataList.h"
#include "uefi/ImageLayoutProtocol.h"
#include "uefi/PolicyCheckWaiverProtocol.h"

namespace {

constexpr UINTN RegionCount = 3;
constexpr UINT8 BlankByte = 0xFF;
constexpr UINTN SignatureSize = IMAGE_SIGNATURE_BLOCK_SIGNATURE_SIZE;

// An excluded region; Saved holds its old contents while the image is blanked, or NULL.
struct REGION {
  UINT64 Offset;
  UINT64 Size;
  VOID *Saved;
};

struct LAYOUT {
  REGION Regions[RegionCount];
  UINT64 Block;
  UINT64 SecondBlock;
  bool HasSecondBlock;
};

bool LiesInside(UINT64 Offset, UINT64 Size, UINTN ImageSize) {
  return Offset <= ImageSize && Size <= ImageSize - Offset;
}

EFI_STATUS ReadLayout(LAYOUT *Layout) {
  IMAGE_LAYOUT_DESCRIPTOR Descriptor;
  ZeroMemory(&Descriptor, sizeof(Descriptor));
  IMAGE_LAYOUT_PROTOCOL *Protocol;
  EFI_STATUS Status = LocateInterface(mImageLayoutProtocolGuid, &Protocol);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  if (Protocol == nullptr) {
    return EFI_NOT_FOUND; // a handle may carry the GUID without an interface
  }
  Status = Protocol->GetImageLayout(&Descriptor);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  Layout->Regions[0] = {Descriptor.ExcludedRegion1Offset, Descriptor.ExcludedRegion1Size, nullptr};
  Layout->Regions[1] = {Descriptor.ExcludedRegion2Offset, Descriptor.ExcludedRegion2Size, nullptr};
  Layout->Regions[2] = {Descriptor.ExcludedRegion3Offset, Descriptor.ExcludedRegion3Size, nullptr};
  Layout->Block = Descriptor.SignatureBlockOffset;
  Layout->SecondBlock = Descriptor.SecondSignatureBlockOffset;
  Layout->HasSecondBlock = Layout->SecondBlock != IMAGE_LAYOUT_NO_SECOND_BLOCK;
  return EFI_SUCCESS;
}

bool LayoutLiesInside(const LAYOUT &Layout, UINTN ImageSize) {
  for (const REGION &Region : Layout.Regions) {
    if (Region.Size != 0 && !LiesInside(Region.Offset, Region.Size, ImageSize)) {
      return false;
    }
  }
  return LiesInside(Layout.Block, IMAGE_SIGNATURE_BLOCK_SIZE, ImageSize) &&
         (!Layout.HasSecondBlock || LiesInside(Layout.SecondBlock, IMAGE_SIGNATURE_BLOCK_SIZE, ImageSize));
}

void ReleaseRegions(LAYOUT *Layout) {
  for (REGION &Region : Layout->Regions) {
    FreeAndClear(Region.Saved);
  }
}

EFI_STATUS SaveRegions(LAYOUT *Layout, const UINT8 *Image) {
  for (REGION &Region : Layout->Regions) {
    EFI_STATUS Status = AllocateZeroedInto(&Region.Saved, Region.Size);
    if (EFI_ERROR(Status)) {
      ReleaseRegions(Layout);
      return Status;
    }
  }
  for (const REGION &Region : Layout->Regions) {
    BoundedCopy(Region.Saved, Region.Size, Image + Region.Offset, Region.Size);
  }
  return EFI_SUCCESS;
}

void RestoreRegions(const LAYOUT &Layout, UINT8 *Image) {
  for (const REGION &Region : Layout.Regions) {
    if (Region.Saved != nullptr) {
      BoundedCopy(Image + Region.Offset, Region.Size, Region.Saved, Region.Size);
    }
  }
}

UINT8 *SignatureArea(UINT8 *Image, UINT64 Block) {
  return Image + Block + IMAGE_SIGNATURE_BLOCK_SIGNATURE_OFFSET;
}

// Takes the signature out, as it reads once the regions are blank.
void BlankImage(const LAYOUT &Layout, UINT8 *Image, UINT8 *Signature) {
  for (const REGION &Region : Layout.Regions) {
    if (Region.Size != 0) {
      FillMemory(Image + Region.Offset, Region.Size, BlankByte);
    }
  }
  MoveMemory(Signature, SignatureArea(Image, Layout.Block), SignatureSize);
  FillMemory(SignatureArea(Image, Layout.Block), SignatureSize, BlankByte);
  if (Layout.HasSecondBlock) {
    FillMemory(SignatureArea(Image, Layout.SecondBlock), SignatureSize, BlankByte);
  }
}

// The regions come after the signatures: where they overlap, the old contents win.
void RestoreImage(const LAYOUT &Layout, UINT8 *Image, const UINT8 *Signature) {
  MoveMemory(SignatureArea(Image, Layout.Block), Signature, SignatureSize);
  if (Layout.HasSecondBlock) {
    MoveMemory(SignatureArea(Image, Layout.SecondBlock), Signature, SignatureSize);
  }
  RestoreRegions(Layout, Image);
}

BUILTIN_KEY_TYPE SelectedKeyType(const UINT8 *Image, UINT64 Block) {
  UINT32 KeySelect;
  MoveMemory(&KeySelect, Image + Block + IMAGE_SIGNATURE_BLOCK_KEY_SELECT_OFFSET, sizeof(KeySelect));
  return KeySelect == 0 ? 0 : 5;
}

bool QueryPolicy(UINTN Operation, VOID *Buffer, UINTN Size) {
  // Read anew each time: a notification may have changed it during the last query.
  VALIDATION_POLICY_PROTOCOL *Policy = DriverContext.ValidationPolicy;
  return Policy != nullptr && Policy->QueryPolicy(Operation, Buffer, Size) != FALSE;
}

} // namespace

EFI_STATUS EFIAPI SvcVerifyFirmwareImage(UINT8 *Image, UINTN ImageSize, BOOLEAN Preserve) {
  return VerifyImageWithKeysOf(GetBuiltinKeys, Image, ImageSize, Preserve);
}

EFI_STATUS VerifyImageWithKeysOf(KEY_LOOKUP Lookup, UINT8 *Image, UINTN ImageSize, BOOLEAN Preserve) {
  if (Image == nullptr || ImageSize == 0) {
    return EFI_INVALID_PARAMETER;
  }
  LAYOUT Layout;
  EFI_STATUS Status = ReadLayout(&Layout);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  if (!LayoutLiesInside(Layout, ImageSize)) {
    return EFI_INVALID_PARAMETER;
  }
  if (Preserve) {
    Status = SaveRegions(&Layout, Image);
    if (EFI_ERROR(Status)) {
      return Status;
    }
  }
  UINT8 Signature[SignatureSize];
  BlankImage(Layout, Image, Signature);
  const VOID *Data = Image;
  const SIGNED_DATA Signed = {&Data, &ImageSize, 1, Signature, sizeof(Signature), HASH_TYPE_SHA256};
  Status = VerifyWithKeysOf(Lookup, SelectedKeyType(Image, Layout.Block), Signed, nullptr);
  RestoreImage(Layout, Image, Signature);
  ReleaseRegions(&Layout);
  return EFI_ERROR(Status) ? Status : CheckImagePolicy(Image, ImageSize);
}

EFI_STATUS CheckImagePolicy(UINT8 *Image, UINTN ImageSize) {
  POLICY_CHECK_WAIVER_PROTOCOL *Waiver;
  if (!EFI_ERROR(LocateInterface(mPolicyCheckWaiverProtocolGuid, &Waiver)) && Waiver != nullptr &&
      Waiver->IsWaived()) {
    return EFI_SUCCESS;
  }
  if (Image == nullptr || ImageSize == 0) {
    return EFI_INVALID_PARAMETER;
  }
  if (DriverContext.ValidationPolicy == nullptr) {
    return EFI_SUCCESS;
  }
  bool Expected = QueryPolicy(0, nullptr, 0);
  bool Verdict = QueryPolicy(1, Image, ImageSize);
  return Expected == Verdict ? EFI_SUCCESS : EFI_SECURITY_VIOLATION;
}

// IMAGE_LAYOUT_PROTOCOL: a platform module's description of where a firmware image keeps its signature blocks
// and the regions that its signature does not cover. The values come from outside and must be checked before
// use.
#pragma once

#include "uefi/Base.h"

#define IMAGE_LAYOUT_PROTOCOL_GUID                                                                           \
  EFI_GUID_INITIALIZER(0x07ea86b7, 0x80bc, 0x4002, 0x87, 0xbf, 0x82, 0x68, 0x2d, 0xe0, 0xcf, 0x0d)

// SecondSignatureBlockOffset when the image has one signature block only: 32 bits of ones in the 64-bit
// field.
#define IMAGE_LAYOUT_NO_SECOND_BLOCK 0x00000000FFFFFFFF

// Offsets and sizes are in bytes from the start of the image; a region of size 0 does not exist. The reserved
// bytes belong to the provider.
typedef struct {
  UINT8 Reserved0[296];
  UINT64 ExcludedRegion1Offset;
  UINT64 ExcludedRegion1Size;
  UINT8 Reserved312[32];
  UINT64 ExcludedRegion2Offset;
  UINT64 ExcludedRegion2Size;
  UINT8 Reserved360[8];
  UINT64 SignatureBlockOffset;
  UINT8 Reserved376[40];
  UINT64 SecondSignatureBlockOffset;
  UINT8 Reserved424[104];
  UINT64 ExcludedRegion3Offset;
  UINT64 ExcludedRegion3Size;
} IMAGE_LAYOUT_DESCRIPTOR;

// Fills the whole descriptor, which the caller owns and hands over zeroed.
typedef EFI_STATUS(EFIAPI *IMAGE_LAYOUT_GET)(IMAGE_LAYOUT_DESCRIPTOR *Descriptor);

// No interface pointer is passed.
typedef struct {
  IMAGE_LAYOUT_GET GetImageLayout;
} IMAGE_LAYOUT_PROTOCOL;

#ifdef __cplusplus
inline constexpr EFI_GUID mImageLayoutProtocolGuid = IMAGE_LAYOUT_PROTOCOL_GUID;
#endif

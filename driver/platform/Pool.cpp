// Pool blocks straight from the boot services; nothing is cached or recorded.
#include "driver/platform/Pool.h"

#include "driver/core/DriverContext.h"
#include "driver/platform/Memory.h"

VOID *AllocateBootPool(UINTN Size) {
  VOID *Block = nullptr;
  if (EFI_ERROR(DriverContext.BootServices->AllocatePool(EfiBootServicesData, Size, &Block))) {
    return nullptr;
  }
  return Block;
}

VOID *AllocateZeroedPool(UINTN Size) {
  VOID *Block = AllocateBootPool(Size);
  if (Block != nullptr) {
    ZeroMemory(Block, Size);
  }
  return Block;
}

EFI_STATUS AllocateZeroedInto(VOID **Variable, UINTN Size) {
  if (*Variable != nullptr || Size == 0) {
    return EFI_INVALID_PARAMETER;
  }
  *Variable = AllocateZeroedPool(Size);
  return *Variable == nullptr ? EFI_OUT_OF_RESOURCES : EFI_SUCCESS;
}

void FreeBootPool(VOID *Block) {
  DriverContext.BootServices->FreePool(Block);
}

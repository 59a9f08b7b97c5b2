// Boot-services pool memory (UEFI 2.10, section 7.2): the driver's only heap.
// Every block is EfiBootServicesData and belongs to whoever asked for it.
#pragma once

#include "uefi/Base.h"

// A new block of Size bytes, contents undefined; NULL when the pool refuses.
[[nodiscard]] VOID *AllocateBootPool(UINTN Size);

// A new block of Size zero bytes; NULL when the pool refuses.
[[nodiscard]] VOID *AllocateZeroedPool(UINTN Size);

// Stores a new zeroed block of Size bytes in *Variable.
// EFI_INVALID_PARAMETER: *Variable holds a pointer already or Size is 0, the
// variable is left alone; EFI_OUT_OF_RESOURCES: no memory, *Variable is NULL.
[[nodiscard]] EFI_STATUS AllocateZeroedInto(VOID **Variable, UINTN Size);

// Hands a block back to the pool; the pointer must not be NULL.
void FreeBootPool(VOID *Block);

// Hands the block in Variable back to the pool and sets it to NULL; a NULL
// variable is left alone.
template <typename TYPE> void FreeAndClear(TYPE *&Variable) {
  if (Variable != nullptr) {
    FreeBootPool(const_cast<VOID *>(static_cast<const VOID *>(Variable)));
    Variable = nullptr;
  }
}

// Owner of one pool block: freed when the owner dies, unless Release() handed
// it out.
template <typename TYPE> class PoolBlock {
public:
  explicit PoolBlock(TYPE *Block = nullptr) : Block_(Block) {}
  PoolBlock(PoolBlock &&Other) noexcept : Block_(Other.Release()) {}
  PoolBlock &operator=(PoolBlock &&) = delete;
  ~PoolBlock() { FreeAndClear(Block_); }

  [[nodiscard]] TYPE *Get() const { return Block_; }
  [[nodiscard]] TYPE *Release() {
    TYPE *Block = Block_;
    Block_ = nullptr;
    return Block;
  }
  explicit operator bool() const { return Block_ != nullptr; }

private:
  TYPE *Block_;
};

// An owned zeroed block of Size bytes, empty when the pool refuses.
inline PoolBlock<UINT8> ZeroedBlock(UINTN Size) {
  return PoolBlock<UINT8>(static_cast<UINT8 *>(AllocateZeroedPool(Size)));
}

// Pool memory for secrets: like PoolBlock, but its bytes are zeroed before the
// block goes back to the pool.
#pragma once

#include "driver/platform/Memory.h"
#include "driver/platform/Pool.h"

class SecretBlock {
public:
  SecretBlock() = default;
  // A zeroed block of Size bytes, empty when the pool refuses.
  explicit SecretBlock(UINTN Size) : Block_(static_cast<UINT8 *>(AllocateZeroedPool(Size))), Size_(Size) {}
  SecretBlock(SecretBlock &&Other) noexcept : Block_(Other.Block_), Size_(Other.Size_) {
    Other.Block_ = nullptr;
  }
  SecretBlock &operator=(SecretBlock &&Other) noexcept {
    UINT8 *Block = Block_;
    UINTN Size = Size_;
    Block_ = Other.Block_;
    Size_ = Other.Size_;
    Other.Block_ = Block;
    Other.Size_ = Size;
    return *this;
  }
  ~SecretBlock() {
    if (Block_ != nullptr) {
      WipeMemory(Block_, Size_);
      FreeAndClear(Block_);
    }
  }

  [[nodiscard]] UINT8 *Get() const { return Block_; }
  explicit operator bool() const { return Block_ != nullptr; }

private:
  UINT8 *Block_ = nullptr;
  UINTN Size_ = 0;
};

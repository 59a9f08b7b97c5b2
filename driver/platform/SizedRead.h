// Reading something whose size only the firmware knows: a probe with size 0,
// then the read into a pool block. Trusts no size that comes back.
#pragma once

#include "driver/platform/Pool.h"

// Read is called as EFI_STATUS Read(UINTN *Size, UINT8 *Buffer), first with
// size 0 and no buffer: it must answer EFI_BUFFER_TOO_SMALL with the size
// stored. Then it is called with a zeroed block that is Spare bytes longer than
// *Size says. Gives that block and stores in *Size how much of it, spare bytes
// apart, the firmware says it filled; empty when either call answers otherwise,
// the pool refuses, or the sizes do not add up.
template <typename READ> PoolBlock<UINT8> ReadWhole(READ Read, UINTN Spare, UINTN *Size) {
  UINTN Needed = 0;
  if (Read(&Needed, nullptr) != EFI_BUFFER_TOO_SMALL || Needed > ~UINTN{0} - Spare) {
    return PoolBlock<UINT8>();
  }
  PoolBlock<UINT8> Block = ZeroedBlock(Needed + Spare);
  *Size = Needed;
  if (!Block || EFI_ERROR(Read(Size, Block.Get())) || *Size > Needed) {
    return PoolBlock<UINT8>();
  }
  return Block;
}

// Table of live blocks: segments of slots that never move, the newest and
// largest first. A block's slot lies in a short window that the hash of its
// address chooses. Slots are claimed by one compare-exchange on the address; the
// size is written by the claimer alone, before anyone else knows the block.
#include "driver/runtime/Heap.h"

#include "driver/platform/Memory.h"
#include "driver/platform/Pool.h"

namespace {

struct SLOT {
  VOID *Block; // NULL: free
  UINTN Size;
};

struct SEGMENT {
  SEGMENT *Older;
  UINTN SlotCount; // a power of two, at least WindowSize
  SLOT *Slots;
};

constexpr UINTN WindowSize = 16;
constexpr UINTN FirstSlotCount = 2048;

SLOT FirstSlots[FirstSlotCount];
SEGMENT FirstSegment = {nullptr, FirstSlotCount, FirstSlots};
SEGMENT *Newest = &FirstSegment;

// The first of the WindowSize slots of Segment among which Block's lies.
SLOT *Window(const SEGMENT *Segment, const VOID *Block) {
  // Multiplicative hashing; pool blocks are at least 8 bytes apart.
  UINTN Hash = (reinterpret_cast<UINTN>(Block) >> 3) * 0x9E3779B97F4A7C15 >> 32;
  return &Segment->Slots[Hash & (Segment->SlotCount - WindowSize)];
}

bool Claim(SLOT *Slot, VOID *Block) {
  VOID *Free = nullptr;
  return __atomic_compare_exchange_n(&Slot->Block, &Free, Block, false, __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST);
}

SLOT *FindSlot(const VOID *Block) {
  for (const SEGMENT *Segment = Newest; Segment != nullptr; Segment = Segment->Older) {
    SLOT *First = Window(Segment, Block);
    for (SLOT *Slot = First; Slot != First + WindowSize; Slot++) {
      if (Slot->Block == Block) {
        return Slot;
      }
    }
  }
  return nullptr;
}

SLOT *ClaimSlot(VOID *Block) {
  for (const SEGMENT *Segment = Newest; Segment != nullptr; Segment = Segment->Older) {
    SLOT *First = Window(Segment, Block);
    for (SLOT *Slot = First; Slot != First + WindowSize; Slot++) {
      if (Slot->Block == nullptr && Claim(Slot, Block)) {
        return Slot;
      }
    }
  }
  return nullptr;
}

bool Grow() {
  UINTN SlotCount = Newest->SlotCount * 2;
  auto *Segment = static_cast<SEGMENT *>(AllocateZeroedPool(sizeof(SEGMENT) + SlotCount * sizeof(SLOT)));
  if (Segment == nullptr) {
    return false;
  }
  Segment->SlotCount = SlotCount;
  Segment->Slots = reinterpret_cast<SLOT *>(Segment + 1);
  // A notification may have grown the table meanwhile: its segment then becomes the older one.
  Segment->Older = Newest;
  while (!__atomic_compare_exchange_n(&Newest, &Segment->Older, Segment, false, __ATOMIC_SEQ_CST,
                                      __ATOMIC_SEQ_CST)) {
  }
  return true;
}

bool Record(VOID *Block, UINTN Size) {
  // An entry for this address is left over from a block that went to the pool directly.
  SLOT *Slot = FindSlot(Block);
  while (Slot == nullptr) {
    Slot = ClaimSlot(Block);
    if (Slot == nullptr && !Grow()) {
      return false;
    }
  }
  Slot->Size = Size;
  return true;
}

} // namespace

extern "C" VOID *malloc(UINTN Size) {
  VOID *Block = AllocateBootPool(Size);
  if (Block != nullptr && !Record(Block, Size)) {
    FreeBootPool(Block);
    return nullptr;
  }
  return Block;
}

extern "C" void free(VOID *Block) {
  if (Block == nullptr) {
    return;
  }
  // The entry goes first: after the release the address may be somebody else's.
  if (SLOT *Slot = FindSlot(Block); Slot != nullptr) {
    __atomic_store_n(&Slot->Block, nullptr, __ATOMIC_SEQ_CST);
  }
  FreeBootPool(Block);
}

extern "C" VOID *realloc(VOID *Block, UINTN Size) {
  VOID *NewBlock = malloc(Size);
  if (NewBlock == nullptr) {
    return nullptr;
  }
  const SLOT *Old = Block != nullptr ? FindSlot(Block) : nullptr;
  UINTN Kept = Old != nullptr ? Old->Size : 0;
  if (Kept > Size) {
    Kept = Size;
  }
  BoundedCopy(NewBlock, Size, Block, Kept);
  ZeroMemory(static_cast<UINT8 *>(NewBlock) + Kept, Size - Kept);
  free(Block);
  return NewBlock;
}

// The library's qsort: in-place quicksort, last element as pivot, not stable.
// The one recursive routine of the driver; it recurses into the smaller part
// alone, so that its depth is logarithmic whatever the input.
#include <stdlib.h>

#include "driver/platform/Memory.h"
#include "driver/platform/Pool.h"

namespace {

constexpr UINTN StackScratchSize = 64;

struct SORT {
  UINTN Width;
  int (*Compare)(const VOID *, const VOID *);
  UINT8 *Scratch; // Width bytes

  void Swap(UINT8 *First, UINT8 *Second) const {
    if (First != Second) {
      MoveMemory(Scratch, First, Width);
      MoveMemory(First, Second, Width);
      MoveMemory(Second, Scratch, Width);
    }
  }

  // Everything not above the last element ends before it, in its final place;
  // returns that place.
  UINTN Partition(UINT8 *Base, UINTN Count) const {
    UINT8 *Pivot = Base + (Count - 1) * Width;
    UINTN Lower = 0;
    for (UINTN Index = 0; Index < Count - 1; Index++) {
      if (Compare(Base + Index * Width, Pivot) <= 0) {
        Swap(Base + Lower * Width, Base + Index * Width);
        Lower++;
      }
    }
    Swap(Base + Lower * Width, Pivot);
    return Lower;
  }

  void Run(UINT8 *Base, UINTN Count) const { // NOLINT(misc-no-recursion)
    while (Count >= 2) {
      UINTN Lower = Partition(Base, Count);
      UINT8 *UpperBase = Base + (Lower + 1) * Width;
      UINTN Upper = Count - Lower - 1;
      if (Lower < Upper) {
        Run(Base, Lower);
        Base = UpperBase;
        Count = Upper;
      } else {
        Run(UpperBase, Upper);
        Count = Lower;
      }
    }
  }
};

} // namespace

extern "C" void qsort(VOID *Base, size_t Count, size_t Width, int (*Compare)(const VOID *, const VOID *)) {
  if (Count < 2 || Width == 0) {
    return;
  }
  UINT8 StackScratch[StackScratchSize];
  PoolBlock<UINT8> PoolScratch(Width > StackScratchSize ? static_cast<UINT8 *>(AllocateBootPool(Width))
                                                        : nullptr);
  UINT8 *Scratch = Width > StackScratchSize ? PoolScratch.Get() : StackScratch;
  if (Scratch == nullptr) {
    return; // without memory the array stays as it was
  }
  SORT{Width, Compare, Scratch}.Run(static_cast<UINT8 *>(Base), Count);
}

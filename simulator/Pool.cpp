// The strict pool. A block lies in one host allocation as front guard, contents, back guard; the guards and
// all released bytes are also closed to instrumented code when the address sanitizer is there.
#include "simulator/Pool.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "simulator/Faults.h"

#if defined(__SANITIZE_ADDRESS__)
#define POOL_UNDER_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define POOL_UNDER_SANITIZER 1
#endif
#endif

#ifdef POOL_UNDER_SANITIZER
#include <sanitizer/asan_interface.h>
#else
#define ASAN_POISON_MEMORY_REGION(Address, Size) ((VOID)(Address), (VOID)(Size))
#define ASAN_UNPOISON_MEMORY_REGION(Address, Size) ((VOID)(Address), (VOID)(Size))
#endif

namespace {

// The host aligns to 16, so a front guard of 8 modulo 16 keeps every block off that alignment.
constexpr UINTN mFrontGuard = 24;
constexpr UINTN mBackGuard = 32;
constexpr UINT8 mGuardByte = 0xC7;
constexpr UINTN mCapacity = UINTN{1} << 30;
constexpr UINTN mKeptBytesLimit = UINTN{4} << 20;
constexpr UINTN mKeptBlocksLimit = 4096;

UINT8 *HostStart(const Pool::Block &Block) {
  return Block.Address - mFrontGuard;
}
UINTN HostSize(const Pool::Block &Block) {
  return mFrontGuard + Block.Size + mBackGuard;
}

bool IsFilled(const UINT8 *Start, UINTN Size, UINT8 Value) {
  return Size == 0 || (Start[0] == Value && std::memcmp(Start, Start + 1, Size - 1) == 0);
}

VOID CloseGuards(const Pool::Block &Block) {
  ASAN_POISON_MEMORY_REGION(HostStart(Block), mFrontGuard);
  ASAN_POISON_MEMORY_REGION(Block.Address + Block.Size, mBackGuard);
}

// The memory types a pool can be asked for (UEFI 2.10, section 7.2, AllocatePool).
bool IsPoolType(EFI_MEMORY_TYPE Type) {
  const bool Reserved = Type >= EfiMaxMemoryType && Type <= 0x6FFFFFFF;
  return !Reserved && Type != EfiConventionalMemory && Type != EfiPersistentMemory &&
         Type != EfiUnacceptedMemoryType;
}

std::string Describe(const Pool::Block &Block) {
  return "block " + std::to_string(Block.Number) + " of " + std::to_string(Block.Size) + " bytes made at " +
         DescribePlace(Block.Caller);
}

} // namespace

Pool::~Pool() {
  while (!Kept_.empty()) {
    DropOldest();
  }
  for (const auto &Entry : Live_) {
    ASAN_UNPOISON_MEMORY_REGION(HostStart(Entry.second), HostSize(Entry.second));
    std::free(HostStart(Entry.second));
  }
}

EFI_STATUS Pool::Allocate(EFI_MEMORY_TYPE Type, UINTN Size, VOID **Buffer, const VOID *Caller) {
  if (Plain_) {
    *Buffer = std::malloc(Size);
    return *Buffer != nullptr ? EFI_SUCCESS : EFI_OUT_OF_RESOURCES;
  }
  const EFI_STATUS Scripted = Script_.NextCall();
  const UINTN Number = Calls();
  if (auto Hook = Hooks_.find(Number); Hook != Hooks_.end()) {
    Hook->second();
  }
  if (Buffer == nullptr || !IsPoolType(Type)) {
    return EFI_INVALID_PARAMETER;
  }
  std::memset(Buffer, mAllocateFill, sizeof(*Buffer));
  if (Scripted != EFI_SUCCESS) {
    return Scripted;
  }
  if (Size > mCapacity - Figures_.LiveBytes) {
    return EFI_OUT_OF_RESOURCES;
  }
  auto *Start = static_cast<UINT8 *>(std::malloc(mFrontGuard + Size + mBackGuard));
  if (Start == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  const Block Fresh{Start + mFrontGuard, Size, Type, Number, Caller};
  std::memset(Start, mGuardByte, HostSize(Fresh));
  std::memset(Fresh.Address, mAllocateFill, Size);
  CloseGuards(Fresh);
  Live_.emplace(Fresh.Address, Fresh);
  Figures_.LiveBlocks += 1;
  Figures_.LiveBytes += Size;
  Figures_.PeakBlocks = std::max(Figures_.PeakBlocks, Figures_.LiveBlocks);
  Figures_.PeakBytes = std::max(Figures_.PeakBytes, Figures_.LiveBytes);
  *Buffer = Fresh.Address;
  return EFI_SUCCESS;
}

EFI_STATUS Pool::Free(VOID *Buffer, const VOID *Caller) {
  if (Plain_) {
    std::free(Buffer);
    return EFI_SUCCESS;
  }
  const auto Entry = Live_.find(Buffer);
  if (Entry == Live_.end()) {
    const auto Earlier = History_.find(Buffer);
    ReportFault("FreePool at " + DescribePlace(Caller) +
                (Earlier != History_.end() ? ": double free of " + Describe(Earlier->second)
                                           : ": foreign free of an address that no block starts at"));
    return EFI_INVALID_PARAMETER;
  }
  const Block Released = Entry->second;
  CheckBlock(Released, "found on release");
  if (Observer_) {
    Observer_(Released);
  }
  Live_.erase(Entry);
  Figures_.LiveBlocks -= 1;
  Figures_.LiveBytes -= Released.Size;
  Retire(Released);
  return EFI_SUCCESS;
}

void Pool::CheckGuards() {
  for (const Block &Open : OpenBlocks()) {
    CheckBlock(Open, "found by a check");
  }
  for (const Block &Released : Kept_) {
    CheckReleased(Released);
  }
}

std::vector<Pool::Block> Pool::OpenBlocks() const {
  std::vector<Block> Open;
  for (const auto &Entry : Live_) {
    Open.push_back(Entry.second);
  }
  std::sort(Open.begin(), Open.end(),
            [](const Block &Left, const Block &Right) { return Left.Number < Right.Number; });
  return Open;
}

void Pool::CheckBlock(const Block &Checked, const char *When) {
  UINT8 *Front = HostStart(Checked);
  UINT8 *Back = Checked.Address + Checked.Size;
  ASAN_UNPOISON_MEMORY_REGION(Front, mFrontGuard);
  ASAN_UNPOISON_MEMORY_REGION(Back, mBackGuard);
  const struct {
    UINT8 *Guard;
    UINTN Size;
    const char *Side;
  } Guards[] = {{Front, mFrontGuard, "front"}, {Back, mBackGuard, "back"}};
  for (const auto &Side : Guards) {
    if (!IsFilled(Side.Guard, Side.Size, mGuardByte)) {
      ReportFault(std::string("damaged ") + Side.Side + " guard of " + Describe(Checked) + ", " + When);
      std::memset(Side.Guard, mGuardByte, Side.Size);
    }
  }
  CloseGuards(Checked);
}

void Pool::CheckReleased(const Block &Released) {
  ASAN_UNPOISON_MEMORY_REGION(HostStart(Released), HostSize(Released));
  if (!IsFilled(HostStart(Released), HostSize(Released), mFreeFill)) {
    ReportFault("write after release to " + Describe(Released));
    std::memset(HostStart(Released), mFreeFill, HostSize(Released));
  }
  ASAN_POISON_MEMORY_REGION(HostStart(Released), HostSize(Released));
}

void Pool::Retire(const Block &Released) {
  ASAN_UNPOISON_MEMORY_REGION(HostStart(Released), HostSize(Released));
  std::memset(HostStart(Released), mFreeFill, HostSize(Released));
  ASAN_POISON_MEMORY_REGION(HostStart(Released), HostSize(Released));
  History_.insert_or_assign(Released.Address, Released);
  Kept_.push_back(Released);
  KeptBytes_ += Released.Size;
  while (KeptBytes_ > mKeptBytesLimit || Kept_.size() > mKeptBlocksLimit) {
    DropOldest();
  }
}

void Pool::DropOldest() {
  const Block Oldest = Kept_.front();
  CheckReleased(Oldest);
  Kept_.pop_front();
  KeptBytes_ -= Oldest.Size;
  ASAN_UNPOISON_MEMORY_REGION(HostStart(Oldest), HostSize(Oldest));
  std::free(HostStart(Oldest));
}

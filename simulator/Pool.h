// The pool of UEFI 2.10, section 7.2, made strict: blocks aligned to 8 bytes and never to 16, guards on both
// sides, contents filled on allocation and release, released blocks kept a while so that later use shows.
// Knows nothing of task priority levels; the service around it does.
#pragma once

#include <deque>
#include <functional>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

#include "simulator/ScriptedStatus.h"
#include "uefi/Uefi.h"

class Pool {
public:
  static constexpr UINT8 mAllocateFill = 0xAF;
  static constexpr UINT8 mFreeFill = 0xDB;

  // One block not released yet. Number is that of the AllocatePool call, counted from 1 over the life of the
  // pool; Caller the place that called.
  struct Block {
    UINT8 *Address;
    UINTN Size;
    EFI_MEMORY_TYPE Type;
    UINTN Number;
    const VOID *Caller;
  };

  struct Statistics {
    UINTN LiveBlocks;
    UINTN LiveBytes;
    UINTN PeakBlocks;
    UINTN PeakBytes;
  };

  // A plain pool hands every call straight to the host: no guards, fills, records, scripts or counts.
  explicit Pool(bool Plain) : Plain_(Plain) {}
  ~Pool();
  Pool(const Pool &) = delete;
  Pool &operator=(const Pool &) = delete;

  // AllocatePool. EFI_INVALID_PARAMETER for a NULL place and for types that no pool is made of,
  // EFI_OUT_OF_RESOURCES as scripted or beyond 1 GiB of live bytes; a failed call leaves garbage in the
  // place, as the standard leaves it undefined.
  EFI_STATUS Allocate(EFI_MEMORY_TYPE Type, UINTN Size, VOID **Buffer, const VOID *Caller);

  // FreePool. A block released before and an address never handed out are faults and EFI_INVALID_PARAMETER; a
  // damaged guard is a fault.
  EFI_STATUS Free(VOID *Buffer, const VOID *Caller);

  // Allocation failures, EFI_OUT_OF_RESOURCES, counted from now (1 is the next call): one call, or all from
  // it on.
  void FailAt(UINTN Call) { Script_.FailAt(Call, EFI_OUT_OF_RESOURCES); }
  void FailFrom(UINTN Call) { Script_.FailFrom(Call, EFI_OUT_OF_RESOURCES); }
  void ClearFailures() { Script_.Clear(); }

  // AllocatePool calls over the life of the pool, failed ones included.
  UINTN Calls() const { return Script_.Calls(); }

  // Runs Hook inside the Call-th AllocatePool from now, before the block is made.
  void OnCall(UINTN Call, std::function<void()> Hook) { Hooks_[Calls() + Call] = std::move(Hook); }

  // Shows every block to Observer just before it is released and filled. An empty function ends it.
  void ObserveFree(std::function<void(const Block &)> Observer) { Observer_ = std::move(Observer); }

  // Reports each damaged guard of an open block and each released block that was written to since, once.
  void CheckGuards();

  // Open blocks in the order of their allocation.
  std::vector<Block> OpenBlocks() const;
  const Statistics &Figures() const { return Figures_; }

  // Takes the peaks anew from what is live now.
  void RestartPeaks() {
    Figures_.PeakBlocks = Figures_.LiveBlocks;
    Figures_.PeakBytes = Figures_.LiveBytes;
  }

private:
  void CheckBlock(const Block &Checked, const char *When);
  void CheckReleased(const Block &Released);
  void Retire(const Block &Released);
  void DropOldest();

  const bool Plain_;
  Statistics Figures_{};
  ScriptedStatus Script_;
  std::map<UINTN, std::function<void()>> Hooks_;
  std::function<void(const Block &)> Observer_;
  std::unordered_map<const VOID *, Block> Live_;
  // Every address ever released, with the block that was there last.
  std::unordered_map<const VOID *, Block> History_;
  std::deque<Block> Kept_;
  UINTN KeptBytes_ = 0;
};

// The families in the order of the report, and the buffers they share.
#include "benchmarks/work/Work.h"

#include <cstdlib>
#include <cstring>

#include <sys/mman.h>

namespace {

// In large pages: where the kernel puts small ones would be part of every figure. Never released.
UINT8 *NewBuffer(UINTN Size, UINT8 Value) {
  constexpr UINTN LargePage = UINTN{2} << 20;
  const UINTN Whole = (Size + LargePage - 1) / LargePage * LargePage;
  auto *Buffer = static_cast<UINT8 *>(std::aligned_alloc(LargePage, Whole));
  madvise(Buffer, Whole, MADV_HUGEPAGE);
  std::memset(Buffer, Value, Whole);
  return Buffer;
}

} // namespace

const UINT8 *InputBuffer() {
  static const UINT8 *const Buffer = NewBuffer(mBufferSize, mPattern);
  return Buffer;
}

UINT8 *OutputBuffer() {
  static UINT8 *const Buffer = NewBuffer(mBufferSize + 64, 0);
  return Buffer;
}

std::vector<WORK> AllWorks() {
  std::vector<WORK> All;
  for (const std::span<const WORK> Family :
       {DigestWorks(), MacWorks(), CipherWorks(), LayeredWorks(), Base64Works(), RandomWorks(), RsaWorks(),
        SignedDataWorks(), CertificateWorks(), DhWorks()}) {
    All.insert(All.end(), Family.begin(), Family.end());
  }
  return All;
}

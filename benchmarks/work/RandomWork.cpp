// Random bytes. The clock-seeded fill has no counterpart: how many passes it makes hangs on the time.
#include "benchmarks/work/Work.h"

#include <openssl/rand.h>

namespace {

constexpr UINTN mRandomSizes[] = {64, 1024, 16384, 1 << 20};

Bytes &Drawn() {
  static Bytes Buffer(1 << 20);
  return Buffer;
}

STEP Bare(UINTN Size) {
  return [Size] { return RAND_bytes(Drawn().data(), static_cast<int>(Size)) == 1; };
}

STEP Draw(const BOOTED &Driver, UINTN Size) {
  return
      [&Services = Driver.Services, Size] { return Services.SvcRandomBytes(Drawn().data(), Size) != FALSE; };
}

STEP Fill(const BOOTED &Driver, UINTN) {
  return [&Services = Driver.Services] {
    return Services.SvcRandomFillClockSeeded(Drawn().data(), 32) == EFI_SUCCESS;
  };
}

constexpr WORK mWorks[] = {
    {"Random bytes", "Draw, slot 47", UNIT::Bytes, mRandomSizes, 0.97, Bare, Draw},
    {"Random bytes", "Clock-seeded fill of 32 bytes, slot 50", UNIT::Nothing, mNoSize, 0, nullptr, Fill},
};

} // namespace

std::span<const WORK> RandomWorks() {
  return mWorks;
}

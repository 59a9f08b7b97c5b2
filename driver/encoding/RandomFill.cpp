// The chain of passes of the clock-seeded fill. The clock chip is read over its
// ports, without regard to its update cycle or data mode.
#include "driver/encoding/RandomFill.h"

#include <openssl/rand.h>

#include "driver/digest/HashAll.h"
#include "driver/encoding/Random.h"
#include "driver/platform/Memory.h"
#include "driver/platform/Ports.h"
#include "driver/platform/Processor.h"

namespace {

constexpr UINTN BlockSize = CRYPTO_SERVICES_SHA256_DIGEST_SIZE;
constexpr UINTN StampSize = 8; // the calendar fields of EFI_TIME, Year to Pad1
constexpr UINT16 CmosIndexPort = 0x70;
constexpr UINT16 CmosDataPort = 0x71;

// Bytes 16 to 31 of the seed block carry the end of the last digest from block to block and from call to
// call.
UINT8 RandomFillSeedBlock[BlockSize];
UINT8 RandomFillOutputBlock[BlockSize];

UINT8 ReadClockRegister(UINT8 Register) {
  WritePort8(CmosIndexPort, Register);
  UINT8 Bcd = ReadPort8(CmosDataPort);
  return static_cast<UINT8>((Bcd >> 4) * 10 + (Bcd & 0xF));
}

EFI_TIME ReadClock() {
  EFI_TIME Time = {};
  Time.Second = ReadClockRegister(0x00);
  Time.Minute = ReadClockRegister(0x02);
  Time.Hour = ReadClockRegister(0x04);
  Time.Day = ReadClockRegister(0x07);
  Time.Month = ReadClockRegister(0x08);
  Time.Year = static_cast<UINT16>(2000 + ReadClockRegister(0x09));
  return Time;
}

// Puts time stamp and counter in front of the seed block and returns the counter.
UINT64 StampSeedBlock(const EFI_TIME &Time) {
  UINT64 Counter = ProcessorTimeStamp();
  MoveMemory(RandomFillSeedBlock, &Time, StampSize);
  MoveMemory(RandomFillSeedBlock + StampSize, &Counter, sizeof(Counter));
  return Counter;
}

EFI_STATUS RunPass() {
  if (SvcRandomSeed(RandomFillSeedBlock, BlockSize)) {
    (void)RAND_bytes(RandomFillOutputBlock, BlockSize);
  }
  MoveMemory(RandomFillSeedBlock, RandomFillOutputBlock, BlockSize);
  UINTN DigestSize = BlockSize;
  EFI_STATUS Status =
      SvcHashAll(HASH_TYPE_SHA256, RandomFillSeedBlock, BlockSize, RandomFillOutputBlock, &DigestSize);
  MoveMemory(RandomFillSeedBlock, RandomFillOutputBlock, BlockSize);
  return Status;
}

// Passes after the first one for a block, 0 to 59.
UINT64 ExtraPasses(const EFI_TIME &Time, UINT64 Counter) {
  UINT8 Divisor = static_cast<UINT8>(Time.Second + Counter);
  return Counter % (Divisor != 0 ? Divisor : 1) % 60;
}

} // namespace

EFI_STATUS EFIAPI SvcRandomFillClockSeeded(UINT8 *Output, UINTN Size) {
  if (Output == nullptr || Size == 0) {
    return EFI_INVALID_PARAMETER;
  }
  const EFI_TIME Time = ReadClock();
  EFI_STATUS Status = EFI_SUCCESS;
  while (Size != 0) {
    UINT64 Counter = StampSeedBlock(Time);
    for (UINT64 Left = ExtraPasses(Time, Counter) + 1; Left != 0; Left--) {
      Status = RunPass();
      (void)StampSeedBlock(Time);
    }
    UINTN Chunk = Size < BlockSize ? Size : BlockSize;
    MoveMemory(Output, RandomFillOutputBlock, Chunk);
    Output += Chunk;
    Size -= Chunk;
  }
  return Status;
}

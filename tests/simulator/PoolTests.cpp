// Holds the pool to UEFI 2.10, section 7.2, and to its promise to catch what a driver does wrong with memory.
#include <cstring>

#include "tests/simulator/FirmwareTest.h"

namespace {

// Writes and reads where instrumented code may not.
__attribute__((no_sanitize("address"))) void Poke(UINT8 *Address, UINT8 Value) {
  *static_cast<volatile UINT8 *>(Address) = Value;
}

__attribute__((no_sanitize("address"))) bool AllAre(const volatile UINT8 *Bytes, UINTN Size, UINT8 Value) {
  UINTN Index = 0;
  while (Index < Size && Bytes[Index] == Value) {
    ++Index;
  }
  return Index == Size;
}

class PoolTests : public FirmwareTest {
protected:
  UINT8 *Allocate(UINTN Size) {
    VOID *Buffer = nullptr;
    return Boot->AllocatePool(EfiBootServicesData, Size, &Buffer) == EFI_SUCCESS
               ? static_cast<UINT8 *>(Buffer)
               : nullptr;
  }

  // Makes the pool let go of every block released so far.
  void FlushReleased() { Boot->FreePool(Allocate(UINTN{5} << 20)); }
};

TEST_F(PoolTests, BlocksAreAlignedToEightAndNoMoreAndFilled) {
  for (UINTN Size : {0, 1, 7, 8, 9, 15, 16, 17, 100, 4096, 100000}) {
    SCOPED_TRACE(testing::Message() << Size << " bytes");
    UINT8 *Block = Allocate(Size);
    EXPECT_EQ(reinterpret_cast<UINT64>(Block) % 16, 8u);
    EXPECT_TRUE(AllAre(Block, Size, Pool::mAllocateFill));
    EXPECT_EQ(Boot->FreePool(Block), EFI_SUCCESS);
    EXPECT_TRUE(AllAre(Block, Size, Pool::mFreeFill));
  }
}

TEST_F(PoolTests, RefusesWhatItCannotGive) {
  VOID *Buffer = nullptr;
  const EFI_MEMORY_TYPE NoPools[] = {EfiConventionalMemory, EfiPersistentMemory, EfiMaxMemoryType,
                                     0x6FFFFFFF};
  for (EFI_MEMORY_TYPE Type : NoPools) {
    EXPECT_EQ(Boot->AllocatePool(Type, 8, &Buffer), EFI_INVALID_PARAMETER) << Type;
  }
  EXPECT_EQ(Boot->AllocatePool(EfiBootServicesData, 8, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Boot->AllocatePool(EfiBootServicesData, ~UINTN{0}, &Buffer), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(Boot->AllocatePool(EfiBootServicesData, ~UINTN{0} - 8, &Buffer), EFI_OUT_OF_RESOURCES);
}

TEST_F(PoolTests, FailsOnceOrFromACallOnAndLeavesGarbageInThePlace) {
  const auto Succeeded = [&](int Calls) {
    std::string Pattern;
    for (int Call = 0; Call < Calls; ++Call) {
      VOID *Buffer = nullptr;
      if (Boot->AllocatePool(EfiBootServicesData, 16, &Buffer) == EFI_SUCCESS) {
        Pattern += '+';
        Boot->FreePool(Buffer);
      } else {
        Pattern += '-';
        EXPECT_EQ(reinterpret_cast<UINT64>(Buffer), 0xAFAFAFAFAFAFAFAFu);
      }
    }
    return Pattern;
  };
  EXPECT_EQ(Succeeded(2), "++");
  Firmware.Memory.FailAt(1);
  Firmware.Memory.FailAt(3);
  EXPECT_EQ(Succeeded(5), "-+-++");
  Firmware.Memory.FailFrom(2);
  EXPECT_EQ(Succeeded(4), "+---");
  Firmware.Memory.ClearFailures();
  EXPECT_EQ(Succeeded(2), "++");
  EXPECT_EQ(Firmware.Memory.Calls(), 13u);
}

TEST_F(PoolTests, CountsLiveAndPeak) {
  UINT8 *First = Allocate(100);
  UINT8 *Second = Allocate(50);
  Boot->FreePool(First);
  UINT8 *Third = Allocate(20);
  const Pool::Statistics &Figures = Firmware.Memory.Figures();
  EXPECT_EQ(Figures.LiveBlocks, 2u);
  EXPECT_EQ(Figures.LiveBytes, 70u);
  EXPECT_EQ(Figures.PeakBlocks, 2u);
  EXPECT_EQ(Figures.PeakBytes, 150u);
  Boot->FreePool(Second);
  Boot->FreePool(Third);
}

TEST_F(PoolTests, DamagedGuardsAreFoundOnReleaseAndByACheck) {
  const struct {
    UINTN Size;
    INT64 Offset;
    const char *Side;
  } Rows[] = {
      {16, -1, "front"}, {16, -24, "front"}, {16, 16, "back"}, {16, 47, "back"},
      {13, 13, "back"},  {13, 44, "back"},   {0, 0, "back"},   {0, -1, "front"},
  };
  for (const auto &Row : Rows) {
    SCOPED_TRACE(testing::Message() << Row.Size << " bytes, offset " << Row.Offset);
    const std::string Fault = std::string("damaged ") + Row.Side + " guard";
    UINT8 *Block = Allocate(Row.Size);
    Poke(Block + Row.Offset, 0);
    Firmware.Memory.CheckGuards();
    EXPECT_TRUE(FaultTaken(Fault));
    Firmware.Memory.CheckGuards();
    Poke(Block + Row.Offset, 0);
    EXPECT_EQ(Boot->FreePool(Block), EFI_SUCCESS);
    EXPECT_TRUE(FaultTaken(Fault));
  }
}

TEST_F(PoolTests, WritesAfterReleaseAreFoundByACheckAndWhenTheBlockIsLetGo) {
  for (UINTN Offset : {0, 5, 31}) {
    for (const bool Checked : {true, false}) {
      UINT8 *Block = Allocate(32);
      Boot->FreePool(Block);
      Firmware.Memory.CheckGuards();
      Poke(Block + Offset, 0);
      Checked ? Firmware.Memory.CheckGuards() : FlushReleased();
      EXPECT_TRUE(FaultTaken("write after release"));
    }
  }
}

TEST_F(PoolTests, DoubleAndForeignReleasesAreFaults) {
  UINT8 *Block = Allocate(32);
  UINT8 Local[64];
  for (UINT8 *Foreign : {static_cast<UINT8 *>(nullptr), Block + 8, Local}) {
    EXPECT_EQ(Boot->FreePool(Foreign), EFI_INVALID_PARAMETER);
    EXPECT_TRUE(FaultTaken("foreign free"));
  }
  EXPECT_EQ(Boot->FreePool(Block), EFI_SUCCESS);
  for (int Time = 0; Time < 2; ++Time) {
    EXPECT_EQ(Boot->FreePool(Block), EFI_INVALID_PARAMETER);
    EXPECT_TRUE(FaultTaken("double free of block 1 of 32 bytes"));
    FlushReleased();
  }
}

TEST_F(PoolTests, ObserverSeesContentsJustBeforeTheyGo) {
  std::string Seen;
  Firmware.Memory.ObserveFree(
      [&](const Pool::Block &Block) { Seen.assign(Block.Address, Block.Address + 3); });
  UINT8 *Block = Allocate(3);
  std::memcpy(Block, "key", 3);
  Boot->FreePool(Block);
  EXPECT_EQ(Seen, "key");
}

TEST_F(PoolTests, AnEventSignalledInsideAnAllocationRunsBeforeItReturns) {
  EFI_EVENT Event = MakeTracer(TPL_CALLBACK, "ran ");
  Firmware.Memory.OnCall(2, [&] {
    EXPECT_EQ(Firmware.Events.CurrentTpl(), TPL_NOTIFY);
    Boot->SignalEvent(Event);
    EXPECT_EQ(Trace, "");
  });
  Boot->FreePool(Allocate(8));
  EXPECT_EQ(Trace, "");
  Boot->FreePool(Allocate(8));
  EXPECT_EQ(Trace, "ran ");
  EXPECT_EQ(Firmware.Events.CurrentTpl(), TPL_APPLICATION);

  // Above the notification's level it has to wait.
  Boot->RaiseTPL(TPL_CALLBACK);
  Firmware.Memory.OnCall(1, [&] { Boot->SignalEvent(Event); });
  Boot->FreePool(Allocate(8));
  EXPECT_EQ(Trace, "ran ");
  Boot->RestoreTPL(TPL_APPLICATION);
  EXPECT_EQ(Trace, "ran ran ");
}

} // namespace

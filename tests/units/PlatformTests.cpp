// The platform layer: pool, copies, string packages, formatting.
#include <gtest/gtest.h>

#include <cstring>

#include "driver/core/DriverContext.h"
#include "driver/core/StringPackages.h"
#include "driver/digest/Md5.h"
#include "driver/digest/Sha1.h"
#include "driver/digest/Sha256.h"
#include "driver/platform/Events.h"
#include "driver/platform/FormatAscii.h"
#include "driver/platform/Memory.h"
#include "driver/platform/Pool.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/units/Internals.h"
#include "uefi/Hob.h"

namespace {

using PlatformTest = InternalsTest;

TEST_F(PlatformTest, ZeroedAllocationIntoAVariable) {
  VOID *Variable = nullptr;
  EXPECT_EQ(AllocateZeroedInto(&Variable, 0), EFI_INVALID_PARAMETER);
  Memory().FailAt(1);
  EXPECT_EQ(AllocateZeroedInto(&Variable, 16), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(Variable, nullptr);
  Memory().ClearFailures();
  ASSERT_EQ(AllocateZeroedInto(&Variable, 100), EFI_SUCCESS);
  EXPECT_EQ(Bytes(static_cast<UINT8 *>(Variable), static_cast<UINT8 *>(Variable) + 100), Bytes(100));
  EXPECT_EQ(Memory().OpenBlocks().back().Type, EfiBootServicesData);
  VOID *Held = Variable;
  EXPECT_EQ(AllocateZeroedInto(&Variable, 16), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Variable, Held);
  UINTN Before = LiveBlocks();
  FreeAndClear(Variable);
  EXPECT_EQ(Variable, nullptr);
  EXPECT_EQ(LiveBlocks(), Before - 1);
  FreeAndClear(Variable);
}

TEST_F(PlatformTest, BoundedCopyStopsAtTheSmallerSize) {
  const Bytes Source = {1, 2, 3, 4};
  GuardedBuffer Destination(10);
  BoundedCopy(Destination.Get(), 0, Source.data(), 4);
  BoundedCopy(Destination.Get(), 10, nullptr, 4);
  BoundedCopy(Destination.Get(), 10, Source.data(), 0);
  EXPECT_TRUE(Destination.Untouched());
  BoundedCopy(Destination.Get(), 10, Source.data(), 4);
  EXPECT_TRUE(Destination.OnlyWritten(4));
  EXPECT_EQ(memcmp(Destination.Get(), Source.data(), 4), 0);
  Bytes Overlapping = {1, 2, 3, 4, 5, 6};
  BoundedCopy(Overlapping.data() + 1, 5, Overlapping.data(), 6);
  EXPECT_EQ(Overlapping, (Bytes{1, 1, 2, 3, 4, 5}));
}

TEST_F(PlatformTest, ReversedCopy) {
  UINT8 Result[4] = {9, 9, 9, 9};
  const Bytes Source = {1, 2, 3, 4};
  EXPECT_EQ(CopyByteReversed(nullptr, 3, Source.data(), 3), EFI_INVALID_PARAMETER);
  EXPECT_EQ(CopyByteReversed(Result, 3, nullptr, 3), EFI_INVALID_PARAMETER);
  EXPECT_EQ(CopyByteReversed(Result, 0, Source.data(), 0), EFI_INVALID_PARAMETER);
  EXPECT_EQ(CopyByteReversed(Result, 3, Source.data(), 4), EFI_BAD_BUFFER_SIZE);
  EXPECT_EQ(Result[0], 9);
  EXPECT_EQ(CopyByteReversed(Result, 3, Source.data(), 3), EFI_SUCCESS);
  EXPECT_EQ(Bytes(Result, Result + 4), (Bytes{3, 2, 1, 9}));
  EXPECT_EQ(CopyByteReversed(Result, 4, Source.data(), 4), EFI_SUCCESS);
  EXPECT_EQ(Bytes(Result, Result + 4), (Bytes{4, 3, 2, 1}));
}

TEST_F(PlatformTest, HashContextsAreDuplicatedWhole) {
  struct Row {
    BOOLEAN(EFIAPI *Duplicate)(const VOID *, VOID *);
    UINTN Size;
  };
  for (const Row &Case : {Row{HashRowSha1Duplicate, 96}, Row{HashRowSha256Duplicate, 112}, Row{HashRowMd5Duplicate, 92}}) {
    Bytes From = Pattern(Case.Size);
    GuardedBuffer To(Case.Size);
    EXPECT_FALSE(Case.Duplicate(nullptr, To.Get()));
    EXPECT_FALSE(Case.Duplicate(From.data(), nullptr));
    EXPECT_TRUE(To.Untouched());
    EXPECT_TRUE(Case.Duplicate(From.data(), From.data()));
    EXPECT_EQ(From, Pattern(Case.Size));
    EXPECT_TRUE(Case.Duplicate(From.data(), To.Get()));
    EXPECT_EQ(To.Content(), From);
    EXPECT_TRUE(To.OnlyWritten(Case.Size));
  }
}

TEST_F(PlatformTest, FormatsOneNumberWithinTheBuffer) {
  struct Row {
    UINTN Size;
    const char *Format;
    INT64 Value;
    const char *Text;
  };
  const Row Rows[] = {
      {64, "seed (%ld)", 0, "seed (0)"},
      {64, "%ld%", -1, "-1%"},
      {64, "%ld", INT64_MIN, "-9223372036854775808"},
      {64, "%ld", INT64_MAX, "9223372036854775807"},
      {9, "seed (%ld)", 12345, "seed (12"},
      {7, "seed (%ld)", 12345, "seed ("},
      {1, "seed", 0, ""},
      {64, "100%d %l", 5, "100%d %l"},
  };
  for (const Row &Case : Rows) {
    GuardedBuffer Buffer(Case.Size);
    FormatAscii(reinterpret_cast<CHAR8 *>(Buffer.Get()), Case.Size, Case.Format, Case.Value);
    EXPECT_STREQ(reinterpret_cast<CHAR8 *>(Buffer.Get()), Case.Text);
    EXPECT_TRUE(Buffer.OnlyWritten(strlen(Case.Text) + 1));
  }
  GuardedBuffer Buffer(4);
  FormatAscii(reinterpret_cast<CHAR8 *>(Buffer.Get()), 0, "x", 0);
  EXPECT_TRUE(Buffer.Untouched());
}

TEST_F(PlatformTest, HobListIsTheFirstEntryOfItsGuid) {
  EXPECT_EQ(DriverContext.HobList, nullptr);
  // Nothing but the end of the list, so that the walk over it has nothing to find.
  static UINT8 EndOfList[8] = {0xFF, 0xFF, 8, 0};
  static UINT8 Other[8];
  Options.Prepare = [](DriverSession &Starting) {
    Starting.Firmware().AddConfiguration({1, 2, 3, {4}}, Other);
    Starting.Firmware().AddConfiguration(mEfiHobListGuid, EndOfList);
    Starting.Firmware().AddConfiguration(mEfiHobListGuid, Other);
  };
  Reboot();
  EXPECT_EQ(DriverContext.HobList, EndOfList);
}

TEST_F(PlatformTest, StringPackagesBecomeOnePackageList) {
  const EFI_GUID List = {0x11223344, 0x5566, 0x7788, {1, 2, 3, 4, 5, 6, 7, 8}};
  // A strings package "en" with the one string "A", and a second with "B".
  auto MakeArray = [](CHAR8 Letter) {
    Bytes Package = {0, 0, 0, 0x04, 49, 0, 0, 0, 49, 0, 0, 0};
    Package.resize(12 + 32);
    Package.insert(Package.end(), {1, 0, static_cast<UINT8>('e'), static_cast<UINT8>(Letter), 0});
    Package.insert(Package.end(), {0x14, static_cast<UINT8>(Letter), 0, 0, 0, 0x00});
    Package[0] = static_cast<UINT8>(Package.size());
    Bytes Array = {static_cast<UINT8>(Package.size() + 4), 0, 0, 0};
    Array.insert(Array.end(), Package.begin(), Package.end());
    return Array;
  };
  const Bytes One = MakeArray('n');
  const Bytes Two = MakeArray('o');
  const Bytes Empty = {4, 0, 0, 0};
  const UINT8 *const Nothing[] = {nullptr};
  const UINT8 *const NoPackages[] = {Empty.data(), nullptr};
  const UINT8 *const Both[] = {One.data(), Two.data(), nullptr};
  EXPECT_EQ(AddStringPackages(List, nullptr, Nothing), nullptr);
  EXPECT_EQ(AddStringPackages(List, nullptr, NoPackages), nullptr);
  Memory().FailAt(1);
  EXPECT_EQ(AddStringPackages(List, nullptr, Both), nullptr);
  Memory().ClearFailures();
  UINTN Before = LiveBlocks();
  EFI_HII_HANDLE Handle = AddStringPackages(List, nullptr, Both);
  ASSERT_NE(Handle, nullptr);
  EXPECT_EQ(LiveBlocks(), Before) << "the database keeps its own copy";
  Bytes Export(400);
  UINTN Size = Export.size();
  ASSERT_EQ(DriverContext.HiiDatabase->ExportPackageLists(
                DriverContext.HiiDatabase, Handle, &Size, reinterpret_cast<EFI_HII_PACKAGE_LIST_HEADER *>(Export.data())),
            EFI_SUCCESS);
  Bytes Expected(20);
  memcpy(Expected.data(), &List, sizeof(List));
  Expected.insert(Expected.end(), One.begin() + 4, One.end());
  Expected.insert(Expected.end(), Two.begin() + 4, Two.end());
  Expected.insert(Expected.end(), {4, 0, 0, 0xDF});
  Expected[16] = static_cast<UINT8>(Expected.size());
  Export.resize(Size);
  EXPECT_EQ(Export, Expected);
}

} // namespace

// The platform layer: pool, copies, string packages, formatting.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "uefi/Uefi.h" // first: the library's headers want its types

#include <openssl/objects.h>

#include "driver/cipher/AesLayered.h"
#include "driver/core/DriverContext.h"
#include "driver/core/StringPackages.h"
#include "driver/digest/Hmac.h"
#include "driver/digest/Md5.h"
#include "driver/digest/Sha1.h"
#include "driver/digest/Sha256.h"
#include "driver/platform/Events.h"
#include "driver/platform/FormatAscii.h"
#include "driver/platform/Memory.h"
#include "driver/platform/Pool.h"
#include "driver/pubkey/PemKey.h"
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
  EXPECT_EQ(CopyByteReversed(Result, 3, Source.data(), 0), EFI_INVALID_PARAMETER);
  EXPECT_EQ(CopyByteReversed(Result, 0, Source.data(), 3), EFI_INVALID_PARAMETER);
  EXPECT_EQ(CopyByteReversed(Result, 3, Source.data(), 4), EFI_BAD_BUFFER_SIZE);
  EXPECT_EQ(Result[0], 9);
  EXPECT_EQ(CopyByteReversed(Result, 3, Source.data(), 3), EFI_SUCCESS);
  EXPECT_EQ(Bytes(Result, Result + 4), (Bytes{3, 2, 1, 9}));
  EXPECT_EQ(CopyByteReversed(Result, 4, Source.data(), 4), EFI_SUCCESS);
  EXPECT_EQ(Bytes(Result, Result + 4), (Bytes{4, 3, 2, 1}));
  EXPECT_EQ(CopyByteReversed(Result, 4, Result, 4), EFI_SUCCESS);
  EXPECT_EQ(Bytes(Result, Result + 4), Source);
}

TEST_F(PlatformTest, HashContextsAreDuplicatedWhole) {
  struct Row {
    BOOLEAN(EFIAPI *Duplicate)(const VOID *, VOID *);
    UINTN Size;
  };
  for (const Row &Case :
       {Row{HashRowSha1Duplicate, 96}, Row{HashRowSha256Duplicate, 112}, Row{HashRowMd5Duplicate, 92}}) {
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

TEST_F(PlatformTest, WhatNoSlotAsksOfTheRoutinesBehindIt) {
  Bytes Context = Pattern(CRYPTO_SERVICES_AES_CONTEXT_SIZE);
  UINT8 Byte = 0;
  EXPECT_FALSE(HashRowMd5Init(nullptr));
  EXPECT_FALSE(HashRowMd5Update(nullptr, &Byte, 1));
  EXPECT_FALSE(HashRowMd5Update(Context.data(), nullptr, 1));
  EXPECT_TRUE(HashRowMd5Update(Context.data(), nullptr, 0));
  EXPECT_FALSE(HashRowMd5Final(nullptr, &Byte));
  EXPECT_FALSE(HashRowMd5Final(Context.data(), nullptr));
  EXPECT_EQ(Context, Pattern(Context.size()));
  GuardedBuffer Md5(HashRowMd5GetContextSize());
  ASSERT_EQ(Md5.Size(), 92U);
  EXPECT_TRUE(HashRowMd5Init(Md5.Get()));
  Bytes Start = FromHex("0123456789abcdeffedcba9876543210");
  Start.resize(92);
  EXPECT_EQ(Md5.Content(), Start);
  EXPECT_TRUE(Md5.OnlyWritten(92));
  for (HASH_TYPE Type : {0, 3, 5}) {
    SecretBlock KeyBlock;
    EXPECT_EQ(HmacPrepareKeyBlock(Type, &Byte, 1, &KeyBlock), EFI_INVALID_PARAMETER);
    EXPECT_FALSE(KeyBlock);
  }

  const AesCipher Cipher(*reinterpret_cast<AES_CONTEXT *>(Context.data()), AES_ENCRYPT);
  UINT8 Vector[16] = {7};
  EXPECT_EQ(AesLayeredPass(nullptr, &Cipher, &Byte, 1, Vector), EFI_INVALID_PARAMETER);
  EXPECT_EQ(AesLayeredPass(&Cipher, nullptr, &Byte, 1, Vector), EFI_INVALID_PARAMETER);
  EXPECT_EQ(AesLayeredPass(&Cipher, &Cipher, nullptr, 1, Vector), EFI_INVALID_PARAMETER);
  EXPECT_EQ(AesLayeredPass(&Cipher, &Cipher, &Byte, 0, Vector), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Vector[0], 7);
  UINT8 Output = 5;
  EXPECT_EQ(AesLayeredRunPasses(nullptr, &Cipher, &Output, &Byte, 1), EFI_INVALID_PARAMETER);
  EXPECT_EQ(AesLayeredRunPasses(&Cipher, nullptr, &Output, &Byte, 1), EFI_INVALID_PARAMETER);
  EXPECT_EQ(AesLayeredRunPasses(&Cipher, &Cipher, nullptr, &Byte, 1), EFI_INVALID_PARAMETER);
  EXPECT_EQ(AesLayeredRunPasses(&Cipher, &Cipher, &Output, nullptr, 1), EFI_INVALID_PARAMETER);
  EXPECT_EQ(AesLayeredRunPasses(&Cipher, &Cipher, &Output, &Byte, 0), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Output, 5);
  EXPECT_EQ(Byte, 0);

  CHAR8 Password[4];
  EXPECT_EQ(PemPasswordCallback(Password, sizeof(Password), 0, const_cast<char *>("longer")), 4);
  EXPECT_EQ(std::string(Password, 4), "long");
  EXPECT_TRUE(IsRsaAlgorithm(OBJ_nid2obj(NID_rsa)));
  EXPECT_FALSE(IsRsaAlgorithm(OBJ_nid2obj(NID_rsassaPss)));
}

TEST_F(PlatformTest, AWatchHandsOutItsKeyAndAnEventNeedsNoNotification) {
  const EFI_GUID Protocol = {9, 9, 9, {9}};
  static UINTN Calls;
  Calls = 0;
  const EFI_EVENT_NOTIFY Notify = [](EFI_EVENT, VOID *) EFIAPI { Calls++; };
  VOID *Key = nullptr;
  ASSERT_EQ(WatchForProtocol(Protocol, TPL_CALLBACK, Notify, nullptr, &Key), EFI_SUCCESS);
  EXPECT_NE(Key, nullptr);
  Firmware().Handles.InstallHost(Protocol, &Calls);
  EXPECT_EQ(Calls, 1U);
  VOID *Interface = nullptr;
  EXPECT_EQ(Firmware().Handles.Locate(&Protocol, Key, &Interface), EFI_SUCCESS);
  EXPECT_EQ(Interface, &Calls);

  EFI_EVENT Event = nullptr;
  ASSERT_EQ(RegisterReadyToBootCallback(TPL_CALLBACK, nullptr, &Event), EFI_SUCCESS);
  Firmware().SignalReadyToBoot();
  const auto &Run = Firmware().Events.Notifications();
  EXPECT_TRUE(std::any_of(Run.begin(), Run.end(),
                          [&](const auto &Each) { return Each.Event == Event && Each.Returned; }));
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
    for (UINTN Byte : {0, 15}) {
      EFI_GUID Near = mEfiHobListGuid;
      reinterpret_cast<UINT8 *>(&Near)[Byte] ^= 1;
      Starting.Firmware().AddConfiguration(Near, Other);
    }
    Starting.Firmware().AddConfiguration(mEfiHobListGuid, EndOfList);
    Starting.Firmware().AddConfiguration(mEfiHobListGuid, Other);
  };
  Reboot();
  EXPECT_EQ(DriverContext.HobList, EndOfList);
}

TEST_F(PlatformTest, ValidationPolicyIsFoundWheneverItComes) {
  static VALIDATION_POLICY_PROTOCOL Policy;
  EXPECT_EQ(DriverContext.ValidationPolicy, nullptr);
  Firmware().Handles.InstallHost(mValidationPolicyProtocolGuid, &Policy);
  EXPECT_EQ(DriverContext.ValidationPolicy, &Policy);
  Options.Prepare = [](DriverSession &Starting) {
    Starting.Firmware().Handles.InstallHost(mValidationPolicyProtocolGuid, &Policy);
  };
  Reboot();
  EXPECT_EQ(DriverContext.ValidationPolicy, &Policy);
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
                DriverContext.HiiDatabase, Handle, &Size,
                reinterpret_cast<EFI_HII_PACKAGE_LIST_HEADER *>(Export.data())),
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

// Verification of firmware images through slot 4, up to what the shipped store lets through: every refusal,
// and that every byte is where it belongs afterwards.
#include <gtest/gtest.h>

#include "simulator/ImageLayout.h"
#include "simulator/PolicyWaiver.h"
#include "simulator/ValidationPolicy.h"
#include "tests/services/FirmwareImageModel.h"
#include "tests/services/RsaTestKey.h"
#include "tests/support/Sweep.h"

namespace {

class FirmwareImageTest : public DriverTest {
protected:
  FirmwareImageTest() {
    LibraryKeepsBlocks = true;
    Options.Prepare = [this](DriverSession &Starting) {
      HandleDatabase &Handles = Starting.Firmware().Handles;
      LayoutHandle = Handles.InstallHost(mImageLayoutProtocolGuid, &Layout.Interface);
      Handles.InstallHost(mPolicyCheckWaiverProtocolGuid, &Waiver.Interface);
      Handles.InstallHost(mValidationPolicyProtocolGuid, &Policy.Interface);
    };
  }
  // No image gets as far as the policy: the store has no key that would let it.
  void TearDown() override {
    EXPECT_EQ(Waiver.Calls, 0U);
    EXPECT_TRUE(Policy.Queries.empty());
    DriverTest::TearDown();
  }

  EFI_STATUS Verify(Bytes &Image, BOOLEAN Preserve) {
    return Svc().SvcVerifyFirmwareImage(Image.data(), Image.size(), Preserve);
  }

  // A refusal before the image changes.
  void ExpectUnchanged(EFI_STATUS Expected, BOOLEAN Preserve, const std::string &What) {
    Bytes Image = Original;
    const UINTN Live = LiveBlocks();
    EXPECT_EQ(Verify(Image, Preserve), Expected) << What;
    EXPECT_TRUE(Image == Original) << What;
    EXPECT_EQ(LiveBlocks(), Live) << What;
  }

  ImageLayout Layout;
  PolicyWaiver Waiver;
  ValidationPolicy Policy;
  EFI_HANDLE LayoutHandle = nullptr;
  const Bytes Original = Pattern(5000);
};

TEST_F(FirmwareImageTest, RefusalsBeforeTheImageIsTouched) {
  Session();
  UINT8 Byte = 0;
  EXPECT_EQ(Svc().SvcVerifyFirmwareImage(nullptr, 1, FALSE), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Svc().SvcVerifyFirmwareImage(&Byte, 0, FALSE), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Layout.GetImageLayoutCalls.Calls(), 0U) << "the arguments come first";
  for (BOOLEAN Preserve : {FALSE, TRUE}) {
    for (EFI_STATUS Status : {EFI_DEVICE_ERROR, EFI_NOT_READY}) {
      Layout.GetImageLayoutCalls.FailAt(1, Status);
      ExpectUnchanged(Status, Preserve, "layout refused");
      Firmware().Handles.LocateProtocolCalls.FailAt(1, Status);
      ExpectUnchanged(Status, Preserve, "lookup refused");
    }
  }
  // Looked for anew on every call.
  Firmware().Handles.UninstallHost(LayoutHandle, mImageLayoutProtocolGuid);
  ExpectUnchanged(EFI_NOT_FOUND, TRUE, "layout protocol gone");
  Firmware().Handles.InstallHost(mImageLayoutProtocolGuid, nullptr);
  ExpectUnchanged(EFI_NOT_FOUND, TRUE, "protocol without interface");
}

TEST_F(FirmwareImageTest, DescriptorsThatLeaveTheImageAreRefused) {
  constexpr UINT64 End = 5000;
  constexpr UINT64 Most = ~UINT64{0};
  constexpr UINT64 BlockEnd = End - IMAGE_SIGNATURE_BLOCK_SIZE;
  struct Row {
    UINT64 Offset, Size;
    bool Inside;
  };
  const Row Regions[] = {{0, End, true},
                         {End - 1, 1, true},
                         {End, 1, false},
                         {End - 1, 2, false},
                         {0, End + 1, false},
                         {Most, 1, false},
                         {Most, 2, false},
                         {1, Most, false},
                         {Most, Most, false},
                         {Most - 4, 5, false},
                         {End, Most - End + 2, false},
                         {1ULL << 63, 1ULL << 63, false}};
  using FIELD = UINT64 IMAGE_LAYOUT_DESCRIPTOR::*;
  const struct {
    FIELD Offset, Size;
  } Fields[] = {
      {&IMAGE_LAYOUT_DESCRIPTOR::ExcludedRegion1Offset, &IMAGE_LAYOUT_DESCRIPTOR::ExcludedRegion1Size},
      {&IMAGE_LAYOUT_DESCRIPTOR::ExcludedRegion2Offset, &IMAGE_LAYOUT_DESCRIPTOR::ExcludedRegion2Size},
      {&IMAGE_LAYOUT_DESCRIPTOR::ExcludedRegion3Offset, &IMAGE_LAYOUT_DESCRIPTOR::ExcludedRegion3Size}};
  const IMAGE_LAYOUT_DESCRIPTOR Good = [&] {
    IMAGE_LAYOUT_DESCRIPTOR Filled = Layout.Descriptor;
    for (const auto &Field : Fields) {
      Filled.*Field.Offset = 7;
      Filled.*Field.Size = 9;
    }
    return Filled;
  }();
  Session();
  for (BOOLEAN Preserve : {FALSE, TRUE}) {
    for (const auto &Field : Fields) {
      for (const Row &Case : Regions) {
        Layout.Descriptor = Good;
        Layout.Descriptor.*Field.Offset = Case.Offset;
        Layout.Descriptor.*Field.Size = Case.Size;
        if (Case.Inside) {
          Bytes Image = Original;
          EXPECT_EQ(Verify(Image, Preserve), EFI_SECURITY_VIOLATION);
        } else {
          const UINTN Calls = Memory().Calls();
          ExpectUnchanged(EFI_INVALID_PARAMETER, Preserve, "row " + std::to_string(&Case - Regions));
          EXPECT_EQ(Memory().Calls(), Calls) << "bounds come before anything is saved";
        }
      }
    }
    for (FIELD Block : {&IMAGE_LAYOUT_DESCRIPTOR::SignatureBlockOffset,
                        &IMAGE_LAYOUT_DESCRIPTOR::SecondSignatureBlockOffset}) {
      Layout.Descriptor = Good;
      for (UINT64 Offset : {BlockEnd + 1, End - 1, End, UINT64{0xFFFFFFFE}, UINT64{0x100000000}, Most,
                            Most - IMAGE_SIGNATURE_BLOCK_SIZE + 1, UINT64{1} << 63}) {
        Layout.Descriptor.*Block = Offset;
        ExpectUnchanged(EFI_INVALID_PARAMETER, Preserve, "block at " + std::to_string(Offset));
      }
      Layout.Descriptor.*Block = BlockEnd;
      Bytes Image = Original;
      EXPECT_EQ(Verify(Image, Preserve), EFI_SECURITY_VIOLATION);
    }
    Layout.Descriptor = Good;
    Layout.Descriptor.SignatureBlockOffset = IMAGE_LAYOUT_NO_SECOND_BLOCK;
    ExpectUnchanged(EFI_INVALID_PARAMETER, Preserve, "only a second block may be absent");
  }
}

// A region of size 0 may say any offset; Preserve refuses it, and asks for nothing first.
TEST_F(FirmwareImageTest, EmptyRegions) {
  Session();
  for (UINTN Empty = 0; Empty < 3; Empty++) {
    Layout.Descriptor.ExcludedRegion1Offset = Empty == 0 ? ~UINT64{0} : 10;
    Layout.Descriptor.ExcludedRegion1Size = Empty == 0 ? 0 : 20;
    Layout.Descriptor.ExcludedRegion2Offset = Empty == 1 ? ~UINT64{0} : 300;
    Layout.Descriptor.ExcludedRegion2Size = Empty == 1 ? 0 : 40;
    Layout.Descriptor.ExcludedRegion3Offset = Empty == 2 ? ~UINT64{0} : 4000;
    Layout.Descriptor.ExcludedRegion3Size = Empty == 2 ? 0 : 1000;
    ExpectUnchanged(EFI_INVALID_PARAMETER, TRUE, "empty region");
    // The regions before the empty one are saved first, and may fail first.
    Memory().FailAt(1);
    ExpectUnchanged(Empty == 0 ? EFI_INVALID_PARAMETER : EFI_OUT_OF_RESOURCES, TRUE, "no memory");
    Memory().ClearFailures();
    Bytes Image = Original;
    EXPECT_EQ(Verify(Image, FALSE), EFI_SECURITY_VIOLATION);
    EXPECT_TRUE(Image == ImageModel(Original, Layout.Descriptor, FALSE).Afterwards);
  }
}

TEST_F(FirmwareImageTest, EveryByteIsWhereItBelongsAfterwards) {
  std::mt19937_64 Random(53);
  UINTN Hashed = 0;
  for (UINTN Round = 0; Round < 600; Round++) {
    const BOOLEAN Preserve = Round % 2 == 0;
    const UINTN Size = IMAGE_SIGNATURE_BLOCK_SIZE + Random() % (Round % 3 == 0 ? 20 : 4000);
    Layout.Descriptor = RandomLayout(Random, Size, Preserve);
    Bytes Image = Pattern(Size, Round);
    if (Round % 4 < 2) { // KeySelect 0
      std::fill_n(Image.begin() + static_cast<std::ptrdiff_t>(Layout.Descriptor.SignatureBlockOffset) + 645,
                  4, 0);
    }
    const ImageModel Model(Image, Layout.Descriptor, Preserve);
    const UINTN Live = LiveBlocks();
    const UINTN Calls = Memory().Calls();
    ASSERT_EQ(Verify(Image, Preserve), EFI_SECURITY_VIOLATION) << "round " << Round;
    ASSERT_TRUE(Image == Model.Afterwards) << "round " << Round;
    // A refused key type costs its record and the saved regions, and no hash.
    if (Model.KeySelect != 0) {
      ASSERT_EQ(Memory().Calls() - Calls, Preserve ? 4U : 1U) << "round " << Round;
    }
    Hashed += Model.KeySelect == 0;
    if (Round > 10) {
      ASSERT_LE(LiveBlocks(), Live + 1) << "round " << Round;
    }
  }
  EXPECT_GT(Hashed, 100U);
}

TEST_F(FirmwareImageTest, SurvivesEveryAllocationFailure) {
  Layout.Descriptor.ExcludedRegion1Offset = 10;
  Layout.Descriptor.ExcludedRegion1Size = 700;
  Layout.Descriptor.ExcludedRegion2Offset = 4990;
  Layout.Descriptor.ExcludedRegion2Size = 10;
  Layout.Descriptor.ExcludedRegion3Offset = 2000;
  Layout.Descriptor.ExcludedRegion3Size = 1000;
  Layout.Descriptor.SignatureBlockOffset = 3000;
  Layout.Descriptor.SecondSignatureBlockOffset = 600;
  Session();
  GrowHeapTable(Svc());
  Bytes Image;
  for (BOOLEAN KeySelected : {FALSE, TRUE}) {
    for (BOOLEAN Preserve : {FALSE, TRUE}) {
      Bytes Before = Original;
      if (!KeySelected) {
        std::fill_n(Before.begin() + 3000 + 645, 4, 0);
      }
      const ImageModel Model(Before, Layout.Descriptor, Preserve);
      EFI_STATUS Status = EFI_SUCCESS;
      SweepScenario Scenario;
      Scenario.Name = std::string("SvcVerifyFirmwareImage, key type ") + (KeySelected ? "5" : "0");
      Scenario.Call = [&] {
        Image = Before;
        return Status = Verify(Image, Preserve);
      };
      Scenario.Success = EFI_SECURITY_VIOLATION;
      Scenario.Failures = {EFI_OUT_OF_RESOURCES, EFI_NOT_READY};
      Scenario.AfterSuccess = [&] { EXPECT_TRUE(Image == Model.Afterwards); };
      Scenario.AfterFailure = [&] {
        EXPECT_TRUE(Image == Model.Afterwards || (Preserve && Image == Before));
      };
      EXPECT_GE(SweepAllocations(Session(), Scenario), Preserve ? 4U : 1U);
    }
  }
}

} // namespace

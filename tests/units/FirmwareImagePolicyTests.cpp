// Verification of firmware images with keys that a test provides: what the shipped store never reaches, the
// success, the choice among keys, and the platform's policy.
#include <gtest/gtest.h>

#include "driver/core/DriverContext.h"
#include "driver/trust/FirmwareImage.h"
#include "simulator/ImageLayout.h"
#include "simulator/PolicyWaiver.h"
#include "simulator/ValidationPolicy.h"
#include "tests/services/FirmwareImageModel.h"
#include "tests/services/RsaTestKey.h"
#include "tests/units/Internals.h"

namespace {

constexpr UINTN mImageSize = 3400;
constexpr std::ptrdiff_t mBlock = 1000;

class FirmwareImagePolicyTest : public InternalsTest {
protected:
  void SetUp() override {
    InternalsTest::SetUp();
    Layout.Descriptor.ExcludedRegion1Offset = 64;
    Layout.Descriptor.ExcludedRegion1Size = 32;
    Layout.Descriptor.ExcludedRegion2Offset = 80;
    Layout.Descriptor.ExcludedRegion2Size = 200;
    Layout.Descriptor.ExcludedRegion3Offset = mImageSize - 1;
    Layout.Descriptor.ExcludedRegion3Size = 1;
    Layout.Descriptor.SignatureBlockOffset = mBlock;
    Layout.Descriptor.SecondSignatureBlockOffset = 1500;
    Firmware().Handles.InstallHost(mImageLayoutProtocolGuid, &Layout.Interface);
    Image = Pattern(mImageSize);
    std::fill_n(Image.begin() + mBlock + 645, 4, 0);
    Sign();
    Keys = {"type3-private"};
    AskedType = 77;
  }

  // Puts the signature over the image as it is under the layout into its first block.
  void Sign() {
    const Bytes Signature = SignMessage(Svc(), RsaTestKey::Load("type3-private"), HASH_TYPE_SHA256,
                                        ImageModel(Image, Layout.Descriptor, FALSE).Signed);
    std::copy(Signature.begin(), Signature.end(), Image.begin() + mBlock + 1400);
  }

  EFI_STATUS Verify(BOOLEAN Preserve = TRUE) {
    return VerifyImageWithKeysOf(LookUp, Image.data(), Image.size(), Preserve);
  }

  // Gives out the keys of Keys, whatever the type.
  static EFI_STATUS LookUp(BUILTIN_KEY_TYPE Type, BUILTIN_KEY_RECORD **Records, UINTN *Count,
                           const VOID *const *DataList) {
    AskedType = Type;
    EXPECT_NE(DataList, nullptr);
    EXPECT_EQ(*Records, nullptr);
    EXPECT_EQ(AllocateKeyRecords(Records, Keys.size() + 1), EFI_SUCCESS);
    for (UINTN Index = 0; Index < Keys.size(); Index++) {
      const Bytes Modulus = Reversed(RsaTestKey::Load(Keys[Index]).N());
      std::copy(Modulus.begin(), Modulus.end(), (*Records)[Index].Modulus);
    }
    *Count = Keys.size();
    return EFI_SUCCESS;
  }

  static inline std::vector<const char *> Keys;
  static inline BUILTIN_KEY_TYPE AskedType;
  ImageLayout Layout;
  Bytes Image;
};

TEST_F(FirmwareImagePolicyTest, ASignedImageIsAcceptedAndRestored) {
  for (BOOLEAN Preserve : {TRUE, FALSE}) {
    const Bytes Expected = ImageModel(Image, Layout.Descriptor, Preserve).Afterwards;
    EXPECT_EQ(Verify(Preserve), EFI_SUCCESS);
    EXPECT_EQ(AskedType, 0U);
    EXPECT_TRUE(Image == Expected);
    EXPECT_EQ(Verify(Preserve), EFI_SUCCESS) << "the second time, from what the first one left";
  }
}

TEST_F(FirmwareImagePolicyTest, RandomLayoutsVerifyAndRestore) {
  std::mt19937_64 Random(99);
  UINTN Accepted = 0;
  for (UINTN Round = 0; Round < 150; Round++) {
    const BOOLEAN Preserve = Round % 2 == 0;
    Layout.Descriptor = RandomLayout(Random, mImageSize, Preserve);
    Layout.Descriptor.SignatureBlockOffset = mBlock;
    Image = Pattern(mImageSize, Round);
    std::fill_n(Image.begin() + mBlock + 645, 4, 0);
    Sign();
    const ImageModel Model(Image, Layout.Descriptor, Preserve);
    // A signature that an excluded region covers is gone when it is read.
    const bool Whole =
        std::equal(Model.Signature.begin(), Model.Signature.end(), Image.begin() + mBlock + 1400);
    ASSERT_EQ(Verify(Preserve), Whole ? EFI_SUCCESS : EFI_SECURITY_VIOLATION) << "round " << Round;
    ASSERT_EQ(AskedType, Model.KeySelect == 0 ? 0U : 5U) << "round " << Round;
    ASSERT_TRUE(Image == Model.Afterwards) << "round " << Round;
    Accepted += Whole;
  }
  EXPECT_GT(Accepted, 20U);
}

// A byte counts unless it lies in an excluded region or in the second signature.
TEST_F(FirmwareImagePolicyTest, EveryByteOfTheImageCounts) {
  const ImageModel Model(Image, Layout.Descriptor, TRUE);
  const Bytes Original = Image;
  for (UINTN Index = 0; Index < Image.size(); Index++) {
    Image = Original;
    Image[Index] ^= 1;
    const UINTN InFirst = Index - (mBlock + 1400);
    const bool Counts = InFirst < 256 || Model.Signed[Index] == Original[Index];
    ASSERT_EQ(Verify(), Counts ? EFI_SECURITY_VIOLATION : EFI_SUCCESS) << "byte " << Index;
  }
}

TEST_F(FirmwareImagePolicyTest, TheFirstKeyThatVerifiesWins) {
  const struct {
    std::vector<const char *> Keys;
    EFI_STATUS Status;
  } Rows[] = {{{"type3-private"}, EFI_SUCCESS},
              {{"type1-private", "type4-private", "type3-private"}, EFI_SUCCESS},
              {{"type3-private", "type1-private"}, EFI_SUCCESS},
              {{"type1-private", "type4-private"}, EFI_SECURITY_VIOLATION},
              {{}, EFI_SECURITY_VIOLATION}};
  for (const auto &Row : Rows) {
    Keys = Row.Keys;
    EXPECT_EQ(Verify(), Row.Status) << "row " << &Row - Rows;
  }
}

TEST_F(FirmwareImagePolicyTest, ThePolicyIsAskedOnlyAboutAGoodImage) {
  ValidationPolicy Policy;
  PolicyWaiver Waiver;
  Firmware().Handles.InstallHost(mValidationPolicyProtocolGuid, &Policy.Interface);
  EFI_HANDLE Handle = nullptr;
  struct Row {
    bool WaiverThere;
    BOOLEAN Waived, Expected, Verdict;
    EFI_STATUS Status;
  };
  const Row Rows[] = {{false, FALSE, FALSE, FALSE, EFI_SUCCESS},
                      {false, FALSE, TRUE, TRUE, EFI_SUCCESS},
                      {false, FALSE, TRUE, 2, EFI_SUCCESS},
                      {false, FALSE, TRUE, FALSE, EFI_SECURITY_VIOLATION},
                      {false, FALSE, FALSE, TRUE, EFI_SECURITY_VIOLATION},
                      {true, FALSE, TRUE, TRUE, EFI_SUCCESS},
                      {true, FALSE, TRUE, FALSE, EFI_SECURITY_VIOLATION},
                      {true, TRUE, TRUE, FALSE, EFI_SUCCESS}};
  for (const Row &Case : Rows) {
    if (Case.WaiverThere && Handle == nullptr) {
      Handle = Firmware().Handles.InstallHost(mPolicyCheckWaiverProtocolGuid, &Waiver.Interface);
    }
    Waiver.Answer = Case.Waived;
    Policy.Answers[0] = Case.Expected;
    Policy.Answers[1] = Case.Verdict;
    Policy.Queries.clear();
    const Bytes Restored = ImageModel(Image, Layout.Descriptor, TRUE).Afterwards;
    Policy.Watcher = [&](const ValidationPolicy::Query &) { EXPECT_TRUE(Image == Restored); };
    EXPECT_EQ(Verify(), Case.Status) << "row " << &Case - Rows;
    if (Case.Waived) {
      EXPECT_TRUE(Policy.Queries.empty());
    } else {
      const std::vector<ValidationPolicy::Query> Asked = {{0, nullptr, 0}, {1, Image.data(), Image.size()}};
      EXPECT_EQ(Policy.Queries, Asked);
    }
  }
  Policy.Queries.clear();
  Keys = {"type1-private"};
  const UINTN Waivers = Waiver.Calls;
  EXPECT_EQ(Verify(), EFI_SECURITY_VIOLATION);
  EXPECT_EQ(Waiver.Calls, Waivers);
  EXPECT_TRUE(Policy.Queries.empty());
  DriverContext.ValidationPolicy = nullptr;
}

TEST_F(FirmwareImagePolicyTest, CornersOfThePolicyCheck) {
  EXPECT_EQ(CheckImagePolicy(nullptr, 1), EFI_INVALID_PARAMETER);
  EXPECT_EQ(CheckImagePolicy(Image.data(), 0), EFI_INVALID_PARAMETER);
  EXPECT_EQ(CheckImagePolicy(Image.data(), 1), EFI_SUCCESS) << "no policy";
  // A policy that goes away between the questions answers FALSE to the second.
  ValidationPolicy Policy;
  Policy.Watcher = [](const ValidationPolicy::Query &) { DriverContext.ValidationPolicy = nullptr; };
  for (BOOLEAN Expected : {TRUE, FALSE}) {
    DriverContext.ValidationPolicy = &Policy.Interface;
    Policy.Answers[0] = Expected;
    EXPECT_EQ(CheckImagePolicy(Image.data(), 1), Expected ? EFI_SECURITY_VIOLATION : EFI_SUCCESS);
  }
  EXPECT_EQ(Policy.Queries.size(), 2U);
  const EFI_HANDLE Empty = Firmware().Handles.InstallHost(mPolicyCheckWaiverProtocolGuid, nullptr);
  EXPECT_EQ(CheckImagePolicy(nullptr, 1), EFI_INVALID_PARAMETER)
      << "a waiver without interface waives nothing";
  Firmware().Handles.UninstallHost(Empty, mPolicyCheckWaiverProtocolGuid);
  PolicyWaiver Waiver;
  Firmware().Handles.InstallHost(mPolicyCheckWaiverProtocolGuid, &Waiver.Interface);
  EXPECT_EQ(CheckImagePolicy(nullptr, 0), EFI_SUCCESS) << "waived before the arguments are looked at";
}

} // namespace

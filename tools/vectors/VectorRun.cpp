// Judges answers by the kind of their slot and puts failures into words.
#include "tools/vectors/VectorRun.h"

#include "tools/session/SlotTable.h"
#include "tools/session/StatusNames.h"

namespace {

constexpr size_t mShownBytes = 64;

std::string HexText(const std::vector<UINT8> &Bytes) {
  static const char mDigits[] = "0123456789abcdef";
  std::string Text;
  for (size_t Index = 0; Index < Bytes.size() && Index < mShownBytes; ++Index) {
    Text += mDigits[Bytes[Index] >> 4];
    Text += mDigits[Bytes[Index] & 15];
  }
  return Bytes.size() <= mShownBytes ? Text : Text + "... (" + std::to_string(Bytes.size()) + " bytes)";
}

} // namespace

bool VectorRun::Boolean(UINTN Slot, BOOLEAN Answer) {
  const SlotExpectation Expected = Case.Expectation(Slot);
  const bool AsExpected = Answer == (Expected.Answer == ExpectedAnswer::Success ? TRUE : FALSE);
  return Judge(Slot, Answer == TRUE, AsExpected,
               Answer == TRUE    ? "TRUE"
               : Answer == FALSE ? "FALSE"
                                 : "BOOLEAN " + std::to_string(Answer),
               Expected.Answer == ExpectedAnswer::Success ? "TRUE" : "FALSE");
}

bool VectorRun::Status(UINTN Slot, EFI_STATUS Answer) {
  const SlotExpectation Expected = Case.Expectation(Slot);
  const bool AsExpected = Answer == Expected.Status || (Expected.Answer == ExpectedAnswer::Any &&
                                                        (Answer == EFI_SUCCESS || EFI_ERROR(Answer)));
  return Judge(Slot, Answer == EFI_SUCCESS, AsExpected, StatusName(Answer), StatusName(Expected.Status));
}

bool VectorRun::Size(UINTN Slot, UINTN Answer, UINTN Wanted) {
  Case.Expectation(Slot);
  return Judge(Slot, true, Answer == Wanted, std::to_string(Answer), std::to_string(Wanted));
}

bool VectorRun::Judge(UINTN Slot, bool Succeeded, bool AsExpected, const std::string &Got,
                      const std::string &Wanted) {
  Require(AsExpected, "slot " + std::to_string(Slot) + " (" + DescribeSlot(Slot).Name + ") answered " + Got +
                          ", expected " + Wanted);
  return AsExpected && Succeeded;
}

void VectorRun::MakeGeneratorReady() {
  static constexpr UINT8 mSeed[32] = {1};
  Require(Services.SvcRandomSeed(mSeed, sizeof(mSeed)) == TRUE, "SvcRandomSeed refused");
}

void VectorRun::Equal(const std::string &What, const std::vector<UINT8> &Got,
                      const std::vector<UINT8> &Wanted) {
  Require(Got == Wanted, What + " is " + HexText(Got) + ", expected " + HexText(Wanted));
}

void VectorRun::Require(bool Holds, const std::string &Failure) {
  if (!Holds) {
    Failures_.push_back(Failure);
  }
}

// The policy family's inner routines where the published table does not reach their corners.
#include <gtest/gtest.h>

#include <cstring>

#include "driver/core/DriverContext.h"
#include "driver/policy/Languages.h"
#include "driver/policy/ModulePolicy.h"
#include "driver/policy/PolicyEvents.h"
#include "driver/policy/PrivilegedExchange.h"
#include "simulator/HobList.h"
#include "simulator/PolicyViolation.h"
#include "simulator/SmmCommunication.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/units/Internals.h"
#include "uefi/PolicyViolationRecord.h"

namespace {

class ExchangeTest : public InternalsTest {
protected:
  void SetUp() override {
    InternalsTest::SetUp();
    Firmware().Handles.InstallHost(mEfiSmmCommunicationProtocolGuid, Smm.Interface());
    Smm.Kept = PolicyViolation{5, 2, std::string(96, 'n')};
  }

  SmmCommunication Smm;
};

TEST_F(ExchangeTest, AFetchFillsTheBufferItIsGiven) {
  for (UINTN Size : {UINTN{1}, UINTN{2}, UINTN{95}, UINTN{96}, UINTN{97}, UINTN{200}}) {
    GuardedBuffer Buffer(Size);
    const Bytes Before = Buffer.Content();
    UINT32 Code = 0;
    EXPECT_EQ(PrivilegedExchange(PRIV_FUNCTION_FETCH, &Code, reinterpret_cast<CHAR8 *>(Buffer.Get()), Size,
                                 nullptr),
              EFI_SECURITY_VIOLATION);
    EXPECT_EQ(Code, 5U);
    Bytes Wanted = Before;
    std::fill_n(Wanted.begin(), std::min<UINTN>(Size, 96), 'n');
    Wanted.back() = 0;
    EXPECT_EQ(Buffer.Content(), Wanted) << Size;
    EXPECT_TRUE(Buffer.OnlyWritten(Size));
  }
}

TEST_F(ExchangeTest, RefusalsStoreNothing) {
  GuardedBuffer Buffer(16);
  auto *Data = reinterpret_cast<CHAR8 *>(Buffer.Get());
  UINT32 Code = 77;
  UINT32 Kind = 77;
  EXPECT_EQ(PrivilegedExchange(PRIV_FUNCTION_FETCH, &Code, nullptr, 16, &Kind), EFI_INVALID_PARAMETER);
  EXPECT_EQ(PrivilegedExchange(PRIV_FUNCTION_FETCH, &Code, Data, 0, &Kind), EFI_INVALID_PARAMETER);
  EXPECT_EQ(PrivilegedExchange(2, &Code, Data, 16, &Kind), EFI_INVALID_PARAMETER);
  Smm.CommunicateCalls.FailAt(1, EFI_DEVICE_ERROR);
  EXPECT_EQ(PrivilegedExchange(PRIV_FUNCTION_FETCH, &Code, Data, 16, &Kind), EFI_DEVICE_ERROR);
  Smm.CommunicateCalls.FailAt(1, EFI_WARN_STALE_DATA);
  EXPECT_EQ(PrivilegedExchange(PRIV_FUNCTION_FETCH, &Code, Data, 16, &Kind), EFI_WARN_STALE_DATA);
  Firmware().Handles.LocateProtocolCalls.FailAt(1, EFI_ACCESS_DENIED);
  EXPECT_EQ(PrivilegedExchange(2, &Code, Data, 16, &Kind), EFI_ACCESS_DENIED);
  for (UINTN Allocation : {UINTN{1}, UINTN{2}}) {
    Memory().FailAt(Allocation);
    EXPECT_EQ(PrivilegedExchange(PRIV_FUNCTION_FETCH, &Code, Data, 16, &Kind), EFI_OUT_OF_RESOURCES);
  }
  EXPECT_TRUE(Buffer.Untouched());
  EXPECT_EQ(Code, 77U);
  EXPECT_EQ(Kind, 77U);
  EXPECT_EQ(Smm.Exchanges().size(), 2U) << "only the carried ones were handed over";
}

// Only the odd codes from 1 to 7 are answered from memory, and only the last answer counts.
TEST_F(ExchangeTest, CodesOutsideTheRangeAreAlwaysSent) {
  Smm.Kept.reset();
  for (INT32 Code : {1, -1, 9, 8, 0, INT32_MAX}) {
    EXPECT_EQ(SendPolicyEvent(Code, "x", 1), EFI_SUCCESS) << Code;
  }
  EXPECT_EQ(Smm.Exchanges().size(), 6U);
  for (INT32 Code : {1, 3, 5, 7}) {
    EXPECT_EQ(SendPolicyEvent(Code, "x", 1), EFI_SUCCESS) << Code;
  }
  EXPECT_EQ(Smm.Exchanges().size(), 6U);
}

TEST_F(ExchangeTest, AnEventIsArmedOnce) {
  const UINTN Before = Firmware().Events.CreateEventExCalls.Calls();
  CheckModulePolicy();
  EXPECT_EQ(Firmware().Events.CreateEventExCalls.Calls(), Before);
  HobList Blocks;
  Blocks.AddGuid(mPolicyViolationHobGuid, PolicyViolation{1, 0, "x"}.Bytes());
  DriverContext.HobList = Blocks.Start();
  CheckModulePolicy();
  const EFI_EVENT Armed = DriverContext.PolicyHaltEvent;
  EXPECT_NE(Armed, nullptr);
  CheckModulePolicy();
  EXPECT_EQ(Firmware().Events.CreateEventExCalls.Calls(), Before + 1);
  EXPECT_EQ(DriverContext.PolicyHaltEvent, Armed);
}

using LanguageTest = InternalsTest;

TEST_F(LanguageTest, LanguagesAreChosenAmongOddLists) {
  struct Row {
    const char *Supported;
    const char *First;
    const char *Second;
    const char *Chosen;
  };
  const Row Rows[] = {
      {"", "en", "", nullptr},
      {";;;", "en", ";", nullptr},
      {"en-US", "de", "fr", nullptr},
      {";;en-US;;de-DE;", "de-AT", "en-US", "de-DE"},
      {"en-US;de-DE", "xx", "de", "de-DE"},
      {"de;de-DE", "de-DE", "", "de-DE"},
      {"de;de-DE", "de-DE-1996", "", "de-DE"},
      {"de;de-DE", "de-AT", "", "de"},
      {"de-DE;de", "d", "", "de-DE"},
      {"de", "de-DE", "", "de"},
      {"a-b-c", "a-b-x", "", "a-b-c"},
      {"en-US", "-", "en", "en-US"},
  };
  for (const Row &Case : Rows) {
    const CHAR8 *const Candidates[] = {Case.First, Case.Second, nullptr};
    PoolBlock<CHAR8> Chosen = SelectBestLanguage(Case.Supported, Candidates);
    EXPECT_STREQ(Chosen.Get(), Case.Chosen) << Case.Supported << " for " << Case.First;
    if (Chosen) {
      EXPECT_EQ(Memory().OpenBlocks().back().Size, std::strlen(Case.Chosen) + 1);
    }
  }
  const CHAR8 *const Candidates[] = {"en", "de", nullptr};
  Memory().FailAt(1);
  EXPECT_FALSE(SelectBestLanguage("en-US;de-DE", Candidates))
      << "a tag without memory is not replaced by another";
}

} // namespace

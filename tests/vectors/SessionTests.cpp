// How a boot is reported, and what the tools say of slots.
#include <gtest/gtest.h>

#include <cstring>

#include "tests/support/DriverTest.h"
#include "tools/session/SlotTable.h"
#include "tools/session/StatusNames.h"
#include "uefi/PolicyViolationRecord.h"

namespace {

TEST(Session, ReportsStartAndRefusal) {
  {
    DriverSession Session(TestedDriver());
    EXPECT_EQ(Session.Outcome(), BootOutcome::Started);
    EXPECT_EQ(Session.Problem(), "");
    ASSERT_NE(Session.Raw(), nullptr);
    EXPECT_EQ(Session.Raw()->SvcSha1GetContextSize(), UINTN{CRYPTO_SERVICES_SHA1_CONTEXT_SIZE});
    EXPECT_EQ(Session.Services().SvcSha1GetContextSize(), UINTN{CRYPTO_SERVICES_SHA1_CONTEXT_SIZE});
    EXPECT_NE(Session.Services().SvcSha1Init, Session.Raw()->SvcSha1Init);
  }
  SessionOptions Options = TestedDriver();
  bool Prepared = false;
  Options.Prepare = [&](DriverSession &Session) {
    Prepared = Session.Raw() == nullptr;
    Session.Firmware().Handles.InstallMultipleCalls.FailAt(1, EFI_ACCESS_DENIED);
  };
  DriverSession Session(std::move(Options));
  EXPECT_TRUE(Prepared);
  EXPECT_EQ(Session.Outcome(), BootOutcome::Refused);
  EXPECT_EQ(Session.Status(), EFI_ACCESS_DENIED);
  EXPECT_EQ(Session.Problem(), "the entry point returned EFI_ACCESS_DENIED");
  EXPECT_EQ(Session.Raw(), nullptr);
  EXPECT_THROW(Session.Services(), BootError);
}

TEST(Session, ReportsAHalt) {
  POLICY_VIOLATION_RECORD Record = {};
  const UINT8 *Start = reinterpret_cast<const UINT8 *>(&Record);
  HobList Hobs;
  Hobs.AddGuid(mPolicyViolationHobGuid, {Start, Start + sizeof(Record)});
  SessionOptions Options = TestedDriver();
  Options.Prepare = [&](DriverSession &Session) { Session.Firmware().AddHobList(Hobs); };
  DriverSession Session(std::move(Options));
  EXPECT_EQ(Session.Outcome(), BootOutcome::Started);
  EXPECT_EQ(Session.Run([&] { Session.Firmware().SignalReadyToBoot(); }), RunOutcome::Halted);
  EXPECT_EQ(Session.Outcome(), BootOutcome::Halted);
  EXPECT_EQ(Session.Problem(), "the driver halted the boot");
}

TEST(Session, RefusesAFileThatIsNoDriver) {
  EXPECT_THROW(DriverSession({.Image = "no/such/file"}), LoadError);
  // The failed opening leaves nothing behind.
  EXPECT_EQ(DriverSession(TestedDriver()).Outcome(), BootOutcome::Started);
}

constexpr struct {
  UINTN Slot;
  const char *Name;
  const char *Result;
} mSlots[] = {
#define SLOT(Slot, Name, Result, ...) {Slot, #Name, #Result},
#include "tests/layout/SlotNames.def"
#undef SLOT
};

TEST(SlotTable, AgreesWithTheInterface) {
  ASSERT_EQ(std::size(mSlots), UINTN{CRYPTO_SERVICES_SLOT_COUNT});
  for (const auto &Row : mSlots) {
    EXPECT_STREQ(DescribeSlot(Row.Slot).Name, Row.Name);
    EXPECT_STREQ(KindName(DescribeSlot(Row.Slot).Kind), Row.Result) << Row.Name;
  }
}

TEST(StatusNames, AreReadBothWays) {
  for (const EFI_STATUS Status :
       {EFI_SUCCESS, EFI_NOT_STARTED, EFI_SECURITY_VIOLATION, EFI_BUFFER_TOO_SMALL}) {
    EXPECT_EQ(StatusOfName(StatusName(Status)), Status);
  }
  EXPECT_EQ(StatusName(0x8000000000000123), "EFI_STATUS 0x8000000000000123");
  EXPECT_EQ(StatusOfName("EFI_STATUS"), std::nullopt);
}

} // namespace

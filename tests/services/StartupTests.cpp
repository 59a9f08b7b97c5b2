// The entry point: what it looks for, what it arms, what it publishes, and
// what it answers when the platform refuses.
#include <gtest/gtest.h>

#include <cstring>

#include "tests/support/DriverTest.h"
#include "tools/session/SlotTable.h"
#include "uefi/Hob.h"
#include "uefi/ValidationPolicyProtocol.h"

namespace {

class StartupTest : public DriverTest {
protected:
  UINTN PolicyWatches() {
    UINTN Count = 0;
    for (const HandleDatabase::Watch *Watch : Firmware().Handles.OpenWatches()) {
      Count += memcmp(&Watch->Protocol, &mValidationPolicyProtocolGuid, sizeof(EFI_GUID)) == 0 ? 1 : 0;
    }
    return Count;
  }

  static BOOLEAN EFIAPI AnswerTrue(UINTN, VOID *, UINTN) { return TRUE; }
  VALIDATION_POLICY_PROTOCOL Policy = {AnswerTrue};
};

TEST_F(StartupTest, PublishesSixtyTwoEntriesOnOneHandle) {
  ASSERT_EQ(Session().Outcome(), BootOutcome::Started) << Session().Problem();
  EXPECT_EQ(Firmware().Handles.Count(mCryptoServicesProtocolGuid), 1U);
  VOID *Interface = nullptr;
  EFI_GUID Protocol = mCryptoServicesProtocolGuid;
  ASSERT_EQ(Firmware().BootServices()->LocateProtocol(&Protocol, nullptr, &Interface), EFI_SUCCESS);
  ASSERT_EQ(Interface, Session().Raw());
  VOID *OnImage = nullptr;
  EXPECT_EQ(Firmware().Handles.OnHandle(Firmware().ImageHandle(), &Protocol, &OnImage), EFI_UNSUPPORTED);
  for (UINTN Slot = 0; Slot < CRYPTO_SERVICES_SLOT_COUNT; Slot++) {
    UINT64 Code = 0;
    std::memcpy(&Code, static_cast<const UINT8 *>(Interface) + Slot * sizeof(Code), sizeof(Code));
    EXPECT_TRUE(Session().Target().Code().Holds(Code)) << DescribeSlot(Slot).Name;
  }
}

TEST_F(StartupTest, ValidationPolicyIsWatchedForOnlyWhileItIsMissing) {
  EXPECT_EQ(PolicyWatches(), 1U);
  const UINTN Run = Firmware().Events.Notifications().size();
  Firmware().Handles.InstallHost(mValidationPolicyProtocolGuid, &Policy);
  ASSERT_EQ(Firmware().Events.Notifications().size(), Run + 1);
  EXPECT_EQ(Firmware().Events.Notifications().back().Tpl, TPL_CALLBACK);
  EXPECT_EQ(PolicyWatches(), 1U) << "a protocol that is found arms no further watch";

  Options.Prepare = [this](DriverSession &Starting) {
    Starting.Firmware().Handles.InstallHost(mValidationPolicyProtocolGuid, &Policy);
  };
  Reboot();
  EXPECT_EQ(PolicyWatches(), 0U);
}

TEST_F(StartupTest, AWatchWhoseProtocolIsGoneAgainArmsAnother) {
  EFI_HANDLE Handle = nullptr;
  // The interface is taken away between the signal and the notification.
  EFI_TPL Old = Firmware().BootServices()->RaiseTPL(TPL_NOTIFY);
  Handle = Firmware().Handles.InstallHost(mValidationPolicyProtocolGuid, &Policy);
  Firmware().Handles.UninstallHost(Handle, mValidationPolicyProtocolGuid);
  Firmware().BootServices()->RestoreTPL(Old);
  EXPECT_EQ(PolicyWatches(), 2U);
}

// A refused watch is no reason not to start; the event made for it is closed again.
TEST_F(StartupTest, StartsWithoutTheWatchWhenItCannotBeArmed) {
  Options.Prepare = [](DriverSession &Starting) {
    Starting.Firmware().Handles.RegisterProtocolNotifyCalls.FailAt(1, EFI_OUT_OF_RESOURCES);
  };
  EXPECT_EQ(Session().Outcome(), BootOutcome::Started);
  EXPECT_EQ(PolicyWatches(), 0U);
  for (const EventQueue::Event *Event : Firmware().Events.OpenEvents()) {
    EXPECT_TRUE(Event->Group.has_value()) << "an event without a watch stayed open";
  }
  Options.Prepare = [](DriverSession &Starting) {
    Starting.Firmware().Events.CreateEventCalls.FailAt(1, EFI_OUT_OF_RESOURCES);
  };
  Reboot();
  EXPECT_EQ(Session().Outcome(), BootOutcome::Started);
  EXPECT_EQ(PolicyWatches(), 0U);
}

TEST_F(StartupTest, AnswersExactlyWhatTheInstallationAnswers) {
  for (EFI_STATUS Status : {EFI_OUT_OF_RESOURCES, EFI_ACCESS_DENIED}) {
    Options.Prepare = [Status](DriverSession &Starting) {
      Starting.Firmware().Handles.InstallMultipleCalls.FailAt(1, Status);
    };
    Reboot();
    EXPECT_EQ(Session().Outcome(), BootOutcome::Refused);
    EXPECT_EQ(Session().Status(), Status);
    EXPECT_EQ(Session().Raw(), nullptr);
  }
}

TEST_F(StartupTest, StartsOnAPlatformWithoutHii) {
  Options.Firmware.HiiDatabase = false;
  Options.Firmware.HiiString = false;
  EXPECT_EQ(Session().Outcome(), BootOutcome::Started);
}

} // namespace

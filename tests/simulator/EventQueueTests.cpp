// Holds events and task priority levels to UEFI 2.10, section 7.1.
#include "tests/simulator/FirmwareTest.h"
#include "uefi/EventGroups.h"

namespace {

constexpr EFI_GUID mGroupA = {0xA, 0, 0, {}};
constexpr EFI_GUID mGroupB = {0xB, 0, 0, {}};

using EventQueueTests = FirmwareTest;

TEST_F(EventQueueTests, CreationRefusesWhatTheStandardDoes) {
  const EFI_EVENT_NOTIFY Notify = [](EFI_EVENT, VOID *) EFIAPI {};
  const struct {
    UINT32 Type;
    EFI_TPL Tpl;
    EFI_EVENT_NOTIFY Function;
    const EFI_GUID *Group;
  } Rows[] = {
      {EVT_NOTIFY_SIGNAL, TPL_CALLBACK, nullptr, nullptr},
      {EVT_NOTIFY_WAIT, TPL_CALLBACK, nullptr, nullptr},
      {EVT_NOTIFY_SIGNAL, TPL_APPLICATION, Notify, nullptr},
      {EVT_NOTIFY_SIGNAL, TPL_HIGH_LEVEL, Notify, nullptr},
      {EVT_NOTIFY_SIGNAL, 9, Notify, nullptr},
      {EVT_NOTIFY_SIGNAL | EVT_NOTIFY_WAIT, TPL_NOTIFY, Notify, nullptr},
      {EVT_NOTIFY_SIGNAL | 4, TPL_NOTIFY, Notify, nullptr},
      {EVT_SIGNAL_EXIT_BOOT_SERVICES, TPL_NOTIFY, Notify, &mGroupA},
      {EVT_SIGNAL_VIRTUAL_ADDRESS_CHANGE, TPL_NOTIFY, Notify, &mGroupA},
  };
  EFI_EVENT Event = nullptr;
  for (const auto &Row : Rows) {
    SCOPED_TRACE(testing::Message() << "row " << &Row - Rows);
    EXPECT_EQ(Boot->CreateEventEx(Row.Type, Row.Tpl, Row.Function, nullptr, Row.Group, &Event),
              EFI_INVALID_PARAMETER);
  }
  EXPECT_EQ(Boot->CreateEvent(0, 0, nullptr, nullptr, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Boot->CreateEvent(EVT_NOTIFY_SIGNAL, TPL_CALLBACK, nullptr, nullptr, &Event),
            EFI_INVALID_PARAMETER);
  // Without a notification the level is not looked at.
  EXPECT_EQ(Boot->CreateEvent(0, 99, nullptr, nullptr, &Event), EFI_SUCCESS);
}

TEST_F(EventQueueTests, HigherLevelsRunFirstAndInOrderWithinALevel) {
  EFI_EVENT Events[] = {MakeTracer(TPL_CALLBACK, "c1 "), MakeTracer(TPL_NOTIFY, "n1 "),
                        MakeTracer(TPL_CALLBACK, "c2 "), MakeTracer(TPL_NOTIFY, "n2 ")};
  const struct {
    EFI_TPL Raised;
    EFI_TPL Restored;
    const char *Then;
  } Rows[] = {
      {TPL_HIGH_LEVEL, TPL_APPLICATION, "n1 n2 c1 c2 "},
      {TPL_NOTIFY, TPL_CALLBACK, "n1 n2 "},
      {TPL_NOTIFY, TPL_NOTIFY, ""},
  };
  for (const auto &Row : Rows) {
    Trace.clear();
    Boot->RaiseTPL(Row.Raised);
    for (EFI_EVENT Event : Events) {
      Boot->SignalEvent(Event);
      Boot->SignalEvent(Event);
    }
    EXPECT_EQ(Trace, "");
    Boot->RestoreTPL(Row.Restored);
    EXPECT_EQ(Trace, Row.Then);
    EXPECT_EQ(Firmware.Events.CurrentTpl(), Row.Restored);
    Boot->RestoreTPL(TPL_APPLICATION);
    EXPECT_EQ(Trace, "n1 n2 c1 c2 ");
  }
}

TEST_F(EventQueueTests, NotificationsNestOnlyAboveTheirOwnLevel) {
  EFI_EVENT Same = MakeTracer(TPL_CALLBACK, "same ");
  EFI_EVENT Higher = MakeTracer(TPL_NOTIFY, "higher ");
  Boot->SignalEvent(MakeEvent(TPL_CALLBACK, [&] {
    EXPECT_EQ(Firmware.Events.CurrentTpl(), TPL_CALLBACK);
    Trace += "in ";
    Boot->SignalEvent(Same);
    Boot->SignalEvent(Higher);
    Trace += "out ";
  }));
  EXPECT_EQ(Trace, "in higher out same ");
  EXPECT_EQ(Firmware.Events.CurrentTpl(), TPL_APPLICATION);
}

TEST_F(EventQueueTests, ANotificationMaySignalAndCloseItsOwnEvent) {
  EFI_EVENT Event = MakeEvent(TPL_NOTIFY, [&] {
    Trace += "run ";
    EXPECT_EQ(Trace == "run " ? Boot->SignalEvent(Event) : Boot->CloseEvent(Event), EFI_SUCCESS);
  });
  Boot->SignalEvent(Event);
  EXPECT_EQ(Trace, "run run ");
  EXPECT_TRUE(Firmware.Events.OpenEvents().empty());
}

TEST_F(EventQueueTests, ClosingTakesAQueuedEventBack) {
  EFI_EVENT Kept = MakeTracer(TPL_CALLBACK, "kept ");
  EFI_EVENT Closed = MakeTracer(TPL_CALLBACK, "closed ");
  Boot->RaiseTPL(TPL_NOTIFY);
  Boot->SignalEvent(Closed);
  Boot->SignalEvent(Kept);
  EXPECT_EQ(Boot->CloseEvent(Closed), EFI_SUCCESS);
  Boot->RestoreTPL(TPL_APPLICATION);
  EXPECT_EQ(Trace, "kept ");
  EXPECT_EQ(Boot->SignalEvent(Closed), EFI_INVALID_PARAMETER);
  EXPECT_TRUE(FaultTaken("SignalEvent"));
  EXPECT_EQ(Boot->CloseEvent(Closed), EFI_INVALID_PARAMETER);
  EXPECT_TRUE(FaultTaken("CloseEvent"));
}

TEST_F(EventQueueTests, AGroupIsSignalledAsAWhole) {
  EFI_EVENT First = MakeTracer(TPL_CALLBACK, "a1 ", &mGroupA);
  MakeTracer(TPL_NOTIFY, "a2 ", &mGroupA);
  MakeTracer(TPL_NOTIFY, "b ", &mGroupB);
  MakeTracer(TPL_CALLBACK, "boot1 ", &mEfiEventGroupReadyToBootGuid);
  MakeTracer(TPL_NOTIFY, "boot2 ", &mEfiEventGroupReadyToBootGuid);
  MakeTracer(TPL_NOTIFY, "alone ");
  Boot->SignalEvent(First);
  EXPECT_EQ(Trace, "a2 a1 ");
  Firmware.SignalReadyToBoot();
  EXPECT_EQ(Trace, "a2 a1 boot2 boot1 ");
  Boot->CloseEvent(First);
  Firmware.Events.SignalGroup(mGroupA);
  EXPECT_EQ(Trace, "a2 a1 boot2 boot1 a2 ");
}

TEST_F(EventQueueTests, LevelsMoveOnlyTheRightWay) {
  EXPECT_EQ(Boot->RaiseTPL(TPL_CALLBACK), TPL_APPLICATION);
  EXPECT_EQ(Boot->RaiseTPL(TPL_CALLBACK), TPL_CALLBACK);
  EXPECT_EQ(Boot->RaiseTPL(TPL_NOTIFY), TPL_CALLBACK);
  for (EFI_TPL Wrong : {TPL_CALLBACK, EFI_TPL{17}, EFI_TPL{32}}) {
    Boot->RaiseTPL(Wrong);
    EXPECT_TRUE(FaultTaken("RaiseTPL")) << Wrong;
  }
  for (EFI_TPL Wrong : {TPL_HIGH_LEVEL, EFI_TPL{5}, EFI_TPL{0}}) {
    Boot->RestoreTPL(Wrong);
    EXPECT_TRUE(FaultTaken("RestoreTPL")) << Wrong;
  }
  EXPECT_EQ(Firmware.Events.CurrentTpl(), TPL_NOTIFY);
}

TEST_F(EventQueueTests, ANotificationComesDownToApplicationOnlyAndForGood) {
  EFI_EVENT Waiting = MakeTracer(TPL_NOTIFY, "notify ");
  EFI_EVENT Lower = MakeTracer(TPL_CALLBACK, "callback ");
  Boot->SignalEvent(MakeEvent(TPL_NOTIFY, [&] { Boot->RestoreTPL(TPL_CALLBACK); }));
  EXPECT_EQ(Firmware.TakeFaults().size(), 2u) << "came down half way, and returned there";
  Boot->SignalEvent(MakeEvent(TPL_NOTIFY, [&] { Boot->RaiseTPL(TPL_HIGH_LEVEL); }));
  EXPECT_EQ(Firmware.TakeFaults().size(), 1u) << "returned where it had risen to";
  EXPECT_EQ(Firmware.Events.RestoresToApplication(), 0u);
  Boot->SignalEvent(MakeEvent(TPL_NOTIFY, [&] {
    Boot->SignalEvent(Lower);
    Boot->SignalEvent(Waiting);
    EXPECT_EQ(Trace, "");
    Boot->RestoreTPL(TPL_APPLICATION);
    EXPECT_EQ(Trace, "notify callback ");
    EXPECT_EQ(Firmware.Events.CurrentTpl(), TPL_APPLICATION);
  }));
  EXPECT_EQ(Firmware.Events.RestoresToApplication(), 1u);
  EXPECT_TRUE(FaultTaken("returned at TPL 4"));
  EXPECT_EQ(Firmware.Events.CurrentTpl(), TPL_APPLICATION);
}

// The table of TPL restrictions (UEFI 2.10, section 7.1). What else is wrong with the calls does not matter.
TEST_F(EventQueueTests, ServicesCalledAboveTheirLevelAreFaults) {
  VOID *Place = nullptr;
  EFI_EVENT Event = nullptr;
  EFI_RUNTIME_SERVICES *Runtime = Firmware.RuntimeServices();
  EFI_HII_DATABASE_PROTOCOL *Database = &Firmware.Hii.Database;
  EFI_HII_STRING_PROTOCOL *String = &Firmware.Hii.String;
  const struct {
    std::string Name;
    EFI_TPL Highest;
    std::function<void()> Call;
  } Rows[] = {
      {"AllocatePool", TPL_NOTIFY, [&] { Boot->AllocatePool(EfiBootServicesData, 1, nullptr); }},
      {"FreePool", TPL_NOTIFY, [&] { Boot->FreePool(nullptr); }},
      {"CreateEvent", TPL_NOTIFY, [&] { Boot->CreateEvent(0, 0, nullptr, nullptr, &Event); }},
      {"CreateEventEx", TPL_NOTIFY, [&] { Boot->CreateEventEx(0, 0, nullptr, nullptr, nullptr, &Event); }},
      {"SignalEvent", TPL_HIGH_LEVEL, [&] { Boot->SignalEvent(Event); }},
      {"CloseEvent", TPL_NOTIFY, [&] { Boot->CloseEvent(Event); }},
      {"InstallMultipleProtocolInterfaces", TPL_NOTIFY,
       [&] { Boot->InstallMultipleProtocolInterfaces(nullptr, nullptr); }},
      {"InstallProtocolInterface", TPL_NOTIFY,
       [&] { Boot->InstallProtocolInterface(nullptr, &mGroupA, EFI_NATIVE_INTERFACE, nullptr); }},
      {"HandleProtocol", TPL_NOTIFY, [&] { Boot->HandleProtocol(nullptr, &mGroupA, &Place); }},
      {"LocateProtocol", TPL_NOTIFY, [&] { Boot->LocateProtocol(&mGroupA, nullptr, &Place); }},
      {"RegisterProtocolNotify", TPL_NOTIFY,
       [&] { Boot->RegisterProtocolNotify(&mGroupA, nullptr, &Place); }},
      {"GetTime", TPL_CALLBACK, [&] { Runtime->GetTime(nullptr, nullptr); }},
      {"GetVariable", TPL_CALLBACK, [&] { Runtime->GetVariable(u"X", &mGroupA, nullptr, nullptr, nullptr); }},
      {"GetLanguages", TPL_NOTIFY, [&] { String->GetLanguages(String, nullptr, nullptr, nullptr); }},
      {"ListPackageLists", TPL_NOTIFY,
       [&] { Database->ListPackageLists(Database, 0, nullptr, nullptr, nullptr); }},
  };
  for (EFI_TPL Tpl : {TPL_APPLICATION, TPL_CALLBACK, TPL_NOTIFY, TPL_HIGH_LEVEL}) {
    for (const auto &Row : Rows) {
      Boot->RaiseTPL(Tpl);
      Row.Call();
      EXPECT_EQ(Firmware.Events.CurrentTpl(), Tpl) << Row.Name;
      Boot->RestoreTPL(TPL_APPLICATION);
      const std::string Faults = testing::PrintToString(Firmware.TakeFaults());
      const std::string Wanted = "\"" + Row.Name + ": called at TPL " + std::to_string(Tpl);
      EXPECT_EQ(Faults.find(Wanted) != std::string::npos, Tpl > Row.Highest) << Row.Name << ": " << Faults;
    }
  }
}

} // namespace

// Holds events and task priority levels to UEFI 2.10, section 7.1.
#include "tests/simulator/FirmwareTest.h"
#include "uefi/EventGroups.h"

namespace {

constexpr EFI_GUID mGroupA = {0xA, 0, 0, {}};
constexpr EFI_GUID mGroupB = {0xB, 0, 0, {}};

using EventQueueTests = FirmwareTest;

// A notification that does what the lambda at its context says.
VOID EFIAPI RunContext(EFI_EVENT Event, VOID *Context) {
  (*static_cast<std::function<void(EFI_EVENT)> *>(Context))(Event);
}

TEST_F(EventQueueTests, CreationArguments) {
  const EFI_EVENT_NOTIFY Notify = RunContext;
  const struct {
    UINT32 Type;
    EFI_TPL Tpl;
    EFI_EVENT_NOTIFY Function;
    const EFI_GUID *Group;
    EFI_STATUS Status;
  } Rows[] = {
      {EVT_NOTIFY_SIGNAL, TPL_CALLBACK, Notify, nullptr, EFI_SUCCESS},
      {EVT_NOTIFY_SIGNAL, TPL_NOTIFY, Notify, nullptr, EFI_SUCCESS},
      {EVT_NOTIFY_WAIT, TPL_NOTIFY, Notify, nullptr, EFI_SUCCESS},
      {EVT_TIMER | EVT_NOTIFY_SIGNAL, TPL_NOTIFY, Notify, nullptr, EFI_SUCCESS},
      {EVT_TIMER, 0, nullptr, nullptr, EFI_SUCCESS},
      {0, 99, nullptr, nullptr, EFI_SUCCESS},
      {EVT_SIGNAL_EXIT_BOOT_SERVICES, TPL_NOTIFY, Notify, nullptr, EFI_SUCCESS},
      {EVT_SIGNAL_VIRTUAL_ADDRESS_CHANGE, TPL_NOTIFY, Notify, nullptr, EFI_SUCCESS},
      {EVT_NOTIFY_SIGNAL, TPL_CALLBACK, Notify, &mGroupA, EFI_SUCCESS},
      {EVT_NOTIFY_SIGNAL, TPL_CALLBACK, nullptr, nullptr, EFI_INVALID_PARAMETER},
      {EVT_NOTIFY_WAIT, TPL_CALLBACK, nullptr, nullptr, EFI_INVALID_PARAMETER},
      {EVT_NOTIFY_SIGNAL, TPL_APPLICATION, Notify, nullptr, EFI_INVALID_PARAMETER},
      {EVT_NOTIFY_SIGNAL, TPL_HIGH_LEVEL, Notify, nullptr, EFI_INVALID_PARAMETER},
      {EVT_NOTIFY_SIGNAL, 9, Notify, nullptr, EFI_INVALID_PARAMETER},
      {EVT_NOTIFY_SIGNAL | EVT_NOTIFY_WAIT, TPL_NOTIFY, Notify, nullptr, EFI_INVALID_PARAMETER},
      {EVT_NOTIFY_SIGNAL | 4, TPL_NOTIFY, Notify, nullptr, EFI_INVALID_PARAMETER},
      {EVT_SIGNAL_EXIT_BOOT_SERVICES, TPL_NOTIFY, Notify, &mGroupA, EFI_INVALID_PARAMETER},
      {EVT_SIGNAL_VIRTUAL_ADDRESS_CHANGE, TPL_NOTIFY, Notify, &mGroupA, EFI_INVALID_PARAMETER},
      {EVT_NOTIFY_SIGNAL, TPL_CALLBACK, nullptr, &mGroupA, EFI_INVALID_PARAMETER},
  };
  for (const auto &Row : Rows) {
    SCOPED_TRACE(testing::Message() << std::hex << "type " << Row.Type << " level " << Row.Tpl);
    EFI_EVENT Event = nullptr;
    EXPECT_EQ(Boot->CreateEventEx(Row.Type, Row.Tpl, Row.Function, nullptr, Row.Group, &Event), Row.Status);
    EXPECT_EQ(Event != nullptr, Row.Status == EFI_SUCCESS);
    EXPECT_EQ(Boot->CreateEventEx(Row.Type, Row.Tpl, Row.Function, nullptr, Row.Group, nullptr),
              EFI_INVALID_PARAMETER);
    if (Event != nullptr) {
      EXPECT_EQ(Boot->CloseEvent(Event), EFI_SUCCESS);
    }
    if (Row.Group == nullptr) {
      EXPECT_EQ(Boot->CreateEvent(Row.Type, Row.Tpl, Row.Function, nullptr, &Event), Row.Status);
    }
  }
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
      EXPECT_EQ(Boot->SignalEvent(Event), EFI_SUCCESS);
      EXPECT_EQ(Boot->SignalEvent(Event), EFI_SUCCESS);
    }
    EXPECT_EQ(Trace, "");
    Boot->RestoreTPL(Row.Restored);
    EXPECT_EQ(Trace, Row.Then);
    EXPECT_EQ(Firmware.Events.CurrentTpl(), Row.Restored);
    Boot->RestoreTPL(TPL_APPLICATION);
    EXPECT_EQ(Trace, "n1 n2 c1 c2 ");
  }
  Trace.clear();
  Boot->SignalEvent(Events[2]);
  EXPECT_EQ(Trace, "c2 ");
}

TEST_F(EventQueueTests, NotificationsNestOnlyAboveTheirOwnLevel) {
  EFI_EVENT Same = MakeTracer(TPL_CALLBACK, "same ");
  EFI_EVENT Higher = MakeTracer(TPL_NOTIFY, "higher ");
  std::function<void(EFI_EVENT)> Body = [&](EFI_EVENT) {
    EXPECT_EQ(Firmware.Events.CurrentTpl(), TPL_CALLBACK);
    Trace += "in ";
    Boot->SignalEvent(Same);
    Boot->SignalEvent(Higher);
    Trace += "out ";
  };
  EFI_EVENT Outer = nullptr;
  ASSERT_EQ(Boot->CreateEvent(EVT_NOTIFY_SIGNAL, TPL_CALLBACK, RunContext, &Body, &Outer), EFI_SUCCESS);
  Boot->SignalEvent(Outer);
  EXPECT_EQ(Trace, "in higher out same ");
  EXPECT_EQ(Firmware.Events.CurrentTpl(), TPL_APPLICATION);
}

TEST_F(EventQueueTests, ANotificationMaySignalAndCloseItsOwnEvent) {
  EFI_EVENT Event = nullptr;
  std::function<void(EFI_EVENT)> Body = [&](EFI_EVENT Given) {
    EXPECT_EQ(Given, Event);
    Trace += "run ";
    if (Trace == "run ") {
      Boot->SignalEvent(Given);
    } else {
      EXPECT_EQ(Boot->CloseEvent(Given), EFI_SUCCESS);
    }
  };
  ASSERT_EQ(Boot->CreateEvent(EVT_NOTIFY_SIGNAL, TPL_NOTIFY, RunContext, &Body, &Event), EFI_SUCCESS);
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
  EFI_EVENT Next = MakeTracer(TPL_CALLBACK, "next ");
  EXPECT_NE(Next, Closed);
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

TEST_F(EventQueueTests, TheLogNamesEveryRun) {
  EFI_EVENT Event = MakeTracer(TPL_NOTIFY, "x");
  Boot->SignalEvent(Event);
  Boot->SignalEvent(Event);
  ASSERT_EQ(Firmware.Events.Notifications().size(), 2u);
  const EventQueue::Notification &Run = Firmware.Events.Notifications()[1];
  EXPECT_EQ(Run.Event, Event);
  EXPECT_EQ(Run.Function, static_cast<EFI_EVENT_NOTIFY>(AppendToTrace));
  EXPECT_EQ(Run.Tpl, TPL_NOTIFY);
  EXPECT_STREQ(static_cast<const char *>(Run.Context), "x");
  EXPECT_TRUE(Run.Returned);
}

TEST_F(EventQueueTests, LevelsMoveOnlyTheRightWay) {
  EXPECT_EQ(Boot->RaiseTPL(TPL_CALLBACK), TPL_APPLICATION);
  EXPECT_EQ(Boot->RaiseTPL(TPL_CALLBACK), TPL_CALLBACK);
  EXPECT_EQ(Boot->RaiseTPL(TPL_HIGH_LEVEL), TPL_CALLBACK);
  for (EFI_TPL Wrong : {TPL_CALLBACK, EFI_TPL{17}, EFI_TPL{32}}) {
    Boot->RaiseTPL(Wrong);
    EXPECT_TRUE(FaultTaken("RaiseTPL")) << Wrong;
  }
  Boot->RestoreTPL(TPL_CALLBACK);
  for (EFI_TPL Wrong : {TPL_NOTIFY, TPL_HIGH_LEVEL, EFI_TPL{5}, EFI_TPL{0}}) {
    Boot->RestoreTPL(Wrong);
    EXPECT_TRUE(FaultTaken("RestoreTPL")) << Wrong;
  }
  EXPECT_EQ(Firmware.Events.CurrentTpl(), TPL_CALLBACK);
}

TEST_F(EventQueueTests, ComingDownToApplicationInsideANotificationIsCountedAndRunsTheQueue) {
  EFI_EVENT Waiting = MakeTracer(TPL_NOTIFY, "notify ");
  EFI_EVENT Lower = MakeTracer(TPL_CALLBACK, "callback ");
  std::function<void(EFI_EVENT)> Body = [&](EFI_EVENT) {
    Boot->SignalEvent(Lower);
    Boot->SignalEvent(Waiting);
    EXPECT_EQ(Trace, "");
    Boot->RestoreTPL(TPL_APPLICATION);
    EXPECT_EQ(Trace, "notify callback ");
    EXPECT_EQ(Firmware.Events.CurrentTpl(), TPL_APPLICATION);
  };
  EFI_EVENT Screen = nullptr;
  ASSERT_EQ(Boot->CreateEvent(EVT_NOTIFY_SIGNAL, TPL_NOTIFY, RunContext, &Body, &Screen), EFI_SUCCESS);
  EXPECT_EQ(Firmware.Events.RestoresToApplication(), 0u);
  Boot->SignalEvent(Screen);
  EXPECT_EQ(Firmware.Events.RestoresToApplication(), 1u);
  // Only one that never returns may leave the level down.
  EXPECT_TRUE(FaultTaken("returned at TPL 4"));
  EXPECT_EQ(Firmware.Events.CurrentTpl(), TPL_APPLICATION);
}

TEST_F(EventQueueTests, ANotificationMayNotComeDownHalfWayOrStayUp) {
  const struct {
    bool Raise;
    EFI_TPL Tpl;
    size_t Faults;
  } Rows[] = {{false, TPL_CALLBACK, 2}, {true, TPL_HIGH_LEVEL, 1}};
  for (const auto &Row : Rows) {
    std::function<void(EFI_EVENT)> Body = [&](EFI_EVENT) {
      if (Row.Raise) {
        Boot->RaiseTPL(Row.Tpl);
      } else {
        Boot->RestoreTPL(Row.Tpl);
      }
    };
    EFI_EVENT Event = nullptr;
    ASSERT_EQ(Boot->CreateEvent(EVT_NOTIFY_SIGNAL, TPL_NOTIFY, RunContext, &Body, &Event), EFI_SUCCESS);
    Boot->SignalEvent(Event);
    EXPECT_EQ(Firmware.TakeFaults().size(), Row.Faults);
    EXPECT_EQ(Firmware.Events.RestoresToApplication(), 0u);
    EXPECT_EQ(Firmware.Events.CurrentTpl(), TPL_APPLICATION);
    Boot->CloseEvent(Event);
  }
}

TEST_F(EventQueueTests, CreationFailsAsScripted) {
  Firmware.Events.CreateEventCalls.FailAt(2, EFI_OUT_OF_RESOURCES);
  Firmware.Events.CreateEventExCalls.FailFrom(1, EFI_ACCESS_DENIED);
  EFI_EVENT Event = nullptr;
  EXPECT_EQ(Boot->CreateEvent(0, 0, nullptr, nullptr, &Event), EFI_SUCCESS);
  EXPECT_EQ(Boot->CreateEvent(0, 0, nullptr, nullptr, &Event), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(Boot->CreateEvent(0, 0, nullptr, nullptr, &Event), EFI_SUCCESS);
  EXPECT_EQ(Boot->CreateEventEx(0, 0, nullptr, nullptr, nullptr, &Event), EFI_ACCESS_DENIED);
  EXPECT_EQ(Boot->CreateEventEx(0, 0, nullptr, nullptr, nullptr, &Event), EFI_ACCESS_DENIED);
}

// The table of TPL restrictions (UEFI 2.10, section 7.1).
TEST_F(EventQueueTests, ServicesCalledAboveTheirLevelAreFaults) {
  VOID *Place = nullptr;
  UINTN Size = 0;
  EFI_TIME Time;
  EFI_EVENT Event = nullptr;
  EFI_HANDLE Handle = nullptr;
  EFI_RUNTIME_SERVICES *Runtime = Firmware.RuntimeServices();
  const struct {
    const char *Name;
    EFI_TPL Highest;
    std::function<void()> Call;
  } Rows[] = {
      {"AllocatePool", TPL_NOTIFY, [&] { Boot->AllocatePool(EfiBootServicesData, 1, &Place); }},
      {"FreePool", TPL_NOTIFY,
       [&] {
         Boot->FreePool(Place);
         Place = nullptr;
       }},
      {"CreateEvent", TPL_NOTIFY, [&] { Boot->CreateEvent(0, 0, nullptr, nullptr, &Event); }},
      {"CreateEventEx", TPL_NOTIFY, [&] { Boot->CreateEventEx(0, 0, nullptr, nullptr, nullptr, &Event); }},
      {"SignalEvent", TPL_HIGH_LEVEL, [&] { Boot->SignalEvent(Event); }},
      {"CloseEvent", TPL_NOTIFY, [&] { Boot->CloseEvent(Event); }},
      {"InstallMultipleProtocolInterfaces", TPL_NOTIFY,
       [&] { Boot->InstallMultipleProtocolInterfaces(&Handle, nullptr); }},
      {"InstallProtocolInterface", TPL_NOTIFY,
       [&] { Boot->InstallProtocolInterface(nullptr, &mGroupA, EFI_NATIVE_INTERFACE, nullptr); }},
      {"HandleProtocol", TPL_NOTIFY, [&] { Boot->HandleProtocol(nullptr, &mGroupA, &Place); }},
      {"LocateProtocol", TPL_NOTIFY, [&] { Boot->LocateProtocol(&mGroupA, nullptr, &Place); }},
      {"RegisterProtocolNotify", TPL_NOTIFY,
       [&] { Boot->RegisterProtocolNotify(&mGroupA, nullptr, &Place); }},
      {"GetTime", TPL_CALLBACK, [&] { Runtime->GetTime(&Time, nullptr); }},
      {"GetVariable", TPL_CALLBACK, [&] { Runtime->GetVariable(u"X", &mGroupA, nullptr, &Size, nullptr); }},
      {"GetLanguages", TPL_NOTIFY,
       [&] { Firmware.Hii.String.GetLanguages(&Firmware.Hii.String, nullptr, nullptr, &Size); }},
      {"ListPackageLists", TPL_NOTIFY,
       [&] { Firmware.Hii.Database.ListPackageLists(&Firmware.Hii.Database, 0, nullptr, &Size, nullptr); }},
  };
  for (EFI_TPL Tpl : {TPL_APPLICATION, TPL_CALLBACK, TPL_NOTIFY, TPL_HIGH_LEVEL}) {
    for (const auto &Row : Rows) {
      SCOPED_TRACE(testing::Message() << Row.Name << " at " << Tpl);
      const bool Closes = Row.Name == std::string("SignalEvent") || Row.Name == std::string("CloseEvent");
      if (Closes) {
        Boot->CreateEvent(0, 0, nullptr, nullptr, &Event);
      }
      if (Row.Name == std::string("FreePool")) {
        Boot->AllocatePool(EfiBootServicesData, 1, &Place);
      }
      Boot->RaiseTPL(Tpl);
      Row.Call();
      EXPECT_EQ(Firmware.Events.CurrentTpl(), Tpl);
      if (Tpl > Row.Highest) {
        EXPECT_TRUE(FaultTaken(std::string(Row.Name) + ": called at TPL " + std::to_string(Tpl)));
      } else {
        EXPECT_TRUE(Firmware.TakeFaults().empty());
      }
      Boot->RestoreTPL(TPL_APPLICATION);
      if (Row.Name == std::string("AllocatePool")) {
        Boot->FreePool(Place);
      }
    }
  }
}

} // namespace

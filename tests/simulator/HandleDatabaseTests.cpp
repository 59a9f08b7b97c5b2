// Holds handles, protocols and protocol watches to UEFI 2.10, section 7.3.
#include "tests/simulator/FirmwareTest.h"

namespace {

constexpr EFI_GUID mFirst = {1, 0, 0, {}};
constexpr EFI_GUID mSecond = {2, 0, 0, {}};
constexpr EFI_GUID mThird = {3, 0, 0, {}};

class HandleDatabaseTests : public FirmwareTest {
protected:
  VOID *Located(const EFI_GUID &Protocol, VOID *Registration = nullptr) {
    VOID *Interface = this;
    const EFI_STATUS Status = Boot->LocateProtocol(&Protocol, Registration, &Interface);
    EXPECT_EQ(Status, Interface != nullptr ? EFI_SUCCESS : EFI_NOT_FOUND);
    return Interface;
  }

  UINT8 Interfaces[4];
};

TEST_F(HandleDatabaseTests, LocateGivesTheFirstInstalledOrNotFound) {
  EXPECT_EQ(Located(mFirst), nullptr);
  EFI_HANDLE Handle = Firmware.Handles.InstallHost(mFirst, &Interfaces[0]);
  Firmware.Handles.InstallHost(mFirst, &Interfaces[1]);
  EXPECT_EQ(Located(mFirst), &Interfaces[0]);
  EXPECT_EQ(Located(mSecond), nullptr);
  Firmware.Handles.UninstallHost(Handle, mFirst);
  EXPECT_EQ(Located(mFirst), &Interfaces[1]);
  VOID *Interface = this;
  EXPECT_EQ(Boot->LocateProtocol(nullptr, nullptr, &Interface), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Boot->LocateProtocol(&mFirst, nullptr, nullptr), EFI_INVALID_PARAMETER);
  // An interface may be NULL.
  Firmware.Handles.InstallHost(mThird, nullptr);
  EXPECT_EQ(Boot->LocateProtocol(&mThird, nullptr, &Interface), EFI_SUCCESS);
  EXPECT_EQ(Interface, nullptr);
}

TEST_F(HandleDatabaseTests, InstallArguments) {
  EFI_HANDLE Handle = Firmware.Handles.InstallHost(mFirst, nullptr);
  EFI_HANDLE Foreign = this;
  EFI_HANDLE None = nullptr;
  const struct {
    EFI_HANDLE *Handle;
    const EFI_GUID *Protocol;
    EFI_INTERFACE_TYPE Type;
    EFI_STATUS Status;
  } Rows[] = {
      {&Handle, &mSecond, EFI_NATIVE_INTERFACE, EFI_SUCCESS},
      {&Handle, &mFirst, EFI_NATIVE_INTERFACE, EFI_INVALID_PARAMETER},
      {&Foreign, &mThird, EFI_NATIVE_INTERFACE, EFI_INVALID_PARAMETER},
      {nullptr, &mThird, EFI_NATIVE_INTERFACE, EFI_INVALID_PARAMETER},
      {&None, nullptr, EFI_NATIVE_INTERFACE, EFI_INVALID_PARAMETER},
      {&None, &mThird, EFI_NATIVE_INTERFACE + 1, EFI_INVALID_PARAMETER},
  };
  for (const auto &Row : Rows) {
    EXPECT_EQ(Boot->InstallProtocolInterface(Row.Handle, Row.Protocol, Row.Type, Interfaces), Row.Status);
  }
  EXPECT_EQ(None, nullptr);
}

TEST_F(HandleDatabaseTests, InstallMultipleIsAllOrNothing) {
  EFI_HANDLE Handle = nullptr;
  EFI_HANDLE Fresh = nullptr;
  // Notifications see all pairs of one call.
  VOID *Seen = nullptr;
  EFI_EVENT Event = MakeEvent(TPL_NOTIFY, [&] { Seen = Located(mSecond); });
  VOID *Registration = nullptr;
  Boot->RegisterProtocolNotify(&mFirst, Event, &Registration);
  EXPECT_EQ(Boot->InstallMultipleProtocolInterfaces(&Handle, &mFirst, &Interfaces[0], &mSecond,
                                                    &Interfaces[1], nullptr),
            EFI_SUCCESS);
  ASSERT_NE(Handle, nullptr);
  EXPECT_EQ(Located(mFirst), &Interfaces[0]);
  EXPECT_EQ(Seen, &Interfaces[1]);

  EXPECT_EQ(Boot->InstallMultipleProtocolInterfaces(&Handle, &mThird, nullptr, &mSecond, nullptr, nullptr),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(Boot->InstallMultipleProtocolInterfaces(&Fresh, &mThird, nullptr, &mThird, nullptr, nullptr),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(Boot->InstallMultipleProtocolInterfaces(nullptr, &mThird, nullptr, nullptr),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(Fresh, nullptr);
  EXPECT_EQ(Firmware.Handles.Count(mThird), 0u);
  EXPECT_EQ(Firmware.Handles.Count(mSecond), 1u);
}

TEST_F(HandleDatabaseTests, HandleProtocolLooksAtOneHandle) {
  EFI_HANDLE Handle = Firmware.Handles.InstallHost(mFirst, &Interfaces[0]);
  VOID *Interface = nullptr;
  EXPECT_EQ(Boot->HandleProtocol(Handle, &mFirst, &Interface), EFI_SUCCESS);
  EXPECT_EQ(Interface, &Interfaces[0]);
  EXPECT_EQ(Boot->HandleProtocol(Firmware.ImageHandle(), &mFirst, &Interface), EFI_UNSUPPORTED);
  EXPECT_EQ(Interface, nullptr);
  // A handle goes with its last protocol.
  Firmware.Handles.UninstallHost(Handle, mFirst);
  EXPECT_EQ(Boot->HandleProtocol(Handle, &mFirst, &Interface), EFI_INVALID_PARAMETER);
}

TEST_F(HandleDatabaseTests, AWatchRunsOnLaterInstallationsOnly) {
  Firmware.Handles.InstallHost(mFirst, &Interfaces[0]);
  EFI_EVENT Event = MakeTracer(TPL_CALLBACK, "seen ");
  VOID *Registration = nullptr;
  EXPECT_EQ(Boot->RegisterProtocolNotify(nullptr, Event, &Registration), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Boot->RegisterProtocolNotify(&mFirst, nullptr, &Registration), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Boot->RegisterProtocolNotify(&mFirst, Event, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Boot->RegisterProtocolNotify(&mFirst, this, &Registration), EFI_INVALID_PARAMETER);
  EXPECT_TRUE(FaultTaken("RegisterProtocolNotify"));
  EXPECT_EQ(Boot->RegisterProtocolNotify(&mFirst, Event, &Registration), EFI_SUCCESS);
  ASSERT_NE(Registration, nullptr);
  EXPECT_EQ(Located(mFirst, Registration), nullptr);

  Firmware.Handles.InstallHost(mSecond, &Interfaces[0]);
  EXPECT_EQ(Trace, "");
  EFI_HANDLE Gone = Firmware.Handles.InstallHost(mFirst, &Interfaces[1]);
  EXPECT_EQ(Trace, "seen ");
  Firmware.Handles.InstallHost(mFirst, &Interfaces[2]);
  Firmware.Handles.InstallHost(mFirst, &Interfaces[3]);
  EXPECT_EQ(Trace, "seen seen seen ");
  // The registration walks through what is new, each once, and passes over what was taken away.
  Firmware.Handles.UninstallHost(Gone, mFirst);
  EXPECT_EQ(Located(mFirst, Registration), &Interfaces[2]);
  EXPECT_EQ(Located(mFirst, Registration), &Interfaces[3]);
  EXPECT_EQ(Located(mFirst, Registration), nullptr);
  EXPECT_EQ(Located(mFirst), &Interfaces[0]);

  EXPECT_EQ(Boot->CloseEvent(Event), EFI_SUCCESS);
  EXPECT_TRUE(Firmware.Handles.OpenWatches().empty());
  Firmware.Handles.InstallHost(mFirst, nullptr);
  EXPECT_EQ(Trace, "seen seen seen ");
  EXPECT_EQ(Located(mFirst, Registration), nullptr);
  EXPECT_TRUE(FaultTaken("registration is not known"));
}

} // namespace

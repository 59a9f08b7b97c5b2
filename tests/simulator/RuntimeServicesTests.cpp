// Holds variables and time to UEFI 2.10, sections 8.2 and 8.3.
#include "tests/simulator/FirmwareTest.h"
#include "uefi/GlobalVariable.h"

namespace {

class RuntimeServicesTests : public FirmwareTest {
protected:
  EFI_STATUS Get(const CHAR16 *Name, UINTN *Size, VOID *Data, UINT32 *Attributes = nullptr) {
    return Firmware.RuntimeServices()->GetVariable(Name, &mEfiGlobalVariableGuid, Attributes, Size, Data);
  }
};

TEST_F(RuntimeServicesTests, VariablesAnswerProbesAndReads) {
  Firmware.Nvram.Set(u"PlatformLang", mEfiGlobalVariableGuid, std::string("en-US\0", 6), 7);
  const struct {
    const CHAR16 *Name;
    UINTN Size;
    bool Buffer;
    EFI_STATUS Status;
    UINTN SizeAfter;
  } Rows[] = {
      {u"PlatformLang", 0, false, EFI_BUFFER_TOO_SMALL, 6},
      {u"PlatformLang", 0, true, EFI_BUFFER_TOO_SMALL, 6},
      {u"PlatformLang", 5, true, EFI_BUFFER_TOO_SMALL, 6},
      {u"PlatformLang", 5, false, EFI_BUFFER_TOO_SMALL, 6},
      {u"PlatformLang", 6, true, EFI_SUCCESS, 6},
      {u"PlatformLang", 8, true, EFI_SUCCESS, 6},
      {u"PlatformLang", 6, false, EFI_INVALID_PARAMETER, 6},
      {u"PlatformLan", 0, false, EFI_NOT_FOUND, 0},
      {u"", 8, true, EFI_NOT_FOUND, 8},
      {nullptr, 8, true, EFI_INVALID_PARAMETER, 8},
  };
  for (const auto &Row : Rows) {
    SCOPED_TRACE(testing::Message() << "row " << &Row - Rows);
    UINT8 Data[8];
    std::fill(Data, Data + 8, UINT8{0x55});
    UINTN Size = Row.Size;
    UINT32 Attributes = 0;
    EXPECT_EQ(Get(Row.Name, &Size, Row.Buffer ? Data : nullptr, &Attributes), Row.Status);
    EXPECT_EQ(Size, Row.SizeAfter);
    const bool Found = Row.Status == EFI_SUCCESS || Row.Status == EFI_BUFFER_TOO_SMALL;
    EXPECT_EQ(Attributes, Found ? 7u : 0u);
    EXPECT_EQ(std::string(Data, Data + 8),
              Row.Status == EFI_SUCCESS ? std::string("en-US\0UU", 8) : "UUUUUUUU");
  }
  UINTN Size = 0;
  EXPECT_EQ(Get(u"PlatformLang", nullptr, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Firmware.RuntimeServices()->GetVariable(u"PlatformLang", nullptr, nullptr, &Size, nullptr),
            EFI_INVALID_PARAMETER);
  const EFI_GUID Other = {1, 2, 3, {}};
  EXPECT_EQ(Firmware.RuntimeServices()->GetVariable(u"PlatformLang", &Other, nullptr, &Size, nullptr),
            EFI_NOT_FOUND);
  Firmware.Nvram.GetVariableCalls.FailAt(2, EFI_DEVICE_ERROR);
  EXPECT_EQ(Get(u"PlatformLang", &Size, nullptr), EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(Get(u"PlatformLang", &Size, nullptr), EFI_DEVICE_ERROR);
  Firmware.Nvram.Remove(u"PlatformLang", mEfiGlobalVariableGuid);
  EXPECT_EQ(Get(u"PlatformLang", &Size, nullptr), EFI_NOT_FOUND);
}

// Only the language, only from a notification that itself runs at TPL_NOTIFY.
TEST_F(RuntimeServicesTests, ALanguageReadAtNotifyIsToleratedInANotificationOnly) {
  static const CHAR16 *Name = nullptr;
  const EFI_EVENT_NOTIFY Read = [](EFI_EVENT, VOID *Context) EFIAPI {
    UINTN Size = 0;
    static_cast<EFI_RUNTIME_SERVICES *>(Context)->GetVariable(Name, &mEfiGlobalVariableGuid, nullptr, &Size,
                                                              nullptr);
  };
  const struct {
    const CHAR16 *Name;
    EFI_TPL Event;
    UINTN Counted;
    bool Fault;
  } Rows[] = {
      {u"PlatformLang", TPL_NOTIFY, 1, false},
      {u"PlatformLang", TPL_CALLBACK, 1, false},
      {u"Lang", TPL_NOTIFY, 1, true},
  };
  for (const auto &Row : Rows) {
    Name = Row.Name;
    EFI_EVENT Event = nullptr;
    ASSERT_EQ(Boot->CreateEvent(EVT_NOTIFY_SIGNAL, Row.Event, Read, Firmware.RuntimeServices(), &Event),
              EFI_SUCCESS);
    Boot->SignalEvent(Event);
    EXPECT_EQ(Firmware.LanguageReadsAtNotify(), Row.Counted);
    EXPECT_EQ(Firmware.TakeFaults().size(), Row.Fault ? 1u : 0u);
  }
  Boot->RaiseTPL(TPL_NOTIFY);
  UINTN Size = 0;
  Get(u"PlatformLang", &Size, nullptr);
  EXPECT_TRUE(FaultTaken("GetVariable: called at TPL 16"));
}

TEST_F(RuntimeServicesTests, TheClockGivesWhatWasSet) {
  Firmware.RealTimeClock.Set(2000, 3, 0, 23, 59, 58, -60);
  EFI_TIME Time;
  EFI_TIME_CAPABILITIES Capabilities{};
  EXPECT_EQ(Firmware.RuntimeServices()->GetTime(&Time, &Capabilities), EFI_SUCCESS);
  EXPECT_EQ(Time.Year, 2000);
  EXPECT_EQ(Time.Month, 3);
  EXPECT_EQ(Time.Day, 0);
  EXPECT_EQ(Time.Hour, 23);
  EXPECT_EQ(Time.Minute, 59);
  EXPECT_EQ(Time.Second, 58);
  EXPECT_EQ(Time.TimeZone, -60);
  EXPECT_EQ(Capabilities.Resolution, 1u);
  EXPECT_EQ(Firmware.RuntimeServices()->GetTime(&Time, nullptr), EFI_SUCCESS);
  EXPECT_EQ(Firmware.RuntimeServices()->GetTime(nullptr, nullptr), EFI_INVALID_PARAMETER);
  Firmware.RealTimeClock.GetTimeCalls.FailFrom(1, EFI_DEVICE_ERROR);
  EXPECT_EQ(Firmware.RuntimeServices()->GetTime(&Time, nullptr), EFI_DEVICE_ERROR);
}

} // namespace

// Holds variables and time to UEFI 2.10, sections 8.2 and 8.3.
#include "tests/simulator/FirmwareTest.h"
#include "uefi/GlobalVariable.h"

namespace {

class RuntimeServicesTests : public FirmwareTest {
protected:
  EFI_STATUS Get(const CHAR16 *Name, UINTN *Size, VOID *Data, UINT32 *Attributes = nullptr,
                 const EFI_GUID *Vendor = &mEfiGlobalVariableGuid) {
    return Firmware.RuntimeServices()->GetVariable(Name, Vendor, Attributes, Size, Data);
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
    std::string Data(8, 'U');
    UINTN Size = Row.Size;
    UINT32 Attributes = 0;
    EXPECT_EQ(Get(Row.Name, &Size, Row.Buffer ? Data.data() : nullptr, &Attributes), Row.Status);
    EXPECT_EQ(Size, Row.SizeAfter);
    const bool Found = Row.Status == EFI_SUCCESS || Row.Status == EFI_BUFFER_TOO_SMALL;
    EXPECT_EQ(Attributes, Found ? 7u : 0u);
    EXPECT_EQ(Data, Row.Status == EFI_SUCCESS ? std::string("en-US\0UU", 8) : "UUUUUUUU");
  }
  const EFI_GUID Other = {1, 2, 3, {}};
  UINTN Size = 0;
  EXPECT_EQ(Get(u"PlatformLang", &Size, nullptr, nullptr, &Other), EFI_NOT_FOUND);
  EXPECT_EQ(Get(u"PlatformLang", &Size, nullptr, nullptr, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Get(u"PlatformLang", nullptr, nullptr), EFI_INVALID_PARAMETER);
}

// Only the language, only from a notification that itself runs at TPL_NOTIFY.
TEST_F(RuntimeServicesTests, ALanguageReadAtNotifyIsToleratedInANotificationOnly) {
  const struct {
    const CHAR16 *Name;
    EFI_TPL Event;
    UINTN Counted;
    UINTN Faults;
  } Rows[] = {
      {u"PlatformLang", TPL_NOTIFY, 1, 0},
      {u"PlatformLang", TPL_CALLBACK, 1, 0},
      {u"Lang", TPL_NOTIFY, 1, 1},
  };
  UINTN Size = 0;
  for (const auto &Row : Rows) {
    Boot->SignalEvent(MakeEvent(Row.Event, [&] { Get(Row.Name, &Size, nullptr); }));
    EXPECT_EQ(Firmware.LanguageReadsAtNotify(), Row.Counted);
    EXPECT_EQ(Firmware.TakeFaults().size(), Row.Faults);
  }
  Boot->RaiseTPL(TPL_NOTIFY);
  Get(u"PlatformLang", &Size, nullptr);
  EXPECT_TRUE(FaultTaken("GetVariable: called at TPL 16"));
}

TEST_F(RuntimeServicesTests, TheClockGivesWhatWasSet) {
  EFI_RUNTIME_SERVICES *Runtime = Firmware.RuntimeServices();
  Firmware.RealTimeClock.Set(2000, 3, 0, 23, 59, 58, -60);
  EFI_TIME Time;
  EXPECT_EQ(Runtime->GetTime(&Time, nullptr), EFI_SUCCESS);
  EXPECT_EQ(std::vector<int>({Time.Year, Time.Month, Time.Day, Time.Hour, Time.Minute, Time.Second}),
            std::vector<int>({2000, 3, 0, 23, 59, 58}));
  EXPECT_EQ(Time.TimeZone, -60);
  EXPECT_EQ(Runtime->GetTime(nullptr, nullptr), EFI_INVALID_PARAMETER);
  Firmware.RealTimeClock.GetTimeCalls.FailFrom(2, EFI_DEVICE_ERROR);
  for (const EFI_STATUS Expected : {EFI_SUCCESS, EFI_DEVICE_ERROR, EFI_DEVICE_ERROR}) {
    EXPECT_EQ(Runtime->GetTime(&Time, nullptr), Expected);
  }
}

} // namespace

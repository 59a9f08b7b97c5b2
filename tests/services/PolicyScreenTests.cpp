// The messages as they are registered, the language they are read in, and a screen that comes up however
// badly the HII database and the variables behave.
#include <gtest/gtest.h>

#include <cstring>

#include "simulator/Guids.h"
#include "tests/services/PolicyBoot.h"

namespace {

constexpr EFI_GUID mListGuid = {0x437a2a5a, 0x0dcb, 0x4948, {0xa2, 0x9c, 0x3e, 0x8e, 0xd1, 0x87, 0x6b, 0x40}};
const PolicyViolation mViolation = {2, 0, "ABC"};

void Append(Bytes &To, UINT64 Value, UINTN Width) {
  for (UINTN Index = 0; Index < Width; Index++) {
    To.push_back(static_cast<UINT8>(Value >> 8 * Index));
  }
}

// A string package with the texts, whose identifiers count from 1.
Bytes StringPackage(const std::string &Tag, const std::vector<std::u16string> &Texts) {
  Bytes Blocks;
  for (const std::u16string &Text : Texts) {
    Append(Blocks, EFI_HII_SIBT_STRING_UCS2, 1);
    for (char16_t Unit : Text + u'\0') {
      Append(Blocks, Unit, 2);
    }
  }
  Append(Blocks, EFI_HII_SIBT_END, 1);
  const UINTN HeaderSize = 46 + Tag.size() + 1;
  Bytes Package;
  Append(Package, HeaderSize + Blocks.size(), 3);
  Append(Package, EFI_HII_PACKAGE_STRINGS, 1);
  Append(Package, HeaderSize, 4);
  Append(Package, HeaderSize, 4);
  Package.insert(Package.end(), 32, 0);
  Append(Package, 1, 2);
  Package.insert(Package.end(), Tag.begin(), Tag.end());
  Package.push_back(0);
  Package.insert(Package.end(), Blocks.begin(), Blocks.end());
  return Package;
}

Bytes PackageList(const EFI_GUID &Guid, const std::vector<Bytes> &Packages) {
  Bytes List(16);
  std::memcpy(List.data(), &Guid, sizeof(Guid));
  UINTN Size = 24;
  for (const Bytes &Package : Packages) {
    Size += Package.size();
  }
  Append(List, Size, 4);
  for (const Bytes &Package : Packages) {
    List.insert(List.end(), Package.begin(), Package.end());
  }
  Append(List, 0xDF000004, 4);
  return List;
}

// Puts another module's list into the database.
void Register(DriverSession &Session, const Bytes &List) {
  std::string Why;
  ASSERT_NE(Session.Firmware().Hii.Store.Add(List.data(), Why), nullptr) << Why;
}

PolicyPlatform ViolatedPlatform(std::optional<std::string> Language = {}) {
  PolicyPlatform Platform;
  Platform.Blocks = Recorded(mViolation);
  Platform.Language = std::move(Language);
  return Platform;
}

TEST(PolicyScreenTest, PackagesAreRegisteredByteForByte) {
  PolicyBoot Boot({});
  ASSERT_TRUE(Boot.Start());
  std::vector<Bytes> Packages;
  for (const std::string &Tag : MessageTags()) {
    std::vector<std::u16string> Texts;
    for (UINTN Id = 1; Id <= 8; Id++) {
      Texts.push_back(MessageText(Tag, Id));
    }
    Packages.push_back(StringPackage(Tag, Texts));
  }
  ASSERT_EQ(Packages.size(), 14U);
  const HiiStore &Store = Boot.Firmware().Hii.Store;
  ASSERT_EQ(Store.Handles().size(), 1U);
  const HiiStore::PackageList &List = *Store.Find(Store.Handles()[0]);
  EXPECT_EQ(List.Bytes, PackageList(mListGuid, Packages));
}

// Each language once, with the reasons in turn: that every text stands where it belongs is known from the
// bytes.
TEST(PolicyScreenTest, EveryLanguageIsShown) {
  const PolicyViolation Violations[] = {
      {1, 0, "Module"}, {6, 0, "Module"}, {1, 2, "Module"}, {-7, 0, "Module"}};
  UINTN Turn = 0;
  for (const std::string &Tag : MessageTags()) {
    const PolicyViolation &Violation = Violations[Turn++ % std::size(Violations)];
    PolicyPlatform Platform = ViolatedPlatform(Tag + '\0');
    Platform.Blocks = Recorded(Violation);
    const PolicyOutcome Wanted = {PolicyEnd::Start, FullScreen(Violation, Tag)};
    EXPECT_EQ(PolicyBoot(Platform).Run(), Wanted) << Tag << " " << Violation.Reason;
  }
}

TEST(PolicyScreenTest, LanguageChoice) {
  struct Row {
    std::string Platform;
    const char *Tag;
  };
  const std::string Nul(1, '\0');
  const Row Rows[] = {
      {"en-US" + Nul, "en-US"},
      {"fr-CA" + Nul, "fr-FR"},
      {"da-DK" + Nul, "da-DA"},
      {"ja-JP" + Nul, "ja-JA"},
      {"sv-SE" + Nul, "sv-SV"},
      {"pt-BR" + Nul, "pt-PT"},
      {"nl-NL" + Nul, "nl-BE"},
      {"de-AT" + Nul, "de-DE"},
      {"zh-HK" + Nul, "zh-CN"},
      {"zh-TW" + Nul, "zh-TW"},
      {"zh-Hant-TW" + Nul, "zh-CN"},
      {"nb-NO" + Nul, "en-US"},
      {"FR-FR" + Nul, "en-US"},
      {"f" + Nul, "fi-FI"},
      {"fr-" + Nul, "fr-FR"},
      {"fr-FR-x" + Nul, "fr-FR"},
      {"fr;de-DE" + Nul, "fr-FR"},
      {";de-DE" + Nul, "en-US"},
      {"-de" + Nul, "en-US"},
      {"fr-FR", "fr-FR"},
      {"", "en-US"},
      {Nul, "en-US"},
      {std::string(4096, ';'), "en-US"},
      {std::string(4096, '-'), "en-US"},
      {std::string(4096, 'x'), "en-US"},
      {"it" + std::string(4094, '-'), "it-IT"},
  };
  for (const Row &Case : Rows) {
    const PolicyOutcome Wanted = {PolicyEnd::Start, FullScreen(mViolation, Case.Tag)};
    EXPECT_EQ(PolicyBoot(ViolatedPlatform(Case.Platform)).Run(), Wanted) << Case.Platform.substr(0, 20);
  }
}

TEST(PolicyScreenTest, TheFirstListOfTheDriversNameIsRead) {
  const std::vector<std::u16string> Texts = {u"English", u"Title", u"Three", u"Four", u"Five"};
  // Reason 6 is missing from this list: the screen has three lines.
  const PolicyViolation Violation = {4, 0, "ABC"};
  PolicyPlatform Platform = ViolatedPlatform("de-DE");
  Platform.Blocks = Recorded(Violation);
  // When its probe or its reading fails, the title comes from the list behind it, the driver's own.
  for (UINTN FailingExport : {0, 5, 6}) {
    const PolicyOutcome Outcome = PolicyBoot(Platform).Run([&](DriverSession &Starting) {
      Register(Starting, PackageList({1, 2, 3, {4}}, {StringPackage("de-DE", Texts)}));
      Register(Starting, PackageList({5, 6, 7, {8}}, {}));
      Register(Starting, PackageList(mListGuid, {StringPackage("en-US", Texts)}));
      if (FailingExport != 0) {
        Starting.Firmware().Hii.ExportPackageListsCalls.FailAt(FailingExport, EFI_NOT_FOUND);
      }
    });
    const std::u16string Title = FailingExport == 0 ? u"Title" : MessageText("de-DE", 2);
    EXPECT_EQ(Outcome, (PolicyOutcome{PolicyEnd::Start, {{Title, {u"Three", u"Four", u"ABC"}}}}));
  }
}

// Firmware members that answer what no honest firmware does.
namespace Hostile {

template <typename... ARGUMENTS> EFI_STATUS EFIAPI SucceedAtOnce(ARGUMENTS...) {
  return EFI_SUCCESS;
}

// Probes say Needed bytes; reads succeed, write Written bytes and say Said.
UINTN Needed;
UINTN Written;
UINTN Said;

EFI_STATUS Answer(UINTN *Size, VOID *Buffer) {
  const bool Probe = Buffer == nullptr;
  if (!Probe) {
    std::memset(Buffer, 'A', Written);
  }
  *Size = Probe ? Needed : Said;
  return Probe ? EFI_BUFFER_TOO_SMALL : EFI_SUCCESS;
}

EFI_STATUS EFIAPI List(const EFI_HII_DATABASE_PROTOCOL *, UINT8, const EFI_GUID *, UINTN *Size,
                       EFI_HII_HANDLE *Buffer) {
  return Answer(Size, Buffer);
}
EFI_STATUS EFIAPI Export(const EFI_HII_DATABASE_PROTOCOL *, EFI_HII_HANDLE, UINTN *Size,
                         EFI_HII_PACKAGE_LIST_HEADER *Buffer) {
  return Answer(Size, Buffer);
}
// Nineteen bytes of a list of the driver's.
EFI_STATUS EFIAPI ExportShort(const EFI_HII_DATABASE_PROTOCOL *, EFI_HII_HANDLE, UINTN *Size,
                              EFI_HII_PACKAGE_LIST_HEADER *Buffer) {
  if (Buffer != nullptr) {
    std::memcpy(Buffer, &mListGuid, sizeof(mListGuid));
  }
  *Size = 19;
  return Buffer != nullptr ? EFI_SUCCESS : EFI_BUFFER_TOO_SMALL;
}
EFI_STATUS EFIAPI Languages(const EFI_HII_STRING_PROTOCOL *, EFI_HII_HANDLE, CHAR8 *Buffer, UINTN *Size) {
  return Answer(Size, Buffer);
}
EFI_STATUS EFIAPI String(const EFI_HII_STRING_PROTOCOL *, const CHAR8 *, EFI_HII_HANDLE, EFI_STRING_ID,
                         EFI_STRING Buffer, UINTN *Size, EFI_FONT_INFO **) {
  return Answer(Size, Buffer);
}
EFI_STATUS EFIAPI Variable(const CHAR16 *, const EFI_GUID *, UINT32 *, UINTN *Size, VOID *Buffer) {
  return Answer(Size, Buffer);
}

} // namespace Hostile

// The boot halts with some screen; which texts it has left does not matter here.
void ExpectSomeScreen(const std::function<void(DriverSession &)> &Spoil) {
  const PolicyOutcome Outcome = PolicyBoot(ViolatedPlatform("fr-FR")).Run(Spoil);
  EXPECT_EQ(Outcome.End, PolicyEnd::Start);
  ASSERT_TRUE(Outcome.Screen);
  ASSERT_GE(Outcome.Screen->Lines.size(), 3U);
  EXPECT_EQ(Outcome.Screen->Lines.back(), u"ABC");
}

TEST(PolicyScreenTest, EverySizeAHostileFirmwareCanName) {
  struct Row {
    UINTN Needed, Written, Said;
  };
  const Row Rows[] = {
      {0, 0, 0},      {1, 1, 1}, {12, 12, 12},  {19, 19, 19},      {20, 4, 4},         {24, 8, 24},
      {40, 0, ~0ULL}, {3, 3, 4}, {~0ULL, 0, 0}, {~0ULL - 8, 0, 0}, {1ULL << 40, 0, 0},
  };
  for (const Row &Case : Rows) {
    Hostile::Needed = Case.Needed;
    Hostile::Written = Case.Written;
    Hostile::Said = Case.Said;
    SCOPED_TRACE(testing::Message() << Case.Needed << " bytes, " << Case.Said << " said");
    ExpectSomeScreen([](DriverSession &Starting) {
      Starting.Firmware().Hii.Database.ExportPackageLists = Hostile::Export;
    });
    ExpectSomeScreen(
        [](DriverSession &Starting) { Starting.Firmware().Hii.String.GetLanguages = Hostile::Languages; });
    ExpectSomeScreen(
        [](DriverSession &Starting) { Starting.Firmware().Hii.String.GetString = Hostile::String; });
    ExpectSomeScreen([](DriverSession &Starting) {
      Starting.Firmware().RuntimeServices()->GetVariable = Hostile::Variable;
    });
    // Made-up handles must be answered for too.
    ExpectSomeScreen(
        [](DriverSession &Starting) { Starting.Firmware().Hii.Database.ListPackageLists = Hostile::List; });
  }
}

TEST(PolicyScreenTest, AProbeAnsweredWithSuccessEndsItsLookup) {
  const auto Show = [](const std::function<void(DriverSession &)> &Spoil) {
    return PolicyBoot(ViolatedPlatform("fr-FR")).Run(Spoil).Screen;
  };
  const std::optional<MessageDialog::Screen> Mute = MuteFullScreen(mViolation);
  EXPECT_EQ(
      Show([](DriverSession &S) { S.Firmware().Hii.Database.ExportPackageLists = Hostile::ExportShort; }),
      Mute)
      << "a list without its whole header is none";
  EXPECT_EQ(
      Show([](DriverSession &S) { S.Firmware().Hii.Database.ListPackageLists = Hostile::SucceedAtOnce; }),
      Mute);
  EXPECT_EQ(
      Show([](DriverSession &S) { S.Firmware().Hii.Database.ExportPackageLists = Hostile::SucceedAtOnce; }),
      Mute);
  EXPECT_EQ(Show([](DriverSession &S) { S.Firmware().Hii.String.GetLanguages = Hostile::SucceedAtOnce; }),
            Mute);
  EXPECT_EQ(Show([](DriverSession &S) { S.Firmware().Hii.String.GetString = Hostile::SucceedAtOnce; }), Mute);
  EXPECT_EQ(
      Show([](DriverSession &S) { S.Firmware().RuntimeServices()->GetVariable = Hostile::SucceedAtOnce; }),
      FullScreen(mViolation));
}

// Each call of each service fails alone: at most the text that it was for is missing, or the language is the
// first one.
TEST(PolicyScreenTest, EverySingleFailureOfTheFirmware) {
  using Script = ScriptedStatus &(*)(SimulatedFirmware &);
  const Script Scripts[] = {
      [](SimulatedFirmware &Firmware) -> ScriptedStatus & { return Firmware.Hii.ListPackageListsCalls; },
      [](SimulatedFirmware &Firmware) -> ScriptedStatus & { return Firmware.Hii.ExportPackageListsCalls; },
      [](SimulatedFirmware &Firmware) -> ScriptedStatus & { return Firmware.Hii.GetLanguagesCalls; },
      [](SimulatedFirmware &Firmware) -> ScriptedStatus & { return Firmware.Hii.GetStringCalls; },
      [](SimulatedFirmware &Firmware) -> ScriptedStatus & { return Firmware.Nvram.GetVariableCalls; },
  };
  for (const Script &Service : Scripts) {
    // Four texts are looked up, each with a probe and a read.
    for (UINTN Call = 1; Call <= 8; Call++) {
      const PolicyOutcome Outcome = PolicyBoot(ViolatedPlatform("fr-FR")).Run([&](DriverSession &Starting) {
        Service(Starting.Firmware()).FailAt(Call, EFI_DEVICE_ERROR);
      });
      MessageDialog::Screen Wanted = FullScreen(mViolation, "fr-FR");
      const UINTN Text = (Call - 1) / 2;
      std::optional<std::u16string> Instead;
      if (Service == Scripts[4]) {
        const UINTN mIds[] = {2, 3, 4, 5};
        Instead = MessageText("en-US", mIds[Text]);
      }
      if (Text == 0) {
        Wanted.Title = Instead;
      } else if (Text == 3 && !Instead) {
        Wanted.Lines.erase(Wanted.Lines.begin() + 2);
      } else {
        Wanted.Lines[Text - 1] = Instead;
      }
      EXPECT_EQ(Outcome, (PolicyOutcome{PolicyEnd::Start, Wanted})) << "call " << Call;
    }
  }
}

// Registration that fails leaves a boot without strings, and nothing else.
TEST(PolicyScreenTest, WithoutRegisteredPackagesTheScreenIsMute) {
  const PolicyOutcome Outcome = PolicyBoot(ViolatedPlatform()).Run([](DriverSession &Starting) {
    Starting.Firmware().Hii.NewPackageListCalls.FailAt(1, EFI_OUT_OF_RESOURCES);
  });
  EXPECT_EQ(Outcome, (PolicyOutcome{PolicyEnd::Start, MuteFullScreen(mViolation)}));
  for (bool Database : {true, false}) {
    PolicyPlatform Platform = ViolatedPlatform();
    Platform.Firmware.HiiDatabase = Database;
    Platform.Firmware.HiiString = !Database;
    EXPECT_EQ(PolicyBoot(Platform).Run(), (PolicyOutcome{PolicyEnd::Start, MuteFullScreen(mViolation)}));
  }
}

// With a record no failed allocation lets the boot go on, and none makes a screen say something wrong.
TEST(PolicyScreenTest, SweepOfARecordedViolation) {
  const auto IsPartOf = [](const std::optional<std::u16string> &Text, const std::u16string &Whole) {
    return !Text || *Text == Whole;
  };
  const MessageDialog::Screen French = FullScreen(mViolation, "fr-FR");
  const MessageDialog::Screen English = FullScreen(mViolation);
  UINTN Swept = 0;
  for (DisplayTime Display : {DisplayTime::AtStart, DisplayTime::BeforeReadyToBoot}) {
    PolicyPlatform Platform = ViolatedPlatform("fr-FR");
    Platform.Display = Display;
    UINTN Allocations = 0;
    UINTN Screenless = 0;
    for (UINTN Number = 0; Number <= Allocations; Number++) {
      for (bool Persistently : {false, true}) {
        if (Persistently && Display != DisplayTime::AtStart) {
          continue;
        }
        PolicyBoot Boot(Platform);
        const PolicyOutcome Outcome = Boot.Run([&](DriverSession &Starting) {
          Pool &Memory = Starting.Firmware().Memory;
          if (Number != 0) {
            Persistently ? Memory.FailFrom(Number) : Memory.FailAt(Number);
          }
        });
        if (Number == 0) {
          Allocations = Boot.Firmware().Memory.Calls();
        }
        Swept++;
        SCOPED_TRACE(testing::Message()
                     << "allocation " << Number << (Persistently ? " and all after it" : ""));
        EXPECT_EQ(Outcome.End, Display == DisplayTime::AtStart ? PolicyEnd::Start : PolicyEnd::EarlyDisplay);
        if (!Outcome.Screen) {
          EXPECT_NE(Number, 0U);
          Screenless += Persistently ? 0 : 1;
          continue;
        }
        const auto &Lines = Outcome.Screen->Lines;
        ASSERT_GE(Lines.size(), 3U);
        EXPECT_TRUE(IsPartOf(Outcome.Screen->Title, *French.Title) || Outcome.Screen->Title == English.Title);
        for (UINTN Index = 0; Index < 2; Index++) {
          EXPECT_TRUE(IsPartOf(Lines[Index], *French.Lines[Index]) || Lines[Index] == English.Lines[Index]);
        }
        EXPECT_TRUE(Lines.size() == 3 || Lines[2] == French.Lines[2] || Lines[2] == English.Lines[2]);
        EXPECT_TRUE(IsPartOf(Lines.back(), u"ABC"));
      }
    }
    EXPECT_EQ(Screenless, 2U) << "only the list and the table of lines are needed";
  }
  std::cout << "swept " << Swept << " boots\n";
}

// As without a dialog: the boot halts, and nothing is called.
TEST(PolicyScreenTest, ADialogWithoutInterfaceIsNone) {
  PolicyPlatform Platform = ViolatedPlatform();
  Platform.Dialog = false;
  const PolicyOutcome Outcome = PolicyBoot(Platform).Run([](DriverSession &Starting) {
    Starting.Firmware().Handles.InstallHost(mMessageDialogProtocolGuid, nullptr);
  });
  EXPECT_EQ(Outcome, (PolicyOutcome{PolicyEnd::Start, {}}));
}

bool QueuedRan;

VOID EFIAPI NoteThatItRan(EFI_EVENT, VOID *) {
  QueuedRan = true;
}

// Another notification that was held off runs before the dialog, and a second display changes nothing.
TEST(PolicyScreenTest, QueuedNotificationsRunBeforeTheDialog) {
  PolicyPlatform Platform = ViolatedPlatform();
  Platform.Display = DisplayTime::Never;
  PolicyBoot Boot(Platform);
  ASSERT_TRUE(Boot.Start());
  QueuedRan = false;
  bool RanBeforeTheDialog = false;
  Boot.Dialog.WhenShown([&](const MessageDialog::Screen &) { RanBeforeTheDialog = QueuedRan; });
  EFI_BOOT_SERVICES *Services = Boot.Firmware().BootServices();
  EFI_EVENT Event = nullptr;
  ASSERT_EQ(Services->CreateEvent(EVT_NOTIFY_SIGNAL, TPL_CALLBACK, NoteThatItRan, nullptr, &Event),
            EFI_SUCCESS);
  EXPECT_FALSE(Boot.Step([&] {
    const EFI_TPL Old = Services->RaiseTPL(TPL_NOTIFY);
    Services->SignalEvent(Event);
    AnnounceDisplay(Boot.Firmware());
    Services->RestoreTPL(Old);
  }));
  EXPECT_TRUE(RanBeforeTheDialog);
  EXPECT_EQ(Boot.Dialog.Shown().size(), 1U);
  EXPECT_EQ(Boot.Firmware().TakeFaults(), std::vector<std::string>{});
}

// The display is gone again when the watch runs, so the screen waits for the next one without its record.
// Then both watches are due: the one with the record comes first and, on its way down to the dialog, lets the
// other show.
TEST(PolicyScreenTest, ADisplayThatIsGoneAgainDefersTheScreen) {
  PolicyPlatform Platform = ViolatedPlatform();
  Platform.Display = DisplayTime::Never;
  PolicyBoot Boot(Platform);
  ASSERT_TRUE(Boot.Start());
  EFI_BOOT_SERVICES *Services = Boot.Firmware().BootServices();
  ASSERT_TRUE(Boot.Step([&] {
    const EFI_TPL Old = Services->RaiseTPL(TPL_NOTIFY);
    const EFI_HANDLE Handle = AnnounceDisplay(Boot.Firmware());
    Boot.Firmware().Handles.UninstallHost(Handle, mDisplayReadyProtocolGuid);
    Services->RestoreTPL(Old);
  }));
  const size_t Ran = Boot.Firmware().Events.Notifications().size();
  EXPECT_FALSE(Boot.Step([&] { AnnounceDisplay(Boot.Firmware()); }));
  ASSERT_EQ(Boot.Dialog.Shown().size(), 1U);
  EXPECT_TRUE(Boot.Dialog.Shown()[0] == BareScreen());
  const auto &Log = Boot.Firmware().Events.Notifications();
  ASSERT_EQ(Log.size(), Ran + 2);
  EXPECT_EQ(Log[Ran].Tpl, TPL_NOTIFY);
  EXPECT_EQ(Log[Ran + 1].Tpl, TPL_CALLBACK);
  EXPECT_EQ(Boot.Firmware().TakeFaults(), std::vector<std::string>{});
}

} // namespace

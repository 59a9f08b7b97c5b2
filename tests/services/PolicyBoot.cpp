// Plays the platform and the boot manager, and knows what a screen must say.
#include "tests/services/PolicyBoot.h"

#include <algorithm>
#include <iterator>

#include "uefi/GlobalVariable.h"

namespace {

struct MESSAGE_ROW {
  const char *Tag;
  UINTN Id;
  const char16_t *Text;
};

constexpr MESSAGE_ROW mMessages[] = {
#define MESSAGE(Tag, Id, Text) {Tag, Id, Text},
#include "tests/services/MessageTexts.def"
#undef MESSAGE
};

std::u16string Widened(const std::string &Name) {
  std::u16string Text;
  for (char Byte : Name.substr(0, std::min<size_t>(Name.find('\0'), POLICY_VIOLATION_NAME_SIZE))) {
    Text += static_cast<char16_t>(static_cast<INT8>(Byte));
  }
  return Text;
}

UINTN ReasonId(const PolicyViolation &Violation) {
  if (Violation.Kind == 2) {
    return 7;
  }
  constexpr UINTN mIds[] = {5, 5, 5, 5, 6, 6, 6, 6};
  return Violation.Reason >= 0 && Violation.Reason < 8 ? mIds[Violation.Reason] : 8;
}

std::string Printable(const std::optional<std::u16string> &Text) {
  std::string Ascii = Text ? "\"" : "NULL";
  for (char16_t Unit : Text.value_or(u"")) {
    Ascii += Unit < 0x7F ? static_cast<char>(Unit) : '?';
  }
  return Text ? Ascii + "\"" : Ascii;
}

} // namespace

std::ostream &operator<<(std::ostream &Stream, const PolicyOutcome &Outcome) {
  static const char *const mEnds[] = {"halted during start-up", "halted when the display came",
                                      "halted at ready-to-boot", "halted when the display came late",
                                      "goes on"};
  Stream << mEnds[static_cast<int>(Outcome.End)];
  if (!Outcome.Screen) {
    return Stream << ", no screen";
  }
  Stream << ", screen " << Printable(Outcome.Screen->Title) << ":";
  for (const auto &Line : Outcome.Screen->Lines) {
    Stream << " " << Printable(Line);
  }
  return Stream;
}

PolicyBoot::PolicyBoot(PolicyPlatform Platform) : Platform_(std::move(Platform)) {}

bool PolicyBoot::Start(const Preparation &Prepare) {
  SessionOptions Options = TestedDriver();
  Options.Firmware = Platform_.Firmware;
  Options.Prepare = [&](DriverSession &Starting) {
    SimulatedFirmware &Firmware = Starting.Firmware();
    if (Platform_.Blocks) {
      Platform_.Blocks(Blocks_);
      Firmware.AddHobList(Blocks_);
    }
    if (Platform_.Dialog) {
      Firmware.Handles.InstallHost(mMessageDialogProtocolGuid, &Dialog.Interface);
    }
    if (Platform_.Channel) {
      Firmware.Handles.InstallHost(mEfiSmmCommunicationProtocolGuid, Smm.Interface());
    }
    if (Platform_.Language) {
      Firmware.Nvram.Set(u"PlatformLang", mEfiGlobalVariableGuid, *Platform_.Language);
    }
    if (Platform_.Display == DisplayTime::AtStart) {
      AnnounceDisplay(Firmware);
    }
    if (Prepare) {
      Prepare(Starting);
    }
  };
  Session_ = std::make_unique<DriverSession>(Options);
  return Session_->Outcome() != BootOutcome::Halted;
}

PolicyEnd PolicyBoot::GoOn(const Preparation &Prepare) {
  const auto ShowDisplay = [this] { AnnounceDisplay(Firmware()); };
  if (!Start(Prepare)) {
    return PolicyEnd::Start;
  }
  if (Platform_.Display == DisplayTime::BeforeReadyToBoot && !Step(ShowDisplay)) {
    return PolicyEnd::EarlyDisplay;
  }
  if (!Step([this] { Firmware().SignalReadyToBoot(); })) {
    return PolicyEnd::ReadyToBoot;
  }
  if (Platform_.Display == DisplayTime::AfterReadyToBoot && !Step(ShowDisplay)) {
    return PolicyEnd::LateDisplay;
  }
  return PolicyEnd::GoesOn;
}

PolicyOutcome PolicyBoot::Run(const Preparation &Prepare) {
  PolicyOutcome Outcome{GoOn(Prepare), {}};
  EXPECT_LE(Dialog.Shown().size(), 1U);
  if (!Dialog.Shown().empty()) {
    Outcome.Screen = Dialog.Shown().back();
  }
  CheckEnd(Outcome);
  return Outcome;
}

void PolicyBoot::CheckEnd(const PolicyOutcome &Outcome) {
  EXPECT_EQ(Firmware().TakeFaults(), std::vector<std::string>{});
  for (const Leak &Open : Firmware().Leaks()) {
    EXPECT_NE(Open.Kind, LeakKind::PoolBlock) << Open.Text();
  }
  EXPECT_EQ(Firmware().Handles.Count(mCryptoServicesProtocolGuid), Outcome.End == PolicyEnd::Start ? 0U : 1U);
  const bool InNotification = Outcome.Screen && Outcome.End != PolicyEnd::Start;
  EXPECT_EQ(Firmware().Events.RestoresToApplication(), InNotification ? 1U : 0U);
  if (!InNotification || Outcome.End == PolicyEnd::LateDisplay) {
    EXPECT_EQ(Firmware().LanguageReadsAtNotify(), 0U);
  }
}

std::function<void(HobList &)> Recorded(PolicyViolation Violation) {
  return [Violation](HobList &List) { List.AddGuid(mPolicyViolationHobGuid, Violation.Bytes()); };
}

std::u16string MessageText(const std::string &Tag, UINTN Id) {
  const auto Found = std::find_if(std::begin(mMessages), std::end(mMessages),
                                  [&](const MESSAGE_ROW &Row) { return Row.Tag == Tag && Row.Id == Id; });
  return Found == std::end(mMessages) ? u"" : Found->Text;
}

std::vector<std::string> MessageTags() {
  std::vector<std::string> Tags;
  for (const MESSAGE_ROW &Row : mMessages) {
    if (Row.Id == 1) {
      Tags.emplace_back(Row.Tag);
    }
  }
  return Tags;
}

MessageDialog::Screen FullScreen(const PolicyViolation &Violation, const std::string &Tag) {
  MessageDialog::Screen Screen = BareScreen(Tag);
  Screen.Lines.emplace_back(MessageText(Tag, ReasonId(Violation)));
  Screen.Lines.emplace_back(Widened(Violation.ModuleName));
  return Screen;
}

MessageDialog::Screen BareScreen(const std::string &Tag) {
  return {MessageText(Tag, 2), {MessageText(Tag, 3), MessageText(Tag, 4)}};
}

MessageDialog::Screen MuteFullScreen(const PolicyViolation &Violation) {
  return {{}, {{}, {}, Widened(Violation.ModuleName)}};
}

MessageDialog::Screen MuteBareScreen() {
  return {{}, {{}, {}}};
}

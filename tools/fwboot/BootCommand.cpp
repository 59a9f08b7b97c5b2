// "boot": one boot through to the boot manager, told step by step.
#include <cstring>
#include <memory>
#include <optional>

#include <fmt/core.h>

#include "tools/fwboot/BootTrace.h"
#include "tools/fwboot/BuiltinKeyList.h"
#include "tools/fwboot/Commands.h"
#include "tools/fwboot/PolicyStage.h"
#include "tools/fwboot/ScreenText.h"
#include "tools/fwboot/TextShape.h"
#include "tools/fwboot/Wording.h"
#include "tools/session/StatusNames.h"

namespace {

struct BOOT_OPTIONS {
  std::optional<std::string> Language;
  std::optional<std::string> Violation;
  std::optional<std::string> SmmViolation;
  std::string Display = "now";
  std::string Dialog = "on";
  std::string Channel = "now";
  std::string Handler = "accepts";
  UINT32 Revision = EFI_2_100_SYSTEM_TABLE_REVISION;
  std::vector<std::string> Reports;
};

// The value that Text names among Choices. Throws InputError, which names What, for a text that is none of
// them.
template <typename VALUE>
VALUE Chosen(const std::string &What, const std::string &Text,
             const std::vector<std::pair<std::string, VALUE>> &Choices) {
  std::string Names;
  for (const auto &[Name, Value] : Choices) {
    if (Name == Text) {
      return Value;
    }
    Names += (Names.empty() ? "" : ", ") + Name;
  }
  throw InputError(What + ": " + Text + " is none of " + Names);
}

std::string DescribeExchange(const SmmCommunication::Exchange &Made) {
  const PRIV_MESSAGE &Request = Made.Request;
  const PRIV_MESSAGE &Answer = Made.Answer;
  const auto Name = [](const PRIV_MESSAGE &Message) {
    return Printable({Message.Data, strnlen(Message.Data, sizeof(Message.Data))});
  };
  std::string Line = Request.Function == PRIV_FUNCTION_SEND
                         ? fmt::format("message: event {} \"{}\"", Request.Code, Name(Request))
                         : "message: fetch";
  Line += fmt::format(" at {}: {}", TplName(Made.Tpl), StatusName(Answer.ReturnStatus));
  if (Request.Function == PRIV_FUNCTION_FETCH && Answer.ReturnStatus == EFI_SECURITY_VIOLATION) {
    Line += fmt::format(", reason {}, kind {}, module \"{}\"", static_cast<INT32>(Answer.Code), Answer.Kind,
                        Name(Answer));
  }
  return Line;
}

// One boot with everything that tells of it.
class ToldBoot {
public:
  ToldBoot(const GLOBAL_OPTIONS &Options, const POLICY_SETTING &Setting) : Stage_(Setting) {
    Stage_.Smm.WhenExchanged = [this](const SmmCommunication::Exchange &Made) {
      Trace_->Add(DescribeExchange(Made));
    };
    Stage_.Dialog.WhenShown([this](const MessageDialog::Screen &Screen) {
      for (const std::string &Row : ScreenBox(Screen)) {
        Trace_->Add(Row);
      }
    });
    SessionOptions Boot = Options.Session();
    Boot.Prepare = [this](DriverSession &Session) { Trace_.emplace(Session.Firmware()); };
    Stage_.Set(Boot);
    Session_ = std::make_unique<DriverSession>(std::move(Boot));
    StartReturned_ = Session_->Outcome() != BootOutcome::Halted;
    Trace_->NoteNotifications();
  }

  // FALSE once the boot has halted or was refused.
  bool Goes() const { return Session_->Outcome() == BootOutcome::Started; }

  void Step(const std::string &Name, const std::function<void()> &Body) {
    if (Goes()) {
      Where_ = Name;
      Trace_->Add("-- " + Name + " --");
      (void)Session_->Run(Body);
      Trace_->NoteNotifications();
    }
  }

  void GoOn(const std::vector<POLICY_REPORT> &Reports) {
    SimulatedFirmware &Firmware = Session_->Firmware();
    const POLICY_SETTING &Setting = Stage_.Setting();
    for (const POLICY_REPORT &Report : Reports) {
      Step("a module reports a policy event", [&] {
        const EFI_STATUS Status =
            Session_->Services().SvcReportPolicyEvent(Report.Code, Report.Data.data(), Report.Data.size());
        Trace_->Add(fmt::format("SvcReportPolicyEvent {} \"{}\": {}", Report.Code, Printable(Report.Data),
                                StatusName(Status)));
      });
    }
    if (Setting.Channel == ChannelTime::BeforeReadyToBoot) {
      Step("the channel is ready", [&] { Stage_.AnnounceChannel(Firmware); });
    }
    if (Setting.Display == DisplayTime::BeforeReadyToBoot) {
      Step("the display is ready", [&] { Stage_.AnnounceDisplay(Firmware); });
    }
    Step("ready to boot", [&] { Firmware.SignalReadyToBoot(); });
    if (Setting.Display == DisplayTime::AfterReadyToBoot) {
      Step("the display is ready", [&] { Stage_.AnnounceDisplay(Firmware); });
    }
  }

  int Finish() {
    for (const std::string &Line : Trace_->Lines()) {
      fmt::print("  {}\n", Line);
    }
    Trace_.reset();
    if (StartReturned_) {
      fmt::print("The driver {}: {}\n", Session_->Status() == EFI_SUCCESS ? "started" : "did not start",
                 StatusName(Session_->Status()));
    }
    PrintRemains();
    const std::vector<std::string> Faults = Session_->Firmware().TakeFaults();
    for (const std::string &Fault : Faults) {
      fmt::print("  fault: {}\n", Fault);
    }
    if (Session_->Outcome() == BootOutcome::Halted) {
      fmt::print("{}, in {}: halted\n", Where_, RoutineName(reinterpret_cast<const void *>(HaltAddress())));
      return mExitHalted;
    }
    if (Goes()) {
      fmt::print("ready to boot: the boot goes on\n");
    }
    return Goes() && Faults.empty() ? mExitFine : mExitCheckFailed;
  }

private:
  void PrintRemains() {
    SimulatedFirmware &Firmware = Session_->Firmware();
    const Pool::Statistics &Figures = Firmware.Memory.Figures();
    fmt::print("  pool: {}, at most {} and {} at once, {} and {} open now\n",
               Counted(Firmware.Memory.Calls(), "allocation"), Counted(Figures.PeakBlocks, "block"),
               Counted(Figures.PeakBytes, "byte"), Counted(Figures.LiveBlocks, "block"),
               Counted(Figures.LiveBytes, "byte"));
    fmt::print("  armed: {}, {}\n", Counted(Firmware.Events.OpenEvents().size(), "event"),
               Counted(Firmware.Handles.OpenWatches().size(), "protocol notification"));
  }

  // In this order: the session uses the stage, and the trace stands in front of the session's firmware.
  PolicyStage Stage_;
  std::unique_ptr<DriverSession> Session_;
  std::optional<BootTrace> Trace_;
  bool StartReturned_ = false;
  std::string Where_ = "start-up";
};

POLICY_SETTING SettingOf(const BOOT_OPTIONS &Own) {
  POLICY_SETTING Setting;
  Setting.Language = Own.Language;
  if (Own.Violation) {
    Setting.Violation = ParseViolation(*Own.Violation, "--violation");
  }
  if (Own.SmmViolation) {
    Setting.SmmViolation = ParseViolation(*Own.SmmViolation, "--smm-violation");
  }
  Setting.Display = Chosen<DisplayTime>("--display", Own.Display,
                                        {{"now", DisplayTime::Now},
                                         {"before-rtb", DisplayTime::BeforeReadyToBoot},
                                         {"after-rtb", DisplayTime::AfterReadyToBoot},
                                         {"never", DisplayTime::Never}});
  Setting.Channel = Chosen<ChannelTime>("--channel", Own.Channel,
                                        {{"now", ChannelTime::Now},
                                         {"before-rtb", ChannelTime::BeforeReadyToBoot},
                                         {"never", ChannelTime::Never}});
  Setting.Dialog = Chosen<bool>("--dialog", Own.Dialog, {{"on", true}, {"off", false}});
  Setting.KeepsEvents = Chosen<bool>("--handler", Own.Handler, {{"accepts", false}, {"records", true}});
  Setting.Revision = Own.Revision;
  return Setting;
}

int RunBootCommand(const GLOBAL_OPTIONS &Options, const BOOT_OPTIONS &Own) {
  std::vector<POLICY_REPORT> Reports;
  for (const std::string &Text : Own.Reports) {
    Reports.push_back(ParseReport(Text));
  }
  const POLICY_SETTING Setting = SettingOf(Own);
  WarnOfDevelopmentKeys(Options);
  ToldBoot Boot(Options, Setting);
  Boot.GoOn(Reports);
  return Boot.Finish();
}

} // namespace

COMMAND_ACTION DeclareBoot(CLI::App &App) {
  auto Own = std::make_shared<BOOT_OPTIONS>();
  App.add_option("--lang", Own->Language, "The platform's language; no variable without it")
      ->type_name("TAG");
  App.add_option("--violation", Own->Violation, "What an earlier boot phase recorded")
      ->type_name("REASON[,KIND[,NAME]]");
  App.add_option("--smm-violation", Own->SmmViolation, "What the SMM handler keeps")
      ->type_name("REASON[,KIND[,NAME]]");
  App.add_option("--display", Own->Display, "When the display is ready: now, before-rtb, after-rtb or never")
      ->type_name("TIME")
      ->capture_default_str();
  App.add_option("--dialog", Own->Dialog, "Whether the platform has a message dialog: on or off")
      ->type_name("SWITCH")
      ->capture_default_str();
  App.add_option("--channel", Own->Channel, "When the SMM channel is ready: now, before-rtb or never")
      ->type_name("TIME")
      ->capture_default_str();
  App.add_option("--handler", Own->Handler,
                 "What the SMM handler does with reported events: accepts or records")
      ->type_name("WAY")
      ->capture_default_str();
  App.add_option("--revision", Own->Revision, "Revision of the system table")
      ->type_name("NUMBER")
      ->capture_default_str();
  App.add_option("--report", Own->Reports,
                 "Report a policy event through slot 5 before ready-to-boot; repeatable")
      ->type_name("CODE[,DATA]")
      ->expected(1)
      ->take_all();
  App.footer(
      "The boot goes on to ready-to-boot, and to the display where that comes later. Exit code 3: halted.");
  return [Own](const GLOBAL_OPTIONS &Options) { return RunBootCommand(Options, *Own); };
}

// Installs the platform's protocols and hand-off blocks, each where the setting wants it.
#include "tools/fwboot/PolicyStage.h"

#include <charconv>
#include <utility>

#include "simulator/ReadyProtocols.h"
#include "tools/fwboot/Command.h"
#include "uefi/GlobalVariable.h"

PolicyStage::PolicyStage(POLICY_SETTING Setting) : Setting_(std::move(Setting)) {
  Smm.Kept = Setting_.SmmViolation;
  Smm.KeepsEvents = Setting_.KeepsEvents;
  if (Setting_.Violation) {
    Blocks_.AddGuid(mPolicyViolationHobGuid, Setting_.Violation->Bytes());
  }
}

void PolicyStage::Set(SessionOptions &Options) {
  Options.Firmware.Revision = Setting_.Revision;
  Options.Prepare = [this, Before = std::move(Options.Prepare)](DriverSession &Session) {
    Install(Session.Firmware());
    if (Before) {
      Before(Session);
    }
  };
}

void PolicyStage::Install(SimulatedFirmware &Firmware) {
  Firmware.AddHobList(Blocks_);
  if (Setting_.Language) {
    Firmware.Nvram.Set(u"PlatformLang", mEfiGlobalVariableGuid, *Setting_.Language + '\0');
  }
  if (Setting_.Dialog) {
    Firmware.Handles.InstallHost(mMessageDialogProtocolGuid, &Dialog.Interface);
  }
  if (Setting_.Channel == ChannelTime::Now) {
    AnnounceChannel(Firmware);
  }
  if (Setting_.Display == DisplayTime::Now) {
    AnnounceDisplay(Firmware);
  }
}

void PolicyStage::AnnounceDisplay(SimulatedFirmware &Firmware) {
  ::AnnounceDisplay(Firmware);
}

void PolicyStage::AnnounceChannel(SimulatedFirmware &Firmware) {
  Firmware.Handles.InstallHost(mEfiSmmCommunicationProtocolGuid, Smm.Interface());
  ::AnnounceChannel(Firmware);
}

namespace {

// Takes a number of type NUMBER and a comma behind it off the front of Text.
template <typename NUMBER> bool TakeNumber(std::string &Text, NUMBER &Value) {
  const char *End = Text.data() + Text.size();
  const auto [Stop, Error] = std::from_chars(Text.data(), End, Value);
  if (Error != std::errc() || (Stop != End && *Stop != ',')) {
    return false;
  }
  Text.erase(0, static_cast<size_t>(Stop - Text.data()) + (Stop == End ? 0 : 1));
  return true;
}

} // namespace

PolicyViolation ParseViolation(const std::string &Text, const std::string &What) {
  PolicyViolation Violation;
  std::string Rest = Text;
  const bool HasKind = Text.find(',') != std::string::npos;
  if (!TakeNumber(Rest, Violation.Reason) || (HasKind && !TakeNumber(Rest, Violation.Kind))) {
    throw InputError(What + ": " + Text + " is not REASON[,KIND[,NAME]] with 32-bit numbers");
  }
  if (Rest.size() > POLICY_VIOLATION_NAME_SIZE) {
    throw InputError(What + ": a module name has at most 96 bytes");
  }
  Violation.ModuleName = Rest;
  return Violation;
}

POLICY_REPORT ParseReport(const std::string &Text) {
  POLICY_REPORT Report;
  Report.Data = Text;
  if (!TakeNumber(Report.Data, Report.Code)) {
    throw InputError("--report: " + Text + " is not CODE[,DATA] with a 32-bit number");
  }
  return Report;
}

MessageDialog::Screen ScreenOfBoot(const SessionOptions &Driver, const POLICY_SETTING &Setting) {
  PolicyStage Stage(Setting);
  SessionOptions Options = Driver;
  Stage.Set(Options);
  DriverSession Session(std::move(Options));
  if (Session.Outcome() != BootOutcome::Halted || Stage.Dialog.Shown().empty()) {
    throw BootError(Session.Outcome(), "the driver did not show the violation");
  }
  return Stage.Dialog.Shown().back();
}

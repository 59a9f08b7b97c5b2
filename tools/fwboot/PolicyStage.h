// The platform around a boot with a module policy: what an earlier boot phase left behind, the handler in
// system-management mode, the display and its dialog. Stands ready for the driver; prints nothing.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "simulator/HobList.h"
#include "simulator/MessageDialog.h"
#include "simulator/SmmCommunication.h"
#include "tools/session/DriverSession.h"

enum class DisplayTime { Now, BeforeReadyToBoot, AfterReadyToBoot, Never };
enum class ChannelTime { Now, BeforeReadyToBoot, Never };

struct POLICY_SETTING {
  // "PlatformLang"; the variable does not exist without it.
  std::optional<std::string> Language = {};
  // In a hand-off block.
  std::optional<PolicyViolation> Violation = {};
  // Kept by the handler.
  std::optional<PolicyViolation> SmmViolation = {};
  // Whether the handler takes reported events for violations.
  bool KeepsEvents = false;
  DisplayTime Display = DisplayTime::Now;
  ChannelTime Channel = ChannelTime::Now;
  bool Dialog = true;
  UINT32 Revision = EFI_2_100_SYSTEM_TABLE_REVISION;
};

class PolicyStage {
public:
  explicit PolicyStage(POLICY_SETTING Setting);

  // Adds the platform to a session's options. The stage must outlive that session.
  void Set(SessionOptions &Options);

  // Makes the display, or the channel, ready.
  void AnnounceDisplay(SimulatedFirmware &Firmware);
  void AnnounceChannel(SimulatedFirmware &Firmware);

  const POLICY_SETTING &Setting() const { return Setting_; }
  MessageDialog Dialog;
  SmmCommunication Smm;

private:
  void Install(SimulatedFirmware &Firmware);

  POLICY_SETTING Setting_;
  HobList Blocks_;
};

// A violation from "REASON[,KIND[,NAME]]". Throws InputError, which names What, for a text that is none.
PolicyViolation ParseViolation(const std::string &Text, const std::string &What);

// A policy event as a module reports it through slot 5.
struct POLICY_REPORT {
  INT32 Code = 0;
  std::string Data = {};
};

// A report from "CODE[,DATA]". Throws InputError for a text that is none.
POLICY_REPORT ParseReport(const std::string &Text);

// The screen that a boot with the violation shows. Throws BootError when the boot does not stop with one.
MessageDialog::Screen ScreenOfBoot(const SessionOptions &Driver, const POLICY_SETTING &Setting);

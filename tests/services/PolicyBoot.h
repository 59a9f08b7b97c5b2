// One boot of a platform with a module policy, from hand-off blocks to the boot manager, for the tests of how
// and where it stops and of what is on the screen then.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <string>

#include "simulator/MessageDialog.h"
#include "simulator/PolicyViolation.h"
#include "simulator/ReadyProtocols.h"
#include "simulator/SmmCommunication.h"
#include "tests/support/DriverTest.h"

// When the platform's display becomes ready.
enum class DisplayTime { AtStart, BeforeReadyToBoot, AfterReadyToBoot, Never };

// How far the boot came: the step within which it halted, or none.
enum class PolicyEnd { Start, EarlyDisplay, ReadyToBoot, LateDisplay, GoesOn };

struct PolicyOutcome {
  PolicyEnd End;
  std::optional<MessageDialog::Screen> Screen;

  bool operator==(const PolicyOutcome &) const = default;
};

std::ostream &operator<<(std::ostream &Stream, const PolicyOutcome &Outcome);

struct PolicyPlatform {
  // Adds hand-off blocks; without it the platform has no list.
  std::function<void(HobList &)> Blocks = {};
  FirmwareOptions Firmware = {};
  DisplayTime Display = DisplayTime::AtStart;
  bool Dialog = true;
  bool Channel = true;
  // The bytes of "PlatformLang".
  std::optional<std::string> Language = {};
};

class PolicyBoot {
public:
  explicit PolicyBoot(PolicyPlatform Platform);

  using Preparation = std::function<void(DriverSession &)>;

  // Goes all the way. Prepare runs just before the entry point, where failures are scripted. Expects no
  // fault, no pool block left open, a service table unless the start was halted, and none of the firmware
  // uses above their level that a screen is allowed where there was none.
  PolicyOutcome Run(const Preparation &Prepare = {});

  // The first step alone, and then any other. FALSE once the boot has halted.
  bool Start(const Preparation &Prepare = {});
  bool Step(const std::function<void()> &Body) { return Session_->Run(Body) == RunOutcome::Returned; }

  DriverSession &Session() { return *Session_; }
  SimulatedFirmware &Firmware() { return Session_->Firmware(); }
  MessageDialog Dialog;
  SmmCommunication Smm;

private:
  PolicyEnd GoOn(const Preparation &Prepare);
  void CheckEnd(const PolicyOutcome &Outcome);

  PolicyPlatform Platform_;
  HobList Blocks_;
  // Goes first: the firmware holds what stands above.
  std::unique_ptr<DriverSession> Session_;
};

// The blocks of a list with one violation.
std::function<void(HobList &)> Recorded(PolicyViolation Violation);

// The text of a message as the tests know it.
std::u16string MessageText(const std::string &Tag, UINTN Id);

// All tags in the order of their packages.
std::vector<std::string> MessageTags();

// The screen for a violation in a language, and the one that knows of none.
MessageDialog::Screen FullScreen(const PolicyViolation &Violation, const std::string &Tag = "en-US");
MessageDialog::Screen BareScreen(const std::string &Tag = "en-US");

// The same where no strings are available.
MessageDialog::Screen MuteFullScreen(const PolicyViolation &Violation);
MessageDialog::Screen MuteBareScreen();

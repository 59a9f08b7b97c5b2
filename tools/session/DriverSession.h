// One boot of the driver in the simulated firmware, from opening to orderly end: the one way in which tools,
// tests and benchmarks start it. Knows what a boot is, and nothing of what the services do.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "simulator/CheckedServices.h"
#include "simulator/DriverTarget.h"
#include "simulator/HaltWatch.h"
#include "simulator/ProcessorScript.h"
#include "simulator/SimulatedFirmware.h"

#include "CryptoServicesProtocol.h"

class DriverSession;

// How a start ended: with EFI_SUCCESS, with another status, or never.
enum class BootOutcome { Started, Refused, Halted };

struct SessionOptions {
  // The image file to load; without one the driver linked into this program is started.
  std::optional<std::string> Image;
  FirmwareOptions Firmware = {};
  // What the driver's processor is said to lack.
  std::vector<ProcessorScript::Feature> WithoutFeatures = {};
  // Runs when the firmware stands and the driver is opened, just before its entry point: the place to install
  // protocols, add a HOB list, or script the processor. What it hands to the firmware must outlive the
  // session.
  std::function<void(DriverSession &)> Prepare = {};
};

// A boot that did not give what the caller cannot do without, in one line.
class BootError : public std::runtime_error {
public:
  BootError(BootOutcome Outcome, const std::string &Why) : std::runtime_error(Why), Outcome_(Outcome) {}
  BootOutcome Outcome() const { return Outcome_; }

private:
  BootOutcome Outcome_;
};

class DriverSession {
public:
  // Opens the driver, builds the firmware, prepares it and runs the entry point. Every session is a fresh
  // boot; one lives at a time. Throws LoadError when the driver cannot be opened; a refused or halted start
  // is an outcome.
  explicit DriverSession(SessionOptions Options);

  // Ends the boot. What it left open is then told by SimulatedFirmware::LastLeaks and LastFaults.
  ~DriverSession();
  DriverSession(const DriverSession &) = delete;
  DriverSession &operator=(const DriverSession &) = delete;

  // How the start ended; Halted as well once a later Run was stopped.
  BootOutcome Outcome() const { return Outcome_; }

  // What the entry point returned. Undefined after a halted start.
  EFI_STATUS Status() const { return Status_; }

  // Seconds of processor time that the entry point took, the checks of the gate included.
  double StartSeconds() const { return StartSeconds_; }

  // One line on a start that did not succeed; empty after one that did.
  std::string Problem() const;

  SimulatedFirmware &Firmware() { return *Firmware_; }
  const DriverTarget &Target() const { return *Target_; }

  // The scripted processor, made on first use and in force until the session ends. Throws LoadError as
  // ProcessorScript does.
  ProcessorScript &Processor();

  // The driver's own table, NULL when it was not installed; and the same services behind the checked gate.
  // Services throws BootError without a table.
  const CRYPTO_SERVICES_PROTOCOL *Raw() const { return Raw_; }
  const CRYPTO_SERVICES_PROTOCOL &Services();

  // Runs Body, in which services may be called and events signalled, and notices when the driver stops the
  // boot there (RunBoot). Plain service calls need no Run. Does not nest.
  RunOutcome Run(const std::function<void()> &Body);

private:
  void Start();

  // In this order: the firmware names places in the driver while it ends, and the script patches the driver's
  // code.
  std::unique_ptr<DriverTarget> Target_;
  std::unique_ptr<SimulatedFirmware> Firmware_;
  std::unique_ptr<ProcessorScript> Processor_;
  std::unique_ptr<CheckedServices> Services_;
  const CRYPTO_SERVICES_PROTOCOL *Raw_ = nullptr;
  BootOutcome Outcome_ = BootOutcome::Halted;
  EFI_STATUS Status_ = EFI_ABORTED;
  double StartSeconds_ = 0;
};

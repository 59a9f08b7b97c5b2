// Strings together opening, preparing, starting and ending; every decision about the driver is the caller's.
#include "tools/session/DriverSession.h"

#include <utility>

#include "tools/session/StatusNames.h"
#include "tools/session/Stopwatch.h"

DriverSession::DriverSession(SessionOptions Options)
    : Target_(Options.Image ? DriverTarget::OpenImage(*Options.Image) : DriverTarget::OpenLinked()),
      Firmware_(std::make_unique<SimulatedFirmware>(Options.Firmware)) {
  for (const ProcessorScript::Feature Which : Options.WithoutFeatures) {
    Processor().SetFeature(Which, false);
  }
  if (Options.Prepare) {
    Options.Prepare(*this);
  }
  Start();
}

DriverSession::~DriverSession() = default;

void DriverSession::Start() {
  const RunOutcome Ended = RunBoot([this] {
    StartSeconds_ = ProcessorSecondsOf(
        [this] { Status_ = Target_->Start(Firmware_->ImageHandle(), Firmware_->SystemTable()); });
  });
  if (Ended == RunOutcome::Halted) {
    return;
  }
  Outcome_ = Status_ == EFI_SUCCESS ? BootOutcome::Started : BootOutcome::Refused;
  // The host's view, which no scripted LocateProtocol failure reaches.
  Raw_ = static_cast<const CRYPTO_SERVICES_PROTOCOL *>(Firmware_->Handles.Find(mCryptoServicesProtocolGuid));
}

std::string DriverSession::Problem() const {
  switch (Outcome_) {
  case BootOutcome::Halted:
    return "the driver halted the boot";
  case BootOutcome::Refused:
    return "the entry point returned " + StatusName(Status_);
  case BootOutcome::Started:
    break;
  }
  return Raw_ == nullptr ? "the entry point succeeded without installing the services" : "";
}

ProcessorScript &DriverSession::Processor() {
  if (!Processor_) {
    Processor_ = std::make_unique<ProcessorScript>(*Target_);
  }
  return *Processor_;
}

const CRYPTO_SERVICES_PROTOCOL &DriverSession::Services() {
  if (Raw_ == nullptr) {
    throw BootError(Outcome_, Problem());
  }
  if (!Services_) {
    Services_ = std::make_unique<CheckedServices>(Raw_);
  }
  return *Services_->Table();
}

RunOutcome DriverSession::Run(const std::function<void()> &Body) {
  const RunOutcome Ended = RunBoot(Body);
  if (Ended == RunOutcome::Halted) {
    Outcome_ = BootOutcome::Halted;
  }
  return Ended;
}

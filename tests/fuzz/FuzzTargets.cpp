// The list, and the checks that hold after every input.
#include "tests/fuzz/FuzzTargets.h"

#include <cstring>
#include <memory>

#include "tests/fuzz/FuzzSession.h"

namespace {

constexpr FUZZ_TARGET mTargets[] = {
    {"certificate", FuzzCertificate},
    {"pem", FuzzPem},
    {"signers", FuzzSigners},
    {"pkcs7", FuzzPkcs7},
    {"authenticode", FuzzAuthenticode},
    {"base64", FuzzBase64},
    {"hoblist", FuzzHobList},
    {"policyevent", FuzzPolicyEvent},
    {"pe", FuzzPe},
};

std::unique_ptr<DriverSession> Session;

} // namespace

std::span<const FUZZ_TARGET> FuzzTargets() {
  return mTargets;
}

const FUZZ_TARGET *FindFuzzTarget(const char *Name) {
  for (const FUZZ_TARGET &Target : mTargets) {
    if (std::strcmp(Target.Name, Name) == 0) {
      return &Target;
    }
  }
  return nullptr;
}

DriverSession &FuzzSession() {
  if (!Session) {
    SessionOptions Options;
    // The sanitizer watches the host's heap; the firmware's own guards would take most of the time.
    Options.Firmware.PlainPool = true;
    Session = std::make_unique<DriverSession>(Options);
    Session->Firmware().RealTimeClock.Set(2027, 1, 1);
  }
  return *Session;
}

DriverSession &RestartFuzzSession() {
  Session.reset();
  return FuzzSession();
}

void RunFuzzTarget(const FUZZ_TARGET &Target, std::span<const UINT8> Input) {
  FuzzSession();
  Target.Run(Input);
  // Asked for afterwards, because a target may start a boot of its own.
  for (const std::string &Fault : FuzzSession().Firmware().TakeFaults()) {
    Promise(false, Fault.c_str());
  }
}

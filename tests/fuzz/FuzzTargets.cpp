// The list, and the checks that hold after every input.
#include "tests/fuzz/FuzzTargets.h"

#include <cstddef>
#include <cstring>

#include "tests/fuzz/FuzzSession.h"

// The driver's table of blocks leads to all of them, and a new boot to none: the sanitizer's own search for
// lost memory would find nothing where it should, and everything where it should not.
#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#include <sanitizer/allocator_interface.h>
#define COUNTS_HEAP
extern "C" const char *__asan_default_options() {
  return "detect_leaks=0";
}
#endif
#endif

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

// Never ended by the program's end, when parts of the simulator are gone already.
DriverSession *Session = nullptr;

// What the library makes on first use, or keeps with its last 16 errors, does not grow for long.
constexpr int mRunsThatMayGrow = 40;

void RequireNoFaults(DriverSession &Ran) {
  for (const std::string &Fault : Ran.Firmware().TakeFaults()) {
    Promise(false, Fault.c_str());
  }
}

// Bytes allocated and not released.
size_t HeapBytes() {
#ifdef COUNTS_HEAP
  return __sanitizer_get_current_allocated_bytes();
#else
  return 0;
#endif
}

// Runs the target and gives the bytes by which the heap has grown.
std::ptrdiff_t GrowthWith(const FUZZ_TARGET &Target, std::span<const UINT8> Input, bool &Good) {
  const size_t Before = HeapBytes();
  Good = Target.Run(Input);
  if (Session != nullptr) {
    RequireNoFaults(*Session);
  }
  return static_cast<std::ptrdiff_t>(HeapBytes() - Before);
}

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
  if (Session == nullptr) {
    SessionOptions Options;
    // The sanitizer watches the host's heap; the firmware's own guards would take most of the time.
    Options.Firmware.PlainPool = true;
    Session = new DriverSession(Options);
    Session->Firmware().RealTimeClock.Set(2027, 1, 1);
  }
  return *Session;
}

void RunInOwnBoot(const std::function<void(DriverSession &)> &Body) {
  delete Session;
  Session = nullptr;
  SessionOptions Options;
  Options.Firmware.HiiDatabase = false; // its texts would take a quarter of the time
  DriverSession Own(Options);
  Body(Own);
  RequireNoFaults(Own);
}

bool RunFuzzTarget(const FUZZ_TARGET &Target, std::span<const UINT8> Input) {
  bool Good = false;
  for (int Run = 0; GrowthWith(Target, Input, Good) > 0; ++Run) {
    Promise(Run < mRunsThatMayGrow, "memory is lost with every run");
  }
  return Good;
}

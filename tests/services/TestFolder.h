// A temporary folder in which tests make keys, certificates and signed messages with the openssl command and
// osslsigncode. Nothing in it outlives the program.
#pragma once

#include <string>

#include "tests/support/DriverTest.h"

class TestFolder {
public:
  TestFolder();
  ~TestFolder();
  TestFolder(const TestFolder &) = delete;
  TestFolder &operator=(const TestFolder &) = delete;

  // Runs a shell script inside the folder. Throws std::runtime_error, with what it printed, when it fails.
  void Run(const std::string &Script) const;

  // A file of the folder, or of anywhere by its full path. Read throws for one that is not there.
  Bytes Read(const std::string &Name) const;
  void Write(const std::string &Name, const Bytes &Content) const;

  // Runs a script that leaves a file, and returns that file.
  Bytes Make(const std::string &Script, const std::string &Name) const {
    Run(Script);
    return Read(Name);
  }

private:
  std::string Path_;
};

// The folder with a small public-key infrastructure, made on first use. Each certificate NAME.der (and
// NAME.pem) has its key in the file after the colon; all are RSA-2048 and signed with SHA-256 unless said
// otherwise.
//   root:root.key          self-signed authority      other:other.key   the same, unrelated
//   inter:inter.key        authority under root       bare:other.key    self-signed, without basicConstraints
//   leaf:leaf.key          under inter                second:second.key under root
//   short:second.key       under root, valid for 30 days; all others for 10 years
//   md5, sha1, sha224, sha384, sha512, pss:leaf.key  under root, signed with that digest; pss with SHA-256
//   ec:ec.key              under root, a P-256 key
const TestFolder &TestPki();
inline Bytes Cert(const std::string &Name) {
  return TestPki().Read(Name + ".der");
}

// The time at which its certificates begin to be valid: the host's clock, moved to the firmware's by days.
// Within the range of the driver's time.
void SetClock(SimulatedFirmware &Firmware, int Days);

// The instrumented build takes a few places of long runs, the others all of them.
inline UINTN StrideOfBuild([[maybe_unused]] UINTN Instrumented) {
#if __has_feature(address_sanitizer)
  return Instrumented;
#else
  return 1;
#endif
}

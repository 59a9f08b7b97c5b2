// The processors under which the ciphers are tested: the host's own, and the
// same with what the library's faster routines need taken away. And an address
// for empty data, as a service takes it for 0 bytes.
#pragma once

#include <string>
#include <vector>

#include "tests/support/DriverTest.h"

struct TestedProcessor {
  std::string Name;
  std::vector<ProcessorScript::Feature> Removed;
};

inline const std::vector<TestedProcessor> mProcessors = {
    {"AES instructions", {}},
    {"SSSE3 alone", {ProcessorScript::Feature::AesNi}},
    {"neither", {ProcessorScript::Feature::AesNi, ProcessorScript::Feature::Ssse3}},
};

// For SessionOptions::Prepare.
inline std::function<void(DriverSession &)> StartOn(const TestedProcessor &Processor) {
  return [Removed = Processor.Removed](DriverSession &Starting) {
    for (ProcessorScript::Feature Which : Removed) {
      Starting.Processor().SetFeature(Which, false);
    }
  };
}

class CipherTest : public DriverTest {
protected:
  // Runs Body in a fresh boot on each processor.
  template <typename BODY> void OnEachProcessor(BODY Body) {
    for (const TestedProcessor &Processor : mProcessors) {
      SCOPED_TRACE(Processor.Name);
      Options.Prepare = StartOn(Processor);
      Reboot();
      Body();
    }
  }
};

inline const UINT8 *DataOf(const Bytes &Data) {
  static const UINT8 Nothing = 0;
  return Data.empty() ? &Nothing : Data.data();
}

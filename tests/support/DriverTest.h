// The fixture of every test that drives the driver through its published
// table: a fresh boot of the build chosen on the command line, calls through
// the checked gate, and at the end no fault and no forgotten pool block.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "tools/session/DriverSession.h"

using Bytes = std::vector<UINT8>;

// Which build the program tests: --driver=image (with --image=PATH when it is
// not the default one) or --driver=linked.
bool TestsImage();
const std::string &TestedImage();

// Options that start the tested build.
SessionOptions TestedDriver();

class DriverTest : public testing::Test {
protected:
  // The boot is started on first use, so that a test may set Options before.
  DriverSession &Session();
  SimulatedFirmware &Firmware() { return Session().Firmware(); }
  Pool &Memory() { return Firmware().Memory; }

  // The services, each call checked for the calling convention.
  const CRYPTO_SERVICES_PROTOCOL &Svc() { return Session().Services(); }

  // Ends the boot and starts another.
  void Reboot();

  void TearDown() override;

  SessionOptions Options = TestedDriver();
  // The library keeps some blocks for good after first use: set where a test
  // reaches it, and pin single calls with LiveBlocks() instead.
  bool LibraryKeepsBlocks = false;

  UINTN LiveBlocks() { return Memory().Figures().LiveBlocks; }

private:
  void CheckEnd();
  std::unique_ptr<DriverSession> Session_;
};

// Bytes from lower-case or upper-case hex, blanks ignored.
Bytes FromHex(const std::string &Text);

// A repeatable stretch of bytes without short periods.
Bytes Pattern(UINTN Size, UINT64 Seed = 1);

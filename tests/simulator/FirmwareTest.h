// The fixture of the simulated firmware's own tests: a fresh firmware, and no fault that the test did not
// take.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "simulator/SimulatedFirmware.h"

class FirmwareTest : public testing::Test {
protected:
  void TearDown() override { EXPECT_EQ(Firmware.TakeFaults(), std::vector<std::string>{}); }

  // Takes the faults; TRUE when there is exactly one and it contains Part.
  testing::AssertionResult FaultTaken(const std::string &Part) {
    const std::vector<std::string> Taken = Firmware.TakeFaults();
    if (Taken.size() == 1 && Taken[0].find(Part) != std::string::npos) {
      return testing::AssertionSuccess();
    }
    testing::AssertionResult Failure = testing::AssertionFailure() << "wanted \"" << Part << "\", got:";
    for (const std::string &Text : Taken) {
      Failure << "\n  " << Text;
    }
    return Failure;
  }

  // An event whose notification appends the text at its context to Trace.
  EFI_EVENT MakeTracer(EFI_TPL Tpl, const char *Text, const EFI_GUID *Group = nullptr) {
    EFI_EVENT Event = nullptr;
    EXPECT_EQ(Boot->CreateEventEx(EVT_NOTIFY_SIGNAL, Tpl, AppendToTrace, Text, Group, &Event), EFI_SUCCESS);
    return Event;
  }

  static VOID EFIAPI AppendToTrace(EFI_EVENT, VOID *Context) { Trace += static_cast<const char *>(Context); }

  void SetUp() override { Trace.clear(); }

  static inline std::string Trace;
  SimulatedFirmware Firmware;
  EFI_BOOT_SERVICES *Boot = Firmware.BootServices();
};

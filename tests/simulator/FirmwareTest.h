// The fixture of the simulated firmware's own tests: a fresh firmware, and no fault that the test did not
// take.
#pragma once

#include <gtest/gtest.h>

#include <deque>
#include <functional>
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
    return testing::AssertionFailure() << "wanted \"" << Part << "\", got " << testing::PrintToString(Taken);
  }

  // An event whose notification runs Body.
  EFI_EVENT MakeEvent(EFI_TPL Tpl, std::function<void()> Body, const EFI_GUID *Group = nullptr) {
    const EFI_EVENT_NOTIFY Run = [](EFI_EVENT, VOID *Context)
                                     EFIAPI { (*static_cast<std::function<void()> *>(Context))(); };
    EFI_EVENT Event = nullptr;
    Bodies_.push_back(std::move(Body));
    EXPECT_EQ(Boot->CreateEventEx(EVT_NOTIFY_SIGNAL, Tpl, Run, &Bodies_.back(), Group, &Event), EFI_SUCCESS);
    return Event;
  }

  // An event whose notification appends Text to Trace.
  EFI_EVENT MakeTracer(EFI_TPL Tpl, const char *Text, const EFI_GUID *Group = nullptr) {
    return MakeEvent(
        Tpl, [this, Text] { Trace += Text; }, Group);
  }

  std::string Trace;
  SimulatedFirmware Firmware;
  EFI_BOOT_SERVICES *Boot = Firmware.BootServices();

private:
  std::deque<std::function<void()>> Bodies_;
};

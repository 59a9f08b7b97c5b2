// Writes down what a driver asks of the firmware, by standing in front of the table members that tell the
// road of a boot. Passes every call on unchanged; memory and copying are left out.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "simulator/SimulatedFirmware.h"

// "TPL_NOTIFY".
std::string TplName(EFI_TPL Tpl);

// The routine of the driver that Address lies in, without its scope and its arguments.
std::string RoutineName(const void *Address);

class BootTrace {
public:
  // Stands in front of the firmware's services until destroyed; the firmware must outlive it. One trace lives
  // at a time.
  explicit BootTrace(SimulatedFirmware &Firmware);
  ~BootTrace();
  BootTrace(const BootTrace &) = delete;
  BootTrace &operator=(const BootTrace &) = delete;

  // One line for each call so far, with its arguments and its answer; without an answer for one that did not
  // return.
  const std::vector<std::string> &Lines() const { return Lines_; }

  // Adds a line of the caller's own.
  void Add(std::string Line);

  // Adds a line for each notification that has started since the last line. One that asks nothing of the
  // firmware shows here alone.
  void NoteNotifications();

private:
  SimulatedFirmware &Firmware_;
  const EFI_BOOT_SERVICES BootServices_;
  const EFI_RUNTIME_SERVICES RuntimeServices_;
  const EFI_HII_DATABASE_PROTOCOL HiiDatabase_;
  std::vector<std::string> Lines_;
  size_t NotificationsNoted_ = 0;

  friend struct TRACED_SERVICES;
};

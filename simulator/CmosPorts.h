// The CMOS real-time clock behind ports 0x70 and 0x71, for driver code that runs as an ordinary process: its
// `in` and `out` instructions fault there and are emulated. Every other port aborts the run.
#pragma once

#include <array>
#include <vector>

#include "simulator/SignalHandler.h"
#include "uefi/RuntimeServices.h"

class CmosPorts {
public:
  static constexpr UINTN mCellCount = 128;

  struct Access {
    UINT16 Port;
    bool Write;
    UINT8 Value;
    bool operator==(const Access &) const = default;
  };

  // Takes the ports over until destruction; one at a time. All cells are zero but the clock, which shows
  // 2024-02-29 12:34:56.
  CmosPorts();
  ~CmosPorts();
  CmosPorts(const CmosPorts &) = delete;
  CmosPorts &operator=(const CmosPorts &) = delete;

  // Puts date and time into the clock's cells as packed BCD (seconds 0x00, minutes 0x02, hours 0x04, day
  // 0x07, month 0x08, year of the century 0x09). Time zone and parts of a second are ignored. The clock
  // stands still.
  void SetClock(const EFI_TIME &Time);

  // One cell, readable and writable; Index below mCellCount.
  UINT8 &Cell(UINTN Index) { return Cells_.at(Index); }

  // Every access since construction or ClearLog, in order.
  const std::vector<Access> &Log() const { return Log_; }
  void ClearLog() { Log_.clear(); }

private:
  static bool OnProtectionFault(const siginfo_t &Information, ucontext_t &Context);
  void Write(UINT16 Port, UINT8 Value);
  UINT8 Read(UINT16 Port);

  std::array<UINT8, mCellCount> Cells_ = {};
  std::vector<Access> Log_;
  UINT8 Index_ = 0;
  SignalHandler Handler_;
};

// A timer interrupt in the middle of driver code, before instructions that a test chooses: the driver is run
// one instruction at a time, and the chosen ones are held up as a processor and a firmware's handler hold
// them up. Host code that the driver calls is never interrupted; on a board it runs at a raised level there.
#pragma once

#include <functional>

#include "simulator/DriverTarget.h"
#include "simulator/SignalHandler.h"

class TimerInterrupt {
public:
  // Routine is the handler: it may signal events and call the driver, and is not interrupted itself. It runs
  // on the interrupted stack, right below the frame that the processor pushes, with nothing saved but the
  // general registers and the FXSAVE state. One lives at a time.
  TimerInterrupt(DriverTarget::Range Code, std::function<void()> Routine);
  ~TimerInterrupt();
  TimerInterrupt(const TimerInterrupt &) = delete;
  TimerInterrupt &operator=(const TimerInterrupt &) = delete;

  // Runs Body and interrupts the first driver call in it before the First-th instruction of driver code
  // (counted from 0) and every Every-th one after that.
  void Run(const std::function<void()> &Body, UINT64 First, UINT64 Every);

  // Of the last Run.
  UINT64 Instructions() const { return Instructions_; }
  UINT64 Interrupts() const { return Interrupts_; }

  void CallRoutine() { Routine_(); }

private:
  static bool OnStep(const siginfo_t &Information, ucontext_t &Context);
  void Leave(greg_t *Registers);
  void Interrupt(greg_t *Registers);

  const DriverTarget::Range Code_;
  const std::function<void()> Routine_;
  UINT64 Next_ = 0;
  UINT64 Every_ = 1;
  UINT64 GateReturn_ = 0;
  UINT64 Instructions_ = 0;
  UINT64 Interrupts_ = 0;
  SignalHandler Handler_;
};

// A processor exception or timer signal taken over for a while, on a stack of its own: what the emulated
// instructions and the halt watch stand on. Whatever the taker does not recognise goes to the handler that
// was there before.
#pragma once

#include <signal.h>
#include <ucontext.h>

class SignalHandler {
public:
  // Answers whether it dealt with the signal. It runs with all other signals but processor exceptions
  // blocked, may change Context, and may leave by siglongjmp.
  using Routine = bool (*)(const siginfo_t &Information, ucontext_t &Context);

  // Takes Signal over until destruction. One taker at a time for each signal; a second one aborts the run.
  SignalHandler(int Signal, Routine Handle);
  ~SignalHandler();
  SignalHandler(const SignalHandler &) = delete;
  SignalHandler &operator=(const SignalHandler &) = delete;

private:
  int Signal_;
};

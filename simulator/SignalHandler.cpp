// Installs signal routines, chains to their predecessors, and gives the thread a signal stack large enough
// for them. Must not allocate or lock inside a handler.
#include "simulator/SignalHandler.h"

#include <cstddef>
#include <string>

#include <sys/mman.h>

#include "simulator/Faults.h"

namespace {

constexpr size_t mStackBytes = 0x80000;

struct Taker {
  SignalHandler::Routine Handle = nullptr;
  struct sigaction Previous = {};
};

Taker mTakers[NSIG];

// Once for the thread and for good. It stays mapped, because a sanitizer may release the thread's signal
// stack itself.
void UseSignalStack() {
  static thread_local bool Ready = false;
  if (Ready) {
    return;
  }
  stack_t Stack = {};
  Stack.ss_sp = mmap(nullptr, mStackBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  Stack.ss_size = mStackBytes;
  if (Stack.ss_sp == MAP_FAILED || sigaltstack(&Stack, nullptr) != 0) {
    AbortRun("no memory for a signal stack");
  }
  Ready = true;
}

void PassOn(int Signal, siginfo_t *Information, void *Context) {
  const struct sigaction &Previous = mTakers[Signal].Previous;
  if ((Previous.sa_flags & SA_SIGINFO) != 0) {
    Previous.sa_sigaction(Signal, Information, Context);
  } else if (Previous.sa_handler != SIG_DFL && Previous.sa_handler != SIG_IGN) {
    Previous.sa_handler(Signal);
  } else {
    // The instruction runs again on return and meets the system's own treatment.
    sigaction(Signal, &Previous, nullptr);
  }
}

void OnSignal(int Signal, siginfo_t *Information, void *Context) {
  const SignalHandler::Routine Handle = mTakers[Signal].Handle;
  if (Handle == nullptr || !Handle(*Information, *static_cast<ucontext_t *>(Context))) {
    PassOn(Signal, Information, Context);
  }
}

} // namespace

SignalHandler::SignalHandler(int Signal, Routine Handle) : Signal_(Signal) {
  if (mTakers[Signal].Handle != nullptr) {
    AbortRun("signal " + std::to_string(Signal) + " is already taken over");
  }
  UseSignalStack();
  struct sigaction Action = {};
  Action.sa_sigaction = OnSignal;
  Action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_RESTART;
  sigfillset(&Action.sa_mask);
  for (const int Exception : {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGTRAP, SIGABRT}) {
    sigdelset(&Action.sa_mask, Exception);
  }
  mTakers[Signal].Handle = Handle;
  sigaction(Signal, &Action, &mTakers[Signal].Previous);
}

SignalHandler::~SignalHandler() {
  sigaction(Signal_, &mTakers[Signal_].Previous, nullptr);
  mTakers[Signal_].Handle = nullptr;
}

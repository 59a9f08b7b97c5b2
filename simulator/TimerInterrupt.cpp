// The trap flag stops the processor behind every instruction of the driver; host code that it calls runs
// freely and comes back by a detour that sets the flag again. The interrupt itself is laid onto the stack of
// the interrupted code and taken on the way out of the signal.
#include "simulator/TimerInterrupt.h"

#include "simulator/DriverCall.h"
#include "simulator/Faults.h"

namespace {

constexpr greg_t mTrapFlag = 0x100;

TimerInterrupt *mLiving = nullptr;
// The selectors of this process, which iretq asks for.
UINT64 mCodeSelector;
UINT64 mStackSelector;

} // namespace

extern "C" {

__attribute__((visibility("hidden"))) void TimerInterruptEntry();
__attribute__((visibility("hidden"))) void TimerStepAgain();
// Where host code that the driver called goes on in the driver.
__attribute__((visibility("hidden"), used)) UINT64 mTimerDriverReturn;
__attribute__((visibility("hidden"), used)) void TimerInterruptRoutine() {
  mLiving->CallRoutine();
}

} // extern "C"

__asm__(R"(
  .text
  .intel_syntax noprefix
  .globl TimerInterruptEntry
  .hidden TimerInterruptEntry
  .type TimerInterruptEntry, @function
TimerInterruptEntry:
  .irp Register, rax, rcx, rdx, rbx, rbp, rsi, rdi, r8, r9, r10, r11, r12, r13, r14, r15
  push \Register
  .endr
  mov rbp, rsp
  sub rsp, 512
  and rsp, -16
  fxsave64 [rsp]
  cld
  call TimerInterruptRoutine
  fxrstor64 [rsp]
  mov rsp, rbp
  .irp Register, r15, r14, r13, r12, r11, r10, r9, r8, rdi, rsi, rbp, rbx, rdx, rcx, rax
  pop \Register
  .endr
  iretq
  .size TimerInterruptEntry, . - TimerInterruptEntry

  .globl TimerStepAgain
  .hidden TimerStepAgain
  .type TimerStepAgain, @function
TimerStepAgain:
  push qword ptr [rip + mTimerDriverReturn]
  pushfq
  or qword ptr [rsp], 0x100
  popfq
  ret
  .size TimerStepAgain, . - TimerStepAgain
  .att_syntax prefix
)");

TimerInterrupt::TimerInterrupt(DriverTarget::Range Code, std::function<void()> Routine)
    : Code_(Code), Routine_(std::move(Routine)), Handler_(SIGTRAP, OnStep) {
  if (mLiving != nullptr) {
    AbortRun("a second timer interrupt");
  }
  mLiving = this;
  __asm__("mov %%cs, %0" : "=r"(mCodeSelector));
  __asm__("mov %%ss, %0" : "=r"(mStackSelector));
}

TimerInterrupt::~TimerInterrupt() {
  mLiving = nullptr;
}

void TimerInterrupt::Run(const std::function<void()> &Body, UINT64 First, UINT64 Every) {
  Next_ = First;
  Every_ = Every;
  GateReturn_ = Instructions_ = Interrupts_ = 0;
  TrapNextDriverCall();
  Body();
}

// This and what it calls touch the stack of interrupted code, where host instrumentation expects nobody.
#define NO_ADDRESS_CHECKS __attribute__((no_sanitize("address")))

NO_ADDRESS_CHECKS bool TimerInterrupt::OnStep(const siginfo_t &Information, ucontext_t &Context) {
  if (mLiving == nullptr || Information.si_code != TRAP_TRACE) {
    return false;
  }
  greg_t *Registers = Context.uc_mcontext.gregs;
  TimerInterrupt &Timer = *mLiving;
  if (!Timer.Code_.Holds(static_cast<UINT64>(Registers[REG_RIP]))) {
    Timer.Leave(Registers);
    return true;
  }
  if (Timer.GateReturn_ == 0) {
    Timer.GateReturn_ = *reinterpret_cast<const UINT64 *>(Registers[REG_RSP]);
  }
  if (Timer.Instructions_++ == Timer.Next_) {
    Timer.Next_ += Timer.Every_;
    Timer.Interrupt(Registers);
  }
  return true;
}

// The driver has returned, or it calls the host and its return address lies on top of the stack.
NO_ADDRESS_CHECKS void TimerInterrupt::Leave(greg_t *Registers) {
  const auto Place = static_cast<UINT64>(Registers[REG_RIP]);
  if (Place == reinterpret_cast<UINT64>(&TimerStepAgain)) {
    return;
  }
  Registers[REG_EFL] &= ~mTrapFlag;
  if (Place != GateReturn_) {
    auto *Return = reinterpret_cast<UINT64 *>(Registers[REG_RSP]);
    mTimerDriverReturn = *Return;
    *Return = reinterpret_cast<UINT64>(&TimerStepAgain);
  }
}

NO_ADDRESS_CHECKS void TimerInterrupt::Interrupt(greg_t *Registers) {
  ++Interrupts_;
  // What the processor pushes, and where (Intel 64 manual, volume 3, section 6.14).
  auto *Frame = reinterpret_cast<UINT64 *>(Registers[REG_RSP] & ~greg_t{15}) - 5;
  Frame[0] = static_cast<UINT64>(Registers[REG_RIP]);
  Frame[1] = mCodeSelector;
  Frame[2] = static_cast<UINT64>(Registers[REG_EFL]);
  Frame[3] = static_cast<UINT64>(Registers[REG_RSP]);
  Frame[4] = mStackSelector;
  Registers[REG_RSP] = reinterpret_cast<greg_t>(Frame);
  Registers[REG_RIP] = reinterpret_cast<greg_t>(&TimerInterruptEntry);
  Registers[REG_EFL] &= ~mTrapFlag;
}

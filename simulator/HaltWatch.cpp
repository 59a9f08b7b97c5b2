// Samples the thread's registers by a timer of its processor time and leaves the boot when they stop
// changing. Must not allocate in the sampler, which may interrupt the host anywhere.
#include "simulator/HaltWatch.h"

#include <algorithm>
#include <iterator>

#include <setjmp.h>
#include <time.h>
#include <unistd.h>

#include "simulator/DriverCall.h"
#include "simulator/Faults.h"
#include "simulator/SignalHandler.h"

namespace {

constexpr int mTickSignal = SIGVTALRM;
constexpr long mTickNanoseconds = 1000000;
constexpr UINT64 mLoopBytes = 64;
constexpr UINTN mAgreementsWanted = 8;
constexpr UINTN mPlaces = 32;
constexpr UINTN mStackQuadwords = 64;
constexpr int mRegisters[] = {REG_RAX, REG_RBX, REG_RCX, REG_RDX, REG_RSI, REG_RDI, REG_RBP, REG_RSP,
                              REG_R8,  REG_R9,  REG_R10, REG_R11, REG_R12, REG_R13, REG_R14, REG_R15};

// Registers, and a sum over the nearest bytes of stack, where unoptimised code keeps its counters.
struct SAMPLE {
  UINT64 Address;
  UINT64 StackSum;
  UINT64 Registers[std::size(mRegisters)];
};

UINT64 mCodeBegin = 0;
UINT64 mCodeEnd = 0;
UINT64 mHaltAddress = 0;
bool mRunning = false;
sigjmp_buf mBootStart;

// The first sample at each place of the present stay, and how many later ones agreed with the one of their
// place.
SAMPLE mStay[mPlaces];
UINTN mStayCount = 0;
UINTN mAgreements = 0;
UINT64 mLowest = 0;
UINT64 mHighest = 0;

// Reads whole frames, guarded gaps included, which a sanitizer would take for a fault.
__attribute__((no_sanitize("address"))) UINT64 SumStack(UINT64 StackPointer) {
  const volatile UINT64 *Quadword = reinterpret_cast<const volatile UINT64 *>(StackPointer & ~UINT64{7});
  UINT64 Sum = 0;
  for (UINTN Index = 0; Index < mStackQuadwords; ++Index) {
    Sum = (Sum << 7 | Sum >> 57) ^ Quadword[Index];
  }
  return Sum;
}

bool Alike(const SAMPLE &Left, const SAMPLE &Right) {
  return Left.StackSum == Right.StackSum &&
         std::equal(std::begin(Left.Registers), std::end(Left.Registers), Right.Registers);
}

void BeginStay(const SAMPLE &Sample) {
  mStay[0] = Sample;
  mStayCount = 1;
  mAgreements = 0;
  mLowest = mHighest = Sample.Address;
}

// At one place everything must agree; between two places of one loop the working registers may differ.
void Observe(const SAMPLE &Sample) {
  mLowest = std::min(mLowest, Sample.Address);
  mHighest = std::max(mHighest, Sample.Address);
  if (mStayCount == 0 || mHighest - mLowest >= mLoopBytes) {
    BeginStay(Sample);
    return;
  }
  const SAMPLE *End = mStay + mStayCount;
  const SAMPLE *Same = std::find_if(static_cast<const SAMPLE *>(mStay), End,
                                    [&](const SAMPLE &Seen) { return Seen.Address == Sample.Address; });
  if (Same == End && mStayCount < mPlaces) {
    mStay[mStayCount++] = Sample;
  } else if (Same == End || !Alike(Sample, *Same)) {
    BeginStay(Sample);
  } else {
    ++mAgreements;
  }
}

bool OnTick(const siginfo_t &, ucontext_t &Context) {
  SAMPLE Sample;
  Sample.Address = static_cast<UINT64>(Context.uc_mcontext.gregs[REG_RIP]);
  if (!mRunning || Sample.Address < mCodeBegin || Sample.Address >= mCodeEnd) {
    mStayCount = 0;
    return true;
  }
  for (size_t Index = 0; Index < std::size(mRegisters); ++Index) {
    Sample.Registers[Index] = static_cast<UINT64>(Context.uc_mcontext.gregs[mRegisters[Index]]);
  }
  Sample.StackSum = SumStack(static_cast<UINT64>(Context.uc_mcontext.gregs[REG_RSP]));
  Observe(Sample);
  if (mAgreements >= mAgreementsWanted) {
    mHaltAddress = Sample.Address;
    siglongjmp(mBootStart, 1);
  }
  return true;
}

class Ticker {
public:
  Ticker() : Handler_(mTickSignal, OnTick) {
    sigevent Event = {};
    Event.sigev_notify = SIGEV_THREAD_ID;
    Event.sigev_signo = mTickSignal;
    Event._sigev_un._tid = gettid();
    const itimerspec Period = {{0, mTickNanoseconds}, {0, mTickNanoseconds}};
    if (timer_create(CLOCK_THREAD_CPUTIME_ID, &Event, &Timer_) != 0) {
      AbortRun("no timer of processor time");
    }
    timer_settime(Timer_, 0, &Period, nullptr);
    mStayCount = 0;
    mAgreements = 0;
    mRunning = true;
  }
  ~Ticker() {
    mRunning = false;
    timer_delete(Timer_);
    // One tick may still be pending; it must not meet the handler that was there before.
    const timespec NoWait = {};
    sigset_t Tick;
    sigemptyset(&Tick);
    sigaddset(&Tick, mTickSignal);
    sigset_t Before;
    sigprocmask(SIG_BLOCK, &Tick, &Before);
    sigtimedwait(&Tick, nullptr, &NoWait);
    sigprocmask(SIG_SETMASK, &Before, nullptr);
  }
  Ticker(const Ticker &) = delete;
  Ticker &operator=(const Ticker &) = delete;

private:
  SignalHandler Handler_;
  timer_t Timer_ = {};
};

} // namespace

void SetDriverCode(UINT64 Begin, UINT64 End) {
  mCodeBegin = Begin;
  mCodeEnd = End;
}

RunOutcome RunBoot(const std::function<void()> &Body) {
  if (mRunning) {
    AbortRun("RunBoot does not nest");
  }
  const Ticker Ticks;
  AbandonDriverCalls();
  if (sigsetjmp(mBootStart, 1) != 0) {
    AbandonDriverCalls();
    return RunOutcome::Halted;
  }
  Body();
  return RunOutcome::Returned;
}

UINT64 HaltAddress() {
  return mHaltAddress;
}

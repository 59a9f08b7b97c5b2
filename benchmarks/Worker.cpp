// Requests and answers travel whole over two pipes.
#include "benchmarks/Worker.h"

#include <climits>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <utility>

#include <malloc.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tools/session/Stopwatch.h"

namespace {

constexpr UINTN mCheckedBytes = 64;

template <typename TYPE> bool Receive(int From, TYPE *Value) {
  return read(From, Value, sizeof(TYPE)) == sizeof(TYPE);
}

template <typename TYPE> bool Send(int To, const TYPE &Value) {
  return write(To, &Value, sizeof(TYPE)) == sizeof(TYPE);
}

// Once more than it counts: the first finds the caches full of another process's data.
ANSWER Run(const STEP &Step, UINT32 Repeats) {
  std::memset(OutputBuffer(), 0, mCheckedBytes);
  bool Fine = Step();
  const double Seconds = ProcessorSecondsOf([&] {
    for (UINT32 Repeat = 0; Repeat < Repeats; ++Repeat) {
      Fine = Step() && Fine;
    }
  });
  UINT64 Check = 0;
  for (UINTN Index = 0; Index < mCheckedBytes; ++Index) {
    Check = Check * 31 + OutputBuffer()[Index];
  }
  return {Fine ? Seconds / Repeats : -1, Check};
}

} // namespace

void Serve(int In, int Out, std::span<const WORK> Works,
           const std::function<STEP(const WORK &, UINTN, bool)> &Prepare) {
  // Firmware does not take its memory from a kernel, page by page.
  mallopt(M_MMAP_MAX, 0);
  mallopt(M_TRIM_THRESHOLD, INT_MAX);
  STEP Steps[2];
  std::optional<std::pair<UINT32, UINT32>> Prepared;
  for (REQUEST Request; Receive(In, &Request) && Request.Repeats != 0;) {
    const WORK &Work = Works[Request.Work];
    if (Prepared != std::pair(Request.Work, Request.Place)) {
      Steps[0] = Steps[1] = {};
      Prepared = {Request.Work, Request.Place};
    }
    STEP &Step = Steps[Request.ByLibrary];
    if (!Step) {
      Step = Prepare(Work, Work.Sizes[Request.Place], Request.ByLibrary);
    }
    if (!Send(Out, Run(Step, Request.Repeats))) {
      return;
    }
  }
}

Worker::Worker(std::string Name, const std::function<void(int, int)> &Main) : Name_(std::move(Name)) {
  int Requests[2];
  int Answers[2];
  if (pipe(Requests) != 0 || pipe(Answers) != 0 || (Child_ = fork()) < 0) {
    throw std::runtime_error("no process for " + Name_);
  }
  if (Child_ == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    try {
      Main(Requests[0], Answers[1]);
    } catch (const std::exception &Error) {
      std::fprintf(stderr, "%s: %s\n", Name_.c_str(), Error.what());
    }
    _exit(0);
  }
  close(Requests[0]);
  close(Answers[1]);
  Request_ = Requests[1];
  Answer_ = Answers[0];
}

Worker::~Worker() {
  Send(Request_, REQUEST{0, 0, 0, false});
  close(Request_);
  close(Answer_);
  waitpid(Child_, nullptr, 0);
}

ANSWER Worker::Ask(const REQUEST &Request) {
  ANSWER Answer;
  if (!Send(Request_, Request) || !Receive(Answer_, &Answer)) {
    throw std::runtime_error("the process for " + Name_ + " has ended");
  }
  return Answer;
}

// A process that holds one side of the comparison ready and times single pieces of work on demand. All sides
// wait at once, so that a report can take them in turns.
#pragma once

#include <functional>
#include <span>
#include <string>

#include "benchmarks/work/Work.h"

// Which work and which of its sizes, by index, by the bare library or by the driver, and how many runs make
// one sample; 0 runs end the worker.
struct REQUEST {
  UINT32 Work;
  UINT32 Place;
  UINT32 Repeats;
  bool ByLibrary;
};

struct ANSWER {
  // Processor time of one run; negative when a run failed.
  double Seconds;
  // Made of what the run left in the output buffer.
  UINT64 Check;
};

// Answers requests until the last one. Prepare makes a step, which is kept while the same work is asked for,
// so that both kinds of it may share data.
void Serve(int In, int Out, std::span<const WORK> Works,
           const std::function<STEP(const WORK &Work, UINTN Size, bool ByLibrary)> &Prepare);

class Worker {
public:
  // Forks; the child runs Main with its two ends of the connection, and ends. Name is for messages.
  Worker(std::string Name, const std::function<void(int In, int Out)> &Main);
  ~Worker();
  Worker(const Worker &) = delete;
  Worker &operator=(const Worker &) = delete;

  // Throws std::runtime_error when the child has ended.
  ANSWER Ask(const REQUEST &Request);

private:
  std::string Name_;
  pid_t Child_;
  int Request_;
  int Answer_;
};

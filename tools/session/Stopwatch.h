// Measuring time: on the wall for people, on the processor for comparisons.
#pragma once

#include <chrono>

#include <time.h>

// Seconds on a clock that only moves forward.
inline double SecondsNow() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

// Seconds of processor time that one call of Body takes. What else runs on the machine does not count.
template <typename BODY> double ProcessorSecondsOf(BODY &&Body) {
  const auto Now = [] {
    timespec Time;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &Time);
    return static_cast<double>(Time.tv_sec) + static_cast<double>(Time.tv_nsec) * 1e-9;
  };
  const double Begin = Now();
  Body();
  return Now() - Begin;
}

// The digest services under Google Benchmark, for a look at one of them at a time; bench_report compares
// them.
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "benchmarks/DigestWork.h"
#include "tools/session/DriverSession.h"

namespace {

std::string mImagePath = FIRMWARE_IMAGE_PATH;

void Finish(benchmark::State &State) {
  State.SetBytesProcessed(static_cast<int64_t>(State.iterations()) * State.range(0));
}

void MeasureBare(benchmark::State &State, const DIGEST_WORK &Work) {
  // The start tells the library what the processor can do.
  DriverSession Session({.Firmware = {.PlainPool = true}});
  const std::vector<UINT8> Data(static_cast<size_t>(State.range(0)), 0x5A);
  UINT8 Digest[CRYPTO_SERVICES_SHA256_DIGEST_SIZE];
  for (auto _ : State) {
    Work.Bare(Data.data(), Data.size(), Digest);
    benchmark::DoNotOptimize(Digest);
  }
  Finish(State);
}

void MeasureDriver(benchmark::State &State, const DIGEST_WORK &Work, bool FromImage) {
  SessionOptions Options{.Firmware = {.PlainPool = true}};
  if (FromImage) {
    Options.Image = mImagePath;
  }
  DriverSession Session(std::move(Options));
  if (!Session.Problem().empty()) {
    State.SkipWithError(Session.Problem().c_str());
    return;
  }
  const std::vector<UINT8> Data(static_cast<size_t>(State.range(0)), 0x5A);
  UINT8 Digest[CRYPTO_SERVICES_SHA256_DIGEST_SIZE];
  for (auto _ : State) {
    Work.Driver(*Session.Raw(), Data.data(), Data.size(), Digest);
    benchmark::DoNotOptimize(Digest);
  }
  Finish(State);
}

void Register(const std::string &Side, void (*Measure)(benchmark::State &, const DIGEST_WORK &)) {
  for (const DIGEST_WORK &Work : DigestWorks()) {
    auto *Registered =
        benchmark::RegisterBenchmark((std::string(Work.Name) + "/" + Side).c_str(),
                                     [Measure, &Work](benchmark::State &State) { Measure(State, Work); });
    for (const UINTN Size : WorkSizes()) {
      Registered->Arg(static_cast<int64_t>(Size));
    }
  }
}

} // namespace

int main(int Count, char **Arguments) {
  benchmark::Initialize(&Count, Arguments);
  if (Count == 3 && std::strcmp(Arguments[1], "--image") == 0) {
    mImagePath = Arguments[2];
  } else if (benchmark::ReportUnrecognizedArguments(Count, Arguments)) {
    return 2;
  }
  Register("bare", MeasureBare);
  Register("linked",
           [](benchmark::State &State, const DIGEST_WORK &Work) { MeasureDriver(State, Work, false); });
  Register("image",
           [](benchmark::State &State, const DIGEST_WORK &Work) { MeasureDriver(State, Work, true); });
  try {
    benchmark::RunSpecifiedBenchmarks();
  } catch (const std::exception &Error) {
    std::fprintf(stderr, "bench_digests: %s\n", Error.what());
    return 2;
  }
  return 0;
}

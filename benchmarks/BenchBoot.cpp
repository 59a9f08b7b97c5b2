// Everything is set before the entry point runs.
#include "benchmarks/BenchBoot.h"

#include <ctime>

namespace {

SessionOptions OptionsOf(const std::optional<std::string> &ImagePath, PROCESSOR Processor, bool PlainPool) {
  return {.Image = ImagePath,
          .Firmware = {.PlainPool = PlainPool},
          .Prepare = [Processor](DriverSession &Starting) {
            if (Processor == PROCESSOR::WithoutAesNi) {
              Starting.Processor().SetFeature(ProcessorScript::Feature::AesNi, false);
            }
            const std::time_t Tomorrow = std::time(nullptr) + 86400;
            const std::tm Utc = *std::gmtime(&Tomorrow);
            Starting.Firmware().RealTimeClock.Set(static_cast<UINT16>(Utc.tm_year + 1900),
                                                  static_cast<UINT8>(Utc.tm_mon + 1),
                                                  static_cast<UINT8>(Utc.tm_mday));
          }};
}

} // namespace

BenchBoot::BenchBoot(const std::optional<std::string> &ImagePath, PROCESSOR Processor, bool PlainPool)
    : Session_(OptionsOf(ImagePath, Processor, PlainPool)) {
  Session_.Services(); // throws
}

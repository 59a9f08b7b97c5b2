// A boot as all measurements take it: tomorrow's clock, because the certificates were made today, the ports
// of the clock chip, and the processor that the work is for.
#pragma once

#include <optional>
#include <string>

#include "benchmarks/work/Work.h"
#include "simulator/CmosPorts.h"
#include "tools/session/DriverSession.h"

class BenchBoot {
public:
  // The image at ImagePath, or the linked driver. Throws BootError when it offers no services.
  BenchBoot(const std::optional<std::string> &ImagePath, PROCESSOR Processor, bool PlainPool);

  DriverSession &Session() { return Session_; }

private:
  DriverSession Session_;
  CmosPorts Ports_;
};

// Prints one report on the driver's speed, memory, stack, start and size, in Markdown, and writes it to a
// file when told where. A report, not a test: a missed aim is marked, and only work that fails ends the
// program.
#include <algorithm>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <fmt/core.h>

#include "benchmarks/BenchBoot.h"
#include "benchmarks/ImageSize.h"
#include "benchmarks/Measurement.h"
#include "benchmarks/ResourceUse.h"
#include "benchmarks/SpeedTables.h"
#include "benchmarks/work/Material.h"

namespace {

constexpr double mStartAim = 5e-3;
constexpr int mStarts = 20;

constexpr const char *mSpeedNotes =
    R"(Data in MB/s (1,000,000 bytes), everything else in microseconds; ratios are of speed, so below 1 is
slower. *Bare* is the crypto library of the linked driver, called without the driver, with the same memory and
C runtime under it; *linked* the driver in a host program; *image* the same driver as the firmware loads it;
*conventional* the same library and options in C alone, on the host's C library. All four take turns, in
processor time, and the best tenth of the samples counts; where that misses an aim, more samples are taken
before it stands. **Bold** misses an aim: linked / bare as listed above from 16 KiB on, image / linked 0.95.
)";

constexpr const char *mResourceNotes =
    R"(One call in the image, with its data at 16 KiB where data passes through (for slot 4 the linked build). The
first call also makes what the library keeps for good.
)";

std::string FirstLine(const std::string &Path, const std::string &Prefix) {
  std::ifstream File(Path);
  for (std::string Line; std::getline(File, Line);) {
    if (Line.starts_with(Prefix)) {
      return Line;
    }
  }
  return "";
}

std::string Heading(const MEASURE_OPTIONS &Options, UINTN Rounds) {
  std::string Model = FirstLine("/proc/cpuinfo", "model name");
  Model.erase(0, Model.find(':') + 2);
  const std::time_t Now = std::time(nullptr);
  char Date[16];
  std::strftime(Date, sizeof(Date), "%Y-%m-%d", std::gmtime(&Now));
  return fmt::format("# Performance\n\nWritten by `./bench`{}: {}, {}, {}, {} rounds.\n",
                     Options.Quick ? " `--quick`" : "", Date, Model,
                     FirstLine(OPENSSL_VERSION_FILE, "OpenSSL"), Rounds);
}

std::string AimTable(const FINDINGS &Findings) {
  const auto Missed =
      std::count_if(Findings.begin(), Findings.end(), [](const FINDING &One) { return !One.Met; });
  std::string Text = fmt::format("\n## Aims\n\n{} met, {} missed; of each the worst figure.\n\n"
                                 "| | Aim | Found | |\n|---|---|---|---|\n",
                                 Findings.size() - static_cast<size_t>(Missed), Missed);
  for (const FINDING &One : Findings) {
    Text +=
        fmt::format("| {} | {} | {} | {} |\n", One.What, One.Aim, One.Found, One.Met ? "met" : "**missed**");
  }
  return Text;
}

// Near the best of some boots, the checks of the gate included.
std::string StartText(const std::string &ImagePath, FINDINGS *Findings) {
  std::vector<double> Starts;
  for (int Count = 0; Count < mStarts; ++Count) {
    Starts.push_back(BenchBoot(ImagePath, PROCESSOR::Native, true).Session().StartSeconds());
  }
  std::sort(Starts.begin(), Starts.end());
  const double Start = Starts[mStarts / 5];
  Findings->push_back({"Entry point, ms", fmt::format("≤ {:.0f}", mStartAim * 1e3),
                       fmt::format("{:.2f}", Start * 1e3), Start <= mStartAim});
  return fmt::format("The image's entry point returns after {:.2f} ms.\n", Start * 1e3);
}

int Report(MEASURE_OPTIONS Options, const std::string &OutputPath) {
  const MaterialFolder Folder(Options.ImagePath, TEST_KEYS_PATH "/type1-private.pem");
  Options.MaterialPath = Folder.Path();
  std::vector<WORK> Works = AllWorks();
  Works.insert(Works.end(), ImageWorks().begin(), ImageWorks().end());
  UINTN Rounds = 0;
  FINDINGS Findings;
  const std::vector<CELL> Cells = Measure(Works, Options, &Rounds);
  const std::string Speed = SpeedTables(Cells, &Findings);
  if (!Options.Only.empty()) {
    fmt::print("{}{}{}", Heading(Options, Rounds), AimTable(Findings), Speed);
    return 0;
  }
  const std::string Resources = ResourceTable(Works, Options.ImagePath, &Findings);
  const std::string Start = StartText(Options.ImagePath, &Findings);
  const std::string Size = ImageSizeTables(Options.ImagePath, SIZE_BUDGET_PATH, &Findings);
  const std::string Text = Heading(Options, Rounds) + AimTable(Findings) + "\n## Speed\n\n" + mSpeedNotes +
                           Speed + "\n## Pool and stack\n\n" + mResourceNotes + "\n" + Resources +
                           "\n## Start-up\n\n" + Start + "\n## Size\n\n" + Size;
  fmt::print("{}", Text);
  if (!OutputPath.empty() && !(std::ofstream(OutputPath) << Text).flush()) {
    throw std::runtime_error("cannot write " + OutputPath);
  }
  return 0;
}

} // namespace

int main(int Count, char **Arguments) {
  CLI::App App("Measures the driver beside the bare crypto library", "bench_report");
  MEASURE_OPTIONS Options{FIRMWARE_IMAGE_PATH, CONVENTIONAL_PATH, "", 240, false, ""};
  std::string OutputPath;
  App.add_option("--image", Options.ImagePath, "The driver image to load")->capture_default_str();
  App.add_option("--seconds", Options.Seconds, "How long to measure speed")->capture_default_str();
  App.add_flag("--quick", Options.Quick, "Few sizes, of 1 MiB at most");
  App.add_option("--only", Options.Only, "Speed alone, of families and services whose names hold this");
  App.add_option("--output", OutputPath, "Where to write the report too");
  CLI11_PARSE(App, Count, Arguments);
  try {
    return Report(Options, OutputPath);
  } catch (const std::exception &Error) {
    fmt::print(stderr, "bench_report: {}\n", Error.what());
    return 2;
  }
}

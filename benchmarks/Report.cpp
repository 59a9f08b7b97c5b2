// Prints how fast the digest services are beside the bare library, in the linked build and in the loaded
// image, and how much pool they use. A report, not a test of speed: only a wrong number of allocations is a
// failure.
#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <fmt/core.h>

#include "benchmarks/DigestWork.h"
#include "simulator/Pool.h"
#include "tools/session/DriverSession.h"
#include "tools/session/Stopwatch.h"

namespace {

// What passes data through must give this much of the bare library's speed from this size on; the image this
// much of the linked build's.
constexpr double mLinkedAim = 0.97;
constexpr double mImageAim = 0.95;
constexpr UINTN mAimFrom = 16384;

// A measured stretch hashes about this much, so that it is longer than the clock is coarse.
constexpr UINTN mStretchBytes = 128 * 1024;
constexpr UINTN mMostRepeats = 1000;
constexpr UINTN mTurns = 2;

enum SIDE { Bare, Linked, Image, SideCount };

// Seconds of processor time that one digest took, measured many times.
struct CELL {
  std::vector<double> Samples[SideCount];

  // Near the best, but not the best itself: a virtual clock now and then gives a time that cannot be.
  double Seconds(SIDE Side) const {
    std::vector<double> Sorted = Samples[Side];
    const auto Chosen = Sorted.begin() + static_cast<std::ptrdiff_t>(Sorted.size() / 5);
    std::nth_element(Sorted.begin(), Chosen, Sorted.end());
    return *Chosen;
  }
  double Ratio(SIDE Side, SIDE Base) const { return Seconds(Base) / Seconds(Side); }
};

using TABLE = std::vector<std::vector<CELL>>;

std::string SizeName(UINTN Size) {
  if (Size >= 1 << 20) {
    return fmt::format("{} MiB", Size >> 20);
  }
  return Size >= 1024 ? fmt::format("{} KiB", Size >> 10) : fmt::format("{} B", Size);
}

SessionOptions OptionsOf(SIDE Side, const std::string &ImagePath, bool PlainPool) {
  SessionOptions Options;
  Options.Firmware.PlainPool = PlainPool;
  if (Side == Image) {
    Options.Image = ImagePath;
  }
  return Options;
}

void Sample(std::vector<double> &Samples, UINTN Repeats, auto &&Body) {
  const double Seconds = ProcessorSecondsOf([&] {
    for (UINTN Repeat = 0; Repeat < Repeats; ++Repeat) {
      Body();
    }
  });
  Samples.push_back(Seconds / static_cast<double>(Repeats));
}

// One boot of one build: every cell in turns with the bare library.
void MeasureOnce(SIDE Side, const std::string &ImagePath, const std::vector<UINT8> &Data, TABLE &Table) {
  DriverSession Session(OptionsOf(Side, ImagePath, true));
  Session.Services();
  const CRYPTO_SERVICES_PROTOCOL &Services = *Session.Raw();
  UINT8 Digest[CRYPTO_SERVICES_SHA256_DIGEST_SIZE];
  for (size_t Work = 0; Work < DigestWorks().size(); ++Work) {
    const DIGEST_WORK &Digesting = DigestWorks()[Work];
    for (size_t Place = 0; Place < WorkSizes().size(); ++Place) {
      const UINTN Size = WorkSizes()[Place];
      const UINTN Repeats = std::clamp<UINTN>(mStretchBytes / Size, 1, mMostRepeats);
      CELL &Cell = Table[Work][Place];
      for (UINTN Turn = 0; Turn < mTurns; ++Turn) {
        Sample(Cell.Samples[Bare], Repeats, [&] { Digesting.Bare(Data.data(), Size, Digest); });
        Sample(Cell.Samples[Side], Repeats, [&] { Digesting.Driver(Services, Data.data(), Size, Digest); });
      }
    }
  }
}

// Pool allocations of one digest on the recording pool; a block left open counts as a hundred.
UINTN AllocationsOf(DriverSession &Session, const DIGEST_WORK &Work, const std::vector<UINT8> &Data) {
  UINT8 Digest[CRYPTO_SERVICES_SHA256_DIGEST_SIZE];
  const Pool &Memory = Session.Firmware().Memory;
  const UINTN Calls = Memory.Calls();
  const UINTN Open = Memory.Figures().LiveBlocks;
  Work.Driver(*Session.Raw(), Data.data(), mAimFrom, Digest);
  return Memory.Calls() - Calls + 100 * (Memory.Figures().LiveBlocks - Open);
}

bool ReportAllocations(const std::string &ImagePath, const std::vector<UINT8> &Data) {
  bool AsWanted = true;
  fmt::print("\nPool allocations per digest\n");
  for (const SIDE Side : {Linked, Image}) {
    DriverSession Session(OptionsOf(Side, ImagePath, false));
    for (const DIGEST_WORK &Work : DigestWorks()) {
      const UINTN Count = AllocationsOf(Session, Work, Data);
      fmt::print("  {:8}{:20}{}{}\n", Session.Target().Name(), Work.Name, Count,
                 Count == Work.Allocations ? "" : fmt::format("  WRONG: must be {}", Work.Allocations));
      AsWanted = AsWanted && Count == Work.Allocations;
    }
  }
  return AsWanted;
}

void PrintRow(const std::string &Label, auto &&Value) {
  fmt::print("{:28}", Label);
  for (size_t Place = 0; Place < WorkSizes().size(); ++Place) {
    fmt::print("{:>9}", Value(Place));
  }
  fmt::print("\n");
}

void PrintTable(const TABLE &Table) {
  PrintRow("", [](size_t Place) { return SizeName(WorkSizes()[Place]); });
  for (size_t Work = 0; Work < Table.size(); ++Work) {
    const std::vector<CELL> &Row = Table[Work];
    const auto Ratio = [&](SIDE Side) {
      return [&Row, Side](size_t Place) { return fmt::format("{:.3f}", Row[Place].Ratio(Side, Bare)); };
    };
    PrintRow(std::string(DigestWorks()[Work].Name) + ", MB/s", [&](size_t Place) {
      return fmt::format("{:.0f}", static_cast<double>(WorkSizes()[Place]) / Row[Place].Seconds(Bare) / 1e6);
    });
    PrintRow("  linked / bare", Ratio(Linked));
    PrintRow("  image / bare", Ratio(Image));
  }
}

void PrintAims(const TABLE &Table) {
  UINTN Missed = 0;
  for (size_t Work = 0; Work < Table.size(); ++Work) {
    for (size_t Place = 0; Place < WorkSizes().size(); ++Place) {
      const CELL &Cell = Table[Work][Place];
      if (WorkSizes()[Place] >= mAimFrom &&
          (Cell.Ratio(Linked, Bare) < mLinkedAim || Cell.Ratio(Image, Linked) < mImageAim)) {
        fmt::print("Below the aim: {} at {}\n", DigestWorks()[Work].Name, SizeName(WorkSizes()[Place]));
        ++Missed;
      }
    }
  }
  fmt::print("Aims from {} on: linked at least {} of bare, image at least {} of linked: {}\n",
             SizeName(mAimFrom), mLinkedAim, mImageAim,
             Missed == 0 ? "met" : "missed " + std::to_string(Missed) + " times");
}

int Report(const std::string &ImagePath, double Seconds) {
  const std::vector<UINT8> Data(WorkSizes().back(), 0x5A);
  TABLE Table(DigestWorks().size(), std::vector<CELL>(WorkSizes().size()));
  const double Begin = SecondsNow();
  UINTN Rounds = 0;
  do {
    // The linked driver goes first: its start tells the library in this program what the processor can do.
    MeasureOnce(Linked, ImagePath, Data, Table);
    MeasureOnce(Image, ImagePath, Data, Table);
    ++Rounds;
  } while (SecondsNow() - Begin < Seconds);
  fmt::print("Digests, the best fifth of {} rounds; bare is the crypto library without the driver\n\n",
             Rounds);
  PrintTable(Table);
  fmt::print("\n");
  PrintAims(Table);
  return ReportAllocations(ImagePath, Data) ? 0 : 1;
}

} // namespace

int main(int Count, char **Arguments) {
  CLI::App App("Compares the driver's services with the bare crypto library", "bench_report");
  std::string ImagePath = FIRMWARE_IMAGE_PATH;
  double Seconds = 25;
  App.add_option("--image", ImagePath, "The driver image to load")->capture_default_str();
  App.add_option("--seconds", Seconds, "How long to measure")->capture_default_str();
  CLI11_PARSE(App, Count, Arguments);
  try {
    return Report(ImagePath, Seconds);
  } catch (const std::exception &Error) {
    fmt::print(stderr, "bench_report: {}\n", Error.what());
    return 2;
  }
}

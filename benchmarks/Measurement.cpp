// One worker for each build and kind of processor, the linked driver's for its bare library too; a visit to a
// cell asks them one after another.
#include "benchmarks/Measurement.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <stdexcept>
#include <utility>

#include <unistd.h>

#include "benchmarks/BenchBoot.h"
#include "benchmarks/Worker.h"
#include "tools/session/Stopwatch.h"

namespace {

// One sample takes about this long, and no more runs than that.
constexpr double mSampleSeconds = 0.002;
constexpr double mMostRepeats = 5000;

// A visit takes so many turns, and more while it has lasted less than this.
constexpr int mLeastTurns = 3;
constexpr int mMostTurns = 6;
constexpr double mVisitSeconds = 0.05;

// Visits to a cell that misses an aim, until it does not.
constexpr int mSecondLooks = 10;

const char *const mSideNames[] = {"bare library", "linked driver", "image", "conventional library"};

using WORKERS = std::map<std::pair<SIDE, PROCESSOR>, std::unique_ptr<Worker>>;

// The bare library is that of the linked driver, whose start gives it memory and tells it of the processor.
void ServeDriver(SIDE Side, PROCESSOR Processor, const MEASURE_OPTIONS &Options, std::span<const WORK> Works,
                 int In, int Out) {
  BenchBoot Boot(Side == Image ? std::optional(Options.ImagePath) : std::nullopt, Processor, true);
  const BOOTED Driver{*Boot.Session().Raw(), *Boot.Session().Firmware().BootServices()};
  Serve(In, Out, Works, [&](const WORK &Work, UINTN Size, bool ByLibrary) {
    return ByLibrary ? Work.Bare(Size) : Work.Driver(Driver, Size);
  });
}

void RunConventional(const MEASURE_OPTIONS &Options, int In, int Out) {
  dup2(In, STDIN_FILENO);
  dup2(Out, STDOUT_FILENO);
  execl(Options.ConventionalPath.c_str(), Options.ConventionalPath.c_str(), Options.MaterialPath.c_str(),
        nullptr);
  throw std::runtime_error("cannot run " + Options.ConventionalPath);
}

WORKERS StartWorkers(std::span<const WORK> Works, const MEASURE_OPTIONS &Options) {
  WORKERS Workers;
  for (const PROCESSOR Processor : {PROCESSOR::Native, PROCESSOR::WithoutAesNi}) {
    for (const SIDE Side : {Linked, Image}) {
      Workers[{Side, Processor}] = std::make_unique<Worker>(
          mSideNames[Side], [&](int In, int Out) { ServeDriver(Side, Processor, Options, Works, In, Out); });
    }
  }
  Workers[{Conventional, PROCESSOR::Native}] = std::make_unique<Worker>(
      mSideNames[Conventional], [&](int In, int Out) { RunConventional(Options, In, Out); });
  return Workers;
}

bool Does(const WORK &Work, SIDE Side) {
  switch (Side) {
  case Bare:
    return Work.Bare != nullptr;
  case Conventional:
    return Work.Bare != nullptr && !Work.LinkedOnly;
  case Image:
    return !Work.LinkedOnly;
  default:
    return true;
  }
}

double Take(Worker &Asked, CELL *Cell, SIDE Side, UINT32 Repeats, std::vector<UINT64> *Checks) {
  const ANSWER Answer = Asked.Ask({Cell->WorkIndex, Cell->Place, Repeats, Side == Bare});
  const std::string Where = std::string(Cell->Work->Name) + " by the " + mSideNames[Side];
  if (Answer.Seconds < 0) {
    throw std::runtime_error(Where + " fails");
  }
  Checks->push_back(Answer.Check);
  if (Answer.Check != Checks->front()) {
    throw std::runtime_error(Where + " gives another result than the others");
  }
  Cell->Samples[Side].push_back(Answer.Seconds);
  return Answer.Seconds;
}

void Visit(const WORKERS &Workers, CELL *Cell) {
  const PROCESSOR Processor = Cell->Work->Processor;
  std::vector<UINT64> Checks;
  std::map<SIDE, UINT32> Repeats;
  const double Begin = SecondsNow();
  for (int Turn = 0; Turn < mLeastTurns || (Turn < mMostTurns && SecondsNow() - Begin < mVisitSeconds);
       ++Turn) {
    for (const SIDE Side : {Bare, Linked, Image, Conventional}) {
      if (!Does(*Cell->Work, Side)) {
        continue;
      }
      Worker &Asked =
          *Workers.at({Side == Bare ? Linked : Side, Side == Conventional ? PROCESSOR::Native : Processor});
      if (Repeats[Side] == 0) {
        // How long one run takes is learned from a sample that then does not count.
        const double Once = Take(Asked, Cell, Side, 1, &Checks);
        Repeats[Side] = static_cast<UINT32>(std::clamp(mSampleSeconds / Once, 1.0, mMostRepeats));
        if (Repeats[Side] > 1) {
          Cell->Samples[Side].pop_back();
          Take(Asked, Cell, Side, Repeats[Side], &Checks);
        }
      } else {
        Take(Asked, Cell, Side, Repeats[Side], &Checks);
      }
    }
  }
}

bool IsQuickSize(const WORK &Work, UINTN Size) {
  return Work.Unit != UNIT::Bytes || Size == 64 || Size == 1024 || Size == mAimFrom || Size == 1 << 20;
}

bool IsWanted(const WORK &Work, UINTN Size, const MEASURE_OPTIONS &Options) {
  return IsNamed(Work, Options.Only) && (!Options.Quick || IsQuickSize(Work, Size));
}

} // namespace

bool IsNamed(const WORK &Work, const std::string &Text) {
  return (std::string(Work.Family) + ": " + Work.Name).find(Text) != std::string::npos;
}

bool Reaches(double Ratio, double Aim) {
  return std::round(Ratio * 100) >= std::round(Aim * 100);
}

double CELL::Aim(SIDE Side, SIDE Base) const {
  if (!Has(Bare) || !Has(Side) || (Work->Unit == UNIT::Bytes && Size() < mAimFrom)) {
    return 0;
  }
  return Side == Linked && Base == Bare ? Work->Aim : Side == Image && Base == Linked ? mImageAim : 0;
}

bool CELL::Misses(SIDE Side, SIDE Base) const {
  const double Wanted = Aim(Side, Base);
  return Wanted != 0 && !Reaches(Ratio(Side, Base), Wanted);
}

double CELL::Seconds(SIDE Side) const {
  // Near the best, but not the best itself: a virtual clock now and then gives a time that cannot be.
  std::vector<double> Sorted = Samples[Side];
  const auto Chosen = Sorted.begin() + static_cast<std::ptrdiff_t>(Sorted.size() / 10);
  std::nth_element(Sorted.begin(), Chosen, Sorted.end());
  return *Chosen;
}

std::vector<CELL> Measure(std::span<const WORK> Works, const MEASURE_OPTIONS &Options, UINTN *Rounds) {
  std::vector<CELL> Cells;
  for (UINT32 Index = 0; Index < Works.size(); ++Index) {
    for (UINT32 Place = 0; Place < Works[Index].Sizes.size(); ++Place) {
      if (IsWanted(Works[Index], Works[Index].Sizes[Place], Options)) {
        Cells.push_back({.Work = &Works[Index], .WorkIndex = Index, .Place = Place, .Samples = {}});
      }
    }
  }
  if (Cells.empty()) {
    throw std::runtime_error("no work is named " + Options.Only);
  }
  const WORKERS Workers = StartWorkers(Works, Options);
  const double Begin = SecondsNow();
  *Rounds = 0;
  do {
    for (CELL &Cell : Cells) {
      if (*Rounds != 0 && SecondsNow() - Begin > Options.Seconds) {
        break;
      }
      Visit(Workers, &Cell);
    }
    ++*Rounds;
  } while (SecondsNow() - Begin < Options.Seconds);
  // Other load on the machine may be to blame.
  for (CELL &Cell : Cells) {
    for (int Look = 0; Look < mSecondLooks && (Cell.Misses(Linked, Bare) || Cell.Misses(Image, Linked));
         ++Look) {
      Visit(Workers, &Cell);
    }
  }
  return Cells;
}

// Times every piece of work on every side, in turns.
#pragma once

#include <string>
#include <vector>

#include "benchmarks/work/Work.h"

inline constexpr double mImageAim = 0.95;

// Ratios count as they are printed, with two digits.
bool Reaches(double Ratio, double Aim);

// The crypto library of the linked driver by itself; the driver linked into this program; the loaded image;
// the library without assembler by itself.
enum SIDE { Bare, Linked, Image, Conventional, SideCount };

// One piece of work at one size.
struct CELL {
  const WORK *Work;
  UINT32 WorkIndex;
  UINT32 Place;
  // Seconds of processor time that one run took, measured many times. Empty for a side that does not do it.
  std::vector<double> Samples[SideCount];

  UINTN Size() const { return Work->Sizes[Place]; }
  bool Has(SIDE Side) const { return !Samples[Side].empty(); }
  double Seconds(SIDE Side) const;
  // Speed of Side as a share of Base's.
  double Ratio(SIDE Side, SIDE Base) const { return Seconds(Base) / Seconds(Side); }
  // The least ratio wanted at this size: the work's for the linked driver beside the bare library, mImageAim
  // for the image beside the linked driver where there is something to compare. 0: none.
  double Aim(SIDE Side, SIDE Base) const;
  bool Misses(SIDE Side, SIDE Base) const;
};

struct MEASURE_OPTIONS {
  std::string ImagePath;
  // bench_conventional, and the folder with its data.
  std::string ConventionalPath;
  std::string MaterialPath;
  // Rounds begin until this much time has gone; the first one is always whole.
  double Seconds;
  // Few sizes, of 1 MiB at most.
  bool Quick;
  // Only the work that is so named.
  std::string Only;
};

// Whether Work's family or name holds Text.
bool IsNamed(const WORK &Work, const std::string &Text);

// Cells that miss an aim are visited some more times at the end. Works must outlive the cells. Rounds
// receives how often each cell was visited. Throws std::runtime_error when work fails, or gives other results
// on one side than on another.
std::vector<CELL> Measure(std::span<const WORK> Works, const MEASURE_OPTIONS &Options, UINTN *Rounds);

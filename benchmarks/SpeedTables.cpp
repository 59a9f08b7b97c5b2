// A family's rows stand together in the order of the work; ratios are of speed, so less than 1 is slower.
#include "benchmarks/SpeedTables.h"

#include <limits>

#include <fmt/core.h>

namespace {

std::string SizeText(const CELL &Cell) {
  switch (Cell.Work->Unit) {
  case UNIT::Bytes:
    return SizeName(Cell.Size());
  case UNIT::Bits:
    return fmt::format("{} bits", Cell.Size());
  case UNIT::Nothing:
    break;
  }
  return "";
}

// MB/s for data, microseconds for everything else.
std::string SpeedText(const CELL &Cell, SIDE Side) {
  if (!Cell.Has(Side)) {
    return "";
  }
  if (Cell.Work->Unit == UNIT::Bytes) {
    const double Speed = static_cast<double>(Cell.Size()) / Cell.Seconds(Side) / 1e6;
    return fmt::format("{:.{}f}", Speed, Speed < 100 ? 1 : 0);
  }
  const double Time = Cell.Seconds(Side) * 1e6;
  return fmt::format("{:.{}f} µs", Time, Time < 100 ? 2 : 0);
}

// Bold when it misses an aim.
std::string RatioText(const CELL &Cell, SIDE Side, SIDE Base) {
  if (!Cell.Has(Side) || !Cell.Has(Base)) {
    return "";
  }
  const double Ratio = Cell.Ratio(Side, Base);
  const std::string Text = fmt::format("{:.{}f}", Ratio, Ratio < 10 ? 2 : 1);
  return Cell.Misses(Side, Base) ? "**" + Text + "**" : Text;
}

std::string Row(const CELL &Cell) {
  // Without a counterpart, two runs need not be the same work.
  return fmt::format("| {} | {} | {} | {} | {} | {} | {} | {} | {} | {} |\n", Cell.Work->Name, SizeText(Cell),
                     SpeedText(Cell, Bare), SpeedText(Cell, Linked), SpeedText(Cell, Image),
                     RatioText(Cell, Linked, Bare), RatioText(Cell, Image, Bare),
                     Cell.Has(Bare) ? RatioText(Cell, Image, Linked) : "", SpeedText(Cell, Conventional),
                     RatioText(Cell, Image, Conventional));
}

// The least ratio among the cells that count, and where it is.
struct WORST {
  double Ratio = std::numeric_limits<double>::infinity();
  const CELL *Where = nullptr;

  void Note(const CELL &Cell, SIDE Side, SIDE Base) {
    if (Cell.Aim(Side, Base) != 0 && Cell.Ratio(Side, Base) < Ratio) {
      Ratio = Cell.Ratio(Side, Base);
      Where = &Cell;
    }
  }
  std::string Text() const {
    const std::string Size = SizeText(*Where);
    return fmt::format("{:.2f}{}", Ratio, Size.empty() ? "" : " at " + Size);
  }
};

void NoteWorks(const std::vector<CELL> &Cells, FINDINGS *Findings) {
  for (auto First = Cells.begin(); First != Cells.end();) {
    const WORK &Work = *First->Work;
    WORST Worst;
    for (; First != Cells.end() && First->Work == &Work; ++First) {
      Worst.Note(*First, Linked, Bare);
    }
    if (Worst.Where != nullptr) {
      Findings->push_back({fmt::format("{}: {}, linked / bare", Work.Family, Work.Name),
                           fmt::format("≥ {:.2f}", Work.Aim), Worst.Text(), Reaches(Worst.Ratio, Work.Aim)});
    }
  }
}

void NoteFamily(const std::string &Family, const std::vector<const CELL *> &Cells, FINDINGS *Findings) {
  WORST Worst;
  for (const CELL *Cell : Cells) {
    Worst.Note(*Cell, Image, Linked);
  }
  if (Worst.Where != nullptr) {
    Findings->push_back({Family + ": image / linked", fmt::format("≥ {:.2f}", mImageAim),
                         Worst.Text() + " (" + Worst.Where->Work->Name + ")",
                         Reaches(Worst.Ratio, mImageAim)});
  }
}

} // namespace

std::string SizeName(UINTN Size) {
  if (Size >= 1 << 20) {
    return fmt::format("{} MiB", Size >> 20);
  }
  return Size >= 1024 ? fmt::format("{} KiB", Size >> 10) : fmt::format("{} B", Size);
}

std::string SpeedTables(const std::vector<CELL> &Cells, FINDINGS *Findings) {
  std::string Text;
  NoteWorks(Cells, Findings);
  for (auto First = Cells.begin(); First != Cells.end();) {
    const std::string Family = First->Work->Family;
    Text +=
        fmt::format("\n### {}\n\n| Service | Size | Bare | Linked | Image | Linked / bare | Image / bare | "
                    "Image / linked | Conventional | Image / conventional |\n"
                    "|---|--:|--:|--:|--:|--:|--:|--:|--:|--:|\n",
                    Family);
    std::vector<const CELL *> Rows;
    for (; First != Cells.end() && First->Work->Family == Family; ++First) {
      Text += Row(*First);
      Rows.push_back(&*First);
    }
    NoteFamily(Family, Rows, Findings);
  }
  return Text;
}

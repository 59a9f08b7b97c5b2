// The first run shows what the library makes once and keeps, the second what a call takes.
#include "benchmarks/ResourceUse.h"

#include <algorithm>
#include <map>
#include <stdexcept>
#include <string_view>
#include <vector>

#include <fmt/core.h>

#include "benchmarks/BenchBoot.h"
#include "benchmarks/SpeedTables.h"
#include "simulator/DriverCall.h"

namespace {

constexpr UINTN mStackAim = 16 * 1024;
constexpr UINTN mChainStackAim = 32 * 1024;
constexpr UINTN mPoolAim = 256 * 1024;

struct USE {
  const WORK *Work;
  UINTN Size;
  UINTN FirstCalls;
  UINTN Calls;
  UINTN PeakBytes;
  // Of its services, the one whose call went deepest, and how deep.
  std::string Service;
  UINT64 StackBytes;
};

bool VerifiesChains(const WORK &Work) {
  return std::string_view(Work.Family) == "Certificates and signed messages";
}

bool PoolAimed(const WORK &Work) {
  return VerifiesChains(Work) || std::string_view(Work.Family) == "Diffie-Hellman";
}

USE Watch(DriverSession &Boot, const WORK &Work) {
  const auto Wanted = std::find(Work.Sizes.begin(), Work.Sizes.end(), mAimFrom);
  USE Use{&Work, Wanted != Work.Sizes.end() ? *Wanted : Work.Sizes[0], 0, 0, 0, "", 0};
  const STEP Step = Work.Driver({Boot.Services(), *Boot.Firmware().BootServices()}, Use.Size);
  Pool &Memory = Boot.Firmware().Memory;
  ClearDeepestStacks();
  bool Fine = true;
  for (UINTN *Calls : {&Use.FirstCalls, &Use.Calls}) {
    const UINTN Before = Memory.Calls();
    const UINTN Live = Memory.Figures().LiveBytes;
    Memory.RestartPeaks();
    Fine = Step() && Fine;
    *Calls = Memory.Calls() - Before;
    Use.PeakBytes = Memory.Figures().PeakBytes - Live;
  }
  if (!Fine) {
    throw std::runtime_error(std::string(Work.Name) + " fails on the recording pool");
  }
  for (const auto &[Name, Depth] : DeepestStacks()) {
    if (Name.starts_with("Svc") && Depth > Use.StackBytes) {
      Use.Service = Name;
      Use.StackBytes = Depth;
    }
  }
  return Use;
}

std::vector<USE> WatchAll(std::span<const WORK> Works, const std::string &ImagePath) {
  std::vector<USE> Uses;
  for (const bool LinkedOnly : {false, true}) {
    BenchBoot Boot(LinkedOnly ? std::nullopt : std::optional(ImagePath), PROCESSOR::Native, false);
    for (const WORK &Work : Works) {
      if (Work.LinkedOnly == LinkedOnly && Work.Processor == PROCESSOR::Native) {
        Uses.push_back(Watch(Boot.Session(), Work));
      }
    }
  }
  return Uses;
}

// The largest of some figure against its aim.
template <typename FIGURE>
void Note(const std::vector<USE> &Uses, const char *What, UINTN Aim, bool (*Counts)(const WORK &),
          FIGURE Figure, FINDINGS *Findings) {
  const USE *Most = nullptr;
  for (const USE &Use : Uses) {
    if (Counts(*Use.Work) && (Most == nullptr || Figure(Use) > Figure(*Most))) {
      Most = &Use;
    }
  }
  Findings->push_back({What, fmt::format("≤ {}", Aim),
                       fmt::format("{} ({})", Figure(*Most), Most->Work->Name), Figure(*Most) <= Aim});
}

} // namespace

std::string ResourceTable(std::span<const WORK> Works, const std::string &ImagePath, FINDINGS *Findings) {
  const std::vector<USE> Uses = WatchAll(Works, ImagePath);
  std::string Text = "| Service | Size | Allocations, first call | Allocations | Peak pool, bytes | Deepest "
                     "stack, bytes |\n|---|--:|--:|--:|--:|--:|\n";
  for (const USE &Use : Uses) {
    const std::string Size = Use.Work->Unit == UNIT::Bytes  ? SizeName(Use.Size)
                             : Use.Work->Unit == UNIT::Bits ? fmt::format("{} bits", Use.Size)
                                                            : "";
    Text += fmt::format("| {}: {} | {} | {} | {} | {} | {} |\n", Use.Work->Family, Use.Work->Name, Size,
                        Use.FirstCalls, Use.Calls, Use.PeakBytes,
                        Use.StackBytes != 0 ? fmt::format("{} ({})", Use.StackBytes, Use.Service) : "");
  }
  const auto Calls = [](const USE &Use) { return Use.FirstCalls; };
  const auto Peak = [](const USE &Use) { return Use.PeakBytes; };
  const auto Stack = [](const USE &Use) { return Use.StackBytes; };
  Note(
      Uses, "Allocations of streaming digests, AES and triple DES", 0,
      [](const WORK &Work) { return Work.AllocatesNothing; }, Calls, Findings);
  Note(Uses, "Peak pool of certificate, message and Diffie-Hellman calls, bytes", mPoolAim, PoolAimed, Peak,
       Findings);
  Note(Uses, "Deepest stack of a chain verification, bytes", mChainStackAim, VerifiesChains, Stack, Findings);
  Note(
      Uses, "Deepest stack of any other service, bytes", mStackAim,
      [](const WORK &Work) { return !VerifiesChains(Work); }, Stack, Findings);
  return Text;
}

// Family "digest_monte": the pseudo-random chain of the secure hash validation system, long enough to meet
// states that no list of messages does. The last three digests are the message of the next.
#include <string>

#include "tools/vectors/DigestStream.h"
#include "tools/vectors/Families.h"

namespace {

struct CHAIN {
  DIGEST_STREAM Stream;
  std::vector<UINT8> Context;
  std::vector<UINT8> Words;
};

// Three words from the seed, then Rounds digests; TRUE with the last one at the end of Words.
bool Advance(VectorRun &Run, CHAIN &Chain, const std::vector<UINT8> &Seed, UINT64 Rounds) {
  const UINTN Size = Seed.size();
  for (UINTN Index = 0; Index < Chain.Words.size(); ++Index) {
    Chain.Words[Index] = Seed[Index % Size];
  }
  for (UINT64 Round = 0; Round < Rounds; ++Round) {
    std::vector<UINT8> Next(Chain.Words.begin() + static_cast<INTN>(Size), Chain.Words.end());
    Next.resize(Chain.Words.size());
    if (!Run.Boolean(Chain.Stream.First + 1, Chain.Stream.Init(Chain.Context.data())) ||
        !Run.Boolean(Chain.Stream.First + 2,
                     Chain.Stream.Update(Chain.Context.data(), Chain.Words.data(), Chain.Words.size())) ||
        !Run.Boolean(Chain.Stream.First + 3,
                     Chain.Stream.Final(Chain.Context.data(), Next.data() + 2 * Size))) {
      return false;
    }
    Chain.Words.swap(Next);
  }
  return true;
}

} // namespace

void RunDigestMonteCase(VectorRun &Run) {
  const DIGEST_ALGORITHM Algorithm = DigestOfCase(Run.Case, Run.Services);
  const DIGEST_STREAM &Stream = Algorithm.Stream;
  const DIGEST_STREAM Unchecked = DigestOfCase(Run.Case, *Run.Session.Raw()).Stream;
  const UINT64 Rounds = Run.Case.Number("rounds");
  const UINT64 Count = Run.Case.Number("count");
  std::vector<std::vector<UINT8>> Checkpoints;
  for (UINT64 Index = 0; Index < Count; ++Index) {
    Checkpoints.push_back(Run.Case.Hex("md." + std::to_string(Index)));
  }
  std::vector<UINT8> Seed = Run.Case.Hex("seed");
  if (Stream.First == 0 || Seed.size() != Algorithm.DigestSize) {
    Run.Case.Refuse("seed", "not of the length of a digest with streaming services");
  }
  if (!Run.Size(Stream.First, Stream.GetContextSize(), Stream.ContextSize)) {
    return;
  }
  CHAIN Chain = {Stream, std::vector<UINT8>(Stream.ContextSize), std::vector<UINT8>(3 * Seed.size())};
  for (UINTN Index = 0; Index < Checkpoints.size(); ++Index) {
    if (!Advance(Run, Chain, Seed, Rounds)) {
      return;
    }
    // The gate has seen a thousand rounds by then; the rest of the hundred thousand calls would only cost its
    // time.
    Chain.Stream = Unchecked;
    Seed.assign(Chain.Words.end() - static_cast<INTN>(Seed.size()), Chain.Words.end());
    if (Seed != Checkpoints[Index]) {
      Run.Equal("md." + std::to_string(Index), Seed, Checkpoints[Index]);
      return;
    }
  }
}

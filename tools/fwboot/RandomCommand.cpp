// "random": bytes from the driver's generator, in hex.
#include <algorithm>
#include <memory>

#include <fmt/core.h>

#include "tools/fwboot/Commands.h"
#include "tools/fwboot/Hex.h"
#include "tools/fwboot/InputFile.h"
#include "tools/vectors/InputBytes.h"

namespace {

constexpr UINT64 mLineBytes = 32;

struct RANDOM_OPTIONS {
  UINT64 Count = 0;
  std::string SeedPath;
};

int RunRandom(const GLOBAL_OPTIONS &Options, const RANDOM_OPTIONS &Own) {
  const std::vector<UINT8> Seed = Own.SeedPath.empty() ? std::vector<UINT8>() : ReadInput(Own.SeedPath);
  DriverSession Session(Options.Session());
  RequireServices(Session);
  const CRYPTO_SERVICES_PROTOCOL &Services = Session.Services();
  if (!Own.SeedPath.empty() && !Services.SvcRandomSeed(InputBytes(Seed), Seed.size())) {
    PrintError(Own.SeedPath + ": SvcRandomSeed answers FALSE: without a source in the processor it takes 32 "
                              "bytes to make the generator ready");
    return mExitCheckFailed;
  }
  for (UINT64 Left = Own.Count; Left != 0;) {
    std::vector<UINT8> Line(std::min(Left, mLineBytes));
    if (!Services.SvcRandomBytes(Line.data(), Line.size())) {
      PrintError("SvcRandomBytes answers FALSE: the processor has no random numbers, and nothing seeded the "
                 "generator; --seed-file does");
      return mExitCheckFailed;
    }
    fmt::print("{}\n", HexText(Line));
    Left -= Line.size();
  }
  return mExitFine;
}

} // namespace

COMMAND_ACTION DeclareRandom(CLI::App &App) {
  auto Own = std::make_shared<RANDOM_OPTIONS>();
  App.add_option("COUNT", Own->Count, "How many bytes")->required()->check(CLI::Range(1, 0x7FFFFFFF));
  App.add_option("--seed-file", Own->SeedPath, "A file whose bytes go to SvcRandomSeed before the first draw")
      ->type_name("FILE");
  return [Own](const GLOBAL_OPTIONS &Options) { return RunRandom(Options, *Own); };
}

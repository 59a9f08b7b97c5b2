// "vectors": files of test vectors against the booted driver.
#include <memory>
#include <string>
#include <vector>

#include <fmt/core.h>

#include "tools/fwboot/Commands.h"
#include "tools/fwboot/ProgressBar.h"
#include "tools/vectors/Families.h"
#include "tools/vectors/VectorRunner.h"

namespace {

struct VECTORS_OPTIONS {
  std::vector<std::string> Paths;
  std::string IdPart;
  bool Slow = false;
};

int RunVectorsCommand(const GLOBAL_OPTIONS &Options, const VECTORS_OPTIONS &Own) {
  // All files are looked at first, so that a bad one is told before a good one has taken its time.
  std::vector<VectorFile> Files;
  for (const std::string &Path : Own.Paths) {
    Files.push_back(VectorFile::Read(Path));
    CheckVectors(Files.back());
  }
  UINTN Passed = 0;
  UINTN Failed = 0;
  UINTN Skipped = 0;
  for (const VectorFile &File : Files) {
    ProgressBar Bar(File.Name);
    VectorOptions Run;
    Run.Session = Options.Session();
    Run.IdPart = Own.IdPart;
    Run.Slow = Own.Slow;
    Run.Progress = [&](UINTN Done, UINTN Total) { Bar.Show(Done, Total); };
    const VectorResult Result = RunVectors(File, Run);
    Bar.Clear();
    for (const std::string &Failure : Result.Failures) {
      fmt::print("{}\n", Failure);
    }
    for (const std::string &Place : Result.Skipped) {
      fmt::print("{}: skipped, as it is slow; --slow runs it\n", Place);
    }
    Passed += Result.Passed;
    Failed += Result.Failed;
    Skipped += Result.Skipped.size();
  }
  if (Passed + Failed + Skipped == 0) {
    throw InputError("no case has \"" + Own.IdPart + "\" in its id");
  }
  fmt::print("{} passed, {} failed{}\n", Passed, Failed,
             Skipped == 0 ? "" : ", " + std::to_string(Skipped) + " skipped");
  return Failed == 0 ? mExitFine : mExitCheckFailed;
}

} // namespace

COMMAND_ACTION DeclareVectors(CLI::App &App) {
  auto Own = std::make_shared<VECTORS_OPTIONS>();
  App.add_option("FILE", Own->Paths, "Vector files")->required();
  App.add_option("--id", Own->IdPart, "Run only the cases whose id contains this text")->type_name("TEXT");
  App.add_flag("--slow", Own->Slow, "Run the cases that take long, too");
  App.footer("Families: " + VectorFamilyNames());
  return [Own](const GLOBAL_OPTIONS &Options) { return RunVectorsCommand(Options, *Own); };
}

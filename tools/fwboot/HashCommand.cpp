// "hash": digests of files, line for line as the sum tools print them.
#include <memory>
#include <string>
#include <vector>

#include <fmt/core.h>

#include "tools/fwboot/Commands.h"
#include "tools/fwboot/FileDigest.h"

namespace {

struct HASH_OPTIONS {
  std::string Algorithm;
  std::vector<std::string> Paths;
};

int RunHashCommand(const GLOBAL_OPTIONS &Options, const HASH_OPTIONS &Own) {
  DriverSession Session(Options.Session());
  RequireServices(Session);
  int Code = mExitFine;
  for (const FILE_DIGEST_ALGORITHM &Algorithm : FileDigestAlgorithms()) {
    if (Own.Algorithm != Algorithm.Name) {
      continue;
    }
    for (const std::string &Path : Own.Paths) {
      const FileDigest Digest = HashFile(Session, Algorithm, Path);
      if (Digest.Refusal.empty()) {
        fmt::print("{}\n", SumLine(Digest.Hex, Path));
      } else {
        PrintError(Path + ": " + Digest.Refusal);
        Code = mExitCheckFailed;
      }
    }
  }
  return Code;
}

} // namespace

COMMAND_ACTION DeclareHash(CLI::App &App) {
  auto Own = std::make_shared<HASH_OPTIONS>();
  std::vector<std::string> Names;
  for (const FILE_DIGEST_ALGORITHM &Algorithm : FileDigestAlgorithms()) {
    Names.push_back(Algorithm.Name);
  }
  App.add_option("ALGORITHM", Own->Algorithm, "The digest")->required()->check(CLI::IsMember(Names));
  App.add_option("FILE", Own->Paths, "Files to hash; - is the standard input")->required();
  App.footer("SHA goes through the streaming services in chunks, MD5 through SvcHashAll at once, with the "
             "whole file in\n"
             "memory. SvcHashAll takes no empty message: for an empty file it answers EFI_INVALID_PARAMETER, "
             "which is\n"
             "told on the error stream, and the exit code is 1.");
  return [Own](const GLOBAL_OPTIONS &Options) { return RunHashCommand(Options, *Own); };
}

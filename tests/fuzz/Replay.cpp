// Runs every file of the corpus through its target: CORPUS/TARGET/FILE. A target fails when none of its files
// is taken as a good one: the fuzzer would start outside. The last line is "N passed, N failed"; a broken
// promise ends the program before.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "simulator/DriverCall.h"
#include "tests/fuzz/FuzzTargets.h"

namespace fs = std::filesystem;

int main(int Count, char **Arguments) {
  RestartWithoutHostAvx(Arguments);
  if (Count != 2) {
    std::fprintf(stderr, "usage: %s CORPUS\n", Arguments[0]);
    return 2;
  }
  size_t Passed = 0;
  size_t Failed = 0;
  for (const FUZZ_TARGET &Target : FuzzTargets()) {
    std::vector<fs::path> Files;
    const fs::path Folder = fs::path(Arguments[1]) / Target.Name;
    if (fs::is_directory(Folder)) {
      std::copy(fs::directory_iterator(Folder), fs::directory_iterator(), std::back_inserter(Files));
    }
    bool AnyGood = false;
    for (const fs::path &Path : Files) {
      std::ifstream Stream(Path, std::ios::binary);
      const std::vector<UINT8> Input(std::istreambuf_iterator<char>(Stream), {});
      // Told before, because a broken promise does not come back.
      std::printf("%s %s\n", Target.Name, Path.filename().c_str());
      std::fflush(stdout);
      AnyGood |= RunFuzzTarget(Target, Input);
      ++Passed;
    }
    if (!AnyGood) {
      std::printf("FAIL: no good input in %s\n", Folder.c_str());
      ++Failed;
    }
  }
  std::printf("%zu passed, %zu failed\n", Passed, Failed);
  return Failed == 0 ? 0 : 1;
}

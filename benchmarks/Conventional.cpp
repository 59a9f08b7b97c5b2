// The bare library's side of all work once more, with the conventional library: C alone, on the host's C
// library. Run by the report, which talks to it over standard input and output.
#include <cstdio>
#include <exception>

#include <unistd.h>

#include "benchmarks/Worker.h"
#include "benchmarks/work/Material.h"

int main(int Count, char **Arguments) {
  if (Count != 2) {
    std::fprintf(stderr, "bench_conventional: run by bench_report\n");
    return 2;
  }
  try {
    UseMaterial(Arguments[1]);
    const std::vector<WORK> Works = AllWorks();
    Serve(STDIN_FILENO, STDOUT_FILENO, Works,
          [](const WORK &Work, UINTN Size, bool) { return Work.Bare(Size); });
  } catch (const std::exception &Error) {
    std::fprintf(stderr, "bench_conventional: %s\n", Error.what());
    return 2;
  }
  return 0;
}

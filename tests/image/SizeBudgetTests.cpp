// The image stays within the sizes of size-budget.txt, as it is and as a packed firmware volume would hold
// it.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>

#include "tests/support/DriverTest.h"

namespace {

UINTN PackedSize(const std::string &Path) {
  const std::unique_ptr<FILE, int (*)(FILE *)> Pipe(popen(("xz -9e -c '" + Path + "' | wc -c").c_str(), "r"),
                                                    pclose);
  UINTN Size = 0;
  return Pipe && fscanf(Pipe.get(), "%lu", &Size) == 1 ? Size : 0;
}

TEST(SizeBudget, HoldsTheImage) {
  std::ifstream Budget(SOURCE_ROOT "/tests/image/size-budget.txt");
  UINTN Lines = 0;
  std::string Name;
  for (UINTN Most; Budget >> Name >> Most; Lines++) {
    const UINTN Size =
        Name == "image" ? std::filesystem::file_size(TestedImage()) : PackedSize(TestedImage());
    EXPECT_GT(Size, Most / 2) << Name << ": the budget is far too wide, or nothing was measured";
    EXPECT_LE(Size, Most) << Name;
  }
  EXPECT_EQ(Lines, 2U);
}

} // namespace

// The direction of includes in the tree: families know the platform layer and
// the core's types, those know the platform definitions, and nobody looks back.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

// Where a file of Folder may include from, beside its own folder and the public header.
struct Rule {
  const char *Folder;
  std::vector<std::string> May;
};

const std::vector<Rule> mRules = {
    {"include", {}},
    {"uefi", {}},
    {"driver/core", {"driver", "uefi"}},
    {"driver/platform", {"driver/core/DriverContext.h", "uefi"}},
    {"driver/runtime", {"driver/core/DriverContext.h", "driver/platform", "uefi"}},
    {"driver/digest", {"driver/platform", "driver/runtime", "uefi"}},
    {"driver/cipher", {"driver/platform", "driver/runtime", "uefi"}},
    {"driver/encoding", {"driver/digest", "driver/platform", "driver/runtime", "uefi"}},
    {"driver/pubkey", {"driver/platform", "driver/runtime", "uefi"}},
    {"driver/trust",
     {"driver/core/DriverContext.h", "driver/digest", "driver/platform", "driver/pubkey", "driver/runtime",
      "uefi"}},
    {"driver/policy", {"driver/core/DriverContext.h", "driver/platform", "uefi"}},
    {"simulator", {"uefi"}},
    {"tools", {"simulator", "tools", "uefi"}},
    {"benchmarks", {"driver/trust/FirmwareImage.h", "simulator", "tools", "uefi"}},
    {"tests/layout", {"tests", "uefi"}},
    {"tests/simulator", {"simulator", "tests", "uefi"}},
    {"tests/services", {"simulator", "tests", "tools", "uefi"}},
    {"tests/image", {"simulator", "tests", "tools", "uefi"}},
    {"tests/vectors", {"simulator", "tests", "tools", "uefi"}},
    {"tests/support", {"simulator", "tests", "tools", "uefi"}},
    {"tests/units", {"driver", "simulator", "tests", "tools", "uefi"}},
    {"tests/fuzz", {"driver", "simulator", "tests", "tools", "uefi"}},
};

bool Under(const std::string &Path, const std::string &Folder) {
  return Path == Folder || Path.rfind(Folder + "/", 0) == 0;
}

const Rule *RuleFor(const std::string &Path) {
  for (const Rule &Row : mRules) {
    if (Under(Path, Row.Folder)) {
      return &Row;
    }
  }
  return nullptr;
}

bool Allowed(const Rule &Row, const std::string &Included) {
  if (Under(Included, Row.Folder)) {
    return true;
  }
  for (const std::string &Folder : Row.May) {
    if (Under(Included, Folder)) {
      return true;
    }
  }
  return false;
}

TEST(Includes, FollowTheDirectionOfTheHouse) {
  const fs::path Root = SOURCE_ROOT;
  const std::set<std::string> Top = {"benchmarks", "driver", "include", "simulator",
                                     "tests",      "tools",  "uefi"};
  const std::regex Include("^\\s*#\\s*include\\s+\"([^\"]+)\"");
  unsigned Checked = 0;
  for (const std::string &Folder : Top) {
    if (!fs::exists(Root / Folder)) {
      continue;
    }
    for (const auto &Entry : fs::recursive_directory_iterator(Root / Folder)) {
      const std::string Extension = Entry.path().extension();
      if (Extension != ".h" && Extension != ".cpp" && Extension != ".c") {
        continue;
      }
      const std::string Path = fs::relative(Entry.path(), Root);
      if (Under(Path, "driver/runtime/include")) {
        continue; // the C headers of the crypto library
      }
      const Rule *Row = RuleFor(Path);
      ASSERT_NE(Row, nullptr) << Path << " lies in a folder without a rule";
      std::ifstream Stream(Entry.path());
      std::smatch Match;
      for (std::string Line; std::getline(Stream, Line);) {
        if (!std::regex_search(Line, Match, Include)) {
          continue;
        }
        const std::string Included = Match[1];
        // The public header, and headers of the crypto library in the driver, are no folders of this tree.
        if (Top.count(Included.substr(0, Included.find('/'))) == 0) {
          continue;
        }
        EXPECT_TRUE(Allowed(*Row, Included)) << Path << " includes " << Included;
        EXPECT_TRUE(fs::exists(Root / Included)) << Path << " includes " << Included;
        Checked++;
      }
    }
  }
  EXPECT_GT(Checked, 100U);
}

} // namespace

// The linker's map names the object of every symbol; what lies between one symbol and the next is the first
// one's.
#include "benchmarks/ImageSize.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <vector>

#include <fmt/core.h>

#include "simulator/PeLoader.h"

namespace {

constexpr UINTN mShown = 25;

struct PLACE {
  UINT64 Address;
  std::string Object;
};

// " 0001:00000000   symbol   0000000140001000   library:object"
std::vector<PLACE> ReadMap(const std::string &Path) {
  std::ifstream Map(Path);
  if (!Map) {
    throw std::runtime_error("no link map " + Path);
  }
  std::vector<PLACE> Places;
  for (std::string Line; std::getline(Map, Line);) {
    std::istringstream Fields(Line);
    std::string Offset;
    std::string Symbol;
    std::string Address;
    std::string Object;
    if (Fields >> Offset >> Symbol >> Address >> Object && Offset.size() == 13 && Offset[4] == ':' &&
        Address.size() == 16 && Address.find_first_not_of("0123456789abcdef") == std::string::npos) {
      Places.push_back({std::stoull(Address, nullptr, 16), Object});
    }
  }
  std::stable_sort(Places.begin(), Places.end(),
                   [](const PLACE &First, const PLACE &Second) { return First.Address < Second.Address; });
  return Places;
}

// Bytes by object. Preferred is the address that the map counts from.
std::map<std::string, UINT64> Contributions(const std::vector<PLACE> &Places, const ImageHeaders &Headers) {
  std::map<std::string, UINT64> Sizes;
  for (const ImageSection &Section : Headers.Sections) {
    const UINT64 Begin = Headers.PreferredBase + Section.Rva;
    const UINT64 End = Begin + Section.Size;
    for (size_t Index = 0; Index < Places.size(); ++Index) {
      if (Places[Index].Address >= Begin && Places[Index].Address < End) {
        const UINT64 Next = Index + 1 < Places.size() ? std::min(Places[Index + 1].Address, End) : End;
        Sizes[Places[Index].Object] += Next - Places[Index].Address;
      }
    }
  }
  return Sizes;
}

// Bytes of the image as xz packs it; 0 when there is no xz.
UINTN PackedSize(const std::string &ImagePath) {
  const std::string Command = "xz -9e -c '" + ImagePath + "' 2> /dev/null | wc -c";
  const std::unique_ptr<FILE, int (*)(FILE *)> Pipe(popen(Command.c_str(), "r"), pclose);
  UINTN Size = 0;
  return Pipe && fscanf(Pipe.get(), "%lu", &Size) == 1 ? Size : 0;
}

std::map<std::string, UINTN> ReadBudget(const std::string &Path) {
  std::ifstream File(Path);
  std::map<std::string, UINTN> Budget;
  for (std::string Line; std::getline(File, Line);) {
    std::istringstream Fields(Line);
    std::string Name;
    UINTN Most;
    if (Fields >> Name >> Most) {
      Budget[Name] = Most;
    }
  }
  if (Budget.empty()) {
    throw std::runtime_error("no size budget " + Path);
  }
  return Budget;
}

std::string SectionTable(const LoadedImage &Loaded, UINTN Packed, const std::map<std::string, UINTN> &Budget,
                         FINDINGS *Findings) {
  std::string Text = "| Part | Bytes | Budget |\n|---|--:|--:|\n";
  const auto Row = [&](const std::string &Name, UINTN Size) {
    const auto Most = Budget.find(Name);
    Text += fmt::format("| {} | {} | {} |\n", Name, Size,
                        Most != Budget.end() ? std::to_string(Most->second) : "");
    if (Most != Budget.end() && Size != 0) {
      Findings->push_back({"Size of the " + Name + ", bytes", fmt::format("≤ {}", Most->second),
                           std::to_string(Size), Size <= Most->second});
    }
  };
  Row("image", Loaded.File().size());
  Row("image.xz", Packed);
  for (const ImageSection &Section : Loaded.Sections()) {
    Row(Section.Name, Section.Size);
  }
  return Text;
}

} // namespace

std::string ImageSizeTables(const std::string &ImagePath, const std::string &BudgetPath, FINDINGS *Findings) {
  const LoadedImage Loaded(ImagePath);
  std::string Text = SectionTable(Loaded, PackedSize(ImagePath), ReadBudget(BudgetPath), Findings) +
                     "\n| Contributor | Bytes |\n|---|--:|\n";
  const auto Sizes =
      Contributions(ReadMap(ImagePath.substr(0, ImagePath.rfind('.')) + ".map"), Loaded.Headers());
  UINT64 Library = 0;
  UINT64 Driver = 0;
  std::vector<std::pair<UINT64, std::string>> Largest;
  for (const auto &[Object, Size] : Sizes) {
    (Object.starts_with("libcrypto:") ? Library : Driver) += Size;
    Largest.push_back({Size, Object});
  }
  std::sort(Largest.rbegin(), Largest.rend());
  Text += fmt::format("| libcrypto, {} objects | {} |\n| driver/ | {} |\n",
                      std::count_if(Largest.begin(), Largest.end(),
                                    [](const auto &Entry) { return Entry.second.starts_with("libcrypto:"); }),
                      Library, Driver);
  for (size_t Index = 0; Index < std::min<size_t>(mShown, Largest.size()); ++Index) {
    Text += fmt::format("| `{}` | {} |\n", Largest[Index].second, Largest[Index].first);
  }
  return Text;
}

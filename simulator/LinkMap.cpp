// Parses lld-link's map text and the ELF symbol table of this process. Must not fail on lines it does not
// know.
#include "simulator/LinkMap.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

#include <elf.h>
#include <link.h>

namespace {

template <typename T> std::optional<T> Take(const std::vector<char> &File, UINT64 Offset) {
  if (Offset > File.size() || File.size() - Offset < sizeof(T)) {
    return std::nullopt;
  }
  T Value;
  std::memcpy(&Value, File.data() + Offset, sizeof(T));
  return Value;
}

std::string Text(const std::vector<char> &File, UINT64 Offset) {
  if (Offset >= File.size()) {
    return {};
  }
  return std::string(File.data() + Offset, strnlen(File.data() + Offset, File.size() - Offset));
}

} // namespace

void LinkMap::Add(UINT64 Rva, UINT64 Size, std::string Name) {
  Symbols_.push_back({Rva, Size, std::move(Name)});
}

void LinkMap::Finish() {
  std::stable_sort(Symbols_.begin(), Symbols_.end(),
                   [](const Symbol &Left, const Symbol &Right) { return Left.Rva < Right.Rva; });
  for (auto Each = Symbols_.begin(); Each != Symbols_.end(); ++Each) {
    const auto Next =
        std::find_if(Each, Symbols_.end(), [&](const Symbol &Other) { return Other.Rva > Each->Rva; });
    if (Each->Size == 0 && Next != Symbols_.end()) {
      Each->Size = Next->Rva - Each->Rva;
    }
  }
}

LinkMap LinkMap::OfImage(const std::string &MapPath) {
  LinkMap Map;
  std::ifstream Stream(MapPath);
  unsigned long long Base = 0;
  std::string Line;
  while (std::getline(Stream, Line)) {
    unsigned Section = 0;
    unsigned long long Offset = 0;
    unsigned long long Address = 0;
    char Name[1024];
    if (std::sscanf(Line.c_str(), " Preferred load address is %llx", &Address) == 1) {
      Base = Address;
    } else if (std::sscanf(Line.c_str(), " entry point at %x:%llx", &Section, &Offset) == 2) {
      Map.Entry_ = EntryNote{Section, Offset};
    } else if (std::sscanf(Line.c_str(), " %4x:%8llx %1023s %16llx", &Section, &Offset, Name, &Address) ==
                   4 &&
               Section != 0 && Address >= Base) {
      Map.Add(Address - Base, 0, Name);
    }
  }
  Map.Finish();
  return Map;
}

std::shared_ptr<const LinkMap> LinkMap::OfProcess() {
  static const std::shared_ptr<const LinkMap> Known = [] {
    LinkMap Map;
    std::ifstream Stream("/proc/self/exe", std::ios::binary);
    std::vector<char> File(std::filesystem::file_size("/proc/self/exe"));
    Stream.read(File.data(), static_cast<std::streamsize>(File.size()));
    const auto Header = Take<Elf64_Ehdr>(File, 0);
    for (UINT64 Index = 0; Header && Index < Header->e_shnum; ++Index) {
      const auto Table = Take<Elf64_Shdr>(File, Header->e_shoff + Index * sizeof(Elf64_Shdr));
      if (!Table || Table->sh_type != SHT_SYMTAB) {
        continue;
      }
      const auto Strings = Take<Elf64_Shdr>(File, Header->e_shoff + Table->sh_link * sizeof(Elf64_Shdr));
      for (UINT64 Offset = 0; Strings && Offset < Table->sh_size; Offset += sizeof(Elf64_Sym)) {
        const auto Each = Take<Elf64_Sym>(File, Table->sh_offset + Offset);
        const int Type = Each ? ELF64_ST_TYPE(Each->st_info) : STT_NOTYPE;
        if ((Type == STT_FUNC || Type == STT_OBJECT) && Each->st_shndx != SHN_UNDEF) {
          Map.Add(Each->st_value, Each->st_size, Text(File, Strings->sh_offset + Each->st_name));
        }
      }
    }
    Map.Finish();
    return std::make_shared<const LinkMap>(std::move(Map));
  }();
  return Known;
}

UINT64 LinkMap::ProcessBase() {
  UINT64 Base = 0;
  dl_iterate_phdr(
      [](dl_phdr_info *Information, size_t, void *Result) {
        *static_cast<UINT64 *>(Result) = Information->dlpi_addr;
        return 1; // The first one is the program itself.
      },
      &Base);
  return Base;
}

std::optional<LinkMap::Symbol> LinkMap::Find(const std::string &Name) const {
  const auto Place =
      std::find_if(Symbols_.begin(), Symbols_.end(), [&](const Symbol &Each) { return Each.Name == Name; });
  return Place == Symbols_.end() ? std::nullopt : std::optional<Symbol>(*Place);
}

std::string LinkMap::Describe(UINT64 Rva) const {
  auto Place = std::upper_bound(Symbols_.begin(), Symbols_.end(), Rva,
                                [](UINT64 Value, const Symbol &Each) { return Value < Each.Rva; });
  if (Place == Symbols_.begin()) {
    return {};
  }
  --Place;
  char Distance[24];
  std::snprintf(Distance, sizeof(Distance), "+0x%llx", static_cast<unsigned long long>(Rva - Place->Rva));
  return Place->Name + Distance;
}

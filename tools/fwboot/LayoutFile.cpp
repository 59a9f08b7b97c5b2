// A descriptor is taken as it is written: whether it fits an image is the driver's to find out.
#include "tools/fwboot/LayoutFile.h"

#include <charconv>
#include <optional>
#include <set>
#include <sstream>
#include <vector>

#include "tools/fwboot/Command.h"

namespace {

struct LAYOUT_FIELD {
  const char *Name;
  UINT64 IMAGE_LAYOUT_DESCRIPTOR::*Offset;
  UINT64 IMAGE_LAYOUT_DESCRIPTOR::*Size; // NULL for a field of one number
};

constexpr LAYOUT_FIELD mFields[] = {
    {"exclude1", &IMAGE_LAYOUT_DESCRIPTOR::ExcludedRegion1Offset,
     &IMAGE_LAYOUT_DESCRIPTOR::ExcludedRegion1Size},
    {"exclude2", &IMAGE_LAYOUT_DESCRIPTOR::ExcludedRegion2Offset,
     &IMAGE_LAYOUT_DESCRIPTOR::ExcludedRegion2Size},
    {"exclude3", &IMAGE_LAYOUT_DESCRIPTOR::ExcludedRegion3Offset,
     &IMAGE_LAYOUT_DESCRIPTOR::ExcludedRegion3Size},
    {"block", &IMAGE_LAYOUT_DESCRIPTOR::SignatureBlockOffset, nullptr},
    {"second", &IMAGE_LAYOUT_DESCRIPTOR::SecondSignatureBlockOffset, nullptr},
};

std::optional<UINT64> NumberOf(const std::string &Text) {
  const bool Hex = Text.starts_with("0x") || Text.starts_with("0X");
  const char *First = Text.data() + (Hex ? 2 : 0);
  const char *End = Text.data() + Text.size();
  UINT64 Value = 0;
  const auto [Place, Error] = std::from_chars(First, End, Value, Hex ? 16 : 10);
  return Error == std::errc() && Place == End && First != End ? std::optional(Value) : std::nullopt;
}

} // namespace

IMAGE_LAYOUT_DESCRIPTOR ParseLayout(const std::string &Name, const std::string &Text) {
  IMAGE_LAYOUT_DESCRIPTOR Layout = {};
  Layout.SecondSignatureBlockOffset = IMAGE_LAYOUT_NO_SECOND_BLOCK;
  std::set<std::string> Seen;
  std::istringstream Lines(Text);
  UINTN Number = 0;
  for (std::string Line; std::getline(Lines, Line);) {
    ++Number;
    const auto Refuse = [&](const std::string &Reason) {
      throw InputError(Name + ":" + std::to_string(Number) + ": " + Reason);
    };
    std::istringstream Words(Line.substr(0, Line.find('#')));
    std::string Field;
    std::string Equals;
    if (!(Words >> Field)) {
      continue;
    }
    std::vector<UINT64> Values;
    Words >> Equals;
    for (std::string Word; Words >> Word;) {
      const std::optional<UINT64> Value = NumberOf(Word);
      if (!Value) {
        Refuse("\"" + Word + "\" is no 64-bit number");
      }
      Values.push_back(*Value);
    }
    const LAYOUT_FIELD *Known = nullptr;
    for (const LAYOUT_FIELD &Each : mFields) {
      Known = Field == Each.Name ? &Each : Known;
    }
    if (Known == nullptr || Equals != "=" || Values.size() != (Known->Size != nullptr ? 2U : 1U)) {
      Refuse("not \"exclude1..3 = OFFSET SIZE\", \"block = OFFSET\" or \"second = OFFSET\"");
    }
    if (!Seen.insert(Field).second) {
      Refuse("\"" + Field + "\" comes twice");
    }
    Layout.*Known->Offset = Values[0];
    if (Known->Size != nullptr) {
      Layout.*Known->Size = Values[1];
    }
  }
  if (Seen.count("block") == 0) {
    throw InputError(Name + ": no \"block = OFFSET\"");
  }
  return Layout;
}

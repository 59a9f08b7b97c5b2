// The parser and the store of HII package lists. Everything is read byte by byte: packages carry no
// alignment.
#include "simulator/HiiStore.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr UINTN mListHeaderSize = 20;
constexpr UINTN mPackageHeaderSize = 4;
constexpr UINTN mLanguageOffset = 46;
constexpr UINTN mLongestList = UINTN{16} << 20;

// A stretch of bytes read from the front. A read beyond the end gives zeros and leaves Failed set.
class ByteReader {
public:
  ByteReader(const UINT8 *Start, UINTN Size) : At_(Start), Left_(Size) {}

  UINT64 Number(UINTN Width) {
    UINT64 Value = 0;
    if (Failed_ || Width > Left_) {
      Failed_ = true;
      return 0;
    }
    std::memcpy(&Value, At_, Width);
    At_ += Width;
    Left_ -= Width;
    return Value;
  }

  std::u16string Text() {
    std::u16string Value;
    while (CHAR16 Unit = static_cast<CHAR16>(Number(2))) {
      Value += Unit;
    }
    return Value;
  }

  bool Failed() const { return Failed_; }
  UINTN Left() const { return Left_; }

private:
  const UINT8 *At_;
  UINTN Left_;
  bool Failed_ = false;
};

// Reads the string blocks into Package. Gives the reason of a refusal, or an empty text.
std::string ReadBlocks(ByteReader Blocks, HiiStore::StringPackage &Package) {
  UINTN Id = 1;
  std::vector<std::pair<EFI_STRING_ID, EFI_STRING_ID>> Duplicates;
  for (;;) {
    const auto Type = static_cast<UINT8>(Blocks.Number(1));
    UINTN Texts = 0;
    if (Blocks.Failed()) {
      return "string blocks without an end";
    }
    switch (Type) {
    case EFI_HII_SIBT_END:
      for (const auto &[Alias, Original] : Duplicates) {
        if (Package.Texts.count(Original) == 0) {
          return "a duplicate of a string that is not there";
        }
        Package.Texts[Alias] = Package.Texts[Original];
      }
      return Blocks.Left() != 0 ? "bytes behind the last string block" : "";
    case EFI_HII_SIBT_STRING_UCS2:
      Texts = 1;
      break;
    case EFI_HII_SIBT_STRINGS_UCS2:
      Texts = Blocks.Number(2);
      break;
    case EFI_HII_SIBT_DUPLICATE:
      Duplicates.emplace_back(static_cast<EFI_STRING_ID>(Id), static_cast<EFI_STRING_ID>(Blocks.Number(2)));
      Id += 1;
      break;
    case EFI_HII_SIBT_SKIP1:
      Id += Blocks.Number(1);
      break;
    case EFI_HII_SIBT_SKIP2:
      Id += Blocks.Number(2);
      break;
    default:
      return "an unknown string block of type " + std::to_string(Type);
    }
    for (; Texts != 0 && !Blocks.Failed(); --Texts) {
      Package.Texts[static_cast<EFI_STRING_ID>(Id)] = Blocks.Text();
      Id += 1;
    }
    if (Blocks.Failed()) {
      return "a string block that is cut off";
    }
    if (Id > 0x10000) {
      return "more strings than identifiers";
    }
  }
}

std::string ReadStringPackage(const UINT8 *Start, UINTN Size, HiiStore::StringPackage &Package) {
  if (Size <= mLanguageOffset) {
    return "a string package shorter than its header";
  }
  ByteReader Header(Start + mPackageHeaderSize, Size - mPackageHeaderSize);
  const UINTN HeaderSize = Header.Number(4);
  const UINTN BlocksOffset = Header.Number(4);
  if (HeaderSize <= mLanguageOffset || HeaderSize > BlocksOffset || BlocksOffset >= Size) {
    return "a string package whose header does not fit";
  }
  const auto *Language = reinterpret_cast<const CHAR8 *>(Start + mLanguageOffset);
  const UINTN Longest = HeaderSize - mLanguageOffset;
  const UINTN Length = strnlen(Language, Longest);
  if (Length == 0 || Length == Longest) {
    return "a string package without a language";
  }
  Package.Language.assign(Language, Length);
  if (std::string Why = ReadBlocks({Start + BlocksOffset, Size - BlocksOffset}, Package); !Why.empty()) {
    return Why;
  }
  UINT16 LanguageName = 0;
  std::memcpy(&LanguageName, Start + mLanguageOffset - sizeof(LanguageName), sizeof(LanguageName));
  return Package.Texts.count(LanguageName) == 0 ? "a language name that is not among the strings" : "";
}

bool IsPackageType(UINT8 Type) {
  return (Type >= EFI_HII_PACKAGE_TYPE_GUID && Type <= EFI_HII_PACKAGE_ANIMATIONS && Type != 0x03) ||
         Type >= EFI_HII_PACKAGE_TYPE_SYSTEM_BEGIN;
}

// Takes the packages of List.Bytes apart. Gives the reason of a refusal, or an empty text.
std::string ReadPackages(HiiStore::PackageList &List) {
  const UINT8 *At = List.Bytes.data() + mListHeaderSize;
  UINTN Left = List.Bytes.size() - mListHeaderSize;
  for (;;) {
    const UINTN Size = ByteReader(At, Left).Number(3);
    if (Left < mPackageHeaderSize || Size < mPackageHeaderSize || Size > Left) {
      return "a package that does not fit into the list, or no end package";
    }
    const UINT8 Type = At[3];
    if (Type == EFI_HII_PACKAGE_END) {
      return Size != mPackageHeaderSize || Left != Size ? "an end package that is not the end" : "";
    }
    if (!IsPackageType(Type)) {
      return "a package of the unknown type " + std::to_string(Type);
    }
    List.Types.push_back(Type);
    if (Type == EFI_HII_PACKAGE_TYPE_GUID) {
      if (Size < mPackageHeaderSize + sizeof(EFI_GUID)) {
        return "a GUID package without its GUID";
      }
      std::memcpy(&List.PackageGuids.emplace_back(), At + mPackageHeaderSize, sizeof(EFI_GUID));
    }
    if (Type == EFI_HII_PACKAGE_STRINGS) {
      if (std::string Why = ReadStringPackage(At, Size, List.Strings.emplace_back()); !Why.empty()) {
        return Why;
      }
    }
    At += Size;
    Left -= Size;
  }
}

} // namespace

std::string HiiStore::PackageList::Languages() const {
  std::vector<std::string> Tags;
  for (const StringPackage &Package : Strings) {
    if (std::find(Tags.begin(), Tags.end(), Package.Language) == Tags.end()) {
      Tags.push_back(Package.Language);
    }
  }
  std::string Joined;
  for (const std::string &Tag : Tags) {
    Joined += Joined.empty() ? Tag : ";" + Tag;
  }
  return Joined;
}

EFI_HII_HANDLE HiiStore::Add(const VOID *List, std::string &Why) {
  const auto *Start = static_cast<const UINT8 *>(List);
  const UINTN Size = ByteReader(Start + sizeof(EFI_GUID), sizeof(UINT32)).Number(4);
  if (Size < mListHeaderSize + mPackageHeaderSize || Size > mLongestList) {
    Why = "a list of " + std::to_string(Size) + " bytes";
    return nullptr;
  }
  auto Fresh = std::make_unique<PackageList>();
  Fresh->Bytes.assign(Start, Start + Size);
  Why = ReadPackages(*Fresh);
  if (!Why.empty()) {
    return nullptr;
  }
  Lists_.push_back(std::move(Fresh));
  return Lists_.back().get();
}

const HiiStore::PackageList *HiiStore::Find(EFI_HII_HANDLE Handle) const {
  for (const auto &List : Lists_) {
    if (List.get() == Handle) {
      return List.get();
    }
  }
  return nullptr;
}

std::vector<EFI_HII_HANDLE> HiiStore::Handles() const {
  std::vector<EFI_HII_HANDLE> All;
  for (const auto &List : Lists_) {
    All.push_back(List.get());
  }
  return All;
}

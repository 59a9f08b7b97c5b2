// Lays the table of texts out as HII string packages (UEFI 2.10, section
// 33.3.6) while compiling: the image holds the finished bytes alone.
#include "driver/policy/MessagePackages.h"

#include "driver/policy/MessageTexts.h"

namespace {

constexpr UINT32 LengthPrefixSize = sizeof(UINT32);
constexpr UINT32 LanguageWindowSize = sizeof(EFI_HII_STRING_PACKAGE_HDR::LanguageWindow);
constexpr UINT32 TagSize = sizeof(MESSAGE_LANGUAGE::Tag);
// The structure's own size counts padding and one byte of the tag.
constexpr UINT32 HeaderSize = offsetof(EFI_HII_STRING_PACKAGE_HDR, Language) + TagSize;

static_assert(HeaderSize == 52);
static_assert(MessageUnknownViolation == mMessageTextCount);

consteval UINT32 PackageSize(const MESSAGE_LANGUAGE &Language) {
  UINT32 Size = HeaderSize + 1;
  for (const CHAR16 *Text : Language.Texts) {
    Size += 1 + sizeof(CHAR16);
    for (; *Text != 0; Text++) {
      Size += sizeof(CHAR16);
    }
  }
  return Size;
}

consteval UINT32 ArraySize() {
  UINT32 Size = LengthPrefixSize;
  for (const MESSAGE_LANGUAGE &Language : mMessageLanguages) {
    Size += PackageSize(Language);
  }
  return Size;
}

struct PACKAGE_ARRAY {
  UINT8 Bytes[ArraySize()];
};

class PackageWriter {
public:
  consteval void Number(UINT32 Value, UINT32 Width) {
    for (; Width != 0; Width--, Value >>= 8) {
      Result_.Bytes[Place_++] = static_cast<UINT8>(Value);
    }
  }

  consteval void Package(const MESSAGE_LANGUAGE &Language) {
    Number(PackageSize(Language), 3);
    Number(EFI_HII_PACKAGE_STRINGS, 1);
    Number(HeaderSize, 4); // HdrSize
    Number(HeaderSize, 4); // StringInfoOffset
    Place_ += LanguageWindowSize;
    Number(MessageLanguageName, sizeof(EFI_STRING_ID));
    for (CHAR8 Character : Language.Tag) {
      Number(static_cast<UINT8>(Character), 1);
    }
    for (const CHAR16 *Text : Language.Texts) {
      Number(EFI_HII_SIBT_STRING_UCS2, 1);
      for (; *Text != 0; Text++) {
        Number(*Text, sizeof(CHAR16));
      }
      Number(0, sizeof(CHAR16));
    }
    Number(EFI_HII_SIBT_END, 1);
  }

  [[nodiscard]] consteval PACKAGE_ARRAY Result() const { return Result_; }

private:
  PACKAGE_ARRAY Result_ = {};
  UINT32 Place_ = 0;
};

consteval PACKAGE_ARRAY BuildPackages() {
  PackageWriter Writer;
  Writer.Number(ArraySize(), LengthPrefixSize);
  for (const MESSAGE_LANGUAGE &Language : mMessageLanguages) {
    Writer.Package(Language);
  }
  return Writer.Result();
}

constexpr PACKAGE_ARRAY mPackageArray = BuildPackages();

} // namespace

constinit const UINT8 *const mMessagePackages = mPackageArray.Bytes;

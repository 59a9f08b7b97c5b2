// Language tags compared as plain text; nothing about any language is known
// here.
#include "driver/policy/Languages.h"

#include "driver/platform/Memory.h"
#include "driver/platform/Variables.h"
#include "uefi/GlobalVariable.h"

namespace {

constexpr CHAR8 TagSeparator = ';';

// A tag within a longer text.
struct TAG_VIEW {
  const CHAR8 *Start;
  UINTN Length;
};

// The tag at Text, up to the next separator or the end.
TAG_VIEW TagAt(const CHAR8 *Text) {
  UINTN Length = 0;
  while (Text[Length] != 0 && Text[Length] != TagSeparator) {
    Length++;
  }
  return {Text, Length};
}

// The first tag of Supported that begins with Prefix; of length 0 when none
// does.
TAG_VIEW FindTag(const CHAR8 *Supported, TAG_VIEW Prefix) {
  for (;;) {
    while (*Supported == TagSeparator) {
      Supported++;
    }
    TAG_VIEW Tag = TagAt(Supported);
    if (Tag.Length == 0 ||
        (Tag.Length >= Prefix.Length && CompareMemory(Tag.Start, Prefix.Start, Prefix.Length) == 0)) {
      return Tag;
    }
    Supported += Tag.Length;
  }
}

// Cuts the last part off at its '-'; nothing is left of a tag without one.
void Shorten(TAG_VIEW &Tag) {
  do {
    Tag.Length--;
  } while (Tag.Length != 0 && Tag.Start[Tag.Length] != '-');
}

} // namespace

PoolBlock<CHAR8> ReadPlatformLanguage() {
  PoolBlock<UINT8> Value = ReadVariable(u"PlatformLang", mEfiGlobalVariableGuid);
  return PoolBlock<CHAR8>(reinterpret_cast<CHAR8 *>(Value.Release()));
}

PoolBlock<CHAR8> SelectBestLanguage(const CHAR8 *Supported, const CHAR8 *const *Candidates) {
  for (; *Candidates != nullptr; Candidates++) {
    for (TAG_VIEW Wanted = TagAt(*Candidates); Wanted.Length != 0; Shorten(Wanted)) {
      TAG_VIEW Found = FindTag(Supported, Wanted);
      if (Found.Length != 0) {
        PoolBlock<CHAR8> Tag(static_cast<CHAR8 *>(AllocateZeroedPool(Found.Length + 1)));
        BoundedCopy(Tag.Get(), Tag ? Found.Length : 0, Found.Start, Found.Length);
        return Tag;
      }
    }
  }
  return PoolBlock<CHAR8>();
}

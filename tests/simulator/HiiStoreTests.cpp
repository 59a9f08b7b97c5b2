// Holds the HII database and its strings to UEFI 2.10, sections 33.3, 34.3 and 34.8.
#include "tests/simulator/FirmwareTest.h"

namespace {

constexpr EFI_GUID mListGuid = {0x11, 0, 0, {}};
constexpr EFI_GUID mPackageGuid = {0x22, 0, 0, {}};

using Bytes = std::string;

Bytes Number(UINT64 Value, int Width) {
  return Bytes(reinterpret_cast<const char *>(&Value), static_cast<size_t>(Width));
}

Bytes Text(const std::u16string &Value) {
  return Bytes(reinterpret_cast<const char *>(Value.c_str()), 2 * Value.size() + 2);
}

Bytes Ucs2(const std::u16string &Value) {
  return "\x14" + Text(Value);
}

Bytes Package(UINT8 Type, const Bytes &Body) {
  return Number(Body.size() + 4, 3) + Number(Type, 1) + Body;
}

const Bytes End = Package(EFI_HII_PACKAGE_END, "");
const Bytes EndBlock = Number(0, 1);

Bytes Strings(const Bytes &Language, const Bytes &Blocks, UINT16 LanguageName = 1) {
  const UINTN Header = 46 + Language.size() + 1;
  return Package(EFI_HII_PACKAGE_STRINGS, Number(Header, 4) + Number(Header, 4) + Bytes(32, '\0') +
                                              Number(LanguageName, 2) + Language + '\0' + Blocks);
}

Bytes Raw(const EFI_GUID &Guid) {
  return Bytes(reinterpret_cast<const char *>(&Guid), sizeof(Guid));
}

Bytes List(const Bytes &Packages, const EFI_GUID &Guid = mListGuid) {
  return Raw(Guid) + Number(Packages.size() + 20, 4) + Packages;
}

const Bytes WithGuid = Package(EFI_HII_PACKAGE_TYPE_GUID, Raw(mPackageGuid) + "data");
const Bytes English = Strings("en-US", Ucs2(u"English") + Ucs2(u"Hello") + EndBlock);
const Bytes German =
    Strings("de-DE", Ucs2(u"Deutsch") + Ucs2(u"Gr\u00FC\u00DFe") + Ucs2(u"nur hier") + EndBlock);

// A member that hands something out by size and buffer.
using Reader = std::function<EFI_STATUS(UINTN *Size, VOID *Buffer)>;

class HiiStoreTests : public FirmwareTest {
protected:
  EFI_STATUS Add(const Bytes &Whole, EFI_HII_HANDLE *Handle) {
    // On the heap and of exactly this size, so that a sanitizer sees a read beyond.
    const std::vector<char> Exact(Whole.begin(), Whole.end());
    return Database->NewPackageList(
        Database, reinterpret_cast<const EFI_HII_PACKAGE_LIST_HEADER *>(Exact.data()), nullptr, Handle);
  }

  EFI_HII_HANDLE Add(const Bytes &Whole) {
    EFI_HII_HANDLE Handle = nullptr;
    EXPECT_EQ(Add(Whole, &Handle), EFI_SUCCESS);
    return Handle;
  }

  Reader Lists(UINT8 Type, const EFI_GUID *Guid = nullptr) {
    return [=, this](UINTN *Size, VOID *Buffer) {
      return Database->ListPackageLists(Database, Type, Guid, Size, static_cast<EFI_HII_HANDLE *>(Buffer));
    };
  }

  Reader Export(EFI_HII_HANDLE Handle) {
    return [=, this](UINTN *Size, VOID *Buffer) {
      return Database->ExportPackageLists(Database, Handle, Size,
                                          static_cast<EFI_HII_PACKAGE_LIST_HEADER *>(Buffer));
    };
  }

  Reader Languages(EFI_HII_HANDLE Handle) {
    return [=, this](UINTN *Size, VOID *Buffer) {
      return String->GetLanguages(String, Handle, static_cast<CHAR8 *>(Buffer), Size);
    };
  }

  Reader TextOf(EFI_HII_HANDLE Handle, const CHAR8 *Language, EFI_STRING_ID Id) {
    return [=, this](UINTN *Size, VOID *Buffer) {
      EFI_FONT_INFO *Font = reinterpret_cast<EFI_FONT_INFO *>(this);
      const EFI_STATUS Status =
          String->GetString(String, Language, Handle, Id, static_cast<EFI_STRING>(Buffer), Size, &Font);
      EXPECT_EQ(Font == nullptr, Status == EFI_SUCCESS || Status == EFI_BUFFER_TOO_SMALL);
      return Status;
    };
  }

  // Read hands out Expected by the rules of size probes, or refuses the probe.
  static void Expect(const Reader &Read, const Bytes &Expected, EFI_STATUS Refusal = EFI_BUFFER_TOO_SMALL) {
    UINTN Size = 0;
    ASSERT_EQ(Read(&Size, nullptr), Refusal);
    ASSERT_EQ(Size, Expected.size());
    if (Refusal == EFI_BUFFER_TOO_SMALL) {
      Bytes Buffer(Size, '?');
      Size -= 1;
      EXPECT_EQ(Read(&Size, Buffer.data()), EFI_BUFFER_TOO_SMALL);
      EXPECT_EQ(Size, Expected.size());
      EXPECT_EQ(Buffer, Bytes(Size, '?'));
      EXPECT_EQ(Read(&Size, nullptr), EFI_INVALID_PARAMETER);
      EXPECT_EQ(Read(nullptr, Buffer.data()), EFI_INVALID_PARAMETER);
      Size += 1;
      EXPECT_EQ(Read(&Size, Buffer.data()), EFI_SUCCESS);
      EXPECT_EQ(Size, Expected.size());
      EXPECT_EQ(Buffer, Expected);
    }
  }

  static void ExpectRefusal(const Reader &Read, EFI_STATUS Refusal) { Expect(Read, "", Refusal); }

  EFI_HII_DATABASE_PROTOCOL *Database = &Firmware.Hii.Database;
  EFI_HII_STRING_PROTOCOL *String = &Firmware.Hii.String;
};

TEST_F(HiiStoreTests, MalformedListsAreRefusedAndReported) {
  const Bytes One = Ucs2(u"x");
  const Bytes Good = Strings("en-US", One + EndBlock);
  const auto Damaged = [&](UINTN Offset, char Value) { return Bytes(Good).replace(Offset, 1, 1, Value); };
  const struct {
    const char *Fault;
    Bytes Whole;
  } Rows[] = {
      {"a list of 20 bytes", List("")},
      {"no end package", List(English)},
      {"does not fit into the list", List(Damaged(0, static_cast<char>(Good.size() + 8)) + End)},
      {"does not fit into the list", List(Number(3, 3) + Number(1, 1) + End)},
      {"end package that is not the end", List(End + English)},
      {"end package that is not the end", List(Package(EFI_HII_PACKAGE_END, "more"))},
      {"unknown type 3", List(Package(3, "") + End)},
      {"GUID package without its GUID", List(Package(EFI_HII_PACKAGE_TYPE_GUID, "short") + End)},
      {"shorter than its header", List(Package(EFI_HII_PACKAGE_STRINGS, Bytes(42, '\0')) + End)},
      {"header does not fit", List(Damaged(8, '\xF0') + End)},
      {"header does not fit", List(Damaged(8, 46) + End)},
      {"without a language", List(Damaged(51, 'x') + End)},
      {"without a language", List(Strings("", One + EndBlock) + End)},
      {"without an end", List(Strings("en-US", One) + End)},
      {"cut off", List(Strings("en-US", One.substr(0, 3)) + End)},
      {"cut off", List(Strings("en-US", "\x16" + Number(2, 2) + Text(u"x")) + End)},
      {"cut off", List(Strings("en-US", "\x21" + Number(2, 1)) + End)},
      {"behind the last string block", List(Strings("en-US", One + EndBlock + EndBlock) + End)},
      {"unknown string block of type 16", List(Strings("en-US", "\x10x" + EndBlock + EndBlock) + End)},
      {"duplicate of a string that is not there",
       List(Strings("en-US", One + "\x20" + Number(9, 2) + EndBlock) + End)},
      {"more strings than identifiers",
       List(Strings("en-US", One + "\x21" + Number(0xFFFF, 2) + One + EndBlock) + End)},
      {"language name", List(Strings("en-US", One + EndBlock, 2) + End)},
  };
  for (const auto &Row : Rows) {
    SCOPED_TRACE(testing::Message() << "row " << &Row - Rows);
    EFI_HII_HANDLE Handle = nullptr;
    EXPECT_EQ(Add(Row.Whole, &Handle), EFI_INVALID_PARAMETER);
    EXPECT_EQ(Handle, nullptr);
    EXPECT_TRUE(FaultTaken(Row.Fault));
  }
  EXPECT_TRUE(Firmware.Hii.Store.Handles().empty());
}

TEST_F(HiiStoreTests, ListsAreFoundByTypeAndExportedByteForByte) {
  const Bytes Packages[] = {List(English + End), List(WithGuid + End, mPackageGuid),
                            List(WithGuid + German + End)};
  ExpectRefusal(Export(nullptr), EFI_NOT_FOUND);
  Bytes Handles[3];
  for (int Index = 0; Index < 3; ++Index) {
    EFI_HII_HANDLE Handle = Add(Packages[Index]);
    Handles[Index] = Number(reinterpret_cast<UINT64>(Handle), 8);
    Expect(Export(Handle), Packages[Index]);
  }
  Expect(Export(nullptr), Packages[0] + Packages[1] + Packages[2]);
  ExpectRefusal(Export(this), EFI_NOT_FOUND);
  Expect(Lists(EFI_HII_PACKAGE_TYPE_ALL), Handles[0] + Handles[1] + Handles[2]);
  Expect(Lists(EFI_HII_PACKAGE_STRINGS), Handles[0] + Handles[2]);
  Expect(Lists(EFI_HII_PACKAGE_TYPE_GUID, &mPackageGuid), Handles[1] + Handles[2]);
  ExpectRefusal(Lists(EFI_HII_PACKAGE_TYPE_GUID, &mListGuid), EFI_NOT_FOUND);
  ExpectRefusal(Lists(EFI_HII_PACKAGE_FONTS), EFI_NOT_FOUND);
  ExpectRefusal(Lists(EFI_HII_PACKAGE_TYPE_GUID), EFI_INVALID_PARAMETER);
  ExpectRefusal(Lists(EFI_HII_PACKAGE_TYPE_ALL, &mPackageGuid), EFI_INVALID_PARAMETER);
}

TEST_F(HiiStoreTests, StringsByLanguageAndIdentifier) {
  // Identifiers: 1, 2-3 from one block, 4 skipped, 5, 6 the same as 2, 7 to 306 skipped, 307.
  const Bytes Blocks = Ucs2(u"Name") + "\x16" + Number(2, 2) + Text(u"two") + Text(u"") + "\x22\x01" +
                       Ucs2(u"five") + "\x20" + Number(2, 2) + "\x21" + Number(300, 2) + Ucs2(u"last") +
                       EndBlock;
  EFI_HII_HANDLE Handle = Add(List(Strings("x-odd", Blocks) + English + German + English + End));
  Expect(Languages(Handle), Bytes("x-odd;en-US;de-DE", 18));
  ExpectRefusal(Languages(this), EFI_NOT_FOUND);
  const struct {
    const char *Language;
    EFI_STRING_ID Id;
    std::u16string Expected;
  } Rows[] = {
      {"x-odd", 1, u"Name"},     {"x-odd", 2, u"two"},
      {"x-odd", 3, u""},         {"x-odd", 5, u"five"},
      {"x-odd", 6, u"two"},      {"x-odd", 307, u"last"},
      {"en-US", 2, u"Hello"},    {"de-DE", 2, u"Gr\u00FC\u00DFe"},
      {"de-DE", 3, u"nur hier"},
  };
  for (const auto &Row : Rows) {
    SCOPED_TRACE(testing::Message() << Row.Language << " " << Row.Id);
    Expect(TextOf(Handle, Row.Language, Row.Id), Text(Row.Expected));
  }
  for (const EFI_STRING_ID Absent : {4, 7, 308, 0}) {
    ExpectRefusal(TextOf(Handle, "x-odd", Absent), EFI_NOT_FOUND);
  }
  for (const char *Language : {"en-us", "en", "", "fr-FR"}) {
    ExpectRefusal(TextOf(Handle, Language, 2), EFI_INVALID_LANGUAGE);
  }
  ExpectRefusal(TextOf(Handle, "fr-FR", 99), EFI_NOT_FOUND);
  ExpectRefusal(TextOf(this, "x-odd", 1), EFI_NOT_FOUND);
  ExpectRefusal(TextOf(Handle, nullptr, 1), EFI_INVALID_PARAMETER);
}

TEST_F(HiiStoreTests, Arguments) {
  EFI_HII_HANDLE Handle = nullptr;
  EXPECT_EQ(Add(List(English + End), nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Database->NewPackageList(Database, nullptr, nullptr, &Handle), EFI_INVALID_PARAMETER);
  EFI_HII_DATABASE_PROTOCOL Copy = *Database;
  UINTN Length = 0;
  Copy.ListPackageLists(&Copy, 0, nullptr, &Length, nullptr);
  EXPECT_TRUE(FaultTaken("not the protocol"));
}

} // namespace

// Holds the HII database and its strings to UEFI 2.10, sections 33.3, 34.3 and 34.8.
#include <cstring>

#include "simulator/Guids.h"
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

Bytes GuidPackage() {
  return Package(EFI_HII_PACKAGE_TYPE_GUID,
                 Bytes(reinterpret_cast<const char *>(&mPackageGuid), 16) + "data");
}

Bytes List(const Bytes &Packages, const EFI_GUID &Guid = mListGuid) {
  return Bytes(reinterpret_cast<const char *>(&Guid), 16) + Number(Packages.size() + 20, 4) + Packages;
}

const Bytes English = Strings("en-US", Ucs2(u"English") + Ucs2(u"Hello") + EndBlock);
const Bytes German =
    Strings("de-DE", Ucs2(u"Deutsch") + Ucs2(u"Gr\u00FC\u00DFe") + Ucs2(u"nur hier") + EndBlock);

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

  // What both calls of a probe and a read give: the text, or the status where the probe did not ask for more.
  std::u16string Get(EFI_HII_HANDLE Handle, const char *Language, EFI_STRING_ID Id, EFI_STATUS *Status) {
    UINTN Size = 0;
    *Status = String->GetString(String, Language, Handle, Id, nullptr, &Size, nullptr);
    if (*Status != EFI_BUFFER_TOO_SMALL) {
      return {};
    }
    std::vector<CHAR16> Buffer(Size / 2);
    EFI_FONT_INFO *Font = reinterpret_cast<EFI_FONT_INFO *>(this);
    *Status = String->GetString(String, Language, Handle, Id, Buffer.data(), &Size, &Font);
    EXPECT_EQ(Font, nullptr);
    EXPECT_EQ(Size, Buffer.size() * 2);
    EXPECT_EQ(Buffer.back(), u'\0');
    return Buffer.data();
  }

  EFI_HII_DATABASE_PROTOCOL *Database = &Firmware.Hii.Database;
  EFI_HII_STRING_PROTOCOL *String = &Firmware.Hii.String;
};

TEST_F(HiiStoreTests, MalformedListsAreRefusedAndReported) {
  const Bytes One = Ucs2(u"x");
  Bytes LongerThanList = Strings("en-US", One + EndBlock);
  LongerThanList[0] = static_cast<char>(LongerThanList[0] + 8);
  Bytes HeaderBeyond = Strings("en-US", One + EndBlock);
  HeaderBeyond[4] = static_cast<char>(0xF0);
  Bytes BlocksBeyond = Strings("en-US", One + EndBlock);
  BlocksBeyond[8] = static_cast<char>(0xF0);
  Bytes BlocksInHeader = Strings("en-US", One + EndBlock);
  BlocksInHeader[8] = 46;
  Bytes NoNul = Strings("en-US", One + EndBlock);
  NoNul[51] = 'x';
  const struct {
    const char *Fault;
    Bytes Whole;
  } Rows[] = {
      {"a list of 20 bytes", List("")},
      {"no end package", List(English)},
      {"no end package", List(English + Bytes(3, '\0'))},
      {"does not fit into the list", List(LongerThanList + End)},
      {"does not fit into the list", List(Number(3, 3) + Number(1, 1) + End)},
      {"end package that is not the end", List(End + English)},
      {"end package that is not the end", List(Package(EFI_HII_PACKAGE_END, "more"))},
      {"unknown type 0", List(Package(EFI_HII_PACKAGE_TYPE_ALL, "") + End)},
      {"unknown type 3", List(Package(3, "") + End)},
      {"GUID package without its GUID", List(Package(EFI_HII_PACKAGE_TYPE_GUID, "short") + End)},
      {"shorter than its header", List(Package(EFI_HII_PACKAGE_STRINGS, Bytes(42, '\0')) + End)},
      {"header does not fit", List(HeaderBeyond + End)},
      {"header does not fit", List(BlocksBeyond + End)},
      {"header does not fit", List(BlocksInHeader + End)},
      {"without a language", List(NoNul + End)},
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

TEST_F(HiiStoreTests, NewPackageListArguments) {
  EFI_HII_HANDLE Handle = nullptr;
  EXPECT_EQ(Database->NewPackageList(Database, nullptr, nullptr, &Handle), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Add(List(English + End), nullptr), EFI_INVALID_PARAMETER);
  Firmware.Hii.NewPackageListCalls.FailAt(1, EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(Add(List(English + End), &Handle), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(Handle, nullptr);
  EFI_HII_DATABASE_PROTOCOL Copy = *Database;
  UINTN Length = 0;
  Copy.ListPackageLists(&Copy, 0, nullptr, &Length, nullptr);
  EXPECT_TRUE(FaultTaken("not the protocol"));
}

TEST_F(HiiStoreTests, ListsAreFoundByTypeInTheirOrder) {
  EFI_HII_HANDLE First = Add(List(English + End));
  EFI_HII_HANDLE Second = Add(List(GuidPackage() + End));
  EFI_HII_HANDLE Third = Add(List(GuidPackage() + German + End));
  using HANDLES = std::vector<EFI_HII_HANDLE>;
  const struct {
    UINT8 Type;
    const EFI_GUID *Guid;
    EFI_STATUS Status;
    HANDLES Found;
  } Rows[] = {
      {EFI_HII_PACKAGE_TYPE_ALL, nullptr, EFI_SUCCESS, {First, Second, Third}},
      {EFI_HII_PACKAGE_STRINGS, nullptr, EFI_SUCCESS, {First, Third}},
      {EFI_HII_PACKAGE_TYPE_GUID, &mPackageGuid, EFI_SUCCESS, {Second, Third}},
      {EFI_HII_PACKAGE_TYPE_GUID, &mListGuid, EFI_NOT_FOUND, {}},
      {EFI_HII_PACKAGE_FONTS, nullptr, EFI_NOT_FOUND, {}},
      {EFI_HII_PACKAGE_TYPE_GUID, nullptr, EFI_INVALID_PARAMETER, {}},
      {EFI_HII_PACKAGE_TYPE_ALL, &mPackageGuid, EFI_INVALID_PARAMETER, {}},
  };
  for (const auto &Row : Rows) {
    SCOPED_TRACE(testing::Message() << "row " << &Row - Rows);
    const UINTN Needed = Row.Found.size() * sizeof(EFI_HII_HANDLE);
    UINTN Length = 0;
    EXPECT_EQ(Database->ListPackageLists(Database, Row.Type, Row.Guid, &Length, nullptr),
              Row.Status == EFI_SUCCESS ? EFI_BUFFER_TOO_SMALL : Row.Status);
    EXPECT_EQ(Length, Needed);
    HANDLES Found(Row.Found.size() + 1);
    Length = Needed == 0 ? 8 : Needed - 1;
    EXPECT_EQ(Database->ListPackageLists(Database, Row.Type, Row.Guid, &Length, Found.data()),
              Row.Status == EFI_SUCCESS ? EFI_BUFFER_TOO_SMALL : Row.Status);
    Length = Found.size() * sizeof(EFI_HII_HANDLE);
    EXPECT_EQ(Database->ListPackageLists(Database, Row.Type, Row.Guid, &Length, Found.data()), Row.Status);
    if (Row.Status == EFI_SUCCESS) {
      EXPECT_EQ(Length, Needed);
    }
    Found.pop_back();
    EXPECT_EQ(Found, Row.Found);
  }
  UINTN Length = 8;
  EXPECT_EQ(Database->ListPackageLists(Database, 0, nullptr, nullptr, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Database->ListPackageLists(Database, 0, nullptr, &Length, nullptr), EFI_INVALID_PARAMETER);

  EXPECT_TRUE(Firmware.Hii.Store.Remove(Second));
  EXPECT_FALSE(Firmware.Hii.Store.Remove(Second));
  EXPECT_EQ(Firmware.Hii.Store.Handles(), (HANDLES{First, Third}));
}

TEST_F(HiiStoreTests, ExportGivesBackEveryByte) {
  const Bytes One = List(English + GuidPackage() + End);
  const Bytes Two = List(End, mPackageGuid);
  EFI_HII_HANDLE First = Add(One);
  EFI_HII_HANDLE Second = Add(Two);
  const struct {
    EFI_HII_HANDLE Handle;
    Bytes Expected;
  } Rows[] = {{First, One}, {Second, Two}, {nullptr, One + Two}};
  for (const auto &Row : Rows) {
    UINTN Size = 0;
    EXPECT_EQ(Database->ExportPackageLists(Database, Row.Handle, &Size, nullptr), EFI_BUFFER_TOO_SMALL);
    ASSERT_EQ(Size, Row.Expected.size());
    Bytes Buffer(Size, '?');
    auto *Place = reinterpret_cast<EFI_HII_PACKAGE_LIST_HEADER *>(Buffer.data());
    Size -= 1;
    EXPECT_EQ(Database->ExportPackageLists(Database, Row.Handle, &Size, Place), EFI_BUFFER_TOO_SMALL);
    EXPECT_EQ(Buffer, Bytes(Size, '?'));
    EXPECT_EQ(Database->ExportPackageLists(Database, Row.Handle, &Size, Place), EFI_SUCCESS);
    EXPECT_EQ(Buffer, Row.Expected);
  }
  UINTN Size = 8;
  EXPECT_EQ(Database->ExportPackageLists(Database, First, nullptr, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Database->ExportPackageLists(Database, First, &Size, nullptr), EFI_INVALID_PARAMETER);
  Size = 0;
  EXPECT_EQ(Database->ExportPackageLists(Database, this, &Size, nullptr), EFI_NOT_FOUND);
  Firmware.Hii.Store.Remove(First);
  EXPECT_EQ(Database->ExportPackageLists(Database, First, &Size, nullptr), EFI_NOT_FOUND);
  Firmware.Hii.Store.Remove(Second);
  EXPECT_EQ(Database->ExportPackageLists(Database, nullptr, &Size, nullptr), EFI_NOT_FOUND);
}

TEST_F(HiiStoreTests, LanguagesComeInPackageOrder) {
  EFI_HII_HANDLE Handle = Add(List(English + German + English + End));
  UINTN Size = 0;
  EXPECT_EQ(String->GetLanguages(String, Handle, nullptr, &Size), EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(Size, 12u);
  char Languages[16] = {};
  Size = 11;
  EXPECT_EQ(String->GetLanguages(String, Handle, Languages, &Size), EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(Size, 12u);
  EXPECT_EQ(String->GetLanguages(String, Handle, Languages, &Size), EFI_SUCCESS);
  EXPECT_STREQ(Languages, "en-US;de-DE");
  EXPECT_EQ(String->GetLanguages(String, Handle, Languages, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(String->GetLanguages(String, Handle, nullptr, &Size), EFI_INVALID_PARAMETER);
  EXPECT_EQ(String->GetLanguages(String, this, Languages, &Size), EFI_NOT_FOUND);
}

TEST_F(HiiStoreTests, StringsByLanguageAndIdentifier) {
  // Identifiers: 1, 2-3 from one block, 4 skipped, 5, 6 the same as 3, 7 to 306 skipped, 307.
  const Bytes Blocks = Ucs2(u"Name") + "\x16" + Number(2, 2) + Text(u"two") + Text(u"") + "\x22\x01" +
                       Ucs2(u"five") + "\x20" + Number(2, 2) + "\x21" + Number(300, 2) + Ucs2(u"last") +
                       EndBlock;
  EFI_HII_HANDLE Handle = Add(List(Strings("x-odd", Blocks) + English + German + End));
  const struct {
    const char *Language;
    EFI_STRING_ID Id;
    EFI_STATUS Status;
    std::u16string Expected;
  } Rows[] = {
      {"x-odd", 1, EFI_SUCCESS, u"Name"},      {"x-odd", 2, EFI_SUCCESS, u"two"},
      {"x-odd", 3, EFI_SUCCESS, u""},          {"x-odd", 5, EFI_SUCCESS, u"five"},
      {"x-odd", 6, EFI_SUCCESS, u"two"},       {"x-odd", 307, EFI_SUCCESS, u"last"},
      {"x-odd", 4, EFI_NOT_FOUND, u""},        {"x-odd", 7, EFI_NOT_FOUND, u""},
      {"x-odd", 308, EFI_NOT_FOUND, u""},      {"x-odd", 0, EFI_NOT_FOUND, u""},
      {"en-US", 2, EFI_SUCCESS, u"Hello"},     {"de-DE", 2, EFI_SUCCESS, u"Gr\u00FC\u00DFe"},
      {"de-DE", 3, EFI_SUCCESS, u"nur hier"},  {"en-US", 3, EFI_INVALID_LANGUAGE, u""},
      {"en-us", 2, EFI_INVALID_LANGUAGE, u""}, {"en", 2, EFI_INVALID_LANGUAGE, u""},
      {"", 2, EFI_INVALID_LANGUAGE, u""},      {"fr-FR", 99, EFI_NOT_FOUND, u""},
  };
  for (const auto &Row : Rows) {
    EFI_STATUS Status = EFI_SUCCESS;
    EXPECT_EQ(Get(Handle, Row.Language, Row.Id, &Status), Row.Expected) << Row.Language << " " << Row.Id;
    EXPECT_EQ(Status, Row.Status) << Row.Language << " " << Row.Id;
  }
}

TEST_F(HiiStoreTests, GetStringArguments) {
  EFI_HII_HANDLE Handle = Add(List(English + End));
  CHAR16 Buffer[6] = {};
  UINTN Size = 11;
  EXPECT_EQ(String->GetString(String, "en-US", Handle, 2, Buffer, &Size, nullptr), EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(Size, 12u);
  EXPECT_EQ(Buffer[0], u'\0');
  EXPECT_EQ(String->GetString(String, "en-US", Handle, 2, nullptr, &Size, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(String->GetString(String, nullptr, Handle, 2, Buffer, &Size, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(String->GetString(String, "en-US", Handle, 2, Buffer, nullptr, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(String->GetString(String, "en-US", this, 2, Buffer, &Size, nullptr), EFI_NOT_FOUND);
  EXPECT_EQ(String->GetString(String, "en-US", Handle, 2, Buffer, &Size, nullptr), EFI_SUCCESS);
  EXPECT_EQ(std::u16string(Buffer), u"Hello");
  Firmware.Hii.Store.Remove(Handle);
  EXPECT_EQ(String->GetString(String, "en-US", Handle, 2, Buffer, &Size, nullptr), EFI_NOT_FOUND);
}

TEST_F(HiiStoreTests, ReadersFailAsScripted) {
  EFI_HII_HANDLE Handle = Add(List(English + End));
  Firmware.Hii.ListPackageListsCalls.FailAt(1, EFI_DEVICE_ERROR);
  Firmware.Hii.ExportPackageListsCalls.FailAt(1, EFI_DEVICE_ERROR);
  Firmware.Hii.GetLanguagesCalls.FailAt(1, EFI_DEVICE_ERROR);
  Firmware.Hii.GetStringCalls.FailAt(1, EFI_DEVICE_ERROR);
  for (EFI_STATUS Expected : {EFI_DEVICE_ERROR, EFI_BUFFER_TOO_SMALL}) {
    UINTN Sizes[4] = {};
    EXPECT_EQ(Database->ListPackageLists(Database, 0, nullptr, &Sizes[0], nullptr), Expected);
    EXPECT_EQ(Database->ExportPackageLists(Database, Handle, &Sizes[1], nullptr), Expected);
    EXPECT_EQ(String->GetLanguages(String, Handle, nullptr, &Sizes[2]), Expected);
    EXPECT_EQ(String->GetString(String, "en-US", Handle, 1, nullptr, &Sizes[3], nullptr), Expected);
  }
}

} // namespace

// Signed PE files: the reader against files of every shape, and "fwboot verify" with the same.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>

#include "tests/services/TestFolder.h"
#include "tools/pe/PeSignatures.h"
#include "uefi/PeImage.h"

namespace {

constexpr UINT32 mOptionalOffset = 0x98;

struct Shape {
  const char *What;
  bool Pe32Plus = true;
  UINT32 HeadersSize = 0x400;
  // File offset and size of each section, in the order of their headers.
  std::vector<std::pair<UINT32, UINT32>> Sections = {{0x400, 0x200}, {0x600, 0x400}};
  UINT32 FileSize = 0xA00;
};

template <typename T> void Put(Bytes &File, UINT64 Offset, T Value) {
  std::memcpy(File.data() + Offset, &Value, sizeof(Value));
}

template <typename OPTIONAL> void PutOptionalHeader(Bytes &File, const Shape &Wanted, UINT16 Magic) {
  OPTIONAL Header = {};
  Header.Magic = Magic;
  Header.SectionAlignment = 0x1000;
  Header.FileAlignment = 0x200;
  Header.SizeOfImage = 0x10000;
  Header.SizeOfHeaders = Wanted.HeadersSize;
  Header.CheckSum = 0x12345678;
  Header.Subsystem = IMAGE_SUBSYSTEM_EFI_APPLICATION;
  Header.NumberOfRvaAndSizes = IMAGE_NUMBEROF_DIRECTORY_ENTRIES;
  Put(File, mOptionalOffset, Header);
}

UINT64 OptionalSize(const Shape &Wanted) {
  return Wanted.Pe32Plus ? sizeof(IMAGE_OPTIONAL_HEADER64) : sizeof(IMAGE_OPTIONAL_HEADER32);
}

UINT64 SecurityOffset(const Shape &Wanted) {
  return mOptionalOffset + OptionalSize(Wanted) - sizeof(IMAGE_DATA_DIRECTORY) * 12;
}

Bytes MakePe(const Shape &Wanted) {
  Bytes File = Pattern(Wanted.FileSize);
  std::fill_n(File.begin(), Wanted.HeadersSize, UINT8{0});
  IMAGE_DOS_HEADER Dos = {};
  Dos.Magic = IMAGE_DOS_SIGNATURE;
  Dos.NewHeaderOffset = 0x80;
  Put(File, 0, Dos);
  Put<UINT32>(File, 0x80, IMAGE_NT_SIGNATURE);
  IMAGE_FILE_HEADER Header = {};
  Header.Machine = Wanted.Pe32Plus ? IMAGE_FILE_MACHINE_AMD64 : IMAGE_FILE_MACHINE_I386;
  Header.NumberOfSections = static_cast<UINT16>(Wanted.Sections.size());
  Header.SizeOfOptionalHeader = static_cast<UINT16>(OptionalSize(Wanted));
  Header.Characteristics = IMAGE_FILE_EXECUTABLE_IMAGE;
  Put(File, 0x84, Header);
  if (Wanted.Pe32Plus) {
    PutOptionalHeader<IMAGE_OPTIONAL_HEADER64>(File, Wanted, IMAGE_NT_OPTIONAL_HDR64_MAGIC);
  } else {
    PutOptionalHeader<IMAGE_OPTIONAL_HEADER32>(File, Wanted, IMAGE_NT_OPTIONAL_HDR32_MAGIC);
  }
  UINT64 Place = mOptionalOffset + OptionalSize(Wanted);
  UINT32 Address = 0x1000;
  for (const auto &[Offset, Size] : Wanted.Sections) {
    IMAGE_SECTION_HEADER Section = {};
    Section.VirtualAddress = Address;
    Section.VirtualSize = Size;
    Section.PointerToRawData = Offset;
    Section.SizeOfRawData = Size;
    Put(File, Place, Section);
    Place += sizeof(Section);
    Address += 0x1000;
  }
  return File;
}

// Attaches a certificate table with these messages, each padded to 8 bytes; CountPadding counts that as part
// of the entry.
Bytes Attach(const Shape &Wanted, Bytes File, const std::vector<Bytes> &Messages, bool CountPadding = false) {
  File.resize((File.size() + 7) / 8 * 8);
  const UINT64 Table = File.size();
  for (const Bytes &Message : Messages) {
    const UINT64 Place = File.size();
    const UINT64 Length = 8 + Message.size();
    File.resize(Place + (Length + 7) / 8 * 8);
    Put(File, Place, static_cast<UINT32>(CountPadding ? File.size() - Place : Length));
    Put<UINT16>(File, Place + 4, 0x0200);
    Put<UINT16>(File, Place + 6, 0x0002);
    std::copy(Message.begin(), Message.end(), File.begin() + static_cast<std::ptrdiff_t>(Place + 8));
  }
  Put(File, SecurityOffset(Wanted),
      IMAGE_DATA_DIRECTORY{static_cast<UINT32>(Table), static_cast<UINT32>(File.size() - Table)});
  return File;
}

Bytes Gather(const Bytes &File, const std::vector<PeRange> &Ranges) {
  Bytes Gathered;
  for (const PeRange &Range : Ranges) {
    const auto Begin = File.begin() + static_cast<std::ptrdiff_t>(Range.Offset);
    Gathered.insert(Gathered.end(), Begin, Begin + static_cast<std::ptrdiff_t>(Range.Size));
  }
  return Gathered;
}

const std::vector<Shape> mShapes = {
    {.What = "PE32+"},
    {.What = "PE32", .Pe32Plus = false},
    {.What = "sections out of file order", .Sections = {{0x600, 0x400}, {0x400, 0x200}}},
    {.What = "empty sections", .Sections = {{0, 0}, {0x400, 0x600}, {0xFFFFFFF0, 0}}},
    {.What = "a gap behind the headers", .Sections = {{0x800, 0x200}}},
    {.What = "bytes behind the last section", .FileSize = 0xB23},
    {.What = "no sections", .Sections = {}},
};

const TestFolder &Pki() {
  return TestPki();
}

// Signs the file; Name.efi is the result and Name.sig the message.
Bytes Sign(const std::string &Name, const Bytes &File, const std::string &Certificate = "second",
           const std::string &Key = "second") {
  Pki().Write("unsigned.efi", File);
  return Pki().Make("rm -f " + Name + ".efi " + Name + ".sig; osslsigncode sign -h sha256 -certs " +
                        Certificate + ".pem -key " + Key + ".key -in unsigned.efi -out " + Name +
                        ".efi; "
                        "osslsigncode extract-signature -in " +
                        Name + ".efi -out " + Name + ".sig",
                    Name + ".efi");
}

std::string ReadText(const std::string &Name) {
  const Bytes Content = Pki().Read(Name);
  return {Content.begin(), Content.end()};
}

// Exit code of fwboot; what it prints is in the files out and err.
int Fwboot(const std::string &Arguments) {
  const std::string Driver = TestsImage() ? "--image '" + TestedImage() + "'" : "--linked";
  Pki().Run("code=0; '" FWBOOT_PATH "' " + Driver + " " + Arguments +
            " > out 2> err || code=$?; echo $code > code");
  return std::stoi(ReadText("code"));
}

// Exit code of "fwboot verify" with the root as trusted certificate.
int Verify(const Bytes &File, const std::string &Trust = "root.pem") {
  Pki().Write("checked.efi", File);
  return Fwboot("verify checked.efi --trust " + Trust);
}

TEST(PeSignature, EveryShapeIsCoveredAsTheSignerCoversIt) {
  for (const Shape &Wanted : mShapes) {
    const Bytes Signed = Sign("shape", MakePe(Wanted));
    const PeFile Pe = ReadPeFile(Signed);
    EXPECT_EQ(Pe.Pe32Plus, Wanted.Pe32Plus) << Wanted.What;
    ASSERT_EQ(Pe.Signatures.size(), 1U) << Wanted.What;
    EXPECT_TRUE(Pe.Signatures[0].IsAuthenticode());
    Pki().Write("covered.bin", Gather(Signed, Pe.Digested));
    const Bytes Digest = Pki().Make("openssl dgst -sha256 -binary covered.bin > digest.bin", "digest.bin");
    const Bytes Message = Gather(Signed, {Pe.Signatures[0].Content});
    EXPECT_NE(std::search(Message.begin(), Message.end(), Digest.begin(), Digest.end()), Message.end())
        << Wanted.What;
    EXPECT_EQ(Verify(Signed), 0) << Wanted.What;
  }
}

TEST(PeSignature, ChangedBytesAreRefusedWhereverTheyAre) {
  const Shape Wanted = {.What = "gap and tail", .Sections = {{0x800, 0x200}}, .FileSize = 0xB20};
  const Bytes Signed = Sign("changed", MakePe(Wanted));
  const UINT64 CheckSum = mOptionalOffset + offsetof(IMAGE_OPTIONAL_HEADER64, CheckSum);
  Bytes Changed = Signed;
  Changed[CheckSum] ^= 1;
  EXPECT_EQ(Verify(Changed), 0) << "the checksum is not covered";
  for (const UINT64 Place : {UINT64{0x30}, CheckSum + 5, UINT64{0x3F0}, UINT64{0x500}, UINT64{0x7FF},
                             UINT64{0x900}, UINT64{0xA00}, UINT64{0xB1F}, Signed.size() - 100}) {
    Changed = Signed;
    Changed[Place] ^= 1;
    EXPECT_EQ(Verify(Changed), 1) << "byte " << Place;
  }
  EXPECT_EQ(Verify(Signed, "other.der"), 1);
  EXPECT_EQ(Verify(Signed, "second.der"), 0);
}

TEST(PeSignature, EachOfSeveralSignaturesIsChecked) {
  const Shape &Wanted = mShapes[0];
  const Bytes Plain = MakePe(Wanted);
  Sign("ours", Plain);
  Sign("theirs", Plain, "bare", "other");
  const Bytes Ours = Pki().Read("ours.sig");
  const Bytes Theirs = Pki().Read("theirs.sig");
  EXPECT_EQ(Verify(Plain), 1) << "no signature";
  EXPECT_EQ(Verify(Attach(Wanted, Plain, {Ours})), 0);
  EXPECT_EQ(Verify(Attach(Wanted, Plain, {Theirs})), 1);
  EXPECT_EQ(Verify(Attach(Wanted, Plain, {Theirs, Ours})), 0);
  EXPECT_EQ(Verify(Attach(Wanted, Plain, {Theirs, Theirs})), 1);
  Bytes OtherType = Attach(Wanted, Plain, {Ours});
  OtherType[Plain.size() + 6] = 1;
  EXPECT_EQ(Verify(OtherType), 1);
}

TEST(PeSignature, PaddingIsCountedOrNot) {
  const Shape &Wanted = mShapes[0];
  const Bytes Plain = MakePe(Wanted);
  Sign("padded", Plain);
  const Bytes Message = Pki().Read("padded.sig");
  for (int Zeros = 0; Zeros < 8; Zeros++) {
    Bytes Padded = Message;
    Padded.resize(Message.size() + static_cast<UINTN>(Zeros));
    EXPECT_EQ(Verify(Attach(Wanted, Plain, {Padded})), 0) << Zeros;
    EXPECT_EQ(Verify(Attach(Wanted, Plain, {Padded}, true)), 0) << Zeros;
    // The table without its last padding, which the file may have or not.
    Bytes Uncounted = Attach(Wanted, Plain, {Padded});
    const UINT32 TableSize = static_cast<UINT32>(8 + Padded.size());
    Put<UINT32>(Uncounted, SecurityOffset(Wanted) + 4, TableSize);
    EXPECT_EQ(Verify(Uncounted), 0) << Zeros;
    Uncounted.resize(Plain.size() + TableSize);
    EXPECT_EQ(Verify(Uncounted), 0) << Zeros;
  }
}

TEST(PeSignature, WithoutADirectoryEntryThereIsNoTable) {
  const Shape &Wanted = mShapes[0];
  Bytes File = Attach(Wanted, MakePe(Wanted), {Pattern(100)});
  Put<UINT32>(File, mOptionalOffset + offsetof(IMAGE_OPTIONAL_HEADER64, NumberOfRvaAndSizes),
              IMAGE_DIRECTORY_ENTRY_SECURITY);
  const PeFile Pe = ReadPeFile(File);
  EXPECT_TRUE(Pe.Signatures.empty());
  Bytes Covered = File;
  const auto CheckSum = Covered.begin() + mOptionalOffset + offsetof(IMAGE_OPTIONAL_HEADER64, CheckSum);
  Covered.erase(CheckSum, CheckSum + sizeof(UINT32));
  EXPECT_EQ(Gather(File, Pe.Digested), Covered);
}

TEST(PeSignature, TablesAndHeadersThatCannotBeBelieved) {
  const Shape &Wanted = mShapes[0];
  const Bytes Good = Attach(Wanted, MakePe(Wanted), {Pattern(100), Pattern(50)});
  const UINT64 Entry = SecurityOffset(Wanted);
  const UINT32 Table = 0xA00;
  const UINT64 Sections = mOptionalOffset + OptionalSize(Wanted);
  ASSERT_EQ(ReadPeFile(Good).Signatures.size(), 2U);
  struct Row {
    const char *What;
    UINT64 Offset;
    UINT32 Value;
  };
  const UINT32 Size = static_cast<UINT32>(Good.size()) - Table;
  const Row Rows[] = {
      {"table without length", Entry + 4, 0},
      {"table without place", Entry, 0},
      {"table too long", Entry + 4, Size + 8},
      {"table endless", Entry + 4, 0xFFFFFFF8},
      {"table too short", Entry + 4, Size - 8},
      {"table not aligned", Entry, Table + 4},
      {"table in the headers", Entry, 0x200},
      {"table over a section", Entry, Table - 0x100},
      {"table beyond the file", Entry, 0xFFFFFF00},
      {"entry without length", Table, 0},
      {"entry of its header alone", Table, 8},
      {"entry shorter than its header", Table, 7},
      {"entry beyond the table", Table, Size + 1},
      {"entry endless", Table, 0xFFFFFFFF},
      {"second entry without length", Table + 112, 0},
      {"section beyond the file", Sections + offsetof(IMAGE_SECTION_HEADER, SizeOfRawData), 0x7FFFFFFF},
      {"section in the table", Sections + offsetof(IMAGE_SECTION_HEADER, PointerToRawData), Table},
      {"section in the headers", Sections + offsetof(IMAGE_SECTION_HEADER, PointerToRawData), 0x100},
      {"headers beyond the file", mOptionalOffset + offsetof(IMAGE_OPTIONAL_HEADER64, SizeOfHeaders), 0xFFFF},
      {"headers too short", mOptionalOffset + offsetof(IMAGE_OPTIONAL_HEADER64, SizeOfHeaders), 0x100},
      {"other optional header", mOptionalOffset, 0x107},
      {"no room for the directories' count", 0x84 + offsetof(IMAGE_FILE_HEADER, SizeOfOptionalHeader), 100},
      {"no room for the directories", 0x84 + offsetof(IMAGE_FILE_HEADER, SizeOfOptionalHeader), 0x80},
      {"no PE signature", 0x80, 0},
      {"no MZ", 0, 0},
      {"PE signature beyond the file", offsetof(IMAGE_DOS_HEADER, NewHeaderOffset), 0xFFFFFFF0},
  };
  for (const Row &Case : Rows) {
    Bytes File = Good;
    Put(File, Case.Offset, Case.Value);
    EXPECT_THROW(ReadPeFile(File), PeError) << Case.What;
  }
  Bytes Behind = Good;
  Behind.push_back(1);
  EXPECT_THROW(ReadPeFile(Behind), PeError) << "a byte behind the table";
  Behind.back() = 0;
  EXPECT_EQ(ReadPeFile(Behind).Signatures.size(), 2U);
  Behind.resize(Good.size() + 8);
  EXPECT_THROW(ReadPeFile(Behind), PeError) << "more than padding behind the table";
  for (UINTN Length = 0; Length < Good.size(); Length++) {
    EXPECT_THROW(ReadPeFile(std::span(Good).first(Length)), PeError) << Length;
  }
}

TEST(Verification, BadInputIsToldInOneLine) {
  Pki().Write("none", {});
  const Bytes Program = Sign("program", MakePe(mShapes[0]));
  Pki().Write("cut.efi", Bytes(Program.begin(), Program.end() - 300));
  Pki().Run("head -c 300 root.der > cut.der; head -c 500 root.pem > cut.pem; printf 'a\\000b' > nul.txt");
  const struct {
    const char *Arguments, *Says;
  } Rows[] = {
      {"verify none --trust root.pem", "none: no PE image"},
      {"verify . --trust root.pem", ".: Is a directory"},
      {"verify cut.efi --trust root.pem", "cut.efi: the certificate table is cut"},
      {"verify root.pem --trust root.pem", "root.pem: no PE image"},
      {"verify program.efi --trust none", "none: no certificate"},
      {"verify program.efi --trust program.efi", "program.efi: no certificate"},
      {"verify program.efi --trust cut.der", "cut.der: no certificate"},
      {"verify program.efi --trust cut.pem", "cut.pem: the PEM block has no end"},
      {"verify program.efi --trust root.key", "root.key: no certificate"},
      {"verify program.efi --trust root.pem --at 20260230000000", "is no time"},
      {"verify program.efi --trust root.pem --at 2026", "is no time"},
      {"verify-pkcs7 none --trust root.pem --data nofile", "nofile: No such file"},
      {"cert none", "none: no certificate"},
      {"cert root.key", "root.key: no certificate"},
      {"key root.der", "root.der: no PEM text"},
      {"key root.key --password-file nul.txt", "nul.txt: a password cannot hold a NUL"},
  };
  for (const auto &Row : Rows) {
    EXPECT_EQ(Fwboot(Row.Arguments), 2) << Row.Arguments;
    EXPECT_EQ(ReadText("out"), "") << Row.Arguments;
    const std::string Line = ReadText("err");
    EXPECT_EQ(Line.find('\n'), Line.size() - 1) << Line;
    EXPECT_EQ(Line.find("fwboot: "), 0U) << Line;
    EXPECT_NE(Line.find(Row.Says), std::string::npos) << Line;
  }
}

TEST(Verification, TheDemonstrationSignsAndVerifiesTheImage) {
  Pki().Run("'" SOURCE_PATH "/scripts/sign-and-verify.sh' '" + TestedImage() + "' '" FWBOOT_PATH "' > out");
  const std::string Shown = ReadText("out");
  const size_t Accepted = Shown.find("Accepted: 1 of 1 signature verified");
  EXPECT_NE(Accepted, std::string::npos) << Shown;
  EXPECT_NE(Shown.find("Refused: 0 of 1 signature verified", Accepted), std::string::npos) << Shown;
}

} // namespace

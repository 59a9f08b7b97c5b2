// The loader against a valid image and against every way of damaging one. Damaged files must be refused for
// the reason that is wrong with them, and never crash the loader.
#include <functional>
#include <set>

#include <gtest/gtest.h>

#include "simulator/PeLoader.h"
#include "tests/simulator/PeSample.h"

namespace {

using File = std::vector<UINT8>;

constexpr UINT32 OptionalField(size_t Offset) {
  return mPeOptionalOffset + static_cast<UINT32>(Offset);
}
constexpr UINT32 HeaderField(size_t Offset) {
  return mPeFileHeaderOffset + static_cast<UINT32>(Offset);
}
constexpr UINT32 SectionField(UINT32 Index, size_t Offset) {
  return mPeSectionTableOffset + Index * static_cast<UINT32>(sizeof(IMAGE_SECTION_HEADER)) +
         static_cast<UINT32>(Offset);
}
constexpr UINT32 DirectoryField(UINT32 Index) {
  return OptionalField(offsetof(IMAGE_OPTIONAL_HEADER64, DataDirectory)) + Index * 8;
}

#define HEADER(Field) HeaderField(offsetof(IMAGE_FILE_HEADER, Field))
#define OPTIONAL_HEADER(Field) OptionalField(offsetof(IMAGE_OPTIONAL_HEADER64, Field))
#define SECTION(Index, Field) SectionField(Index, offsetof(IMAGE_SECTION_HEADER, Field))

enum { Text, Constants, Data, Relocations };

struct Damage {
  const char *Name;
  std::function<void(File &)> Apply;
  const char *Refusal;
};

template <typename T> std::function<void(File &)> Put(UINT32 Offset, T Value) {
  return [=](File &Image) { PePut(Image, Offset, Value); };
}
std::function<void(File &)> Put16(UINT32 Offset, UINT16 Value) {
  return Put(Offset, Value);
}
std::function<void(File &)> Put32(UINT32 Offset, UINT32 Value) {
  return Put(Offset, Value);
}

std::vector<Damage> Damages() {
  constexpr UINT32 Block = mPeRelocationsFileOffset;
  return {
      {"empty", [](File &Image) { Image.clear(); }, "the DOS header lies outside the file"},
      {"DOS signature", Put16(0, 0x4D5A), "no DOS signature"},
      {"PE header inside DOS header", Put32(0x3C, 0x20), "wrong offset of the PE header"},
      {"PE header unaligned", Put32(0x3C, 0x82), "wrong offset of the PE header"},
      {"PE header beyond the file", Put32(0x3C, 0x10000), "the PE header lies outside the file"},
      {"PE header at the end of numbers", Put32(0x3C, 0xFFFFFFFC), "the PE header lies outside the file"},
      {"PE signature", Put32(0x80, 0x4550 + 1), "no PE signature"},
      {"machine", Put16(HEADER(Machine), IMAGE_FILE_MACHINE_ARM64), "the machine is not x86-64"},
      {"no executable", Put16(HEADER(Characteristics), 0x20), "no executable image"},
      {"relocations stripped", Put16(HEADER(Characteristics), 0x23), "relocations are stripped"},
      {"no sections", Put16(HEADER(NumberOfSections), 0), "no sections"},
      {"too many sections", Put16(HEADER(NumberOfSections), 0xFFFF), "the headers do not fit"},
      {"optional header short", Put16(HEADER(SizeOfOptionalHeader), 232),
       "wrong size of the optional header"},
      {"PE32", Put16(OPTIONAL_HEADER(Magic), IMAGE_NT_OPTIONAL_HDR32_MAGIC), "the image is not PE32+"},
      {"few directories", Put32(OPTIONAL_HEADER(NumberOfRvaAndSizes), 5),
       "wrong size of the optional header"},
      {"application", Put16(OPTIONAL_HEADER(Subsystem), 10), "subsystem 10 is not 11"},
      {"runtime driver", Put16(OPTIONAL_HEADER(Subsystem), 12), "subsystem 12 is not 11"},
      {"file alignment small", Put32(OPTIONAL_HEADER(FileAlignment), 0x100), "wrong file alignment"},
      {"file alignment odd", Put32(OPTIONAL_HEADER(FileAlignment), 0x600), "wrong file alignment"},
      {"section alignment small", Put32(OPTIONAL_HEADER(SectionAlignment), 0x800), "the section alignment"},
      {"section alignment odd", Put32(OPTIONAL_HEADER(SectionAlignment), 0x3000), "the section alignment"},
      {"preferred base", Put(OPTIONAL_HEADER(ImageBase), mPePreferredBase + 0x1000), "the preferred base"},
      {"image size zero", Put32(OPTIONAL_HEADER(SizeOfImage), 0), "wrong image size"},
      {"image size unaligned", Put32(OPTIONAL_HEADER(SizeOfImage), 0x5800), "wrong image size"},
      {"image size huge", Put32(OPTIONAL_HEADER(SizeOfImage), 0xFFFFF000), "wrong image size"},
      {"image size short", Put32(OPTIONAL_HEADER(SizeOfImage), 0x5000), ".reloc lies outside the image"},
      {"image size long", Put32(OPTIONAL_HEADER(SizeOfImage), 0x7000), "not the end of the last section"},
      {"headers short", Put32(OPTIONAL_HEADER(SizeOfHeaders), 0x200), "the headers do not fit"},
      {"headers unaligned", Put32(OPTIONAL_HEADER(SizeOfHeaders), 0x3F0), "wrong size of headers"},
      {"headers beyond the file", Put32(OPTIONAL_HEADER(SizeOfHeaders), 0x4000), "wrong size of headers"},
      {"headers over code", Put32(OPTIONAL_HEADER(SizeOfHeaders), 0x1200), ".text overlaps"},
      {"entry in data", Put32(OPTIONAL_HEADER(AddressOfEntryPoint), mPeDataRva), "the entry point"},
      {"entry in headers", Put32(OPTIONAL_HEADER(AddressOfEntryPoint), 0), "the entry point"},
      {"entry behind code", Put32(OPTIONAL_HEADER(AddressOfEntryPoint), 0x1FFF), "the entry point"},
      {"imports", Put32(DirectoryField(IMAGE_DIRECTORY_ENTRY_IMPORT), 0x2000), "import directory"},
      {"import addresses", Put32(DirectoryField(IMAGE_DIRECTORY_ENTRY_IAT) + 4, 8), "import directory"},
      {"delayed imports", Put32(DirectoryField(IMAGE_DIRECTORY_ENTRY_DELAY_IMPORT), 0x2000),
       "import directory"},
      {"debug directory outside", Put32(DirectoryField(IMAGE_DIRECTORY_ENTRY_DEBUG), 0x6001),
       "data directory 6"},
      {"section empty", Put32(SECTION(Data, VirtualSize), 0), ".data is empty"},
      {"section unaligned", Put32(SECTION(Constants, VirtualAddress), 0x2800), ".rdata is not aligned"},
      {"sections overlap", Put32(SECTION(Text, VirtualSize), 0x1001), ".rdata overlaps"},
      {"section over headers", Put32(SECTION(Text, VirtualAddress), 0), ".text overlaps"},
      {"sections out of order", Put32(SECTION(Data, VirtualAddress), 0x1000), ".data overlaps"},
      {"section outside", Put32(SECTION(Relocations, VirtualSize), 0x1001), ".reloc lies outside the image"},
      {"section size wraps", Put32(SECTION(Relocations, VirtualSize), 0xFFFFFFFF),
       ".reloc lies outside the image"},
      {"writable code", Put32(SECTION(Text, Characteristics), 0xE0000020),
       ".text is writable and executable"},
      {"file offset unaligned", Put32(SECTION(Data, PointerToRawData), 0x1601),
       ".data is not aligned in the file"},
      {"file offset outside", Put32(SECTION(Data, PointerToRawData), 0x2000), ".data lies outside the file"},
      {"file size outside", Put32(SECTION(Relocations, SizeOfRawData), 0x400),
       ".reloc lies outside the file"},
      {"file size wraps", Put32(SECTION(Relocations, SizeOfRawData), 0xFFFFFE00),
       ".reloc lies outside the file"},
      {"file data overlap", Put32(SECTION(Data, PointerToRawData), 0x1200),
       ".data overlaps what stands before it in"},
      {"file data over headers", Put32(SECTION(Text, PointerToRawData), 0x200),
       ".text overlaps what stands before"},
      {"relocations outside", Put32(DirectoryField(IMAGE_DIRECTORY_ENTRY_BASERELOC), 0x5FF8),
       "the relocation directory lies outside"},
      {"relocations cut off", Put32(DirectoryField(IMAGE_DIRECTORY_ENTRY_BASERELOC) + 4, 20),
       "a relocation block is cut"},
      {"relocations elsewhere", Put32(DirectoryField(IMAGE_DIRECTORY_ENTRY_BASERELOC), 0x4000),
       "a relocation block has"},
      {"block without header", Put32(Block + 4, 4), "a relocation block has a wrong size"},
      {"block size odd", Put32(Block + 4, 14), "a relocation block has a wrong size"},
      {"block too long", Put32(Block + 4, 20), "a relocation block has a wrong size"},
      {"block page outside", Put32(Block, mPeImageSize), "page lies outside the image"},
      {"block page unaligned", Put32(Block, mPeDataRva + 8), "page lies outside the image"},
      {"relocation of 32 bits", Put16(Block + 8, 0x3000), "relocation type 3"},
      {"relocation target outside",
       [](File &Image) {
         PePut(Image, Block, mPeRelocationsRva);
         PePut(Image, Block + 8, UINT16{0xAFFC});
       },
       "target lies outside the image"},
      {"relocation of headers", Put32(Block, 0), "target lies outside every section"},
  };
}

std::string RefusalOf(const File &Image) {
  try {
    const LoadedImage Loaded{Image};
    return "loaded";
  } catch (const LoadError &Refused) {
    return Refused.what();
  }
}

TEST(PeLoaderTest, RefusesEveryDamageForItsReason) {
  for (const Damage &Each : Damages()) {
    File Image = PeSampleFile();
    Each.Apply(Image);
    const std::string Refusal = RefusalOf(Image);
    EXPECT_NE(Refusal.find(Each.Refusal), std::string::npos) << Each.Name << ": " << Refusal;
    EXPECT_EQ(Refusal.find('\n'), std::string::npos) << Each.Name;
  }
}

TEST(PeLoaderTest, RefusesEveryTruncation) {
  const File Whole = PeSampleFile();
  for (size_t Size = 0; Size < Whole.size(); Size += Size < 0x400 ? 1 : 0x3F) {
    EXPECT_NE(RefusalOf(File(Whole.begin(), Whole.begin() + static_cast<std::ptrdiff_t>(Size))), "loaded")
        << Size;
  }
}

// Whatever a damaged header still lets through must keep the promises made for every loaded image.
TEST(PeLoaderTest, SurvivesEveryDamagedHeaderByte) {
  const File Whole = PeSampleFile();
  std::vector<size_t> Places;
  for (size_t Offset = 0; Offset < mPeSectionTableOffset + 4 * sizeof(IMAGE_SECTION_HEADER); ++Offset) {
    Places.push_back(Offset);
  }
  for (size_t Offset = mPeRelocationsFileOffset; Offset < mPeRelocationsFileOffset + 16; ++Offset) {
    Places.push_back(Offset);
  }
  for (const size_t Offset : Places) {
    for (const UINT8 Flip : {0x01, 0x10, 0x80, 0xFF}) {
      File Image = Whole;
      Image[Offset] ^= Flip;
      try {
        const LoadedImage Loaded{Image};
        EXPECT_GE(Loaded.Entry(), Loaded.Base() + 0x1000);
        EXPECT_LT(Loaded.Entry(), Loaded.Base() + Loaded.Size());
        for (const ImageSection &Section : Loaded.Sections()) {
          EXPECT_FALSE(Section.Writable && Section.Executable) << Offset;
        }
      } catch (const LoadError &) {
      }
    }
  }
}

TEST(PeLoaderTest, MapsSectionsWithTheirOwnRights) {
  UINT64 Base;
  {
    const LoadedImage Image{PeSampleFile()};
    Base = Image.Base();
    EXPECT_EQ(Image.Size(), mPeImageSize);
    EXPECT_EQ(Image.Entry(), Base + mPeTextRva);
    ASSERT_EQ(Image.Sections().size(), 4u);
    EXPECT_EQ(Image.Sections()[2].Name, ".data");
    const std::pair<UINT32, const char *> Rights[] = {
        {0, "r--"},          {mPeTextRva, "r-x"}, {mPeConstantsRva, "r--"},
        {mPeDataRva, "rw-"}, {0x4000, "rw-"},     {mPeRelocationsRva, "r--"}};
    for (const auto &[Rva, Expected] : Rights) {
      EXPECT_EQ(PePageRights(Base + Rva), Expected) << std::hex << Rva;
    }
    EXPECT_EQ(std::memcmp(reinterpret_cast<void *>(Base), Image.File().data(), mPeHeadersSize), 0);
    EXPECT_EQ(*reinterpret_cast<const UINT64 *>(Base + mPeConstantsRva), 0x1122334455667788u);
    EXPECT_DEATH(*reinterpret_cast<volatile UINT8 *>(Base + mPeTextRva) = 0xC3, "");
    EXPECT_DEATH(*reinterpret_cast<volatile UINT8 *>(Base + mPeConstantsRva) = 1, "");
    EXPECT_DEATH(reinterpret_cast<void (*)()>(Base + mPeDataRva)(), "");
  }
  EXPECT_EQ(PePageRights(Base), "");
}

TEST(PeLoaderTest, LeavesGapsUnreachable) {
  File Image = PeSampleFile();
  PePut(Image, SECTION(Data, VirtualSize), UINT32{0x800}); // The page at 0x4000 now belongs to nobody.
  const LoadedImage Loaded{Image};
  EXPECT_EQ(PePageRights(Loaded.Base() + mPeDataRva), "rw-");
  EXPECT_EQ(PePageRights(Loaded.Base() + 0x4000), "---");
}

TEST(PeLoaderTest, AppliesRelocationsAndZeroesTheRest) {
  const LoadedImage Image{PeSampleFile()};
  const UINT64 *Words = reinterpret_cast<const UINT64 *>(Image.Base() + mPeDataRva);
  EXPECT_EQ(Words[0], Image.Base() + PeRoutineRva("Entry"));
  EXPECT_EQ(Words[1], Image.Base() + mPeDataRva + 0x10);
  for (size_t Index = 2; Index < mPeDataSize / 8; ++Index) {
    ASSERT_EQ(Words[Index], 0u) << Index;
  }
}

TEST(PeLoaderTest, LoadsSomewhereElseEachTime) {
  std::set<UINT64> Bases;
  for (int Time = 0; Time < 8; ++Time) {
    const LoadedImage Image{PeSampleFile()};
    EXPECT_EQ(Image.Base() % 0x1000, 0u);
    Bases.insert(Image.Base());
  }
  EXPECT_GT(Bases.size(), 1u);
}

TEST(PeLoaderTest, ReadsFiles) {
  const PeSampleFiles Files;
  const LoadedImage Image(Files.ImagePath());
  EXPECT_EQ(Image.File(), PeSampleFile());
  EXPECT_THROW(LoadedImage(Files.ImagePath() + ".absent"), LoadError);
  EXPECT_THROW(LoadedImage(std::string("/")), LoadError);
}

} // namespace

// The loader against a valid image and against every way of damaging one. Damaged files must be refused for
// the reason that is wrong with them, and never crash the loader.
#include <gtest/gtest.h>

#include "simulator/PeLoader.h"
#include "tests/simulator/PeSample.h"

namespace {

using File = std::vector<UINT8>;

struct FIELD {
  size_t Offset;
  size_t Bytes;
};

#define FIELD_OF(Start, Type, Member)                                                                        \
  FIELD {                                                                                                    \
    Start + offsetof(Type, Member), sizeof(Type::Member)                                                     \
  }
#define DOS_HEADER(Member) FIELD_OF(0, IMAGE_DOS_HEADER, Member)
#define HEADER(Member) FIELD_OF(mPeFileHeaderOffset, IMAGE_FILE_HEADER, Member)
#define OPTIONAL_HEADER(Member) FIELD_OF(mPeOptionalOffset, IMAGE_OPTIONAL_HEADER64, Member)
#define DIRECTORY(Index, Member) OPTIONAL_HEADER(DataDirectory[IMAGE_DIRECTORY_ENTRY_##Index].Member)
#define SECTION(Index, Member)                                                                               \
  FIELD_OF(mPeSectionTableOffset + Index * sizeof(IMAGE_SECTION_HEADER), IMAGE_SECTION_HEADER, Member)
#define RELOCATION(Member) FIELD_OF(mPeRelocationsFileOffset, IMAGE_BASE_RELOCATION, Member)

enum { Text, Constants, Data, Relocations };

// What the loader says of the file; "loaded" when it takes it.
std::string RefusalOf(const File &Image) {
  try {
    const LoadedImage Loaded{Image};
    return "loaded";
  } catch (const LoadError &Refused) {
    return Refused.what();
  }
}

TEST(PeLoaderTest, RefusesEveryDamageForItsReason) {
  const struct {
    FIELD Field;
    UINT64 Value;
    const char *Refusal;
  } Rows[] = {
      {DOS_HEADER(Magic), 0x4D5A, "no DOS signature"},
      {DOS_HEADER(NewHeaderOffset), 0x20, "wrong offset of the PE header"},
      {DOS_HEADER(NewHeaderOffset), 0x82, "wrong offset of the PE header"},
      {DOS_HEADER(NewHeaderOffset), 0xFFFFFFFC, "the PE header lies outside the file"},
      {FIELD{mPeFileHeaderOffset - 4, 4}, 0x4551, "no PE signature"},
      {HEADER(Machine), IMAGE_FILE_MACHINE_ARM64, "the machine is not x86-64"},
      {HEADER(Characteristics), 0x20, "no executable image"},
      {HEADER(Characteristics), 0x23, "relocations are stripped"},
      {HEADER(NumberOfSections), 0, "no sections"},
      {HEADER(NumberOfSections), 0xFFFF, "the headers do not fit"},
      {HEADER(SizeOfOptionalHeader), 232, "wrong size of the optional header"},
      {OPTIONAL_HEADER(Magic), IMAGE_NT_OPTIONAL_HDR32_MAGIC, "the image is not PE32+"},
      {OPTIONAL_HEADER(NumberOfRvaAndSizes), 5, "wrong size of the optional header"},
      {OPTIONAL_HEADER(Subsystem), 12, "subsystem 12 is not 11"},
      {OPTIONAL_HEADER(FileAlignment), 0x100, "wrong file alignment"},
      {OPTIONAL_HEADER(FileAlignment), 0x600, "wrong file alignment"},
      {OPTIONAL_HEADER(SectionAlignment), 0x800, "the section alignment"},
      {OPTIONAL_HEADER(SectionAlignment), 0x3000, "the section alignment"},
      {OPTIONAL_HEADER(ImageBase), 0x140001000, "the preferred base"},
      {OPTIONAL_HEADER(SizeOfImage), 0, "wrong image size"},
      {OPTIONAL_HEADER(SizeOfImage), 0x5800, "wrong image size"},
      {OPTIONAL_HEADER(SizeOfImage), 0xFFFFF000, "wrong image size"},
      {OPTIONAL_HEADER(SizeOfImage), 0x7000, "not the end of the last section"},
      {OPTIONAL_HEADER(SizeOfHeaders), 0x200, "the headers do not fit"},
      {OPTIONAL_HEADER(SizeOfHeaders), 0x4000, "wrong size of headers"},
      {OPTIONAL_HEADER(AddressOfEntryPoint), mPeDataRva, "the entry point"},
      {OPTIONAL_HEADER(AddressOfEntryPoint), 0x1FFF, "the entry point"},
      {DIRECTORY(IMPORT, VirtualAddress), 0x2000, "import directory"},
      {DIRECTORY(IAT, Size), 8, "import directory"},
      {DIRECTORY(DEBUG, VirtualAddress), 0x6001, "data directory 6"},
      {SECTION(Data, VirtualSize), 0, ".data is empty"},
      {SECTION(Constants, VirtualAddress), 0x2800, ".rdata is not aligned"},
      {SECTION(Text, VirtualSize), 0x1001, ".rdata overlaps"},
      {SECTION(Data, VirtualAddress), 0x1000, ".data overlaps"},
      {SECTION(Relocations, VirtualSize), 0xFFFFFFFF, ".reloc lies outside the image"},
      {SECTION(Text, Characteristics), 0xE0000020, ".text is writable and executable"},
      {SECTION(Data, PointerToRawData), 0xA01, ".data is not aligned in the file"},
      {SECTION(Data, PointerToRawData), 0x2000, ".data lies outside the file"},
      {SECTION(Relocations, SizeOfRawData), 0xFFFFFE00, ".reloc lies outside the file"},
      {SECTION(Data, PointerToRawData), 0x600, ".data overlaps what stands before it in"},
      {DIRECTORY(BASERELOC, VirtualAddress), 0x5FF8, "the relocation directory lies outside"},
      {DIRECTORY(BASERELOC, Size), 16, "a relocation block is cut"},
      {RELOCATION(SizeOfBlock), 4, "a relocation block has a wrong size"},
      {RELOCATION(SizeOfBlock), 14, "a relocation block has a wrong size"},
      {RELOCATION(SizeOfBlock), 20, "a relocation block has a wrong size"},
      {RELOCATION(VirtualAddress), mPeImageSize, "page lies outside the image"},
      {RELOCATION(VirtualAddress), mPeDataRva + 8, "page lies outside the image"},
      {FIELD{mPeRelocationsFileOffset + 8, 2}, 0x3000, "relocation type 3"},
      {RELOCATION(VirtualAddress), 0, "target lies outside every section"},
  };
  for (const auto &Row : Rows) {
    File Image = PeSampleFile();
    std::memcpy(&Image[Row.Field.Offset], &Row.Value, Row.Field.Bytes);
    const std::string Refusal = RefusalOf(Image);
    EXPECT_NE(Refusal.find(Row.Refusal), std::string::npos) << "row " << &Row - Rows << ": " << Refusal;
  }
  File Image = PeSampleFile();
  const UINT32 BeyondTheEnd[] = {mPeRelocationsRva, 12, 0xAFFC};
  std::memcpy(&Image[mPeRelocationsFileOffset], BeyondTheEnd, sizeof(BeyondTheEnd));
  EXPECT_EQ(RefusalOf(Image), "a relocation's target lies outside the image");
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
  for (size_t Offset = 0; Offset < mPeRelocationsFileOffset + 16; ++Offset) {
    if (Offset == mPeHeadersSize) {
      Offset = mPeRelocationsFileOffset;
    }
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
    EXPECT_EQ(Image.Entry(), Base + mPeTextRva);
    const std::pair<UINT32, const char *> Rights[] = {
        {0, "r--"},          {mPeTextRva, "r-x"}, {mPeConstantsRva, "r--"},
        {mPeDataRva, "rw-"}, {0x4000, "rw-"},     {mPeRelocationsRva, "r--"}};
    for (const auto &[Rva, Expected] : Rights) {
      EXPECT_EQ(PePageRights(Base + Rva), Expected) << std::hex << Rva;
    }
    EXPECT_EQ(std::memcmp(reinterpret_cast<void *>(Base), Image.File().data(), mPeHeadersSize), 0);
    EXPECT_EQ(*reinterpret_cast<const UINT64 *>(Base + mPeConstantsRva), 0x1122334455667788u);
  }
  EXPECT_EQ(PePageRights(Base), "");
}

TEST(PeLoaderTest, LeavesGapsUnreachable) {
  File Image = PeSampleFile();
  Image[SECTION(Data, VirtualSize).Offset + 1] = 0x08; // The page at 0x4000 belongs to nobody now.
  const LoadedImage Loaded{Image};
  EXPECT_EQ(PePageRights(Loaded.Base() + mPeDataRva), "rw-");
  EXPECT_EQ(PePageRights(Loaded.Base() + 0x4000), "---");
}

TEST(PeLoaderTest, AppliesRelocationsAndZeroesTheRest) {
  const LoadedImage Image{PeSampleFile()};
  EXPECT_NE(Image.Base(), Image.Headers().PreferredBase);
  std::vector<UINT64> Expected(mPeDataSize / 8);
  Expected[0] = Image.Base() + mPeTextRva;
  Expected[1] = Image.Base() + mPeDataRva + 0x10;
  EXPECT_EQ(std::memcmp(reinterpret_cast<void *>(Image.Base() + mPeDataRva), Expected.data(), mPeDataSize),
            0);
}

TEST(PeLoaderTest, RefusesWhatIsNoFile) {
  EXPECT_THROW(LoadedImage(std::string("/absent")), LoadError);
  EXPECT_THROW(LoadedImage(std::string("/")), LoadError);
}

} // namespace

// Lays out the sample image. Holds no test.
#include "tests/simulator/PeSample.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace {

struct ROUTINE {
  UINT32 Offset;
  char Name[28];
};

} // namespace

extern "C" {
extern const ROUTINE PeSampleTable[], PeSampleTableEnd[];
extern const UINT8 PeSampleCode[], PeSampleCodeEnd[];
}

namespace {

void PutSection(std::vector<UINT8> &File, UINT32 Index, const char *Name, UINT32 Rva, UINT32 Size,
                UINT32 Offset, UINT32 FileSize, UINT32 Characteristics) {
  IMAGE_SECTION_HEADER Header = {};
  std::memcpy(Header.Name, Name, std::strlen(Name));
  Header.VirtualAddress = Rva;
  Header.VirtualSize = Size;
  Header.PointerToRawData = Offset;
  Header.SizeOfRawData = FileSize;
  Header.Characteristics = Characteristics;
  PePut(File, mPeSectionTableOffset + Index * sizeof(Header), Header);
}

void PutHeaders(std::vector<UINT8> &File) {
  IMAGE_DOS_HEADER Dos = {};
  Dos.Magic = IMAGE_DOS_SIGNATURE;
  Dos.NewHeaderOffset = mPeFileHeaderOffset - 4;
  PePut(File, 0, Dos);
  PePut(File, mPeFileHeaderOffset - 4, UINT32{IMAGE_NT_SIGNATURE});
  IMAGE_FILE_HEADER Header = {};
  Header.Machine = IMAGE_FILE_MACHINE_AMD64;
  Header.NumberOfSections = 4;
  Header.SizeOfOptionalHeader = sizeof(IMAGE_OPTIONAL_HEADER64);
  Header.Characteristics = IMAGE_FILE_EXECUTABLE_IMAGE | IMAGE_FILE_LARGE_ADDRESS_AWARE;
  PePut(File, mPeFileHeaderOffset, Header);
  IMAGE_OPTIONAL_HEADER64 Optional = {};
  Optional.Magic = IMAGE_NT_OPTIONAL_HDR64_MAGIC;
  Optional.AddressOfEntryPoint = mPeTextRva;
  Optional.ImageBase = mPePreferredBase;
  Optional.SectionAlignment = 0x1000;
  Optional.FileAlignment = 0x200;
  Optional.SizeOfImage = mPeImageSize;
  Optional.SizeOfHeaders = mPeHeadersSize;
  Optional.Subsystem = IMAGE_SUBSYSTEM_EFI_BOOT_SERVICE_DRIVER;
  Optional.NumberOfRvaAndSizes = IMAGE_NUMBEROF_DIRECTORY_ENTRIES;
  Optional.DataDirectory[IMAGE_DIRECTORY_ENTRY_BASERELOC] = {mPeRelocationsRva, 16};
  PePut(File, mPeOptionalOffset, Optional);
}

void WriteFile(const std::string &Path, const void *Data, size_t Size) {
  std::ofstream Stream(Path, std::ios::binary);
  Stream.write(static_cast<const char *>(Data), static_cast<std::streamsize>(Size));
}

} // namespace

std::vector<UINT8> PeSampleFile() {
  std::vector<UINT8> File(mPeRelocationsFileOffset + 0x200);
  PutHeaders(File);
  constexpr UINT32 Data = IMAGE_SCN_CNT_INITIALIZED_DATA | IMAGE_SCN_MEM_READ;
  PutSection(File, 0, ".text", mPeTextRva, 0xF00, 0x400, 0x1000,
             IMAGE_SCN_CNT_CODE | IMAGE_SCN_MEM_READ | IMAGE_SCN_MEM_EXECUTE);
  PutSection(File, 1, ".rdata", mPeConstantsRva, 0x100, 0x1400, 0x200, Data);
  PutSection(File, 2, ".data", mPeDataRva, mPeDataSize, 0x1600, 0x200, Data | IMAGE_SCN_MEM_WRITE);
  PutSection(File, 3, ".reloc", mPeRelocationsRva, 16, mPeRelocationsFileOffset, 0x200,
             Data | IMAGE_SCN_MEM_DISCARDABLE);
  std::memcpy(File.data() + 0x400, PeSampleCode, static_cast<size_t>(PeSampleCodeEnd - PeSampleCode));
  PePut(File, 0x1400, UINT64{0x1122334455667788});
  PePut(File, 0x1600, mPePreferredBase + mPeTextRva);
  PePut(File, 0x1608, mPePreferredBase + mPeDataRva + 0x10);
  PePut(File, mPeRelocationsFileOffset, IMAGE_BASE_RELOCATION{mPeDataRva, 16});
  PePut(File, mPeRelocationsFileOffset + 8, UINT32{0xA008A000});
  return File;
}

std::string PeSampleMap(UINT32 Entry) {
  std::string Map = " Sample\n\n Preferred load address is 0000000140000000\n\n"
                    "  Address         Publics by Value              Rva+Base               Lib:Object\n\n";
  char Line[120];
  for (const ROUTINE *Each = PeSampleTable; Each != PeSampleTableEnd; ++Each) {
    std::snprintf(Line, sizeof(Line), " 0001:%08x       %-26s %016llx     sample.obj\n", Each->Offset,
                  Each->Name, static_cast<unsigned long long>(mPePreferredBase + mPeTextRva + Each->Offset));
    Map += Line;
  }
  std::snprintf(Line, sizeof(Line), "\n entry point at         0001:%08x\n\n Static symbols\n\n", Entry);
  return Map + Line;
}

PeSampleFiles::PeSampleFiles(const std::string &Map) {
  std::string Pattern = (std::filesystem::temp_directory_path() / "PeSampleXXXXXX").string();
  if (mkdtemp(Pattern.data()) == nullptr) {
    throw std::runtime_error("no temporary directory");
  }
  Directory_ = Pattern;
  const std::vector<UINT8> File = PeSampleFile();
  WriteFile(ImagePath(), File.data(), File.size());
  if (!Map.empty()) {
    WriteFile(Directory_ + "/Sample.map", Map.data(), Map.size());
  }
}

PeSampleFiles::~PeSampleFiles() {
  std::error_code Ignored;
  std::filesystem::remove_all(Directory_, Ignored);
}

std::string PePageRights(UINT64 Address) {
  std::ifstream Maps("/proc/self/maps");
  std::string Line;
  while (std::getline(Maps, Line)) {
    unsigned long long Begin = 0;
    unsigned long long End = 0;
    char Rights[8];
    if (std::sscanf(Line.c_str(), "%llx-%llx %3s", &Begin, &End, Rights) == 3 && Address >= Begin &&
        Address < End) {
      return Rights;
    }
  }
  return {};
}

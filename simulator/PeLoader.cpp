// Checks, maps and relocates a driver image (Microsoft PE/COFF format; UEFI 2.10, section 2.1.1). Must not
// trust any field of the file before it was compared with the sizes of file and image.
#include "simulator/PeLoader.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <fstream>
#include <random>

#include <sys/mman.h>

#include "uefi/PeImage.h"

namespace {

constexpr UINT32 mPageBytes = 0x1000;
constexpr UINT32 mLargestImage = 0x10000000;

void Require(bool Condition, const std::string &Refusal) {
  if (!Condition) {
    throw LoadError(Refusal);
  }
}

UINT64 RoundUp(UINT64 Value, UINT64 Alignment) {
  return (Value + Alignment - 1) & ~(Alignment - 1);
}

// Whether [Offset, Offset + Size) lies in a space of Limit bytes.
bool Inside(UINT64 Offset, UINT64 Size, UINT64 Limit) {
  return Offset <= Limit && Size <= Limit - Offset;
}

template <typename T> T Take(const std::vector<UINT8> &File, UINT64 Offset, const std::string &What) {
  T Value;
  Require(Inside(Offset, sizeof(T), File.size()), What + " lies outside the file");
  std::memcpy(&Value, File.data() + Offset, sizeof(T));
  return Value;
}

void CheckDirectories(const IMAGE_OPTIONAL_HEADER64 &Optional) {
  for (const int Index : {IMAGE_DIRECTORY_ENTRY_IMPORT, IMAGE_DIRECTORY_ENTRY_BOUND_IMPORT,
                          IMAGE_DIRECTORY_ENTRY_IAT, IMAGE_DIRECTORY_ENTRY_DELAY_IMPORT}) {
    const IMAGE_DATA_DIRECTORY &Directory = Optional.DataDirectory[Index];
    Require(Directory.VirtualAddress == 0 && Directory.Size == 0, "the image has an import directory");
  }
  for (UINTN Index = 0; Index < IMAGE_NUMBEROF_DIRECTORY_ENTRIES; ++Index) {
    const IMAGE_DATA_DIRECTORY &Directory = Optional.DataDirectory[Index];
    Require(Index == IMAGE_DIRECTORY_ENTRY_SECURITY ||
                Inside(Directory.VirtualAddress, Directory.Size, Optional.SizeOfImage),
            Index == IMAGE_DIRECTORY_ENTRY_BASERELOC
                ? "the relocation directory lies outside the image"
                : "data directory " + std::to_string(Index) + " lies outside the image");
  }
}

void CheckOptionalHeader(const IMAGE_OPTIONAL_HEADER64 &Optional, UINT64 HeaderEnd, UINT64 FileSize) {
  Require(Optional.Subsystem == IMAGE_SUBSYSTEM_EFI_BOOT_SERVICE_DRIVER,
          "subsystem " + std::to_string(Optional.Subsystem) + " is not 11, EFI boot service driver");
  Require(std::has_single_bit(Optional.FileAlignment) && Optional.FileAlignment >= 0x200 &&
              Optional.FileAlignment <= 0x10000,
          "wrong file alignment");
  Require(std::has_single_bit(Optional.SectionAlignment) && Optional.SectionAlignment >= mPageBytes &&
              Optional.SectionAlignment >= Optional.FileAlignment,
          "the section alignment is below one page or no power of two");
  Require(Optional.ImageBase % 0x10000 == 0, "the preferred base is no multiple of 64 KiB");
  Require(Optional.SizeOfImage != 0 && Optional.SizeOfImage <= mLargestImage &&
              Optional.SizeOfImage % Optional.SectionAlignment == 0,
          "wrong image size");
  Require(Optional.SizeOfHeaders >= HeaderEnd, "the headers do not fit their own size");
  Require(Optional.SizeOfHeaders <= FileSize && Optional.SizeOfHeaders % Optional.FileAlignment == 0 &&
              Optional.SizeOfHeaders < Optional.SizeOfImage,
          "wrong size of headers");
}

ImageSection ReadSection(const IMAGE_SECTION_HEADER &Header) {
  const char *Name = reinterpret_cast<const char *>(Header.Name);
  return {.Name = std::string(Name, strnlen(Name, sizeof(Header.Name))),
          .Rva = Header.VirtualAddress,
          .Size = Header.VirtualSize,
          .FileOffset = Header.PointerToRawData,
          .FileSize = Header.SizeOfRawData,
          .Readable = (Header.Characteristics & IMAGE_SCN_MEM_READ) != 0,
          .Writable = (Header.Characteristics & IMAGE_SCN_MEM_WRITE) != 0,
          .Executable = (Header.Characteristics & IMAGE_SCN_MEM_EXECUTE) != 0};
}

// Sections must follow one another, in memory and in the file, behind the headers.
void CheckSections(const std::vector<ImageSection> &Sections, const IMAGE_OPTIONAL_HEADER64 &Optional,
                   UINT64 FileSize) {
  UINT64 NextRva = RoundUp(Optional.SizeOfHeaders, Optional.SectionAlignment);
  UINT64 NextOffset = Optional.SizeOfHeaders;
  for (const ImageSection &Section : Sections) {
    const std::string Name = "section " + Section.Name;
    Require(Section.Size != 0, Name + " is empty");
    Require(Section.Rva % Optional.SectionAlignment == 0, Name + " is not aligned");
    Require(Section.Rva >= NextRva, Name + " overlaps what stands before it or is out of order");
    Require(Inside(Section.Rva, Section.Size, Optional.SizeOfImage), Name + " lies outside the image");
    Require(!(Section.Writable && Section.Executable), Name + " is writable and executable");
    NextRva = RoundUp(UINT64{Section.Rva} + Section.Size, Optional.SectionAlignment);
    if (Section.FileSize != 0) {
      Require(Section.FileOffset % Optional.FileAlignment == 0, Name + " is not aligned in the file");
      Require(Inside(Section.FileOffset, Section.FileSize, FileSize), Name + " lies outside the file");
      Require(Section.FileOffset >= NextOffset, Name + " overlaps what stands before it in the file");
      NextOffset = UINT64{Section.FileOffset} + Section.FileSize;
    }
  }
  Require(NextRva == Optional.SizeOfImage, "the image size is not the end of the last section");
}

void CheckEntry(const ImageHeaders &Headers) {
  const bool Found =
      std::any_of(Headers.Sections.begin(), Headers.Sections.end(), [&](const ImageSection &Section) {
        return Section.Executable && Headers.EntryRva >= Section.Rva &&
               Headers.EntryRva - Section.Rva < Section.Size;
      });
  Require(Found, "the entry point lies outside executable sections");
}

// The bytes an image address holds before relocation; those behind a section's file data are zero.
void CopyFromImage(const std::vector<UINT8> &File, const ImageHeaders &Headers, UINT64 Rva, void *Target,
                   UINT64 Size) {
  std::memset(Target, 0, Size);
  for (const ImageSection &Section : Headers.Sections) {
    const UINT64 End = UINT64{Section.Rva} + std::min(Section.Size, Section.FileSize);
    const UINT64 From = std::max<UINT64>(Rva, Section.Rva);
    const UINT64 To = std::min(Rva + Size, End);
    if (From < To) {
      std::memcpy(static_cast<UINT8 *>(Target) + (From - Rva),
                  File.data() + Section.FileOffset + (From - Section.Rva), To - From);
    }
  }
}

// Calls Visit(Rva) for every 64-bit field to relocate; throws LoadError at the first thing that is wrong.
template <typename Visitor>
void ForEachRelocation(const std::vector<UINT8> &File, const ImageHeaders &Headers, Visitor Visit) {
  UINT64 Offset = 0;
  while (Offset < Headers.RelocationSize) {
    IMAGE_BASE_RELOCATION Block;
    const UINT64 Left = Headers.RelocationSize - Offset;
    Require(Left >= sizeof(Block), "a relocation block is cut off");
    const UINT64 Rva = Headers.RelocationRva + Offset;
    CopyFromImage(File, Headers, Rva, &Block, sizeof(Block));
    Require(Block.SizeOfBlock >= sizeof(Block) && Block.SizeOfBlock % 4 == 0 && Block.SizeOfBlock <= Left,
            "a relocation block has a wrong size");
    Require(Block.VirtualAddress % mPageBytes == 0 && Block.VirtualAddress < Headers.SizeOfImage,
            "a relocation block's page lies outside the image");
    std::vector<UINT16> Entries((Block.SizeOfBlock - sizeof(Block)) / sizeof(UINT16));
    CopyFromImage(File, Headers, Rva + sizeof(Block), Entries.data(), Entries.size() * sizeof(UINT16));
    for (const UINT16 Entry : Entries) {
      const UINT16 Type = Entry >> 12;
      if (Type == IMAGE_REL_BASED_ABSOLUTE) {
        continue;
      }
      Require(Type == IMAGE_REL_BASED_DIR64, "relocation type " + std::to_string(Type) + " is not 64-bit");
      const UINT64 Target = UINT64{Block.VirtualAddress} + (Entry & 0xFFF);
      Require(Inside(Target, sizeof(UINT64), Headers.SizeOfImage),
              "a relocation's target lies outside the image");
      const bool InSection =
          std::any_of(Headers.Sections.begin(), Headers.Sections.end(), [&](const ImageSection &Section) {
            return Target >= Section.Rva && Inside(Target - Section.Rva, sizeof(UINT64), Section.Size);
          });
      Require(InSection, "a relocation's target lies outside every section");
      Visit(Target);
    }
    Offset += Block.SizeOfBlock;
  }
}

ImageHeaders CheckFile(const std::vector<UINT8> &File) {
  const auto Dos = Take<IMAGE_DOS_HEADER>(File, 0, "the DOS header");
  Require(Dos.Magic == IMAGE_DOS_SIGNATURE, "no DOS signature");
  const UINT64 SignatureOffset = Dos.NewHeaderOffset;
  Require(SignatureOffset >= sizeof(Dos) && SignatureOffset % 4 == 0, "wrong offset of the PE header");
  Require(Take<UINT32>(File, SignatureOffset, "the PE header") == IMAGE_NT_SIGNATURE, "no PE signature");

  const UINT64 FileHeaderOffset = SignatureOffset + sizeof(UINT32);
  const auto Header = Take<IMAGE_FILE_HEADER>(File, FileHeaderOffset, "the file header");
  Require(Header.Machine == IMAGE_FILE_MACHINE_AMD64, "the machine is not x86-64");
  Require((Header.Characteristics & IMAGE_FILE_EXECUTABLE_IMAGE) != 0, "the file is no executable image");
  Require((Header.Characteristics & IMAGE_FILE_RELOCS_STRIPPED) == 0, "relocations are stripped");
  Require(Header.NumberOfSections != 0, "the image has no sections");

  const UINT64 OptionalOffset = FileHeaderOffset + sizeof(Header);
  Require(Take<UINT16>(File, OptionalOffset, "the optional header") == IMAGE_NT_OPTIONAL_HDR64_MAGIC,
          "the image is not PE32+");
  const auto Optional = Take<IMAGE_OPTIONAL_HEADER64>(File, OptionalOffset, "the optional header");
  Require(Header.SizeOfOptionalHeader == sizeof(Optional) &&
              Optional.NumberOfRvaAndSizes == IMAGE_NUMBEROF_DIRECTORY_ENTRIES,
          "wrong size of the optional header");

  const UINT64 TableOffset = OptionalOffset + sizeof(Optional);
  const UINT64 TableEnd = TableOffset + UINT64{Header.NumberOfSections} * sizeof(IMAGE_SECTION_HEADER);
  CheckOptionalHeader(Optional, TableEnd, File.size());

  ImageHeaders Result;
  for (UINT64 Offset = TableOffset; Offset < TableEnd; Offset += sizeof(IMAGE_SECTION_HEADER)) {
    Result.Sections.push_back(ReadSection(Take<IMAGE_SECTION_HEADER>(File, Offset, "the section table")));
  }
  CheckSections(Result.Sections, Optional, File.size());
  CheckDirectories(Optional);
  Result.PreferredBase = Optional.ImageBase;
  Result.SizeOfImage = Optional.SizeOfImage;
  Result.SizeOfHeaders = Optional.SizeOfHeaders;
  Result.EntryRva = Optional.AddressOfEntryPoint;
  Result.RelocationRva = Optional.DataDirectory[IMAGE_DIRECTORY_ENTRY_BASERELOC].VirtualAddress;
  Result.RelocationSize = Optional.DataDirectory[IMAGE_DIRECTORY_ENTRY_BASERELOC].Size;
  CheckEntry(Result);
  ForEachRelocation(File, Result, [](UINT64) {});
  return Result;
}

std::vector<UINT8> ReadFile(const std::string &Path) {
  std::ifstream Stream(Path, std::ios::binary | std::ios::ate);
  Require(Stream.is_open(), Path + " cannot be opened");
  const std::streamoff Size = Stream.tellg();
  Require(Size >= 0 && Size <= mLargestImage, Path + " is no file of a driver's size");
  std::vector<UINT8> File(static_cast<size_t>(Size));
  Stream.seekg(0);
  Stream.read(reinterpret_cast<char *>(File.data()), Size);
  Require(Stream.good(), Path + " cannot be read");
  return File;
}

// Fresh pages somewhere in the middle of the address space, far from what the process has mapped itself.
UINT64 MapAnywhere(UINT64 Size) {
  std::random_device Device;
  std::uniform_int_distribution<UINT64> Page(0x200000000, 0x4FFFFFFFF);
  for (int Try = 0; Try < 64; ++Try) {
    void *Wanted = reinterpret_cast<void *>(Page(Device) * mPageBytes);
    void *Got =
        mmap(Wanted, Size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED_NOREPLACE, -1, 0);
    if (Got == Wanted) {
      return reinterpret_cast<UINT64>(Got);
    }
    if (Got != MAP_FAILED) {
      munmap(Got, Size);
    }
  }
  throw LoadError("no memory for the image");
}

} // namespace

LoadedImage::LoadedImage(const std::string &Path) : LoadedImage(ReadFile(Path)) {}

LoadedImage::LoadedImage(std::vector<UINT8> File) : File_(std::move(File)), Headers_(CheckFile(File_)) {
  Map();
}

LoadedImage::~LoadedImage() {
  munmap(reinterpret_cast<void *>(Base_), Headers_.SizeOfImage);
}

void LoadedImage::Map() {
  Base_ = MapAnywhere(Headers_.SizeOfImage);
  UINT8 *Memory = reinterpret_cast<UINT8 *>(Base_);
  std::memcpy(Memory, File_.data(), Headers_.SizeOfHeaders);
  for (const ImageSection &Section : Headers_.Sections) {
    std::memcpy(Memory + Section.Rva, File_.data() + Section.FileOffset,
                std::min(Section.Size, Section.FileSize));
  }
  Relocate();
  // What no section claims stays out of reach.
  bool Done = mprotect(Memory, Headers_.SizeOfImage, PROT_NONE) == 0;
  Done = mprotect(Memory, RoundUp(Headers_.SizeOfHeaders, mPageBytes), PROT_READ) == 0 && Done;
  for (const ImageSection &Section : Headers_.Sections) {
    const int Rights = (Section.Readable ? PROT_READ : 0) | (Section.Writable ? PROT_WRITE : 0) |
                       (Section.Executable ? PROT_EXEC : 0);
    Done = mprotect(Memory + Section.Rva, RoundUp(Section.Size, mPageBytes), Rights) == 0 && Done;
  }
  if (!Done) {
    munmap(Memory, Headers_.SizeOfImage);
    throw LoadError("page rights cannot be set");
  }
}

void LoadedImage::Relocate() {
  ForEachRelocation(File_, Headers_, [&](UINT64 Rva) {
    UINT64 Field;
    void *Place = reinterpret_cast<void *>(Base_ + Rva);
    std::memcpy(&Field, Place, sizeof(Field));
    Field += Base_ - Headers_.PreferredBase;
    std::memcpy(Place, &Field, sizeof(Field));
  });
}

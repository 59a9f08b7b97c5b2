// Lays out the sample image. Holds no test.
#include "tests/simulator/PeSample.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace {

struct Routine {
  const char *Name;
  std::vector<UINT8> Code;
};

constexpr UINT32 mStride = 0x40;

// Arguments come in rcx, rdx, r8, r9; every routine but Halt returns.
const std::vector<Routine> &Routines() {
  static const std::vector<Routine> All = {
      {"Entry", {0x48, 0x8D, 0x04, 0x11, 0xC3}}, // lea rax,[rcx+rdx]
      // rax = eight arguments as hexadecimal digits, the first one leading
      {"Digits",
       {0x48, 0x89, 0xC8, 0x48, 0xC1, 0xE0, 0x04, 0x48, 0x01, 0xD0, 0x48, 0xC1, 0xE0, 0x04, 0x4C, 0x01,
        0xC0, 0x48, 0xC1, 0xE0, 0x04, 0x4C, 0x01, 0xC8, 0x48, 0xC1, 0xE0, 0x04, 0x48, 0x03, 0x44, 0x24,
        0x28, 0x48, 0xC1, 0xE0, 0x04, 0x48, 0x03, 0x44, 0x24, 0x30, 0x48, 0xC1, 0xE0, 0x04, 0x48, 0x03,
        0x44, 0x24, 0x38, 0x48, 0xC1, 0xE0, 0x04, 0x48, 0x03, 0x44, 0x24, 0x40, 0xC3}},
      // mov al,cl; mov dx,0x70; out dx,al; inc dx; in al,dx; movzx eax,al
      {"CmosRead",
       {0x88, 0xC8, 0x66, 0xBA, 0x70, 0x00, 0xEE, 0x66, 0xFF, 0xC2, 0xEC, 0x0F, 0xB6, 0xC0, 0xC3}},
      // mov rax,rcx; out 0x70,al; in al,0x71
      {"CmosReadImmediate", {0x48, 0x89, 0xC8, 0xE6, 0x70, 0xE4, 0x71, 0xC3}},
      // mov al,cl; out 0x70,al; mov al,dl; out 0x71,al
      {"CmosWrite", {0x88, 0xC8, 0xE6, 0x70, 0x88, 0xD0, 0xE6, 0x71, 0xC3}},
      {"PortIn", {0x66, 0x89, 0xCA, 0xEC, 0xC3}},             // mov dx,cx; in al,dx
      {"PortOut", {0x66, 0x89, 0xCA, 0xEE, 0xC3}},            // mov dx,cx; out dx,al
      {"PortInWide", {0x66, 0x89, 0xCA, 0xED, 0xC3}},         // mov dx,cx; in eax,dx
      {"PortInWord", {0x66, 0x89, 0xCA, 0x66, 0xED, 0xC3}},   // mov dx,cx; in ax,dx
      {"PortInString", {0x66, 0x89, 0xCA, 0xF3, 0x6C, 0xC3}}, // mov dx,cx; rep insb
      {"ReadNowhere", {0x31, 0xC0, 0x48, 0x8B, 0x00, 0xC3}},  // xor eax,eax; mov rax,[rax]
      // sub rsp,24; mov qword [rsp],0; again: mov rax,[rsp]; test rax,rax; je again
      {"Halt", {0x48, 0x83, 0xEC, 0x18, 0x48, 0xC7, 0x04, 0x24, 0x00, 0x00, 0x00, 0x00, 0x48,
                0x8B, 0x04, 0x24, 0x48, 0x85, 0xC0, 0x74, 0xF7, 0x48, 0x83, 0xC4, 0x18, 0xC3}},
      {"CountDown", {0x48, 0xFF, 0xC9, 0x75, 0xFB, 0xC3}}, // again: dec rcx; jne again
      // push 0; again: inc qword [rsp]; cmp [rsp],rcx; jb again; pop rax
      {"CountOnStack", {0x6A, 0x00, 0x48, 0xFF, 0x04, 0x24, 0x48, 0x39, 0x0C, 0x24, 0x72, 0xF6, 0x58, 0xC3}},
      // push rdi; mov r9,rcx; mov r10,rdx; again: mov rdi,r9; mov rcx,r10; xor eax,eax; rep stosb; dec r8;
      // jne again; pop rdi
      {"Fill", {0x57, 0x49, 0x89, 0xC9, 0x49, 0x89, 0xD2, 0x4C, 0x89, 0xCF, 0x4C, 0x89,
                0xD1, 0x31, 0xC0, 0xF3, 0xAA, 0x49, 0xFF, 0xC8, 0x75, 0xF1, 0x5F, 0xC3}},
      {"BreakRbx", {0x31, 0xDB, 0xC3}},
      {"BreakRbp", {0x31, 0xED, 0xC3}},
      {"BreakRdi", {0x31, 0xFF, 0xC3}},
      {"BreakRsi", {0x31, 0xF6, 0xC3}},
      {"BreakR12", {0x45, 0x31, 0xE4, 0xC3}},
      {"BreakR13", {0x45, 0x31, 0xED, 0xC3}},
      {"BreakR14", {0x45, 0x31, 0xF6, 0xC3}},
      {"BreakR15", {0x45, 0x31, 0xFF, 0xC3}},
      {"BreakXmm6", {0x0F, 0x57, 0xF6, 0xC3}},
      {"BreakXmm7", {0x0F, 0x57, 0xFF, 0xC3}},
      {"BreakXmm8", {0x45, 0x0F, 0x57, 0xC0, 0xC3}},
      {"BreakXmm9", {0x45, 0x0F, 0x57, 0xC9, 0xC3}},
      {"BreakXmm10", {0x45, 0x0F, 0x57, 0xD2, 0xC3}},
      {"BreakXmm11", {0x45, 0x0F, 0x57, 0xDB, 0xC3}},
      {"BreakXmm12", {0x45, 0x0F, 0x57, 0xE4, 0xC3}},
      {"BreakXmm13", {0x45, 0x0F, 0x57, 0xED, 0xC3}},
      {"BreakXmm14", {0x45, 0x0F, 0x57, 0xF6, 0xC3}},
      {"BreakXmm15", {0x45, 0x0F, 0x57, 0xFF, 0xC3}},
      // stmxcsr [rsp+8]; or byte [rsp+9],0x80 (flush to zero); ldmxcsr [rsp+8]
      {"BreakMxcsr",
       {0x0F, 0xAE, 0x5C, 0x24, 0x08, 0x80, 0x4C, 0x24, 0x09, 0x80, 0x0F, 0xAE, 0x54, 0x24, 0x08, 0xC3}},
      // the same with byte [rsp+8],0x20: the inexact flag, which is free to change
      {"SetMxcsrStatus",
       {0x0F, 0xAE, 0x5C, 0x24, 0x08, 0x80, 0x4C, 0x24, 0x08, 0x20, 0x0F, 0xAE, 0x54, 0x24, 0x08, 0xC3}},
      // fnstcw [rsp+8]; and byte [rsp+9],0xFC (single precision); fldcw [rsp+8]
      {"BreakX87", {0xD9, 0x7C, 0x24, 0x08, 0x80, 0x64, 0x24, 0x09, 0xFC, 0xD9, 0x6C, 0x24, 0x08, 0xC3}},
      {"BreakDirection", {0xFD, 0xC3}},
      // xor of rax, rcx, rdx, r8 to r11 and xmm0 to xmm5 with themselves: all free to change
      {"UseVolatile", {0x31, 0xC0, 0x31, 0xC9, 0x31, 0xD2, 0x45, 0x31, 0xC0, 0x45, 0x31, 0xC9, 0x45,
                       0x31, 0xD2, 0x45, 0x31, 0xDB, 0x0F, 0x57, 0xC0, 0x0F, 0x57, 0xC9, 0x0F, 0x57,
                       0xD2, 0x0F, 0x57, 0xDB, 0x0F, 0x57, 0xE4, 0x0F, 0x57, 0xED, 0xC3}},
      {"UseYmm0", {0xC5, 0xFC, 0x57, 0xC0, 0xC3}},       // vxorps ymm0,ymm0,ymm0
      {"UseYmm9", {0xC4, 0x41, 0x34, 0x57, 0xC9, 0xC3}}, // vxorps ymm9,ymm9,ymm9
      // mov rax,rsp; sub rax,rcx; mov byte [rax],1; sub rsp,0x28; call rdx; add rsp,0x28
      {"TouchAndCall", {0x48, 0x89, 0xE0, 0x48, 0x29, 0xC8, 0xC6, 0x00, 0x01, 0x48,
                        0x83, 0xEC, 0x28, 0xFF, 0xD2, 0x48, 0x83, 0xC4, 0x28, 0xC3}},
      {"Touch", {0x48, 0x89, 0xE0, 0x48, 0x29, 0xC8, 0xC6, 0x00, 0x01, 0xC3}},
      // leaf in ecx, subleaf in edx, eax ebx ecx edx go to [r8]
      {"ProcessorCpuid", {0x53, 0x89, 0xC8, 0x89, 0xD1, 0x0F, 0xA2, 0x41, 0x89, 0x00, 0x41, 0x89,
                          0x58, 0x04, 0x41, 0x89, 0x48, 0x08, 0x41, 0x89, 0x50, 0x0C, 0x5B, 0xC3}},
      {"ProcessorTimeStamp", {0x0F, 0x31, 0x48, 0xC1, 0xE2, 0x20, 0x48, 0x09, 0xD0, 0xC3}},
      // rdrand rax or rdseed rax; mov [rcx],rax; setc al; movzx eax,al
      {"ProcessorRdrand",
       {0x48, 0x0F, 0xC7, 0xF0, 0x48, 0x89, 0x01, 0x0F, 0x92, 0xC0, 0x0F, 0xB6, 0xC0, 0xC3}},
      {"ProcessorRdseed",
       {0x48, 0x0F, 0xC7, 0xF8, 0x48, 0x89, 0x01, 0x0F, 0x92, 0xC0, 0x0F, 0xB6, 0xC0, 0xC3}},
      // the same with rdrand r9d: 32 bits, a high register
      {"OPENSSL_ia32_rdrand_bytes",
       {0x41, 0x0F, 0xC7, 0xF1, 0x4C, 0x89, 0x09, 0x0F, 0x92, 0xC0, 0x0F, 0xB6, 0xC0, 0xC3}},
      // mov eax,0xA20F310F: rdtsc and cpuid only inside a constant
      {"OPENSSL_rdtsc", {0xB8, 0x0F, 0x31, 0x0F, 0xA2, 0xC3}},
  };
  return All;
}

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
  const UINT32 TextSize = static_cast<UINT32>(Routines().size()) * mStride;
  PutHeaders(File);
  PutSection(File, 0, ".text", mPeTextRva, TextSize, 0x400, 0x1000,
             IMAGE_SCN_CNT_CODE | IMAGE_SCN_MEM_READ | IMAGE_SCN_MEM_EXECUTE);
  PutSection(File, 1, ".rdata", mPeConstantsRva, 0x100, 0x1400, 0x200,
             IMAGE_SCN_CNT_INITIALIZED_DATA | IMAGE_SCN_MEM_READ);
  PutSection(File, 2, ".data", mPeDataRva, mPeDataSize, 0x1600, 0x200,
             IMAGE_SCN_CNT_INITIALIZED_DATA | IMAGE_SCN_MEM_READ | IMAGE_SCN_MEM_WRITE);
  PutSection(File, 3, ".reloc", mPeRelocationsRva, 16, mPeRelocationsFileOffset, 0x200,
             IMAGE_SCN_CNT_INITIALIZED_DATA | IMAGE_SCN_MEM_READ | IMAGE_SCN_MEM_DISCARDABLE);
  for (const Routine &Each : Routines()) {
    std::memcpy(File.data() + 0x400 + (PeRoutineRva(Each.Name) - mPeTextRva), Each.Code.data(),
                Each.Code.size());
  }
  PePut(File, 0x1400, UINT64{0x1122334455667788});
  PePut(File, 0x1600, mPePreferredBase + PeRoutineRva("Entry"));
  PePut(File, 0x1608, mPePreferredBase + mPeDataRva + 0x10);
  PePut(File, mPeRelocationsFileOffset, IMAGE_BASE_RELOCATION{mPeDataRva, 16});
  for (UINT32 Index = 0; const UINT16 Entry : {0xA000, 0xA008, 0, 0}) {
    PePut(File, mPeRelocationsFileOffset + 8 + 2 * Index++, Entry);
  }
  return File;
}

std::string PeSampleMap() {
  std::string Map =
      " Sample\n\n Timestamp is 00000000 (Repro mode)\n\n Preferred load address is 0000000140000000\n\n"
      " Start         Length     Name                   Class\n"
      " 0001:00000000 00000b00H .text                   CODE\n\n"
      "  Address         Publics by Value              Rva+Base               Lib:Object\n\n";
  char Line[120];
  for (const Routine &Each : Routines()) {
    const UINT32 Rva = PeRoutineRva(Each.Name);
    std::snprintf(Line, sizeof(Line), " 0001:%08x       %-26s %016llx     sample.obj\n", Rva - mPeTextRva,
                  Each.Name, static_cast<unsigned long long>(mPePreferredBase + Rva));
    Map += Line;
  }
  return Map + "\n entry point at         0001:00000000\n\n Static symbols\n\n";
}

UINT32 PeRoutineRva(const std::string &Name) {
  UINT32 Rva = mPeTextRva;
  for (const Routine &Each : Routines()) {
    if (Each.Name == Name) {
      return Rva;
    }
    Rva += mStride;
  }
  throw std::out_of_range(Name);
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

// The finished image as a file: what a loader, a reviewer and a flash part ask
// of it.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <regex>
#include <set>

#include "simulator/LinkMap.h"
#include "simulator/PeLoader.h"
#include "tests/support/DriverTest.h"
#include "uefi/PeImage.h"

namespace {

namespace fs = std::filesystem;

Bytes ReadFile(const fs::path &Path) {
  std::ifstream Stream(Path, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(Stream), {});
}

// Standard output of a command; its failure fails the test.
std::string Output(const std::string &Command) {
  std::unique_ptr<FILE, int (*)(FILE *)> Pipe(popen(Command.c_str(), "r"), pclose);
  std::string Text;
  std::array<char, 4096> Chunk;
  while (Pipe && fgets(Chunk.data(), Chunk.size(), Pipe.get()) != nullptr) {
    Text += Chunk.data();
  }
  EXPECT_EQ(Pipe ? pclose(Pipe.release()) : -1, 0) << Command;
  return Text;
}

class ImageFileTest : public testing::Test {
protected:
  const Bytes File = ReadFile(TestedImage());
  const IMAGE_DOS_HEADER &Dos() { return At<IMAGE_DOS_HEADER>(0); }
  // Behind the four bytes of the signature.
  const IMAGE_FILE_HEADER &Coff() { return At<IMAGE_FILE_HEADER>(Dos().NewHeaderOffset + 4); }
  const IMAGE_OPTIONAL_HEADER64 &Optional() {
    return At<IMAGE_OPTIONAL_HEADER64>(Dos().NewHeaderOffset + 4 + sizeof(IMAGE_FILE_HEADER));
  }

  template <typename TYPE> const TYPE &At(UINTN Offset) {
    EXPECT_LE(Offset + sizeof(TYPE), File.size());
    return *reinterpret_cast<const TYPE *>(File.data() + Offset);
  }
};

TEST_F(ImageFileTest, HeaderSaysWhatTheImageIs) {
  const IMAGE_OPTIONAL_HEADER64 &Optional = this->Optional();
  EXPECT_EQ(Coff().Machine, IMAGE_FILE_MACHINE_AMD64);
  EXPECT_EQ(Optional.Magic, IMAGE_NT_OPTIONAL_HDR64_MAGIC);
  EXPECT_EQ(Optional.Subsystem, IMAGE_SUBSYSTEM_EFI_BOOT_SERVICE_DRIVER);
  EXPECT_EQ(Optional.SectionAlignment, 4096U);
  EXPECT_EQ(Optional.FileAlignment, 4096U);
  EXPECT_NE(Optional.DllCharacteristics & IMAGE_DLLCHARACTERISTICS_NX_COMPAT, 0);
  EXPECT_NE(Optional.DllCharacteristics & IMAGE_DLLCHARACTERISTICS_DYNAMIC_BASE, 0);
  EXPECT_NE(Optional.DataDirectory[IMAGE_DIRECTORY_ENTRY_BASERELOC].Size, 0U);
  for (UINT32 Absent : {IMAGE_DIRECTORY_ENTRY_IMPORT, IMAGE_DIRECTORY_ENTRY_EXPORT, IMAGE_DIRECTORY_ENTRY_TLS,
                        IMAGE_DIRECTORY_ENTRY_EXCEPTION}) {
    EXPECT_EQ(Optional.DataDirectory[Absent].Size, 0U) << "data directory " << Absent;
  }
}

TEST_F(ImageFileTest, SectionsAreTheExpectedOnesWithTheirRights) {
  LoadedImage Loaded(TestedImage());
  std::set<std::string> Names;
  for (const auto &Section : Loaded.Sections()) {
    Names.insert(Section.Name);
    EXPECT_FALSE(Section.Writable && Section.Executable) << Section.Name;
    EXPECT_EQ(Section.Executable, Section.Name == ".text") << Section.Name;
    EXPECT_EQ(Section.Writable, Section.Name == ".data") << Section.Name;
  }
  EXPECT_EQ(Names, (std::set<std::string>{".data", ".rdata", ".reloc", ".text"}));
}

// A name that libraries of a hosted system or compilers bring in means that something was linked that should
// not be.
TEST_F(ImageFileTest, NoUnexpectedSymbol) {
  fs::path MapPath = fs::path(TestedImage()).replace_extension(".map");
  std::ifstream Map(MapPath);
  ASSERT_TRUE(Map) << MapPath;
  const std::regex Unexpected(
      R"( (__chkstk\S*|_Unwind\S*|__cxa_\S*|__gxx_\S*|_Zn\S*|_Zd\S*|_ZSt\S*|__stack_chk\S*|)"
      R"(printf|fprintf|puts|OutputDebug\S*|DebugPrint\S*) )");
  UINTN Symbols = 0;
  for (std::string Line; std::getline(Map, Line);) {
    Symbols += Line.find(" 00000001400") != std::string::npos ? 1 : 0;
    EXPECT_FALSE(std::regex_search(Line, Unexpected)) << Line;
  }
  EXPECT_GT(Symbols, 50U);
}

// Interrupt code in firmware saves the FXSAVE state alone. Compiled code holds no AVX unless it is asked for,
// so the library's generated assembler is what to look at: a disassembly of the image would take its tables
// for code.
TEST_F(ImageFileTest, TheLibrarysAssemblerHoldsNoAvx) {
  const std::regex Vector(R"(^\s*(v[a-z0-9]+\s.*%[xyz]mm|vzero(upper|all)))");
  UINTN Files = 0;
  for (const auto &Entry : fs::recursive_directory_iterator(OPENSSL_CACHE "/image/crypto")) {
    if (Entry.path().extension() != ".s") {
      continue;
    }
    Files++;
    std::ifstream Source(Entry.path());
    for (std::string Line; std::getline(Source, Line);) {
      // A regular expression for each of so many lines takes seconds.
      if (Line.find("mm") != std::string::npos || Line.find("vzero") != std::string::npos) {
        ASSERT_FALSE(std::regex_search(Line, Vector)) << Entry.path() << ": " << Line;
      }
    }
  }
  EXPECT_GT(Files, 15U);
}

// The fast routines, by an instruction that only they hold.
TEST_F(ImageFileTest, HoldsTheAssemblerRoutines) {
  const std::string Code = Output("llvm-objdump -d --no-show-raw-insn '" + TestedImage() + "'");
  for (const char *Instruction : {"sha256rnds2", "sha1rnds4", "pshufb"}) {
    EXPECT_NE(Code.find(Instruction), std::string::npos) << Instruction;
  }
}

} // namespace

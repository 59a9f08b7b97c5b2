// A small but whole driver image made by code: the loader's tests damage it, the machine's tests run the
// routines in it. Its machine code is written by hand, so that each routine does exactly one thing to the
// processor.
#pragma once

#include <cstring>
#include <string>
#include <vector>

#include "uefi/PeImage.h"

constexpr UINT32 mPeOptionalOffset = 0x98;
constexpr UINT32 mPeFileHeaderOffset = mPeOptionalOffset - sizeof(IMAGE_FILE_HEADER);
constexpr UINT32 mPeSectionTableOffset = mPeOptionalOffset + sizeof(IMAGE_OPTIONAL_HEADER64);
constexpr UINT32 mPeHeadersSize = 0x400;
constexpr UINT64 mPePreferredBase = 0x140000000;
constexpr UINT32 mPeTextRva = 0x1000;
constexpr UINT32 mPeConstantsRva = 0x2000;
constexpr UINT32 mPeDataRva = 0x3000;
constexpr UINT32 mPeDataSize = 0x1800; // Reaches into a second page, beyond the file's bytes.
constexpr UINT32 mPeRelocationsRva = 0x5000;
constexpr UINT32 mPeImageSize = 0x6000;
constexpr UINT32 mPeRelocationsFileOffset = 0x1800;

// The whole file. Sections .text, .rdata, .data, .reloc; .data starts with two relocated pointers, to the
// routine "Entry" and to .data + 0x10.
std::vector<UINT8> PeSampleFile();

// The map file that lld-link would write beside it.
std::string PeSampleMap();

// RVA of a routine by its name in PeSample.cpp.
UINT32 PeRoutineRva(const std::string &Name);

// The two files in a directory of their own, removed with it.
class PeSampleFiles {
public:
  // Writes the map only when its text is not empty.
  explicit PeSampleFiles(const std::string &Map = PeSampleMap());
  ~PeSampleFiles();
  PeSampleFiles(const PeSampleFiles &) = delete;
  PeSampleFiles &operator=(const PeSampleFiles &) = delete;

  std::string ImagePath() const { return Directory_ + "/Sample.efi"; }

private:
  std::string Directory_;
};

// What the kernel lets happen at Address, such as "r-x"; empty where nothing is mapped.
std::string PePageRights(UINT64 Address);

template <typename T> void PePut(std::vector<UINT8> &File, UINT64 Offset, T Value) {
  std::memcpy(File.data() + Offset, &Value, sizeof(Value));
}

// A small but whole driver image made by code: the loader's tests damage it, the machine's tests run the
// routines in it (PeSampleCode.S).
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
// routine "Entry", which comes first, and to .data + 0x10.
std::vector<UINT8> PeSampleFile();

// The map file that lld-link would write beside it, with the entry point at that offset into the code.
std::string PeSampleMap(UINT32 Entry = 0);

// The two files in a directory of their own, removed with it; no map when its text is empty.
class PeSampleFiles {
public:
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

template <typename T> void PePut(std::vector<UINT8> &File, UINT64 Offset, const T &Value) {
  std::memcpy(File.data() + Offset, &Value, sizeof(Value));
}

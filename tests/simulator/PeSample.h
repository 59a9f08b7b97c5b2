// The sample image (PeSample.S) as the linker lays it out, for tests that damage it or run it.
#pragma once

#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "uefi/PeImage.h"

constexpr UINT32 mPeFileHeaderOffset = 0x7C;
constexpr UINT32 mPeOptionalOffset = mPeFileHeaderOffset + sizeof(IMAGE_FILE_HEADER);
constexpr UINT32 mPeSectionTableOffset = mPeOptionalOffset + sizeof(IMAGE_OPTIONAL_HEADER64);
constexpr UINT32 mPeHeadersSize = 0x400;
constexpr UINT32 mPeTextRva = 0x1000;
constexpr UINT32 mPeConstantsRva = 0x2000;
constexpr UINT32 mPeDataRva = 0x3000;
constexpr UINT32 mPeDataSize = 0x1710;
constexpr UINT32 mPeRelocationsRva = 0x5000;
constexpr UINT32 mPeImageSize = 0x6000;
constexpr UINT32 mPeRelocationsFileOffset = 0xC00;

// The whole file at PE_SAMPLE_PATH; its map lies beside it.
inline std::vector<UINT8> PeSampleFile() {
  std::ifstream Stream(PE_SAMPLE_PATH, std::ios::binary);
  return {std::istreambuf_iterator<char>(Stream), {}};
}

// What the kernel lets happen at Address, such as "r-x"; empty where nothing is mapped.
inline std::string PePageRights(UINT64 Address) {
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

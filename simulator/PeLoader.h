// Loads a PE32+ boot-service driver as a careful firmware would: everything the file says of itself is
// checked before any memory is mapped, and no page is ever writable and executable at once. Runs none of the
// image's code.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "uefi/Base.h"

// Why a driver cannot be loaded, in one line.
class LoadError : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

// A section as mapped. Rva is relative to the image base; Size is in bytes, before rounding up to whole
// pages.
struct ImageSection {
  std::string Name;
  UINT32 Rva;
  UINT32 Size;
  UINT32 FileOffset;
  UINT32 FileSize;
  bool Readable;
  bool Writable;
  bool Executable;
};

// What the headers of a checked file say.
struct ImageHeaders {
  UINT64 PreferredBase = 0;
  UINT32 SizeOfImage = 0;
  UINT32 SizeOfHeaders = 0;
  UINT32 EntryRva = 0;
  UINT32 RelocationRva = 0;
  UINT32 RelocationSize = 0;
  std::vector<ImageSection> Sections;
};

class LoadedImage {
public:
  // Reads the file at Path, checks it, and maps it at a page-aligned address chosen at random, headers
  // read-only and each section with its own rights. Throws LoadError, with nothing mapped, unless the file is
  // a PE32+ image for x86-64 and subsystem 11 (EFI boot service driver) with relocations, no imports, no
  // section both writable and executable, page-aligned sections in order and without overlap, and every range
  // inside file and image.
  explicit LoadedImage(const std::string &Path);

  // The same from bytes in memory.
  explicit LoadedImage(std::vector<UINT8> File);

  ~LoadedImage();
  LoadedImage(const LoadedImage &) = delete;
  LoadedImage &operator=(const LoadedImage &) = delete;

  UINT64 Base() const { return Base_; }
  UINT64 Size() const { return Headers_.SizeOfImage; }
  UINT64 Entry() const { return Base_ + Headers_.EntryRva; }
  const ImageHeaders &Headers() const { return Headers_; }
  const std::vector<ImageSection> &Sections() const { return Headers_.Sections; }
  const std::vector<UINT8> &File() const { return File_; }

private:
  void Map();
  void Relocate();

  std::vector<UINT8> File_;
  ImageHeaders Headers_;
  UINT64 Base_ = 0;
};

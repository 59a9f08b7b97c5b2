// Every offset is compared with the file before it is used; sums are of 64 bits, which 32-bit fields cannot
// overflow.
#include "tools/pe/PeSignatures.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "uefi/PeImage.h"

namespace {

using FileBytes = std::span<const UINT8>;

// WIN_CERTIFICATE.
struct CERTIFICATE_HEADER {
  UINT32 Length; // with this header
  UINT16 Revision;
  UINT16 Type;
};

constexpr UINT64 mTableAlignment = 8;

void Require(bool Condition, const char *Refusal) {
  if (!Condition) {
    throw PeError(Refusal);
  }
}

template <typename T> T Take(FileBytes File, UINT64 Offset, const char *Refusal) {
  T Value;
  Require(Offset <= File.size() && sizeof(T) <= File.size() - Offset, Refusal);
  std::memcpy(&Value, File.data() + Offset, sizeof(T));
  return Value;
}

struct Headers {
  IMAGE_FILE_HEADER File;
  UINT64 OptionalOffset;
  bool Pe32Plus;
  UINT64 CheckSumOffset;
  UINT64 DirectoryCountOffset;
  UINT64 SecurityOffset; // of the certificate table's directory entry, if HasSecurity
  bool HasSecurity;
  UINT64 SectionsOffset;
  UINT64 SizeOfHeaders;
};

// Where the fields are that matter, by the layout of one of the two optional headers.
template <typename OPTIONAL> void PlaceFields(FileBytes File, Headers &Found) {
  const UINT64 Optional = Found.OptionalOffset;
  Found.CheckSumOffset = Optional + offsetof(OPTIONAL, CheckSum);
  Found.DirectoryCountOffset = Optional + offsetof(OPTIONAL, NumberOfRvaAndSizes);
  Found.SecurityOffset = Optional + offsetof(OPTIONAL, DataDirectory) +
                         IMAGE_DIRECTORY_ENTRY_SECURITY * sizeof(IMAGE_DATA_DIRECTORY);
  Require(Found.File.SizeOfOptionalHeader >= offsetof(OPTIONAL, DataDirectory),
          "the optional header is too short");
  Found.SizeOfHeaders =
      Take<UINT32>(File, Optional + offsetof(OPTIONAL, SizeOfHeaders), "the optional header is cut");
}

Headers ReadHeaders(FileBytes File) {
  const auto Dos = Take<IMAGE_DOS_HEADER>(File, 0, "no PE image: too short");
  Require(Dos.Magic == IMAGE_DOS_SIGNATURE, "no PE image: no MZ header");
  const UINT64 Signature = Dos.NewHeaderOffset;
  Require(Take<UINT32>(File, Signature, "no PE image: too short") == IMAGE_NT_SIGNATURE,
          "no PE image: no PE signature");
  Headers Found = {};
  Found.File = Take<IMAGE_FILE_HEADER>(File, Signature + sizeof(UINT32), "the file header is cut");
  Found.OptionalOffset = Signature + sizeof(UINT32) + sizeof(IMAGE_FILE_HEADER);
  switch (Take<UINT16>(File, Found.OptionalOffset, "the optional header is cut")) {
  case IMAGE_NT_OPTIONAL_HDR32_MAGIC:
    PlaceFields<IMAGE_OPTIONAL_HEADER32>(File, Found);
    break;
  case IMAGE_NT_OPTIONAL_HDR64_MAGIC:
    Found.Pe32Plus = true;
    PlaceFields<IMAGE_OPTIONAL_HEADER64>(File, Found);
    break;
  default:
    throw PeError("neither PE32 nor PE32+");
  }
  Found.SectionsOffset = Found.OptionalOffset + Found.File.SizeOfOptionalHeader;
  Require(Found.SizeOfHeaders <= File.size(), "the headers reach beyond the file");
  Require(Found.SectionsOffset + Found.File.NumberOfSections * sizeof(IMAGE_SECTION_HEADER) <=
              Found.SizeOfHeaders,
          "the section headers reach beyond the headers");
  return Found;
}

// The directory entry of the certificate table, whose address is a file offset; all zero for a file without
// one.
IMAGE_DATA_DIRECTORY SecurityDirectory(FileBytes File, Headers &Found) {
  const UINT32 Count = Take<UINT32>(File, Found.DirectoryCountOffset, "the optional header is cut");
  Found.HasSecurity = Count > IMAGE_DIRECTORY_ENTRY_SECURITY;
  if (!Found.HasSecurity) {
    return {};
  }
  Require(Found.SecurityOffset + sizeof(IMAGE_DATA_DIRECTORY) <= Found.SectionsOffset,
          "the optional header is too short for its directories");
  const auto Directory = Take<IMAGE_DATA_DIRECTORY>(File, Found.SecurityOffset, "the optional header is cut");
  Require((Directory.VirtualAddress == 0) == (Directory.Size == 0),
          "the certificate table has no place or no length");
  return Directory;
}

void CheckTable(FileBytes File, const Headers &Found, const IMAGE_DATA_DIRECTORY &Table) {
  const UINT64 End = UINT64{Table.VirtualAddress} + Table.Size;
  Require(Table.VirtualAddress % mTableAlignment == 0, "the certificate table is not aligned");
  Require(Table.VirtualAddress >= Found.SizeOfHeaders, "the certificate table lies in the headers");
  Require(End <= File.size(), "the certificate table is cut");
  // Some signers do not count the padding behind the last certificate.
  const FileBytes Behind = File.subspan(End);
  Require(Behind.size() < mTableAlignment &&
              std::all_of(Behind.begin(), Behind.end(), [](UINT8 Byte) { return Byte == 0; }),
          "bytes lie behind the certificate table");
}

void CheckSections(FileBytes File, const Headers &Found, UINT64 End) {
  for (UINT64 Index = 0; Index < Found.File.NumberOfSections; ++Index) {
    const auto Section = Take<IMAGE_SECTION_HEADER>(
        File, Found.SectionsOffset + Index * sizeof(IMAGE_SECTION_HEADER), "the section headers are cut");
    if (Section.SizeOfRawData == 0) {
      continue;
    }
    const UINT64 SectionEnd = UINT64{Section.PointerToRawData} + Section.SizeOfRawData;
    Require(SectionEnd <= File.size(), "a section reaches beyond the file");
    Require(Section.PointerToRawData >= Found.SizeOfHeaders, "a section overlaps the headers");
    Require(SectionEnd <= End, "a section reaches into the certificate table");
  }
}

std::vector<PeSignature> ReadTable(FileBytes File, const IMAGE_DATA_DIRECTORY &Table) {
  std::vector<PeSignature> Signatures;
  const UINT64 End = UINT64{Table.VirtualAddress} + Table.Size;
  for (UINT64 Place = Table.VirtualAddress; Place < End;) {
    const auto Header = Take<CERTIFICATE_HEADER>(File, Place, "the last certificate is cut");
    Require(Header.Length > sizeof(CERTIFICATE_HEADER), "a certificate has no length");
    Require(Header.Length <= End - Place, "a certificate reaches beyond its table");
    Signatures.push_back(
        {{Place + sizeof(Header), Header.Length - sizeof(Header)}, Header.Revision, Header.Type});
    // The padding behind the last one may be missing.
    Place += (Header.Length + mTableAlignment - 1) / mTableAlignment * mTableAlignment;
  }
  return Signatures;
}

} // namespace

PeFile ReadPeFile(std::span<const UINT8> File) {
  Headers Found = ReadHeaders(File);
  const IMAGE_DATA_DIRECTORY Table = SecurityDirectory(File, Found);
  PeFile Result = {Found.Pe32Plus, {}, {}};
  UINT64 End = File.size();
  if (Table.Size != 0) {
    CheckTable(File, Found, Table);
    End = Table.VirtualAddress;
    Result.Signatures = ReadTable(File, Table);
  }
  CheckSections(File, Found, End);
  const UINT64 BehindCheckSum = Found.CheckSumOffset + sizeof(UINT32);
  Result.Digested.push_back({0, Found.CheckSumOffset});
  if (Found.HasSecurity) {
    const UINT64 BehindEntry = Found.SecurityOffset + sizeof(IMAGE_DATA_DIRECTORY);
    Result.Digested.push_back({BehindCheckSum, Found.SecurityOffset - BehindCheckSum});
    Result.Digested.push_back({BehindEntry, End - BehindEntry});
  } else {
    Result.Digested.push_back({BehindCheckSum, End - BehindCheckSum});
  }
  return Result;
}

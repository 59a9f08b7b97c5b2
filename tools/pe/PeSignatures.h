// The signatures in a PE file, and which of its bytes they cover (Microsoft PE/COFF format, "The Attribute
// Certificate Table"; Windows Authenticode Portable Executable Signature Format). Trusts no field of the
// file, and verifies nothing.
#pragma once

#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "uefi/Base.h"

// A file that is no PE image, or whose headers or certificate table cannot be believed. One line.
class PeError : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

// Bytes of the file.
struct PeRange {
  UINT64 Offset;
  UINT64 Size;
};

// One entry of the certificate table, without its header.
struct PeSignature {
  PeRange Content;
  UINT16 Revision;
  UINT16 Type;

  // Whether it is a PKCS#7 message, as Authenticode uses it.
  bool IsAuthenticode() const { return Revision == 0x0200 && Type == 0x0002; }
};

struct PeFile {
  bool Pe32Plus;
  // What the Authenticode digest covers, in order: everything but the checksum, the directory entry of the
  // certificate table and the table itself. The bytes of a gap between the sections are covered like all
  // others.
  std::vector<PeRange> Digested;
  // In the order of the table; empty when there is none.
  std::vector<PeSignature> Signatures;
};

// Throws PeError: no PE32 or PE32+ image; headers or a section beyond the end of the file; a section that
// reaches into the certificate table or the headers; a table that is not at an 8-byte boundary, or not at the
// end of the file but for its padding, or lies in the headers; an entry with a length that is below its
// header's or beyond the table's end.
PeFile ReadPeFile(std::span<const UINT8> File);

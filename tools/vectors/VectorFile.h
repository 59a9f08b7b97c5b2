// Reads files of test vectors: cases of "key=value" lines, one blank line between cases, "#" comment lines at
// the top. Knows the form of a file alone; what the keys mean is not known here.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "uefi/Base.h"

// A file that cannot be taken as it is: unreadable, malformed, or with something in it that nobody
// understands. One line, "FILE:LINE: reason".
class VectorError : public std::runtime_error {
public:
  VectorError(const std::string &File, UINTN Line, const std::string &Reason)
      : std::runtime_error(File + ":" + std::to_string(Line) + ": " + Reason) {}
  VectorError(const std::string &File, const std::string &Reason)
      : std::runtime_error(File + ": " + Reason) {}
};

struct VectorField {
  std::string Key;
  std::string Value;
  UINTN Line;
};

// One case as it stands in the file, its id among the fields.
struct VectorRecord {
  std::string Id;
  UINTN Line;
  std::vector<VectorField> Fields;
};

struct VectorFile {
  // As given to Read or Parse, for reports.
  std::string Name;
  // First word of the first comment line; without comments the file's name without folder and extension.
  std::string Family;
  std::vector<VectorRecord> Records;

  // Throws VectorError for a file that cannot be read and for whatever Parse refuses.
  static VectorFile Read(const std::string &Path);

  // Throws VectorError for a line that is neither comment, blank nor "key=value", a key with other characters
  // than letters, digits, "_" and ".", a comment behind the top, a blank line out of place, a last line
  // without its end, a key twice in a case, a case without id, an id twice in the file, and a file without
  // cases or with another number of them than its first comment claims ("# FAMILY 12 cases. …").
  static VectorFile Parse(const std::string &Name, const std::string &Text);
};

// Digests of files through the driver's services, for the commands that hash.
#pragma once

#include <span>
#include <string>

#include "tools/session/DriverSession.h"

struct FILE_DIGEST_ALGORITHM {
  // As on the command line.
  const char *Name;
  // For people.
  const char *Title;
  // The host's tool for the same digest.
  const char *SumTool;
  HASH_TYPE Type;
  UINTN Size;
};

// SHA-1, SHA-256 and MD5.
std::span<const FILE_DIGEST_ALGORITHM> FileDigestAlgorithms();

// A line of the sum tools: a name with a backslash or a line break is escaped, and the whole line then starts
// with a backslash.
std::string SumLine(const std::string &Hex, const std::string &Path);

struct FileDigest {
  // Lower-case hex; empty when the driver refused.
  std::string Hex;
  // Otherwise the service that refused and its answer.
  std::string Refusal;
};

// Reads the file ("-" is the standard input) and hashes it: SHA-1 and SHA-256 chunk by chunk through the
// streaming services, MD5 at once through SvcHashAll, for which the whole file is held in memory. Shows a bar
// for what takes long. Throws InputError for a file that cannot be read, BootError without services.
FileDigest HashFile(DriverSession &Session, const FILE_DIGEST_ALGORITHM &Algorithm, const std::string &Path);

// What the work reads: keys, certificates and signatures, made anew for each run by the openssl command and
// osslsigncode in a folder that goes away with it.
#pragma once

#include <array>
#include <string>

#include "benchmarks/work/Work.h"

class MaterialFolder {
public:
  // ImagePath is the program to sign, KeyPath the private half of built-in key type 1. Throws
  // std::runtime_error when a tool is missing or fails.
  MaterialFolder(const std::string &ImagePath, const std::string &KeyPath);
  ~MaterialFolder();
  MaterialFolder(const MaterialFolder &) = delete;
  MaterialFolder &operator=(const MaterialFolder &) = delete;

  const std::string &Path() const { return Path_; }

private:
  std::string Path_;
};

// Where Material reads: the folder that this program made, or was told of.
void UseMaterial(const std::string &FolderPath);

// A file of the folder. Throws std::runtime_error for one that is not there.
Bytes Material(const std::string &Name);

// Writes a file and runs a script in the folder, for what depends on more than the folder knew.
void WriteMaterial(const std::string &Name, const Bytes &Content);
void RunOnMaterial(const std::string &Script);

// The components of an RSA key NAME.txt by their RSA_KEY_TAG, big-endian.
std::array<Bytes, 8> RsaComponents(const std::string &Name);

Bytes Reversed(const Bytes &Content);

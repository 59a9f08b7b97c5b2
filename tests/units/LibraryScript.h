// Calls of the crypto library that the driver makes, answered by a test instead: a linker option puts the
// routines of LibraryScript.cpp in front of the library's. What a test does not script goes through.
#pragma once

#include <functional>

#include "tests/units/Internals.h"

#include <openssl/bio.h>

struct LibraryScript {
  // A read of 2,048 bytes through a filter chain, which nobody but the Base64 decoder makes. Gets Real to
  // pass it on.
  std::function<int(BIO *Chain, const std::function<int()> &Real)> ChunkRead;
  std::function<BIO *()> Push;
  std::function<int()> SetEncryptKey, SetDecryptKey, Sha256Final, AddDigest, Pbkdf2;
  std::function<void(const VOID *Seed, int Size)> Seed;
  std::function<int()> GeneratorStatus;
  std::function<int(UINT8 *Output, int Size)> GeneratorBytes;
};

extern LibraryScript mLibrary;

// The linked driver with the script emptied before and after.
class ScriptedLibraryTest : public InternalsTest {
protected:
  ScriptedLibraryTest() { mLibrary = {}; }
  ~ScriptedLibraryTest() override { mLibrary = {}; }
};

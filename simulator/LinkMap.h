// Names of code and data, for reports and for the scripted processor: of a driver image from the map file its
// linker wrote beside it, of this process from its own symbol table. Knows names only; maps and patches
// nothing.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "uefi/Base.h"

class LinkMap {
public:
  // A routine or object, by its distance from the base of what the map describes.
  struct Symbol {
    UINT64 Rva;
    UINT64 Size; // Up to the next symbol where the source does not tell; 0 for the last one.
    std::string Name;
  };

  // The map without names, which answers every question with "unknown".
  LinkMap() = default;

  // Reads the text that lld-link's /map option writes. A file that does not exist gives the empty map.
  static LinkMap OfImage(const std::string &MapPath);

  // The symbol table of the running program, read once; empty when that is stripped. ProcessBase() is its
  // base.
  static std::shared_ptr<const LinkMap> OfProcess();
  static UINT64 ProcessBase();

  std::optional<Symbol> Find(const std::string &Name) const;

  // "Name+0x12" for the symbol at or below Rva; empty when there is none.
  std::string Describe(UINT64 Rva) const;

  // The entry point as the image's linker noted it: an offset into a section, counted from 1.
  struct EntryNote {
    UINT32 Section;
    UINT64 Offset;
  };
  const std::optional<EntryNote> &Entry() const { return Entry_; }

private:
  void Add(UINT64 Rva, UINT64 Size, std::string Name);
  void Finish();

  std::vector<Symbol> Symbols_;
  std::optional<EntryNote> Entry_;
};

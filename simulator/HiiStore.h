// The package lists of the HII database and the strings in them (UEFI 2.10, section 33.3). Takes lists apart
// on the way in and refuses what a careful database refuses; the protocols in front answer the firmware's
// statuses.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "uefi/HiiPackages.h"

class HiiStore {
public:
  struct StringPackage {
    std::string Language;
    std::map<EFI_STRING_ID, std::u16string> Texts;
  };

  struct PackageList {
    // The whole list as it came, header and end package included.
    std::vector<UINT8> Bytes;
    std::vector<UINT8> Types;
    std::vector<EFI_GUID> PackageGuids;
    std::vector<StringPackage> Strings;

    // The distinct language tags in the order of their packages, separated by semicolons.
    std::string Languages() const;
  };

  // Copies the list at List, whose length its own header gives. NULL for a list that is not well formed, with
  // the reason in Why: lengths that do not fit, no end package, a string package with a bad header, a block
  // cut off, an unknown block type, anything behind the end. Of string blocks it knows END, STRING_UCS2,
  // STRINGS_UCS2, DUPLICATE, SKIP1 and SKIP2.
  EFI_HII_HANDLE Add(const VOID *List, std::string &Why);

  // NULL for a handle that is not in the store.
  const PackageList *Find(EFI_HII_HANDLE Handle) const;

  // All lists in the order in which they came.
  std::vector<EFI_HII_HANDLE> Handles() const;

private:
  std::vector<std::unique_ptr<PackageList>> Lists_;
};

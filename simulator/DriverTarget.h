// The driver under test in one of its two builds: the finished image, mapped by the loader, or the same
// sources linked into this program. Each opening is a fresh boot's state; what the driver does with the
// firmware is not known here.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "simulator/LinkMap.h"
#include "simulator/PeLoader.h"
#include "uefi/Uefi.h"

class DriverTarget {
public:
  struct Range {
    UINT64 Begin;
    UINT64 End;
    bool Holds(UINT64 Address) const { return Address >= Begin && Address < End; }
  };

  // Loads the image at Path, with the link map beside it ("Name.map" for "Name.efi") when there is one.
  // Throws LoadError when the file is refused (PeLoader.h) or the map belongs to another image. Calls into it
  // are checked with stack painting, and for AVX code where the host allows it (DriverCall.h).
  static std::unique_ptr<DriverTarget> OpenImage(const std::string &Path);

  // Takes the driver linked into this program and gives its writable data the values they had before the
  // first boot. Throws LoadError when none is linked, or when its code and data are not gathered between
  // DriverTextStart and DriverTextEnd, DriverDataStart and DriverDataEnd, DriverBssStart and DriverBssEnd.
  static std::unique_ptr<DriverTarget> OpenLinked();

  // One target lives at a time. Destruction unmaps an image; nothing may point into it any more.
  ~DriverTarget();
  DriverTarget(const DriverTarget &) = delete;
  DriverTarget &operator=(const DriverTarget &) = delete;

  // The loaded image; NULL for the linked driver.
  const LoadedImage *Image() const { return Image_.get(); }

  const void *EntryPoint() const { return reinterpret_cast<const void *>(Entry_); }

  // Where the driver's code lies, that of its crypto library included.
  Range Code() const { return Code_; }

  // Where a routine or object lies in memory, by its linker name; nothing or NULL when the name is not known.
  std::optional<Range> Find(const std::string &Symbol) const;
  const void *Symbol(const std::string &Symbol) const;

  // Runs the entry point through the checked gate and returns its status (UEFI 2.10, section 4.1). Run it
  // under RunBoot (HaltWatch.h) when the boot may halt.
  EFI_STATUS Start(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable) const;

private:
  DriverTarget(std::unique_ptr<LoadedImage> Image, std::shared_ptr<const LinkMap> Map, UINT64 Base,
               UINT64 Entry, Range Code);
  std::string Describe(UINT64 Address) const;

  std::unique_ptr<LoadedImage> Image_;
  std::shared_ptr<const LinkMap> Map_;
  UINT64 Base_;
  UINT64 Entry_;
  Range Code_;
};

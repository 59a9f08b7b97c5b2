// Opens the driver as image or as linked code, and tells the gate, the halt watch and the reports about it.
// Must not require a linked driver: programs without one refer to it weakly.
#include "simulator/DriverTarget.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <vector>

#include "simulator/DriverCall.h"
#include "simulator/Faults.h"
#include "simulator/HaltWatch.h"

extern "C" {

__attribute__((weak)) EFI_STATUS EFIAPI CryptoDriverEntry(EFI_HANDLE ImageHandle,
                                                          EFI_SYSTEM_TABLE *SystemTable);

// Bounds of the linked driver's code and writable data, from the linker script.
extern const unsigned char DriverTextStart[] __attribute__((weak));
extern const unsigned char DriverTextEnd[] __attribute__((weak));
extern unsigned char DriverDataStart[] __attribute__((weak));
extern unsigned char DriverDataEnd[] __attribute__((weak));
extern unsigned char DriverBssStart[] __attribute__((weak));
extern unsigned char DriverBssEnd[] __attribute__((weak));

} // extern "C"

namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr UINTN mPaintBytes = 0;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr UINTN mPaintBytes = 0;
#else
constexpr UINTN mPaintBytes = 0x40000;
#endif
#else
constexpr UINTN mPaintBytes = 0x40000;
#endif

bool mLiving = false;

// Instructions instead of library calls, because a sanitizer keeps guarded gaps between the driver's objects.
void CopyRaw(void *Target, const void *Source, UINTN Size) {
  __asm__ volatile("rep movsb" : "+D"(Target), "+S"(Source), "+c"(Size) : : "memory");
}

void ZeroRaw(void *Target, UINTN Size) {
  __asm__ volatile("rep stosb" : "+D"(Target), "+c"(Size) : "a"(0) : "memory");
}

DriverTarget::Range CodeOf(const LoadedImage &Image) {
  DriverTarget::Range Code = {~UINT64{0}, 0};
  for (const ImageSection &Section : Image.Sections()) {
    if (Section.Executable) {
      Code.Begin = std::min(Code.Begin, Image.Base() + Section.Rva);
      Code.End = std::max(Code.End, Image.Base() + Section.Rva + Section.Size);
    }
  }
  return Code;
}

void RestoreLinkedData() {
  const UINTN DataBytes = static_cast<UINTN>(DriverDataEnd - DriverDataStart);
  static const std::vector<UINT8> Snapshot = [DataBytes] {
    std::vector<UINT8> Bytes(DataBytes);
    CopyRaw(Bytes.data(), DriverDataStart, DataBytes);
    return Bytes;
  }();
  CopyRaw(DriverDataStart, Snapshot.data(), DataBytes);
  ZeroRaw(DriverBssStart, static_cast<UINTN>(DriverBssEnd - DriverBssStart));
}

std::string MapPathBeside(const std::string &Path) {
  const size_t Dot = Path.find_last_of("./");
  return (Dot != std::string::npos && Path[Dot] == '.' ? Path.substr(0, Dot) : Path) + ".map";
}

// Read once for as long as the file stays the same: one program opens an image many times over.
std::shared_ptr<const LinkMap> ReadMap(const std::string &Path) {
  static std::string KnownPath;
  static std::filesystem::file_time_type KnownTime;
  static std::shared_ptr<const LinkMap> Known;
  std::error_code Absent;
  const auto Time = std::filesystem::last_write_time(Path, Absent);
  if (!Known || Absent || Path != KnownPath || Time != KnownTime) {
    Known = std::make_shared<const LinkMap>(LinkMap::OfImage(Path));
    KnownPath = Path;
    KnownTime = Time;
  }
  return Known;
}

// A map left over from another build would have the wrong places patched and named.
void CheckMap(const LinkMap &Map, const LoadedImage &Image) {
  if (!Map.Entry()) {
    return;
  }
  const UINT32 Section = Map.Entry()->Section;
  const auto &Sections = Image.Sections();
  if (Section == 0 || Section > Sections.size() ||
      Image.Base() + Sections[Section - 1].Rva + Map.Entry()->Offset != Image.Entry()) {
    throw LoadError("the link map belongs to another image");
  }
}

} // namespace

std::unique_ptr<DriverTarget> DriverTarget::OpenImage(const std::string &Path) {
  auto Image = std::make_unique<LoadedImage>(Path);
  auto Map = ReadMap(MapPathBeside(Path));
  CheckMap(*Map, *Image);
  const UINT64 Base = Image->Base();
  const UINT64 Entry = Image->Entry();
  const Range Code = CodeOf(*Image);
  std::unique_ptr<DriverTarget> Target(new DriverTarget(std::move(Image), std::move(Map), Base, Entry, Code));
  SetDriverCallChecks({.PaintBytes = mPaintBytes, .UpperVectors = HostLeavesAvxAlone()});
  return Target;
}

std::unique_ptr<DriverTarget> DriverTarget::OpenLinked() {
  if (CryptoDriverEntry == nullptr) {
    throw LoadError("no driver is linked into this program");
  }
  if (DriverTextStart == nullptr || DriverDataStart == nullptr || DriverBssStart == nullptr) {
    throw LoadError("the linked driver's code and data are not gathered");
  }
  RestoreLinkedData();
  const UINT64 Entry = reinterpret_cast<UINT64>(&CryptoDriverEntry);
  const Range Code = {reinterpret_cast<UINT64>(DriverTextStart), reinterpret_cast<UINT64>(DriverTextEnd)};
  std::unique_ptr<DriverTarget> Target(
      new DriverTarget(nullptr, LinkMap::OfProcess(), LinkMap::ProcessBase(), Entry, Code));
  SetDriverCallChecks({});
  return Target;
}

DriverTarget::DriverTarget(std::unique_ptr<LoadedImage> Image, std::shared_ptr<const LinkMap> Map,
                           UINT64 Base, UINT64 Entry, Range Code)
    : Image_(std::move(Image)), Map_(std::move(Map)), Base_(Base), Entry_(Entry), Code_(Code) {
  if (mLiving) {
    AbortRun("a second driver target");
  }
  mLiving = true;
  SetDriverCode(Code_.Begin, Code_.End);
  SetPlaceNamer([this](const void *Address) { return Describe(reinterpret_cast<UINT64>(Address)); });
}

DriverTarget::~DriverTarget() {
  SetPlaceNamer({});
  SetDriverCode(0, 0);
  SetDriverCallChecks({});
  mLiving = false;
}

std::optional<DriverTarget::Range> DriverTarget::Find(const std::string &Symbol) const {
  const auto Found = Map_->Find(Symbol);
  if (!Found) {
    return std::nullopt;
  }
  return Range{Base_ + Found->Rva, Base_ + Found->Rva + Found->Size};
}

const void *DriverTarget::Symbol(const std::string &Symbol) const {
  const auto Found = Find(Symbol);
  return Found ? reinterpret_cast<const void *>(Found->Begin) : nullptr;
}

EFI_STATUS DriverTarget::Start(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable) const {
  return CallDriver("CryptoDriverEntry", EntryPoint(),
                    {reinterpret_cast<UINT64>(ImageHandle), reinterpret_cast<UINT64>(SystemTable)});
}

std::string DriverTarget::Describe(UINT64 Address) const {
  const bool InImage = Image_ && Range{Base_, Base_ + Image_->Size()}.Holds(Address);
  if (!InImage && (Image_ || !Code_.Holds(Address))) {
    return {};
  }
  const std::string Named = Map_->Describe(Address - Base_);
  if (!InImage) {
    return Named;
  }
  char Place[40];
  std::snprintf(Place, sizeof(Place), "image+0x%llx", static_cast<unsigned long long>(Address - Base_));
  return Named.empty() ? Place : Named + " (" + Place + ")";
}

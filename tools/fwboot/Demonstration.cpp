// What fwboot shows when it is asked for nothing in particular: the image, its boot, its digests beside those
// of the host's tools, its speed beside the library's, and what it does not serve.
#include <algorithm>
#include <filesystem>

#include <fmt/core.h>

#include "simulator/DriverCall.h"
#include "simulator/Guids.h"
#include "tools/fwboot/ChildProcess.h"
#include "tools/fwboot/Commands.h"
#include "tools/fwboot/FileDigest.h"
#include "tools/fwboot/SpeedComparison.h"
#include "tools/fwboot/Wording.h"
#include "tools/session/StatusNames.h"

namespace {

constexpr int mTimedBoots = 25;

// Seconds of the quickest of several fresh boots, on a plain pool and without the gate's measurements.
double BestStart(const GLOBAL_OPTIONS &Options) {
  double Best = 1e9;
  for (int Boot = 0; Boot < mTimedBoots; ++Boot) {
    SessionOptions Plain = Options.Session();
    Plain.Firmware.PlainPool = true;
    Plain.Prepare = [](DriverSession &) { SetDriverCallChecks({}); };
    DriverSession Session(std::move(Plain));
    RequireServices(Session);
    Best = std::min(Best, Session.StartSeconds());
  }
  return Best;
}

void ShowImage(const GLOBAL_OPTIONS &Options, const LoadedImage *Image) {
  if (Image == nullptr) {
    fmt::print("Driver      linked into this program\n");
    return;
  }
  fmt::print("Image       {}\n", Options.Image);
  fmt::print("Size        {} bytes; {} in memory\n", Grouped(Image->File().size()), Grouped(Image->Size()));
  const char *Label = "Sections";
  for (const ImageSection &Section : Image->Sections()) {
    fmt::print("{:12}{:8}  at {:#08x}  {:>9} bytes  {}{}{}\n", Label, Section.Name, Section.Rva,
               Grouped(Section.Size), Section.Readable ? 'r' : '-', Section.Writable ? 'w' : '-',
               Section.Executable ? 'x' : '-');
    Label = "";
  }
}

void ShowBoot(DriverSession &Session, double StartSeconds) {
  SimulatedFirmware &Firmware = Session.Firmware();
  const Pool::Statistics &Figures = Firmware.Memory.Figures();
  fmt::print("Entry       {} after {:.3f} ms (best of {} boots)\n", StatusName(Session.Status()),
             StartSeconds * 1e3, mTimedBoots);
  fmt::print("Pool        at start-up {}, at most {} and {} at once; afterwards {} and {}\n",
             Counted(Firmware.Memory.Calls(), "allocation"), Counted(Figures.PeakBlocks, "block"),
             Counted(Figures.PeakBytes, "byte"), Counted(Figures.LiveBlocks, "block"),
             Counted(Figures.LiveBytes, "byte"));
  fmt::print("Armed       {}, {}\n", Counted(Firmware.Events.OpenEvents().size(), "event"),
             Counted(Firmware.Handles.OpenWatches().size(), "protocol notification"));
  fmt::print("Protocol    CRYPTO_SERVICES_PROTOCOL, {}\n", GuidText(mCryptoServicesProtocolGuid));
  fmt::print("Services    {} slots\n", CRYPTO_SERVICES_SLOT_COUNT);
}

// Whether every digest agrees with the host's tool.
bool ShowDigests(DriverSession &Session, const std::string &Path) {
  bool AllEqual = true;
  fmt::print("\nDigests of {}, by the driver and by the tool of this machine\n", Path);
  for (const FILE_DIGEST_ALGORITHM &Algorithm : FileDigestAlgorithms()) {
    const FileDigest Digest = HashFile(Session, Algorithm, Path);
    const auto Output = RunTool({Algorithm.SumTool}, Path);
    const std::string Driver = Digest.Refusal.empty() ? Digest.Hex : Digest.Refusal;
    fmt::print("  {:10}{}\n", Algorithm.Title, Driver);
    if (!Output) {
      fmt::print("  {:10}not available\n", Algorithm.SumTool);
      continue;
    }
    const std::string Tool = Output->substr(0, Output->find(' '));
    fmt::print("  {:10}{}  {}\n", Algorithm.SumTool, Tool, Tool == Driver ? "equal" : "DIFFERENT");
    AllEqual = AllEqual && Tool == Driver;
  }
  return AllEqual;
}

void ShowSpeed(const std::optional<SpeedComparison> &Speed) {
  if (Speed) {
    fmt::print("\nSHA-256     {:.0f} MB/s through the driver, {:.0f} MB/s by the bare library: {:.3f} of its "
               "speed\n",
               Speed->Driver / 1e6, Speed->Bare / 1e6, Speed->Ratio());
  } else {
    fmt::print("\nSHA-256     speed not compared: no crypto library is linked into this program\n");
  }
}

} // namespace

int RunDemonstration(const GLOBAL_OPTIONS &Options) {
  const double StartSeconds = BestStart(Options);
  const std::optional<SpeedComparison> Speed = CompareSha256Speed(Options);
  DriverSession Session(Options.Session());
  RequireServices(Session);
  ShowImage(Options, Session.Target().Image());
  ShowBoot(Session, StartSeconds);
  const std::string Shown =
      Options.Linked ? std::filesystem::read_symlink("/proc/self/exe").string() : Options.Image;
  const bool AllEqual = ShowDigests(Session, Shown);
  ShowSpeed(Speed);
  return AllEqual ? mExitFine : mExitCheckFailed;
}

// Reports of the simulated firmware.
#include "simulator/Faults.h"

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <utility>

#include "simulator/SimulatedFirmware.h"

namespace {

std::function<std::string(const void *)> &PlaceNamer() {
  static std::function<std::string(const void *)> Namer;
  return Namer;
}

std::string Offset(const void *Address, const void *Base) {
  char Text[24];
  std::snprintf(Text, sizeof(Text), "0x%zx",
                static_cast<size_t>(static_cast<const char *>(Address) - static_cast<const char *>(Base)));
  return Text;
}

} // namespace

void ReportFault(std::string Text) {
  if (SimulatedFirmware::IsLiving()) {
    SimulatedFirmware::Living().AddFault(std::move(Text));
  } else {
    std::fprintf(stderr, "fault: %s\n", Text.c_str());
  }
}

void AbortRun(const std::string &Why) {
  std::fprintf(stderr, "run aborted: %s\n", Why.c_str());
  std::abort();
}

std::string DescribePlace(const void *Address) {
  if (PlaceNamer()) {
    if (std::string Named = PlaceNamer()(Address); !Named.empty()) {
      return Named;
    }
  }
  Dl_info Info;
  if (Address == nullptr || dladdr(Address, &Info) == 0) {
    return Offset(Address, nullptr);
  }
  if (Info.dli_sname != nullptr) {
    return Info.dli_sname + ("+" + Offset(Address, Info.dli_saddr));
  }
  const std::string Module = Info.dli_fname;
  return Module.substr(Module.rfind('/') + 1) + "+" + Offset(Address, Info.dli_fbase);
}

void SetPlaceNamer(std::function<std::string(const void *)> Namer) {
  PlaceNamer() = std::move(Namer);
}

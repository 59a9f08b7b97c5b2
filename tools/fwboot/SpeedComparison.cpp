// Both sides see the same buffer and the same interruptions: they run in turns, and each one's best turn
// counts.
#include "tools/fwboot/SpeedComparison.h"

#include <algorithm>
#include <vector>

#include "tools/session/Stopwatch.h"

#ifdef LINKED_DRIVER
#include "tools/session/BareLibrary.h"

namespace {

constexpr UINTN mBytes = 1 << 20;
constexpr int mTurns = 60;

void HashOnce(const CRYPTO_SERVICES_PROTOCOL &Services, const std::vector<UINT8> &Data, UINT8 *Digest) {
  UINT8 Context[CRYPTO_SERVICES_SHA256_CONTEXT_SIZE];
  Services.SvcSha256Init(Context);
  Services.SvcSha256Update(Context, Data.data(), Data.size());
  Services.SvcSha256Final(Context, Digest);
}

} // namespace

std::optional<SpeedComparison> CompareSha256Speed(const GLOBAL_OPTIONS &Options) {
  if (!Options.Linked) {
    // The library in this program learns of the processor only when its driver starts.
    DriverSession Linked({});
  }
  DriverSession Session(Options.Session());
  RequireServices(Session);
  const std::vector<UINT8> Data(mBytes, 0x5A);
  UINT8 Digest[CRYPTO_SERVICES_SHA256_DIGEST_SIZE];
  double Driver = 1e9;
  double Bare = 1e9;
  for (int Turn = 0; Turn < mTurns; ++Turn) {
    Driver = std::min(Driver, ProcessorSecondsOf([&] { HashOnce(*Session.Raw(), Data, Digest); }));
    Bare = std::min(Bare, ProcessorSecondsOf([&] { BareSha256(Data.data(), Data.size(), Digest); }));
  }
  return SpeedComparison{mBytes / Driver, mBytes / Bare};
}

#else

std::optional<SpeedComparison> CompareSha256Speed(const GLOBAL_OPTIONS &) {
  return std::nullopt;
}

#endif

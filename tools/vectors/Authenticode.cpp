// Family "authenticode": the signature of a PE image, the trusted certificate and the image's digest, at a
// time.
#include <map>
#include <string>

#include "tools/vectors/CaseClock.h"
#include "tools/vectors/Families.h"
#include "tools/vectors/SignerList.h"

void RunAuthenticodeCase(VectorRun &Run) {
  const std::vector<UINT8> Signature = Run.Case.Hex("p7");
  const std::vector<UINT8> Trusted = Run.Case.Hex("trust");
  std::vector<UINT8> Digest = Run.Case.Hex("digest");
  Run.Case.Text("image");
  static const std::map<std::string, size_t> mSizes = {
      {"sha1", 20}, {"sha256", 32}, {"sha384", 48}, {"sha512", 64}};
  const auto Size = mSizes.find(Run.Case.Text("digest_alg"));
  if (Size == mSizes.end()) {
    Run.Case.Refuse("digest_alg", "an unknown digest");
  }
  if (!SetFirmwareClock(Run.Session.Firmware(), Run.Case.Text("time"))) {
    Run.Case.Refuse("time", "not YYYYMMDDhhmmss");
  }
  const UINTN DigestSize = Digest.size();
  Digest.resize(std::max<size_t>(DigestSize, 1)); // an empty digest still needs a place
  Run.Boolean(48, Run.Services.SvcAuthenticodeVerify(Signature.data(), Signature.size(), Trusted.data(),
                                                     Trusted.size(), Digest.data(), DigestSize));
  if (Run.Case.Lists(32)) {
    RunSignerList(Run, Signature);
  }
}

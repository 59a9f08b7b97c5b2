// Family "x509_verify": a certificate and the one that is to have issued it, at a time.
#include <algorithm>
#include <array>
#include <string>

#include "tools/vectors/CaseClock.h"
#include "tools/vectors/Families.h"

namespace {

// Of the cases that leave the answer to the library, those that are TRUE: RSASSA-PSS with SHA-256. The others
// have keys that are not RSA, or digests that are not registered before SvcPkcs7Verify has run.
constexpr std::array mAccepted = {
    "openssl-certs/ca-pss-cert@croot-cert",
    "cryptography-x509/custom_rsa_pss_cert@custom_rsa_pss_cert",
};

} // namespace

void RunX509VerifyCase(VectorRun &Run) {
  const std::vector<UINT8> Certificate = Run.Case.Hex("cert");
  const std::vector<UINT8> Issuer = Run.Case.Hex("ca");
  Run.Case.Text("ca_name");
  if (!SetFirmwareClock(Run.Session.Firmware(), Run.Case.Text("time"))) {
    Run.Case.Refuse("time", "not YYYYMMDDhhmmss");
  }
  const BOOLEAN Answer =
      Run.Services.SvcX509VerifyCert(Certificate.data(), Certificate.size(), Issuer.data(), Issuer.size());
  Run.Boolean(30, Answer);
  if (Run.Case.Expectation(30).Answer == ExpectedAnswer::Any) {
    const bool Accepted = std::find(mAccepted.begin(), mAccepted.end(), Run.Case.Id()) != mAccepted.end();
    Run.Require(Answer == (Accepted ? TRUE : FALSE), "not the settled answer");
  }
}

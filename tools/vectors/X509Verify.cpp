// Family "x509_verify": a certificate and the one that is to have issued it, at a time.
#include "tools/vectors/CaseClock.h"
#include "tools/vectors/Families.h"

void RunX509VerifyCase(VectorRun &Run) {
  const std::vector<UINT8> Certificate = Run.Case.Hex("cert");
  const std::vector<UINT8> Issuer = Run.Case.Hex("ca");
  Run.Case.Text("ca_name");
  if (!SetFirmwareClock(Run.Session.Firmware(), Run.Case.Text("time"))) {
    Run.Case.Refuse("time", "not YYYYMMDDhhmmss");
  }
  Run.Boolean(30, Run.Services.SvcX509VerifyCert(Certificate.data(), Certificate.size(), Issuer.data(),
                                                 Issuer.size()));
}

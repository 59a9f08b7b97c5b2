// Family "pkcs7": a signed message, the trusted certificate and the data, at a time; and who signed.
#include "tools/vectors/CaseClock.h"
#include "tools/vectors/Families.h"
#include "tools/vectors/SignerList.h"

void RunPkcs7Case(VectorRun &Run) {
  const std::vector<UINT8> Message = Run.Case.Hex("p7");
  const std::vector<UINT8> Trusted = Run.Case.Hex("trust");
  const std::vector<UINT8> Data = Run.Case.Hex("data");
  if (!SetFirmwareClock(Run.Session.Firmware(), Run.Case.Text("time"))) {
    Run.Case.Refuse("time", "not YYYYMMDDhhmmss");
  }
  Run.Boolean(33, Run.Services.SvcPkcs7Verify(Message.data(), Message.size(), Trusted.data(), Trusted.size(),
                                              Data.data(), Data.size()));
  if (Run.Case.Lists(32)) {
    RunSignerList(Run, Message);
  }
}

// Family "pkcs7": a signed message, the trusted certificate and the data, at a time; and who signed.
#include <algorithm>
#include <array>
#include <string>

#include "tools/vectors/CaseClock.h"
#include "tools/vectors/Families.h"
#include "tools/vectors/SignerList.h"

namespace {

// Of the cases that leave the answer to the library, those that are TRUE: a signing time that does not decode
// is none of the signature's concern. The others are signed with keys that are not RSA, or not by the trusted
// certificate.
constexpr std::array mAccepted = {"openssl-p7/bad_signtime_attr.cms-definite-leaf"};

} // namespace

void RunPkcs7Case(VectorRun &Run) {
  const std::vector<UINT8> Message = Run.Case.Hex("p7");
  const std::vector<UINT8> Trusted = Run.Case.Hex("trust");
  const std::vector<UINT8> Data = Run.Case.Hex("data");
  if (!SetFirmwareClock(Run.Session.Firmware(), Run.Case.Text("time"))) {
    Run.Case.Refuse("time", "not YYYYMMDDhhmmss");
  }
  const BOOLEAN Answer = Run.Services.SvcPkcs7Verify(Message.data(), Message.size(), Trusted.data(),
                                                     Trusted.size(), Data.data(), Data.size());
  Run.Boolean(33, Answer);
  if (Run.Case.Expectation(33).Answer == ExpectedAnswer::Any) {
    const bool Accepted = std::find(mAccepted.begin(), mAccepted.end(), Run.Case.Id()) != mAccepted.end();
    Run.Require(Answer == (Accepted ? TRUE : FALSE), "not the settled answer");
  }
  if (Run.Case.Lists(32)) {
    RunSignerList(Run, Message);
  }
}

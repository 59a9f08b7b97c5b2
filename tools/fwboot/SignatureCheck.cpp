// The services answer TRUE or FALSE; what can be said beyond that is put together here.
#include "tools/fwboot/SignatureCheck.h"

#include <algorithm>
#include <cctype>

#include <fmt/core.h>

#include "tools/fwboot/CertificateText.h"
#include "tools/fwboot/Command.h"
#include "tools/fwboot/InputFile.h"

SignatureCheck::SignatureCheck(DriverSession &Session, const TRUST_OPTIONS &Options)
    : Services_(Session.Services()), Trusted_(ReadCertificate(Options.Trust)),
      ClockText_(SetClock(Session.Firmware(), Options.At)) {
  std::copy_if(ClockText_.begin(), ClockText_.end(), std::back_inserter(Clock_),
               [](unsigned char Character) { return std::isdigit(Character) != 0; });
  const auto Text = DescribeCertificate(Services_, Trusted_);
  if (!Text) {
    throw InputError(Options.Trust + ": no certificate that the driver can decode");
  }
  TrustedText_ = Text->Subject + "\n            valid " + Text->Validity();
  if (!InTime(Text->NotBefore, Text->NotAfter)) {
    TrustedProblem_ = "the trusted certificate is not valid at this time";
  }
}

void SignatureCheck::ShowTrust() const {
  fmt::print("Trusted     {}\nClock       {}\n", TrustedText_, ClockText_);
}

void SignatureCheck::ShowSigners(const std::vector<UINT8> &Message, const std::string &Indent) {
  SignerProblem_.clear();
  SIGNER_CERT_LIST *List = nullptr;
  UINT8 *First = nullptr;
  UINTN ListSize = 0;
  UINTN FirstSize = 0;
  if (!Services_.SvcPkcs7GetSigners(Message.data(), Message.size(), &List, &ListSize, &First, &FirstSize)) {
    SignerProblem_ = "no signed message, or a signer's certificate is not in it";
    fmt::print("{:12}none: SvcPkcs7GetSigners answers FALSE\n", Indent + "Signer");
    return;
  }
  for (UINTN Place = 1; Place < ListSize;) {
    UINTN Length = 0;
    for (int Byte = 3; Byte >= 0; --Byte) {
      Length = Length << 8 | List[Place + static_cast<UINTN>(Byte)];
    }
    Place += sizeof(UINT32);
    const auto Text = DescribeCertificate(Services_, {List + Place, List + Place + Length});
    Place += Length;
    fmt::print("{:12}{}\n{:12}valid {}\n", Indent + "Signer", Text ? Text->Subject : "unreadable", "",
               Text ? Text->Validity() : "unknown");
    if (Text && !InTime(Text->NotBefore, Text->NotAfter)) {
      SignerProblem_ = "a signer's certificate is not valid at this time";
    }
  }
  Services_.SvcPkcs7FreeSigners(List);
  Services_.SvcPkcs7FreeSigners(First);
}

std::string SignatureCheck::LikelyReason() const {
  if (!SignerProblem_.empty()) {
    return SignerProblem_;
  }
  return TrustedProblem_.empty() ? "the signature does not hold, or no chain leads to the trusted certificate"
                                 : TrustedProblem_;
}

bool SignatureCheck::InTime(const std::string &NotBefore, const std::string &NotAfter) const {
  return NotBefore.empty() || (NotBefore <= Clock_ && Clock_ < NotAfter);
}

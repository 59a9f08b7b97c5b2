// Showing who signed, whom the check trusts and why a check failed; shared by the commands that verify.
#pragma once

#include <string>
#include <vector>

#include "tools/session/DriverSession.h"

// What every verifying command takes.
struct TRUST_OPTIONS {
  std::string Trust;
  std::string At;
};

class SignatureCheck {
public:
  // Sets the clock and reads the trusted certificate. Throws InputError when either cannot be used.
  SignatureCheck(DriverSession &Session, const TRUST_OPTIONS &Options);

  const std::vector<UINT8> &Trusted() const { return Trusted_; }

  // Prints the trusted certificate and the clock.
  void ShowTrust() const;

  // Prints the signers of a message as SvcPkcs7GetSigners gives them.
  void ShowSigners(const std::vector<UINT8> &Message, const std::string &Indent);

  // Why a message that ShowSigners has shown may have been refused, as far as the services tell it.
  std::string LikelyReason() const;

private:
  bool InTime(const std::string &NotBefore, const std::string &NotAfter) const;

  const CRYPTO_SERVICES_PROTOCOL &Services_;
  std::vector<UINT8> Trusted_;
  std::string TrustedText_;
  std::string ClockText_;
  std::string Clock_; // YYYYMMDDhhmmss
  std::string TrustedProblem_;
  std::string SignerProblem_;
};

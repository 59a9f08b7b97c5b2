// What a certificate says, for people. The subject comes through the driver; issuer and validity, for which
// there is no service, are read here.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/session/DriverSession.h"

struct CertificateText {
  std::string Subject;
  std::string Issuer;
  // UTC as YYYYMMDDhhmmss; empty when they cannot be read.
  std::string NotBefore;
  std::string NotAfter;

  // "2022-08-16 to 2032-08-16", with the times of day.
  std::string Validity() const;
};

// Nothing when SvcX509GetSubjectName refuses the certificate.
std::optional<CertificateText> DescribeCertificate(const CRYPTO_SERVICES_PROTOCOL &Services,
                                                   const std::vector<UINT8> &Certificate);

// "RSA, 2,048 bits, exponent 65,537" of an RSA context.
std::string KeyText(const CRYPTO_SERVICES_PROTOCOL &Services, VOID *Context);

// A digest through SvcHashAll in lower-case hex; the refusal in words when it answers an error.
std::string DigestText(const CRYPTO_SERVICES_PROTOCOL &Services, HASH_TYPE Type,
                       const std::vector<UINT8> &Data);

// Text of somebody else's in one line: control characters and bytes that are not UTF-8 become "?".
std::string PlainText(const std::string &Text);

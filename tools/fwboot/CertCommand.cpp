// "cert": what the driver makes of a certificate.
#include <memory>
#include <string>
#include <vector>

#include <fmt/core.h>

#include "tools/fwboot/CertificateText.h"
#include "tools/fwboot/Commands.h"
#include "tools/fwboot/InputFile.h"
#include "tools/pe/DerReader.h"

namespace {

// Fingerprints are of the certificate alone, whatever stands behind it in the file.
void CutBehind(const std::string &Path, std::vector<UINT8> &Certificate) {
  try {
    Certificate.resize(DerReader(Certificate).Next().Whole.size());
  } catch (const DerError &) {
    throw InputError(Path + ": a certificate whose encoding is not DER");
  }
}

int RunCert(const GLOBAL_OPTIONS &Options, const std::string &Path) {
  std::vector<UINT8> Certificate = ReadCertificate(Path);
  DriverSession Session(Options.Session());
  RequireServices(Session);
  const CRYPTO_SERVICES_PROTOCOL &Services = Session.Services();
  const auto Text = DescribeCertificate(Services, Certificate);
  if (!Text) {
    throw InputError(Path + ": no certificate that the driver can decode");
  }
  CutBehind(Path, Certificate);
  fmt::print("Subject     {}\nIssuer      {}\nValid       {}\n", Text->Subject, Text->Issuer,
             Text->Validity());
  VOID *Context = nullptr;
  if (Services.SvcRsaGetPublicKeyFromX509(Certificate.data(), Certificate.size(), &Context)) {
    fmt::print("Key         {}\n", KeyText(Services, Context));
    Services.SvcRsaFree(Context);
  } else {
    fmt::print("Key         not RSA: SvcRsaGetPublicKeyFromX509 answers FALSE\n");
  }
  fmt::print("SHA-1       {}\nSHA-256     {}\n", DigestText(Services, HASH_TYPE_SHA1, Certificate),
             DigestText(Services, HASH_TYPE_SHA256, Certificate));
  return mExitFine;
}

} // namespace

COMMAND_ACTION DeclareCert(CLI::App &App) {
  auto Path = std::make_shared<std::string>();
  App.add_option("FILE", *Path, "A certificate, DER or PEM")->required();
  return [Path](const GLOBAL_OPTIONS &Options) { return RunCert(Options, *Path); };
}

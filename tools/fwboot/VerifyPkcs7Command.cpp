// "verify-pkcs7": a detached PKCS#7 signature over a file, against one trusted certificate.
#include <memory>
#include <string>
#include <vector>

#include <fmt/core.h>

#include "tools/fwboot/Commands.h"
#include "tools/fwboot/InputFile.h"
#include "tools/fwboot/SignatureCheck.h"
#include "tools/fwboot/Wording.h"

namespace {

struct VERIFY_PKCS7_OPTIONS {
  std::string Path;
  std::string Data;
  TRUST_OPTIONS Trust;
};

int RunVerifyPkcs7(const GLOBAL_OPTIONS &Options, const VERIFY_PKCS7_OPTIONS &Own) {
  const std::vector<UINT8> Message = ReadInput(Own.Path);
  std::vector<UINT8> Data = ReadInput(Own.Data);
  const UINTN DataSize = Data.size();
  Data.push_back(0); // an empty file still needs a place
  DriverSession Session(Options.Session());
  RequireServices(Session);
  SignatureCheck Check(Session, Own.Trust);
  fmt::print("Message     {}, {} bytes\nData        {}, {} bytes\n", Own.Path, Grouped(Message.size()),
             Own.Data, Grouped(DataSize));
  Check.ShowTrust();
  Check.ShowSigners(Message, "");
  const bool Verified = Session.Services().SvcPkcs7Verify(
      Message.data(), Message.size(), Check.Trusted().data(), Check.Trusted().size(), Data.data(), DataSize);
  fmt::print("{}\n", Verified ? "Accepted" : "Refused: " + Check.LikelyReason());
  return Verified ? mExitFine : mExitCheckFailed;
}

} // namespace

COMMAND_ACTION DeclareVerifyPkcs7(CLI::App &App) {
  auto Own = std::make_shared<VERIFY_PKCS7_OPTIONS>();
  App.add_option("MESSAGE", Own->Path, "The signed message in DER, a ContentInfo or a bare SignedData")
      ->required();
  App.add_option("--data", Own->Data, "The file that was signed")->required()->type_name("FILE");
  App.add_option("--trust", Own->Trust.Trust, "The trusted certificate, DER or PEM")
      ->required()
      ->type_name("CERT");
  App.add_option("--at", Own->Trust.At, "The firmware's clock, in UTC; the host's time unless given")
      ->type_name("YYYYMMDDhhmmss");
  return [Own](const GLOBAL_OPTIONS &Options) { return RunVerifyPkcs7(Options, *Own); };
}

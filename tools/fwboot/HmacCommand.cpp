// "hmac": MACs of files under a key, line for line in the form of the sum tools.
#include <memory>

#include <fmt/core.h>

#include "tools/fwboot/Commands.h"
#include "tools/fwboot/FileDigest.h"
#include "tools/fwboot/Hex.h"
#include "tools/fwboot/InputFile.h"
#include "tools/session/StatusNames.h"
#include "tools/vectors/InputBytes.h"

namespace {

using Octets = std::vector<UINT8>;

struct HMAC_OPTIONS {
  std::string Algorithm;
  std::string KeyPath;
  std::vector<std::string> Paths;
};

// Empty when the services refuse; Refusal then says which and how.
Octets StreamSha1(const CRYPTO_SERVICES_PROTOCOL &Services, const Octets &Key, const Octets &Data,
                  std::string &Refusal) {
  Octets Context(Services.SvcHmacSha1GetContextSize());
  Octets Mac(CRYPTO_SERVICES_SHA1_DIGEST_SIZE);
  if (Services.SvcHmacSha1Init(Context.data(), InputBytes(Key), Key.size()) &&
      Services.SvcHmacSha1Update(Context.data(), InputBytes(Data), Data.size()) &&
      Services.SvcHmacSha1Final(Context.data(), Mac.data())) {
    return Mac;
  }
  Refusal = "the SvcHmacSha1 services answer FALSE";
  return {};
}

Octets ComputeSha256(const CRYPTO_SERVICES_PROTOCOL &Services, const Octets &Key, const Octets &Data,
                     std::string &Refusal) {
  Octets Mac(CRYPTO_SERVICES_SHA256_DIGEST_SIZE);
  UINTN Size = Mac.size();
  const EFI_STATUS Status = Services.SvcHmacCompute(HASH_TYPE_SHA256, InputBytes(Key), Key.size(),
                                                    InputBytes(Data), Data.size(), Mac.data(), &Size);
  if (Status == EFI_SUCCESS) {
    return Mac;
  }
  Refusal = fmt::format("SvcHmacCompute answers {}{}", StatusName(Status),
                        Data.empty()  ? ": the service takes no empty message"
                        : Key.empty() ? ": the service takes no empty key"
                                      : "");
  return {};
}

int RunHmacCommand(const GLOBAL_OPTIONS &Options, const HMAC_OPTIONS &Own) {
  const Octets Key = ReadInput(Own.KeyPath);
  DriverSession Session(Options.Session());
  RequireServices(Session);
  int Code = mExitFine;
  for (const std::string &Path : Own.Paths) {
    const Octets Data = ReadInput(Path);
    std::string Refusal;
    const Octets Mac =
        (Own.Algorithm == "sha1" ? StreamSha1 : ComputeSha256)(Session.Services(), Key, Data, Refusal);
    if (Refusal.empty()) {
      fmt::print("{}\n", SumLine(HexText(Mac), Path));
    } else {
      PrintError(Path + ": " + Refusal);
      Code = mExitCheckFailed;
    }
  }
  return Code;
}

} // namespace

COMMAND_ACTION DeclareHmac(CLI::App &App) {
  auto Own = std::make_shared<HMAC_OPTIONS>();
  App.add_option("ALGORITHM", Own->Algorithm, "The digest underneath")
      ->required()
      ->check(CLI::IsMember({"sha1", "sha256"}));
  App.add_option("--key-file", Own->KeyPath, "A file whose bytes are the key")->required()->type_name("FILE");
  App.add_option("FILE", Own->Paths, "Files to authenticate; - is the standard input")->required();
  App.footer(
      "SHA-1 goes through the streaming services, SHA-256 through SvcHmacCompute, which takes neither an "
      "empty\n"
      "message nor an empty key: that is told on the error stream, and the exit code is 1.");
  return [Own](const GLOBAL_OPTIONS &Options) { return RunHmacCommand(Options, *Own); };
}

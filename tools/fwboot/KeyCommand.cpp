// "key": what the driver makes of a private key in PEM. Nothing secret is printed.
#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <fmt/core.h>

#include "tools/fwboot/CertificateText.h"
#include "tools/fwboot/Commands.h"
#include "tools/fwboot/InputFile.h"

namespace {

struct KEY_OPTIONS {
  std::string Path;
  std::string PasswordPath;
};

constexpr const char *mComponents[] = {"n", "e", "d", "p", "q", "dp", "dq", "qinv"};

// The first line of the file. A password ends at its first NUL for the driver, so one inside is refused here.
std::string ReadPassword(const std::string &Path) {
  const std::vector<UINT8> Content = ReadInput(Path);
  std::string Password(Content.begin(), std::find(Content.begin(), Content.end(), '\n'));
  if (!Password.empty() && Password.back() == '\r') {
    Password.pop_back();
  }
  if (Password.find('\0') != std::string::npos) {
    throw InputError(Path + ": a password cannot hold a NUL");
  }
  return Password;
}

std::string ComponentNames(const CRYPTO_SERVICES_PROTOCOL &Services, VOID *Context) {
  std::string Names;
  for (RSA_KEY_TAG Tag = RsaKeyN; Tag <= RsaKeyQInv; ++Tag) {
    UINTN Size = 0;
    Services.SvcRsaGetKey(Context, Tag, nullptr, &Size);
    if (Size != 0) {
      Names += std::string(Names.empty() ? "" : " ") + mComponents[Tag];
    }
  }
  return Names;
}

bool SignsAndVerifies(const CRYPTO_SERVICES_PROTOCOL &Services, VOID *Context) {
  const UINT8 Digest[CRYPTO_SERVICES_SHA256_DIGEST_SIZE] = {1};
  UINTN Size = 0;
  Services.SvcRsaPkcs1Sign(Context, Digest, sizeof(Digest), nullptr, &Size);
  std::vector<UINT8> Signature(Size);
  return Services.SvcRsaPkcs1Sign(Context, Digest, sizeof(Digest), Signature.data(), &Size) &&
         Services.SvcRsaPkcs1Verify(Context, Digest, sizeof(Digest), Signature.data(), Size);
}

int RunKey(const GLOBAL_OPTIONS &Options, const KEY_OPTIONS &Own) {
  const std::vector<UINT8> Text = ReadInput(Own.Path);
  constexpr std::string_view mBegin = "-----BEGIN ";
  if (std::search(Text.begin(), Text.end(), mBegin.begin(), mBegin.end()) == Text.end()) {
    throw InputError(Own.Path + ": no PEM text");
  }
  std::optional<std::string> Password;
  if (!Own.PasswordPath.empty()) {
    Password = ReadPassword(Own.PasswordPath);
  }
  DriverSession Session(Options.Session());
  RequireServices(Session);
  const CRYPTO_SERVICES_PROTOCOL &Services = Session.Services();
  VOID *Context = nullptr;
  if (!Services.SvcRsaGetPrivateKeyFromPem(Text.data(), Text.size(), Password ? Password->c_str() : nullptr,
                                           &Context)) {
    PrintError(Own.Path +
               ": SvcRsaGetPrivateKeyFromPem answers FALSE: no RSA key, another password, or a cipher that "
               "is not registered");
    return mExitCheckFailed;
  }
  const bool Works = SignsAndVerifies(Services, Context);
  fmt::print("Key         {}\nComponents  {}\nCheck       {}\n", KeyText(Services, Context),
             ComponentNames(Services, Context),
             Works ? "its signature verifies" : "its signature does NOT verify");
  Services.SvcRsaFree(Context);
  return Works ? mExitFine : mExitCheckFailed;
}

} // namespace

COMMAND_ACTION DeclareKey(CLI::App &App) {
  auto Own = std::make_shared<KEY_OPTIONS>();
  App.add_option("FILE", Own->Path, "A private key in PEM")->required();
  App.add_option("--password-file", Own->PasswordPath, "A file whose first line is the password")
      ->type_name("FILE");
  return [Own](const GLOBAL_OPTIONS &Options) { return RunKey(Options, *Own); };
}

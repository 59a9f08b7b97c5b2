// "keys": what the driver's built-in key store holds.
#include <fmt/core.h>

#include "tools/fwboot/BuiltinKeyList.h"
#include "tools/fwboot/Commands.h"
#include "tools/session/StatusNames.h"

namespace {

int RunKeys(const GLOBAL_OPTIONS &Options) {
  DriverSession Session(Options.Session());
  for (const BuiltinKey &Key : ReadBuiltinKeys(Session)) {
    const std::string Content = Key.Status != EFI_SUCCESS ? StatusName(Key.Status)
                                : Key.Fingerprint.empty() ? "no key material"
                                                          : "SHA-256 " + Key.Fingerprint;
    fmt::print("type {}  {}{}\n", Key.Type, Content, Key.IsDevelopment ? "  development key" : "");
  }
  return mExitFine;
}

} // namespace

COMMAND_ACTION DeclareKeys(CLI::App &App) {
  App.footer("The fingerprint is that of the DER SubjectPublicKeyInfo, as by\n"
             "  openssl pkey -pubin -in FILE -outform DER | sha256sum");
  return RunKeys;
}

// "base64": bytes to Base64 text and back, through the services for CHAR8 text.
#include <cstdio>
#include <memory>

#include <fmt/core.h>

#include "tools/fwboot/Commands.h"
#include "tools/fwboot/InputFile.h"
#include "tools/session/StatusNames.h"

namespace {

struct BASE64_OPTIONS {
  std::string Direction;
  std::string Path = "-";
  bool UrlSafe = false;
  bool NoNewline = false;
};

// Writes out what a service gave and gives the memory back; or ends the command with the service's refusal.
void Deliver(DriverSession &Session, const BASE64_OPTIONS &Own, const char *Service, EFI_STATUS Status,
             VOID *Result, UINTN Length) {
  if (Status != EFI_SUCCESS) {
    throw InputError(fmt::format("{}: {} answers {}{}", Own.Path, Service, StatusName(Status),
                                 Status == EFI_LOAD_ERROR ? ": no Base64 text in that layout" : ""));
  }
  std::fwrite(Result, 1, Length, stdout);
  Session.Firmware().BootServices()->FreePool(Result);
}

int RunBase64(const GLOBAL_OPTIONS &Options, const BASE64_OPTIONS &Own) {
  std::vector<UINT8> Input = ReadInput(Own.Path);
  if (Input.empty()) {
    throw InputError(Own.Path + ": empty, and the services take no empty input");
  }
  DriverSession Session(Options.Session());
  RequireServices(Session);
  const CRYPTO_SERVICES_PROTOCOL &Services = Session.Services();
  UINTN Length = 0;
  if (Own.Direction == "encode") {
    CHAR8 *Text = nullptr;
    const EFI_STATUS Status = Services.SvcBase64EncodeToAscii(Own.UrlSafe, Own.NoNewline, Input.data(),
                                                              Input.size(), &Text, &Length);
    Deliver(Session, Own, "SvcBase64EncodeToAscii", Status, Text, Length);
    return mExitFine;
  }
  UINT8 *Bytes = nullptr;
  auto *Text = reinterpret_cast<CHAR8 *>(Input.data());
  if (Own.UrlSafe || Own.NoNewline) {
    const EFI_STATUS Status =
        Services.SvcBase64DecodeAscii(Own.UrlSafe, Own.NoNewline, Text, Input.size(), &Bytes, &Length);
    Deliver(Session, Own, "SvcBase64DecodeAscii", Status, Bytes, Length);
  } else {
    const EFI_STATUS Status = Services.SvcBase64DecodeAsciiAuto(Text, Input.size(), &Bytes, &Length);
    Deliver(Session, Own, "SvcBase64DecodeAsciiAuto", Status, Bytes, Length);
  }
  return mExitFine;
}

} // namespace

COMMAND_ACTION DeclareBase64(CLI::App &App) {
  auto Own = std::make_shared<BASE64_OPTIONS>();
  App.add_option("DIRECTION", Own->Direction, "encode or decode")
      ->required()
      ->check(CLI::IsMember({"encode", "decode"}));
  App.add_option("FILE", Own->Path, "What to convert; without it, or for -, the standard input");
  App.add_flag("--url", Own->UrlSafe, "The text has - and _ for + and /; = fills it up all the same");
  App.add_flag("--no-newline", Own->NoNewline,
               "The text is one line without an end; otherwise it is in lines of 64 characters, each ended");
  App.footer("decode without a switch leaves the choice to the service, which looks at the text.");
  return [Own](const GLOBAL_OPTIONS &Options) { return RunBase64(Options, *Own); };
}

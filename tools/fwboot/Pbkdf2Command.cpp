// "pbkdf2": a key from a password, in hex.
#include <memory>

#include <fmt/core.h>

#include "tools/fwboot/Commands.h"
#include "tools/fwboot/Hex.h"
#include "tools/fwboot/InputFile.h"
#include "tools/session/StatusNames.h"
#include "tools/vectors/InputBytes.h"

namespace {

// Bytes that may be given as text, in hex or in a file.
struct GIVEN_BYTES {
  std::string Name;
  std::string Text;
  std::string Hex;
  std::string Path;

  std::vector<UINT8> Read() const {
    if (!Path.empty()) {
      return ReadInput(Path);
    }
    return Hex.empty() ? std::vector<UINT8>(Text.begin(), Text.end()) : ParseHex(Name + "-hex", Hex);
  }

  // Its three options, one of which must be given, or none if it may be left out.
  void Declare(CLI::App &App, const std::string &What, bool Required) {
    CLI::Option_group *Group = App.add_option_group(What);
    Group->add_option(Name, Text, "The " + What + " as it stands")->type_name("TEXT");
    Group->add_option(Name + "-hex", Hex, "The same in hex")->type_name("HEX");
    Group->add_option(Name + "-file", Path, "A file whose bytes it is, the last line's end among them")
        ->type_name("FILE");
    Group->require_option(Required ? 1 : 0, 1);
  }
};

struct PBKDF2_OPTIONS {
  GIVEN_BYTES Password{"--password", {}, {}, {}};
  GIVEN_BYTES Salt{"--salt", {}, {}, {}};
  UINT64 Iterations = 0;
  UINT64 Length = 0;
};

int RunPbkdf2(const GLOBAL_OPTIONS &Options, const PBKDF2_OPTIONS &Own) {
  const std::vector<UINT8> Password = Own.Password.Read();
  const std::vector<UINT8> Salt = Own.Salt.Read();
  if (Password.empty()) {
    throw InputError("the password is empty, and SvcPbkdf2HmacSha1 takes no empty one");
  }
  DriverSession Session(Options.Session());
  RequireServices(Session);
  std::vector<UINT8> Key(Own.Length);
  const EFI_STATUS Status =
      Session.Services().SvcPbkdf2HmacSha1(Password.data(), Password.size(), InputBytes(Salt), Salt.size(),
                                           Own.Iterations, Key.data(), Key.size());
  if (Status != EFI_SUCCESS) {
    PrintError("SvcPbkdf2HmacSha1 answers " + StatusName(Status));
    return mExitCheckFailed;
  }
  fmt::print("{}\n", HexText(Key));
  return mExitFine;
}

} // namespace

COMMAND_ACTION DeclarePbkdf2(CLI::App &App) {
  constexpr int mLargest = 0x7FFFFFFF;
  auto Own = std::make_shared<PBKDF2_OPTIONS>();
  Own->Password.Declare(App, "password", true);
  Own->Salt.Declare(App, "salt", false);
  App.add_option("--iterations", Own->Iterations, "How often the MAC is iterated")
      ->required()
      ->check(CLI::Range(1, mLargest));
  App.add_option("--length", Own->Length, "How many bytes of key")
      ->required()
      ->check(CLI::Range(1, mLargest));
  App.footer(
      "The MAC is HMAC-SHA1. On a machine with other users, prefer the forms with a file: a command line "
      "can be\n"
      "seen by all of them.");
  return [Own](const GLOBAL_OPTIONS &Options) { return RunPbkdf2(Options, *Own); };
}

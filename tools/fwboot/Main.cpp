// fwboot: boots the driver in the simulated firmware and calls its services. Parses the command line, runs
// one command and turns every failure into an exit code and one line; what a command does is not known here.
#include <cstdio>
#include <exception>
#include <vector>

#include "simulator/DriverCall.h"
#include "tools/fwboot/Commands.h"
#include "tools/vectors/VectorFile.h"

SessionOptions GLOBAL_OPTIONS::Session() const {
  SessionOptions Options;
  if (!Linked) {
    Options.Image = Image;
  }
  using enum ProcessorScript::Feature;
  if (Processor != "native") {
    Options.WithoutFeatures = {AesNi, Sha, Rdseed, Rdrand};
  }
  if (Processor == "plain") {
    Options.WithoutFeatures.push_back(Ssse3);
  }
  return Options;
}

void RequireServices(DriverSession &Session) {
  if (!Session.Problem().empty()) {
    throw BootError(Session.Outcome(), Session.Problem());
  }
}

void PrintError(const std::string &Text) {
  std::string Line = "fwboot: " + Text;
  for (char &Character : Line) {
    if (static_cast<unsigned char>(Character) < 0x20 || Character == 0x7F) {
      Character = '?';
    }
  }
  std::fprintf(stderr, "%s\n", Line.c_str());
}

namespace {

constexpr const char *mDescription =
    "Boots the crypto services driver in a simulated firmware and calls its services.\n"
    "Without a command: boots it, shows what it is made of, and compares its digests and its speed.";

constexpr const char *mFooter = "Exit codes: 0 all is well, 1 a check failed, 2 the command line or an input "
                                "is bad, 3 the driver halted the boot.";

int ParseAndRun(int Count, char **Arguments) {
  CLI::App App(mDescription, "fwboot");
  App.footer(mFooter);
  GLOBAL_OPTIONS Options{.Image = FIRMWARE_IMAGE_PATH};
  auto *Image = App.add_option("--image", Options.Image, "The driver image to load")
                    ->type_name("PATH")
                    ->capture_default_str();
  App.add_flag("--linked", Options.Linked, "Use the driver linked into this program instead of an image")
      ->excludes(Image);
  App.add_option(
         "--processor", Options.Processor,
         "The processor that the driver sees: this machine's; the same without the instructions for AES,\n"
         "SHA, RDSEED and RDRAND; or without SSSE3 as well")
      ->check(CLI::IsMember({"native", "ssse3", "plain"}))
      ->capture_default_str();
  App.require_subcommand(0, 1);

  COMMAND_ACTION Action = RunDemonstration;
  for (const COMMAND &Command : AllCommands()) {
    CLI::App *Declared = App.add_subcommand(Command.Name, Command.Summary);
    Declared->fallthrough();
    Declared->final_callback([&Action, Run = Command.Declare(*Declared)] { Action = Run; });
  }
  try {
    App.parse(Count, Arguments);
  } catch (const CLI::ParseError &Error) {
    if (Error.get_exit_code() == 0) {
      return App.exit(Error);
    }
    PrintError(Error.what());
    return mExitBadInput;
  }
  try {
    return Action(Options);
  } catch (const LoadError &Error) {
    // Some refusals name the file already.
    const std::string Why = Error.what();
    throw InputError(
        Options.Linked || Why.find(Options.Image) != std::string::npos ? Why : Options.Image + ": " + Why);
  }
}

int RunGuarded(int Count, char **Arguments) {
  try {
    const int Code = ParseAndRun(Count, Arguments);
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
      throw InputError("the output cannot be written");
    }
    return Code;
  } catch (const BootError &Error) {
    PrintError(Error.what());
    return Error.Outcome() == BootOutcome::Halted ? mExitHalted : mExitCheckFailed;
  } catch (const std::exception &Error) {
    PrintError(Error.what());
    return mExitBadInput;
  }
}

} // namespace

int main(int Count, char **Arguments) {
  RestartWithoutHostAvx(Arguments);
  return RunGuarded(Count, Arguments);
}

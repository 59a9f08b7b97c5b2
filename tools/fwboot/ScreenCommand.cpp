// "screen": the violation screen, as the driver's own code composes it, to look at.
#include <algorithm>
#include <filesystem>
#include <memory>
#include <vector>

#include <fmt/core.h>

#include "tools/fwboot/Commands.h"
#include "tools/fwboot/PolicyStage.h"
#include "tools/fwboot/ScreenPicture.h"
#include "tools/fwboot/ScreenText.h"

namespace {

struct SCREEN_OPTIONS {
  std::string Language;
  PolicyViolation Violation;
  std::string Picture;
  std::string Folder;
  std::string Font = SCREEN_FONT_PATH;
};

// One violation for each reason that a screen can give.
struct REASON_SAMPLE {
  const char *Name;
  INT32 Reason;
  UINT32 Kind;
};

constexpr REASON_SAMPLE mReasons[] = {
    {"test-code", 2, 0}, {"policy-not-met", 5, 0}, {"module-excluded", 0, 2}, {"unknown", 9, 0}};

constexpr COLOUR mSheetColour = {255, 255, 255};
constexpr UINTN mSheetGap = 12;

POLICY_SETTING SettingOf(const std::string &Language, const PolicyViolation &Violation) {
  POLICY_SETTING Setting;
  if (!Language.empty()) {
    Setting.Language = Language;
  }
  Setting.Violation = Violation;
  return Setting;
}

// The languages of the one package list that the driver registers.
std::vector<std::string> DriverLanguages(const SessionOptions &Driver) {
  DriverSession Session(Driver);
  RequireServices(Session);
  std::vector<std::string> Tags;
  const HiiStore &Store = Session.Firmware().Hii.Store;
  for (EFI_HII_HANDLE Handle : Store.Handles()) {
    for (const HiiStore::StringPackage &Package : Store.Find(Handle)->Strings) {
      Tags.push_back(Package.Language);
    }
  }
  if (Tags.empty()) {
    throw InputError("the driver registers no messages");
  }
  return Tags;
}

void PrintBox(const MessageDialog::Screen &Screen) {
  for (const std::string &Row : ScreenBox(Screen)) {
    fmt::print("{}\n", Row);
  }
}

// A row for each language, a column for each reason.
int DrawAll(const SessionOptions &Driver, const SCREEN_OPTIONS &Own) {
  ScreenFont Font(Own.Font);
  std::error_code Error;
  std::filesystem::create_directories(Own.Folder, Error);
  if (Error) {
    throw InputError(Own.Folder + ": " + Error.message());
  }
  const std::vector<std::string> Tags = DriverLanguages(Driver);
  std::vector<Picture> Small;
  for (const std::string &Tag : Tags) {
    for (const REASON_SAMPLE &Sample : mReasons) {
      const PolicyViolation Violation = {Sample.Reason, Sample.Kind, Own.Violation.ModuleName};
      const MessageDialog::Screen Screen = ScreenOfBoot(Driver, SettingOf(Tag, Violation));
      const Picture Drawn = DrawScreen(Screen, Font);
      const std::string Name = Tag + "-" + Sample.Name + ".png";
      Drawn.WritePng(Own.Folder + "/" + Name);
      Small.push_back(Drawn.Halved());
      fmt::print("{}\n", Name);
      PrintBox(Screen);
    }
  }
  const UINTN Across = std::size(mReasons);
  const UINTN StepX = Small[0].Width() + mSheetGap;
  const UINTN StepY = Small[0].Height() + mSheetGap;
  Picture Sheet(mSheetGap + Across * StepX, mSheetGap + Tags.size() * StepY, mSheetColour);
  for (UINTN Index = 0; Index < Small.size(); ++Index) {
    Sheet.Paste(Small[Index], mSheetGap + Index % Across * StepX, mSheetGap + Index / Across * StepY);
  }
  Sheet.WritePng(Own.Folder + "/contact-sheet.png");
  fmt::print("{} screens drawn, and contact-sheet.png\n", Small.size());
  return mExitFine;
}

int RunScreenCommand(const GLOBAL_OPTIONS &Options, const SCREEN_OPTIONS &Own) {
  if (Own.Violation.ModuleName.size() > POLICY_VIOLATION_NAME_SIZE) {
    throw InputError("--module: a module name has at most 96 bytes");
  }
  if (!Own.Folder.empty()) {
    return DrawAll(Options.Session(), Own);
  }
  const MessageDialog::Screen Screen =
      ScreenOfBoot(Options.Session(), SettingOf(Own.Language, Own.Violation));
  PrintBox(Screen);
  if (!Own.Picture.empty()) {
    ScreenFont Font(Own.Font);
    DrawScreen(Screen, Font).WritePng(Own.Picture);
  }
  return mExitFine;
}

} // namespace

COMMAND_ACTION DeclareScreen(CLI::App &App) {
  auto Own = std::make_shared<SCREEN_OPTIONS>();
  Own->Violation = {2, 0, "ABC"};
  auto *Language = App.add_option("--lang", Own->Language, "The platform's language")->type_name("TAG");
  auto *Reason =
      App.add_option("--reason", Own->Violation.Reason, "Why: 0 to 3 test code, 4 to 7 policy not met")
          ->type_name("N")
          ->capture_default_str();
  auto *Kind = App.add_option("--kind", Own->Violation.Kind, "2 for a module that was left out of the build")
                   ->type_name("N")
                   ->capture_default_str();
  App.add_option("--module", Own->Violation.ModuleName, "The module's name")
      ->type_name("NAME")
      ->capture_default_str();
  auto *Picture = App.add_option("--png", Own->Picture, "Draw the screen into a file")->type_name("FILE");
  App.add_option("--all", Own->Folder,
                 "Draw every language and every reason into a folder, and one contact sheet")
      ->type_name("DIR")
      ->excludes(Language, Reason, Kind, Picture);
  App.add_option("--font", Own->Font, "The font of the pictures")->type_name("FILE")->capture_default_str();
  return [Own](const GLOBAL_OPTIONS &Options) { return RunScreenCommand(Options, *Own); };
}

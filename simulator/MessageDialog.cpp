// The message box. What the driver passes is read here and never kept by address.
#include "simulator/MessageDialog.h"

#include <algorithm>
#include <iterator>

#include "simulator/Faults.h"
#include "simulator/SimulatedFirmware.h"

namespace {

constexpr UINTN mMostLines = 64;
constexpr UINTN mLongestText = 4096;

MessageDialog *LivingDialog = nullptr;

std::optional<std::u16string> ReadText(const CHAR16 *Text) {
  if (Text == nullptr) {
    return {};
  }
  std::u16string Units;
  while (Text[Units.size()] != 0) {
    if (Units.size() == mLongestText) {
      ReportFault("ShowMessage: a text without an end");
      break;
    }
    Units += Text[Units.size()];
  }
  return Units;
}

} // namespace

MessageDialog::MessageDialog() : Interface{ShowMessage} {
  if (LivingDialog != nullptr) {
    AbortRun("a second message dialog was made while one lives");
  }
  LivingDialog = this;
}

MessageDialog::~MessageDialog() {
  LivingDialog = nullptr;
}

EFI_STATUS EFIAPI MessageDialog::ShowMessage(CHAR16 *Title, UINTN Reserved1, DIALOG_LINE **Lines,
                                             UINTN Reserved2) {
  SimulatedFirmware::Living().Events.RequireAtMost("ShowMessage", TPL_APPLICATION);
  if (LivingDialog == nullptr) {
    AbortRun("ShowMessage was called while no message dialog lives");
  }
  if (Reserved1 != 0 || Reserved2 != 0) {
    ReportFault("ShowMessage: a reserved argument is not zero");
  }
  Screen Shown{ReadText(Title), {}};
  for (DIALOG_LINE *const *Line = Lines; *Line != nullptr; ++Line) {
    if (Shown.Lines.size() == mMostLines) {
      ReportFault("ShowMessage: a list of lines without an end");
      break;
    }
    if (std::any_of(std::begin((*Line)->Reserved), std::end((*Line)->Reserved),
                    [](UINT8 Byte) { return Byte != 0; })) {
      ReportFault("ShowMessage: a reserved byte of a line is not zero");
    }
    Shown.Lines.push_back(ReadText((*Line)->Text));
  }
  LivingDialog->Shown_.push_back(Shown);
  if (LivingDialog->Watcher_) {
    LivingDialog->Watcher_(Shown);
  }
  return LivingDialog->Answer;
}

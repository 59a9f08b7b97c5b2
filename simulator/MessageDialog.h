// The platform's message box: keeps what it was given and lets a test or a tool look while it is up. It shows
// nothing itself. Its interface carries no pointer to itself, so one lives at a time.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "uefi/MessageDialogProtocol.h"

class MessageDialog {
public:
  // What stood on the screen; nothing where the driver passed NULL.
  struct Screen {
    std::optional<std::u16string> Title;
    std::vector<std::optional<std::u16string>> Lines;

    bool operator==(const Screen &) const = default;
  };

  MessageDialog();
  ~MessageDialog();
  MessageDialog(const MessageDialog &) = delete;
  MessageDialog &operator=(const MessageDialog &) = delete;

  // The interface to install.
  MESSAGE_DIALOG_PROTOCOL Interface;

  // All screens so far, the latest last. Arguments that are not zero as they must be, a list or a text
  // without an end, and a call above TPL_APPLICATION, where no key press arrives, are faults.
  const std::vector<Screen> &Shown() const { return Shown_; }

  // Runs Watcher while the screen is up. An empty function ends it.
  void WhenShown(std::function<void(const Screen &)> Watcher) { Watcher_ = std::move(Watcher); }

  // What ShowMessage answers.
  EFI_STATUS Answer = EFI_SUCCESS;

private:
  static EFI_STATUS EFIAPI ShowMessage(CHAR16 *Title, UINTN Reserved1, DIALOG_LINE **Lines, UINTN Reserved2);

  std::vector<Screen> Shown_;
  std::function<void(const Screen &)> Watcher_;
};

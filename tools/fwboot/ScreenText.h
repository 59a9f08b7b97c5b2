// The violation screen as a box of text for a terminal.
#pragma once

#include <string>
#include <vector>

#include "simulator/MessageDialog.h"

// The rows of the box in UTF-8, at most 80 columns wide: the title, then each line of the screen. A text that
// was not passed at all is shown as "(no text)", which is not the same as an empty one.
std::vector<std::string> ScreenBox(const MessageDialog::Screen &Screen);

// A line of a screen as its text, and what stands for one that was not passed.
std::u32string ScreenLine(const std::optional<std::u16string> &Line);

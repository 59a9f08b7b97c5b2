// Image layouts in text, as "verify-image" takes them: one field a line, "NAME = NUMBER", "#" for comments.
//   exclude1 = OFFSET SIZE       the three excluded regions; a size of 0 (the default) is none
//   exclude2 = OFFSET SIZE
//   exclude3 = OFFSET SIZE
//   block    = OFFSET            the signature block
//   second   = OFFSET            a second one; without the line there is none
// Numbers are decimal or, with 0x, hexadecimal.
#pragma once

#include <string>

#include "uefi/ImageLayoutProtocol.h"

// The descriptor that the text describes, zero where it says nothing. Throws InputError ("NAME:LINE: reason")
// for a line of another form, a name that is unknown or comes twice, and a text without a block.
IMAGE_LAYOUT_DESCRIPTOR ParseLayout(const std::string &Name, const std::string &Text);

// Texts of the firmware as people read them: code points, UTF-8, the columns of a terminal, and lines broken
// to fit. Knows of no screen and no font.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "uefi/Base.h"

// A text in UTF-16; half a surrogate pair becomes U+FFFD.
std::u32string CodePoints(std::u16string_view Text);

// For a terminal: control and other unprintable characters become U+FFFD.
std::string Utf8(std::u32string_view Text);

// Bytes that should be ASCII, for a terminal: all others, and control characters, become '?'.
std::string Printable(std::string_view Bytes);

// Columns that a terminal gives a character: 2 for the wide ones of East Asia, 0 for combining marks, else 1.
UINTN Columns(char32_t Character);
UINTN Columns(std::u32string_view Text);

// Breaks Text into lines of at most Limit, in the unit of WidthOf: at a blank, which is dropped, or beside a
// wide character, but never in front of closing punctuation; within a word only where it is longer than a
// line. An empty text is one empty line.
std::vector<std::u32string> Wrapped(std::u32string_view Text, UINTN Limit,
                                    const std::function<UINTN(char32_t)> &WidthOf);

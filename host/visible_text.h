// Text for a terminal. Names and data come from files that somebody else wrote: a control character
// among them could move the cursor, colour, hide or turn around what stands beside it, and a line
// end could make a line that the program never wrote.
//
// Such a character is shown as "\u{1B}", its number in hexadecimal. So that each "\u{" begins one,
// the backslash of a "\u{" that was there before is shown as "\u{5C}". Nothing else is changed.
#pragma once

#include <string>
#include <string_view>

namespace hivequarry {

// C0 and C1 controls, DEL, line and paragraph separators, and what turns the direction of writing.
bool IsControl(char16_t unit);

// Bytes of the control character at a place of sound UTF-8, with its unit; 0 where there is none.
size_t ControlAt(std::string_view utf8, size_t at, char16_t& unit);
// Appends sound UTF-8, with escapes.
void AppendVisible(std::string_view utf8, std::string& out);

// A message as one line of UTF-8: its line ends are blanks, and its text, which may hold code-page
// text and UTF-8 names beside each other, has escapes.
std::string VisibleLine(std::string_view text);
// Lines of UTF-8 or code-page text, each with escapes; the line ends, LF or CR LF, and tabs stay.
std::string VisibleLines(std::string_view text);

}  // namespace hivequarry

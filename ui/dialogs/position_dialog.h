// The dialog that asks for a position in the hive.
#pragma once

#include <cstdint>
#include <string_view>

#include "ui/draw/win.h"

namespace hivequarry {

// A position as users write it: decimal, "0x" and hexadecimal, or both as lists show it,
// "0x00001020 (4128)". False, and nothing changed, when the text is none.
bool ReadPosition(std::wstring_view text, uint32_t& position);

// Asks with the dialog "POSITIONDLG" for a position below `end`; `position` is what it begins with,
// then what the user gave. False when he gives none.
bool AskPosition(HWND owner, uint32_t end, uint32_t& position);

}  // namespace hivequarry

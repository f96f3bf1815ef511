// The dialog that asks for the last log entry to apply.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "ui/draw/win.h"

namespace hivequarry {

// The number of an entry, decimal. False, and nothing changed, when the text is none.
bool ReadEntryNumber(std::wstring_view text, uint32_t& entry);

// Asks with the dialog "UNTILDLG"; `entries` says which there are. `entry` is what it begins with,
// then what the user gave. False when he gives none.
bool AskUntilEntry(HWND owner, const std::wstring& entries, uint32_t& entry);

}  // namespace hivequarry

// The dialog "Replace SID".
#pragma once

#include <string>

#include "security/descriptor.h"
#include "ui/draw/win.h"

namespace hivequarry {

// Asks with the dialog, which begins with the replacement in force. True when the user wants
// another, or none any more: `replacement` is then that, its SIDs before their history.
bool AskReplacement(HWND owner, SidReplacement& replacement);

// "S-1-5-18 shown as S-1-1-0 (owner, ACEs)"; empty while none is in force.
std::string ReplacementText(const SidReplacement& replacement);

}  // namespace hivequarry

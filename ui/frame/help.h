// The help file in the user's browser.
#pragma once

#include "app/help_topics.h"
#include "ui/draw/win.h"

namespace hivequarry {

// Opens the help file beside the program at a topic (HelpTopic; any other number: at its start).
// Says so when the file is missing or nothing can show it; `owner` may be null.
void ShowHelp(HWND owner, int topic);
// Answers WM_HELP in a window without owner: it has its own topic, and gets what its dialogs were
// asked.
void ShowHelpFor(HWND window, LPARAM asked, HelpTopic topic);

}  // namespace hivequarry

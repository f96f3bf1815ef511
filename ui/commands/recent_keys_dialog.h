// The keys that were looked at last: noticing them, and going back to one.
#pragma once

#include "ui/draw/win.h"

namespace hivequarry {

struct MainWindow;

// A timer of the main window with a procedure of its own.
inline constexpr UINT_PTR kRecentTimer = 5;
inline constexpr UINT kRecentTime = 1000;  // milliseconds until a key that is shown counts

// The selected key has changed: it counts as looked at if it stays selected for a second.
void NoteKeyShown(const MainWindow& window);
// Something was done with the selected key: it counts as looked at.
void NoteKeyUsed(const MainWindow& window);

// Shows the dialog "RECENTDLG" and goes to the key that the user chooses.
void OnRecentKeys(MainWindow& window);

}  // namespace hivequarry

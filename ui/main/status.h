// The status bar, the title and the progress bar: what workers and panes have to say.
#pragma once

#include <string>

#include "ui/draw/win.h"

namespace hivequarry {

struct MainWindow;

// Parts of the status bar.
enum StatusPart : int {
  kStatusText,
  kStatusProgress,
  kStatusState,
  kStatusCounts,
  kStatusPartCount
};

// Also makes the progress bar, a child of it.
HWND MakeStatusBar(MainWindow& window);
// Places the parts for the window's width.
void LayOutStatus(MainWindow& window);
// The answer to kHostChanged: what workers said since the last one.
void ShowHostChanges(MainWindow& window);
// Word and picture of the state of the hive shown; nothing where none is.
void ShowHiveState(MainWindow& window);
// How many keys there are, or items in the Output List where that is shown.
void ShowCounts(MainWindow& window);
// The words of the selected item, in place of the host's status text until that changes.
void ShowItemWords(MainWindow& window, std::wstring words);

}  // namespace hivequarry

// Windows of their own for Output Lists: list, toolbar and status bar.
#pragma once

#include <vector>

#include "lists/output_list.h"
#include "ui/draw/win.h"
#include "ui/lists/list_place.h"

namespace hivequarry {

struct MainWindow;

// Opens a window for a list, titled by its kind or by its own title. Its rows are numbered and put
// in order if the settings say so. The window goes with the main window at the latest. Null after
// "Can not create window !".
ListPlace* OpenListWindow(MainWindow& window, OutputListPtr list);

// The list's head is that of the hive shown, where the list is made of it.
void GiveHead(const MainWindow& window, OutputList& list);
// A list made of all hives that are open has the lines of each, as they are known by now, and what
// its keys begin with.
void GiveHeadOfAll(const MainWindow& window, OutputList& list);

// The list window that is or holds `child`; null when it is none.
ListPlace* FindListPlace(HWND child);
// Carries out the keys of the list window that a message is for; true when that used it up.
bool TranslateListKeys(MSG& message);
// Closes all list windows of a main window, whose workers have ended.
void CloseListWindows(MainWindow& window);

// The list in the window's own pane, and those in list windows of theirs.
std::vector<ListPlace*> ListPlaces(MainWindow& window);
// Brings what is around the list of a list window up to date.
void RefreshListWindow(ListPlace& place);
// The same for every list window, when something began or ended.
void RefreshListWindows();

}  // namespace hivequarry

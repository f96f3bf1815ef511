// What is around the list of a list window: toolbar, the source's name, status bar.
#pragma once

#include "ui/draw/dpi.h"
#include "ui/draw/icons.h"
#include "ui/lists/list_place.h"

namespace hivequarry {

enum ListChildId : int { kListToolbarId = 1, kListLabelId, kListSourceId, kListId, kListStatusId };
enum ListStatusPart : int { kListText, kListProgress, kListCount, kListStatusParts };

// Goes with its window.
struct ListWindow {
  ListPlace place;
  HWND toolbar = nullptr;
  HWND label = nullptr;  // of the source, and its name: shown where the list has one
  HWND source = nullptr;
  HWND progress = nullptr;
  HWND last_focus = nullptr;
  uint32_t dpi = USER_DEFAULT_SCREEN_DPI;
  Fonts fonts;
  IconLists icons;
};

// Makes the children of the window; false when one can't be had.
bool MakeListFrame(ListWindow& window);
// Makes fonts and pictures anew, for the present resolution and system colours.
void RefreshListLook(ListWindow& window);
void LayOutListWindow(ListWindow& window);
// Title, source, counts, progress and buttons.
void ShowListState(ListWindow& window);
// The tooltip of a button.
void OnListToolTip(NMTTDISPINFOW& notice);

}  // namespace hivequarry

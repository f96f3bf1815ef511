// What is around the list of a list window: toolbar, the source's name, filter box, status bar.
#pragma once

#include "ui/draw/dpi.h"
#include "ui/draw/icons.h"
#include "ui/lists/filter_box.h"
#include "ui/lists/list_place.h"

namespace hivequarry {

enum ListChildId : int {
  kListToolbarId = 1,
  kListLabelId,
  kListSourceId,
  kListActivityId,
  kListId,
  kListStatusId,
};
// Parts of the status bar, from the left.
enum ListStatusPart : int { kListWords, kListProgress, kListRows, kListStatusParts };

// Goes with its window, as do fonts and pictures.
// The list itself is `place`; what is beside it here is the window around it.
struct ListWindow {
  ListPlace place;
  HWND toolbar = nullptr;
  HWND label = nullptr;  // of the source, and its name: shown where the list has one
  HWND source = nullptr;
  HWND activity = nullptr;  // the picture, hidden where there is none
  FilterControls filter;
  HWND progress = nullptr;    // inside the status bar
  RECT put_beside{};          // where it began, if that was not the place of its kind
  HWND last_focus = nullptr;  // gets the focus back when the window is activated
  uint32_t dpi = USER_DEFAULT_SCREEN_DPI;
  Fonts fonts;
  IconLists icons;
};

// Makes the children of the window; false when one can't be had.
bool MakeListFrame(ListWindow& window);
// Makes fonts and pictures anew, for the present resolution and system colours.
void RefreshListLook(ListWindow& window);
// Places every child for the size that the window has.
void LayOutListWindow(ListWindow& window);
// Title, source, counts, progress and buttons.
void ShowListState(ListWindow& window);
// The tooltip of a button.
void OnListToolTip(NMTTDISPINFOW& notice);

}  // namespace hivequarry

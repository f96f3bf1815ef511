// What is around the list of a list window: toolbar, the source's name, filter box, status bar.
#pragma once

#include "ui/draw/dpi.h"
#include "ui/draw/icons.h"
#include "ui/lists/list_place.h"

namespace hivequarry {

enum ListChildId : int {
  kListToolbarId = 1,
  kListLabelId,
  kListSourceId,
  kListActivityId,
  kListId,
  kListStatusId,
  kListFilterLabelId,
  kListFilterId,
  kListFilterCaseId,
  kListFilterWordsId,
  kListFilterRegularId,
  kListFilterNoteId
};
enum ListStatusPart : int { kListText, kListProgress, kListCount, kListStatusParts };

// The words that choose rows, what they are taken for, and what is wrong with them.
struct FilterControls {
  HWND label = nullptr;
  HWND words = nullptr;
  RECT put_beside{};          // where it began, if that was not the place of its kind
  HWND match_case = nullptr;
  HWND whole_words = nullptr;
  HWND regular = nullptr;
  HWND note = nullptr;
};

// Goes with its window, as do fonts and pictures.
struct ListWindow {
  ListPlace place;
  HWND toolbar = nullptr;
  HWND label = nullptr;  // of the source, and its name: shown where the list has one
  HWND source = nullptr;
  HWND activity = nullptr;  // the picture, hidden where there is none
  FilterControls filter;
  HWND progress = nullptr;    // inside the status bar
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
// The note beside the filter box; empty for none.
void ShowFilterNote(const ListPlace& place, const std::string& note);
// The words in the box, and how they are meant.
FilterWords TypedFilter(const ListPlace& place);
// The tooltip of a button.
void OnListToolTip(NMTTDISPINFOW& notice);

}  // namespace hivequarry

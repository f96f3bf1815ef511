// The box above a list for the words that choose its rows, with its ticks and a note beside it: in
// list windows, and above the main window's own list.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "lists/row_filter.h"
#include "ui/draw/win.h"

namespace hivequarry {

struct ListPlace;

// Children of the window that the list is in; beside those of a list window (list_frame.h).
enum FilterChildId : int {
  kListFilterLabelId = 7,
  kListFilterId,
  kListFilterCaseId,
  kListFilterWordsId,
  kListFilterRegularId,
  kListFilterNoteId
};

// They go with that window.
struct FilterControls {
  HWND label = nullptr;
  HWND words = nullptr;
  HWND match_case = nullptr;
  HWND whole_words = nullptr;
  HWND regular = nullptr;
  HWND note = nullptr;
};
// For whatever is done to all of them alike.
inline std::array<HWND, 6> ChildrenOf(const FilterControls& filter) {
  return {filter.label,       filter.words,   filter.match_case,
          filter.whole_words, filter.regular, filter.note};
}

// Makes them in the place's window; false when one can't be had.
bool MakeFilterBox(FilterControls& filter, const ListPlace& place, bool visible);
void SetFilterFont(const FilterControls& filter, HFONT font);
// Places them in a line; its height, with what is free below it. The note has what the others
// leave.
int PlaceFilterBox(const FilterControls& filter, uint32_t dpi, int left, int right, int top);
// The note beside the filter box; empty for none.
void ShowFilterNote(const ListPlace& place, const std::string& note);
// The words in the box, and how they are meant.
FilterWords TypedFilter(const ListPlace& place);

}  // namespace hivequarry

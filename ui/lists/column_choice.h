// Which columns of a list are seen, and in which order: the user's choice for all lists of a kind.
// Columns keep their numbers, so that sorting, filtering and writing do not know of it.
#pragma once

#include <vector>

#include "ui/draw/win.h"

namespace hivequarry {

struct ListPlace;

// The choice for the kind of the list that is shown, whose columns the control has.
// Columns that were hidden for the list before are shown first, so that each has its width again.
void ApplyColumnChoice(ListPlace& place);
bool IsColumnHidden(const ListPlace& place, int column);
// The first column, which has the picture, is always shown.
void ShowColumn(ListPlace& place, int column, bool shown);
// All columns, in the order that the kind has them in.
void ResetColumnChoice(ListPlace& place);
// The columns that are seen, from left to right.
std::vector<int> SeenColumns(const ListPlace& place);
// One width a column, pixels: of a hidden one that which it has when it is shown again.
std::vector<int> WidthsOfColumns(const ListPlace& place);

// HDN_BEGINTRACK, HDN_DIVIDERDBLCLICK and HDN_ENDDRAG of the list's header. TRUE keeps what is
// notified from being done.
LRESULT OnColumnsNotify(ListPlace& place, const NMHEADERW& notice);

// The menu that a right click on the header asks for, for the caller to destroy.
HMENU MakeColumnMenu(const ListPlace& place);
// Carries out the item that was chosen of it; 0 for none.
void RunColumnMenu(ListPlace& place, int chosen);
// Shows it at a screen point.
void TrackColumnMenu(ListPlace& place, POINT where);
// A command of a list: the same below the header, for the keyboard.
void OnColumns(ListPlace& place);

}  // namespace hivequarry

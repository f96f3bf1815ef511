// Finding in a list of the screen.
#pragma once

#include "ui/lists/list_place.h"

namespace hivequarry {

struct SelectChoice;

// Looks on a worker for the place's last text, from the focused row on; what is found is selected.
void FindInRows(ListPlace& place, bool down);
// Selects all rows that hold a text, found by a worker.
void SelectRowsWith(ListPlace& place, const SelectChoice& choice);

// Commands of a list; called when guard and needs allow it.
//
// From the row in focus on; the dialog first, then what was looked for last.
void OnFindInList(ListPlace& place);
void OnFindNext(ListPlace& place);
void OnFindPrevious(ListPlace& place);

// Selects every row with a text that the user is asked for.
void OnSelectWith(ListPlace& place);

}  // namespace hivequarry

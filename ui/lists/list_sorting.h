// Putting a list of the screen in order.
#pragma once

#include "lists/list_order.h"
#include "ui/lists/list_place.h"

namespace hivequarry {

// The key that ends a sort, where the program has the user's attention; tests press it here.
struct EscapeKey {
  bool (*is_down)() = nullptr;
};
// Looked at by the worker that sorts, every now and then.
EscapeKey& TheEscapeKey();

// A click on a column's header: sorts by it, the other way round when the list was sorted by it
// last. With `add` rows that the columns of the order do not tell apart are sorted by it, or it is
// turned where it is one of these.
void OnHeaderClick(ListPlace& place, int column, bool add);
// Sorts on a worker, by the first key foremost; false while one is at work.
bool SortList(ListPlace& place, std::vector<SortRequest> keys);
// What a filled list is put in order by: its first column.
SortRequest FirstColumnRequest(const OutputList& list);
// Puts a list that was just filled in order, if the settings want that.
void SortNewList(ListPlace& place);

// Commands of a list; called when guard and needs allow it.
//
// By the rows' icons, by the length of the texts in the column sorted last, by how deep the rows'
// keys are.
void OnSortByType(ListPlace& place);
void OnSortByLength(ListPlace& place);
void OnSortByLevel(ListPlace& place);

}  // namespace hivequarry

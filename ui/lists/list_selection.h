// Which rows of a list are selected and in focus. "Shown" is a place in the order shown.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace hivequarry {

struct ListPlace;

// Rows whose selection is being changed. The control takes them one by one, and may take long for
// very many, so that is done in parts.
struct PendingSelection {
  std::vector<uint32_t> shown;  // by their place in the order shown
  size_t first_on = 0;          // from here on they become selected, before it the opposite
  size_t done = 0;
};

std::vector<uint32_t> SelectedRows(const ListPlace& place);  // model rows in the order shown
// True also while rows are still being selected bit by bit.
bool HasSelection(const ListPlace& place);
// Selects rows by their place in the order shown, ascending; with `add` beside what is selected.
// Very many are selected bit by bit while the window goes on.
void SelectShown(ListPlace& place, std::vector<uint32_t> shown, bool add);
bool IsSelecting(const ListPlace& place);
void EndSelecting(ListPlace& place);
// Selects one row, gives it the focus and scrolls to it.
void FocusRow(ListPlace& place, uint32_t shown, bool add);
void SelectAllRows(ListPlace& place);
void InvertSelection(ListPlace& place);
// The row in focus, else the first selected one, as a place in the order shown; -1 for none.
int FocusedRow(const ListPlace& place);
// Gives the list the focus of the keyboard, and its first row where none has it.
void EnterRows(ListPlace& place);

}  // namespace hivequarry

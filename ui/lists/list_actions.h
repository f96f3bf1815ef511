// Commands of a list that act on its rows and its window; called when guard and needs allow it.
#pragma once

namespace hivequarry {

struct ListPlace;

// Commands of a list; called when guard and needs allow it.
void OnClearList(ListPlace& place);
// Of all rows; of very many bit by bit.
void OnSelectAllRows(ListPlace& place);
void OnInvertRows(ListPlace& place);
// To what titles and texts need.
void OnResizeListColumns(ListPlace& place);
// Asks what runs to stop, and ends a selection under way.
void OnStopListWork(ListPlace& place);

// Of a list window alone.
void OnCloseList(ListPlace& place);
// To what the row in focus speaks of, in the main window's tree; the bytes where the tree has no
// such item.
void OnGoToTree(ListPlace& place);
// Cuts the file that the list was made of into its pieces, in a folder that the user chooses.
void OnSplitFile(ListPlace& place);
// Another copy of the program opens the hive of the root cell in focus, or the range with it.
void OnOpenValidRoot(ListPlace& place);
void OnOpenKey(ListPlace& place);

}  // namespace hivequarry

// Lists as tables for other programs: CSV, JSON Lines, HTML, tabbed text.
#pragma once

namespace hivequarry {

struct ListPlace;

// Commands of a list; called when guard and needs allow it.
//
// They ask for a file and its form, and write the rows shown, or those selected, on a worker. What
// HTML has above its table is in a file beside the others, which have no place for it.
void OnSaveListAs(ListPlace& place);
void OnSaveSelectedAs(ListPlace& place);
// The selected rows with the columns' titles, to the clipboard: tabbed text.
void OnCopyTable(ListPlace& place);

}  // namespace hivequarry

// What the commands of a list do. They are called when guard and needs allow it.
#pragma once

#include "ui/lists/list_place.h"

namespace hivequarry {

// list_saving.cpp
// They ask for a file and write the whole list, or the rows selected, on a worker.
void OnSaveListText(ListPlace& place);
void OnSaveSelected(ListPlace& place);
void OnSaveReport(ListPlace& place);
void OnSaveSelectedReport(ListPlace& place);
void OnLoadReport(ListPlace& place);
// To the clipboard: rows, or their first cells, a line each.
void OnCopyList(ListPlace& place);
void OnCopySelected(ListPlace& place);
void OnCopyFirstColumn(ListPlace& place);
// A text file in the folder for temporary files, opened in the system's editor.
void OnListNotepad(ListPlace& place);

// list_printing.cpp
// They ask for a printer and print on a worker.
void OnPrintList(ListPlace& place);
void OnPrintSelected(ListPlace& place);

// list_finding.cpp
// From the row in focus on; the dialog first, then what was looked for last.
void OnFindInList(ListPlace& place);
void OnFindNext(ListPlace& place);
void OnFindPrevious(ListPlace& place);
// Selects every row with a text that the user is asked for.
void OnSelectWith(ListPlace& place);

// list_sorting.cpp
// By the rows' icons, by the length of the texts in the column sorted last, by how deep the rows'
// keys are.
void OnSortByType(ListPlace& place);
void OnSortByLength(ListPlace& place);
void OnSortByLevel(ListPlace& place);

// list_actions.cpp
void OnClearList(ListPlace& place);
void OnSelectAllRows(ListPlace& place);
void OnInvertRows(ListPlace& place);
void OnResizeListColumns(ListPlace& place);
void OnStopListWork(ListPlace& place);
// Of a list window alone.
void OnCloseList(ListPlace& place);
void OnGoToTree(ListPlace& place);
void OnSplitFile(ListPlace& place);
void OnOpenValidRoot(ListPlace& place);
void OnOpenKey(ListPlace& place);

}  // namespace hivequarry

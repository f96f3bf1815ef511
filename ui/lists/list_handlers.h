// What the commands of a list do. They are called when guard and needs allow it.
#pragma once

#include "ui/lists/list_place.h"

namespace hivequarry {

// list_saving.cpp
void OnSaveListText(ListPlace& place);
void OnSaveSelected(ListPlace& place);
void OnSaveReport(ListPlace& place);
void OnSaveSelectedReport(ListPlace& place);
void OnLoadReport(ListPlace& place);
void OnCopyList(ListPlace& place);
void OnCopySelected(ListPlace& place);
void OnCopyFirstColumn(ListPlace& place);
void OnListNotepad(ListPlace& place);

// list_printing.cpp
void OnPrintList(ListPlace& place);
void OnPrintSelected(ListPlace& place);

// list_finding.cpp
void OnFindInList(ListPlace& place);
void OnFindNext(ListPlace& place);
void OnFindPrevious(ListPlace& place);
void OnSelectWith(ListPlace& place);

// list_sorting.cpp
void OnSortByType(ListPlace& place);
void OnSortByLength(ListPlace& place);
void OnSortByLevel(ListPlace& place);

// list_actions.cpp
void OnClearList(ListPlace& place);
void OnSelectAllRows(ListPlace& place);
void OnInvertRows(ListPlace& place);
void OnResizeListColumns(ListPlace& place);
void OnStopListWork(ListPlace& place);
void OnCloseList(ListPlace& place);
void OnGoToTree(ListPlace& place);
void OnSplitFile(ListPlace& place);
void OnOpenValidRoot(ListPlace& place);
void OnOpenKey(ListPlace& place);

}  // namespace hivequarry

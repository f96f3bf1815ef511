#include "ui/lists/list_command_handlers.h"

#include <algorithm>
#include <iterator>

#include "ui/commands/bookmark_file.h"
#include "ui/commands/export_commands.h"
#include "ui/commands/log_commands.h"
#include "ui/commands/report_commands.h"
#include "ui/lists/activity_pane.h"
#include "ui/lists/column_choice.h"
#include "ui/lists/list_actions.h"
#include "ui/lists/list_filtering.h"
#include "ui/lists/list_finding.h"
#include "ui/lists/list_printing.h"
#include "ui/lists/list_reports.h"
#include "ui/lists/list_saving.h"
#include "ui/lists/list_sorting.h"
#include "ui/lists/list_tables.h"
#include "ui/lists/raw_view.h"
#include "ui/lists/value_window.h"
#include "ui/live/compare_commands.h"
#include "ui/live/regedit_commands.h"
#include "ui/security/security_commands.h"
#include "view/list_command_table.h"

namespace hivequarry {
namespace {

struct ListRoute {
  CommandNumber number;
  ListHandler handler;
};
constexpr ListRoute kRoutes[] = {
    {kCommandFollowRecord, OnFollowRecord},
    {kCommandPreviousRecord, OnPreviousRecord},
    {kCommandGoToTree, OnGoToTree},
    {kCommandRowsValue, OnRowsValue},
    {kCommandBookmarkRow, OnBookmarkRow},
    {kCommandListRawRecord, OnListRawRecord},
    {kCommandShowAsOf, OnShowAsOf},
    {kCommandListRegedit, OnListRegedit},
    {kCommandOpenValidRoot, OnOpenValidRoot},
    {kCommandOpenKey, OnOpenKey},
    {kCommandSplitFile, OnSplitFile},
    {kCommandKeysOfRecord, OnKeysOfRowsRecord},
    {kCommandKeysOfOwner, OnKeysOfRowsOwner},
    {kCommandKeysOfAce, OnKeysOfRowsAce},
    {kCommandRecordProperties, OnRowsSecurityRecord},
    {kCommandCopyClassId, OnCopyClassId},
    {kCommandListExport, OnListExport},
    {kCommandOnlyMissing, OnOnlyMissing},
    {kCommandOnlyDifferent, OnOnlyDifferent},
    {kCommandSaveListText, OnSaveListText},
    {kCommandSaveReport, OnSaveReport},
    {kCommandLoadReport, OnLoadReport},
    {kCommandClearList, OnClearList},
    {kCommandCopyList, OnCopyList},
    {kCommandPrintList, OnPrintList},
    {kCommandListNotepad, OnListNotepad},
    {kCommandFindInList, OnFindInList},
    {kCommandFindNext, OnFindNext},
    {kCommandFindPrevious, OnFindPrevious},
    {kCommandListSelectAll, OnSelectAllRows},
    {kCommandListInvert, OnInvertRows},
    {kCommandListSelectWith, OnSelectWith},
    {kCommandCopySelected, OnCopySelected},
    {kCommandCopyFirstColumn, OnCopyFirstColumn},
    {kCommandSaveSelected, OnSaveSelected},
    {kCommandSaveSelectedReport, OnSaveSelectedReport},
    {kCommandPrintSelected, OnPrintSelected},
    {kCommandSaveListAs, OnSaveListAs},
    {kCommandSaveSelectedAs, OnSaveSelectedAs},
    {kCommandCopyTable, OnCopyTable},
    {kCommandSortByType, OnSortByType},
    {kCommandSortByLength, OnSortByLength},
    {kCommandSortByLevel, OnSortByLevel},
    {kCommandActivity, OnActivity},
    {kCommandSavePicture, OnSavePicture},
    {kCommandFilterRows, OnFilterRows},
    {kCommandShowAllRows, OnShowAllRows},
    {kCommandResizeColumns, OnResizeListColumns},
    {kCommandListColumns, OnColumns},
    {kCommandStop, OnStopListWork},
    {kCommandExit, OnCloseList},
};

constexpr ListHandler Find(CommandNumber number) {
  for (const ListRoute& route : kRoutes) {
    if (route.number == number) return route.handler;
  }
  return nullptr;
}

consteval bool EveryCommandHasAHandler() {
  return std::ranges::all_of(kListCommandTable, [](const ListCommand& command) {
    return Find(command.number) != nullptr;
  });
}
static_assert(EveryCommandHasAHandler());
static_assert(std::size(kRoutes) == std::size(kListCommandTable), "a handler without a command");

}  // namespace

ListHandler ListHandlerOf(CommandNumber number) { return Find(number); }

}  // namespace hivequarry

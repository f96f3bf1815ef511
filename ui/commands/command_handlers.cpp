#include "ui/commands/command_handlers.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>

#include "ui/commands/bookmark_file.h"
#include "ui/commands/bookmark_pane.h"
#include "ui/commands/bookmarks_dialog.h"
#include "ui/commands/case_commands.h"
#include "ui/commands/edit_commands.h"
#include "ui/commands/export_commands.h"
#include "ui/commands/handlers.h"
#include "ui/commands/hive_list_commands.h"
#include "ui/commands/log_commands.h"
#include "ui/commands/misc_commands.h"
#include "ui/commands/recent_keys_dialog.h"
#include "ui/commands/report_commands.h"
#include "ui/commands/root_dialog.h"
#include "ui/commands/search_commands.h"
#include "ui/commands/tree_commands.h"
#include "ui/commands/value_commands.h"
#include "ui/compare/compare_window.h"
#include "ui/lists/raw_view.h"
#include "ui/live/backup_dialog.h"
#include "ui/live/compare_commands.h"
#include "ui/live/merge_commands.h"
#include "ui/live/mount_dialogs.h"
#include "ui/live/regedit_commands.h"
#include "ui/live/snapshot_commands.h"
#include "ui/main/address_bar.h"
#include "ui/security/security_commands.h"
#include "view/command_table.h"
#include "view/list_commands.h"

namespace hivequarry {
namespace {

// Handlers are called on the interface thread, for commands whose guard has let them pass.
struct CommandRoute {
  CommandNumber number;
  CommandHandler handler;
};
constexpr CommandRoute kRoutes[] = {
    {kCommandOpen, OnOpenFile},
    {kCommandOpenInWindow, OnOpenInWindow},
    {kCommandCloseHive, OnCloseHive},
    {kCommandRecreateHive, OnNothing},
    {kCommandExportHive, OnExportHive},
    {kCommandHiveRoot, OnHiveRoot},
    {kCommandHiveState, OnHiveState},
    {kCommandCheckStructure, OnCheckStructure},
    {kCommandSaveRepaired, OnSaveRepaired},
    {kCommandCarve, OnCarve},
    {kCommandOpenMachine, OnOpenMachine},
    {kCommandLogsNone, OnLogsNone},
    {kCommandLogsAuto, OnLogsAuto},
    {kCommandLogsChosen, OnLogsChosen},
    {kCommandLogsUntil, OnLogsUntil},
    {kCommandListLogs, OnListLogs},
    {kCommandListLogChanges, OnListLogChanges},
    {kCommandListSecurity, OnListSecurityRecords},
    {kCommandListAces, OnListAces},
    {kCommandUsedRecords, OnListUsedRecords},
    {kCommandKeyOwners, OnListKeyOwners},
    {kCommandRecordsOfKeys, OnListRecordKeys},
    {kCommandPermissions, OnFindKeysWithPermissions},
    {kCommandWhoMayWrite, OnWhoMayWrite},
    {kCommandReplaceSid, OnReplaceSid},
    {kCommandLocalGroups, OnListLocalGroups},
    {kCommandLoadHive, OnLoadHive},
    {kCommandUnloadHive, OnUnloadHive},
    {kCommandRecentHive, OnRecentHive<0>},
    {NumberInRange(kCommandRecentHive, 1), OnRecentHive<1>},
    {NumberInRange(kCommandRecentHive, 2), OnRecentHive<2>},
    {NumberInRange(kCommandRecentHive, 3), OnRecentHive<3>},
    {NumberInRange(kCommandRecentHive, 4), OnRecentHive<4>},
    {NumberInRange(kCommandRecentHive, 5), OnRecentHive<5>},
    {NumberInRange(kCommandRecentHive, 6), OnRecentHive<6>},
    {kCommandExit, OnExit},
    {kCommandCompareFolder, OnCompareFolder},
    {kCommandCompareDisplayed, OnCompareDisplayed},
    {kCommandCompareHive, OnCompareHive},
    {kCommandSearchRegistry, OnSearchRegistry},
    {kCommandBackupRegistry, OnBackupRegistry},
    {kCommandReplaceHives, OnReplaceHives},
    {LiveReportNumber(Report::kUninstall), OnLiveReport<Report::kUninstall>},
    {LiveReportNumber(Report::kCountKeys), OnLiveReport<Report::kCountKeys>},
    {LiveReportNumber(Report::kKeyFiles), OnLiveReport<Report::kKeyFiles>},
    {LiveReportNumber(Report::kFiles), OnLiveReport<Report::kFiles>},
    {kCommandSearchBranch, OnSearchBranch},
    {kCommandSearchWorkspace, OnSearchWorkspace},
    {kCommandKeyDates, OnKeyDates},
    {kCommandTimeline, OnTimeline},
    {ReportNumber(Report::kServices), OnReport<Report::kServices>},
    {ReportNumber(Report::kUninstall), OnReport<Report::kUninstall>},
    {ReportNumber(Report::kClasses), OnReport<Report::kClasses>},
    {ReportNumber(Report::kProgIds), OnReport<Report::kProgIds>},
    {ReportNumber(Report::kOpenWith), OnReport<Report::kOpenWith>},
    {ReportNumber(Report::kKeyFiles), OnReport<Report::kKeyFiles>},
    {ReportNumber(Report::kFiles), OnReport<Report::kFiles>},
    {ReportNumber(Report::kCountKeys), OnReport<Report::kCountKeys>},
    {ReportNumber(Report::kOpenSaveMru), OnReport<Report::kOpenSaveMru>},
    {ReportNumber(Report::kStreamMru), OnReport<Report::kStreamMru>},
    {kCommandToggleView, OnToggleView},
    {kCommandResizeColumns, OnResizeColumns},
    {kCommandTechnicalView, OnTechnicalView},
    {kCommandCellDetails, OnCellDetails},
    {kCommandDetailPane, OnDetailPane},
    {kCommandFreedInTree, OnFreedInTree},
    {kCommandToolbar, OnToolbar},
    {kCommandColoursSystem, OnColours<ColourChoice::kSystem>},
    {kCommandColoursLight, OnColours<ColourChoice::kLight>},
    {kCommandColoursDark, OnColours<ColourChoice::kDark>},
    {kCommandBlockList, OnBlockList},
    {kCommandListBlockRuns, OnListBlockRuns},
    {kCommandListRoots, OnListRoots},
    {kCommandMachine, OnMachine},
    {kCommandListKeys, OnListKeys},
    {kCommandListValues, OnListValues},
    {kCommandListLostValues, OnListLostValues},
    {kCommandListFreedKeys, OnListFreedKeys},
    {kCommandListFreedValues, OnListFreedValues},
    {kCommandListEdits, OnListEdits},
    {kCommandTakeBackAll, OnTakeBackAllEdits},
    {kCommandRawPosition, OnRawPosition},
    {kCommandHelp, OnHelp},
    {kCommandOptions, OnOptions},
    {kCommandBookmarks, OnBookmarks},
    {kCommandAbout, OnAbout},
    {kCommandOpenSnapshot, OnOpenSnapshot},
    {kCommandRecentKeys, OnRecentKeys},
    {kCommandRootSnapshots, OnRootSnapshots},
    {kCommandKeySnapshot, OnKeySnapshot},
    {kCommandOutputList, OnOutputListButton},
    {kCommandLastPane, OnLastPane},
    {kCommandStop, OnStop},
    {kCommandSaveListText, OnListCommand<kCommandSaveListText>},
    {kCommandSaveReport, OnListCommand<kCommandSaveReport>},
    {kCommandLoadReport, OnListCommand<kCommandLoadReport>},
    {kCommandCopyList, OnListCommand<kCommandCopyList>},
    {kCommandPrintList, OnListCommand<kCommandPrintList>},
    {kCommandListNotepad, OnListCommand<kCommandListNotepad>},
    {kCommandCopyFirstColumn, OnListCommand<kCommandCopyFirstColumn>},
    {kCommandFindNext, OnListCommand<kCommandFindNext>},
    {kCommandFindPrevious, OnListCommand<kCommandFindPrevious>},
    {kCommandClearList, OnListCommand<kCommandClearList>},
    {kCommandFindInList, OnFind},
    {kCommandTreeFindNext, OnFindNext},
    {kCommandTreeFindPrevious, OnFindPrevious},
    {kCommandEvidenceMode, OnEvidenceMode},
    {kCommandLegend, OnLegend},
    {kCommandTimeZone, OnTimeZone},
    {kCommandNextRecovered, [](MainWindow& window) { OnRecovered(window, true); }},
    {kCommandPreviousRecovered, [](MainWindow& window) { OnRecovered(window, false); }},
    {kCommandCurrentBranch, OnCurrentBranch},
    {kCommandExpand, OnExpandSubfolders},
    {kCommandCollapse, OnCollapseSubfolders},
    {kCommandCopyKeyName, OnCopyKeyName},
    {kCommandOpenValidRoot, OnOpenValidRoot},
    {kCommandOpenKey, OnOpenKey},
    {kCommandDeleteKeys, OnDeleteKeys},
    {kCommandShowAllKeys, OnShowAllKeys},
    {kCommandCompareWorkspace, OnCompareWorkspace},
    {kCommandGoToRegedit, OnGoToRegedit},
    {kCommandExportFolder, OnExportFolder},
    {kCommandMergeFolder, OnMergeFolder},
    {kCommandSecurityRecord, OnSecurityRecord},
    {kCommandKeysOfRecord, OnKeysOfKeysRecord},
    {kCommandKeysOfOwner, OnKeysOfKeysOwner},
    {kCommandAddToBookmarks, OnAddToBookmarks},
    {kCommandBookmarkValue, OnBookmarkValue},
    {kCommandBookmarkHere, OnBookmarkHere},
    {kCommandBookmarkPane, OnBookmarkPane},
    {kCommandBookmarksBelow, OnBookmarksBelow},
    {kCommandRawKey, OnRawKey},
    {kCommandValueDetails, OnValueDetails},
    {kCommandEditValue, OnEditValue},
    {kCommandTakeBackEdit, OnTakeBackEdit},
    {kCommandRawValue, OnRawValue},
    {kCommandSelectAllValues, OnSelectAllValues},
    {kCommandInvertValues, OnInvertValues},
    {kCommandCopyValues, OnCopyValues},
    {kCommandSaveValue, OnSaveValue},
    {kCommandAddressBar, OnAddressBar},
    {kCommandNextPane, OnNextPane},
    {kCommandPreviousPane, OnPreviousPane},
};

template <size_t... kDecoder>
constexpr auto DecoderHandlers(std::index_sequence<kDecoder...>) {
  return std::array<CommandHandler, sizeof...(kDecoder)>{OnDecoder<kDecoder>...};
}
constexpr auto kDecoderHandlers = DecoderHandlers(std::make_index_sequence<std::size(kDecoders)>());

constexpr CommandHandler Find(CommandNumber number) {
  const auto decoder = static_cast<size_t>(number - kCommandDecoder);
  if (number >= kCommandDecoder && decoder < kDecoderHandlers.size()) {
    return kDecoderHandlers[decoder];
  }
  for (const CommandRoute& route : kRoutes) {
    if (route.number == number) return route.handler;
  }
  return nullptr;
}

consteval bool EveryCommandHasAHandler() {
  return std::ranges::all_of(
      kCommandTable, [](const Command& command) { return Find(command.number) != nullptr; });
}
static_assert(EveryCommandHasAHandler());
static_assert(std::size(kRoutes) == std::size(kFixedCommands), "a handler without a command");

}  // namespace

CommandHandler HandlerOf(CommandNumber number) { return Find(number); }

}  // namespace hivequarry

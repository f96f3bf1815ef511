// The numbers of all commands, those of the main window and those of lists. A number that is used
// twice does not compile.
#pragma once

#include <cstdint>

namespace hivequarry {

// One(name, number), or Range(name, first number, how many). Numbers from 9000 on are free to be
// chosen: 9000 for the main window, 9200 for lists, 9300 for both.
// Expanded twice: into the enumeration, and into ranges that are held against each other. A range
// has a name for its first number alone.
// clang-format off
#define HIVEQUARRY_COMMAND_NUMBERS(One, Range) \
  One(kCommandOpen, 1400)               \
  One(kCommandOpenSnapshot, 1405)       \
  One(kCommandSearchWorkspace, 1415)    \
  One(kCommandSaveListText, 1416)       \
  One(kCommandSaveReport, 1417)         \
  One(kCommandLoadReport, 1418)         \
  One(kCommandExportHive, 1419)         \
  One(kCommandKeyDates, 1421)           \
  One(kCommandSearchRegistry, 1422)     \
  One(kCommandCopyList, 1425)           \
  One(kCommandPrintList, 1430)          \
  One(kCommandLoadHive, 1435)           \
  One(kCommandUnloadHive, 1436)         \
  One(kCommandFindInList, 1440)         \
  One(kCommandResizeColumns, 1445)      \
  One(kCommandRecentKeys, 1450)         \
  One(kCommandOptions, 1455)            \
  One(kCommandStop, 1460)               \
  One(kCommandExit, 1470)               \
  One(kCommandListNotepad, 1490)        \
  One(kCommandCopyFirstColumn, 1491)    \
  One(kCommandBackupRegistry, 1494)     \
  One(kCommandReplaceHives, 1496)       \
  One(kCommandRootSnapshots, 1498)      \
  One(kCommandKeySnapshot, 1499)        \
  One(kCommandOutputList, 1502)         \
  One(kCommandLastPane, 1503)           \
  One(kCommandFindNext, 1505)           \
  One(kCommandFindPrevious, 1506)       \
  One(kCommandTreeFindNext, 1507)       \
  One(kCommandTreeFindPrevious, 1508)   \
  One(kCommandNextRecovered, 1509)      \
  One(kCommandPreviousRecovered, 1510)  \
  One(kCommandLegend, 1511)             \
  One(kCommandEvidenceMode, 1512)       \
  One(kCommandHelp, 1540)               \
  One(kCommandAbout, 1542)              \
  One(kCommandToggleView, 1544)         \
  One(kCommandCompareDisplayed, 4141)   \
  One(kCommandCompareFolder, 4143)      \
  One(kCommandClearList, 4148)          \
  One(kCommandRecreateHive, 5104)       \
  One(kCommandBookmarks, 6410)          \
  One(kCommandOpenValidRoot, 6600)      \
  One(kCommandOpenKey, 6602)            \
  One(kCommandListSecurity, 7043)       \
  One(kCommandListAces, 7045)           \
  One(kCommandTechnicalView, 9001)      \
  One(kCommandCellDetails, 9002)        \
  One(kCommandDetailPane, 9003)         \
  One(kCommandBlockList, 9004)          \
  One(kCommandListBlockRuns, 9005)      \
  One(kCommandListRoots, 9006)          \
  One(kCommandListKeys, 9007)           \
  One(kCommandListValues, 9008)         \
  One(kCommandListLostValues, 9009)     \
  One(kCommandCopyKeyName, 9010)        \
  One(kCommandExpand, 9011)             \
  One(kCommandCollapse, 9012)           \
  One(kCommandValueDetails, 9013)       \
  One(kCommandCurrentBranch, 9014)      \
  One(kCommandDeleteKeys, 9015)         \
  One(kCommandShowAllKeys, 9016)        \
  One(kCommandSelectAllValues, 9017)    \
  One(kCommandInvertValues, 9018)       \
  One(kCommandCopyValues, 9019)         \
  One(kCommandNextPane, 9020)           \
  One(kCommandPreviousPane, 9021)       \
  One(kCommandSaveValue, 9022)          \
  One(kCommandListEdits, 9023)          \
  One(kCommandTakeBackAll, 9024)        \
  One(kCommandRawPosition, 9025)        \
  One(kCommandRawKey, 9026)             \
  One(kCommandRawValue, 9027)           \
  One(kCommandTakeBackEdit, 9028)       \
  One(kCommandAddressBar, 9029)         \
  One(kCommandSearchBranch, 9030)       \
  One(kCommandUsedRecords, 9031)        \
  One(kCommandPermissions, 9032)        \
  One(kCommandKeyOwners, 9033)          \
  One(kCommandRecordsOfKeys, 9034)      \
  One(kCommandLocalGroups, 9035)        \
  One(kCommandReplaceSid, 9036)         \
  One(kCommandListFreedKeys, 9037)      \
  One(kCommandListFreedValues, 9038)    \
  One(kCommandHiveRoot, 9039)           \
  Range(kCommandReport, 9040, 20)       \
  Range(kCommandLiveReport, 9060, 20)   \
  One(kCommandHiveState, 9080)          \
  One(kCommandLogsNone, 9081)           \
  One(kCommandLogsAuto, 9082)           \
  One(kCommandLogsChosen, 9083)         \
  One(kCommandLogsUntil, 9084)          \
  One(kCommandListLogs, 9085)           \
  One(kCommandListLogChanges, 9086)     \
  One(kCommandCheckStructure, 9087)     \
  One(kCommandTimeline, 9088)           \
  One(kCommandFreedInTree, 9089)        \
  One(kCommandMachine, 9090)            \
  One(kCommandCompareHive, 9091)        \
  One(kCommandSaveRepaired, 9092)       \
  One(kCommandCarve, 9093)              \
  One(kCommandOpenMachine, 9094)        \
  One(kCommandWhoMayWrite, 9095)        \
  One(kCommandTimeZone, 9096)           \
  One(kCommandOpenInWindow, 9097)       \
  One(kCommandCloseHive, 9098)          \
  One(kCommandToolbar, 9120)            \
  One(kCommandColoursSystem, 9121)      \
  One(kCommandColoursLight, 9122)       \
  One(kCommandColoursDark, 9123)        \
  Range(kCommandRecentHive, 9101, 7)    \
  One(kCommandBookmarkPane, 9124)       \
  One(kCommandBookmarksBelow, 9125)     \
  One(kCommandBookmarkValue, 9126)      \
  One(kCommandBookmarkHere, 9127)       \
  Range(kCommandDecoder, 9130, 60)      \
  One(kCommandListSelectAll, 9201)      \
  One(kCommandListInvert, 9202)         \
  One(kCommandListSelectWith, 9203)     \
  One(kCommandCopySelected, 9204)       \
  One(kCommandSaveSelected, 9205)       \
  One(kCommandPrintSelected, 9206)      \
  One(kCommandSaveSelectedReport, 9207) \
  One(kCommandSortByType, 9208)         \
  One(kCommandGoToTree, 9209)           \
  One(kCommandSplitFile, 9210)          \
  One(kCommandSortByLength, 9211)       \
  One(kCommandSortByLevel, 9212)        \
  One(kCommandListRegedit, 9213)        \
  One(kCommandKeysOfRecord, 9214)       \
  One(kCommandKeysOfOwner, 9215)        \
  One(kCommandKeysOfAce, 9216)          \
  One(kCommandRecordProperties, 9217)   \
  One(kCommandCopyClassId, 9218)        \
  One(kCommandListExport, 9219)         \
  One(kCommandRowsValue, 9260)          \
  One(kCommandFollowRecord, 9220)       \
  One(kCommandPreviousRecord, 9221)     \
  One(kCommandOnlyMissing, 9222)        \
  One(kCommandOnlyDifferent, 9223)      \
  One(kCommandListRawRecord, 9224)      \
  One(kCommandShowAllRows, 9225)        \
  One(kCommandActivity, 9226)           \
  One(kCommandSavePicture, 9227)        \
  One(kCommandFilterRows, 9228)         \
  One(kCommandSaveListAs, 9229)         \
  One(kCommandSaveSelectedAs, 9230)     \
  One(kCommandCopyTable, 9231)          \
  One(kCommandListColumns, 9232)        \
  One(kCommandShowAsOf, 9240)           \
  One(kCommandBookmarkRow, 9250)        \
  One(kCommandCompareWorkspace, 9301)   \
  One(kCommandGoToRegedit, 9302)        \
  One(kCommandExportFolder, 9303)       \
  One(kCommandMergeFolder, 9304)        \
  One(kCommandSecurityRecord, 9305)     \
  One(kCommandAddToBookmarks, 9306)     \
  One(kCommandEditValue, 9307)
// clang-format on

inline constexpr uint16_t kRecentHives = 7;

// WM_COMMAND carries them in 16 bits. The enumeration converts to a number by itself, a number does
// not become a command.
enum CommandNumber : uint16_t {
  kGroupGap = 0,  // is between two groups of commands
#define HIVEQUARRY_NUMBER(name, number, ...) name = number,
  HIVEQUARRY_COMMAND_NUMBERS(HIVEQUARRY_NUMBER, HIVEQUARRY_NUMBER)
#undef HIVEQUARRY_NUMBER
};

// A command of a range.
constexpr CommandNumber NumberInRange(CommandNumber first, int index) {
  return static_cast<CommandNumber>(first + index);
}

struct NumberRange {
  uint16_t first;  // the numbers from here on
  uint16_t count;
};
inline constexpr NumberRange kCommandRanges[] = {
#define HIVEQUARRY_ONE(name, number) {number, 1},
#define HIVEQUARRY_RANGE(name, number, count) {number, count},
    HIVEQUARRY_COMMAND_NUMBERS(HIVEQUARRY_ONE, HIVEQUARRY_RANGE)
#undef HIVEQUARRY_ONE
#undef HIVEQUARRY_RANGE
};

consteval bool NumbersAreUsedOnce() {
  for (const NumberRange& range : kCommandRanges) {
    for (const NumberRange& other : kCommandRanges) {
      const bool apart =
          range.first + range.count <= other.first || other.first + other.count <= range.first;
      if (&range != &other && !apart) return false;
    }
  }
  return true;
}
static_assert(NumbersAreUsedOnce(), "two commands share a number");

}  // namespace hivequarry

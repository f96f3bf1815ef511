// The commands of an Output List, one row each: from them its toolbar, context menu, keys and
// guards are made. The main window carries them out for its own pane.
#pragma once

#include <cstdint>
#include <span>

#include "ui/commands/commands.h"

namespace hivequarry {

struct ListPlace;
using ListHandler = void (*)(ListPlace& place);

inline constexpr uint16_t kCommandSaveListText = 1416;
inline constexpr uint16_t kCommandSaveReport = 1417;
inline constexpr uint16_t kCommandLoadReport = 1418;
inline constexpr uint16_t kCommandCopyList = 1425;
inline constexpr uint16_t kCommandPrintList = 1430;
inline constexpr uint16_t kCommandFindInList = 1440;
inline constexpr uint16_t kCommandListNotepad = 1490;
inline constexpr uint16_t kCommandCopyFirstColumn = 1491;
inline constexpr uint16_t kCommandFindNext = 1505;      // in the list
inline constexpr uint16_t kCommandFindPrevious = 1506;  // in the list
inline constexpr uint16_t kCommandClearList = 4148;
inline constexpr uint16_t kCommandOpenValidRoot = 6600;
inline constexpr uint16_t kCommandOpenKey = 6602;
// Numbers of the list's own.
inline constexpr uint16_t kCommandListSelectAll = 9201;
inline constexpr uint16_t kCommandListInvert = 9202;
inline constexpr uint16_t kCommandListSelectWith = 9203;
inline constexpr uint16_t kCommandCopySelected = 9204;
inline constexpr uint16_t kCommandSaveSelected = 9205;
inline constexpr uint16_t kCommandPrintSelected = 9206;
inline constexpr uint16_t kCommandSaveSelectedReport = 9207;
inline constexpr uint16_t kCommandSortByType = 9208;
inline constexpr uint16_t kCommandGoToTree = 9209;
inline constexpr uint16_t kCommandSplitFile = 9210;
inline constexpr uint16_t kCommandSortByLength = 9211;
inline constexpr uint16_t kCommandSortByLevel = 9212;
inline constexpr uint16_t kCommandListRegedit = 9213;
inline constexpr uint16_t kCommandKeysOfRecord = 9214;
inline constexpr uint16_t kCommandKeysOfOwner = 9215;
inline constexpr uint16_t kCommandKeysOfAce = 9216;
inline constexpr uint16_t kCommandRecordProperties = 9217;
inline constexpr uint16_t kCommandCopyClassId = 9218;
inline constexpr uint16_t kCommandListExport = 9219;
inline constexpr uint16_t kCommandFollowRecord = 9220;
inline constexpr uint16_t kCommandPreviousRecord = 9221;
inline constexpr uint16_t kCommandOnlyMissing = 9222;
inline constexpr uint16_t kCommandOnlyDifferent = 9223;

// What a list command works on.
enum class ListNeeds : uint8_t {
  kNothing,
  kRows,       // at least one row
  kSelection,  // at least one selected row
  kFocus,      // a focused row that speaks of a position
  kPieces,     // a list of block runs with its source file
  kRoots,      // a focused row of a list of root cells
  kRunning,
  kAgain,  // a list whose rows can be made anew
};

// The lists for which a command means something; others don't have it in their menu.
enum class ListAbout : uint8_t {
  kAnything,
  kPieces,    // runs of blocks
  kRoots,     // root cells
  kSecurity,  // security records and the keys that use them
  kClasses,   // class registrations
  kKeys,      // keys found in a hive
  kRecord,    // the fields of a record
  kCompared,  // differences from the registry
};
bool IsListAbout(ListAbout about, int kind);

struct ListCommand {
  uint16_t number = 0;
  const char* text = nullptr;     // context menu; null: not there
  const char* submenu = nullptr;  // title of the sub menu that holds it
  const char* tooltip = nullptr;  // toolbar of a list window; null: not there
  ToolIcon icon = ToolIcon::kNone;
  Accelerator accelerator = {};
  bool group_start = false;
  Guard guard = Guard::kRunning;
  ListNeeds needs = ListNeeds::kNothing;
  ListAbout about = ListAbout::kAnything;
  bool (*checked)() = nullptr;  // null: no check mark
  ListHandler handler = nullptr;
};
// In the order of toolbar and menu.
std::span<const ListCommand> ListCommands();
// The row of a number, null when there is none.
const ListCommand* FindListCommand(uint32_t number);

}  // namespace hivequarry

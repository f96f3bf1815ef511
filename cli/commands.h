// The console program's commands: each fills an Output List, most of them from an opened hive, and
// prints it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "app/log_pairing.h"
#include "cases/repair.h"
#include "cli/console_host.h"
#include "cli/print_list.h"
#include "lists/list_head.h"
#include "replay/replay_plan.h"
#include "reports/check_list.h"
#include "reports/hive_compare.h"
#include "reports/hive_lists.h"
#include "reports/registry_script.h"
#include "reports/search.h"
#include "security/security_lists.h"

namespace hivequarry {

// Exit statuses.
inline constexpr int kExitDone = 0;
inline constexpr int kExitFailed = 1;      // the operation failed or was stopped
inline constexpr int kExitUsage = 2;       // the command line asks for what can't be
inline constexpr int kExitUnreadable = 3;  // the file can't be read
inline constexpr int kExitDirty = 4;       // with "--strict": done, but a dirty hive lacks its logs

// Arguments of the commands about dates and security records; texts as they were typed, read by the
// command that uses them.
struct DatesRequest {
  std::string from;  // empty: no bound
  std::string to;
};
struct SecurityRequest {
  std::string record;  // position of a record
  std::string owner;   // SIDs
  std::string ace;
  std::string permissions;  // words or a number
  std::string sid;          // whose permissions; empty: whoever
  AceKind kind = AceKind::kAllow;
  bool not_inherited = false;
  bool resolve = false;
};

// Of "timeline". What is no option of its own is in the ConsoleRequest: the key, freed records, the
// range of dates.
struct TimelineRequest {
  std::vector<std::string> files;  // "-": names of files, from the standard input
  std::vector<std::string> folders;
  std::string form;  // "bodyfile" and the like; empty: by the format
  // As typed; empty: UTC. Then names that go in place of those that the hives give.
  std::string zone;
  std::string host;
  std::string user;
  bool values = false;
  bool base_block = false;
  bool decoders = false;
  bool logged = false;
};

// Of "compare": its second side.
struct CompareRequest {
  std::string other;
  std::string key;  // empty: that of the first
  LogChoice logs;
  bool logs_given = false;  // else those of the first
  HiveCompareOptions options;
  std::string patch_to_b;  // files of scripts; empty: none
  std::string patch_to_a;
};

// All that a command line asks for. Each command looks at what it knows; what it does not know was
// refused before, by the parser.
struct ConsoleRequest {
  std::string hive;                // file name, UTF-8; for "convert" of a Report List
  std::vector<std::string> hives;  // of "report machine": all of them, the first in `hive` too
  std::string key;                 // key path, or "@OFFSET" (FindPosition); empty for none
  uint32_t start_offset = 0;
  uint32_t end_offset = 0;  // 0: no range
  std::string root_path;
  LogChoice logs;
  bool logs_given = false;  // the user chose them
  PairedLogs paired;        // else: of the hives of folders whose logs their names do not tell
  bool strict = false;
  bool hash = false;                // "info --hash"
  bool structure = false;           // "info --check"
  CheckListOptions check;           // which rows of "check"
  bool holes = false;               // "carve --holes"
  bool changes = false;             // "logs --changes"
  KeyListOptions keys;              // "tree --details", "tree --access"
  bool removed = false;             // "tree --removed", "values --removed"
  Printing printing;                // for "split" its file is a folder
  bool disconnected_values = true;  // look for them
  bool disconnected_only = false;   // "values --disconnected"
  std::vector<std::string> bases;   // hives below it, the nearest first
  bool hidden = false;              // with them: keys and values too that they hide
  bool all_roots = false;           // further hives of the file stay part of this one
  bool raw = false;
  bool code_page = false;  // names and texts as the code page has them
  bool recovered = false;  // "export --recovered", "repair --recovered"
  RepairKind repair = RepairKind::kRebuilt;
  int script_version = 4;  // of an export
  Tombstones tombstones = Tombstones::kComments;
  bool freed = false;               // freed records too; of an export, them alone
  std::string pattern;              // of a search, UTF-8
  std::vector<std::string> fields;  // that it goes through; empty: all
  SearchSettings search;            // with both of them
  bool search_details = false;
  DatesRequest dates;
  TimelineRequest timeline;
  CompareRequest compare;
  SecurityRequest security;
  std::string report;  // which special report
  ConsoleOptions console;
  std::shared_ptr<const ListHead> head = nullptr;  // of lists made of the hive
};

// Runs the command of that name, "security records" where it is one of a group; returns an exit
// status, kExitUsage for an unknown name. What was cut short is said at the end, and makes
// kExitFailed of kExitDone. Within BeginOperation and EndOperation, with the host set.
int RunConsoleCommand(const std::string& name, const ConsoleRequest& request);

}  // namespace hivequarry

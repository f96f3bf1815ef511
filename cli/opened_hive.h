// A hive opened for one command of the console program, and how its arguments name things in it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "app/log_pairing.h"
#include "cli/commands.h"
#include "hive/image.h"
#include "hive/key_tree.h"
#include "recovery/image_tree.h"

namespace hivequarry {

// What a command works on. The hive is a slot of the table of hives and stays until that is
// emptied; null until it was opened. The tree is its own.
struct OpenedHive {
  HiveImage* hive = nullptr;
  KeyTree tree;
  ImageSummary summary;
  bool lacks_logs = false;  // it, or one below it (LacksLogs)
};

// A file to be opened, and how.
struct FileToOpen {
  std::string name;
  LogChoice logs;
  uint32_t start_offset = 0;
  uint32_t end_offset = 0;  // 0: no range
  BuildOptions build;
  bool named = false;  // what is said of the hive begins with its name
};
// As the request has it for its hive, with the logs paired with it, without the values that no key
// names.
FileToOpen FileOf(const ConsoleRequest& request, const std::string& name);
// The logs of folders paired with their hives by content, after a line about each; none where the
// user chose the logs.
PairedLogs PairAndTell(const ConsoleRequest& request, const std::vector<std::string>& hives,
                       const std::vector<std::string>& logs);
// Opens it, and builds its tree; together, and one after the other. kExitDone, or the status of a
// failure; what the user must know of file, logs and moved bytes is said.
int OpenWithTree(const FileToOpen& file, OpenedHive& opened);
int OpenImageOf(const FileToOpen& file, OpenedHive& opened);
int BuildTreeOf(const FileToOpen& file, OpenedHive& opened);

// A shell that redirects output knows nothing of evidence. False where one of the program's streams
// leads into one of these files or its logs, after a message on the stream that does not.
bool LeadsElsewhere(const std::vector<std::string>& inputs);

// False after a message: the request asks for hives below it, and for what no stack of them has.
bool MayStack(const ConsoleRequest& request, std::string_view command);
// Puts the request's further hives below an opened one (hive/layer_stack.h), which is the stack
// then. kExitDone, or the status of a failure, after a message.
int StackBases(const ConsoleRequest& request, const BuildOptions& options, OpenedHive& opened);

// "4660" or "0x1234", after an "@" or without one. False for any other text; `position` is of no
// use then.
bool ParsePosition(std::string_view text, uint32_t& position);
// The image position that "@OFFSET" names, in a stack also "@LAYER:OFFSET": as the file of the
// layer counts, the topmost's without a number. False for any other text. That anything is there is
// not checked.
bool FindPosition(const HiveImage& hive, std::string_view text, uint32_t& position);
// The item of a key named by its path or position: the root for an empty name, kNoItem for none.
uint32_t ItemNamed(const OpenedHive& opened, const std::string& key);
// The item that the request's key names; the root without one. False after a message.
bool FindKey(const ConsoleRequest& request, const OpenedHive& opened, uint32_t& item);
// Prints as the request wants it; an exit status.
int Print(const ConsoleRequest& request, OutputList& list);

// Commands that find something (find_commands.cpp); each returns an exit status.
int SearchCommand(const ConsoleRequest& request, OpenedHive& opened);
int DatesCommand(const ConsoleRequest& request, OpenedHive& opened);
int SecurityRecordsCommand(const ConsoleRequest& request, OpenedHive& opened);
int SecurityAcesCommand(const ConsoleRequest& request, OpenedHive& opened);
int SecurityUsedCommand(const ConsoleRequest& request, OpenedHive& opened);
int SecurityOwnersCommand(const ConsoleRequest& request, OpenedHive& opened);
int SecurityLinksCommand(const ConsoleRequest& request, OpenedHive& opened);
int SecurityKeysCommand(const ConsoleRequest& request, OpenedHive& opened);
int SecurityWritersCommand(const ConsoleRequest& request, OpenedHive& opened);
int SecurityShowCommand(const ConsoleRequest& request, OpenedHive& opened);
int ReportCommand(const ConsoleRequest& request, OpenedHive& opened);
// Of several files (machine_command.cpp), and of a folder (machine_folder.cpp); an exit status.
int MachineCommand(const ConsoleRequest& request);
int MachineFolderCommand(const ConsoleRequest& request);

// The faults of a file's structure (check_command.cpp); an exit status of its own.
int CheckCommand(const ConsoleRequest& request);

// The events of one or several hives (timeline_command.cpp); an exit status.
int TimelineCommand(const ConsoleRequest& request);
// A hive that mounts again (repair_command.cpp); an exit status.
int RepairCommand(const ConsoleRequest& request, OpenedHive& opened);

// Hives anywhere in a large file (carve_command.cpp); an exit status.
int CarveCommand(const ConsoleRequest& request);

// Two hives, or one in two states (compare_command.cpp); an exit status of its own.
int CompareCommand(const ConsoleRequest& request);

// The registry script of a branch (export_command.cpp); an exit status.
int ExportCommand(const ConsoleRequest& request, OpenedHive& opened);

}  // namespace hivequarry

// The table of commands, and what is the same for all of them: opening, evidence, memory, and what
// was cut short. Commands of the tree's own lists are here, others in files of their own.
#include <algorithm>
#include <cstdio>

#include "app/list_words.h"
#include "app/memory.h"
#include "app/opening_words.h"
#include "app/shortfall_words.h"
#include "cli/opened_hive.h"
#include "cli/print_list.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "lists/list_report.h"
#include "recovery/freed_records.h"
#include "reports/freed_lists.h"
#include "reports/hive_lists.h"
#include "reports/hive_state.h"
#include "reports/log_lists.h"
#include "reports/log_records.h"

namespace hivequarry {
namespace {

struct CommandRow {
  const char* name;
  int (*with_hive)(const ConsoleRequest&, OpenedHive&);
  int (*alone)(const ConsoleRequest&) = nullptr;  // instead, for a file that is not opened as one
};

// Finding the values that no key names is a tenth of a load: only for commands that tell of them.
bool NeedsDisconnectedValues(const ConsoleRequest& request, std::string_view command) {
  constexpr std::string_view kTelling[] = {"info", "search", "freed keys", "freed values"};
  // What is at a position may be a freed record, which a disconnected value is not.
  const bool position = command == "detail" && request.key.starts_with('@');
  const bool tells = request.disconnected_only || request.freed || position ||
                     std::ranges::count(kTelling, command) != 0;
  return tells && request.disconnected_values;
}

// A log that was named instead of its hive: its entries, where a list of what the file is was asked
// for. kExitUsage for any other file.
int TellOfLog(const ConsoleRequest& request, std::string_view command) {
  HiveLog log;
  if (request.end_offset > request.start_offset || !IsLogFile(request.hive, log)) return kExitUsage;
  Complain(LogFileWords(log));
  const bool about = command == "logs" || command == "info";
  return about ? Print(request, *ListLogEntries(log)) : kExitFailed;
}

// Without hashes, for which the whole file would be read once more.
std::shared_ptr<const ListHead> HeadOf(const HiveImage& hive) {
  auto head = std::make_shared<ListHead>();
  SetLines(*head, HiveHeadLines(hive, HiveHashes()));
  return head;
}

// Opens the request's hive, lets the command print from it, and says so when it is no hive at all.
// `failed` is the status of a lack of memory, before the hive is open and afterwards.
int WithHive(const ConsoleRequest& request, const CommandRow& command, int& failed) {
  if (const int status = TellOfLog(request, command.name); status != kExitUsage) return status;
  FileToOpen file = FileOf(request, request.hive);
  file.build.disconnected_values = NeedsDisconnectedValues(request, command.name);
  OpenedHive opened;
  if (const int status = OpenImageOf(file, opened); status != kExitDone) return status;
  // The file was read: what lacks memory from here on is the work on it.
  failed = kExitFailed;
  if (const int status = BuildTreeOf(file, opened); status != kExitDone) return status;
  if (request.bases.empty()) {
    const std::string layers = LayersNotice(*opened.hive, opened.tree);
    if (!layers.empty()) Complain(layers + "; --base HIVE shows both as one");
  } else if (const int stacked = StackBases(request, file.build, opened); stacked != kExitDone) {
    return stacked;
  }
  ConsoleRequest about_hive = request;
  about_hive.printing.hive = opened.hive;
  // A list that is kept says what it was made of; one that goes on to another program need not.
  const bool head = !request.printing.file.empty() || !request.console.quiet;
  if (head) about_hive.head = HeadOf(*opened.hive);
  int status = command.with_hive(about_hive, opened);
  if (status == kExitDone && request.strict && opened.lacks_logs) status = kExitDirty;
  // Asked last, so that a list without rows is printed in its form whatever the file is: CSV with
  // its titles.
  const bool invalid =
      status == kExitDone && FoundNothing(opened.summary) && !ValidateAndTell(*opened.hive);
  return invalid ? kExitFailed : status;
}

int Logs(const ConsoleRequest& request, OpenedHive& opened) {
  return Print(request, request.changes ? *ListLogChanges(*opened.hive) : *ListLogs(*opened.hive));
}

// The freed records are searched for, as their counts are in the row.
int Info(const ConsoleRequest& request, OpenedHive& opened) {
  const FreedRecords freed = FindFreedRecords(*opened.hive, opened.tree);
  const LayerCounts layers = CountLayers(*opened.hive, opened.tree);
  return Print(request, *ListImageInfo(*opened.hive, opened.summary, freed, layers,
                                       {request.hash, request.structure}));
}

int PrintMade(const ConsoleRequest& request, const UnmadeList& unmade) {
  SetListHead(*unmade.list, request.head);
  const bool printed = PrintMadeList(*unmade.list, unmade.make, request.printing);
  return printed ? kExitDone : kExitFailed;
}

int Tree(const ConsoleRequest& request, OpenedHive& opened) {
  if (request.removed) return Print(request, *ListRemovedKeys(*opened.hive, opened.tree));
  uint32_t item = 0;
  if (!FindKey(request, opened, item)) return kExitFailed;
  return PrintMade(request, KeyTreeToList(*opened.hive, opened.tree, item, request.keys));
}

int Values(const ConsoleRequest& request, OpenedHive& opened) {
  ValueListOptions options;
  options.raw = request.raw;
  if (request.removed) {
    return Print(request, *ListRemovedValues(*opened.hive, opened.tree, options));
  }
  if (request.disconnected_only) {
    return Print(request, *ListDisconnectedValues(*opened.hive, opened.tree, options));
  }
  // kNoItem: the values of every key.
  uint32_t item = kNoItem;
  if (!request.key.empty() && !FindKey(request, opened, item)) return kExitFailed;
  return PrintMade(request, KeyValuesToList(*opened.hive, opened.tree, item, options));
}

int FreedKeys(const ConsoleRequest& request, OpenedHive& opened) {
  return Print(request, *ListFreedKeys(*opened.hive, opened.tree));
}

int FreedLogs(const ConsoleRequest& request, OpenedHive& opened) {
  return Print(request, *ListLogRecords(*opened.hive, opened.tree));
}

int FreedValues(const ConsoleRequest& request, OpenedHive& opened) {
  ValueListOptions options;
  options.raw = request.raw;
  return Print(request, *ListFreedValues(*opened.hive, opened.tree, options));
}

// By "@OFFSET" whatever is there, by a path the key.
int Detail(const ConsoleRequest& request, OpenedHive& opened) {
  uint32_t position = 0;
  if (!FindPosition(*opened.hive, request.key, position)) {
    uint32_t item = 0;
    if (!FindKey(request, opened, item)) return kExitFailed;
    position = opened.tree.items[item].position;
  }
  const OutputListPtr list = request.raw ? ListRawRecord(*opened.hive, opened.tree, position)
                                         : ListDetail(*opened.hive, opened.tree, position);
  if (list == nullptr) {
    Complain("No key and no value at " + request.key);
    return kExitFailed;
  }
  return Print(request, *list);
}

int Bins(const ConsoleRequest& request, OpenedHive& opened) {
  const std::vector<BinRow> bins = ListHiveBins(*opened.hive);
  TellOfBlocks(bins);
  return Print(request, *ListBlocks(bins));
}

// The pieces' list is for the standard output: the request's output names their folder.
int Split(const ConsoleRequest& request) {
  const OutputListPtr list = ListBlockRunsAndTell(request.hive);
  if (list == nullptr) return StopRequested() ? kExitFailed : kExitUnreadable;
  const bool split = RowCount(*list) == 0 || SplitFileAndTell(*list, request.printing.file);
  if (!split && !StopRequested()) Complain("Not every piece could be written whole");
  Printing printing = request.printing;
  printing.file.clear();
  const bool printed = PrintList(*list, printing);
  return split && printed ? kExitDone : kExitFailed;
}

// Its FILE is a list that was made before: no hive is opened, and none is looked for.
int Convert(const ConsoleRequest& request) {
  ReportHead head;
  const ReportRead read = ReadReportHead(request.hive, head);
  if (read == ReportRead::kCannotOpen) {
    Complain("Could Not Open or Create File " + request.hive + " !");
    return kExitUnreadable;
  }
  if (read == ReportRead::kNoReport) {
    Complain(request.hive + " is no Report List");
    return kExitFailed;
  }
  const OutputListPtr list = MakeListOfHead(head);
  if (ReadReportRowsAndTell(request.hive, *list) != ReportRead::kDone) {
    Complain(request.hive + " has no rows that can be read");
    return kExitFailed;
  }
  return Print(request, *list);
}

constexpr CommandRow kCommands[] = {{"info", Info},
                                    {"logs", Logs},
                                    {"tree", Tree},
                                    {"values", Values},
                                    {"freed keys", FreedKeys},
                                    {"freed values", FreedValues},
                                    {"freed logs", FreedLogs},
                                    {"detail", Detail},
                                    {"bins", Bins},
                                    {"split", nullptr, Split},
                                    {"convert", nullptr, Convert},
                                    {"carve", nullptr, CarveCommand},
                                    {"machine", nullptr, MachineFolderCommand},
                                    {"check", nullptr, CheckCommand},
                                    {"timeline", nullptr, TimelineCommand},
                                    {"compare", nullptr, CompareCommand},
                                    {"search", SearchCommand},
                                    {"dates", DatesCommand},
                                    {"security records", SecurityRecordsCommand},
                                    {"security aces", SecurityAcesCommand},
                                    {"security used", SecurityUsedCommand},
                                    {"security owners", SecurityOwnersCommand},
                                    {"security links", SecurityLinksCommand},
                                    {"security keys", SecurityKeysCommand},
                                    {"security writers", SecurityWritersCommand},
                                    {"security show", SecurityShowCommand},
                                    {"report", ReportCommand},
                                    {"report machine", nullptr, MachineCommand},
                                    {"export", ExportCommand},
                                    {"repair", RepairCommand}};

}  // namespace

int Print(const ConsoleRequest& request, OutputList& list) {
  if (ListHeadOf(list) == nullptr) SetListHead(list, request.head);
  return PrintList(list, request.printing) ? kExitDone : kExitFailed;
}

namespace {

// The files that the request names to be read.
std::vector<std::string> InputsOf(const ConsoleRequest& request) {
  std::vector<std::string> inputs = {request.hive, request.compare.other};
  for (const auto* const more : {&request.hives, &request.bases, &request.timeline.files,
                                 &request.logs.files, &request.compare.logs.files}) {
    inputs.insert(inputs.end(), more->begin(), more->end());
  }
  std::erase(inputs, std::string());
  return inputs;
}

// Without memory for the file itself it is one that can't be read.
int RunRow(const CommandRow& row, const ConsoleRequest& request) {
  int status = row.alone != nullptr ? kExitFailed : kExitUnreadable;
  WithMemory([&] {
    status = row.alone != nullptr ? row.alone(request) : WithHive(request, row, status);
    return true;
  });
  return status;
}

}  // namespace

int RunConsoleCommand(const std::string& name, const ConsoleRequest& request) {
  for (const CommandRow& row : kCommands) {
    if (name != row.name) continue;
    // Of these "-o" names a folder, which may well be there: what is in it they look after
    // themselves.
    const bool split = name == "split" || name == "carve" || name == "machine";  // a folder
    if (!MayStack(request, name)) return kExitUsage;
    // Before anything is read, so that nobody waits for a refusal.
    if (!LeadsElsewhere(InputsOf(request)) || (!split && !MayPrint(request.printing)))
      return kExitFailed;
    const int status = RunRow(row, request);
    TellOfRefusedRow();
    const std::string cut = ShortfallWords();
    if (cut.empty()) return status;
    Complain(cut);
    return status == kExitDone ? kExitFailed : status;
  }
  return kExitUsage;
}

}  // namespace hivequarry

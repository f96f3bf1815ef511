#include <algorithm>
#include <charconv>
#include <cstdio>

#include "app/opening_words.h"
#include "app/shortfall_words.h"
#include "cli/opened_hive.h"
#include "cli/print_list.h"
#include "hive/file_place.h"
#include "hive/layer_stack.h"
#include "host/evidence.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "host/memory.h"
#include "lists/list_report.h"
#include "recovery/freed_records.h"
#include "replay/hive_logs.h"
#include "replay/log_words.h"
#include "reports/file_pieces.h"
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

// What became of logs that the user named. False when one of them can't be read.
bool TellOfChosenLogs(const ConsoleRequest& request, const HiveImage& hive) {
  if (request.logs.mode != LogMode::kChosen) return true;
  if (hive.logs == nullptr || hive.logs->logs.empty()) {
    Complain("The logs are left out: what is shown is no whole hive");
    return true;
  }
  bool readable = true;
  for (const HiveLog& log : hive.logs->logs) {
    readable &= log.fault != LogFault::kUnreadable;
    if (log.use != LogUse::kApplied) Complain(LogLine(*hive.logs, log));
  }
  return readable;
}

std::shared_ptr<const ListHead> HeadOf(const HiveImage& hive) {
  auto head = std::make_shared<ListHead>();
  SetLines(*head, HiveHeadLines(hive, HiveHashes()));
  return head;
}

// Opens the request's hive, lets the command print from it, and says so when it is no hive at all.
// `failed` is the status of a lack of memory, before the hive is open and afterwards.
int WithHive(const ConsoleRequest& request, const CommandRow& command, int& failed) {
  if (const int status = TellOfLog(request, command.name); status != kExitUsage) return status;
  HiveTable& table = TheHiveTable();
  table.start_offset = request.start_offset;
  table.end_offset = request.end_offset;
  table.logs = request.logs;
  const int slot = OpenHiveAndTell(request.hive);
  if (slot < 0) return StopRequested() ? kExitFailed : kExitUnreadable;
  if (!TellOfChosenLogs(request, HiveOfSlot(slot))) return kExitUnreadable;
  failed = kExitFailed;
  OpenedHive opened;
  opened.hive = &HiveOfSlot(slot);
  BuildOptions options;
  options.disconnected_values = NeedsDisconnectedValues(request, command.name);
  options.root_path = request.root_path;
  options.ask_other_roots = !request.all_roots;
  options.show_stopped = false;
  opened.summary = BuildImageTree(*opened.hive, options, opened.tree);
  if (opened.summary.stopped) return kExitFailed;
  if (const std::string undone = UndoneWords(*opened.hive); !undone.empty()) Complain(undone);
  if (const std::string logs = LogsWords(*opened.hive); !logs.empty()) Complain(logs);
  opened.lacks_logs = LacksLogs(*opened.hive);
  if (request.bases.empty()) {
    const std::string layers = LayersNotice(*opened.hive, opened.tree);
    if (!layers.empty()) Complain(layers + "; --base HIVE shows both as one");
  } else if (const int stacked = StackBases(request, options, opened); stacked != kExitDone) {
    return stacked;
  }
  ConsoleRequest about_hive = request;
  about_hive.printing.hive = opened.hive;
  // A list that is kept says what it was made of; one that goes on to another program need not.
  const bool head = !request.printing.file.empty() || !request.console.quiet;
  if (head) about_hive.head = HeadOf(*opened.hive);
  int status = command.with_hive(about_hive, opened);
  if (status == kExitDone && request.strict && opened.lacks_logs) status = kExitDirty;
  const bool invalid =
      status == kExitDone && FoundNothing(opened.summary) && !ValidateAndTell(*opened.hive);
  return invalid ? kExitFailed : status;
}

int Logs(const ConsoleRequest& request, OpenedHive& opened) {
  return Print(request, request.changes ? *ListLogChanges(*opened.hive) : *ListLogs(*opened.hive));
}

int Info(const ConsoleRequest& request, OpenedHive& opened) {
  const FreedRecords freed = FindFreedRecords(*opened.hive, opened.tree);
  const LayerCounts layers = CountLayers(*opened.hive, opened.tree);
  return Print(request, *ListImageInfo(*opened.hive, opened.summary, freed, layers,
                                       {request.hash, request.structure}));
}

int Tree(const ConsoleRequest& request, OpenedHive& opened) {
  if (request.removed) return Print(request, *ListRemovedKeys(*opened.hive, opened.tree));
  uint32_t item = 0;
  if (!FindKey(request, opened, item)) return kExitFailed;
  return Print(request, *ListKeyTree(*opened.hive, opened.tree, item, request.keys));
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
  uint32_t item = kNoItem;
  if (!request.key.empty() && !FindKey(request, opened, item)) return kExitFailed;
  return Print(request, *ListKeyValues(*opened.hive, opened.tree, item, options));
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
  TellOfBlocks(ListHiveBins(*opened.hive, opened.hive->data_start, UINT32_MAX));
  return Print(request, *ListBlocks(*opened.hive));
}

// The pieces' list is for the standard output: the request's output names their folder.
int Split(const ConsoleRequest& request) {
  const OutputListPtr list = ListBlockRuns(request.hive);
  if (list == nullptr) return StopRequested() ? kExitFailed : kExitUnreadable;
  const bool split = RowCount(*list) == 0 || SplitFile(*list, request.printing.file);
  if (!split && !StopRequested()) Complain("Not every piece could be written whole");
  Printing printing = request.printing;
  printing.file.clear();
  const bool printed = PrintList(*list, printing);
  return split && printed ? kExitDone : kExitFailed;
}

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
  if (ReadReportRows(request.hive, *list) != ReportRead::kDone) {
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
                                    {"security show", SecurityShowCommand},
                                    {"report", ReportCommand},
                                    {"report machine", nullptr, MachineCommand},
                                    {"export", ExportCommand},
                                    {"repair", RepairCommand}};

}  // namespace

bool ParsePosition(std::string_view text, uint32_t& position) {
  if (text.starts_with('@')) text.remove_prefix(1);
  const bool hex = text.starts_with("0x") || text.starts_with("0X");
  if (hex) text.remove_prefix(2);
  const char* end = text.data() + text.size();
  const auto [last, error] = std::from_chars(text.data(), end, position, hex ? 16 : 10);
  return error == std::errc() && last == end;
}

int Print(const ConsoleRequest& request, OutputList& list) {
  if (ListHeadOf(list) == nullptr) SetListHead(list, request.head);
  return PrintList(list, request.printing) ? kExitDone : kExitFailed;
}

bool FindPosition(const HiveImage& hive, std::string_view text, uint32_t& position) {
  if (!text.starts_with('@')) return false;
  const size_t colon = hive.stack == nullptr ? text.npos : text.find(':');
  if (colon == text.npos) {
    if (!ParsePosition(text, position)) return false;
    position = PositionOfPlace(hive, position);
    return true;
  }
  uint32_t layer = 0;
  const bool parsed = ParsePosition(text.substr(0, colon), layer) &&
                      ParsePosition(text.substr(colon + 1), position);
  if (!parsed || layer >= hive.stack->layers.size()) return false;
  const StackLayer& at = hive.stack->layers[layer];
  const uint32_t own = PositionOfPlace(at.hive, position);
  position = own < at.hive.length ? own + at.start : kNoOffset;
  return true;
}

bool FindKey(const ConsoleRequest& request, const OpenedHive& opened, uint32_t& item) {
  item = 0;
  if (request.key.empty()) return true;
  uint32_t position = 0;
  if (FindPosition(*opened.hive, request.key, position)) {
    item = ItemOfPosition(opened.tree, position);
  } else {
    item = FindItemByPath(*opened.hive, opened.tree, request.key);
  }
  if (item == kNoItem) Complain("No key " + request.key);
  return item != kNoItem;
}

namespace {

// A shell that redirects output knows nothing of evidence. False after a message, on the stream
// that does not lead there.
bool LeadsElsewhere(const ConsoleRequest& request) {
  const auto writes = [&request](std::FILE* stream) {
    const auto into = [stream](const std::string& hive) { return WritesInto(stream, hive); };
    return into(request.hive) || std::ranges::any_of(request.hives, into) ||
           std::ranges::any_of(request.bases, into) ||
           std::ranges::any_of(request.logs.files, [stream](const std::string& log) {
             return IsSameFile(stream, log);
           });
  };
  const bool errors = writes(stderr);
  if (!errors && !writes(stdout)) return true;
  if (!errors) Complain("The output would be written into " + request.hive + " itself");
  return false;
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
    const bool split = name == "split";
    if (!MayStack(request, name)) return kExitUsage;
    if (!LeadsElsewhere(request) || (!split && !MayPrint(request.printing))) return kExitFailed;
    const int status = RunRow(row, request);
    const std::string cut = ShortfallWords();
    if (cut.empty()) return status;
    Complain(cut);
    return status == kExitDone ? kExitFailed : status;
  }
  return kExitUsage;
}

}  // namespace hivequarry

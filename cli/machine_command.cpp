// What the machine is that several hives are of.
#include <memory>
#include <vector>

#include "app/opening_words.h"
#include "cli/opened_hive.h"
#include "hive/file_place.h"
#include "hive/hive_table.h"
#include "host/long_operation.h"
#include "replay/log_words.h"
#include "reports/machine_report.h"
#include "words/layer_words.h"

namespace hivequarry {
namespace {

// An exit status; `opened` has the hive and its tree then.
int OpenOne(const ConsoleRequest& request, const std::string& name, OpenedHive& opened) {
  HiveLog log;
  if (IsLogFile(name, log)) {
    Complain(LogFileWords(log));
    return kExitFailed;
  }
  HiveTable& table = TheHiveTable();
  table.start_offset = table.end_offset = 0;
  table.logs = request.logs;
  const int slot = OpenHiveAndTell(name);
  if (slot < 0) return StopRequested() ? kExitFailed : kExitUnreadable;
  opened.hive = &HiveOfSlot(slot);
  BuildOptions options;
  options.disconnected_values = false;
  options.root_path = request.root_path;
  options.ask_other_roots = !request.all_roots;
  options.show_stopped = false;
  opened.summary = BuildImageTree(*opened.hive, options, opened.tree);
  if (opened.summary.stopped) return kExitFailed;
  if (const std::string undone = UndoneWords(*opened.hive); !undone.empty()) Complain(undone);
  if (const std::string logs = LogsWords(*opened.hive); !logs.empty()) Complain(logs);
  const std::string layers = LayersNotice(*opened.hive, opened.tree);
  if (!layers.empty()) Complain(layers);
  if (!FoundNothing(opened.summary)) return kExitDone;
  return ValidateAndTell(*opened.hive) ? kExitDone : kExitFailed;
}

// What is said of one hive alone.
bool IsOfOneHive(const ConsoleRequest& request) {
  return !request.root_path.empty() || request.logs.mode == LogMode::kChosen ||
         request.end_offset > request.start_offset;
}

}  // namespace

int MachineCommand(const ConsoleRequest& request) {
  if (IsOfOneHive(request) && request.hives.size() > 1) {
    Complain("--root, --logs FILE, --soff and --eoff are about one hive");
    return kExitUsage;
  }
  std::vector<std::unique_ptr<OpenedHive>> opened;
  std::vector<MachineHive> hives;
  int status = kExitDone;
  for (const std::string& name : request.hives) {
    opened.push_back(std::make_unique<OpenedHive>());
    const int one = OpenOne(request, name, *opened.back());
    if (StopRequested()) return kExitFailed;
    if (one != kExitDone) status = one;  // the others tell what they know
    if (opened.back()->hive == nullptr) continue;
    hives.push_back({opened.back()->hive, &opened.back()->tree});
    const bool dirty = request.strict && LacksLogs(*opened.back()->hive);
    if (dirty && status == kExitDone) status = kExitDirty;
  }
  if (hives.empty()) return status;
  ConsoleRequest printing = request;
  if (hives.size() == 1) printing.printing.hive = hives.front().hive;
  const int printed = Print(printing, *ListMachine(hives));
  return printed == kExitDone ? status : printed;
}

}  // namespace hivequarry

// What the machine is that several hives are of. All of them are open at once, as ListMachine looks
// at them together.
#include <memory>
#include <vector>

#include "app/opening_words.h"
#include "cli/opened_hive.h"
#include "host/long_operation.h"
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
  FileToOpen file = FileOf(request, name);
  file.named = request.hives.size() > 1;
  if (const int status = OpenWithTree(file, opened); status != kExitDone) return status;
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
  // Trees are pointed to, so they keep their places while more hives are opened.
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
    const bool dirty = request.strict && opened.back()->lacks_logs;
    if (dirty && status == kExitDone) status = kExitDirty;
  }
  if (hives.empty()) return status;
  ConsoleRequest printing = request;
  if (hives.size() == 1) printing.printing.hive = hives.front().hive;
  const int printed = Print(printing, *ListMachine(hives));
  return printed == kExitDone ? status : printed;
}

}  // namespace hivequarry

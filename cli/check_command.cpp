// "check": the file is opened and judged, and no tree is built of it. Exit status: kExitDone for a
// sound structure, kExitDirty for a sound one whose hive is dirty, kExitFailed for faults.
#include "cli/opened_hive.h"
#include "hive/root_evidence.h"
#include "hive/root_path.h"
#include "host/long_operation.h"
#include "records/cell.h"
#include "records/key_node.h"
#include "replay/hive_logs.h"
#include "reports/check_list.h"

namespace hivequarry {
namespace {

// What paths begin with: as a load would have it. Without a tree nobody has found the root yet, so
// the base block is believed where it leads to a key.
void NameRoot(HiveImage& hive, const std::string& chosen) {
  if (!chosen.empty()) return SetRootPath(hive, chosen);
  const uint32_t root = ReadOffset(hive, kBaseRootOffset);
  const bool key = InsideHive(hive, root, kKeyName) && ReadU16(hive, root + 4) == kSignatureNk;
  if (key) hive.root_position = root;
  ChooseRootPath(hive, key);
}

int StatusOf(const CheckResult& result) {
  if (StopRequested()) return kExitFailed;
  if (!IsSound(result)) return kExitFailed;
  return result.dirty ? kExitDirty : kExitDone;
}

}  // namespace

int CheckCommand(const ConsoleRequest& request) {
  FileToOpen file = FileOf(request, request.hive);
  // A system that looks at the file alone sees it without its logs.
  if (!request.logs_given) file.logs.mode = LogMode::kNone;
  OpenedHive opened;
  if (const int status = OpenImageOf(file, opened); status != kExitDone) return status;
  HiveImage& hive = *opened.hive;
  NameRoot(hive, request.root_path);
  const CheckedState state = request.logs_given ? CheckedState::kReplayed : CheckedState::kFile;
  const CheckedHive checked = CheckOpenedHive(hive, state, request.check);
  Printing printing = request.printing;
  printing.hive = &hive;
  const bool printed = PrintList(*checked.list, printing);
  if (checked.left_out != 0) Complain(std::to_string(checked.left_out) + " more rows (--max)");
  Complain(checked.summary);
  return printed ? StatusOf(checked.result) : kExitFailed;
}

}  // namespace hivequarry

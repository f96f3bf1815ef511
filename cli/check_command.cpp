// "check": the file is opened and judged, and no tree is built of it.
#include "app/opening_words.h"
#include "cli/opened_hive.h"
#include "hive/hive_table.h"
#include "hive/root_evidence.h"
#include "hive/root_path.h"
#include "host/long_operation.h"
#include "records/cell.h"
#include "records/key_node.h"
#include "replay/hive_logs.h"
#include "reports/check_list.h"

namespace hivequarry {
namespace {

// What paths begin with: as a load would have it.
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
  HiveTable& table = TheHiveTable();
  table.start_offset = request.start_offset;
  table.end_offset = request.end_offset;
  table.logs = request.logs;
  // A system that looks at the file alone sees it without its logs.
  if (!request.logs_given) table.logs.mode = LogMode::kNone;
  const int slot = OpenHiveAndTell(request.hive);
  if (slot < 0) return StopRequested() ? kExitFailed : kExitUnreadable;
  HiveImage& hive = HiveOfSlot(slot);
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

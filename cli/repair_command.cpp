// Repaired hives on the console.
#include "cases/repair.h"
#include "cli/opened_hive.h"
#include "cli/print_list.h"

namespace hivequarry {
namespace {

// On the standard error, as the rows go to the standard output.
void Tell(const ConsoleRequest& request, const Repaired& repaired) {
  if (request.console.quiet) return;
  const bool rebuilt = request.repair == RepairKind::kRebuilt;
  const std::string counts = rebuilt ? RepairCountsWords(repaired) + ", " : std::string();
  Complain(request.printing.file + ": " + counts + std::to_string(repaired.bytes) +
           " bytes, read back and verified");
  if (repaired.recovered_left_out != 0) {
    Complain("Recovered keys left out: " + std::to_string(repaired.recovered_left_out) +
             " (--recovered writes them too)");
  }
  if (const std::string rows = RepairRowsWords(repaired); !rows.empty()) {
    Complain(rows + ", listed on the standard output");
  }
}

}  // namespace

int RepairCommand(const ConsoleRequest& request, OpenedHive& opened) {
  const std::string& name = request.printing.file;
  // A hive does not go to the standard output: it is read back, which only a file allows.
  if (name.empty()) {
    Complain("Name the new hive: -o FILE");
    return kExitUsage;
  }
  const RepairOptions options = {request.repair, request.recovered, request.freed};
  const Repaired repaired = RepairHive(*opened.hive, opened.tree, options, name);
  if (repaired.fault != RepairFault::kNone) {
    Complain(RepairFaultWords(repaired, name));
    return kExitFailed;
  }
  Tell(request, repaired);
  if (RowCount(*repaired.rows) == 0) return kExitDone;
  Printing printing = request.printing;
  printing.file.clear();  // that of the hive
  return PrintList(*repaired.rows, printing) ? kExitDone : kExitFailed;
}

}  // namespace hivequarry

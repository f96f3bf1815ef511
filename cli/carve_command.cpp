// Hives and pieces of them in images, on the console.
#include <cstring>

#include "app/opening_words.h"
#include "cases/carve.h"
#include "cli/opened_hive.h"
#include "cli/print_list.h"
#include "host/long_operation.h"

namespace hivequarry {
namespace {

// On the standard error: the list itself goes to the standard output.
void Tell(const ConsoleRequest& request, const CarvedFile& carved) {
  if (request.console.quiet) return;
  size_t hives = 0;
  size_t logs = 0;
  size_t pieces = 0;
  for (const Carved& each : carved.found) {
    const bool log = each.kind == CarvedKind::kLog || each.kind == CarvedKind::kLogEntries;
    hives += each.kind == CarvedKind::kHive ? 1 : 0;
    logs += log ? 1 : 0;
    pieces += each.hive() && each.kind != CarvedKind::kHive ? 1 : 0;
  }
  Complain(carved.name + ": " + std::to_string(hives) + " hives, " + std::to_string(pieces) +
           " pieces of hives, " + std::to_string(logs) + " logs; " + std::to_string(carved.zeros) +
           " of " + std::to_string(carved.size) + " bytes are zeros, in " +
           std::to_string(carved.holes) + " stretches");
}

}  // namespace

// The list is for the standard output: the request's output names the files' folder.
int CarveCommand(const ConsoleRequest& request) {
  CarvedFile carved = CarveFile(request.hive, {request.holes});
  if (carved.error != 0) {
    Complain("Can not open " + request.hive + " (" + std::strerror(carved.error) + ")");
    return kExitUnreadable;
  }
  if (StopRequested()) return kExitFailed;
  TellOfUnread(request.hive, carved.unread);
  std::string fault;
  // Without a folder the list alone is made; what can't be written does not keep it from being
  // printed.
  if (!request.printing.file.empty()) {
    WriteCarved(carved, {request.printing.file, request.printing.force}, fault);
  }
  if (!fault.empty()) Complain(fault);
  Printing printing = request.printing;
  printing.file.clear();
  const bool printed = PrintList(*ListCarved(carved), printing);
  Tell(request, carved);
  return printed && fault.empty() && !StopRequested() ? kExitDone : kExitFailed;
}

}  // namespace hivequarry

// Registry scripts on the console.
#include <cstdio>

#include "cli/opened_hive.h"
#include "cli/print_list.h"
#include "hive/file_place.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "reports/registry_script.h"

namespace hivequarry {
namespace {

// What the script lacks.
void ReportGaps(const HiveImage& hive, const ScriptExport& written) {
  if (written.cut_at != kNoItem) Complain("The script was cut short: not everything fits into it");
  if (written.skipped.empty()) return;
  char text[96];
  std::snprintf(text, sizeof text, "Values that could not be exported: %zu, the first at 0x%08X",
                written.skipped.size(), PlaceOf(hive, written.skipped.front().position));
  Complain(text);
}

}  // namespace

int ExportCommand(const ConsoleRequest& request, OpenedHive& opened) {
  uint32_t item = 0;
  if (!FindKey(request, opened, item)) return kExitFailed;
  if (!HasScriptRoot(*opened.hive)) {
    ShowMessage("No valid root key !", kProgramName, Icon::kInformation);
    return kExitFailed;
  }
  ScriptExport written;
  const auto write = [&](const TextSink& sink) {
    written = ExportBranch(*opened.hive, opened.tree, item, sink);
    return !written.refused && !StopRequested();
  };
  if (!PrintPieces(write, request.output)) return kExitFailed;
  if (!request.console.quiet) ReportGaps(*opened.hive, written);
  return kExitDone;
}

}  // namespace hivequarry

// Registry scripts on the console.
#include <cstdio>

#include "cli/opened_hive.h"
#include "cli/print_list.h"
#include "hive/root_path.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "reports/registry_script.h"

namespace hivequarry {
namespace {

// What the script lacks.
void ReportGaps(const ScriptExport& written) {
  if (written.cut_at != kNoItem) Complain("The script was cut short: not everything fits into it");
  if (written.skipped.empty()) return;
  char text[96];
  std::snprintf(text, sizeof text, "Values that could not be exported: %zu, the first at 0x%08X",
                written.skipped.size(), written.skipped.front().position);
  Complain(text);
}

// Whose keys a script is to change is not left to the hive's own bytes and names.
bool HasUndoubtedRoot(const HiveImage& hive) {
  const bool has_root = HasScriptRoot(hive);
  const std::string doubt = has_root ? RootDoubt(hive) : "Where the hive belongs is not known.";
  if (doubt.empty()) return true;
  ShowMessage("No valid root key !", kProgramName, Icon::kInformation);
  Complain(Utf8FromNarrow(doubt) +
           " Name the place that the script is for: --root 'HKU\\S-1-5-21-...' or another");
  return false;
}

}  // namespace

int ExportCommand(const ConsoleRequest& request, OpenedHive& opened) {
  uint32_t item = 0;
  if (!FindKey(request, opened, item)) return kExitFailed;
  if (!HasUndoubtedRoot(*opened.hive)) return kExitFailed;
  ScriptExport written;
  const auto write = [&](const TextSink& sink) {
    written = ExportBranch(*opened.hive, opened.tree, item, sink);
    return !written.refused && !StopRequested();
  };
  if (!PrintPieces(write, request.output)) return kExitFailed;
  if (!request.console.quiet) ReportGaps(written);
  return kExitDone;
}

}  // namespace hivequarry

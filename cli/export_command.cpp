// Registry scripts on the console.
#include "cli/opened_hive.h"
#include "cli/print_list.h"
#include "hive/file_place.h"
#include "hive/root_path.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "lists/list_rows.h"
#include "reports/freed_script.h"
#include "reports/registry_script.h"

namespace hivequarry {
namespace {

ScriptForm ScriptFormOf(const ConsoleRequest& request) {
  return request.script_version == 5 ? ScriptForm::kFive : ScriptForm::kFour;
}

// What the script lacks, the first of each kind by name.
void ReportGaps(const ConsoleRequest& request, const OpenedHive& opened,
                const ScriptExport& written) {
  const bool five = request.script_version == 5;
  const auto complain = [](const std::string& what, size_t count, const std::string& first) {
    Complain(what + ": " + std::to_string(count) + ", the first at " + first);
  };
  const auto path_of = [&opened](uint32_t item) {
    return ItemPath(*opened.hive, opened.tree, item);
  };
  if (written.recovered_left_out != 0) {
    Complain("Recovered keys left out: " + std::to_string(written.recovered_left_out) +
             " (--recovered writes them too)");
  }
  if (written.tombstone_keys + written.tombstone_values != 0) {
    const bool comments = request.tombstones == Tombstones::kComments;
    Complain("Tombstones written as " + std::string(comments ? "comments" : "deletions") + ": " +
             std::to_string(written.tombstone_keys) + " keys, " +
             std::to_string(written.tombstone_values) + " values" +
             (comments ? " (--tombstones delete writes lines that delete)" : ""));
  }
  if (written.superseding_keys != 0) {
    Complain("Keys that supersede those of the hive below, which an import does not: " +
             std::to_string(written.superseding_keys));
  }
  if (!written.left_out.empty()) {
    complain("Keys that the script cannot hold, left out with all below", written.left_out.size(),
             path_of(written.left_out.front()));
  }
  if (!written.merged.empty()) {
    complain("Keys and values whose names become another's in the script", written.merged.size(),
             path_of(written.merged.front().item));
  }
  if (!written.lossy.empty()) {
    complain("Names and texts with \"?\" for characters that the script cannot hold",
             written.lossy.size(), path_of(written.lossy.front().item));
    if (!five) Complain("--script 5 holds every text");
  }
  if (!written.skipped.empty()) {
    complain("Values that could not be exported", written.skipped.size(),
             PlaceText(*opened.hive, written.skipped.front().position));
  }
}

// Whose keys a script is to change is not left to the hive's own bytes and names.
bool HasUndoubtedRoot(const HiveImage& hive) {
  const bool has_root = HasScriptRoot(hive);
  const std::string doubt = has_root ? RootDoubt(hive) : "Where the hive belongs is not known.";
  if (doubt.empty()) return true;
  ShowMessage("No valid root key !", kProgramName, Icon::kInformation);
  Complain(doubt + " Name the place that the script is for: --root 'HKU\\S-1-5-21-...' or another");
  return false;
}

// What the request names: a freed record by its position, or a key of the tree. False after a
// message.
bool ChooseFreedFor(const ConsoleRequest& request, const OpenedHive& opened,
                    const FreedRecords& records, FreedChoice& choice) {
  uint32_t position = 0;
  if (request.key.starts_with('@') && ParsePosition(request.key, position)) {
    position = PositionOfPlace(*opened.hive, position);
    choice = ChooseFreed(records, std::span(&position, 1), FreedScope::kBranches);
    if (!choice.keys.empty() || !choice.values.empty()) return true;
  }
  uint32_t item = 0;
  if (!FindKey(request, opened, item)) return false;
  choice = ChooseFreedBelow(opened.tree, records, item);
  return true;
}

// Scripts write into a registry, so the root must be one that the user named or the hive proves.
int ExportFreedRecords(const ConsoleRequest& request, const OpenedHive& opened) {
  FreedSource from(*opened.hive, opened.tree);
  FreedChoice choice;
  if (!ChooseFreedFor(request, opened, from.records, choice)) return kExitFailed;
  if (!HasUndoubtedRoot(*opened.hive)) return kExitFailed;
  FreedExport written;
  const auto write = [&](const TextSink& sink) {
    written = ExportFreed(from, choice, sink, ScriptFormOf(request));
    return !written.refused && !StopRequested();
  };
  if (!PrintPieces(write, request.printing)) return kExitFailed;
  if (request.console.quiet) return kExitDone;
  const auto tell = [](const char* what, uint32_t count) {
    if (count != 0) Complain(what + std::to_string(count));
  };
  tell("Values whose data may be another record's, as comments: ", written.doubted);
  tell("Freed records that could not be exported: ", written.skipped);
  return kExitDone;
}

}  // namespace

int ExportCommand(const ConsoleRequest& request, OpenedHive& opened) {
  if (request.freed) return ExportFreedRecords(request, opened);
  uint32_t item = 0;
  if (!FindKey(request, opened, item)) return kExitFailed;
  if (!HasUndoubtedRoot(*opened.hive)) return kExitFailed;
  ScriptExport written;
  const auto write = [&](const TextSink& sink) {
    written = ExportBranch(*opened.hive, opened.tree, item, sink,
                           request.recovered ? RecoveredKeys::kWritten : RecoveredKeys::kLeftOut,
                           ScriptFormOf(request), request.tombstones);
    return !written.refused && !StopRequested();
  };
  if (!PrintPieces(write, request.printing)) return kExitFailed;
  if (!request.console.quiet) ReportGaps(request, opened, written);
  return kExitDone;
}

}  // namespace hivequarry

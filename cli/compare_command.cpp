// "compare": two hives, or one in two states, key by key.
#include "app/opening_words.h"
#include "cli/opened_hive.h"
#include "hive/file_place.h"
#include "hive/hive_table.h"
#include "hive/root_path.h"
#include "host/evidence.h"
#include "host/long_operation.h"
#include "replay/hive_logs.h"
#include "reports/control_sets.h"
#include "reports/hive_compare.h"

namespace hivequarry {
namespace {

struct OpenedSide {
  HiveImage* hive = nullptr;
  KeyTree tree;
  ImageSummary summary;
  uint32_t item = 0;
};

// False after a message.
bool OpenSide(const ConsoleRequest& request, const std::string& file, const LogChoice& logs,
              OpenedSide& side) {
  TheHiveTable().logs = logs;
  const int slot = OpenHiveAndTell(file);
  if (slot < 0) return false;
  side.hive = &HiveOfSlot(slot);
  BuildOptions options;
  options.disconnected_values = false;
  options.ask_other_roots = !request.all_roots;
  options.show_stopped = false;
  side.summary = BuildImageTree(*side.hive, options, side.tree);
  if (side.summary.stopped) return false;
  if (FoundNothing(side.summary)) {
    Complain(file + " holds no keys");
    return false;
  }
  for (const std::string& words : {UndoneWords(*side.hive), LogsWords(*side.hive)}) {
    if (!words.empty()) Complain(file + ": " + words);
  }
  return true;
}

// The path with the current control set's own name, where it begins with what stands for it.
std::string WithControlSet(const OpenedSide& side, const std::string& path) {
  constexpr std::string_view kCurrent = "CurrentControlSet";
  const std::string_view rest = std::string_view(path).substr(path.starts_with('\\') ? 1 : 0);
  const bool current = StartsIgnoringCase(rest, kCurrent) &&
                       (rest.size() == kCurrent.size() || rest[kCurrent.size()] == '\\');
  const ControlSets sets = current ? ReadControlSets(*side.hive, side.tree) : ControlSets();
  if (sets.current == 0) return path;
  const std::string number = std::to_string(sets.current);
  return "\\ControlSet" + std::string(number.size() < 3 ? 3 - number.size() : 0, '0') + number +
         std::string(rest.substr(kCurrent.size()));
}

bool FindSide(const std::string& path, OpenedSide& side) {
  if (path.empty()) return true;
  const std::string named = WithControlSet(side, path);
  uint32_t position = 0;
  const bool by_position = named.starts_with('@') && ParsePosition(named, position);
  side.item = by_position ? ItemOfPosition(side.tree, PositionOfPlace(*side.hive, position))
                          : FindItemByPath(*side.hive, side.tree, named);
  const bool found = side.item != kNoItem && HasKeyCell(side.tree, side.item);
  if (!found) Complain("No key " + path + " in " + side.hive->file_name);
  return found;
}

// Equal, and yet a system would not take it as it is.
bool IsDoubtful(const OpenedSide& side) {
  const HiveImage& hive = *side.hive;
  const bool dirty =
      hive.logs != nullptr && hive.logs->hive.dirty() && hive.logs->state != ReplayState::kReplayed;
  return dirty || !side.summary.tree_sound || hive.unread.count != 0;
}

// The place of the keys compared in a registry, in long form; whatever the root is called where it
// has none.
std::string ScriptRoot(const OpenedSide& side) {
  const std::string path = LongItemPath(*side.hive, side.tree, side.item);
  const std::string whole = LongRootPath(path);
  return whole.empty() ? path : whole;
}

bool PrintPatch(const ConsoleRequest& request, const OpenedSide& from, const OpenedSide& to,
                const std::string& file) {
  if (file.empty()) return true;
  Printing printing;
  printing.file = file;
  printing.force = request.printing.force;
  printing.raw_text = true;
  const std::string root = ScriptRoot(from);
  return MayPrint(printing) &&
         PrintPieces(
             [&](const TextSink& sink) {
               return WritePatch({*from.hive, from.tree, from.item}, {*to.hive, to.tree, to.item},
                                 request.compare.options, root, sink);
             },
             printing);
}

int CompareSides(const ConsoleRequest& request, const OpenedSide& a, const OpenedSide& b) {
  HiveDifferences differences;
  const OutputListPtr list = CompareHives({*a.hive, a.tree, a.item}, {*b.hive, b.tree, b.item},
                                          request.compare.options, differences);
  Printing printing = request.printing;
  printing.hive = b.hive;
  const bool printed = PrintList(*list, printing) &&
                       PrintPatch(request, a, b, request.compare.patch_to_b) &&
                       PrintPatch(request, b, a, request.compare.patch_to_a);
  Complain(DifferenceWords(differences));
  if (!printed || StopRequested()) return kExitFailed;
  if (AnyDifference(differences)) return kExitFailed;
  return IsDoubtful(a) || IsDoubtful(b) ? kExitDirty : kExitDone;
}

}  // namespace

int CompareCommand(const ConsoleRequest& request) {
  const CompareRequest& compare = request.compare;
  KeepEvidence(compare.other);
  if (!MayPrint(request.printing)) return kExitFailed;
  OpenedSide a;
  OpenedSide b;
  const LogChoice& logs_b = compare.logs_given ? compare.logs : request.logs;
  const bool opened = OpenSide(request, request.hive, request.logs, a) &&
                      OpenSide(request, compare.other, logs_b, b);
  if (!opened) return StopRequested() ? kExitFailed : kExitUnreadable;
  const std::string& key_b = compare.key.empty() ? request.key : compare.key;
  if (!FindSide(request.key, a) || !FindSide(key_b, b)) return kExitUnreadable;
  return CompareSides(request, a, b);
}

}  // namespace hivequarry

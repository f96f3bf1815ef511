// "compare": two hives, or one in two states, key by key.
#include "cli/opened_hive.h"
#include "hive/root_path.h"
#include "host/evidence.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "host/text.h"
#include "replay/hive_logs.h"
#include "reports/control_sets.h"
#include "reports/hive_compare.h"
#include "reports/registry_script.h"

namespace hivequarry {
namespace {

struct OpenedSide : OpenedHive {
  uint32_t item = 0;
};

// An exit status.
int OpenSide(const ConsoleRequest& request, const std::string& name, const LogChoice& logs,
             OpenedSide& side) {
  FileToOpen file = FileOf(request, name);
  file.logs = logs;
  file.named = true;
  const int status = OpenWithTree(file, side);
  if (status != kExitDone || !FoundNothing(side.summary)) return status;
  Complain(name + " holds no keys");
  return kExitUnreadable;
}

// The path with the current control set's own name, where it begins with what stands for it.
std::string WithControlSet(const OpenedSide& side, const std::string& path) {
  constexpr std::string_view kCurrent = "CurrentControlSet";
  const std::string_view rest = std::string_view(path).substr(path.starts_with('\\') ? 1 : 0);
  const bool current = StartsIgnoringCase(rest, kCurrent) &&
                       (rest.size() == kCurrent.size() || rest[kCurrent.size()] == '\\');
  const ControlSets sets = current ? ReadControlSets(*side.hive, side.tree) : ControlSets();
  if (sets.current == 0) return path;
  return Concat({"\\ControlSet", Decimal(sets.current, 3), rest.substr(kCurrent.size())});
}

bool FindSide(const std::string& path, OpenedSide& side) {
  if (path.empty()) return true;
  side.item = ItemNamed(side, WithControlSet(side, path));
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

// The place of the keys compared in a registry, in long form, as stored; whatever the root is
// called where it has none. False after a message for one that a script would take for another.
bool FindScriptRoot(const OpenedSide& side, std::string& root) {
  const WholeReading whole;
  std::vector<std::string> names;
  for (uint32_t at = side.item; at != 0; at = side.tree.items[at].parent) {
    names.push_back(StoredItemName(*side.hive, side.tree, at));
  }
  bool fits = true;
  std::string path = ItemName(*side.hive, side.tree, 0);
  for (auto name = names.rbegin(); name != names.rend(); ++name) {
    fits = fits && name->find('\\') == name->npos;
    path += "\\" + *name;
  }
  root = LongRootPath(path);
  if (root.empty()) root = std::move(path);
  const bool deletes = root.substr(0, root.find_first_not_of(" \t") + 1).ends_with('-');
  if (fits && !deletes && HoldsScriptName(ScriptForm::kFive, root)) return true;
  Complain("A script cannot hold the key " + LongItemPath(*side.hive, side.tree, side.item));
  return false;
}

bool PrintPatch(const ConsoleRequest& request, const OpenedSide& from, const OpenedSide& to,
                const std::string& file) {
  if (file.empty()) return true;
  Printing printing;
  printing.file = file;
  printing.force = request.printing.force;
  printing.raw_text = true;
  std::string root;
  return FindScriptRoot(from, root) && MayPrint(printing) &&
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
  int status = OpenSide(request, request.hive, request.logs, a);
  if (status == kExitDone) status = OpenSide(request, compare.other, logs_b, b);
  if (status != kExitDone) return status;
  const std::string& key_b = compare.key.empty() ? request.key : compare.key;
  if (!FindSide(request.key, a) || !FindSide(key_b, b)) return kExitUnreadable;
  return CompareSides(request, a, b);
}

}  // namespace hivequarry

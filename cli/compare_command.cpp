// "compare": two hives, or one in two states, key by key.
#include "cases/script_hive.h"
#include "cli/opened_hive.h"
#include "hive/hive_table.h"
#include "host/evidence.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "reports/control_sets.h"
#include "reports/hive_compare.h"

namespace hivequarry {
namespace {

struct OpenedSide : OpenedHive {
  uint32_t item = 0;
  bool script = false;
  std::string first_key = {};  // of a script
  ComparedSide compared() const { return {*hive, tree, item, script}; }
  DescribedSide described() const {
    return {*hive, LongItemPath(*hive, tree, item),
            script ? std::string() : DoubtOfSide(*hive, summary)};
  }
};

// An exit status.
int OpenScriptSide(const std::string& name, OpenedSide& side) {
  ScriptHive script = OpenScript(name);
  if (script.slot < 0) {
    if (!StopRequested()) Complain("Can not open " + name);
    return StopRequested() ? kExitFailed : kExitUnreadable;
  }
  const auto tell = [&name](uint64_t count, const char* words) {
    if (count != 0) Complain(Concat({name, ": ", std::to_string(count), words}));
  };
  tell(script.deletions, " lines that delete: what they name is not there");
  const std::string where = " lines that are none of a script, the first of them line " +
                            std::to_string(script.read.first_bad);
  tell(script.read.bad_lines, where.c_str());
  tell(script.left_out, " keys or values that no hive can hold");
  side.hive = &HiveOfSlot(script.slot);
  side.tree = std::move(script.tree);
  side.first_key = std::move(script.first_key);
  side.script = true;
  return kExitDone;
}

// An exit status.
int OpenSide(const ConsoleRequest& request, const std::string& name, const LogChoice& logs,
             OpenedSide& side) {
  if (IsScriptFile(name)) return OpenScriptSide(name, side);
  FileToOpen file = FileOf(request, name);
  file.logs = logs;
  file.named = true;
  const int status = OpenWithTree(file, side);
  // Without a key on one side every key of the other would be a difference.
  if (status != kExitDone || !FoundNothing(side.summary)) return status;
  Complain(name + " holds no keys");
  return kExitUnreadable;
}

// Of a hive; scripts come later (FindScriptSide). A made key cannot be compared: there is no record
// of it.
bool FindSide(const std::string& path, OpenedSide& side) {
  if (path.empty() || side.script) return true;
  side.item = ItemNamed(side, WithControlSet(*side.hive, side.tree, path));
  const bool found = side.item != kNoItem && HasKeyCell(side.tree, side.item);
  if (!found) Complain("No key " + path + " in " + side.hive->file_name);
  return found;
}

// After both sides are open: which key of a script is meant depends on where the other side is.
bool FindScriptSide(const std::string& path, const OpenedSide& other, OpenedSide& side) {
  if (!side.script) return true;
  const std::string place = other.script ? "" : LongItemPath(*other.hive, other.tree, other.item);
  const std::string first = other.script ? "" : side.first_key;
  side.item = FindInScript(*side.hive, side.tree, path, place, first);
  if (side.item == kNoItem) Complain("No key " + path + " in " + side.hive->file_name);
  return side.item != kNoItem;
}

// True when no file was asked for. The script makes `to` of `from`.
bool PrintPatch(const ConsoleRequest& request, const OpenedSide& from, const OpenedSide& to,
                const std::string& file) {
  if (file.empty()) return true;
  Printing printing;
  printing.file = file;
  printing.force = request.printing.force;
  // For an import, not for eyes: control characters stay as they are.
  printing.raw_text = true;
  const std::string root = PatchRoot(from.compared());
  if (root.empty()) {
    Complain("A script cannot hold the key " + from.described().key);
    return false;
  }
  return MayPrint(printing) && PrintPieces(
                                   [&](const TextSink& sink) {
                                     return WritePatch(from.compared(), to.compared(),
                                                       request.compare.options, root, sink);
                                   },
                                   printing);
}

void GiveHead(const ConsoleRequest& request, const OpenedSide& a, const OpenedSide& b,
              OutputList& list) {
  // As for a list of one hive: what goes on to another program needs no head.
  if (request.printing.file.empty() && request.console.quiet) return;
  auto head = std::make_shared<ListHead>();
  SetLines(*head, ComparisonHead(a.described(), b.described()));
  SetListHead(list, std::move(head));
}

// Differences are kExitFailed, so that a script may ask for them; kExitDirty where there are none
// but a side's last changes may be missing.
int CompareSides(const ConsoleRequest& request, const OpenedSide& a, const OpenedSide& b) {
  HiveDifferences differences;
  HiveCompareOptions options = request.compare.options;
  // Data as bytes are for programs.
  options.bytes = request.printing.format == Format::kJsonLines;
  const OutputListPtr list = CompareHives(a.compared(), b.compared(), options, differences);
  GiveHead(request, a, b, *list);
  Printing printing = request.printing;
  printing.hive = b.hive;
  const bool printed = PrintList(*list, printing) &&
                       PrintPatch(request, a, b, request.compare.patch_to_b) &&
                       PrintPatch(request, b, a, request.compare.patch_to_a);
  Complain(DifferenceWords(differences));
  if (differences.ignored != 0) {
    Complain(std::to_string(differences.ignored) + " rows left out by --ignore");
  }
  if (!printed || StopRequested()) return kExitFailed;
  if (AnyDifference(differences)) return kExitFailed;
  const bool doubtful = !a.described().doubt.empty() || !b.described().doubt.empty();
  return doubtful ? kExitDirty : kExitDone;
}

}  // namespace

int CompareCommand(const ConsoleRequest& request) {
  const CompareRequest& compare = request.compare;
  // Before the output is looked at, which may not take its place: by its content a script is no
  // evidence, and only its opening would say so.
  KeepEvidence(compare.other);
  if (!MayPrint(request.printing)) return kExitFailed;
  OpenedSide a;
  OpenedSide b;
  const LogChoice& logs_b = compare.logs_given ? compare.logs : request.logs;
  int status = OpenSide(request, request.hive, request.logs, a);
  if (status == kExitDone) status = OpenSide(request, compare.other, logs_b, b);
  if (status != kExitDone) return status;
  const std::string& key_b = compare.key.empty() ? request.key : compare.key;
  // Keys of hives first: where they are says what is meant in a script.
  if (!FindSide(request.key, a) || !FindSide(key_b, b)) return kExitUnreadable;
  if (!FindScriptSide(request.key, b, a)) return kExitUnreadable;
  if (!FindScriptSide(compare.key, a, b)) return kExitUnreadable;
  return CompareSides(request, a, b);
}

}  // namespace hivequarry

// The script that makes the second of two compared sides of the first. The pairs of the comparison
// are walked anew, and what differs is written as it is met: nothing of the script is kept.
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "hive/root_path.h"
#include "host/shortfalls.h"
#include "host/text.h"
#include "lists/list_writers.h"
#include "reports/hive_compare.h"
#include "reports/registry_script.h"

namespace hivequarry {
namespace {

// A script being written. `root` is the path that its keys begin with.
struct Patch {
  const std::string& root;
  const TextSink& sink;
  bool open = true;  // until the sink refuses
};

// With its line ends.
void AddText(Patch& patch, std::string_view text) {
  std::string bytes;
  EncodeScript(ScriptForm::kFive, text, bytes);
  patch.open = patch.open && patch.sink(bytes);
}
void AddLine(Patch& patch, const std::string& line) { AddText(patch, line + "\r\n"); }

// "[ROOT\\A\\B" without its end; empty for a path that a script cannot hold.
std::string ScriptPath(const Patch& patch, const ComparedSide& side, uint32_t item) {
  std::vector<std::string> names;
  size_t length = patch.root.size();
  for (uint32_t at = item; at != side.item; at = side.tree.items[at].parent) {
    names.push_back(StoredItemName(side.hive, side.tree, at));
    length += names.back().size() + 1;
    const bool fits = !names.back().empty() && names.back().find('\\') == std::string::npos &&
                      HoldsScriptName(ScriptForm::kFive, names.back());
    if (!fits || length > kLongestPath) {
      NoteShortfall(Shortfall::kScriptKeys);
      return {};
    }
  }
  std::string path = patch.root;
  for (auto name = names.rbegin(); name != names.rend(); ++name) path += "\\" + *name;
  return path;
}

// What cannot be written so that an import makes the same value of it is left out and noted.
void AddPatchValue(Patch& patch, const SideValue& value) {
  if (!value.read()) return NoteShortfall(Shortfall::kValueData);
  const std::string& name = value.value.name;
  std::string line;
  const bool fits = HoldsScriptName(ScriptForm::kFive, name) &&
                    FormatScriptBytes(name, value.value.type, value.data, line);
  if (!fits) return NoteShortfall(Shortfall::kScriptNames);
  AddText(patch, line);
}

// The line that deletes a value; empty for a lost one, and for a name that no line can hold.
std::string DeletionOf(const ComparedSide& side, uint32_t position) {
  if (position == kNoOffset) return {};
  const ValueKey value = ReadValueKey(side.hive, position, ValueRead::kName, 0, nullptr);
  std::string line;
  const bool fits =
      HoldsScriptName(ScriptForm::kFive, value.name) && FormatScriptDeletion(value.name, line);
  if (!fits) NoteShortfall(Shortfall::kScriptNames);
  return line;
}

// The key, which A lacks, and those below it.
void PatchNew(PairWalk& walk, Patch& patch, uint32_t item) {
  WalkBranch(walk, walk.b, item, [&](uint32_t at) {
    const std::string path = ScriptPath(patch, walk.b, at);
    if (path.empty()) return patch.open;
    AddLine(patch, "[" + path + "]");
    for (const PairedName& value : PairedValues(walk.b, at)) {
      ReadSide(walk.b, value.at, walk.budget_b, walk.value_b);
      AddPatchValue(patch, walk.value_b);
    }
    AddLine(patch, "");
    return patch.open;
  });
}

// One value of a key that both sides have; `begin` writes the key's line where it is not yet there.
void PatchValue(PairWalk& walk, Patch& patch, const ValuePair& pair,
                const std::function<bool()>& begin) {
  if (pair.twin) return NoteShortfall(Shortfall::kScriptNames);  // a line speaks of the first
  if (pair.pairing == Pairing::kOnlyA) {
    const std::string line = DeletionOf(walk.a, pair.a);
    if (!line.empty() && begin()) AddText(patch, line);
    return;
  }
  const bool both = pair.pairing == Pairing::kBoth;
  if (both && ValueDifference(walk, pair.a, pair.b) == nullptr) return;
  ReadSide(walk.b, pair.b, walk.budget_b, walk.value_b);
  if (begin()) AddPatchValue(patch, walk.value_b);
}

// The key's section is begun by its first difference: a key without any is not in the script.
void PatchValues(PairWalk& walk, Patch& patch, const KeyPair& pair) {
  if (ListTheSameValues(walk, pair.a, pair.b)) return;
  bool begun = false;
  const auto begin = [&] {
    if (begun) return true;
    const std::string path = ScriptPath(patch, walk.b, pair.b);
    if (path.empty()) return false;
    AddLine(patch, "[" + path + "]");
    return begun = true;
  };
  for (const ValuePair& value : ValuePairs(walk, pair.a, pair.b)) {
    PatchValue(walk, patch, value, begin);
  }
  if (begun) AddLine(patch, "");
}

// The script makes the second side of the first: what only the second has is made, what only the
// first has is deleted, branch and all. Keys named alike beside each other no script can tell
// apart.
void PatchOne(PairWalk& walk, Patch& patch, const KeyPair& pair) {
  if (pair.ignored || !patch.open) return;
  if (pair.twin) return NoteShortfall(Shortfall::kScriptNames);
  if (pair.pairing == Pairing::kOnlyB) return PatchNew(walk, patch, pair.b);
  if (pair.pairing == Pairing::kBoth) return PatchValues(walk, patch, pair);
  const std::string path = ScriptPath(patch, walk.a, pair.a);
  if (path.empty()) return;
  AddLine(patch, "[-" + path + "]");
  AddLine(patch, "");
}

}  // namespace

std::string PatchRoot(const ComparedSide& side) {
  const WholeReading whole;
  std::vector<std::string> names;
  for (uint32_t at = side.item; at != 0; at = side.tree.items[at].parent) {
    names.push_back(StoredItemName(side.hive, side.tree, at));
  }
  bool fits = true;
  std::string path = side.script ? std::string() : ItemName(side.hive, side.tree, 0);
  const RootName& known = side.hive.root;
  // The number that tells two open hives of one place apart is none of the place.
  if (!side.script && path == known.label) path.resize(known.label_length);
  for (auto name = names.rbegin(); name != names.rend(); ++name) {
    fits = fits && name->find('\\') == name->npos;
    path += path.empty() ? *name : "\\" + *name;
  }
  std::string root = LongRootPath(path);
  if (root.empty()) root = std::move(path);
  // With a '-' first, after blanks too, each of its key lines would delete a key.
  const bool deletes = root.substr(0, root.find_first_not_of(" \t") + 1).ends_with('-');
  return fits && !deletes && HoldsScriptName(ScriptForm::kFive, root) ? root : std::string();
}

bool WritePatch(const ComparedSide& a, const ComparedSide& b, const HiveCompareOptions& options,
                const std::string& root, const TextSink& sink) {
  const WholeReading whole;
  PairWalk walk{a, b, options};
  Patch patch{root, sink};
  patch.open = sink(ScriptMark(ScriptForm::kFive));
  AddText(patch, ScriptHead(ScriptForm::kFive));
  WalkPairs(walk, [&](const KeyPair& pair) { PatchOne(walk, patch, pair); });
  return patch.open && !StopRequested();
}

}  // namespace hivequarry

#include "view/compare_tree.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "view/commands.h"
#include "view/key_codes.h"

namespace hivequarry {
namespace {

// One of the kGroup bits.
uint8_t GroupOf(const ComparedKey& key, bool times) {
  if ((key.differs & kDiffersOnlyInA) != 0) return kGroupOnlyA;
  if ((key.differs & kDiffersOnlyInB) != 0) return kGroupOnlyB;
  const uint8_t heeded = times ? 0xFF : static_cast<uint8_t>(~kDiffersInTime);
  return (key.differs & heeded) != 0 ? kGroupDifferent : kGroupSame;
}

// Appends the keys in view below an open one. Those of closed keys are passed over in one step.
void AppendBelow(const CompareTree& tree, uint32_t key, std::vector<uint32_t>& rows) {
  for (uint32_t at = key + 1; at < tree.keys[key].end;) {
    const bool shown = IsShown(tree, at);
    if (shown) rows.push_back(at);
    at = shown && tree.open[at] ? at + 1 : tree.keys[at].end;
  }
}

void MakeRows(CompareTree& tree) {
  tree.rows.clear();
  if (tree.keys.empty()) return;
  tree.rows.push_back(0);
  if (tree.open[0]) AppendBelow(tree, 0, tree.rows);
}

bool IsWanted(const CompareTree& tree, uint32_t key) {
  const uint8_t group = tree.groups[key];
  return group != kGroupSame && (tree.filter == kEveryGroup || (group & tree.filter) != 0);
}

}  // namespace

// Two passes: parents come before their keys, so depths are found forwards and what is below
// backwards.
CompareTree MakeCompareTree(ComparedKeys keys, bool times) {
  CompareTree tree;
  tree.keys = std::move(keys);
  const size_t count = tree.keys.size();
  tree.groups.resize(count);
  tree.depths.resize(count);
  tree.open.resize(count);
  for (size_t i = 0; i < count; ++i) {
    const ComparedKey& key = tree.keys[i];
    tree.groups[i] = GroupOf(key, times);
    if (key.parent != kNoItem) tree.depths[i] = tree.depths[key.parent] + 1;
  }
  tree.below.resize(count);
  for (size_t i = count; i-- > 1;) {
    uint8_t& above = tree.below[tree.keys[i].parent];
    above = static_cast<uint8_t>(above | tree.groups[i] | tree.below[i]);
  }
  if (count != 0) tree.open[0] = true;
  MakeRows(tree);
  return tree;
}

bool OpenRow(CompareTree& tree, size_t row) {
  if (row >= tree.rows.size()) return false;
  const uint32_t key = tree.rows[row];
  if (tree.open[key] || !CanOpen(tree, key)) return false;
  tree.open[key] = true;
  std::vector<uint32_t> below;
  AppendBelow(tree, key, below);
  tree.rows.insert(tree.rows.begin() + static_cast<std::ptrdiff_t>(row) + 1, below.begin(),
                   below.end());
  return true;
}

bool CloseRow(CompareTree& tree, size_t row) {
  if (row >= tree.rows.size() || !tree.open[tree.rows[row]]) return false;
  const uint32_t key = tree.rows[row];
  tree.open[key] = false;
  // Keys below one have the numbers up to its end, and rows ascend: they are one stretch.
  const auto first = tree.rows.begin() + static_cast<std::ptrdiff_t>(row) + 1;
  const auto last = std::lower_bound(first, tree.rows.end(), tree.keys[key].end);
  tree.rows.erase(first, last);
  return true;
}

void SetFilter(CompareTree& tree, uint8_t groups) {
  tree.filter = groups;
  MakeRows(tree);
}

size_t RowOfKey(const CompareTree& tree, uint32_t key) {
  for (uint32_t at = key; at != kNoItem; at = tree.keys[at].parent) {
    const auto found = std::ranges::lower_bound(tree.rows, at);
    if (found != tree.rows.end() && *found == at) {
      return static_cast<size_t>(found - tree.rows.begin());
    }
  }
  return 0;
}

size_t ShowKey(CompareTree& tree, uint32_t key) {
  if (key >= tree.keys.size() || !IsShown(tree, key)) return tree.rows.size();
  bool all_open = true;
  for (uint32_t at = tree.keys[key].parent; at != kNoItem; at = tree.keys[at].parent) {
    all_open = all_open && tree.open[at];
    tree.open[at] = true;
  }
  if (!all_open) MakeRows(tree);
  return RowOfKey(tree, key);
}

uint32_t NextDifference(const CompareTree& tree, uint32_t key) {
  const auto count = static_cast<uint32_t>(tree.keys.size());
  const uint32_t first = key == kNoItem ? 0 : key + 1;
  for (uint32_t at = first; at < count; ++at) {
    if (IsWanted(tree, at)) return at;
  }
  return kNoItem;
}

uint32_t PreviousDifference(const CompareTree& tree, uint32_t key) {
  const auto count = static_cast<uint32_t>(tree.keys.size());
  for (uint32_t at = std::min(key, count); at-- > 0;) {
    if (IsWanted(tree, at)) return at;
  }
  return kNoItem;
}

// A key whose time alone differs counts as the same unless times are heeded; its text tells of the
// time all the same.
std::string DifferenceText(const CompareTree& tree, uint32_t key) {
  constexpr std::pair<KeyDifference, const char*> kWords[] = {{kDiffersInValues, "values"},
                                                              {kDiffersInClass, "class"},
                                                              {kDiffersInSecurity, "security"},
                                                              {kDiffersInFlags, "flags"},
                                                              {kDiffersInTime, "time"}};
  const uint8_t differs = tree.keys[key].differs;
  const char* const twin = (differs & kDiffersByName) != 0 ? ", duplicate name" : "";
  if ((differs & kDiffersOnlyInA) != 0) return std::string("only in A") + twin;
  if ((differs & kDiffersOnlyInB) != 0) return std::string("only in B") + twin;
  std::string text;
  for (const auto& [bit, word] : kWords) {
    if ((differs & bit) == 0) continue;
    text += text.empty() ? "" : ", ";
    text += word;
  }
  const bool below = tree.groups[key] == kGroupSame && tree.below[key] != kGroupSame;
  if (tree.groups[key] == kGroupDifferent) return "different: " + text;
  if (below) return text.empty() ? "different below" : "different below; " + text;
  return text;
}

const std::vector<CompareCommand>& CompareCommands() {
  static const std::vector<CompareCommand> commands = {
      {CompareAct::kList, "&File", "&List of differences"},
      {CompareAct::kScriptToB, "&File", "Save script that makes &B of A..."},
      {CompareAct::kScriptToA, "&File", "Save script that makes &A of B..."},
      {CompareAct::kClose, "&File", "&Close\tEsc", kKeyEscape, 0},
      {CompareAct::kShowAll, "&Show", "&All keys"},
      {CompareAct::kShowOnlyA, "&Show", "Only in &A"},
      {CompareAct::kShowOnlyB, "&Show", "Only in &B"},
      {CompareAct::kShowDifferent, "&Show", "&Different"},
      {CompareAct::kNext, "&Go", "&Next difference\tF8", kKeyF8, 0},
      {CompareAct::kPrevious, "&Go", "&Previous difference\tShift+F8", kKeyF8, kWithShift},
      {CompareAct::kGoToTree, "&Go", "Go to &Tree\tCtrl+T", 'T', kWithControl}};
  return commands;
}

bool FilterOfAct(CompareAct act, uint8_t& filter) {
  constexpr std::pair<CompareAct, uint8_t> kFilters[] = {
      {CompareAct::kShowAll, kEveryGroup},
      {CompareAct::kShowOnlyA, kGroupOnlyA},
      {CompareAct::kShowOnlyB, kGroupOnlyB},
      {CompareAct::kShowDifferent, kGroupDifferent}};
  const auto found = std::ranges::find(kFilters, act, &std::pair<CompareAct, uint8_t>::first);
  if (found == std::end(kFilters)) return false;
  filter = found->second;
  return true;
}

}  // namespace hivequarry

// Two compared hives as one tree, as a window shows it: which keys are in view, one below the
// other, and the way from one difference to the next. Rows are made when a key is opened.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "reports/compared_keys.h"
#include "reports/hive_compare.h"

namespace hivequarry {

// Which keys are shown: those of one of these groups with the keys above them. A set, a bit each.
enum CompareGroup : uint8_t {
  kGroupSame = 0,
  kGroupOnlyA = 1,
  kGroupOnlyB = 2,
  kGroupDifferent = 4,
};
inline constexpr uint8_t kEveryGroup = 0;  // as a filter: all keys, the same ones too

// The tree of a comparison as it is shown. Vectors are by the key's number in `keys` where nothing
// else is said.
struct CompareTree {
  ComparedKeys keys;
  std::vector<uint8_t> groups;   // of each key
  std::vector<uint8_t> below;    // of all below each key, together
  std::vector<uint32_t> depths;  // of each key, 0 for the first
  std::vector<bool> open;        // by the user; of keys that are shown or not
  uint8_t filter = kEveryGroup;  // groups
  std::vector<uint32_t> rows;    // numbers of the keys in view, ascending as a walk goes
};

// The first key is open. With `times` a key that differs in its time alone is different.
CompareTree MakeCompareTree(ComparedKeys keys, bool times);

// Whether the filter lets a key pass, by itself or for what is below it; not whether it is in view.
inline bool IsShown(const CompareTree& tree, uint32_t key) {
  const uint8_t groups = tree.groups[key] | tree.below[key];
  return tree.filter == kEveryGroup || (groups & tree.filter) != 0;
}
// True when something below the key is shown once it is open.
inline bool CanOpen(const CompareTree& tree, uint32_t key) {
  if (tree.filter == kEveryGroup) return tree.keys[key].end > key + 1;
  return (tree.below[key] & tree.filter) != 0;
}

// The key of a row opened, or closed; no other row's key changes but for those below it. False when
// there was nothing to do. Linear in the rows after it.
bool OpenRow(CompareTree& tree, size_t row);
bool CloseRow(CompareTree& tree, size_t row);
// Chooses the groups that are shown; keys that are open stay so. At most linear in the keys.
void SetFilter(CompareTree& tree, uint8_t groups);
// Opens the keys above one that the filter lets pass; its row, or the number of rows when the
// filter does not.
size_t ShowKey(CompareTree& tree, uint32_t key);
// The row of a key in view, else that of the nearest key above it that is.
size_t RowOfKey(const CompareTree& tree, uint32_t key);

// The next key after this one, or the last before it, in the order of the whole tree, that is of a
// group that the filter shows and not the same; kNoItem when there is none. Linear in the keys that
// are passed. A `key` of kNoItem: from the first on, or from the last one back.
uint32_t NextDifference(const CompareTree& tree, uint32_t key);
uint32_t PreviousDifference(const CompareTree& tree, uint32_t key);

// "only in A", "different: values, security", "different below"; empty for a key that is the same
// with all below it.
std::string DifferenceText(const CompareTree& tree, uint32_t key);

// The commands of such a window.
enum class CompareAct : int {
  kShowAll = 1,
  kShowOnlyA,
  kShowOnlyB,
  kShowDifferent,
  kNext,
  kPrevious,
  kGoToTree,
  kList,
  kScriptToB,
  kScriptToA,
  kClose,
  kEnd
};
struct CompareCommand {
  CompareAct act;
  const char* menu;
  const char* text;  // the keys after a tab
  uint16_t key = 0;
  uint8_t modifiers = 0;  // kWithControl and the like
};
// In the order of the menus; made once, and there as long as the program runs.
const std::vector<CompareCommand>& CompareCommands();
// The filter that an act chooses; false for an act that chooses none.
bool FilterOfAct(CompareAct act, uint8_t& filter);

}  // namespace hivequarry

#include "reports/control_sets.h"

#include <vector>

#include "hive/values.h"
#include "host/case.h"
#include "host/number_text.h"
#include "reports/report_run.h"
#include "words/item_values.h"

namespace hivequarry {
namespace {

constexpr std::string_view kSet = "ControlSet";
constexpr std::string_view kCurrentSet = "CurrentControlSet";
constexpr size_t kDigits = 3;
constexpr int kMostLevels = 512;  // that a registry's keys are nested

// True when nothing tells what lies above the item, or that is the top of the hive.
bool IsTop(const KeyTree& tree, uint32_t item) {
  const uint32_t parent = tree.items[item].parent;
  if (parent == kNoItem || parent == 0) return true;
  const KeyItem& above = tree.items[parent];
  return above.kind == ItemKind::kDisconnectedKeys || HasMadeName(tree, above);
}

// The item's ancestor, or itself, that is a control set; kNoItem for none.
uint32_t SetAround(const HiveImage& hive, const KeyTree& tree, uint32_t item) {
  for (int level = 0; level < kMostLevels && item < tree.items.size(); ++level) {
    const uint32_t at = item;
    item = tree.items[at].parent;
    if (!IsKeyOrCopy(tree, at) || !IsTop(tree, at)) continue;
    const std::string path = ItemName(hive, tree, at);
    const std::string_view name = LastName(path);  // the root's text is a path
    const bool numbered = ControlSetNumber(name).value_or(0) != 0;
    if (numbered || EqualIgnoringCase(name, kCurrentSet)) return at;
  }
  return kNoItem;
}

// A recovered "Select" does not say which set is current: it may be of another time.
uint32_t SelectKey(const HiveImage& hive, const KeyTree& tree, uint32_t above) {
  if (above >= tree.items.size()) return kNoItem;
  for (uint32_t child = FirstChild(tree, above); child != kNoItem;
       child = NextSibling(tree, child)) {
    const bool live = HasKeyCell(tree, child) && tree.items[child].connected;
    if (live && EqualIgnoringCase(ItemName(hive, tree, child), "Select")) return child;
  }
  return kNoItem;
}

void AddWord(std::string& words, bool fits, std::string_view word) {
  if (!fits) return;
  if (!words.empty()) words += ", ";
  words += word;
}

}  // namespace

std::optional<uint32_t> ControlSetNumber(std::string_view name) {
  if (name.size() != kSet.size() + kDigits || !StartsIgnoringCase(name, kSet)) return std::nullopt;
  uint32_t number = 0;
  for (const char digit : name.substr(kSet.size())) {
    if (digit < '0' || digit > '9') return std::nullopt;
    number = number * 10 + static_cast<uint32_t>(digit - '0');
  }
  return number;
}

ControlSets ReadControlSets(const HiveImage& hive, const KeyTree& tree, uint32_t above) {
  ControlSets sets;
  const uint32_t select = SelectKey(hive, tree, above);
  if (select == kNoItem) return sets;
  std::vector<uint8_t> data;
  for (const uint32_t position : ListedValues(hive, tree.items[select].position)) {
    const ValueKey value = ReadValueKey(hive, position, ValueRead::kData, sizeof(uint32_t), &data);
    if (value.status != ValueStatus::kRead || value.type != kRegDword || data.size() != 4) continue;
    const uint32_t number = LoadU32(data.data());
    if (EqualIgnoringCase(value.name, "Current")) sets.current = number;
    if (EqualIgnoringCase(value.name, "LastKnownGood")) sets.last_known_good = number;
    if (EqualIgnoringCase(value.name, "Failed")) sets.failed = number;
  }
  return sets;
}

std::string WithControlSet(const HiveImage& hive, const KeyTree& tree, const std::string& path) {
  constexpr std::string_view kCurrent = "CurrentControlSet";
  const std::string_view rest = std::string_view(path).substr(path.starts_with('\\') ? 1 : 0);
  const bool current = StartsIgnoringCase(rest, kCurrent) &&
                       (rest.size() == kCurrent.size() || rest[kCurrent.size()] == '\\');
  const ControlSets sets = current ? ReadControlSets(hive, tree) : ControlSets();
  if (sets.current == 0) return path;
  return Concat({"\\ControlSet", Decimal(sets.current, 3), rest.substr(kCurrent.size())});
}

uint32_t ControlSetOf(const HiveImage& hive, const KeyTree& tree, uint32_t item) {
  const uint32_t set = SetAround(hive, tree, item);
  if (set == kNoItem) return 0;
  const std::string path = ItemName(hive, tree, set);
  return ControlSetNumber(LastName(path)).value_or(0);
}

std::string ControlSetWords(const ControlSets& sets, uint32_t number) {
  if (number == 0) return {};
  std::string words;
  AddWord(words, sets.current == 0, "unknown");
  AddWord(words, sets.current == number, "current");
  AddWord(words, sets.last_known_good == number, "last known good");
  AddWord(words, sets.failed == number, "failed");
  return words;
}

std::string ControlSetWordsOf(const HiveImage& hive, const KeyTree& tree, const ControlSets& sets,
                              uint32_t item) {
  const uint32_t set = SetAround(hive, tree, item);
  if (set == kNoItem) return {};
  const uint32_t number = ControlSetOf(hive, tree, set);
  return number == 0 ? "current" : ControlSetWords(sets, number);
}

}  // namespace hivequarry

#include "reports/key_source.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "hive/file_place.h"
#include "hive/keys.h"
#include "hive/layer_stack.h"
#include "hive/root_path.h"
#include "hive/values.h"
#include "host/case.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "host/visible_text.h"
#include "lists/list_rows.h"
#include "reports/control_sets.h"
#include "words/item_values.h"

namespace hivequarry {
namespace {

// Finds keys by path. The subkeys of a key are looked through once, however often one of them is
// asked for.
class KeyFinder {
 public:
  KeyFinder(const HiveImage& hive, const KeyTree& tree)
      : hive_(hive), tree_(tree), root_(ItemName(hive, tree, 0)) {}

  // The first child of that name, kNoItem for none.
  uint32_t Child(uint32_t parent, std::string_view name) {
    if (!known_.contains(parent)) LookThrough(parent);
    return ChildAt(parent, CapitalsOfText(name), kNoItem);
  }

  // The item of a whole path, kNoItem for none.
  uint32_t Find(std::string_view path) {
    if (!path.starts_with(root_)) return kNoItem;
    path.remove_prefix(root_.size());
    uint32_t item = 0;
    while (!path.empty() && item != kNoItem) {
      if (path.front() != '\\') return kNoItem;
      path.remove_prefix(1);
      item = DescendToChild(item, path);
    }
    return item;
  }

 private:
  // The child that the path begins with; the path moves after it. A name may itself hold
  // backslashes.
  uint32_t DescendToChild(uint32_t parent, std::string_view& path) {
    // Of one name. Each is tried as the end of it, so the bound keeps a path of backslashes from
    // costing its length squared.
    constexpr int kMostBackslashes = 8;
    size_t end = 0;
    for (int tries = 0; tries <= kMostBackslashes && end < path.size(); ++tries) {
      end = std::min(path.find('\\', tries == 0 ? 0 : end + 1), path.size());
      const uint32_t child = Child(parent, path.substr(0, end));
      if (child == kNoItem) continue;
      path.remove_prefix(end);
      return child;
    }
    return kNoItem;
  }

  // Once for each key that is asked about.
  void LookThrough(uint32_t parent) {
    known_.insert(parent);
    for (uint32_t child = FirstChild(tree_, parent); child != kNoItem && !StopRequested();
         child = NextSibling(tree_, child)) {
      ChildAt(parent, CapitalsOfText(ItemName(hive_, tree_, child)), child);
    }
  }

  // The first child of that name. When none is known, `child` is from now on, unless it is kNoItem.
  // Hashes of parent and name are the table's keys; where two meet the next number is tried, and
  // the item itself tells whether it is the one. So no name is stored.
  uint32_t ChildAt(uint32_t parent, const std::string& capitals, uint32_t child) {
    constexpr uint64_t kSpread = 0x9E3779B97F4A7C15;
    for (uint64_t at = std::hash<std::string>()(capitals) ^ (parent + 1) * kSpread;; ++at) {
      const auto found = children_.find(at);
      if (found == children_.end()) {
        if (child != kNoItem) children_.emplace(at, child);
        return child;
      }
      const uint32_t there = found->second;
      const bool same = tree_.items[there].parent == parent &&
                        CapitalsOfText(ItemName(hive_, tree_, there)) == capitals;
      if (same) return there;
    }
  }

  const HiveImage& hive_;
  const KeyTree& tree_;
  std::string root_;
  std::unordered_set<uint32_t> known_;               // keys whose subkeys are in the table
  std::unordered_map<uint64_t, uint32_t> children_;  // by parent and name
};

class HiveKeys : public HiveKeySource {
 public:
  HiveKeys(const HiveImage& hive, const KeyTree& tree)
      : hive_(hive),
        tree_(tree),
        paths_(hive, tree),
        finder_(hive, tree),
        sets_(ReadControlSets(hive, tree)) {}

  // Values of the key before are gone; none are given until NextKey.
  void BeginAt(uint32_t item, uint32_t level) override {
    start_ = next_ = item;
    first_level_ = level;
    end_ = item < tree_.items.size() ? tree_.items[item].end : item;
    levels_.clear();
    values_.clear();
    values_known_ = true;
    next_value_ = 0;
  }

  bool NextKey(SourceKey& key) override {
    values_known_ = false;
    while (next_ < end_ && !StopRequested()) {
      at_ = next_++;
      if (tree_.items[at_].hidden) {
        next_ = tree_.items[at_].end;
        continue;
      }
      key.name = ItemName(hive_, tree_, at_);
      key.level = EnterLevel();
      key.path = paths_.PathOf(at_);
      if (!IsGiven()) continue;
      FillKey(key);
      return true;
    }
    return false;
  }

  void SkipChildren() override { next_ = std::max(next_, tree_.items[at_].end); }

  bool NextValue(SourceValue& value) override {
    if (!values_known_) ListValues();
    while (next_value_ < values_.size() &&
           !MayShowValue(hive_, values_[next_value_], data_budget_)) {
      ++next_value_;
    }
    if (next_value_ >= values_.size() || StopRequested()) return false;
    ReadValue(values_[next_value_++], value);
    return true;
  }

  bool FindValue(std::string_view name, SourceValue& value) override {
    if (!values_known_) ListValues();
    return FindAmong(values_, name, value);
  }

  void OrderValues(const std::function<size_t(const std::string& name)>& rank) override {
    if (!values_known_) ListValues();
    std::vector<std::pair<size_t, uint32_t>> ranked;
    ranked.reserve(values_.size());
    for (const uint32_t position : values_) ranked.emplace_back(rank(NameAt(position)), position);
    std::ranges::stable_sort(ranked, {}, [](const auto& value) { return value.first; });
    for (size_t i = 0; i < values_.size(); ++i) values_[i] = ranked[i].second;
  }

  bool FindChildValue(std::string_view child, std::string_view name, SourceValue& value) override {
    const uint32_t item = finder_.Child(at_, child);
    return item != kNoItem && HasKeyCell(tree_, item) &&
           FindAmong(ListedValuesInWalk(hive_, tree_.items[item].position), name, value);
  }

  uint64_t LastWriteOf(std::string_view path) override {
    const uint32_t item = finder_.Find(path);
    return item == kNoItem ? 0 : LastWriteOfItem(item);
  }

  std::string ControlSet() override { return ControlSetWordsOf(hive_, tree_, sets_, at_); }

 private:
  std::string NameAt(uint32_t position) const {
    return ReadValueKey(hive_, position, ValueRead::kName, kMaxValueData, nullptr).name;
  }

  bool FindAmong(const std::vector<uint32_t>& values, std::string_view name, SourceValue& value) {
    for (const uint32_t position : values) {
      if (!EqualIgnoringCase(NameAt(position), name)) continue;
      ReadValue(position, value);
      return true;
    }
    return false;
  }

  void ReadValue(uint32_t position, SourceValue& value) {
    const ValueKey read = ReadValueWithin(hive_, position, data_budget_, data_);
    value.name = read.name;
    value.type = read.type;
    value.data = data_;
    value.read = read.status == ValueStatus::kRead;
    value.text = MakeValueRow(hive_, read, data_, ValueViewOptions()).data;
    value.position = position;
    value.shown_name = ShownValueName(read.name);
    value.stored_name = StoredNameFact(read);
  }

  uint32_t ShownPosition(uint32_t position) const override { return PlaceOf(hive_, position); }

  // The key that the walk begins at may be shown as a copy; others are given where they hang.
  bool IsGiven() const { return at_ == start_ ? IsKeyOrCopy(tree_, at_) : IsKeyItem(tree_, at_); }

  // Levels count keys between, hidden ones too, from `first_level_` for the first key.
  uint32_t EnterLevel() {
    while (!levels_.empty() && at_ >= levels_.back()) levels_.pop_back();
    levels_.push_back(tree_.items[at_].end);
    return first_level_ - 1 + static_cast<uint32_t>(levels_.size());
  }

  void FillKey(SourceKey& key) {
    key.position = tree_.items[at_].position;
    key.last_write = LastWriteOfItem(at_);
    key.error.clear();
    key.stored_path = paths_.StoredPathOf(at_);
  }

  uint64_t LastWriteOfItem(uint32_t item) const {
    const KeyItem& it = tree_.items[item];
    const bool has_cell = (it.marks & kVirtualMarks) == 0 && IsKeyOrCopy(tree_, item);
    return has_cell ? LastWriteOfKey(hive_, it.position) : 0;
  }

  // Of a key without a cell none.
  void ListValues() {
    values_known_ = true;
    next_value_ = 0;
    const KeyItem& it = tree_.items[at_];
    const bool has_cell = (it.marks & kVirtualMarks) == 0;
    values_ = has_cell ? ListedValuesInWalk(hive_, it.position) : std::vector<uint32_t>();
  }

  const HiveImage& hive_;
  const KeyTree& tree_;
  PathWalker paths_;
  KeyFinder finder_;
  ControlSets sets_;
  uint32_t start_ = 0;
  uint32_t first_level_ = 1;
  uint32_t at_ = 0;
  uint32_t next_ = 0;
  uint32_t end_ = 0;
  // Ends of the subtrees that the key given last is in, its own last.
  std::vector<uint32_t> levels_;

  bool values_known_ = true;
  std::vector<uint32_t> values_;  // positions, of the key given last
  size_t next_value_ = 0;
  DataBudget data_budget_ = MakeDataBudget(hive_);
  std::vector<uint8_t> data_;
};

}  // namespace

std::unique_ptr<HiveKeySource> KeysOfHive(const HiveImage& hive, const KeyTree& tree, uint32_t item,
                                          uint32_t level) {
  auto keys = std::make_unique<HiveKeys>(hive, tree);
  keys->BeginAt(item, level);
  return keys;
}

}  // namespace hivequarry

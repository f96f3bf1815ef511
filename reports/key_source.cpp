#include "reports/key_source.h"

#include <algorithm>
#include <unordered_map>
#include <vector>

#include "hive/file_place.h"
#include "hive/key_node.h"
#include "hive/value_key.h"
#include "host/case.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "lists/list_rows.h"
#include "recovery/item_values.h"

namespace hivequarry {
namespace {

class HiveKeys : public KeySource {
 public:
  HiveKeys(const HiveImage& hive, const KeyTree& tree, uint32_t item)
      : hive_(hive),
        tree_(tree),
        paths_(hive, tree),
        start_(item),
        next_(item),
        end_(item < tree.items.size() ? tree.items[item].end : item),
        value_budget_(hive.length / 4) {}

  bool NextKey(SourceKey& key) override {
    values_known_ = false;
    while (next_ < end_ && !StopRequested()) {
      at_ = next_++;
      if (tree_.items[at_].hidden) {
        next_ = tree_.items[at_].end;
        continue;
      }
      key.name = ItemName(hive_, tree_, at_);
      key.level = EnterLevel(key.name);
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
    if (next_value_ >= values_.size() || StopRequested()) return false;
    const uint32_t position = values_[next_value_++];
    const ValueKey read = ReadValueWithin(hive_, position, data_budget_, data_);
    value.name = read.name;
    value.type = read.type;
    value.data = data_;
    value.read = read.status == ValueStatus::kRead;
    value.text = MakeValueRow(hive_, read, data_, ValueViewOptions()).data;
    value.position = position;
    value.utf8_name = LosslessName(hive_, read);
    return true;
  }

  uint32_t ShownPosition(uint32_t position) const override { return PlaceOf(hive_, position); }
  uint64_t LastWriteOf(std::string_view path) override {
    const size_t split = path.rfind('\\');
    if (split == std::string_view::npos) return 0;
    if (path.substr(0, split) != children_of_) ReadChildren(path.substr(0, split));
    const auto found = children_.find(Capitals(capitals_, path.substr(split + 1)));
    return found == children_.end() ? 0 : LastWriteOfItem(found->second);
  }

 private:
  struct Level {
    uint32_t end;  // of the subtree
    bool lossy;    // the path so far has lost something
  };

  // The key that the walk begins at may be shown as a copy; others are given where they hang.
  bool IsGiven() const { return at_ == start_ ? IsKeyOrCopy(tree_, at_) : IsKeyItem(tree_, at_); }

  uint32_t EnterLevel(std::string_view name) {
    while (!levels_.empty() && at_ >= levels_.back().end) levels_.pop_back();
    const bool lossy = levels_.empty() ? PathIsLossy() : levels_.back().lossy || IsLossy(name);
    levels_.push_back({tree_.items[at_].end, lossy});
    return static_cast<uint32_t>(levels_.size());
  }

  bool IsLossy(std::string_view name) const {
    return !IsPlainText(name) && ItemNameUtf8(hive_, tree_, at_) != Utf8FromNarrow(name);
  }

  bool PathIsLossy() const {
    bool lossy = false;
    ItemPathUtf8(hive_, tree_, at_, &lossy);
    return lossy;
  }

  void FillKey(SourceKey& key) const {
    key.position = tree_.items[at_].position;
    key.last_write = LastWriteOfItem(at_);
    key.error.clear();
    key.utf8_path.clear();
    if (levels_.back().lossy) key.utf8_path = ItemPathUtf8(hive_, tree_, at_, nullptr);
  }

  uint64_t LastWriteOfItem(uint32_t item) const {
    const KeyItem& it = tree_.items[item];
    const bool has_cell = (it.marks & kVirtualMarks) == 0 && IsKeyOrCopy(tree_, item);
    return has_cell ? ReadU64(hive_, it.position + kKeyLastWrite) : 0;
  }

  void ListValues() {
    values_known_ = true;
    next_value_ = 0;
    const KeyItem& it = tree_.items[at_];
    const bool has_cell = (it.marks & kVirtualMarks) == 0;
    // Value lists shared by many keys are listed at each of them, within what one list each would
    // take at most.
    values_ = has_cell ? ListedValues(hive_, it.position, value_budget_) : std::vector<uint32_t>();
  }

  void ReadChildren(std::string_view path) {
    children_of_ = path;
    children_.clear();
    const uint32_t parent = FindItemByPath(hive_, tree_, path);
    if (parent == kNoItem) return;
    for (uint32_t child = FirstChild(tree_, parent); child != kNoItem;
         child = NextSibling(tree_, child)) {
      children_.emplace(Capitals(capitals_, ItemName(hive_, tree_, child)), child);
    }
  }

  const HiveImage& hive_;
  const KeyTree& tree_;
  PathWalker paths_;
  uint32_t start_;
  uint32_t at_ = 0;
  uint32_t next_;
  uint32_t end_;
  std::vector<Level> levels_;  // from the starting key down to the key given last

  bool values_known_ = true;
  std::vector<uint32_t> values_;  // positions, of the key given last
  size_t next_value_ = 0;
  uint32_t value_budget_;
  DataBudget data_budget_ = MakeDataBudget(hive_);
  std::vector<uint8_t> data_;

  CaseTable capitals_ = CurrentCapitals();
  std::string children_of_;  // the key whose subkeys are known
  std::unordered_map<std::string, uint32_t> children_;
};

}  // namespace

std::unique_ptr<KeySource> KeysOfHive(const HiveImage& hive, const KeyTree& tree, uint32_t item) {
  return std::make_unique<HiveKeys>(hive, tree, item);
}

}  // namespace hivequarry

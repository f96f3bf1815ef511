#include "reports/key_source.h"

#include <algorithm>
#include <unordered_map>
#include <vector>

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
  HiveKeys(const HiveImage& hive, const KeyTree& tree, uint32_t item, uint32_t level)
      : hive_(hive),
        tree_(tree),
        paths_(hive, tree),
        start_(item),
        first_level_(level),
        next_(item),
        end_(item < tree.items.size() ? tree.items[item].end : item) {}

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

  uint64_t LastWriteOf(std::string_view path) override {
    const size_t split = path.rfind('\\');
    if (split == std::string_view::npos) return 0;
    if (path.substr(0, split) != children_of_) ReadChildren(path.substr(0, split));
    const auto found = children_.find(Capitals(capitals_, path.substr(split + 1)));
    return found == children_.end() ? 0 : LastWriteOfItem(found->second);
  }

 private:
  // The key that the walk begins at may be shown as a copy; others are given where they hang.
  bool IsGiven() const { return at_ == start_ ? IsKeyOrCopy(tree_, at_) : IsKeyItem(tree_, at_); }

  uint32_t EnterLevel() {
    while (!levels_.empty() && at_ >= levels_.back()) levels_.pop_back();
    levels_.push_back(tree_.items[at_].end);
    return first_level_ - 1 + static_cast<uint32_t>(levels_.size());
  }

  void FillKey(SourceKey& key) {
    key.position = tree_.items[at_].position;
    key.last_write = LastWriteOfItem(at_);
    key.error.clear();
    key.utf8_path = paths_.LosslessOf(at_);
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
    values_ = has_cell ? ListedValuesInWalk(hive_, it.position) : std::vector<uint32_t>();
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
  uint32_t first_level_;
  uint32_t at_ = 0;
  uint32_t next_;
  uint32_t end_;
  std::vector<uint32_t>
      levels_;  // ends of the subtrees that the key given last is in, its own last

  bool values_known_ = true;
  std::vector<uint32_t> values_;  // positions, of the key given last
  size_t next_value_ = 0;
  DataBudget data_budget_ = MakeDataBudget(hive_);
  std::vector<uint8_t> data_;

  CaseTable capitals_ = CurrentCapitals();
  std::string children_of_;  // the key whose subkeys are known
  std::unordered_map<std::string, uint32_t> children_;
};

}  // namespace

std::unique_ptr<KeySource> KeysOfHive(const HiveImage& hive, const KeyTree& tree, uint32_t item,
                                      uint32_t level) {
  return std::make_unique<HiveKeys>(hive, tree, item, level);
}

}  // namespace hivequarry

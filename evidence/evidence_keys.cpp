#include "evidence/evidence_keys.h"

#include <algorithm>

#include "hive/keys.h"
#include "host/case.h"
#include "host/long_operation.h"
#include "host/visible_text.h"
#include "lists/list_rows.h"
#include "records/key_node.h"
#include "recovery/freed_records.h"
#include "words/item_values.h"
#include "words/value_text.h"

namespace hivequarry {
namespace {

// Rows of a multimap under one key, in order: so that lists don't depend on its hashes.
std::vector<uint32_t> RowsUnder(const std::unordered_multimap<uint32_t, uint32_t>& map,
                                uint32_t position) {
  std::vector<uint32_t> rows;
  const auto [first, last] = map.equal_range(position);
  for (auto at = first; at != last; ++at) rows.push_back(at->second);
  std::ranges::sort(rows);
  return rows;
}

}  // namespace

const char* StateWord(EvidenceState state) {
  constexpr const char* kWords[] = {"live", "recovered", "freed", "removed by the logs",
                                    "changed by the logs"};
  return kWords[static_cast<size_t>(state)];
}

EvidenceKeys::EvidenceKeys(const HiveImage& hive, const KeyTree& tree, FreedSource* freed)
    : hive_(hive), tree_(tree), freed_(freed), paths_(hive, tree), budget_(MakeDataBudget(hive)) {
  NoteCopies();
  NoteFreed();
}

// A key below a path copy has the connected key itself as its parent (ParentOf), so that the
// children of both are given together.
void EvidenceKeys::NoteCopies() {
  if (tree_.disconnected_keys >= tree_.items.size()) return;
  const uint32_t end = tree_.items[tree_.disconnected_keys].end;
  for (uint32_t item = tree_.disconnected_keys; item < end; ++item) {
    const KeyItem& it = tree_.items[item];
    if (it.kind == ItemKind::kPathCopy) copies_.emplace(it.position, item);
  }
}

// A parent field that leads to a key of the tree or to another freed one counts alike: both are
// found by the position of the parent's cell. Keys whose parents go round in a circle hang nowhere
// and are loose.
void EvidenceKeys::NoteFreed() {
  if (freed_ == nullptr) return;
  const FreedRecords& records = freed_->records;
  for (uint32_t row = 0; row < records.keys.size(); ++row) {
    const FreedKey& key = records.keys[row];
    if (key.parent != kNoOffset && !key.in_circle) freed_children_.emplace(key.parent, row);
  }
  for (uint32_t row = 0; row < records.values.size(); ++row) {
    const FreedValue& value = records.values[row];
    if (value.key != kNoOffset) freed_values_.emplace(value.key, row);
  }
}

std::string EvidenceKeys::NameOf(EvidenceKey key) const {
  if (key == kNoEvidenceKey) return {};
  return IsFreed(key) ? StoredFreedKeyName(hive_, FreedOf(key)) : StoredItemName(hive_, tree_, key);
}

std::string EvidenceKeys::PathOf(EvidenceKey key) {
  if (key == kNoEvidenceKey) return {};
  return IsFreed(key) ? FreedPathTextsOf(*freed_, FreedOf(key).position).path : paths_.PathOf(key);
}

std::string EvidenceKeys::StoredPathOf(EvidenceKey key) {
  if (key == kNoEvidenceKey) return {};
  return IsFreed(key) ? FreedPathTextsOf(*freed_, FreedOf(key).position).stored
                      : paths_.StoredPathOf(key);
}

uint32_t EvidenceKeys::PositionOf(EvidenceKey key) const {
  if (key == kNoEvidenceKey) return kNoOffset;
  return IsFreed(key) ? FreedOf(key).position : tree_.items[key].position;
}

uint64_t EvidenceKeys::LastWriteOf(EvidenceKey key) const {
  if (key == kNoEvidenceKey) return 0;
  if (!IsFreed(key)) return hivequarry::LastWriteOf(hive_, tree_, key);
  return ReadU64(hive_, FreedOf(key).position + kKeyLastWrite);
}

EvidenceState EvidenceKeys::StateOf(EvidenceKey key) const {
  if (IsFreed(key)) return EvidenceState::kFreed;
  return IsRecovered(tree_, key) ? EvidenceState::kRecovered : EvidenceState::kLive;
}

EvidenceKey EvidenceKeys::ParentOf(EvidenceKey key) const {
  if (key == kNoEvidenceKey) return key;
  if (!IsFreed(key)) {
    const uint32_t parent = tree_.items[key].parent;
    if (parent == kNoItem || parent == tree_.disconnected_keys) return kNoEvidenceKey;
    // A path copy stands for the key that it copies.
    if (tree_.items[parent].kind != ItemKind::kPathCopy) return parent;
    return ItemOfPosition(tree_, tree_.items[parent].position);
  }
  const FreedKey& freed = FreedOf(key);
  if (freed.parent == kNoOffset || freed.in_circle) return kNoEvidenceKey;
  if (freed.parent_row != kNoItem)
    return static_cast<uint32_t>(tree_.items.size()) + freed.parent_row;
  return ItemOfPosition(tree_, freed.parent);
}

bool EvidenceKeys::IsFreedBelow(EvidenceKey key, uint32_t item) const {
  return hivequarry::IsFreedBelow(tree_, freed_->records, FreedOf(key).position, item);
}

// Those of the tree in its order, then those below its copy among what is not connected, then freed
// ones by their rows.
std::vector<EvidenceKey> EvidenceKeys::ChildrenOf(EvidenceKey key) const {
  std::vector<EvidenceKey> children;
  if (key == kNoEvidenceKey) return children;
  const auto add_items = [&](uint32_t parent) {
    for (uint32_t child = FirstChild(tree_, parent); child != kNoItem && !StopRequested();
         child = NextSibling(tree_, child)) {
      if (IsKeyItem(tree_, child)) children.push_back(child);
    }
  };
  const uint32_t position = PositionOf(key);
  if (!IsFreed(key)) {
    add_items(key);
    const auto copy = copies_.find(position);
    if (copy != copies_.end() && copy->second != key) add_items(copy->second);
  }
  for (const uint32_t row : RowsUnder(freed_children_, position)) {
    children.push_back(static_cast<uint32_t>(tree_.items.size()) + row);
  }
  return children;
}

// The first of that name, so a live key before a freed one. A key's children are looked through
// once.
EvidenceKey EvidenceKeys::ChildNamed(EvidenceKey key, std::string_view name) {
  if (key == kNoEvidenceKey) return key;
  const auto [known, is_new] = named_.try_emplace(key);
  if (is_new) {
    for (const EvidenceKey child : ChildrenOf(key)) {
      known->second.emplace(CapitalsOfText(NameOf(child)), child);
    }
  }
  const auto found = known->second.find(CapitalsOfText(name));
  return found == known->second.end() ? kNoEvidenceKey : found->second;
}

EvidenceKey EvidenceKeys::Below(EvidenceKey key, std::string_view path) {
  while (key != kNoEvidenceKey && !path.empty()) {
    const size_t end = std::min(path.find('\\'), path.size());
    key = ChildNamed(key, path.substr(0, end));
    path.remove_prefix(std::min(end + 1, path.size()));
  }
  return key;
}

const std::vector<EvidenceKey>& EvidenceKeys::LooseKeys() {
  if (loose_known_) return loose_;
  loose_known_ = true;
  if (tree_.disconnected_keys < tree_.items.size()) {
    const uint32_t end = tree_.items[tree_.disconnected_keys].end;
    for (uint32_t item = tree_.disconnected_keys + 1; item < end && !StopRequested(); ++item) {
      const uint32_t parent = tree_.items[item].parent;
      const bool loose =
          parent == tree_.disconnected_keys || HasMadeName(tree_, tree_.items[parent]);
      if (loose && IsKeyItem(tree_, item)) loose_.push_back(item);
    }
  }
  if (freed_ == nullptr) return loose_;
  for (uint32_t row = 0; row < freed_->records.keys.size(); ++row) {
    const FreedKey& key = freed_->records.keys[row];
    if (key.parent != kNoOffset && !key.in_circle) continue;
    loose_.push_back(static_cast<uint32_t>(tree_.items.size()) + row);
  }
  return loose_;
}

EvidenceValue EvidenceKeys::ReadLive(uint32_t position) {
  EvidenceValue value;
  const ValueKey read = ReadValueWithin(hive_, position, budget_, value.data);
  value.name = read.name;
  value.shown_name = ShownValueName(read.name);
  value.stored_name = StoredNameFact(read);
  value.type = read.type;
  value.position = position;
  value.read = read.status == ValueStatus::kRead;
  if (!value.read) {
    value.why = ValueDataText(read, value.data);
    value.data.clear();
  }
  return value;
}

EvidenceValue EvidenceKeys::ReadFreed(uint32_t row) {
  const FreedValue& freed = freed_->records.values[row];
  FreedContent content = ReadFreedContent(*freed_, freed, FreedData::kAll);
  EvidenceValue value;
  value.name = content.value.name;
  value.shown_name = ShownValueName(value.name);
  value.stored_name = StoredNameFact(content.value);
  value.type = content.value.type;
  value.position = freed.position;
  value.freed = true;
  value.in_use = content.in_use;
  value.read = content.value.status == ValueStatus::kRead;
  if (value.read) {
    value.data = std::move(content.data);
  } else {
    value.why = ValueDataText(content.value, content.data);
  }
  return value;
}

std::vector<EvidenceValue> EvidenceKeys::ValuesOf(EvidenceKey key) {
  std::vector<EvidenceValue> values;
  if (key == kNoEvidenceKey) return values;
  const uint32_t position = PositionOf(key);
  if (!IsFreed(key) && HasKeyCell(tree_, key)) {
    for (const uint32_t at : ListedValuesInWalk(hive_, position)) {
      if (StopRequested()) return values;
      values.push_back(ReadLive(at));
    }
  }
  for (const uint32_t row : RowsUnder(freed_values_, position)) {
    if (StopRequested()) return values;
    values.push_back(ReadFreed(row));
  }
  return values;
}

// A live value before a freed one; without data and with `read` false where there is none.
EvidenceValue EvidenceKeys::ValueNamed(EvidenceKey key, std::string_view name) {
  if (key == kNoEvidenceKey) return {};
  const uint32_t position = PositionOf(key);
  if (!IsFreed(key) && HasKeyCell(tree_, key)) {
    for (const uint32_t at : ListedValuesInWalk(hive_, position)) {
      const ValueKey value = ReadValueKey(hive_, at, ValueRead::kName, kMaxValueData, nullptr);
      if (EqualIgnoringCase(value.name, name)) return ReadLive(at);
    }
  }
  for (const uint32_t row : RowsUnder(freed_values_, position)) {
    EvidenceValue value = ReadFreed(row);
    if (EqualIgnoringCase(value.name, name)) return value;
  }
  return {};
}

std::vector<EvidenceValue> EvidenceKeys::LooseValues() {
  std::vector<EvidenceValue> values;
  for (const uint32_t position : tree_.disconnected_value_positions) {
    if (StopRequested()) return values;
    values.push_back(ReadLive(position));
  }
  if (freed_ == nullptr) return values;
  for (uint32_t row = 0; row < freed_->records.values.size(); ++row) {
    if (StopRequested()) return values;
    if (freed_->records.values[row].key == kNoOffset) values.push_back(ReadFreed(row));
  }
  return values;
}

const EvidenceValue* FindValue(const std::vector<EvidenceValue>& values, std::string_view name) {
  const auto found = std::ranges::find_if(
      values, [&](const EvidenceValue& value) { return EqualIgnoringCase(value.name, name); });
  return found == values.end() ? nullptr : &*found;
}

}  // namespace hivequarry

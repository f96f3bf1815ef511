#include "cases/tree_content.h"

#include <algorithm>
#include <map>
#include <optional>
#include <unordered_map>

#include "check/check.h"
#include "hive/keys.h"
#include "hive/layers.h"
#include "hive/values.h"
#include "host/case.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "host/text.h"
#include "host/visible_text.h"
#include "lists/list_rows.h"
#include "records/base_block.h"
#include "records/cell.h"
#include "records/security_cell.h"
#include "records/value_key.h"
#include "reports/freed_rows.h"
#include "security/descriptor.h"
#include "words/item_values.h"
#include "words/value_text.h"

namespace hivequarry {
namespace {

constexpr uint64_t kFirstTime = 119600064000000000;  // FILETIME of 1980-01-01
// Volatile, an exit of a hive, a hive's root: what a file's keys never are below the root.
constexpr uint16_t kFlagsOfPlace = 0x01 | 0x02 | 0x04 | kKeyNameIsBytes;

// Administrators own it, they and the system have every right, users may read; inherited by keys.
constexpr uint8_t kDefaultDescriptor[] = {
    1, 0, 0x04, 0x80, 0x60, 0, 0, 0, 0x70, 0, 0, 0, 0, 0, 0, 0, 0x14, 0, 0, 0,
    // the list: three entries
    2, 0, 0x4C, 0, 3, 0, 0, 0, 0, 2, 0x18, 0, 0x3F, 0, 0x0F, 0, 1, 2, 0, 0, 0, 0, 0, 5, 0x20, 0, 0,
    0, 0x20, 2, 0, 0, 0, 2, 0x14, 0, 0x3F, 0, 0x0F, 0, 1, 1, 0, 0, 0, 0, 0, 5, 0x12, 0, 0, 0, 0, 2,
    0x18, 0, 0x19, 0, 0x02, 0, 1, 2, 0, 0, 0, 0, 0, 5, 0x20, 0, 0, 0, 0x21, 2, 0, 0,
    // owner and group
    1, 2, 0, 0, 0, 0, 0, 5, 0x20, 0, 0, 0, 0x20, 2, 0, 0, 1, 1, 0, 0, 0, 0, 0, 5, 0x12, 0, 0, 0};

std::u16string CapitalsOf(std::u16string name) {
  for (char16_t& unit : name) unit = CapitalOf(unit);
  return name;
}

// Names that are taken among siblings; a taken one gets a number, as "name (2)".
// Numbers go on from the last one tried of a name, so that many of one name cost no more than each
// once.
struct NameSet {
  std::unordered_map<std::u16string, uint32_t> next;  // number to be tried, by the name's capitals
  // True when the name had to be changed.
  bool Settle(std::u16string& name, size_t longest) {
    const auto [taken, is_new] = next.try_emplace(CapitalsOf(name), 2);
    if (is_new) return false;
    const std::u16string stem = name;
    for (uint32_t& number = taken->second;;) {
      const std::u16string ending = WideOfText(" (" + std::to_string(number++) + ")");
      name = stem.substr(0, longest - ending.size()) + ending;
      if (next.try_emplace(CapitalsOf(name), 2).second) return true;
    }
  }
};

constexpr uint32_t kLeftOut = kNoNewKey - 1;  // the number of a key that is not written

// Where a key comes from: an item of the tree, a freed key, or neither.
struct KeySourcePlace {
  uint32_t item = kNoItem;
  uint32_t freed = kNoItem;  // its place among the freed keys
};

// Makes a key's name one that systems take; true when it had to be changed.
bool MakeNameOfKey(std::u16string& name) {
  const std::u16string before = name;
  std::ranges::replace(name, u'\\', u'_');
  if (name.empty()) name = u"Unnamed";
  if (name.size() > kLongestNewKeyName) name.resize(kLongestNewKeyName);
  return name != before;
}

// Keys are made in the order of the tree, so a key's parent has its number before it; freed ones
// come after all of these. What is changed or left out has a row.
class ContentReader {
 public:
  // `rows` takes a row for each thing that is not written as the hive has it.
  ContentReader(const HiveImage& hive, const KeyTree& tree, const ContentOptions& options,
                OutputList& rows, ContentCounts& counts)
      : hive_(hive),
        tree_(tree),
        recovered_(options.recovered),
        rows_(rows),
        counts_(counts),
        paths_(hive, tree) {
    if (options.freed) freed_.emplace(hive, tree);
  }

  // Keys parents first, deleted ones after all others, then names and order. Empty when the user
  // stops. Version and file name are those of the hive, 1.5 where it has no base block that says a
  // known one.
  NewHive Read() {
    content_.minor = 5;
    const BaseBlock base = hive_.header_valid ? ReadBaseBlock(ImageBytes(hive_)) : BaseBlock();
    if (base.major == 1 && base.minor >= 3 && base.minor <= 6) content_.minor = base.minor;
    if (hive_.header_valid) {
      ReadBytes(hive_, kBaseFileName, content_.file_name.data(),
                static_cast<uint32_t>(content_.file_name.size()));
    }
    content_.layered = HasLayers(hive_);
    numbers_.assign(tree_.items.size(), kNoNewKey);
    const auto count = static_cast<uint32_t>(tree_.items.size());
    for (uint32_t item = 0; item < count;) {
      if (StopRequested()) return {};
      item = ReadItem(item) ? item + 1 : tree_.items[item].end;
    }
    if (freed_ && !ReadFreed()) return {};
    SettleKeyNames();
    SortNewHive(content_);
    return std::move(content_);
  }

 private:
  void Row(const std::string& path, const std::string& value, const std::string& what,
           uint32_t position) {
    AddListRow(rows_, {path, value, what, PlaceText(hive_, position)}, position);
  }
  void Row(uint32_t item, const std::string& value, const std::string& what, uint32_t position) {
    Row(paths_.PathOf(item), value, what, position);
  }

  // False when what is below the item is not to be written either.
  // A parent that was left out has kNoNewKey as its number, and so its keys are left out without a
  // row of their own.
  bool ReadItem(uint32_t item) {
    const KeyItem& it = tree_.items[item];
    if (it.hidden || it.kind == ItemKind::kDisconnectedValues) return false;
    if (it.kind == ItemKind::kDisconnectedKeys) {
      if (recovered_ && it.end > item + 1) numbers_[item] = RecoveredBranch();
      if (!recovered_) LeaveOut(item + 1, it.end);
      return recovered_;
    }
    const bool in_tree = item < tree_.disconnected_keys;
    if (!recovered_ && in_tree && item != 0 && IsRecovered(tree_, item)) {
      LeaveOut(item, it.end);
      return false;
    }
    const uint32_t parent = item == 0 ? kNoNewKey : numbers_[it.parent];
    if (item != 0 && parent == kNoNewKey) return false;
    if (item != 0 && depths_[parent] >= kDeepestNewKey) {
      Row(item, "", "left out with all below: too deep for a system", it.position);
      return false;
    }
    numbers_[item] = AddKey(item, parent);
    if (it.kind == ItemKind::kPathCopy) copies_.emplace(it.position, numbers_[item]);
    return true;
  }

  void LeaveOut(uint32_t first, uint32_t end) {
    for (uint32_t at = first; at < end; ++at) counts_.recovered_left_out += IsKeyItem(tree_, at);
  }

  uint32_t Push(NewKey key, KeySourcePlace source) {
    depths_.push_back(key.parent == kNoNewKey ? 0 : depths_[key.parent] + 1);
    sources_.push_back(source);
    content_.keys.push_back(std::move(key));
    return static_cast<uint32_t>(content_.keys.size() - 1);
  }

  // Below the root, made when it is first needed.
  // With the root's security and time, as nothing else is known.
  uint32_t RecoveredBranch() {
    if (branch_ != kNoNewKey) return branch_;
    NewKey key;
    key.name = kRecoveredBranch;
    key.parent = 0;
    key.descriptor = content_.keys.front().descriptor;
    key.last_write = content_.keys.front().last_write;
    ++counts_.made;
    return branch_ = Push(std::move(key), {tree_.disconnected_keys});
  }

  uint64_t TimeAbove(const NewKey& key) const {
    return key.parent == kNoNewKey ? kFirstTime : content_.keys[key.parent].last_write;
  }

  uint32_t AddKey(uint32_t item, uint32_t parent) {
    const KeyItem& it = tree_.items[item];
    NewKey key;
    key.parent = parent;
    key.name = NameOf(item);
    const bool has_cell = it.position != kNoOffset && (it.marks & kVirtualMarks) == 0 &&
                          (item != 0 || IsKeyItem(tree_, item));
    if (has_cell) {
      const KeyNode node = ReadKeyNode(hive_, it.position, KeyRead::kFields);
      ReadFields(item, node, key);
      key.descriptor = DescriptorOf(item, node.security, parent);
      ReadClass(item, node, key);
      // Of a key that is only shown as the way to another one the values are where it really is.
      if (it.kind != ItemKind::kPathCopy) ReadValues(item, key);
      if (it.kind == ItemKind::kPathCopy) ++counts_.made;
    } else {
      key.descriptor = DescriptorOf(item, kNoOffset, parent);
      key.last_write = TimeAbove(key);
      Row(item, "", "no record is left of this key: name from what names it, time of the key above",
          it.position);
    }
    if (item == 0) key.flags = kRootKeyFlags & ~kFlagsOfPlace;
    return Push(std::move(key), {item});
  }

  std::u16string NameOf(uint32_t item) {
    const KeyItem& it = tree_.items[item];
    const bool stored = HasKeyCell(tree_, item) && !HasMadeName(tree_, it);
    const uint32_t length = stored ? ReadU16(hive_, it.position + kKeyNameLength) : 0;
    std::u16string name = length == 0 ? WideOfText(StoredItemName(hive_, tree_, item))
                                      : WideKeyName(ImageBytes(hive_), it.position, length);
    if (item == 0) name.erase(0, name.rfind(u'\\') + 1);  // it may be shown as a path
    if (MakeNameOfKey(name) && item != 0) Renamed({item}, name);
    return name;
  }

  void Renamed(KeySourcePlace source, const std::u16string& name) {
    const std::string what = "renamed: " + ShownKeyName(TextOfWide(name));
    if (source.freed != kNoItem) {
      const uint32_t position = freed_->records.keys[source.freed].position;
      Row(freed_->paths.PathOf(position), "", what, position);
    } else {
      Row(source.item, "", what, tree_.items[source.item].position);
    }
  }

  // All that a system takes over as it is; what depends on the place in the file is made anew.
  void ReadFields(uint32_t item, const KeyNode& node, NewKey& key) {
    const uint32_t cell = node.position;
    key.flags = static_cast<uint16_t>(ReadU16(hive_, cell + kKeyFlags) & ~kFlagsOfPlace);
    key.last_write = node.last_write;
    key.access_bits = ReadU8(hive_, cell + kKeyAccessBits);
    if (content_.layered) key.layer_bits = ReadU8(hive_, cell + kKeyLayerBits);
    const bool tombstone = LayerOfKey(hive_, cell) == KeyLayer::kTombstone;
    if (!IsTimeOfKey(key.last_write) && !(key.last_write == 0 && tombstone)) {
      key.last_write = TimeAbove(key);
      Row(item, "", "time set to that of the key above: its own is none", cell);
    }
    key.user_flags = ReadU8(hive_, cell + kKeyUserFlags);
    if ((key.flags & kNewKeyHandle) != 0) key.handle = ReadU32(hive_, cell + kKeyValueCount);
  }

  // Whole or not at all.
  void ReadClass(uint32_t item, const KeyNode& node, NewKey& key) {
    if (node.class_name == kNoOffset || node.class_name_length == 0) return;
    std::vector<uint8_t> bytes(node.class_name_length);
    bytes.resize(ReadBytes(hive_, node.class_name + 4, bytes.data(), node.class_name_length));
    const uint32_t room = CellLength(ReadU32(hive_, node.class_name));
    if (!InCellBounds(hive_, node.class_name) || bytes.size() != node.class_name_length ||
        room < bytes.size() + 4) {
      return Row(item, "", "class name left out: it can't be read", node.position);
    }
    key.class_name = std::move(bytes);
  }

  // --- security ----------------------------------------------------------------------------------

  // Records with the same bytes become one.
  uint32_t NumberOf(std::vector<uint8_t> descriptor) {
    const auto [found, added] = by_bytes_.emplace(
        std::move(descriptor), static_cast<uint32_t>(content_.descriptors.size()));
    if (added) content_.descriptors.push_back(found->first);
    return found->second;
  }

  // That of the record at `position`, or in its place the parent's.
  uint32_t DescriptorOf(uint32_t item, uint32_t position, uint32_t parent) {
    const auto known = by_position_.find(position);
    if (known != by_position_.end()) return known->second;
    SecurityRecordInfo info;
    if (position != kNoOffset && ReadSecurityRecord(ImageBytes(hive_), position, info)) {
      std::vector<uint8_t> bytes(ReadU32(hive_, position + kSecurityLength));
      bytes.resize(ReadBytes(hive_, position + kSecurityDescriptor, bytes.data(),
                             static_cast<uint32_t>(bytes.size())));
      if (DescriptorFault(bytes).empty()) {
        return by_position_[position] = NumberOf(std::move(bytes));
      }
    }
    if (item != 0) {
      Row(item, "", "security record replaced by the parent's: its own is lost or damaged",
          tree_.items[item].position);
      return content_.keys[parent].descriptor;
    }
    Row(item, "",
        "security record replaced: administrators and the system have every right, users may read",
        tree_.items[item].position);
    return NumberOf({std::begin(kDefaultDescriptor), std::end(kDefaultDescriptor)});
  }

  // --- values ------------------------------------------------------------------------------------

  // Of a predefined handle the count is a number of its own, and there is no list. Entries that
  // lead nowhere have a row each.
  void ReadValues(uint32_t item, NewKey& key) {
    if ((key.flags & kNewKeyHandle) != 0) return;
    const uint32_t cell = tree_.items[item].position;
    positions_.clear();
    ReadValuesInWalk(hive_, cell, positions_);
    if (!positions_.empty()) {
      const std::string status = ValueListStatus(hive_, cell);
      if (!status.empty()) Row(item, "", "the values are not sure: " + status, cell);
    }
    NameSet names;
    for (size_t i = 0; i < positions_.size(); ++i) {
      if (positions_[i] != kNoOffset) {
        ReadValue(item, positions_[i], names, key);
      } else {
        const uint32_t entry = ValueEntryPosition(ValueListOf(hive_, cell), i);
        Row(item, "", "a value left out: the list's entry leads to none",
            PlaceOfLostValue(hive_, entry));
      }
    }
  }

  void ReadValue(uint32_t item, uint32_t position, NameSet& names, NewKey& key) {
    if (!MayShowValue(hive_, position, budget_)) return;
    const ValueKey value = ReadValueWithin(hive_, position, budget_, data_);
    const bool tombstone = IsTombstone(hive_, value);
    if (value.status != ValueStatus::kRead && !tombstone) {
      const std::string why = ValueDataText(value, {});
      return Row(item, ValueDisplayName(value),
                 "value left out: " + (why.empty() ? "it can't be read" : why), position);
    }
    NewValue made;
    made.name = WideValueName(hive_, value);
    if (made.name.size() > kLongestNewValueName) made.name.resize(kLongestNewValueName);
    made.type = value.type;
    made.tombstone = tombstone;
    if (!tombstone) made.data = data_;
    if (names.Settle(made.name, kLongestNewValueName)) {
      Row(item, ValueDisplayName(value), "value renamed: " + ShownValueName(TextOfWide(made.name)),
          position);
    }
    if (value.edited) Row(item, ValueDisplayName(value), "value written as edited", position);
    key.values.push_back(std::move(made));
  }

  // --- freed records -----------------------------------------------------------------------------

  // Below kRecoveredBranch, each below the names that lead to its place: a system, and who reads
  // the new hive, must not take what was deleted for what was there. False when the user stopped.
  bool ReadFreed() {
    freed_numbers_.assign(freed_->records.keys.size(), kNoNewKey);
    for (uint32_t row = 0; row < freed_numbers_.size(); ++row) {
      if (StopRequested()) return false;
      MakeFreedKey(row);
    }
    for (const FreedValue& value : freed_->records.values) {
      if (StopRequested()) return false;
      ReadFreedValueOf(value);
    }
    return true;
  }

  // Makes a freed key, with all freed keys above it that are not made yet.
  void MakeFreedKey(uint32_t row) {
    const std::vector<FreedKey>& keys = freed_->records.keys;
    std::vector<uint32_t> way;
    for (uint32_t at = row; at != kNoItem && freed_numbers_[at] == kNoNewKey;) {
      way.push_back(at);
      at = keys[at].in_circle ? kNoItem : keys[at].parent_row;
    }
    for (; !way.empty(); way.pop_back()) freed_numbers_[way.back()] = AddFreedKey(way.back());
  }

  // The key below kRecoveredBranch that leads to what a key of the tree had; kLeftOut for one too
  // deep.
  uint32_t CopyOf(uint32_t item) {
    const uint32_t folder = tree_.disconnected_keys;
    std::vector<uint32_t> way;
    uint32_t number = kNoNewKey;
    for (uint32_t at = item; number == kNoNewKey; at = tree_.items[at].parent) {
      const bool apart = folder != kNoItem && at > folder && at < tree_.items[folder].end;
      const auto copy = copies_.find(tree_.items[at].position);
      if (apart && numbers_[at] != kNoNewKey) {
        number = numbers_[at];
      } else if (copy != copies_.end()) {
        number = copy->second;
      } else if (at == 0 || at == folder) {
        number = RecoveredBranch();
      } else {
        way.push_back(at);
        if (way.size() > kDeepestNewKey) return kLeftOut;
      }
    }
    for (; !way.empty() && depths_[number] < kDeepestNewKey; way.pop_back()) {
      number = AddCopy(way.back(), number);
    }
    return way.empty() ? number : kLeftOut;
  }

  // A key once more below "Recovered", as the way to what hangs below it; without values, as the
  // key itself has them.
  uint32_t AddCopy(uint32_t item, uint32_t parent) {
    NewKey key;
    key.parent = parent;
    const uint32_t number = numbers_[item];
    const NewKey& like = content_.keys[number == kNoNewKey ? parent : number];
    key.name = number == kNoNewKey ? NameOf(item) : like.name;
    key.last_write = like.last_write;
    key.descriptor = like.descriptor;
    ++counts_.made;
    return copies_[tree_.items[item].position] = Push(std::move(key), {item});
  }

  // The number of the key below which a record of this key belongs.
  uint32_t PlaceBelow(uint32_t key) {
    const uint32_t row = FreedKeyRow(freed_->records, key);
    if (row != kNoItem) return freed_numbers_[row];
    const uint32_t item = key == kNoOffset ? kNoItem : ItemOfPosition(tree_, key);
    return item == kNoItem ? RecoveredBranch() : CopyOf(item);
  }

  // Its record is read from where it was freed. A security record may have been used again since,
  // so that of the key above counts; a class name's cell likewise is not followed.
  uint32_t AddFreedKey(uint32_t row) {
    const FreedKey& freed = freed_->records.keys[row];
    const uint32_t cell = freed.position;
    const std::string path = freed_->paths.PathOf(cell);
    const uint32_t above = freed.in_circle ? kNoOffset : freed.parent;
    NewKey key;
    key.parent = PlaceBelow(above);
    if (key.parent == kLeftOut || depths_[key.parent] >= kDeepestNewKey) {
      Row(path, "", "deleted key left out: too deep for a system", cell);
      return kLeftOut;
    }
    key.name = WideKeyName(ImageBytes(hive_), cell, freed.name_length);
    const bool renamed = MakeNameOfKey(key.name);
    key.flags =
        static_cast<uint16_t>(ReadU16(hive_, cell + kKeyFlags) & ~(kFlagsOfPlace | kNewKeyHandle));
    key.last_write = ReadU64(hive_, cell + kKeyLastWrite);
    if (!IsTimeOfKey(key.last_write)) key.last_write = TimeAbove(key);
    key.access_bits = ReadU8(hive_, cell + kKeyAccessBits);
    key.user_flags = ReadU8(hive_, cell + kKeyUserFlags);
    key.descriptor = content_.keys[key.parent].descriptor;
    const bool had_class = ReadU16(hive_, cell + kKeyClassNameLength) != 0;
    Row(path, "",
        "deleted key written below \"Recovered\", with the security record of the key above" +
            std::string(had_class ? " and without its class name: " : ": ") +
            FreedPlaceWords(freed),
        cell);
    ++counts_.freed_keys;
    const uint32_t number = Push(std::move(key), {kNoItem, row});
    if (renamed) Renamed(sources_.back(), content_.keys.back().name);
    return number;
  }

  // With its zeros and whatever else is in it; cut to what a system accepts.
  std::u16string FreedValueName(const FreedValue& freed, bool wide) const {
    std::vector<uint8_t> raw(freed.name_length);
    raw.resize(ReadBytes(hive_, freed.position + kValueName, raw.data(), freed.name_length));
    std::u16string name;
    for (size_t i = 0; i + wide < raw.size(); i += wide ? 2 : 1) {
      name.push_back(wide ? LoadU16(raw.data() + i) : raw[i]);
    }
    if (name.size() > kLongestNewValueName) name.resize(kLongestNewValueName);
    return name;
  }

  // The names that the key's values have already, gathered when the first deleted one comes.
  NameSet& NamesOf(uint32_t number) {
    const auto [names, is_new] = freed_names_.try_emplace(number);
    for (const NewValue& value : content_.keys[number].values) {
      if (!is_new) break;
      std::u16string name = value.name;
      names->second.Settle(name, kLongestNewValueName);
    }
    return names->second;
  }

  // A value whose bytes are in use again is left out: what is there now is another record's.
  void ReadFreedValueOf(const FreedValue& freed) {
    FreedContent content = ReadFreedContent(*freed_, freed, FreedData::kAll);
    const std::string path = freed_->paths.PathOf(freed.key);
    const std::string shown = ValueDisplayName(content.value);
    const auto leave_out = [&](const std::string& why) {
      Row(path, shown, "deleted value left out: " + why, freed.position);
    };
    if (freed.key == kNoOffset) return leave_out("its key is not known");
    if (content.in_use) return leave_out("its data's place is in use again");
    if (content.value.status == ValueStatus::kReadBefore)
      return leave_out("its data were read too often");
    if (content.value.status != ValueStatus::kRead) return leave_out("its data are not there");
    const uint32_t number = PlaceBelow(freed.key);
    if (number == kLeftOut) return leave_out("its key is");
    NewValue value;
    value.name = FreedValueName(freed, IsWideValueName(content.value.flags));
    value.type = content.type;
    value.data = std::move(content.data);
    const bool renamed = NamesOf(number).Settle(value.name, kLongestNewValueName);
    const std::string name =
        renamed ? ", renamed: " + ShownValueName(TextOfWide(value.name)) : std::string();
    Row(path, shown,
        "deleted value written below \"Recovered\": " +
            FreedPlaceWords(hive_, freed_->records, freed) + name,
        freed.position);
    content_.keys[number].values.push_back(std::move(value));
    ++counts_.freed_values;
  }

  // Siblings of one name, in capitals, are one key to a system.
  void SettleKeyNames() {
    std::vector<uint32_t> order(content_.keys.size());
    for (uint32_t i = 0; i < order.size(); ++i) order[i] = i;
    const auto less = [this](uint32_t a, uint32_t b) {
      const NewKey& left = content_.keys[a];
      const NewKey& right = content_.keys[b];
      if (left.parent != right.parent) return left.parent < right.parent;
      const int names = CompareKeyNames(left.name, right.name);
      return names != 0 ? names < 0 : a < b;
    };
    std::ranges::sort(order, less);
    std::map<uint32_t, NameSet> taken;  // of parents that have such
    for (size_t i = 1; i < order.size(); ++i) {
      const NewKey& key = content_.keys[order[i]];
      const NewKey& before = content_.keys[order[i - 1]];
      if (key.parent == before.parent && CompareKeyNames(key.name, before.name) == 0)
        taken[key.parent];
    }
    if (taken.empty()) return;
    for (uint32_t i = 0; i < content_.keys.size(); ++i) {
      NewKey& key = content_.keys[i];
      const auto found = taken.find(key.parent);
      if (found != taken.end() && found->second.Settle(key.name, kLongestNewKeyName))
        Renamed(sources_[i], key.name);
    }
  }

  const HiveImage& hive_;
  const KeyTree& tree_;
  const bool recovered_;
  OutputList& rows_;
  ContentCounts& counts_;
  std::optional<FreedSource> freed_;  // where freed records are asked for
  PathWalker paths_;
  NewHive content_;
  std::vector<uint32_t> numbers_;                      // of the keys made, by item
  std::vector<KeySourcePlace> sources_;                // by number of the key
  std::vector<size_t> depths_;                         // by number
  uint32_t branch_ = kNoNewKey;                        // number of kRecoveredBranch
  std::unordered_map<uint32_t, uint32_t> copies_;      // below it, by positions of keys of the tree
  std::vector<uint32_t> freed_numbers_;                // by place among the freed keys
  std::unordered_map<uint32_t, NameSet> freed_names_;  // of values, by number of the key
  std::vector<uint32_t> positions_;
  std::vector<uint8_t> data_;
  DataBudget budget_ = MakeDataBudget(hive_);
  std::map<std::vector<uint8_t>, uint32_t> by_bytes_;
  std::unordered_map<uint32_t, uint32_t> by_position_;
};

}  // namespace

NewHive ContentOfTree(const HiveImage& hive, const KeyTree& tree, const ContentOptions& options,
                      OutputList& rows, ContentCounts& counts) {
  const WholeReading whole;
  counts = ContentCounts();
  if (tree.items.empty()) return {};
  return ContentReader(hive, tree, options, rows, counts).Read();
}

}  // namespace hivequarry

#include "tests/support/hive_builder.h"

#include <algorithm>

namespace hivequarry::testing {
namespace {

constexpr uint32_t kDefaultPerList = 512;
constexpr uint16_t kRootFlags = 0x2C;  // no delete, root of a hive, single-byte name
constexpr uint16_t kSingleByteKey = 0x20;
constexpr uint16_t kSingleByteValue = 1;
constexpr uint16_t kTombstoneValue = 2;
constexpr uint32_t kBaseFlags = 144;
constexpr uint32_t kLayeredHive = 2;

Bytes UnitBytes(std::u16string_view units, bool wide) {
  Bytes bytes;
  for (const char16_t unit : units) {
    bytes.push_back(static_cast<uint8_t>(unit & 0xFF));
    if (wide) bytes.push_back(static_cast<uint8_t>(unit >> 8));
  }
  return bytes;
}

bool NeedsWide(std::u16string_view name) {
  return std::any_of(name.begin(), name.end(), [](char16_t unit) { return unit > 0xFF; });
}

uint16_t FlagsOf(const KeyRecord& key, bool root) {
  if (key.flags >= 0) return static_cast<uint16_t>(key.flags);
  if (key.wide || NeedsWide(key.name)) return 0;
  return root ? kRootFlags : kSingleByteKey;
}

}  // namespace

std::u16string ChildName(uint32_t parent, std::u16string_view name) {
  std::u16string text;
  text += static_cast<char16_t>(parent & 0xFFFF);
  text += static_cast<char16_t>(parent >> 16);
  return text + UpperText(std::u16string(name));
}

// A build under way: keys in tree order, each with its cells after it; links are filled in once
// every key has its place.
struct Layout {
  const HiveBuilder& builder;
  CellWriter writer;
  BuiltHive hive;
  std::vector<uint32_t> order;  // parents first
};

namespace {

void PutOffset(Layout& layout, uint32_t at, uint32_t position) {
  PutU32(layout.writer.bytes, at, position - kDataArea);
}

// A list names subkeys by their upper-cased names, as look-ups expect it.
void SortChildren(std::vector<KeyRecord>& keys) {
  std::vector<std::u16string> upper;
  for (const KeyRecord& key : keys) upper.push_back(UpperText(key.name));
  for (KeyRecord& key : keys) {
    if (key.keep_order) continue;
    std::stable_sort(key.children.begin(), key.children.end(),
                     [&upper](uint32_t a, uint32_t b) { return upper[a] < upper[b]; });
  }
}

std::vector<uint32_t> TreeOrder(const std::vector<KeyRecord>& keys) {
  std::vector<uint32_t> order;
  std::vector<uint32_t> open = {0};
  while (!open.empty()) {
    const uint32_t key = open.back();
    open.pop_back();
    order.push_back(key);
    const std::vector<uint32_t>& children = keys[key].children;
    open.insert(open.end(), children.rbegin(), children.rend());
  }
  return order;
}

void PlaceValues(Layout& layout, const KeyRecord& key, KeyPlaces& places) {
  for (const ValueRecord& value : key.values) {
    const bool wide = value.wide || value.name.empty() || NeedsWide(value.name);
    const int flags = (wide ? 0 : kSingleByteValue) | (value.tombstone ? kTombstoneValue : 0);
    const uint32_t cell =
        AddValueCell(layout.writer, UnitBytes(value.name, wide), static_cast<uint16_t>(flags),
                     value.type, static_cast<uint32_t>(value.data.size()));
    places.values.push_back(cell);
    places.data.push_back(AddValueData(layout.writer, cell, value.data));
    if (!value.tombstone) continue;
    PutU32(layout.writer.bytes, cell + field::kValueLength, 0);
    PutU32(layout.writer.bytes, cell + field::kValueData, kNone);
  }
  if (places.values.empty()) return;
  places.value_list = AddCell(layout.writer, static_cast<uint32_t>(4 * places.values.size()));
  for (uint32_t i = 0; i < places.values.size(); ++i) {
    PutOffset(layout, places.value_list + 4 + 4 * i, places.values[i]);
  }
  PutU32(layout.writer.bytes, places.key + field::kKeyValues,
         static_cast<uint32_t>(places.values.size()));
  PutOffset(layout, places.key + field::kKeyValueList, places.value_list);
}

void PlaceClassName(Layout& layout, const KeyRecord& key, KeyPlaces& places) {
  if (key.class_name.empty()) return;
  const auto size = static_cast<uint32_t>(key.class_name.size());
  places.class_name = AddCell(layout.writer, size);
  PutBytes(layout.writer.bytes, places.class_name + 4, key.class_name);
  PutU16(layout.writer.bytes, places.key + field::kKeyClassLength, static_cast<uint16_t>(size));
  PutOffset(layout, places.key + field::kKeyClass, places.class_name);
}

void PlaceList(Layout& layout, const KeyRecord& key, KeyPlaces& places) {
  const auto count = static_cast<uint32_t>(key.children.size() + key.also_lists.size());
  if (count == 0) return;
  const uint32_t per_list = key.per_list == 0 ? kDefaultPerList : key.per_list;
  places.list = AddListCell(layout.writer, key.list, count, per_list, &places.child_lists);
  PutU32(layout.writer.bytes, places.key + field::kKeySubkeys, count);
  PutOffset(layout, places.key + field::kKeyList, places.list);

  std::vector<uint32_t> lists = places.child_lists;
  if (lists.empty()) lists.push_back(places.list);
  for (const uint32_t list : lists) {
    for (uint32_t i = 0; i < GetU16(layout.writer.bytes, list + field::kListCount); ++i) {
      places.entries.push_back(list + field::kListEntries + i * EntrySizeOf(key.list));
    }
  }
}

void PlaceCellsBehind(Layout& layout, const KeyRecord& key) {
  for (const TaggedCell& cell : key.behind) {
    const uint32_t position = AddCell(layout.writer, static_cast<uint32_t>(cell.record.size()));
    Bytes& bytes = layout.writer.bytes;
    PutBytes(bytes, position + 4, cell.record);
    if (!cell.allocated) PutU32(bytes, position, 0U - GetU32(bytes, position));
    if (!cell.tag.empty()) layout.hive.tags[cell.tag] = position;
  }
}

uint32_t WideSize(std::u16string_view name) { return static_cast<uint32_t>(2 * name.size()); }

// The longest names and data below a key, which it keeps in its own record.
void PutMaxima(Layout& layout, const KeyRecord& key, uint32_t cell) {
  uint32_t maxima[4] = {0, 0, 0, 0};
  for (const uint32_t child : key.children) {
    const KeyRecord& below = layout.hive.keys[child];
    maxima[0] = std::max(maxima[0], WideSize(below.name));
    maxima[1] = std::max(maxima[1], static_cast<uint32_t>(below.class_name.size()));
  }
  for (const ValueRecord& value : key.values) {
    maxima[2] = std::max(maxima[2], WideSize(value.name));
    maxima[3] = std::max(maxima[3], static_cast<uint32_t>(value.data.size()));
  }
  for (uint32_t i = 0; i < 4; ++i) PutU32(layout.writer.bytes, cell + 56 + 4 * i, maxima[i]);
}

void PlaceKey(Layout& layout, uint32_t index) {
  const KeyRecord& key = layout.hive.keys[index];
  if (key.new_bin) StartBin(layout.writer, 0);
  const uint16_t flags = FlagsOf(key, index == 0);
  KeyPlaces& places = layout.hive.places[index];
  places.key = AddKeyCell(layout.writer, UnitBytes(key.name, (flags & 0xFF) == 0), flags, key.time,
                          key.slack);
  PutMaxima(layout, key, places.key);
  layout.writer.bytes[places.key + field::kKeyAccess] = key.access;
  layout.writer.bytes[places.key + field::kKeyLayer] = key.layer;
  if (index == 0) layout.hive.securities = AddSecurityRing(layout.writer, layout.hive.descriptors);
  PlaceClassName(layout, key, places);
  PlaceValues(layout, key, places);
  PlaceList(layout, key, places);
  PlaceCellsBehind(layout, key);
}

// What an entry says of its key beside the place.
uint32_t HintOf(List kind, std::u16string_view name) {
  if (kind == List::kLh || kind == List::kRiOfLh) return NameHash(name);
  uint32_t hint = 0;
  for (size_t i = 0; i < 4 && i < name.size(); ++i) {
    if (name[i] > 0xFF) return 0;
    hint |= uint32_t{name[i]} << (8 * i);
  }
  return hint;
}

void FillList(Layout& layout, uint32_t index) {
  const KeyRecord& key = layout.hive.keys[index];
  std::vector<uint32_t> listed = key.children;
  listed.insert(listed.end(), key.also_lists.begin(), key.also_lists.end());
  for (size_t i = 0; i < listed.size(); ++i) {
    const uint32_t entry = layout.hive.places[index].entries[i];
    PutOffset(layout, entry, layout.hive.places[listed[i]].key);
    if (EntrySizeOf(key.list) == 8) {
      PutU32(layout.writer.bytes, entry + 4, HintOf(key.list, layout.hive.keys[listed[i]].name));
    }
    if (i < key.children.size()) layout.hive.places[listed[i]].own_entry = entry;
  }
}

void FillLinks(Layout& layout, uint32_t index) {
  const KeyRecord& key = layout.hive.keys[index];
  const uint32_t cell = layout.hive.places[index].key;
  const uint32_t security = layout.hive.securities[key.security];
  PutOffset(layout, cell + field::kKeySecurity, security);
  Bytes& bytes = layout.writer.bytes;
  PutU32(bytes, security + field::kSecurityReferences,
         GetU32(bytes, security + field::kSecurityReferences) + 1);
  // A root's parent field holds no key, but an offset inside the hive.
  PutOffset(layout, cell + field::kKeyParent,
            key.parent == kNone ? security : layout.hive.places[key.parent].key);
}

}  // namespace

HiveBuilder::HiveBuilder(std::string_view root_name) : keys_(1) {
  keys_[0].name = hivequarry::testing::Wide(root_name);
  file_name_ = "\\??\\C:\\Data\\SAMPLE";
  AddSecurity(SecurityDescriptor("S-1-5-32-544", "S-1-5-18",
                                 {{0, 2, 0xF003F, "S-1-5-32-544"}, {0, 2, 0xF003F, "S-1-5-18"}}));
}

uint32_t HiveBuilder::AddSecurity(Bytes descriptor) {
  securities_.push_back(std::move(descriptor));
  return static_cast<uint32_t>(securities_.size() - 1);
}

HiveBuilder& HiveBuilder::DefaultList(List kind) {
  default_list_ = kind;
  if (keys_.size() == 1) keys_[0].list = kind;
  return *this;
}

BuiltHive HiveBuilder::Build() const {
  Layout layout{*this, {}, {}, {}};
  layout.writer.bin_size = bin_size_;
  layout.hive.keys = keys_;
  layout.hive.by_name = by_name_;
  layout.hive.descriptors = securities_;
  layout.hive.places.resize(keys_.size());
  SortChildren(layout.hive.keys);
  if (!before_root_.empty()) {
    const uint32_t cell = AddCell(layout.writer, static_cast<uint32_t>(before_root_.size()));
    PutBytes(layout.writer.bytes, cell + 4, before_root_);
  }
  layout.order = TreeOrder(layout.hive.keys);
  for (const uint32_t key : layout.order) PlaceKey(layout, key);
  for (const uint32_t key : layout.order) {
    FillLinks(layout, key);
    FillList(layout, key);
  }
  BaseBlock base;
  base.root = layout.hive.places[0].key;
  base.file_name = file_name_;
  if (layered_) {
    base.minor = 6;
    PutU32(layout.writer.bytes, kBaseFlags, kLayeredHive);
  }
  FinishHive(layout.writer, base);
  layout.hive.bytes = std::move(layout.writer.bytes);
  layout.hive.bins = std::move(layout.writer.bins);
  return std::move(layout.hive);
}

KeyRecord& KeyRef::record() { return builder_->keys_[index_]; }

KeyRef KeyRef::NewKey(std::string_view name) {
  const auto index = static_cast<uint32_t>(builder_->keys_.size());
  KeyRecord key;
  key.name = hivequarry::testing::Wide(name);
  key.parent = index_;
  key.list = builder_->default_list_;
  builder_->by_name_.emplace(ChildName(index_, key.name), index);  // the first of a name keeps it
  builder_->keys_.push_back(std::move(key));
  record().children.push_back(index);
  return KeyRef(builder_, index);
}

KeyRef KeyRef::Key(std::string_view path) {
  KeyRef at = *this;
  while (!path.empty()) {
    const size_t end = std::min(path.find('\\'), path.size());
    const std::string_view name = path.substr(0, end);
    path.remove_prefix(std::min(end + 1, path.size()));
    const auto found =
        builder_->by_name_.find(ChildName(at.index_, hivequarry::testing::Wide(name)));
    at = found == builder_->by_name_.end() ? at.NewKey(name) : KeyRef(builder_, found->second);
  }
  return at;
}

KeyRef KeyRef::Value(std::string_view name, uint32_t type, Bytes data) {
  record().values.push_back({hivequarry::testing::Wide(name), type, std::move(data)});
  return *this;
}

KeyRef KeyRef::WideValue(std::string_view name, uint32_t type, Bytes data) {
  Value(name, type, std::move(data));
  record().values.back().wide = true;
  return *this;
}

KeyRef KeyRef::Tombstone(std::string_view name) {
  Value(name, 0, {});
  record().values.back().tombstone = true;
  return *this;
}

KeyRef KeyRef::Sz(std::string_view name, std::string_view text) {
  return Value(name, 1, Utf16Z(text));
}

KeyRef KeyRef::ExpandSz(std::string_view name, std::string_view text) {
  return Value(name, 2, Utf16Z(text));
}

KeyRef KeyRef::MultiSz(std::string_view name, std::initializer_list<std::string_view> texts) {
  Bytes data;
  for (const std::string_view text : texts) {
    const Bytes part = Utf16Z(text);
    data.insert(data.end(), part.begin(), part.end());
  }
  data.resize(data.size() + 2);
  return Value(name, 7, std::move(data));
}

KeyRef KeyRef::Dword(std::string_view name, uint32_t value) {
  Bytes data(4);
  PutU32(data, 0, value);
  return Value(name, 4, std::move(data));
}

KeyRef KeyRef::Qword(std::string_view name, uint64_t value) {
  Bytes data(8);
  PutU64(data, 0, value);
  return Value(name, 11, std::move(data));
}

KeyRef KeyRef::Binary(std::string_view name, size_t size, uint8_t seed) {
  Bytes data(size);
  for (size_t i = 0; i < size; ++i) data[i] = static_cast<uint8_t>(i * 7 + (i >> 8) + seed);
  return Value(name, 3, std::move(data));
}

KeyRef KeyRef::ListStyle(List kind, uint32_t per_list) {
  record().list = kind;
  record().per_list = per_list;
  return *this;
}

KeyRef KeyRef::AlsoLists(KeyRef other) {
  record().also_lists.push_back(other.index());
  return *this;
}

KeyRef KeyRef::FreeBehind(uint32_t cell_size) {
  return CellBehind("", Bytes(cell_size - 4), false);
}

KeyRef KeyRef::CellBehind(std::string_view tag, Bytes bytes, bool allocated) {
  record().behind.push_back({std::string(tag), std::move(bytes), allocated});
  return *this;
}

}  // namespace hivequarry::testing

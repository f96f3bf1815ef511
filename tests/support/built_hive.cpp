#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>

#include "tests/support/hive_builder.h"

namespace hivequarry::testing {
namespace {

[[noreturn]] void Fail(const char* what, std::string_view name) {
  std::fprintf(stderr, "hive builder: no %s \"%.*s\"\n", what, static_cast<int>(name.size()),
               name.data());
  std::abort();
}

uint32_t Existing(uint32_t position, const char* what, std::string_view name) {
  if (position == 0) Fail(what, name);
  return position;
}

// Takes the entry at `entry` out of the flat list at `list`, which closes up.
void RemoveEntry(Bytes& bytes, uint32_t list, uint32_t entry, uint32_t entry_size) {
  const uint16_t count = GetU16(bytes, list + field::kListCount);
  const uint32_t end = list + field::kListEntries + count * entry_size;
  std::copy(bytes.begin() + entry + entry_size, bytes.begin() + end, bytes.begin() + entry);
  std::fill(bytes.begin() + end - entry_size, bytes.begin() + end, uint8_t{0});
  PutU16(bytes, list + field::kListCount, static_cast<uint16_t>(count - 1));
}

// The list among `lists` (ascending or not) that the entry lies in.
uint32_t ListOfEntry(const std::vector<uint32_t>& lists, uint32_t entry) {
  uint32_t best = 0;
  for (const uint32_t list : lists) {
    if (list < entry && list > best) best = list;
  }
  return best;
}

}  // namespace

uint32_t BuiltHive::Moved(uint32_t position) const {
  int64_t at = position;
  for (const Move& move : moves) {
    if (at >= move.at) at += move.by;
  }
  return static_cast<uint32_t>(at);
}

uint32_t BuiltHive::IndexOf(std::string_view path) const {
  uint32_t key = 0;
  std::string_view rest = path;
  while (!rest.empty()) {
    const size_t end = std::min(rest.find('\\'), rest.size());
    const auto found = by_name.find(ChildName(key, Wide(rest.substr(0, end))));
    if (found == by_name.end()) Fail("key", path);
    key = found->second;
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  return key;
}

size_t BuiltHive::ValueIndex(uint32_t key, std::string_view name) const {
  const std::u16string upper = UpperText(Wide(name));
  const std::vector<ValueRecord>& values = keys[key].values;
  for (size_t i = 0; i < values.size(); ++i) {
    if (UpperText(values[i].name) == upper) return i;
  }
  Fail("value", name);
}

uint32_t BuiltHive::PositionOf(std::string_view path) const {
  return Moved(places[IndexOf(path)].key);
}

uint32_t BuiltHive::PositionOf(KeyRef key) const { return Moved(places[key.index()].key); }

uint32_t BuiltHive::ValuePosition(std::string_view path, std::string_view name) const {
  const uint32_t key = IndexOf(path);
  return Moved(places[key].values[ValueIndex(key, name)]);
}

uint32_t BuiltHive::DataPosition(std::string_view path, std::string_view name) const {
  const uint32_t key = IndexOf(path);
  return Moved(Existing(places[key].data[ValueIndex(key, name)], "data cell of value", name));
}

uint32_t BuiltHive::SegmentListPosition(std::string_view path, std::string_view name) const {
  return U32(DataPosition(path, name), field::kBigList) + Moved(kDataArea);
}

uint32_t BuiltHive::SegmentPosition(std::string_view path, std::string_view name,
                                    uint32_t index) const {
  return U32(SegmentListPosition(path, name), 4 + 4 * index) + Moved(kDataArea);
}

uint32_t BuiltHive::ListPosition(std::string_view path) const {
  return Moved(Existing(places[IndexOf(path)].list, "subkey list of key", path));
}

uint32_t BuiltHive::ChildListPosition(std::string_view path, uint32_t index) const {
  const std::vector<uint32_t>& lists = places[IndexOf(path)].child_lists;
  if (index >= lists.size()) Fail("such child list of key", path);
  return Moved(lists[index]);
}

uint32_t BuiltHive::EntryPosition(std::string_view path, uint32_t index) const {
  const std::vector<uint32_t>& entries = places[IndexOf(path)].entries;
  if (index >= entries.size()) Fail("such list entry of key", path);
  return Moved(entries[index]);
}

uint32_t BuiltHive::OwnEntryPosition(std::string_view path) const {
  return Moved(Existing(places[IndexOf(path)].own_entry, "list entry for key", path));
}

uint32_t BuiltHive::ValueListPosition(std::string_view path) const {
  return Moved(Existing(places[IndexOf(path)].value_list, "value list of key", path));
}

uint32_t BuiltHive::ClassPosition(std::string_view path) const {
  return Moved(Existing(places[IndexOf(path)].class_name, "class name of key", path));
}

uint32_t BuiltHive::SecurityPosition(uint32_t index) const { return Moved(securities.at(index)); }

uint32_t BuiltHive::BinPosition(uint32_t index) const { return Moved(bins.at(index)); }

uint32_t BuiltHive::TaggedPosition(std::string_view tag) const {
  const auto found = tags.find(tag);
  if (found == tags.end()) Fail("cell", tag);
  return Moved(found->second);
}

uint32_t BuiltHive::CellLength(uint32_t cell) const {
  const uint32_t size = U32(cell, 0);
  return size > 0x7FFFFFFF ? 0U - size : size;
}

BuiltHive& BuiltHive::SetBytes(uint32_t cell, uint32_t offset, std::span<const uint8_t> data) {
  PutBytes(bytes, cell + offset, data);
  return *this;
}

BuiltHive& BuiltHive::Link(uint32_t cell, uint32_t offset, uint32_t target) {
  return SetU32(cell, offset, target - Moved(kDataArea));
}

BuiltHive& BuiltHive::Free(uint32_t cell) { return SetU32(cell, 0, CellLength(cell)); }

BuiltHive& BuiltHive::Zero(uint32_t position, uint32_t size) {
  std::fill_n(bytes.begin() + position, size, uint8_t{0});
  return *this;
}

BuiltHive& BuiltHive::FlipBit(uint32_t position, uint32_t bit) {
  bytes[position + bit / 8] ^= static_cast<uint8_t>(1 << bit % 8);
  return *this;
}

BuiltHive& BuiltHive::Unlink(std::string_view path) {
  const uint32_t key = IndexOf(path);
  const uint32_t parent = keys[key].parent;
  const uint32_t entry = Existing(places[key].own_entry, "list entry for key", path);
  KeyPlaces& above = places[parent];
  const uint32_t entry_size = EntrySizeOf(keys[parent].list);
  const uint32_t list =
      above.child_lists.empty() ? above.list : ListOfEntry(above.child_lists, entry);
  const uint32_t last = list + field::kListEntries +
                        (GetU16(bytes, Moved(list) + field::kListCount) - 1U) * entry_size;
  RemoveEntry(bytes, Moved(list), Moved(entry), entry_size);
  std::erase(above.entries, last);
  for (const uint32_t sibling : keys[parent].children) {
    uint32_t& own = places[sibling].own_entry;
    if (own > entry && own <= last) own -= entry_size;
  }
  places[key].own_entry = 0;

  const uint32_t cell = Moved(above.key);
  SetU32(cell, field::kKeySubkeys, U32(cell, field::kKeySubkeys) - 1);
  if (above.entries.empty()) SetU32(cell, field::kKeyList, kNone).Free(Moved(above.list));
  return *this;
}

BuiltHive& BuiltHive::DropBaseBlock() { return Erase(0, kDataArea); }

BuiltHive& BuiltHive::Cut(uint32_t length) {
  bytes.resize(std::min<size_t>(length, bytes.size()));
  return *this;
}

BuiltHive& BuiltHive::Insert(uint32_t at, uint32_t size, uint8_t fill) {
  bytes.insert(bytes.begin() + at, size, fill);
  moves.push_back({at, size});
  return *this;
}

BuiltHive& BuiltHive::Erase(uint32_t at, uint32_t size) {
  bytes.erase(bytes.begin() + at, bytes.begin() + at + size);
  moves.push_back({at, -int64_t{size}});
  return *this;
}

Bytes Embedded(const Bytes& hive, uint32_t before, uint32_t after, uint8_t fill) {
  Bytes whole(before, fill);
  whole.insert(whole.end(), hive.begin(), hive.end());
  whole.insert(whole.end(), after, fill);
  return whole;
}

Bytes Joined(std::initializer_list<std::span<const uint8_t>> parts) {
  Bytes whole;
  for (const std::span<const uint8_t> part : parts) {
    whole.insert(whole.end(), part.begin(), part.end());
  }
  return whole;
}

namespace {

std::string Utf8Path(const std::filesystem::path& path) {
  const std::u8string text = path.u8string();
  return std::string(text.begin(), text.end());
}

std::filesystem::path MakeFolder() {
  static std::atomic<uint32_t> count{0};
  static const uint32_t run = std::random_device{}();
  std::error_code error;
  const std::filesystem::path folder = std::filesystem::temp_directory_path(error) /
                                       ("hq" + std::to_string(run) + "_" + std::to_string(++count));
  if (!std::filesystem::create_directory(folder, error)) Fail("folder", folder.string());
  return folder;
}

}  // namespace

TempFile::TempFile(std::span<const uint8_t> bytes, std::string_view name) {
  const std::filesystem::path folder = MakeFolder();
  const std::u8string leaf(name.begin(), name.end());
  const std::filesystem::path file = folder / leaf;
  folder_ = Utf8Path(folder);
  name_ = Utf8Path(file);
#ifdef _WIN32
  std::FILE* stream = _wfopen(file.c_str(), L"wb");
#else
  std::FILE* stream = std::fopen(file.c_str(), "wb");
#endif
  if (stream == nullptr) Fail("file", name_);
  const size_t written = bytes.empty() ? 0 : std::fwrite(bytes.data(), 1, bytes.size(), stream);
  if (std::fclose(stream) != 0 || written != bytes.size()) Fail("room for file", name_);
}

TempFile::TempFile(std::string_view text, std::string_view name)
    : TempFile(std::span(reinterpret_cast<const uint8_t*>(text.data()), text.size()), name) {}

TempFile::~TempFile() {
  const std::u8string folder(folder_.begin(), folder_.end());
  std::error_code error;
  std::filesystem::remove_all(std::filesystem::path(folder), error);
}

}  // namespace hivequarry::testing

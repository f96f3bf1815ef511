// Paths of freed keys, and what their places and paths are worth in words.
#include <algorithm>
#include <cstdio>
#include <iterator>

#include "hive/key_node.h"
#include "hive/value_text.h"
#include "host/host.h"
#include "recovery/freed_records.h"

namespace hivequarry {
namespace {

constexpr uint32_t kDeepest = 512;  // levels of a registry

// How paths are written.
struct PathText {
  std::string (*of_item)(const HiveImage& hive, const KeyTree& tree, uint32_t item);
  void (*add_name)(const HiveImage& hive, const FreedKey& key, std::string& path);
};

void AddNarrowName(const HiveImage& hive, const FreedKey& key, std::string& path) {
  const size_t start = path.size();
  AppendKeyName(hive, key.position, path);
  const bool wide = ReadU8(hive, key.position + kKeyFlags) == 0;
  const size_t kept = wide ? key.name_length / 2 : key.name_length;
  path.resize(std::min(path.size(), start + kept));
}

void AddUtf8Name(const HiveImage& hive, const FreedKey& key, std::string& path) {
  path += Utf8FromWide(WideKeyName(hive, key.position, key.name_length));
}

std::string Utf8PathOfItem(const HiveImage& hive, const KeyTree& tree, uint32_t item) {
  return ItemPathUtf8(hive, tree, item, nullptr);
}

// Bytes of a name and the backslash before it.
size_t RoomFor(const FreedKey& key) { return size_t{1} + key.name_length; }

// The key and those above it, as many as a path has room for; `top` is the item or the unknown key
// over them. Freed parents may go round in a circle.
std::vector<uint32_t> ChainOf(const FreedRecords& records, const FreedKey& from, uint32_t& top) {
  std::vector<uint32_t> chain;
  uint32_t circle = kNoItem;
  size_t room = 0;
  auto row = static_cast<uint32_t>(&from - records.keys.data());
  top = kNoOffset;
  while (row != circle && chain.size() < kDeepest) {
    const FreedKey& key = records.keys[row];
    room += RoomFor(key);
    if (!chain.empty() && room > kPathLimit) return chain;
    chain.push_back(row);
    if (key.in_circle && circle == kNoItem) circle = row;
    if (key.parent_row == kNoItem) {
      top = key.parent;
      break;
    }
    row = key.parent_row;
  }
  return chain;
}

std::string PathOf(const HiveImage& hive, const KeyTree& tree, const FreedRecords& records,
                   uint32_t position, const PathText& text) {
  if (position == kNoOffset) return {};
  const FreedKey* key = FreedKeyAt(records, position);
  const uint32_t own_item = key == nullptr ? ItemOfPosition(tree, position) : kNoItem;
  if (key == nullptr) return own_item == kNoItem ? "" : text.of_item(hive, tree, own_item);
  uint32_t top = kNoOffset;
  const std::vector<uint32_t> chain = ChainOf(records, *key, top);
  const uint32_t item = top == kNoOffset ? kNoItem : ItemOfPosition(tree, top);
  std::string path = item == kNoItem ? "?" : text.of_item(hive, tree, item);
  for (auto row = chain.rbegin(); row != chain.rend(); ++row) {
    path += '\\';
    text.add_name(hive, records.keys[*row], path);
  }
  return path;
}

void AddShift(uint32_t shift, std::string& words) {
  if (shift != 0) words += ", " + ShiftWords(shift);
}

const char* WordsOf(FreedPlace place) {
  constexpr const char* kWords[] = {"free cell", "inside a free cell", "behind a record",
                                    "outside cells"};
  static_assert(std::size(kWords) == static_cast<size_t>(FreedPlace::kNoCell) + 1);
  return kWords[static_cast<size_t>(place)];
}

}  // namespace

std::string ShiftWords(uint32_t shift) {
  if (shift == 0) return {};
  const bool less = shift > INT32_MAX;
  char text[80];
  std::snprintf(text, sizeof(text), "offsets are those of an earlier state of the hive: 0x%X %s",
                less ? 0U - shift : shift, less ? "less" : "more");
  return text;
}

std::string FreedPlaceWords(const FreedRecords&, const FreedKey& key) {
  std::string words = WordsOf(key.place);
  if (key.bond == FreedBond::kUsedAgain) words += ", parent's place was used again";
  if (key.bond == FreedBond::kNotConfirmed) words += ", not confirmed";
  AddShift(key.shift, words);
  return words;
}

std::string FreedPlaceWords(const FreedRecords& records, const FreedValue& value) {
  std::string words = WordsOf(value.place);
  const FreedKey* key = FreedKeyAt(records, value.key);
  if (value.bond == FreedBond::kUsedAgain) {
    words += ", ruled out by the marks of the key at " + HexNumber(value.ruled_out);
    words += " whose list names it";
  }
  if (key != nullptr && key->bond == FreedBond::kNotConfirmed) words += ", not confirmed";
  AddShift(value.shift, words);
  return words;
}

std::string FreedPath(const HiveImage& hive, const KeyTree& tree, const FreedRecords& records,
                      uint32_t key_position) {
  return PathOf(hive, tree, records, key_position, {ItemPath, AddNarrowName});
}

std::string FreedPathUtf8(const HiveImage& hive, const KeyTree& tree, const FreedRecords& records,
                          uint32_t key_position) {
  return PathOf(hive, tree, records, key_position, {Utf8PathOfItem, AddUtf8Name});
}

}  // namespace hivequarry

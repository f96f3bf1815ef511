// Paths of freed keys, and what their places and paths are worth in words.
#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

#include "hive/file_place.h"
#include "hive/keys.h"
#include "host/number_text.h"
#include "host/visible_text.h"
#include "records/key_flags.h"
#include "recovery/freed_records.h"

namespace hivequarry {
namespace {

// A chain of freed parents that is longer was not one.
constexpr uint32_t kDeepest = 512;  // levels of a registry

// How paths are written.
struct PathText {
  std::string (*of_item)(const HiveImage& hive, const KeyTree& tree, uint32_t item);
  void (*add_name)(const HiveImage& hive, const FreedKey& key, std::string& path);
};

void AddShownName(const HiveImage& hive, const FreedKey& key, std::string& path) {
  AppendShownKeyName(StoredFreedKeyName(hive, key), path);
}

void AddStoredName(const HiveImage& hive, const FreedKey& key, std::string& path) {
  path += StoredFreedKeyName(hive, key);
}

// StoredItemPath is empty where the names are shown as they are.
std::string StoredPathOfItem(const HiveImage& hive, const KeyTree& tree, uint32_t item) {
  std::string stored = StoredItemPath(hive, tree, item);
  return stored.empty() ? ItemPath(hive, tree, item) : stored;
}

// Bytes of a name and the backslash before it.
size_t RoomFor(const FreedKey& key) { return size_t{1} + key.name_length; }

// The key and those above it, as many as a path has room for. Freed parents may go round in a
// circle.
struct Chain {
  std::vector<uint32_t> rows;  // of freed keys, from the key itself upwards
  size_t room = 0;             // bytes of their names, as limits count them
  uint32_t top = kNoOffset;    // the key of the tree over them
  bool whole = false;          // up to that, or to one without a parent
  bool cut = false;            // by the limit
};

// Up from the key. A circle is gone round once: its keys are all in the path, and it has no top.
Chain ChainOf(const FreedRecords& records, uint32_t row) {
  Chain chain;
  uint32_t circle = kNoItem;
  while (row != circle) {
    const FreedKey& key = records.keys[row];
    const size_t room = chain.room + RoomFor(key);
    chain.cut = !chain.rows.empty() && room > records.path_limit;
    if (chain.cut) return chain;
    chain.room = room;
    chain.rows.push_back(row);
    if (key.in_circle && circle == kNoItem) circle = row;
    if (key.parent_row == kNoItem) {
      chain.top = key.parent;
      chain.whole = true;
      return chain;
    }
    row = key.parent_row;
  }
  return chain;
}

std::string PathOfChain(const HiveImage& hive, const KeyTree& tree, const FreedRecords& records,
                        const Chain& chain, const PathText& text) {
  const uint32_t item = chain.top == kNoOffset ? kNoItem : ItemOfPosition(tree, chain.top);
  std::string path = item == kNoItem ? "?" : text.of_item(hive, tree, item);
  if (chain.cut) path = "...@" + HexNumber(PlaceOf(hive, records.keys[chain.rows.back()].position));
  for (auto row = chain.rows.rbegin(); row != chain.rows.rend(); ++row) {
    path += '\\';
    text.add_name(hive, records.keys[*row], path);
  }
  return path;
}

std::string PathOf(const HiveImage& hive, const KeyTree& tree, const FreedRecords& records,
                   uint32_t position, const PathText& text) {
  if (position == kNoOffset) return {};
  const uint32_t row = FreedKeyRow(records, position);
  if (row != kNoItem) return PathOfChain(hive, tree, records, ChainOf(records, row), text);
  const uint32_t item = ItemOfPosition(tree, position);
  return item == kNoItem ? "" : text.of_item(hive, tree, item);
}

void AddShift(uint32_t shift, std::string& words) {
  if (shift != 0) words += ", " + ShiftWords(shift);
}

const char* WordsOf(FreedPlace place) {
  constexpr const char* kWords[] = {"free cell", "inside a free cell", "after a record",
                                    "outside cells"};
  static_assert(std::size(kWords) == static_cast<size_t>(FreedPlace::kNoCell) + 1);
  return kWords[static_cast<size_t>(place)];
}

}  // namespace

std::string ShiftWords(uint32_t shift) {
  if (shift == 0) return {};
  const bool less = shift > INT32_MAX;
  return Concat({"offsets are those of an earlier state of the hive: 0x",
                 Hex(less ? 0U - shift : shift), less ? " less" : " more"});
}

std::string FreedPlaceWords(const FreedKey& key) {
  std::string words = WordsOf(key.place);
  if (key.bond == FreedBond::kUsedAgain) words += ", parent's place was used again";
  if (key.bond == FreedBond::kNotConfirmed) words += ", not confirmed";
  AddShift(key.shift, words);
  return words;
}

std::string FreedPlaceWords(const HiveImage& hive, const FreedRecords& records,
                            const FreedValue& value) {
  std::string words = WordsOf(value.place);
  const FreedKey* key = FreedKeyAt(records, value.key);
  if (value.bond == FreedBond::kUsedAgain) {
    words += ", ruled out by the marks of the key at " + HexNumber(PlaceOf(hive, value.ruled_out));
    words += " whose list names it";
  }
  const bool path = key == nullptr || key->bond != FreedBond::kNotConfirmed;
  if (!path || value.bond == FreedBond::kNotConfirmed) words += ", not confirmed";
  AddShift(value.shift, words);
  return words;
}

std::string StoredFreedKeyName(const HiveImage& hive, const FreedKey& key) {
  const bool wide = IsWideKeyName(ReadU16(hive, key.position + kKeyFlags));
  return KeyNameText(ImageBytes(hive), key.position, key.name_length, wide);
}

std::string FreedKeyName(const HiveImage& hive, const FreedKey& key) {
  std::string name;
  AddShownName(hive, key, name);
  return name;
}

bool IsFreedBelow(const KeyTree& tree, const FreedRecords& records, uint32_t key_position,
                  uint32_t item) {
  if (item == 0) return true;
  const FreedKey* key = FreedKeyAt(records, key_position);
  for (uint32_t level = 0; key != nullptr && level < kDeepest; ++level) {
    key_position = key->parent;
    key = key->parent_row == kNoItem ? nullptr : &records.keys[key->parent_row];
  }
  const uint32_t top = ItemOfPosition(tree, key_position);
  return top != kNoItem && top >= item && top < tree.items[item].end;
}

// Two paths are kept, that of the key asked for last and that of its parent, since rows come by key
// and siblings follow each other: then one name is added to a path that is known.
const std::string& FreedPathWalker::PathOf(uint32_t key_position) {
  const uint32_t row = FreedKeyRow(records_, key_position);
  if (row == kNoItem) {
    last_ = {kNoItem, 0, FreedPath(hive_, tree_, records_, key_position)};
    return last_.path;
  }
  if (row == last_.row) return last_.path;
  const FreedKey& key = records_.keys[row];
  const size_t room = RoomFor(key);
  const uint32_t above = key.parent_row;
  if (above != kNoItem && above == last_.row) std::swap(last_, parent_);
  if (above != kNoItem && above == parent_.row && parent_.room + room <= records_.path_limit) {
    last_.row = row;
    last_.room = parent_.room + room;
    last_.path.assign(parent_.path).append("\\");
    AddShownName(hive_, key, last_.path);
    return last_.path;
  }
  const Chain chain = ChainOf(records_, row);
  const PathText text = {ItemPath, AddShownName};
  last_ = {chain.whole ? row : kNoItem, chain.room,
           PathOfChain(hive_, tree_, records_, chain, text)};
  parent_ = Known();
  if (chain.whole && above != kNoItem) {
    const size_t name = FreedKeyName(hive_, key).size() + 1;
    parent_ = {above, chain.room - room, last_.path.substr(0, last_.path.size() - name)};
  }
  return last_.path;
}

std::string FreedPath(const HiveImage& hive, const KeyTree& tree, const FreedRecords& records,
                      uint32_t key_position) {
  return PathOf(hive, tree, records, key_position, {ItemPath, AddShownName});
}

std::string StoredFreedPath(const HiveImage& hive, const KeyTree& tree, const FreedRecords& records,
                            uint32_t key_position) {
  return PathOf(hive, tree, records, key_position, {StoredPathOfItem, AddStoredName});
}

}  // namespace hivequarry

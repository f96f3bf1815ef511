// The keys and values of a hive wherever they are: in the tree, in its folder of disconnected keys,
// or deleted and still in free space. What decoders of evidence walk.
//
// A key is a number. Numbers below the tree's count of items are items, those from there on rows
// of the freed keys. A freed key is a child of whatever key its parent field leads to. No key
// (kNoEvidenceKey) has no name, no time, nothing above it and nothing in it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "hive/key_tree.h"
#include "hive/values.h"
#include "reports/freed_rows.h"

namespace hivequarry {

using EvidenceKey = uint32_t;
inline constexpr EvidenceKey kNoEvidenceKey = 0xFFFFFFFF;

// What a row's record is, as the last column of every decoder says it.
enum class EvidenceState : uint8_t {
  kLive,
  kRecovered,  // hangs by what a repair found, or belongs to no key
  kFreed,      // deleted
  kRemoved,    // in the file, and removed by its logs
  kChanged,    // in the file, and written over by its logs
};
// The word in the lists' state column, "live" for a record that is there as usual.
const char* StateWord(EvidenceState state);

// Owns its data, so it stays when the walk goes on.
struct EvidenceValue {
  std::string name;         // as stored; empty for the default value
  std::string shown_name;   // as lists show it
  std::string stored_name;  // `name` where that is shown otherwise
  uint32_t type = 0;        // of freed values the plain type
  std::vector<uint8_t> data;
  uint32_t position = kNoOffset;  // of the record in the image
  bool read = false;              // false: `why` says why there are no data
  bool freed = false;
  bool in_use = false;  // freed, and its data's cell is somebody else's by now
  std::string why;
};

// Numbers of keys are valid as long as the tree and the freed records are; the tree must not change
// meanwhile. Keeps what it has found of names and children, so it costs memory for each key asked
// about; it is meant for one run of a decoder.
class EvidenceKeys {
 public:
  // `freed` may be null; all must live as long as this.
  // Linear in the freed records. One thread.
  EvidenceKeys(const HiveImage& hive, const KeyTree& tree, FreedSource* freed);
  EvidenceKeys(const EvidenceKeys&) = delete;
  EvidenceKeys& operator=(const EvidenceKeys&) = delete;

  // Positions that this class gives are those of this image.
  const HiveImage& hive() const { return hive_; }
  const KeyTree& tree() const { return tree_; }
  // Also true of kNoEvidenceKey, which has no freed record: callers ask for that first.
  bool IsFreed(EvidenceKey key) const { return key >= tree_.items.size(); }

  // As stored.
  std::string NameOf(EvidenceKey key) const;
  // As lists show it, with the root's own text; and as stored where that differs.
  std::string PathOf(EvidenceKey key);
  std::string StoredPathOf(EvidenceKey key);
  // Of the key's cell in the image; kNoOffset for no key; of a made one the place where it is
  // missing.
  uint32_t PositionOf(EvidenceKey key) const;
  // FILETIME, UTC; 0 for a key without a cell of its own.
  uint64_t LastWriteOf(EvidenceKey key) const;
  EvidenceState StateOf(EvidenceKey key) const;
  // Of a freed key: true when it hangs below an item of the tree.
  bool IsFreedBelow(EvidenceKey key, uint32_t item) const;

  // None for the root and for a key of which nothing tells what lies above it.
  EvidenceKey ParentOf(EvidenceKey key) const;
  // Those of the tree first, as displayed, then those that hang there by a repair, then the freed.
  // The freed ones ascending by position. Hidden keys are left out.
  std::vector<EvidenceKey> ChildrenOf(EvidenceKey key) const;
  // The first child of that name, ignoring case. The children of a key are looked through once.
  EvidenceKey ChildNamed(EvidenceKey key, std::string_view name);
  // By names joined with "\"; none of these may hold one.
  EvidenceKey Below(EvidenceKey key, std::string_view path);
  // Keys of which nothing tells what lies above them.
  // Collected when first asked for; valid as long as this. Those of the tree first, then the freed.
  const std::vector<EvidenceKey>& LooseKeys();

  // All of a key's values with their data, the freed ones after the others. What data may be read
  // more than once is bounded over the whole walk.
  std::vector<EvidenceValue> ValuesOf(EvidenceKey key);
  // The first value of that name alone; no position when there is none.
  EvidenceValue ValueNamed(EvidenceKey key, std::string_view name);
  // The values that no key names, recovered and freed.
  std::vector<EvidenceValue> LooseValues();

 private:
  uint32_t RowOf(EvidenceKey key) const { return key - static_cast<uint32_t>(tree_.items.size()); }
  const FreedKey& FreedOf(EvidenceKey key) const { return freed_->records.keys[RowOf(key)]; }
  // Fill `copies_`, and `freed_children_` and `freed_values_`.
  void NoteCopies();
  void NoteFreed();
  // The value whose record is at the position, data within the budget; the freed one of that row.
  EvidenceValue ReadLive(uint32_t position);
  EvidenceValue ReadFreed(uint32_t row);

  const HiveImage& hive_;
  const KeyTree& tree_;
  FreedSource* freed_;
  PathWalker paths_;
  DataBudget budget_;
  // By the position of a key: its copy in the folder of disconnected keys.
  std::unordered_map<uint32_t, uint32_t> copies_;
  std::unordered_multimap<uint32_t, uint32_t> freed_children_;  // rows, by the parent's position
  std::unordered_multimap<uint32_t, uint32_t> freed_values_;    // rows, by the key's position
  // Of keys whose children were asked for by name: these, by name in capitals.
  std::unordered_map<EvidenceKey, std::unordered_map<std::string, EvidenceKey>> named_;
  std::vector<EvidenceKey> loose_;  // keys that no list leads to, found when first asked for
  bool loose_known_ = false;
};

// The first value of that name, ignoring case; null for none.
const EvidenceValue* FindValue(const std::vector<EvidenceValue>& values, std::string_view name);

}  // namespace hivequarry

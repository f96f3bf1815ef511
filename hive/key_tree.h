// The key tree as displayed: the result of a load, and what every feature that walks keys walks.
//
// One item per key (each key once, whatever lists name it), in display order: a key is before
// its children, its subtree is one run of items. So a walk is a loop over indices, and there is no
// recursion over file data anywhere. Item 0 is the hive's root item; the two virtual folders are
// after the root's own subtree, as the root's last two children.
//
// Items are positions and numbers; names are read from the image when asked for.
#pragma once

#include <atomic>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "hive/image.h"
#include "hive/position_index.h"

namespace hivequarry {

// No item, or no row, where a number of one is given.
inline constexpr uint32_t kNoItem = 0xFFFFFFFF;

// Repair marks of a key.
enum KeyMark : uint16_t {
  kMarkSibling = 0x0001,        // created as a missing sibling
  kMarkParent = 0x0002,         // created as a missing parent
  kMarkChild = 0x0004,          // created as a missing child
  kMarkHashName = 0x0040,       // name taken from a list's four-character hint
  kMarkNoName = 0x0080,         // no name of its own: "virtname"
  kMarkBadLength = 0x0100,      // slack after the name: "bad_len"
  kMarkListParent = 0x0200,     // parent set from the list that holds it: "lf_repaired"
  kMarkSiblingParent = 0x0400,  // parent set from its siblings' list: "par_lh2_rep1"
  kMarkByParent = 0x0800,       // hangs where its parent field says; no list names it: "par_field"
  kMarkBadNk = 0x1000,          // accepted only by the tolerant signature test: "bad_nk"
  kMarkShared = 0x2000,         // its bytes are another recovered record's too: "shared"
};

// Keys that were made: no key cell is at their position.
inline constexpr uint16_t kVirtualMarks = kMarkSibling | kMarkParent | kMarkChild;

// Repairs of a key that have no mark of their own.
enum KeyRepair : uint8_t {
  kRepairParent = 0x01,      // implausible parent field set right: "par_rep 0x..."
  kRepairValueList = 0x02,   // value-list offset set right: "val_rep"
  kRepairSubkeyList = 0x04,  // its subkey list found again: "list_rep"
  kRepairRoot = 0x08,        // root key's parent field set aside: "root_rep"
  // Its parent field names a key that never had it: "par_reused". The place was used again.
  kRepairNotItsParent = 0x10,
};

// kPathCopy: a connected key shown once more under "Disconnected Keys", as the way to a key that
// names it as its parent though its list does not name that key. Walks pass copies over.
enum class ItemKind : uint8_t { kKey, kRoot, kDisconnectedKeys, kDisconnectedValues, kPathCopy };

// One line of the tree. Items are in display order, each before those below it: a subtree is [item,
// end).
struct KeyItem {
  uint32_t position = kNoOffset;  // of the key's cell; of a folder, its identifier
  uint32_t parent = kNoItem;      // the item it hangs under
  uint32_t end = 0;               // the item after its subtree
  uint32_t entry = 0;             // position of the list entry by which it hangs, 0 for none
  uint16_t marks = 0;             // KeyMark bits
  uint8_t repairs = 0;            // KeyRepair bits
  ItemKind kind : 3 = ItemKind::kKey;
  bool connected : 1 = false;  // hangs from the root cell through subkey lists
  bool hidden : 1 = false;     // taken out of the view, with its whole subtree (HideBranch)
  bool noted : 1 = false;      // the tree's key_notes have one at its position
};
static_assert(sizeof(KeyItem) == 20, "a million keys have one each");

// What few keys have beside that: those of which something was lost.
struct KeyNote {
  // With kMarkHashName the four characters of a list's hint, the first one lowest; else the number
  // of the generated name "Unnamed(%02d)", 0 for a key that has its own.
  uint32_t made_name = 0;
  uint32_t evidence = 0;  // position of the list entry or parent field that a repair rests on
};

// The list entry from which a sibling was made.
struct SiblingNote {
  uint16_t signature = 0;  // of the list
  uint32_t count = 0;      // of the list
  uint32_t row = 0;        // of the entry among the recorded ones
};

// A number that is worked out when it is first asked for, by any thread; 0 until then.
// Threads that ask at the same time may each work it out: they come to the same number.
struct LateNumber {
  std::atomic<size_t> value{0};
  LateNumber() = default;
  LateNumber(const LateNumber& other) : value(other.value.load()) {}
  LateNumber& operator=(const LateNumber& other) {
    value = other.value.load();
    return *this;
  }
};

// What a load makes of an image. Nothing of it is changed after that but which branches are hidden.
struct KeyTree {
  std::vector<KeyItem> items;            // empty before a load
  uint32_t disconnected_keys = kNoItem;  // the folder items
  uint32_t disconnected_values = kNoItem;
  std::string root_text;                               // of item 0: the root label, or "ROOT"
  uint32_t minimum_name_length = 0;                    // taken for keys with a name length of 0
  PositionIndex key_positions;                         // the keys' cell positions
  std::vector<uint32_t> item_of_rank;                  // item by rank in key_positions
  std::vector<uint32_t> disconnected_value_positions;  // ascending
  std::unordered_map<uint32_t, KeyNote> key_notes;     // of items that are `noted`, by position
  std::unordered_map<uint32_t, SiblingNote> sibling_notes;  // by position of the made key
  // Recovered records of which one is in the data of the other, each with one of the others.
  std::unordered_map<uint32_t, uint32_t> shared_bytes;
  bool any_hidden = false;        // some item is `hidden`
  mutable LateNumber path_limit;  // ListedPathLimit
};

// An empty one for an item without a note.
inline KeyNote NoteOf(const KeyTree& tree, const KeyItem& item) {
  if (!item.noted) return {};
  const auto found = tree.key_notes.find(item.position);
  return found == tree.key_notes.end() ? KeyNote() : found->second;
}
inline bool HasMadeName(const KeyTree& tree, const KeyItem& item) {
  return NoteOf(tree, item).made_name != 0;
}

// From a sibling on (its number, or that of the place after the last one): the first that is not
// hidden; kNoItem when there is none before `end`.
inline uint32_t FirstShown(const KeyTree& tree, uint32_t item, uint32_t end) {
  while (item < end && tree.items[item].hidden) item = tree.items[item].end;
  return item < end ? item : kNoItem;
}
// Children as displayed: hidden ones are passed over.
inline uint32_t FirstChild(const KeyTree& tree, uint32_t item) {
  return FirstShown(tree, item + 1, tree.items[item].end);
}
inline uint32_t NextSibling(const KeyTree& tree, uint32_t item) {
  const uint32_t parent = tree.items[item].parent;
  if (parent == kNoItem) return kNoItem;
  return FirstShown(tree, tree.items[item].end, tree.items[parent].end);
}
inline bool HasChildren(const KeyTree& tree, uint32_t item) {
  return FirstChild(tree, item) != kNoItem;
}
// True for an item that stands for a key: not for a folder, a path copy, a hidden item, or a root
// item without a root key. So walks that ask this leave hidden keys out.
bool IsKeyItem(const KeyTree& tree, uint32_t item);

// True for an item that is shown as a key: one that stands for it, or a path copy.
inline bool IsKeyOrCopy(const KeyTree& tree, uint32_t item) {
  const KeyItem& it = tree.items[item];
  return IsKeyItem(tree, item) || (it.kind == ItemKind::kPathCopy && !it.hidden);
}
// True for an item that stands for a key with a cell of its own, which has values and a date; not
// for a made key.
inline bool HasKeyCell(const KeyTree& tree, uint32_t item) {
  return IsKeyItem(tree, item) && (tree.items[item].marks & kVirtualMarks) == 0;
}

// For who builds a tree, whose items are added each before its children, and only before the tree
// is shown to anybody else. A folder below the root, by its identifier; its number.
uint32_t AddFolder(KeyTree& tree, ItemKind kind, uint32_t identifier);
// All that is below the item has been added. Every item is closed once, children before their
// parent; until then `end` means nothing.
inline void CloseItem(KeyTree& tree, uint32_t item) {
  tree.items[item].end = static_cast<uint32_t>(tree.items.size());
}

// Takes an item out of the view with its subtree, or brings all back that was taken out. Numbers of
// items stay what they are. No walk may be under way.
void HideBranch(KeyTree& tree, uint32_t item);
void UnhideAll(KeyTree& tree);

// The item of the key at `position`, hidden or not; kNoItem when the tree has none.
// A constant-time look-up. Path copies are not found by it: the key's own item is.
uint32_t ItemOfPosition(const KeyTree& tree, uint32_t position);

// Displayed name: the root's registry path, a folder's title, the key's name as ShownKeyName has
// it, or its generated name.
// One of more than kLongestShownName characters ends in kNameCut.
inline constexpr size_t kLongestShownName = 256;
inline constexpr std::string_view kNameCut = "...";
// UTF-8, safe to show: what no name should have is escaped (host/visible_text.h). The second form
// adds it to the end of `out`, which saves a walk one allocation for each key.
std::string ItemName(const HiveImage& hive, const KeyTree& tree, uint32_t item);
void AppendItemName(const HiveImage& hive, const KeyTree& tree, uint32_t item, std::string& out);
// A key's name as stored, with whatever characters are in it; any other item's displayed name.
// Not safe to show as it is: control characters and backslashes may be in it.
std::string StoredItemName(const HiveImage& hive, const KeyTree& tree, uint32_t item);
void AppendStoredItemName(const HiveImage& hive, const KeyTree& tree, uint32_t item,
                          std::string& out);

// Full path of an item: the root's text and every name down to it, joined by "\". Names may be
// nested so that the paths of a small file fill any memory, so a path longer than `limit`
// characters is shown shortened: "ROOT\...@0x00012340\name\name", from the ancestor whose key cell
// is at that place in the file (file_place.h) on. Under "Disconnected Keys" that folder is after
// the root. So
// keys that differ in place or name differ in their paths.
inline constexpr size_t kLongestPath = 32767;  // characters; no registry has longer ones
// The limit for paths of which lists hold one for each row: kLongestPath unless so many keys have
// long paths that they outgrow the file; never below kLeastPath. The first call for a tree looks at
// all of its items.
inline constexpr size_t kLeastPath = 256;
size_t ListedPathLimit(const HiveImage& hive, const KeyTree& tree);

// Linear in the item's depth: a walk over many items takes a PathWalker.
std::string ItemPath(const HiveImage& hive, const KeyTree& tree, uint32_t item);
// The same with kLongestPath as the limit, for the path of one item.
std::string LongItemPath(const HiveImage& hive, const KeyTree& tree, uint32_t item);
// Where paths are put together from other things than a tree, a name is appended only while the
// path stays below this.
inline constexpr size_t kPathLimit = 1040;

// The path with the names as they are stored, where one of them is displayed otherwise; else empty.
std::string StoredItemPath(const HiveImage& hive, const KeyTree& tree, uint32_t item);

// Path texts of a walk in item order: each item's path is made from its parent's, once. Items in
// another order are right as well, and cost as much as ItemPath does. Keeps references to the image
// and the tree, which must outlive it; one thread.
class PathWalker {
 public:
  PathWalker(const HiveImage& hive, const KeyTree& tree) : hive_(hive), tree_(tree) {}
  // Path of `item`, as ItemPath gives it; cheap when items are asked for in ascending order. Valid
  // until another item is asked for.
  const std::string& PathOf(uint32_t item);
  // As StoredItemPath has it; valid as long.
  const std::string& StoredPathOf(uint32_t item);

  // A component of a path.
  struct Level {
    uint32_t item;
    size_t length;  // of the path text up to this item
    bool escaped;   // this or one above is not displayed as it is stored
  };
  // Of the item asked for last, from the root down: of its whole path.
  std::span<const Level> Levels() const { return levels_; }
  // True where PathOf gives another text than that.
  bool IsShortened() const { return IsLong() && AnchorLevel() != 0; }

 private:
  // Makes `levels_` and `path_` those of the item: back to its nearest ancestor among the levels,
  // and down from there. Push adds one name.
  void Enter(uint32_t item);
  void Push(uint32_t item);
  // Whether the path is to be shortened, and from which level on it is shown then.
  bool IsLong() const;
  size_t AnchorLevel() const;

  const HiveImage& hive_;
  const KeyTree& tree_;
  std::vector<Level> levels_;
  std::string path_;  // of the last level, whole
  std::string shortened_;
  std::string stored_;
};

// The item that a path names (as ItemPath spells it, shortened or not; also without the root's own
// text, with a leading "\", and with the root in long form). Names compare without regard to case.
// kNoItem when there is none.
// Where children are named alike the one with the longest name that fits is taken, of equal ones
// the first. Linear in the children met on the way.
uint32_t FindItemByPath(const HiveImage& hive, const KeyTree& tree, std::string_view path);

// True for a key that is in the tree without a list that leads to it from the root, or without
// a cell: it hangs by its parent field, or below such a key, or was made.
bool IsRecovered(const KeyTree& tree, uint32_t item);

// The status words of a key's marks: "missing name", "hash name", "recovered parent" and so on, and
// after them how it came to hang there.
std::string StatusText(uint16_t marks);
// The words of the info column: "bad_nk bad_len virtname ...", blank-separated. `parent_offset` is
// the stored form of the key's parent, for "par_rep 0x%X".
std::string MarkWords(uint16_t marks, uint8_t repairs = 0, uint32_t parent_offset = 0);

inline constexpr const char* kDisconnectedKeysTitle = "Disconnected Keys";
inline constexpr const char* kDisconnectedValuesTitle = "Disconnected Values";
// How a key is named of which no name is left: "Unnamed(01)" by a number, or by the name hint of
// the list entry that leads to it, the name's first four characters in the code page, low byte
// first.
// Two digits at least.
std::string GeneratedName(uint32_t number);
std::string HintName(uint32_t hint);

// Identifiers of the virtual folders, beyond every real cell position.
inline uint32_t DisconnectedKeysId(const HiveImage& hive) {
  return hive.length + 4096 + static_cast<uint32_t>(hive.slot);
}
inline uint32_t DisconnectedValuesId(const HiveImage& hive) {
  return hive.length + 4152 + static_cast<uint32_t>(hive.slot);
}

}  // namespace hivequarry

#include "recovery/hang_keys.h"

#include <algorithm>
#include <array>
#include <span>
#include <utility>

#include "bytes/large_pages.h"
#include "hive/keys.h"
#include "records/key_flags.h"
#include "recovery/live_cells.h"

namespace hivequarry {
namespace {

// Where each key row hangs.
// By key row: the tables' rows do not change while it lives.
struct Hanging {
  // Key row, kNoRow for a first level. Empty while all that hangs does so by lists: OwnersByLists.
  std::vector<uint32_t> owner;
  std::vector<uint32_t> entry;  // index in the child-entry table; kNoRow: by its parent field
  std::vector<bool> reached;    // it hangs somewhere
  std::vector<bool> connected;  // hangs from the root through lists alone
  uint32_t root = kNoRow;
  std::vector<bool> disproved;  // the key that its parent field names never had it
  // Rows that may hang by their parent field, by the row that it names: those of row r are
  // by_field[field_start[r]] up to field_start[r + 1], ascending.
  std::vector<uint32_t> field_start;
  std::vector<uint32_t> by_field;
};

uint32_t OwnerOf(const Hanging& hanging, uint32_t row) {
  return hanging.owner.empty() ? kNoRow : hanging.owner[row];
}

// Valid until an entry is added to the tables.
std::span<const ChildEntry> EntriesOf(const ScanTables& tables, const KeyRow& key) {
  return std::span(tables.child_entries).subspan(key.first_entry, key.entry_count);
}

std::span<const uint32_t> FieldChildren(const Hanging& hanging, uint32_t row) {
  if (hanging.field_start.empty()) return {};
  const uint32_t first = hanging.field_start[row];
  return std::span(hanging.by_field).subspan(first, hanging.field_start[row + 1] - first);
}

// True when the parent that the row names is what its own parent field says.
bool HasOwnField(const KeyRow& key) {
  constexpr uint16_t kByList = kMarkSibling | kMarkChild | kMarkListParent | kMarkSiblingParent;
  return (key.marks & kByList) == 0 && (key.repairs & kRepairParent) == 0;
}

// The row that an unreached key's parent field names, kNoRow for none.
uint32_t FieldOwner(const ScanTables& tables, const Hanging& hanging, uint32_t row) {
  const KeyRow& key = tables.keys[row];
  if (key.root || key.parent == kNoOffset || hanging.disproved[row]) return kNoRow;
  const uint32_t owner = RowAt(tables, key.parent);
  return owner == row ? kNoRow : owner;
}

// Bytes of a key's name as UTF-16.
uint32_t WideNameLength(const HiveImage& hive, const KeyRow& key) {
  const uint32_t length = ReadU16(hive, key.position + kKeyNameLength);
  return IsWideKeyName(ReadU8(hive, key.position + kKeyFlags)) ? length : 2 * length;
}

// What keys remember of the names of all subkeys that they ever had since they had none.
class NameMarks {
 public:
  NameMarks(const HiveImage& hive, const ScanTables& tables)
      : hive_(hive), tables_(tables), known_(tables.keys.size(), kUnknown) {}

  // True for a key whose name is longer than any that the owner had.
  bool Disprove(uint32_t owner, uint32_t child) {
    const KeyRow& key = tables_.keys[owner];
    const KeyRow& named = tables_.keys[child];
    if (IsMade(key) || IsMade(named) || !HasOwnField(named)) return false;
    return ReadU32(hive_, key.position + kKeySubkeyCount) != 0 &&
           MarkOf(key) < WideNameLength(hive_, named) && IsKept(owner);
  }

 private:
  enum : uint8_t { kUnknown, kKept, kWrong };

  uint32_t MarkOf(const KeyRow& key) const {
    return ReadU16(hive_, key.position + kKeyLongestSubkeyName);
  }

  // Not every writer of hives keeps the mark, and it may be damaged: then subkeys exceed it.
  bool IsKept(uint32_t owner) {
    if (known_[owner] != kUnknown) return known_[owner] == kKept;
    const KeyRow& key = tables_.keys[owner];
    const uint32_t mark = MarkOf(key);
    bool kept = mark != 0;
    for (const ChildEntry& entry : EntriesOf(tables_, key)) {
      if (!kept) break;
      const bool own = entry.row != kNoRow && !IsMade(tables_.keys[entry.row]) &&
                       tables_.keys[entry.row].parent == key.position;
      kept = !own || WideNameLength(hive_, tables_.keys[entry.row]) <= mark;
    }
    known_[owner] = kept ? kKept : kWrong;
    return kept;
  }

  const HiveImage& hive_;
  const ScanTables& tables_;
  std::vector<uint8_t> known_;
};

// A counting sort: how many name each row, where its children begin, then the children in order.
void IndexFields(const HiveImage& hive, const ScanTables& tables, Hanging& hanging) {
  NameMarks marks(hive, tables);
  const auto count = static_cast<uint32_t>(tables.keys.size());
  hanging.field_start.assign(count + 1, 0);
  std::vector<uint32_t> owners(count, kNoRow);
  hanging.disproved.assign(count, false);
  for (uint32_t row = 0; row < count; ++row) {
    if (hanging.reached[row]) continue;
    owners[row] = FieldOwner(tables, hanging, row);
    if (owners[row] != kNoRow && marks.Disprove(owners[row], row)) {
      hanging.disproved[row] = true;
      owners[row] = kNoRow;
    }
    if (owners[row] != kNoRow) ++hanging.field_start[owners[row] + 1];
  }
  for (uint32_t row = 0; row < count; ++row) {
    hanging.field_start[row + 1] += hanging.field_start[row];
  }
  hanging.by_field.resize(hanging.field_start[count]);
  std::vector<uint32_t> next(hanging.field_start.begin(), hanging.field_start.end() - 1);
  for (uint32_t row = 0; row < count; ++row) {
    if (owners[row] != kNoRow) hanging.by_field[next[owners[row]]++] = row;
  }
}

// A way to a key; ways are followed in the order of belief, and within it first come, first served.
enum Belief { kAgreed, kFieldOfLost, kListed, kFieldOnly, kBeliefs };
struct KeyClaim {
  uint32_t row;
  uint32_t owner;  // key row that has it
  uint32_t entry;  // in the child-entry table, kNoRow by field
};

// A queue for each belief. Whenever a key was reached the search begins anew at the strongest: so a
// key never hangs by a weaker claim while a stronger one could still be found.
class Spreader {
 public:
  Spreader(const ScanTables& tables, Hanging& hanging) : tables_(tables), hanging_(hanging) {}

  // A key that hangs nowhere; what it leads to is reached by Run.
  void Start(uint32_t row) {
    if (!hanging_.reached[row]) Reach({row, kNoRow, kNoRow});
  }
  // Offers the ways by field from an owner that was reached before fields were indexed.
  void OfferFields(uint32_t owner) {
    const Belief belief = tables_.keys[owner].list_broken ? kFieldOfLost : kFieldOnly;
    for (const uint32_t row : FieldChildren(hanging_, owner)) {
      if (!hanging_.reached[row]) queues_[belief].push_back({row, owner, kNoRow});
    }
  }
  void Run() {
    for (int belief = 0; belief < kBeliefs;) {
      if (heads_[belief] == queues_[belief].size()) {
        ++belief;
        continue;
      }
      const KeyClaim claim = NextKeyClaim(static_cast<Belief>(belief));
      if (hanging_.reached[claim.row]) continue;
      Reach(claim);
      belief = 0;  // what this key leads to may be believed more
    }
    for (int belief = 0; belief < kBeliefs; ++belief) {
      queues_[belief].clear();
      heads_[belief] = 0;
    }
  }

 private:
  // An agreed way is the only one of its kind, so the order of these does not matter: taken from
  // the back they need little room.
  KeyClaim NextKeyClaim(Belief belief) {
    if (belief != kAgreed) return queues_[belief][heads_[belief]++];
    const KeyClaim claim = queues_[belief].back();
    queues_[belief].pop_back();
    return claim;
  }

  // A key hangs where it was reached first, for good; the ways on from it are offered by how far
  // they are believed. Each row is reached once, so the walk ends.
  void Reach(const KeyClaim& claim) {
    hanging_.reached[claim.row] = true;
    if (!hanging_.owner.empty()) hanging_.owner[claim.row] = claim.owner;
    hanging_.entry[claim.row] = claim.entry;
    const KeyRow& key = tables_.keys[claim.row];
    for (uint32_t i = 0; i < key.entry_count; ++i) {
      const uint32_t index = key.first_entry + i;
      const uint32_t row = tables_.child_entries[index].row;
      if (row == kNoRow || hanging_.reached[row]) continue;
      const Belief belief = tables_.keys[row].parent == key.position ? kAgreed : kListed;
      queues_[belief].push_back({row, claim.row, index});
    }
    OfferFields(claim.row);
  }

  const ScanTables& tables_;
  Hanging& hanging_;
  std::array<std::vector<KeyClaim>, kBeliefs> queues_;
  std::array<size_t, kBeliefs> heads_{};
};

// Unreached rows to which no unreached row leads, by list or by field.
std::vector<uint32_t> LooseRows(const ScanTables& tables, const Hanging& hanging) {
  const auto count = static_cast<uint32_t>(tables.keys.size());
  std::vector<bool> led_to(count);
  for (uint32_t row = 0; row < count; ++row) {
    if (hanging.reached[row]) continue;
    for (const ChildEntry& entry : EntriesOf(tables, tables.keys[row])) {
      if (entry.row != kNoRow && entry.row != row) led_to[entry.row] = true;
    }
    for (const uint32_t child : FieldChildren(hanging, row)) led_to[child] = true;
  }
  std::vector<uint32_t> rows;
  for (uint32_t row = 0; row < count; ++row) {
    const bool by_field = FieldOwner(tables, hanging, row) != kNoRow;
    if (!hanging.reached[row] && !led_to[row] && !by_field) rows.push_back(row);
  }
  return rows;
}

bool AllReached(const Hanging& hanging) {
  return std::ranges::find(hanging.reached, false) == hanging.reached.end();
}

// What lists lead to from the root.
Hanging HangByLists(const HiveImage& hive, const ScanTables& tables) {
  Hanging hanging;
  const auto count = static_cast<uint32_t>(tables.keys.size());
  hanging.entry.assign(count, kNoRow);
  hanging.reached.assign(count, false);
  if (!tables.roots.empty()) hanging.root = RowAt(tables, hive.root_position);
  Spreader spreader(tables, hanging);
  if (hanging.root != kNoRow) spreader.Start(hanging.root);
  spreader.Run();
  hanging.connected = hanging.reached;
  return hanging;
}

// The owner of each key that hangs by an entry. Sound hives do without: their entries say it.
std::vector<uint32_t> OwnersByLists(const ScanTables& tables, const Hanging& hanging) {
  const auto count = static_cast<uint32_t>(tables.keys.size());
  std::vector<uint32_t> owner(count, kNoRow);
  for (uint32_t row = 0; row < count; ++row) {
    const KeyRow& key = tables.keys[row];
    for (uint32_t i = 0; i < key.entry_count; ++i) {
      const uint32_t index = key.first_entry + i;
      const uint32_t child = tables.child_entries[index].row;
      if (child != kNoRow && hanging.entry[child] == index) owner[child] = row;
    }
  }
  return owner;
}

void HangOthers(const HiveImage& hive, const ScanTables& tables, Hanging& hanging) {
  const auto count = static_cast<uint32_t>(tables.keys.size());
  hanging.owner = OwnersByLists(tables, hanging);
  Spreader spreader(tables, hanging);
  IndexFields(hive, tables, hanging);
  for (uint32_t row = 0; row < count; ++row) {
    if (hanging.connected[row]) spreader.OfferFields(row);
  }
  for (const uint32_t row : LooseRows(tables, hanging)) spreader.Start(row);
  spreader.Run();
  // What is left leads to itself in rings only.
  for (uint32_t row = 0; row < count; ++row) {
    spreader.Start(row);
    spreader.Run();
  }
}

// Writes the items of rows and their subtrees in display order, without recursion.
class Emitter {
 public:
  Emitter(const ScanTables& tables, const Hanging& hanging, KeyTree& tree)
      : tables_(tables), hanging_(hanging), tree_(tree) {}

  // The key at `row` with all below it, as a child of item `parent`.
  void EmitSubtree(uint32_t row, uint32_t parent) {
    OpenKey(row, parent);
    while (!open_.empty()) {
      uint32_t child = kNoRow;
      if (NextChild(open_.back(), child)) {
        if (child != kNoRow) OpenKey(child, open_.back().item);
        continue;
      }
      tree_.items[open_.back().item].end = static_cast<uint32_t>(tree_.items.size());
      open_.pop_back();
    }
  }

 private:
  // A key whose subtree is being written.
  struct Open {
    uint32_t row;
    uint32_t item;
    uint32_t next;  // entry to look at; after the last one, child by field
  };

  // Moves on by one; `child` is the row to open, or kNoRow. False after the last child.
  bool NextChild(Open& top, uint32_t& child) const {
    const KeyRow& key = tables_.keys[top.row];
    const uint32_t at = top.next++;
    if (at < key.entry_count) {
      const uint32_t index = key.first_entry + at;
      const uint32_t row = tables_.child_entries[index].row;
      if (row != kNoRow && hanging_.entry[row] == index) child = row;
      return true;
    }
    const std::span<const uint32_t> children = FieldChildren(hanging_, top.row);
    if (at - key.entry_count >= children.size()) return false;
    const uint32_t row = children[at - key.entry_count];
    if (HangsByField(row, top.row)) child = row;
    return true;
  }

  bool HangsByField(uint32_t row, uint32_t owner) const {
    if (OwnerOf(hanging_, row) != owner || hanging_.entry[row] != kNoRow) return false;
    // Unlinked from a list that is whole: shown under "Disconnected Keys".
    return !hanging_.connected[owner] || tables_.keys[owner].list_broken;
  }

  // Adds the item of a key whose children come next; CloseItem ends its subtree. A key that was not
  // reached by an entry hangs by its own field, and says so.
  void OpenKey(uint32_t row, uint32_t parent) {
    const KeyRow& key = tables_.keys[row];
    const auto item = static_cast<uint32_t>(tree_.items.size());
    KeyItem& added = tree_.items.emplace_back();
    added.position = key.position;
    added.parent = parent;
    added.marks = key.marks;
    added.repairs = key.repairs;
    added.noted = key.noted;
    added.kind = parent == kNoItem ? ItemKind::kRoot : ItemKind::kKey;
    added.connected = hanging_.connected[row];
    if (hanging_.entry[row] != kNoRow) {
      added.entry = tables_.child_entries[hanging_.entry[row]].position;
    } else if (OwnerOf(hanging_, row) != kNoRow && HasOwnField(key)) {
      added.marks |= kMarkByParent;
    }
    const bool disproved = !hanging_.disproved.empty() && hanging_.disproved[row];
    if (disproved) added.repairs |= kRepairNotItsParent;
    tree_.item_of_rank[row] = item;
    open_.push_back({row, item, 0});
  }

  const ScanTables& tables_;
  const Hanging& hanging_;
  KeyTree& tree_;
  std::vector<Open> open_;
};

// The branches of path copies under "Disconnected Keys": opened and closed as the places to show
// come in display order, so each connected key is copied once at most.
class CopyBranches {
 public:
  explicit CopyBranches(KeyTree& tree) : tree_(tree) {}

  // The copy of the connected item `place`, made with its ancestors where it is not open; the
  // root's copy is the folder itself.
  uint32_t Open(uint32_t place) {
    size_t same = open_.size();
    while (same > 0 && !IsOnTheWay(open_[same - 1].first, place)) --same;
    CloseTo(same);
    // Only the part of the way that is not open is walked: all ways together take no more steps
    // than there are copies.
    std::vector<uint32_t> way;
    const uint32_t known = open_.empty() ? 0 : open_.back().first;
    for (uint32_t at = place; at != known; at = tree_.items[at].parent) way.push_back(at);
    for (auto original = way.rbegin(); original != way.rend(); ++original) {
      KeyItem copy = tree_.items[*original];
      copy.kind = ItemKind::kPathCopy;
      copy.parent = open_.empty() ? tree_.disconnected_keys : open_.back().second;
      copy.connected = false;
      open_.emplace_back(*original, static_cast<uint32_t>(tree_.items.size()));
      tree_.items.push_back(copy);
    }
    return open_.empty() ? tree_.disconnected_keys : open_.back().second;
  }
  void CloseTo(size_t level) {
    for (; open_.size() > level; open_.pop_back()) CloseItem(tree_, open_.back().second);
  }

 private:
  bool IsOnTheWay(uint32_t item, uint32_t place) const {
    return place >= item && place < tree_.items[item].end;
  }

  KeyTree& tree_;
  std::vector<std::pair<uint32_t, uint32_t>> open_;  // item and its copy
};

// First what hangs nowhere, by position, then what was unlinked, in the order of the places in the
// tree, so that the copies of the way there are made once.
void EmitDisconnected(const ScanTables& tables, const Hanging& hanging, Emitter& emitter,
                      KeyTree& tree) {
  std::vector<std::pair<uint32_t, uint32_t>> unlinked;  // place, row
  for (uint32_t row = 0; row < tables.keys.size(); ++row) {
    if (hanging.connected[row] || tree.item_of_rank[row] != kNoItem) continue;
    const uint32_t owner = OwnerOf(hanging, row);
    if (owner == kNoRow) {
      emitter.EmitSubtree(row, tree.disconnected_keys);
    } else if (hanging.connected[owner]) {
      unlinked.emplace_back(tree.item_of_rank[owner], row);
    }
  }
  std::sort(unlinked.begin(), unlinked.end());
  CopyBranches branches(tree);
  for (const auto& [place, row] : unlinked) emitter.EmitSubtree(row, branches.Open(place));
  branches.CloseTo(0);
}

}  // namespace

std::vector<bool> RowsReachedByLists(const HiveImage& hive, const ScanTables& tables) {
  return HangByLists(hive, tables).reached;
}

// A sound hive is done after the lists: what is not reached costs the rest.
void HangKeys(const HiveImage& hive, ScanTables& tables, KeyTree& tree) {
  Hanging hanging = HangByLists(hive, tables);
  if (!AllReached(hanging)) {
    if (DropOwnedKeys(hive, hanging.connected, tables) != 0) hanging = HangByLists(hive, tables);
    HangOthers(hive, tables, hanging);
  }
  tree.items.clear();
  ReserveLarge(tree.items, tables.keys.size() + 3);
  tree.item_of_rank.assign(tables.keys.size(), kNoItem);
  Emitter emitter(tables, hanging, tree);
  if (hanging.root != kNoRow) {
    emitter.EmitSubtree(hanging.root, kNoItem);
  } else {
    tree.items.emplace_back().kind = ItemKind::kRoot;
  }
  tree.disconnected_keys = AddFolder(tree, ItemKind::kDisconnectedKeys, DisconnectedKeysId(hive));
  EmitDisconnected(tables, hanging, emitter, tree);
  CloseItem(tree, tree.disconnected_keys);
  tree.disconnected_values =
      AddFolder(tree, ItemKind::kDisconnectedValues, DisconnectedValuesId(hive));
  CloseItem(tree, tree.disconnected_values);
  CloseItem(tree, 0);
  tree.key_positions = std::move(tables.key_index);
  tree.key_notes = std::move(tables.key_notes);
  tree.sibling_notes = std::move(tables.sibling_notes);
}

}  // namespace hivequarry

#include "recovery/hang_keys.h"

#include <span>
#include <utility>

namespace hivequarry {
namespace {

// Where each key row hangs: the list entry that was chosen for it, and the row that owns the entry.
struct Hanging {
  std::vector<uint32_t> owner;  // key row, kNoRow for a first level
  std::vector<uint32_t> entry;  // index in the child-entry table
  std::vector<bool> reached;
  uint32_t root = kNoRow;
};

std::span<const ChildEntry> EntriesOf(const ScanTables& tables, const KeyRow& key) {
  return std::span(tables.child_entries).subspan(key.first_entry, key.entry_count);
}

struct Claim {
  uint32_t owner;
  uint32_t entry;
};

// Reaches all that lists lead to from the starting rows. Entries whose key names their owner as its
// parent are followed before all others, so a key goes where both sides agree, if it can.
void Spread(const ScanTables& tables, std::vector<uint32_t> agreed, Hanging& hanging) {
  std::vector<Claim> disputed;  // taken in order, from `next_disputed` on
  size_t next_disputed = 0;
  size_t next_agreed = 0;
  for (;;) {
    uint32_t owner = kNoRow;
    if (next_agreed < agreed.size()) {
      owner = agreed[next_agreed++];
    } else if (next_disputed < disputed.size()) {
      const Claim claim = disputed[next_disputed++];
      const uint32_t row = tables.child_entries[claim.entry].row;
      if (hanging.reached[row]) continue;
      hanging.reached[row] = true;
      hanging.owner[row] = claim.owner;
      hanging.entry[row] = claim.entry;
      owner = row;
    } else {
      return;
    }
    const KeyRow& key = tables.keys[owner];
    for (uint32_t i = 0; i < key.entry_count; ++i) {
      const uint32_t index = key.first_entry + i;
      const uint32_t row = tables.child_entries[index].row;
      if (row == kNoRow || hanging.reached[row]) continue;
      if (tables.keys[row].parent != key.position) {
        disputed.push_back({owner, index});
        continue;
      }
      hanging.reached[row] = true;
      hanging.owner[row] = owner;
      hanging.entry[row] = index;
      agreed.push_back(row);
    }
  }
}

// Unreached rows that no other unreached row's list names.
std::vector<uint32_t> UnnamedRows(const ScanTables& tables, const Hanging& hanging) {
  std::vector<bool> named(tables.keys.size());
  for (uint32_t row = 0; row < tables.keys.size(); ++row) {
    if (hanging.reached[row]) continue;
    for (const ChildEntry& entry : EntriesOf(tables, tables.keys[row])) {
      if (entry.row != kNoRow && entry.row != row) named[entry.row] = true;
    }
  }
  std::vector<uint32_t> rows;
  for (uint32_t row = 0; row < tables.keys.size(); ++row) {
    if (!hanging.reached[row] && !named[row]) rows.push_back(row);
  }
  return rows;
}

void StartFrom(const ScanTables& tables, const std::vector<uint32_t>& rows, Hanging& hanging) {
  for (const uint32_t row : rows) hanging.reached[row] = true;
  Spread(tables, rows, hanging);
}

// Returns which rows are connected.
std::vector<bool> HangAll(const ScanTables& tables, Hanging& hanging) {
  const size_t count = tables.keys.size();
  hanging.owner.assign(count, kNoRow);
  hanging.entry.assign(count, kNoRow);
  hanging.reached.assign(count, false);
  if (hanging.root != kNoRow) StartFrom(tables, {hanging.root}, hanging);
  const std::vector<bool> connected = hanging.reached;
  StartFrom(tables, UnnamedRows(tables, hanging), hanging);
  // What is left is named in rings only.
  for (uint32_t row = 0; row < count; ++row) {
    if (!hanging.reached[row]) StartFrom(tables, {row}, hanging);
  }
  return connected;
}

// Writes the items of rows and their subtrees in display order, without recursion.
class Emitter {
 public:
  Emitter(const ScanTables& tables, const Hanging& hanging, const std::vector<bool>& connected,
          KeyTree& tree)
      : tables_(tables), hanging_(hanging), connected_(connected), tree_(tree) {}

  // The key at `row` with all below it, as a child of item `parent`.
  void EmitSubtree(uint32_t row, uint32_t parent) {
    OpenKey(row, parent);
    while (!open_.empty()) {
      Open& top = open_.back();
      const KeyRow& key = tables_.keys[top.row];
      if (top.next == key.entry_count) {
        tree_.items[top.item].end = static_cast<uint32_t>(tree_.items.size());
        open_.pop_back();
        continue;
      }
      const uint32_t index = key.first_entry + top.next++;
      const uint32_t child = tables_.child_entries[index].row;
      if (child != kNoRow && hanging_.entry[child] == index) OpenKey(child, top.item);
    }
  }

 private:
  struct Open {
    uint32_t row;
    uint32_t item;
    uint32_t next;  // entry to look at
  };

  void OpenKey(uint32_t row, uint32_t parent) {
    const KeyRow& key = tables_.keys[row];
    const auto item = static_cast<uint32_t>(tree_.items.size());
    KeyItem& added = tree_.items.emplace_back();
    added.position = key.position;
    added.parent = parent;
    added.generated = key.generated;
    added.marks = key.marks;
    added.kind = parent == kNoItem ? ItemKind::kRoot : ItemKind::kKey;
    added.connected = connected_[row];
    tree_.item_of_rank[row] = item;
    open_.push_back({row, item, 0});
  }

  const ScanTables& tables_;
  const Hanging& hanging_;
  const std::vector<bool>& connected_;
  KeyTree& tree_;
  std::vector<Open> open_;
};

uint32_t AddFolder(KeyTree& tree, ItemKind kind, uint32_t identifier) {
  const auto item = static_cast<uint32_t>(tree.items.size());
  KeyItem& folder = tree.items.emplace_back();
  folder.kind = kind;
  folder.position = identifier;
  folder.parent = 0;
  return item;
}

void CloseFolder(KeyTree& tree, uint32_t item) {
  tree.items[item].end = static_cast<uint32_t>(tree.items.size());
}

}  // namespace

void HangKeys(const HiveImage& hive, ScanTables& tables, KeyTree& tree) {
  Hanging hanging;
  hanging.root =
      tables.roots.empty() ? kNoRow : RankOfPosition(tables.key_index, hive.root_position);
  const std::vector<bool> connected = HangAll(tables, hanging);
  tree.items.clear();
  tree.items.reserve(tables.keys.size() + 3);
  tree.item_of_rank.assign(tables.keys.size(), kNoItem);
  Emitter emitter(tables, hanging, connected, tree);
  if (hanging.root != kNoRow) {
    emitter.EmitSubtree(hanging.root, kNoItem);
  } else {
    tree.items.emplace_back().kind = ItemKind::kRoot;
  }
  tree.disconnected_keys = AddFolder(tree, ItemKind::kDisconnectedKeys, DisconnectedKeysId(hive));
  for (uint32_t row = 0; row < tables.keys.size(); ++row) {
    if (!connected[row] && hanging.owner[row] == kNoRow) {
      emitter.EmitSubtree(row, tree.disconnected_keys);
    }
  }
  CloseFolder(tree, tree.disconnected_keys);
  tree.disconnected_values =
      AddFolder(tree, ItemKind::kDisconnectedValues, DisconnectedValuesId(hive));
  CloseFolder(tree, tree.disconnected_values);
  CloseFolder(tree, 0);
  tree.key_positions = std::move(tables.key_index);
}

}  // namespace hivequarry

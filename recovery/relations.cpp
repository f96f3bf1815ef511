#include "recovery/relations.h"

#include <algorithm>
#include <bit>
#include <span>

#include "hive/key_tree.h"
#include "hive/keys.h"
#include "hive/offset_map.h"
#include "hive/values.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "records/cell.h"
#include "records/key_flags.h"
#include "recovery/list_recorder.h"
#include "recovery/pointer_repair.h"

namespace hivequarry {
namespace {

constexpr uint32_t kProgressRows = 128;
constexpr uint32_t kKeyRoom = 80;  // a key needs this much before the image's end

// The repair under way.
// Rows are only ever added while it lives, so their numbers hold.
struct Repair {
  HiveImage& hive;
  const ScanOptions& options;
  ScanTables& tables;
  ListRecords records;
  std::vector<uint32_t> owner_of_entry;  // key row by child entry
  std::vector<uint32_t> entry_of_row;    // a child entry that names the row's key, kNoRow for none
  size_t scanned_keys = 0;  // key rows of the scan; those that were added are after them
};

// Every kProgressRows rows: true when the user stops, else the status line says how far it is.
bool StopOrShow(uint32_t row, size_t total) {
  if (row % kProgressRows != 0) return false;
  if (StopRequested()) return true;
  ShowStatus(Concat({Decimal(row), "/", Decimal(static_cast<int64_t>(total))}).c_str());
  return false;
}

// Whether a place can hold a key at all: inside the data area, on a cell boundary, in the hive's
// own bins.
bool IsKeyPlace(const HiveImage& hive, uint32_t position) {
  return position % 8 == 0 && position >= hive.data_start + kBinHeaderSize &&
         InsideHive(hive, position, kKeyRoom) && !IsForeign(hive, position);
}

// The bytes of an accepted cell that its record needs: its size field may claim more.
// "sk": 20 is the length of the descriptor, which begins at 24.
uint64_t RecordLength(const HiveImage& hive, uint32_t cell) {
  const uint16_t signature = ReadU16(hive, cell + 4);
  const ListKind kind = ListKindOfSignature(signature);
  uint64_t needed = kKeyName + uint64_t{ReadU16(hive, cell + kKeyNameLength)};
  if (signature == kSignatureVk) needed = kValueName + ReadU16(hive, cell + kValueNameLength);
  if (signature == kSignatureSk) needed = 24 + uint64_t{ReadU32(hive, cell + 20)};
  if (kind != ListKind::kNone) needed = 8 + ReadU16(hive, cell + 6) * ListEntrySize(kind);
  return std::min<uint64_t>(needed, CellLength(ReadU32(hive, cell)));
}

// True when the place lies in an accepted cell.
bool IsTaken(const Repair& repair, uint32_t position) {
  const ScanTables& tables = repair.tables;
  const auto holds = [&](uint32_t cell) {
    return position - cell < RecordLength(repair.hive, cell);
  };
  for (const std::vector<uint32_t>* cells : {&tables.values, &tables.securities, &tables.lists}) {
    const auto behind = std::upper_bound(cells->begin(), cells->end(), position);
    if (behind != cells->begin() && holds(*std::prev(behind))) return true;
  }
  const auto scanned = std::span(tables.keys).first(repair.scanned_keys);
  const auto behind =
      std::upper_bound(scanned.begin(), scanned.end(), position,
                       [](uint32_t wanted, const KeyRow& key) { return wanted < key.position; });
  return behind != scanned.begin() && holds(std::prev(behind)->position);
}

// Notes for each row one entry that names it, the owner's agreement with the key's own parent field
// preferred.
void IndexEntries(Repair& repair) {
  ScanTables& tables = repair.tables;
  repair.owner_of_entry.assign(tables.child_entries.size(), kNoRow);
  repair.entry_of_row.assign(tables.keys.size(), kNoRow);
  for (uint32_t row = 0; row < tables.keys.size(); ++row) {
    const KeyRow& key = tables.keys[row];
    for (uint32_t i = 0; i < key.entry_count; ++i) {
      const uint32_t index = key.first_entry + i;
      repair.owner_of_entry[index] = row;
      const uint32_t child = RowAt(tables, tables.child_entries[index].key);
      SetRow(tables.child_entries[index], child);
      if (child == kNoRow || child == row) continue;
      const bool agrees = tables.keys[child].parent == key.position;
      if (agrees || repair.entry_of_row[child] == kNoRow) repair.entry_of_row[child] = index;
    }
  }
}

// Decodes the cell at `position` as a key and adds it; its own list's entries join the table.
uint32_t AddRealKey(Repair& repair, uint32_t position, bool damaged) {
  ScannedKey key;
  key.position = position;
  key.flags = ReadU16(repair.hive, position + kKeyFlags);
  key.damaged = damaged;
  if (key.flags == kRootKeyFlags) key.flags = 0x20;  // not a root of this scan
  AddScannedKey(repair.hive, key, repair.options, repair.tables);
  const auto row = static_cast<uint32_t>(repair.tables.keys.size() - 1);
  repair.owner_of_entry.resize(repair.tables.child_entries.size(), row);
  repair.entry_of_row.push_back(kNoRow);
  return row;
}

// Makes a key for a place; `evidence` is the position of the entry or field that names it.
uint32_t AddVirtualKey(Repair& repair, uint32_t position, uint16_t marks, uint32_t hint,
                       uint32_t evidence) {
  ScanTables& tables = repair.tables;
  KeyRow row;
  row.position = position;
  row.marks = static_cast<uint16_t>(marks | (hint != 0 ? kMarkHashName : kMarkNoName));
  NoteOn(tables, row) = {hint != 0 ? hint : ++tables.generated_names, evidence};
  row.list_broken = true;
  row.first_entry = static_cast<uint32_t>(tables.child_entries.size());
  tables.added_rows.emplace(position, static_cast<uint32_t>(tables.keys.size()));
  tables.keys.push_back(row);
  repair.entry_of_row.push_back(kNoRow);
  return static_cast<uint32_t>(tables.keys.size() - 1);
}

// A cell with all of a key but one bit of its signature.
bool IsKeyWithFlippedBit(const HiveImage& hive, uint32_t position) {
  const uint16_t difference = static_cast<uint16_t>(ReadU16(hive, position + 4) ^ kSignatureNk);
  return std::has_single_bit(difference) && HasKeyBody(hive, position, ReadU32(hive, position));
}

// --- missing parents

// A key for a place of which only a child's parent field tells.
void AddParentAt(Repair& repair, uint32_t position, uint32_t child) {
  ScanTables& tables = repair.tables;
  if (IsKeyCellAt(repair.hive, position)) {
    AddRealKey(repair, position, false);
    return;
  }
  if (IsKeyWithFlippedBit(repair.hive, position)) {
    AddRealKey(repair, position, true);
    return;
  }
  DamageRow damage;
  damage.position = position;
  damage.bits = kDamageParent;
  damage.failed_parent = ReadOffset(repair.hive, position + kKeyParent);
  tables.damage.push_back(damage);
  const uint32_t row = AddVirtualKey(repair, position, kMarkParent, 0, child + kKeyParent);
  ++tables.virtual_parents;
  // What is left of the cell may still say where it hung.
  const bool body = HasKeyBody(repair.hive, position, ReadU32(repair.hive, position));
  const uint32_t grandparent = damage.failed_parent;
  const bool known = RowAt(tables, grandparent) != kNoRow && grandparent != position;
  if (known || (body && IsKeyPlace(repair.hive, grandparent))) {
    tables.keys[row].parent = grandparent;
  }
}

void FindMissingParents(Repair& repair) {
  ScanTables& tables = repair.tables;
  // New rows are visited too, so a chain of missing ancestors is rebuilt level by level.
  for (uint32_t row = 0; row < tables.keys.size(); ++row) {
    if (StopOrShow(row, tables.keys.size())) return;
    const KeyRow& key = tables.keys[row];
    const uint32_t parent = key.parent;
    if (key.root || parent == kNoOffset || repair.entry_of_row[row] != kNoRow) continue;
    if (IsForeign(repair.hive, key.position)) continue;
    if (parent > tables.largest_parent || !IsKeyPlace(repair.hive, parent)) continue;
    if (RowAt(tables, parent) != kNoRow || IsTaken(repair, parent)) continue;
    AddParentAt(repair, parent, key.position);
  }
}

// --- implausible parents

// Keys that the scan noted for an implausible parent field. The key whose list names them gives the
// parent, else the other keys of a recorded list; a field that leads to a known key after all
// stays.
void RepairParents(Repair& repair) {
  ScanTables& tables = repair.tables;
  const size_t count = tables.damage.size();
  for (uint32_t i = 0; i < count; ++i) {
    if (StopOrShow(i, count)) return;
    const DamageRow& damage = tables.damage[i];
    const uint32_t row = RowAt(tables, damage.position);
    if ((damage.bits & kDamageParent) == 0 || row == kNoRow) continue;
    KeyRow& key = tables.keys[row];
    if (key.root || RowAt(tables, key.parent) != kNoRow) continue;
    uint32_t parent = kNoOffset;
    uint32_t evidence = 0;
    const uint32_t sibling = EntryOfTarget(repair.records, key.position);
    if (repair.entry_of_row[row] != kNoRow) {
      const uint32_t entry = repair.entry_of_row[row];
      parent = tables.keys[repair.owner_of_entry[entry]].position;
      evidence = tables.child_entries[entry].position;
    } else if (sibling != kNoRow) {
      parent = ListOfEntry(repair.records, sibling).parent;
      evidence = repair.records.entries[sibling].position;
    }
    if (parent == kNoOffset || RowAt(tables, parent) == kNoRow) continue;
    key.parent = parent;
    NoteOn(tables, key).evidence = evidence;
    key.repairs |= kRepairParent;
  }
}

// --- missing children

// A list is believed when its count is its key's, or at least half of its entries lead to keys.
bool IsListBelieved(const Repair& repair, const KeyRow& owner) {
  if (!owner.list_broken) return true;
  uint32_t good = 0;
  for (uint32_t i = 0; i < owner.entry_count; ++i) {
    const ChildEntry& entry = repair.tables.child_entries[owner.first_entry + i];
    const uint32_t row = RowAt(repair.tables, entry.key);
    good += row != kNoRow || IsKeyCellAt(repair.hive, entry.key);
  }
  return good * 2 >= owner.entry_count;
}

bool NamesKey(const HiveImage& hive, uint32_t position) {
  return InsideHive(hive, position, kKeyRoom) && position >= hive.data_start &&
         ReadU16(hive, position + 4) == kSignatureNk;
}

// The found key and the entry that names it say different parents: the one that is a key wins.
void Reconcile(Repair& repair, uint32_t child, uint32_t owner, uint32_t evidence) {
  ScanTables& tables = repair.tables;
  KeyRow& key = tables.keys[child];
  const uint32_t owner_position = tables.keys[owner].position;
  if (key.root || key.parent == owner_position || child == owner) return;
  if (NamesKey(repair.hive, key.parent) || RowAt(tables, key.parent) != kNoRow) return;
  if (!NamesKey(repair.hive, owner_position) && tables.keys[owner].marks == 0) return;
  key.parent = owner_position;
  KeyNote& note = NoteOn(tables, key);
  if (note.evidence == 0) note.evidence = evidence;  // a made key keeps what it was made from
  key.marks |= kMarkListParent;
}

// A key that has lost its name gets the four characters of a list's entry.
void NameByHint(Repair& repair, uint32_t row, uint32_t entry_position) {
  KeyRow& key = repair.tables.keys[row];
  uint32_t hint = 0;
  if ((key.marks & kMarkNoName) == 0 || !ReadHint(repair.hive, entry_position, hint)) return;
  NoteOn(repair.tables, key).made_name = hint;
  key.marks = static_cast<uint16_t>((key.marks | kMarkHashName) & ~kMarkNoName);
}

// The row of a real key at a place that a relation names; kNoRow when there is none.
uint32_t BringBack(Repair& repair, uint32_t position) {
  if (IsKeyCellAt(repair.hive, position)) return AddRealKey(repair, position, false);
  if (IsKeyWithFlippedBit(repair.hive, position)) return AddRealKey(repair, position, true);
  return kNoRow;
}

// The key that an entry of the owner's list names: brought back where its cell is one after all,
// made where no cell is left of it, and given the owner as its parent where its own field leads to
// no key.
void FollowChildEntry(Repair& repair, uint32_t owner, uint32_t index) {
  ScanTables& tables = repair.tables;
  const ChildEntry entry = tables.child_entries[index];
  uint32_t row = RowAt(tables, entry.key);
  if (row == kNoRow) {
    if (!IsKeyPlace(repair.hive, entry.key) || IsForeign(repair.hive, entry.position)) return;
    row = BringBack(repair, entry.key);
    if (row == kNoRow) {
      if (IsTaken(repair, entry.key)) return;
      uint32_t hint = 0;
      if (!entry.hinted || !ReadHint(repair.hive, entry.position, hint)) hint = 0;
      row = AddVirtualKey(repair, entry.key, kMarkChild, hint, entry.position);
      tables.keys[row].parent = tables.keys[owner].position;
      ++tables.virtual_children;
    }
  }
  if (repair.entry_of_row[row] == kNoRow) repair.entry_of_row[row] = index;
  Reconcile(repair, row, owner, entry.position);
  if (entry.hinted) NameByHint(repair, row, entry.position);
}

void FindMissingChildren(Repair& repair) {
  ScanTables& tables = repair.tables;
  // Keys that come back bring lists of their own, whose rows are visited in turn.
  for (uint32_t row = 0; row < tables.keys.size(); ++row) {
    if (StopOrShow(row, tables.keys.size())) return;
    const KeyRow owner = tables.keys[row];
    if (owner.entry_count == 0 || !IsListBelieved(repair, owner)) continue;
    for (uint32_t i = 0; i < owner.entry_count; ++i) {
      FollowChildEntry(repair, row, owner.first_entry + i);
    }
  }
}

// --- missing siblings

// At least one companion is a key, and at least half are or were.
bool IsRecordBelieved(const Repair& repair, const RecordedList& list) {
  uint32_t keys = 0;
  uint32_t cells = 0;
  for (uint32_t i = 0; i < list.entries; ++i) {
    const uint32_t target = repair.records.entries[list.first + i].target;
    const bool key = RowAt(repair.tables, target) != kNoRow;
    keys += key;
    cells += key || IsKeyCellAt(repair.hive, target);
  }
  return keys > 0 && cells * 2 >= list.entries;
}

// The first companion whose recorded parent is a key gives the list's parent, unless most agree on
// another.
uint32_t ParentOfList(const Repair& repair, const RecordedList& list) {
  const auto is_key = [&](uint32_t position) {
    return position != kNoOffset &&
           (IsKeyCellAt(repair.hive, position) || RowAt(repair.tables, position) != kNoRow);
  };
  if (is_key(list.parent)) return list.parent;
  for (uint32_t i = 0; i < list.entries; ++i) {
    const uint32_t parent = repair.records.entries[list.first + i].parent;
    if (is_key(parent)) return parent;
  }
  return kNoOffset;
}

// The key that an entry of a list without a key names, brought back or made likewise. Its parent is
// the one on which the list's other keys agree, where it has none of its own.
void FollowSibling(Repair& repair, const RecordedList& list, uint32_t entry_row, uint32_t parent) {
  ScanTables& tables = repair.tables;
  const SiblingEntry& entry = repair.records.entries[entry_row];
  uint32_t row = RowAt(tables, entry.target);
  if (row == kNoRow) {
    if (!IsKeyPlace(repair.hive, entry.target)) return;
    row = BringBack(repair, entry.target);
  }
  if (row == kNoRow) {
    if (IsTaken(repair, entry.target) || parent == kNoOffset) return;
    uint32_t hint = 0;
    if (list.kind != ListKind::kLf || !ReadHint(repair.hive, entry.position, hint)) hint = 0;
    row = AddVirtualKey(repair, entry.target, kMarkSibling, hint, entry.position);
    tables.keys[row].parent = parent;
    tables.sibling_notes[entry.target] = {ReadU16(repair.hive, list.position + 4), list.count,
                                          entry_row};
    ++tables.virtual_siblings;
    return;
  }
  KeyRow& key = tables.keys[row];
  const bool lost = !IsKeyCellAt(repair.hive, key.parent) && RowAt(tables, key.parent) == kNoRow;
  if (lost && !key.root && parent != kNoOffset && parent != key.position) {
    key.parent = parent;
    NoteOn(tables, key).evidence = entry.position;
    key.marks |= kMarkSiblingParent;
  }
  if (list.kind == ListKind::kLf) NameByHint(repair, row, entry.position);
}

// Over the lists as they were recorded by the scan: none is added on the way, so one pass is
// enough.
void FindMissingSiblings(Repair& repair) {
  const size_t count = repair.records.lists.size();
  for (uint32_t i = 0; i < count; ++i) {
    if (StopOrShow(i, count)) return;
    const RecordedList& list = repair.records.lists[i];
    if (!IsRecordBelieved(repair, list)) continue;
    const uint32_t parent = ParentOfList(repair, list);
    for (uint32_t j = 0; j < list.entries; ++j) {
      FollowSibling(repair, list, list.first + j, parent);
    }
  }
}

// --- the end

// A list whose entries lead to no key, not even to a made one, is not whole: it may have named any
// key that says it belongs there.
void FindIncompleteLists(ScanTables& tables) {
  for (KeyRow& key : tables.keys) {
    for (uint32_t i = 0; i < key.entry_count && !key.list_broken; ++i) {
      key.list_broken = tables.child_entries[key.first_entry + i].row == kNoRow;
    }
  }
}

}  // namespace

// One pass over keys and entries: all that a sound hive pays.
bool NeedsRepair(const HiveImage& hive, const ScanTables& tables) {
  if (!tables.tree_sound || !tables.damage.empty()) return true;
  std::vector<bool> named(tables.keys.size());
  PositionIndex value_lists;
  ResetIndex(value_lists, hive.length);
  for (const KeyRow& key : tables.keys) {
    if ((key.marks & kMarkNoName) != 0) return true;  // a list may have its first characters
    if (HasDoubtfulValueList(hive, key.position, value_lists)) return true;
    for (uint32_t i = 0; i < key.entry_count; ++i) {
      const uint32_t row = tables.child_entries[key.first_entry + i].row;
      if (row == kNoRow || tables.keys[row].parent != key.position) return true;
      named[row] = true;
    }
    if (key.list_broken) return true;
  }
  size_t loose = 0;
  for (uint32_t row = 0; row < named.size(); ++row) loose += !named[row];
  return loose > 1;  // the root alone is in no list
}

// Up to 512 bytes for a key in use: its fixed part and a name of 216 characters in UTF-16, or twice
// that in bytes. A free cell may have taken in its neighbours. Of the flags' high byte only the
// user's may be set. Predefined handles are known to the scan only: none comes back.
bool IsKeyCellAt(const HiveImage& hive, uint32_t position) {
  if (position < hive.data_start || !InsideHive(hive, position, kKeyRoom)) return false;
  if (ReadU16(hive, position + 4) != kSignatureNk) return false;
  const uint32_t size = ReadU32(hive, position);
  if (size % 8 != 0 || CellLength(size) > (IsAllocated(size) ? 512U : 4096U)) return false;
  const uint32_t flags = ReadU16(hive, position + kKeyFlags) & ~uint32_t{kUserFlagBits};
  return flags <= 0xFF && flags != kHandleKeyFlags && IsKeyFlagsByte(static_cast<uint8_t>(flags));
}

// Lists come before keys, since an owner that gets its list back needs no made children; parents
// before children, since a made parent's own place must be known when its children are held against
// it.
void RepairRelations(HiveImage& hive, const ScanOptions& options, ScanTables& tables) {
  tables.repaired = true;
  Repair repair{hive, options, tables, {}, {}, {}, tables.keys.size()};
  RepairPointers(hive, tables);
  repair.records = RecordLists(hive, tables);
  ReattachLists(hive, repair.records, tables);
  IndexEntries(repair);
  FindMissingParents(repair);
  RepairParents(repair);
  FindMissingChildren(repair);
  FindMissingSiblings(repair);
  if (tables.added_rows.empty()) {
    FinishScan(tables);
  } else {
    IndexKeys(hive, tables);
  }
  FindIncompleteLists(tables);
}

void RepairRoots(ScanTables& tables) {
  for (const DamageRow& damage : tables.damage) {
    if ((damage.bits & kDamageRootParent) == 0) continue;
    const uint32_t row = RowAt(tables, damage.position);
    if (row == kNoRow) continue;
    tables.keys[row].parent = kNoOffset;
    tables.keys[row].repairs |= kRepairRoot;
  }
}

}  // namespace hivequarry

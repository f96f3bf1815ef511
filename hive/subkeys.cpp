#include "hive/subkeys.h"

#include <algorithm>

#include "hive/keys.h"
#include "hive/position_index.h"
#include "records/cell.h"

namespace hivequarry {
namespace {

void SetRepairCode(SubkeyListCheck& check, uint16_t code) {
  if (check.repair_code == 0) check.repair_code = code;
}

// Visits every child of an "ri" list: their counts must add up to the key's number of subkeys.
void SumRiChildren(const HiveImage& hive, uint32_t list, uint32_t subkey_count,
                   SubkeyListCheck& check) {
  uint64_t sum = 0;
  for (uint32_t i = 0; i < check.ri_count; ++i) {
    const uint32_t child = ReadOffset(hive, list + kListEntries + 4 * i);
    if (!InCellBounds(hive, child)) {
      SetRepairCode(check, kRepairRiLaterChildBounds);
      check.ri_count = i;
      break;
    }
    sum += ReadU16(hive, child + kListCount);
  }
  if (sum != subkey_count) SetRepairCode(check, kRepairRiSumDiffers);
}

// Diagnoses an "ri" list; returns the list cell that holds the first subkey, 0 when there is none.
uint32_t CheckRiList(const HiveImage& hive, const KeyNode& key, bool diagnose,
                     SubkeyListCheck& check) {
  const uint32_t list = key.subkey_list;
  check.ri_count = ReadU16(hive, list + kListCount);
  const uint32_t child = ReadOffset(hive, list + kListEntries);
  if (!InCellBounds(hive, child)) {
    check.faults |= kListFaultRiBounds;
    SetRepairCode(check, kRepairRiChildBounds);
    return 0;
  }
  check.ri_first_child = child;
  const ListKind kind = ReadListKind(ImageBytes(hive), child);
  if (kind != ListKind::kLi && kind != ListKind::kLh) {
    check.faults |= kListFaultRiChild;
    SetRepairCode(check, kRepairRiChildSignature);
    return 0;
  }
  check.count = key.subkey_count;
  if (diagnose) SumRiChildren(hive, list, key.subkey_count, check);
  return child;
}

// Where key and list disagree the smaller count is read; a diagnosis keeps the list's own, and says
// so.
void CheckCount(const KeyNode& key, uint32_t list_count, bool diagnose, SubkeyListCheck& check) {
  check.count = list_count;
  if (list_count == key.subkey_count) return;
  check.faults |= kListFaultCount;
  if (diagnose) {
    SetRepairCode(check, kRepairCountDiffers);
  } else {
    check.count = std::min(list_count, key.subkey_count);
  }
}

// The first entry and, where entries have one, its hint. One that leads outside the data, or to the
// key itself, speaks against the list.
void CheckFirstEntry(const HiveImage& hive, const KeyNode& key, uint32_t list, ListKind kind,
                     SubkeyListCheck& check) {
  check.first_entry = ReadOffset(hive, list + kListEntries);
  if (ListEntrySize(kind) == 8) ReadBytes(hive, list + kListEntries + 4, check.hint, 4);
  if (check.first_entry <= hive.data_start || check.first_entry > hive.last_valid) {
    SetRepairCode(check, kRepairFirstEntryBounds);
  } else if (check.first_entry == key.position) {
    SetRepairCode(check, kRepairListNamesOwnKey);
  }
}

// The number of a list's entries that are read. Only a list with room for its count is free: what
// else it took would be other lists'.
uint32_t EntriesToRead(const HiveImage& hive, uint32_t list, uint32_t size,
                       SubkeyListReads& reads) {
  const uint32_t wanted = ReadU16(hive, list + kListCount);
  const ListRoom room = RoomOfList(ImageBytes(hive), list, size);
  const uint32_t count = std::min(wanted, room.entries);
  const bool sound = room.credible && count == wanted && !reads.once.empty();
  if (sound && ClaimRange(reads.once, list, kListEntries + uint64_t{count} * size)) return count;
  const uint32_t read = std::min(count, reads.left);
  reads.left -= read;
  reads.cut += read < count;
  return read;
}

// Reads one "lf", "lh" or "li" cell.
bool ReadPlainList(const HiveImage& hive, uint32_t list, ListKind kind, SubkeyListReads& reads,
                   std::vector<SubkeyEntry>& entries) {
  const uint32_t size = ListEntrySize(kind);
  const uint32_t wanted = ReadU16(hive, list + kListCount);
  const uint32_t count = EntriesToRead(hive, list, size, reads);
  for (uint32_t i = 0; i < count; ++i) {
    SubkeyEntry entry;
    entry.position = list + kListEntries + i * size;
    entry.key = ReadOffset(hive, entry.position);
    entry.list = list;
    entry.kind = kind;
    entries.push_back(entry);
  }
  return count == wanted;
}

}  // namespace

SubkeyListCheck CheckSubkeyList(const HiveImage& hive, const KeyNode& key, bool diagnose) {
  SubkeyListCheck check;
  uint32_t list = key.subkey_list;
  if (list == kNoOffset || !InCellBounds(hive, list + 4)) return check;
  check.kind = ReadListKind(ImageBytes(hive), list);
  if (check.kind == ListKind::kNone) {
    check.faults |= kListFaultSignature;
    if (diagnose) SetRepairCode(check, kRepairNoListSignature);
    return check;
  }
  ListKind entry_kind = check.kind;
  if (check.kind == ListKind::kRi) {
    list = CheckRiList(hive, key, diagnose, check);
    if (list == 0) return check;
    entry_kind = ReadListKind(ImageBytes(hive), list);
  } else {
    CheckCount(key, ReadU16(hive, list + kListCount), diagnose, check);
  }
  CheckFirstEntry(hive, key, list, entry_kind, check);
  return check;
}

SubkeyListReads MakeSubkeyListReads(const HiveImage& hive) {
  // A key takes 80 bytes and is in one list: a sixteenth of the image is more list entries
  // than a sound hive can have.
  SubkeyListReads reads;
  reads.once.resize(hive.length / 512 + 1);
  reads.left = hive.length / 16 + 65536;
  return reads;
}

bool ReadSubkeyList(const HiveImage& hive, uint32_t list, SubkeyListReads& reads,
                    std::vector<SubkeyEntry>& entries) {
  if (!InsideHive(hive, list, kListEntries)) return false;
  const ListKind kind = ReadListKind(ImageBytes(hive), list);
  if (kind == ListKind::kNone) return false;
  if (kind != ListKind::kRi) return ReadPlainList(hive, list, kind, reads, entries);
  const uint32_t wanted = ReadU16(hive, list + kListCount);
  const uint32_t count = EntriesToRead(hive, list, ListEntrySize(kind), reads);
  bool sound = count == wanted;
  for (uint32_t i = 0; i < count; ++i) {
    const uint32_t child = ReadOffset(hive, list + kListEntries + 4 * i);
    const bool readable = InsideHive(hive, child, kListEntries);
    const ListKind child_kind = readable ? ReadListKind(ImageBytes(hive), child) : ListKind::kNone;
    // An "lf" child is against the rules, yet its entries say what they say.
    sound = sound && (child_kind == ListKind::kLi || child_kind == ListKind::kLh);
    if (child_kind == ListKind::kNone || child_kind == ListKind::kRi) continue;
    sound = ReadPlainList(hive, child, child_kind, reads, entries) && sound;
  }
  return sound;
}

bool ReadSubkeyList(const HiveImage& hive, uint32_t list, uint32_t& budget,
                    std::vector<SubkeyEntry>& entries) {
  SubkeyListReads reads;
  reads.left = budget;
  const bool sound = ReadSubkeyList(hive, list, reads, entries);
  budget = reads.left;
  return sound;
}

}  // namespace hivequarry

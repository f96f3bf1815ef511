// Keys, from the root down, and the lists that name their subkeys.
#include <algorithm>

#include "check/checking.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "records/key_flags.h"
#include "records/key_node.h"
#include "records/subkey_list.h"

namespace hivequarry {
namespace {

using enum CheckCode;

constexpr uint16_t kVolatileFlags = 0x03;  // in memory alone; the exit to another hive
constexpr uint16_t kRootFlag = 0x04;
constexpr uint32_t kKeyRecord = kKeyName - 4;  // bytes of the fixed part, without the size
// The deepest that the registry's own functions make keys, and the longest name of one; beyond
// either a system refuses the key.
constexpr uint32_t kMostLevels = 512;
constexpr uint32_t kMostNameUnits = 255;
constexpr uint64_t kYear10000 = 2650467744000000000;  // FILETIME
constexpr uint32_t kNoMinorLists = 5;                 // from this minor version on there is "lh"

uint32_t PositionOf(const Checking& check, uint32_t key) { return check.result.keys[key].position; }
const uint8_t* RecordOf(const Checking& check, uint32_t key) {
  return check.hive.data() + PositionOf(check, key);
}
uint32_t OffsetOfKey(const Checking& check, uint32_t key) {
  return PositionOf(check, key) - kBaseBlockSize;
}

// --- the record ----------------------------------------------------------------------------------

// `room` is what the cell has after the fixed part; CheckEntry has seen to it that it has that.
void CheckName(Checking& check, uint32_t key) {
  const uint32_t position = PositionOf(check, key);
  const uint8_t* const record = RecordOf(check, key);
  const uint32_t length = LoadU16(record + kKeyNameLength);
  const uint32_t room = CellLength(LoadU32(record)) - kKeyName;
  const bool wide = IsWideKeyName(LoadU16(record + kKeyFlags));
  if (length > room) {
    AddFinding(check, kK4, position, key,
               {std::to_string(length) + " bytes", "at most " + std::to_string(room)});
  }
  if (length == 0) AddFinding(check, kK5, position, key, {"0 bytes", "a name"});
  if (wide && length % 2 != 0) {
    AddFinding(check, kK6, position, key, {std::to_string(length) + " bytes", "an even number"});
  }
  const StoredName name = NameOfKey(check, position);
  if (HasUnit(name, u'\\')) AddFinding(check, kK11, position, key);
  if (name.units() > kMostNameUnits) {
    AddFinding(check, kK12, position, key,
               {std::to_string(name.units()) + " characters", "at most 255"});
  }
}

// What of a key needs no other record. Key 0 is the root: it alone has the flag of one, and
// volatile keys and counts never reach a file.
void CheckFields(Checking& check, uint32_t key) {
  const uint32_t position = PositionOf(check, key);
  const uint8_t* const record = RecordOf(check, key);
  const uint16_t flags = LoadU16(record + kKeyFlags);
  if ((flags & kVolatileFlags) != 0) {
    AddFinding(check, kK7, position, key, {Concat({"flags 0x", Hex(flags, 4)}), ""});
  }
  if (key == 0 && (flags & kRootFlag) == 0) {
    AddFinding(check, kR2, position, key, {Concat({"flags 0x", Hex(flags, 4)}), "flag 0x0004"});
  }
  if (key != 0 && (flags & kRootFlag) != 0) {
    AddFinding(check, kK8, position, key, {Concat({"flags 0x", Hex(flags, 4)}), ""});
  }
  const uint64_t time = LoadU64(record + kKeyLastWrite);
  const bool tombstone = check.layered && LayerOf(record[kKeyLayerBits]) == KeyLayer::kTombstone;
  if (!IsTimeOfKey(time) && !(time == 0 && tombstone)) {
    AddFinding(check, kK13, position, key, {Concat({"0x", Hex(time, 16)}), "a time"});
  }
  if (const uint32_t count = LoadU32(record + kKeyVolatileCount); count != 0) {
    AddFinding(check, kK14, position, key, {std::to_string(count), "0"});
  }
}

// The cell is claimed also where the key says that it has no class: nothing else names it.
void CheckClass(Checking& check, uint32_t key) {
  const uint32_t position = PositionOf(check, key);
  const uint8_t* const record = RecordOf(check, key);
  const uint32_t offset = LoadU32(record + kKeyClassName);
  const uint32_t length = LoadU16(record + kKeyClassNameLength);
  if (length == 0) {
    if (offset != kNowhereOffset) {
      AddFinding(check, kN2, position, key, {OffsetFound(offset), "none"});
      const CellTarget cell = FindCell(check, offset);
      if (cell.reach == Reach::kCell) ClaimCell(check, cell, CellUse::kClassName, key);
    }
    return;
  }
  const CellTarget cell = FollowOffset(check, offset, kNx, kNx, position, key);
  if (cell.reach == Reach::kCell) ClaimCell(check, cell, CellUse::kClassName, key);
  const uint32_t room = cell.reach == Reach::kCell ? cell.size : 0;
  if (room >= length) return;
  AddFinding(check, kN1, position, key,
             {std::to_string(room) + " bytes", std::to_string(length) + " bytes"});
}

// --- the lists -----------------------------------------------------------------------------------

// What is known of a key's subkeys while its lists are read.
// Counted over all lists of the key, as one list of lists names many.
struct Siblings {
  uint32_t parent = 0;   // number of the key
  uint32_t first = 0;    // number of its first subkey
  uint64_t entries = 0;  // of all lists
  uint32_t longest = 0;  // name, bytes as UTF-16
  uint32_t before = 0;   // position of the subkey before; 0: none
  bool disordered = false;
};

// Whether the key in a field is the one that lists the key, or one that has the same list.
// Two keys that have one list are one finding (X2): whose subkeys these are must not be another.
bool IsParentField(const Checking& check, uint32_t field, uint32_t lister) {
  if (field == OffsetOfKey(check, lister)) return true;
  const CellTarget cell = FindCell(check, field);
  if (cell.reach != Reach::kCell || cell.size < kKeyRecord) return false;
  const uint8_t* const named = check.hive.data() + cell.position;
  return LoadU16(named + 4) == kSignatureNk && LoadU32(named + kKeySubkeyCount) != 0 &&
         LoadU32(named + kKeySubkeyList) == LoadU32(RecordOf(check, lister) + kKeySubkeyList);
}

// With the one before it in the list alone: linear. Twins further apart are found where the order
// is broken (FindTwins).
void CheckOrder(Checking& check, Siblings& siblings, uint32_t position) {
  if (siblings.before != 0) {
    const int order = CompareNames(NameOfKey(check, siblings.before), NameOfKey(check, position));
    const auto key = static_cast<uint32_t>(check.result.keys.size() - 1);
    if (order == 0) AddFinding(check, kL10, position, key, {HexNumber(siblings.before), ""});
    if (order > 0) {
      siblings.disordered = true;
      AddFinding(check, kL11, position, key, {"after " + HexNumber(siblings.before), ""});
    }
  }
  // Of a broken order too: the next one is held against this one, so one key out of place is not a
  // finding for all after it.
  siblings.before = position;
}

// The first four characters as a list has them. A wider character among them makes all of them 0
// on some systems.
bool IsHintOf(uint32_t stored, const StoredName& name) {
  uint32_t hint = 0;
  bool wide = false;
  for (uint32_t i = 0; i < std::min(name.units(), 4U); ++i) {
    const char16_t unit = UnitAt(name, i);
    wide |= unit > 0xFF;
    hint |= static_cast<uint32_t>(unit & 0xFF) << (8 * i);
  }
  return stored == hint || (wide && (stored & 0xFF) == 0);
}

uint32_t HashOf(const StoredName& name) {
  // As the system makes it: over the units of the capitals, in 32 bits; what overflows is lost.
  uint32_t hash = 0;
  for (uint32_t i = 0; i < name.units(); ++i) hash = hash * 37 + CapitalUnit(UnitAt(name, i));
  return hash;
}

// The four bytes after the offset, in lists that have them: characters ("lf") or hash ("lh"). The
// key is the one that the entry has just added, so the last.
void CheckHint(Checking& check, const CellTarget& list, ListKind kind, uint32_t entry,
               uint32_t position) {
  if (kind != ListKind::kLf && kind != ListKind::kLh) return;
  const uint32_t stored = LoadU32(check.hive.data() + entry + 4);
  const StoredName name = NameOfKey(check, position);
  const auto key = static_cast<uint32_t>(check.result.keys.size() - 1);
  if (kind == ListKind::kLf) {
    if (!IsHintOf(stored, name))
      AddFinding(check, kL13, list.position, key, {HexNumber(stored), ""});
    return;
  }
  const uint32_t right = HashOf(name);
  if (stored == right) return;
  AddFinding(check, kL12, list.position, key, {HexNumber(stored), HexNumber(right)});
}

// An entry of a list that holds keys.
void CheckEntry(Checking& check, Siblings& siblings, const CellTarget& list, ListKind kind,
                uint32_t entry) {
  const uint32_t offset = LoadU32(check.hive.data() + entry);
  const CellTarget cell = FollowOffset(check, offset, kKx, kKf, list.position, siblings.parent);
  if (cell.reach != Reach::kCell) {
    AddFinding(check, kL8, list.position, siblings.parent,
               {"entry " + std::to_string(
                               (entry - list.position - kListEntries) / ListEntrySize(kind) + 1),
                "a key"});
    return;
  }
  if (SignatureOf(check, cell) != kSignatureNk) {
    AddFinding(check, kL9, list.position, siblings.parent, {HexNumber(offset), "a key"});
    return;
  }
  if (cell.size < kKeyRecord) {
    AddFinding(check, kK3, cell.position, siblings.parent,
               {std::to_string(cell.size) + " bytes", "at least 76"});
    ClaimCell(check, cell, CellUse::kKey, siblings.parent);
    return;
  }
  const uint8_t* const record = check.hive.data() + cell.position;
  const bool wide = IsWideKeyName(LoadU16(record + kKeyFlags));
  siblings.longest = std::max(siblings.longest, MarkLength(LoadU16(record + kKeyNameLength), wide));
  if (!ClaimCell(check, cell, CellUse::kKey, siblings.parent)) {
    if (UseOf(check, cell) == CellUse::kKey) {
      check.listed_again.push_back({cell.position, siblings.parent});
    }
    return;
  }
  const uint32_t level = check.result.keys[siblings.parent].level + 1;
  check.result.keys.push_back({cell.position, siblings.parent, level});
  CheckOrder(check, siblings, cell.position);
  CheckHint(check, list, kind, entry, cell.position);
}

// Entries that a list has room for, at most as many as it counts.
uint32_t EntriesOf(const Checking& check, const CellTarget& list, ListKind kind) {
  const uint32_t count = LoadU16(check.hive.data() + list.position + kListCount);
  return std::min(count, (list.size + 4 - kListEntries) / ListEntrySize(kind));
}

// The kind of a list that can be read; kNone after a finding.
ListKind CheckListHead(Checking& check, const CellTarget& list, uint32_t key) {
  const ListKind kind =
      list.size < 4 ? ListKind::kNone : ListKindOfSignature(SignatureOf(check, list));
  if (kind == ListKind::kNone) {
    AddFinding(check, kL2, list.position, key,
               {Concat({"0x", Hex(SignatureOf(check, list), 4)}), "lf, lh, li or ri"});
    return kind;
  }
  const uint32_t count = LoadU16(check.hive.data() + list.position + kListCount);
  const uint32_t room = EntriesOf(check, list, kind);
  if (count > room) {
    AddFinding(check, kL3, list.position, key,
               {std::to_string(count) + " entries", "at most " + std::to_string(room)});
  }
  if (count == 0) AddFinding(check, kL4, list.position, key, {"0 entries", "one or more"});
  if (kind == ListKind::kLh && check.base.major == 1 && check.base.minor < kNoMinorLists) {
    AddFinding(check, kL6, list.position, key, {"lh", "lf"});
  }
  return kind;
}

void CheckLeaf(Checking& check, Siblings& siblings, const CellTarget& list, ListKind kind) {
  constexpr uint32_t kAhead = 8;  // entries whose keys are on their way while one is judged
  const uint32_t step = ListEntrySize(kind);
  const uint32_t entries = EntriesOf(check, list, kind);
  const uint32_t first = list.position + kListEntries;
  for (uint32_t i = 0; i < entries; ++i) {
    if (i + kAhead < entries) {
      const uint32_t ahead = LoadU32(check.hive.data() + first + (i + kAhead) * step);
      if (ahead < check.hive.size()) __builtin_prefetch(check.hive.data() + ahead + kBaseBlockSize);
    }
    CheckEntry(check, siblings, list, kind, first + i * step);
  }
  siblings.entries += entries;
}

// Another owner of the list: its keys are listed once more.
// Once for each list, by its first further owner; SetShared holds the others back, so that owners
// times entries is never the cost.
void ListAgain(Checking& check, const CellTarget& list, ListKind kind, uint32_t owner) {
  const uint32_t step = ListEntrySize(kind);
  for (uint32_t i = 0; i < EntriesOf(check, list, kind); ++i) {
    const uint32_t offset = LoadU32(check.hive.data() + list.position + kListEntries + i * step);
    const CellTarget cell = FindCell(check, offset);
    if (cell.reach != Reach::kCell || UseOf(check, cell) != CellUse::kKey) continue;
    check.listed_again.push_back({cell.position, owner});
  }
}

// A list that holds keys, named by a key or by a list of lists.
void CheckKeyList(Checking& check, Siblings& siblings, const CellTarget& list, ListKind kind) {
  const bool again = UseOf(check, list) == CellUse::kSubkeyList && !IsShared(check, list);
  if (ClaimCell(check, list, CellUse::kSubkeyList, siblings.parent)) {
    return CheckLeaf(check, siblings, list, kind);
  }
  if (again) ListAgain(check, list, kind, siblings.parent);
  siblings.entries += EntriesOf(check, list, kind);
}

// One list of a list of lists; true for one that holds keys.
bool FindInnerList(Checking& check, const CellTarget& outer, uint32_t entry, uint32_t key,
                   CellTarget& list, ListKind& kind) {
  const uint32_t offset = LoadU32(check.hive.data() + entry);
  list = FollowOffset(check, offset, kLx, kLf, outer.position, key);
  if (list.reach != Reach::kCell) {
    const uint32_t number = (entry - outer.position - kListEntries) / 4 + 1;
    AddFinding(check, kL1, outer.position, key, {"list " + std::to_string(number), "a list"});
    return false;
  }
  kind = CheckListHead(check, list, key);
  if (kind == ListKind::kRi) AddFinding(check, kL5, list.position, key, {"ri", "lf, lh or li"});
  return kind != ListKind::kNone && kind != ListKind::kRi;
}

// The entries of all inner lists together are noted by the outer list's position: a second key that
// names the same list is held against that number without another walk.
void CheckListOfLists(Checking& check, Siblings& siblings, const CellTarget& outer) {
  const uint32_t entries = EntriesOf(check, outer, ListKind::kRi);
  for (uint32_t i = 0; i < entries; ++i) {
    const uint32_t entry = outer.position + kListEntries + 4 * i;
    CellTarget list;
    ListKind kind = ListKind::kNone;
    if (!FindInnerList(check, outer, entry, siblings.parent, list, kind)) continue;
    CheckKeyList(check, siblings, list, kind);
  }
  check.list_of_lists[outer.position] = siblings.entries;
}

// A further owner of a list of lists. What is wrong in it was said when it was read.
void ListOfListsAgain(Checking& check, Siblings& siblings, const CellTarget& outer, bool first) {
  siblings.entries += check.list_of_lists[outer.position];
  for (uint32_t i = 0; first && i < EntriesOf(check, outer, ListKind::kRi); ++i) {
    const CellTarget list =
        FindCell(check, LoadU32(check.hive.data() + outer.position + kListEntries + 4 * i));
    if (list.reach != Reach::kCell || UseOf(check, list) != CellUse::kSubkeyList) continue;
    const ListKind kind = ListKindOfSignature(SignatureOf(check, list));
    if (kind == ListKind::kRi || IsShared(check, list)) continue;
    SetShared(check, list);
    ListAgain(check, list, kind, siblings.parent);
  }
}

// The list that a key names. Of one that another key has named before, the head is not judged again
// and no key gets a second row: its keys are noted as listed again, once, so that the work stays
// linear whatever names what.
void CheckTopList(Checking& check, Siblings& siblings, const CellTarget& list) {
  const bool known = UseOf(check, list) == CellUse::kSubkeyList;
  const bool first = known && !IsShared(check, list);
  const ListKind kind = known ? ListKindOfSignature(SignatureOf(check, list))
                              : CheckListHead(check, list, siblings.parent);
  if (kind == ListKind::kNone) {
    ClaimCell(check, list, CellUse::kSubkeyList, siblings.parent);
  } else if (kind != ListKind::kRi) {
    CheckKeyList(check, siblings, list, kind);
  } else if (ClaimCell(check, list, CellUse::kSubkeyList, siblings.parent)) {
    CheckListOfLists(check, siblings, list);
  } else if (known) {
    ListOfListsAgain(check, siblings, list, first);
  }
}

// Names that are alike without being beside each other.
// Needed only where the order is broken: in a sorted list names that are alike are neighbours.
void FindTwins(Checking& check, const Siblings& siblings) {
  std::vector<uint32_t> keys;
  for (auto key = siblings.first; key < check.result.keys.size(); ++key) keys.push_back(key);
  const auto compare = [&](uint32_t a, uint32_t b) {
    return CompareNames(NameOfKey(check, PositionOf(check, a)),
                        NameOfKey(check, PositionOf(check, b)));
  };
  std::ranges::stable_sort(keys, [&](uint32_t a, uint32_t b) { return compare(a, b) < 0; });
  for (size_t i = 1; i < keys.size(); ++i) {
    // Those beside each other in the list were reported when it was read.
    if (keys[i] == keys[i - 1] + 1 || compare(keys[i - 1], keys[i]) != 0) continue;
    AddFinding(check, kL10, PositionOf(check, keys[i]), keys[i],
               {HexNumber(PositionOf(check, keys[i - 1])), ""});
  }
}

// Its subkeys get the next numbers in a row, which CheckKeys walks before the key after this one.
void CheckSubkeys(Checking& check, uint32_t key) {
  const uint32_t position = PositionOf(check, key);
  const uint32_t count = LoadU32(RecordOf(check, key) + kKeySubkeyCount);
  const uint32_t offset = LoadU32(RecordOf(check, key) + kKeySubkeyList);
  if (count == 0) {
    if (offset == kNowhereOffset) return;
    AddFinding(check, kL7, position, key, {OffsetFound(offset), "none"});
    const CellTarget list = FindCell(check, offset);
    if (list.reach == Reach::kCell) ClaimCell(check, list, CellUse::kSubkeyList, key);
    return;
  }
  Siblings siblings;
  siblings.parent = key;
  siblings.first = static_cast<uint32_t>(check.result.keys.size());
  const CellTarget list = FollowOffset(check, offset, kLx, kLf, position, key);
  if (list.reach == Reach::kCell) {
    CheckTopList(check, siblings, list);
  } else {
    AddFinding(check, kL1, position, key, {"no list", "a list"});
  }
  if (siblings.entries != count) {
    AddFinding(check, kK15, position, key,
               {std::to_string(count) + " by the key", std::to_string(siblings.entries)});
  }
  if (siblings.disordered) FindTwins(check, siblings);
  const uint32_t longest = LoadU16(RecordOf(check, key) + kKeyLongestSubkeyName);
  if (siblings.longest > longest) {
    AddFinding(check, kM1, position, key,
               {std::to_string(longest), std::to_string(siblings.longest)});
  }
}

// --- the walk ------------------------------------------------------------------------------------

// Once for each key, however many lists name it.
void CheckKey(Checking& check, uint32_t key) {
  const CheckedKey at = check.result.keys[key];
  if (key != 0 && !IsParentField(check, LoadU32(RecordOf(check, key) + kKeyParent), at.parent)) {
    check.misplaced.push_back(key);
  }
  // Of the keys of a branch that is too deep the topmost.
  if (at.level == kMostLevels + 1) {
    AddFinding(check, kK10, at.position, key, {"level " + std::to_string(at.level), "at most 512"});
  }
  CheckName(check, key);
  CheckFields(check, key);
  CheckLayer(check, key);
  CheckClass(check, key);
  UseSecurity(check, key);
  CheckValues(check, key);
  CheckSubkeys(check, key);
}

// Key 0, by the base block alone: a system looks nowhere else. False, with a finding, when there is
// none, and nothing can be reached.
bool FindRoot(Checking& check) {
  const CellTarget root = FindCell(check, check.base.root_offset);
  const bool key = root.reach == Reach::kCell && SignatureOf(check, root) == kSignatureNk &&
                   root.size >= kKeyRecord;
  if (!key) {
    AddFinding(check, kR1, 0, kNoCheckedKey, {OffsetFound(check.base.root_offset), "a key"});
    return false;
  }
  ClaimCell(check, root, CellUse::kKey, kNoCheckedKey);
  check.result.keys.push_back({root.position, kNoCheckedKey, 0});
  return true;
}

// Keys in whose parent field is none of those that list them.
void AddMisplaced(Checking& check) {
  const auto listed_by_parent = [&check](uint32_t position, uint32_t field) {
    auto at = std::ranges::lower_bound(check.listed_again, position, {}, &ListedAgain::position);
    for (; at != check.listed_again.end() && at->position == position; ++at) {
      if (IsParentField(check, field, at->lister)) return true;
    }
    return false;
  };
  for (const uint32_t key : check.misplaced) {
    const uint32_t field = LoadU32(RecordOf(check, key) + kKeyParent);
    if (listed_by_parent(PositionOf(check, key), field)) continue;
    AddFinding(check, kK9, PositionOf(check, key), key,
               {OffsetFound(field), HexNumber(OffsetOfKey(check, check.result.keys[key].parent))});
  }
}

}  // namespace

bool IsTimeOfKey(uint64_t time) { return time != 0 && time < kYear10000; }

// Depth first by a stack of ranges, so a deep or circular hive costs no recursion: each key is
// pushed once, when it is claimed.
void CheckKeys(Checking& check) {
  if (!FindRoot(check)) return;
  struct Range {
    uint32_t next;
    uint32_t end;
  };
  std::vector<Range> open = {{0, 1}};
  while (!open.empty() && !StopRequested()) {
    Range& range = open.back();
    if (range.next == range.end) {
      open.pop_back();
      continue;
    }
    // What CheckKey adds are this key's subkeys: they are walked before its next sibling.
    const auto first = static_cast<uint32_t>(check.result.keys.size());
    CheckKey(check, range.next++);
    const auto end = static_cast<uint32_t>(check.result.keys.size());
    if (first != end) open.push_back({first, end});
  }
  std::ranges::sort(check.listed_again, {}, &ListedAgain::position);
  AddMisplaced(check);
}

}  // namespace hivequarry

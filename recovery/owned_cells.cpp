#include "recovery/owned_cells.h"

#include <algorithm>

#include "hive/keys.h"
#include "hive/position_index.h"
#include "hive/subkeys.h"
#include "hive/values.h"
#include "host/long_operation.h"
#include "records/cell.h"

namespace hivequarry {
namespace {

constexpr uint32_t kListHead = 8;  // size, signature and count of a subkey list or "db" cell
// A short list is read whole whatever others have taken.
constexpr uint32_t kLeastEntries = 64;

struct Collection {
  const HiveImage& hive;
  OwnedCells owned;
  PositionIndex seen;  // cells that were claimed: each is looked at once
  // Entries of value lists, segment lists and "ri" lists. Sound ones do not overlap.
  uint32_t budget = 0;
  std::vector<uint32_t> values = {};  // scratch: positions of one key's values
};

Collection Begin(const HiveImage& hive) {
  Collection collection{hive, {}, {}, hive.length / 4};
  ResetIndex(collection.seen, hive.length);
  return collection;
}

// Entries that one list may have read: what is left of all, or a few.
uint32_t AllotEntries(Collection& collection, uint32_t wanted) {
  const uint32_t taken = std::min(wanted, std::max(collection.budget, kLeastEntries));
  collection.budget -= std::min(taken, collection.budget);
  return taken;
}

// Where cells were moved the next one at its new place ends a cell that reaches over it.
uint32_t RoomAt(const HiveImage& hive, uint32_t cell) {
  const auto next = std::ranges::upper_bound(hive.offset_runs, cell, {}, &OffsetRun::position);
  return (next == hive.offset_runs.end() ? hive.length : next->position) - cell;
}

// The cell's own length, if another cell or the end of its block follows there.
uint32_t CredibleLength(const HiveImage& hive, uint32_t cell, uint32_t used) {
  const uint32_t length = CellLength(ReadU32(hive, cell));
  const bool sized = length % 8 == 0 && length >= used && length <= RoomAt(hive, cell);
  if (!sized) return used;
  if (!InsideHive(hive, cell + length, kCellSizeField)) return length;
  const uint32_t next = ReadU32(hive, cell + length);
  return next != 0 && next % 8 == 0 ? length : used;
}

// False for a place that is no allocated cell, or was claimed before.
// The first owner keeps the cell, so the order of claims matters: a key, its lists, its values.
bool ClaimCell(Collection& collection, uint32_t cell, uint64_t used, uint32_t owner, OwnedAs what) {
  const HiveImage& hive = collection.hive;
  if (cell % 8 != 0 || !InCellBounds(hive, cell) || !InsideHive(hive, cell, 8)) return false;
  const uint32_t size = ReadU32(hive, cell);
  if (!IsAllocated(size) || ContainsPosition(collection.seen, cell)) return false;
  InsertPosition(collection.seen, cell);
  const auto least =
      static_cast<uint32_t>(std::min<uint64_t>({used, CellLength(size), RoomAt(hive, cell)}));
  collection.owned.cells.push_back({cell, least, CredibleLength(hive, cell, least), owner, what});
  return true;
}

// The list that the "db" cell at `cell` names, and its segments.
void ClaimSegments(Collection& collection, uint32_t cell, uint32_t data_length, uint32_t owner) {
  const HiveImage& hive = collection.hive;
  const uint32_t list = ReadOffset(hive, cell + kListHead);
  const uint32_t wanted =
      std::min<uint32_t>(ReadU16(hive, cell + 6), data_length / kBigDataSegment + 1);
  const uint32_t count = AllotEntries(collection, wanted);
  if (!ClaimCell(collection, list, kCellSizeField + 4 * uint64_t{count}, owner,
                 OwnedAs::kSegmentList)) {
    return;
  }
  for (uint32_t i = 0; i < count; ++i) {
    const uint32_t segment = ReadOffset(hive, list + kCellSizeField + 4 * i);
    ClaimCell(collection, segment, kCellSizeField + kBigDataSegment, owner, OwnedAs::kSegment);
  }
}

// Data of any length: those too long to be shown are in use as well.
void ClaimData(Collection& collection, uint32_t position) {
  const HiveImage& hive = collection.hive;
  const ValueKey value =
      ReadStoredValueKey(hive, position, ValueRead::kFields, kMaxValueData, nullptr);
  const bool read = value.status != ValueStatus::kEmpty && value.status != ValueStatus::kNotAValue;
  if (!read || value.inline_data || !hive.data_base_proven) return;
  const uint32_t cell = ReadOffset(hive, position + kValueDataOffset);
  const uint64_t used = kCellSizeField + uint64_t{value.data_length};
  const bool fits = used <= CellLength(ReadU32(hive, cell));
  const bool big = !fits && ReadU16(hive, cell + kCellSizeField) == kSignatureDb;
  if (!big) {
    ClaimCell(collection, cell, used, position, OwnedAs::kData);
  } else if (ClaimCell(collection, cell, kListHead + 4, position, OwnedAs::kSegmentList)) {
    ClaimSegments(collection, cell, value.data_length, position);
  }
}

// Data only of a value that was not claimed before: two owners of one value would be two of its
// data.
void ClaimValue(Collection& collection, uint32_t position) {
  const HiveImage& hive = collection.hive;
  if (ReadU16(hive, position + 4) != kSignatureVk) return;
  const uint32_t used = kValueName + ReadU16(hive, position + kValueNameLength);
  if (ClaimCell(collection, position, used, position, OwnedAs::kValue))
    ClaimData(collection, position);
}

// The value list, then the values in it, as many entries as are allotted: keys that share a list
// must not cost entries times keys. A list that somebody else has claimed is not read.
void ClaimValues(Collection& collection, uint32_t key) {
  const HiveImage& hive = collection.hive;
  if (!HasValueList(hive, key)) return;
  const uint32_t count = ReadU32(hive, key + kKeyValueCount);
  uint32_t entries = AllotEntries(collection, count);
  const uint32_t list = ValueListOf(hive, key);
  const uint64_t used = kCellSizeField + 4 * uint64_t{entries};
  if (!ClaimCell(collection, list, used, key, OwnedAs::kValueList)) return;
  collection.values.clear();
  ReadValueList(hive, count, list, entries, collection.values);
  for (const uint32_t value : collection.values) {
    if (value != kNoOffset) ClaimValue(collection, value);
  }
}

// The list, and where it is a list of lists the ones in it; not what these lead to, since every key
// claims its own cell.
void ClaimSubkeyLists(Collection& collection, uint32_t key) {
  const HiveImage& hive = collection.hive;
  if (ReadU32(hive, key + kKeySubkeyCount) == 0) return;
  const uint32_t list = ReadOffset(hive, key + kKeySubkeyList);
  const auto claim = [&](uint32_t position) {
    const ListKind kind = ListKindOfSignature(ReadU16(hive, position + 4));
    if (kind == ListKind::kNone) return ListKind::kNone;
    const uint32_t used = kListHead + ReadU16(hive, position + 6) * ListEntrySize(kind);
    return ClaimCell(collection, position, used, key, OwnedAs::kSubkeyList) ? kind
                                                                            : ListKind::kNone;
  };
  if (claim(list) != ListKind::kRi) return;
  const uint32_t children = AllotEntries(collection, ReadU16(hive, list + 6));
  for (uint32_t i = 0; i < children; ++i) claim(ReadOffset(hive, list + kListHead + 4 * i));
}

// The key's cell, its lists, its values with their data, its class name and its security record.
// The cells of a key that another one owns already are not looked at again.
void ClaimKey(Collection& collection, uint32_t key) {
  constexpr uint32_t kLongestName = 512;  // bytes; a damaged length claims more
  const HiveImage& hive = collection.hive;
  const uint32_t name = std::min<uint32_t>(ReadU16(hive, key + kKeyNameLength), kLongestName);
  if (!ClaimCell(collection, key, kKeyName + name, key, OwnedAs::kKey)) return;
  ClaimSubkeyLists(collection, key);
  ClaimValues(collection, key);
  const uint32_t class_length = ReadU16(hive, key + kKeyClassNameLength);
  if (class_length != 0) {
    const uint32_t class_name = ReadOffset(hive, key + kKeyClassName);
    ClaimCell(collection, class_name, kCellSizeField + class_length, key, OwnedAs::kClassName);
  }
  const uint32_t security = ReadOffset(hive, key + kKeySecurity);
  if (ReadU16(hive, security + 4) == kSignatureSk) {
    const uint64_t used = 24 + uint64_t{ReadU32(hive, security + 20)};
    ClaimCell(collection, security, used, key, OwnedAs::kSecurity);
  }
}

// Of data all of the cell counts, as a program chose its bytes; of others what the record uses,
// since what is after that may be left from a record before.
uint64_t EndOf(const OwnedCell& cell) {
  const bool whole = cell.what == OwnedAs::kData || cell.what == OwnedAs::kSegment;
  return uint64_t{cell.position} + (whole ? cell.length : cell.used);
}

// A cell whose length takes in the start of another one is not as long as that.
// `farthest` lets OwnerOf find a long cell that began long before the bytes it is asked about.
OwnedCells Finish(Collection& collection) {
  std::vector<OwnedCell>& cells = collection.owned.cells;
  std::ranges::sort(cells, {}, &OwnedCell::position);
  for (size_t i = 0; i + 1 < cells.size(); ++i) {
    if (cells[i + 1].position - cells[i].position < cells[i].length)
      cells[i].length = cells[i].used;
  }
  std::vector<uint32_t>& farthest = collection.owned.farthest;
  farthest.resize(cells.size());
  for (uint32_t i = 0; i < cells.size(); ++i) {
    const bool other = i > 0 && EndOf(cells[farthest[i - 1]]) > EndOf(cells[i]);
    farthest[i] = other ? farthest[i - 1] : i;
  }
  return std::move(collection.owned);
}

bool Stopped(size_t steps) { return steps % 1024 == 0 && StopRequested(); }

}  // namespace

OwnedCells CollectOwnedCells(const HiveImage& hive, std::span<const uint32_t> keys) {
  if (!hive.data_base_proven) return {};
  Collection collection = Begin(hive);
  for (size_t i = 0; i < keys.size() && !Stopped(i); ++i) ClaimKey(collection, keys[i]);
  return Finish(collection);
}

OwnedCells CollectOwnedCells(const HiveImage& hive, const KeyTree& tree) {
  std::vector<uint32_t> keys;
  for (const KeyItem& item : tree.items) {
    const bool cell = item.position != kNoOffset && (item.marks & kVirtualMarks) == 0;
    if (item.connected && cell) keys.push_back(item.position);
  }
  return CollectOwnedCells(hive, keys);
}

OwnedCells CollectValueCells(const HiveImage& hive, std::span<const uint32_t> values) {
  if (!hive.data_base_proven) return {};
  Collection collection = Begin(hive);
  for (size_t i = 0; i < values.size() && !Stopped(i); ++i) ClaimValue(collection, values[i]);
  return Finish(collection);
}

const OwnedCell* OwnerOf(const OwnedCells& owned, uint32_t begin, uint64_t end) {
  const auto behind = std::ranges::lower_bound(
      owned.cells, end, {}, [](const OwnedCell& cell) { return uint64_t{cell.position}; });
  if (behind == owned.cells.begin()) return nullptr;
  const auto last = static_cast<size_t>(behind - owned.cells.begin()) - 1;
  const OwnedCell& cell = owned.cells[owned.farthest[last]];
  return EndOf(cell) > begin ? &cell : nullptr;
}

const char* OwnedWord(OwnedAs what) {
  switch (what) {
    case OwnedAs::kKey:
      return "key";
    case OwnedAs::kSubkeyList:
      return "subkey list";
    case OwnedAs::kValueList:
      return "value list";
    case OwnedAs::kValue:
      return "value";
    case OwnedAs::kData:
    case OwnedAs::kSegment:
      return "value data";
    case OwnedAs::kSegmentList:
      return "list of value data";
    case OwnedAs::kClassName:
      return "class name";
    case OwnedAs::kSecurity:
      return "security record";
  }
  return "";
}

}  // namespace hivequarry

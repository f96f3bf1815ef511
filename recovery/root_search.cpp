#include "recovery/root_search.h"

#include <algorithm>
#include <string>
#include <vector>

#include "hive/file_place.h"
#include "hive/key_tree.h"
#include "hive/keys.h"
#include "hive/offset_map.h"
#include "hive/subkeys.h"
#include "hive/timestamp.h"
#include "records/cell.h"
#include "recovery/hang_keys.h"
#include "recovery/live_cells.h"

namespace hivequarry {
namespace {

// Where the hive begins of which the key at a position is the first cell: with its base block, or
// with its first block. 0 when neither is before it.
uint32_t StartOfHive(const HiveImage& hive, uint32_t position) {
  if (!HasPlausibleName(hive, position)) return 0;
  if (position >= kFirstCellPosition &&
      ReadU32(hive, position - kFirstCellPosition) == kHiveSignature) {
    return position - kFirstCellPosition;
  }
  if (position < kBinHeaderSize) return 0;
  const uint32_t block = position - kBinHeaderSize;
  const uint32_t size = ReadU32(hive, block + 8);
  const bool header = ReadU32(hive, block) == kBinSignature && size != 0 && size % kPageSize == 0;
  // Of a piece of a hive any block may be the first, if it is none of this one's.
  const bool first = ReadU32(hive, block + 4) == 0 || IsForeign(hive, block);
  return header && first ? block : 0;
}

// A list where the key says, for as many subkeys as it says.
bool NamesSubkeyList(const HiveImage& hive, uint32_t position) {
  const uint32_t count = ReadU32(hive, position + kKeySubkeyCount);
  const uint32_t list = ReadOffset(hive, position + kKeySubkeyList);
  if (count == 0 || list == kNoOffset || !InCellBounds(hive, list)) return false;
  const ListKind kind = ListKindOfSignature(ReadU16(hive, list + 4));
  return kind == ListKind::kRi || (kind != ListKind::kNone && ReadU16(hive, list + 6) == count);
}

// A root has no parent, whatever its field says.
bool AdoptRoot(HiveImage& hive, uint32_t row, ScanTables& tables) {
  if (row == kNoRow) return false;
  KeyRow& key = tables.keys[row];
  key.root = true;
  key.parent = kNoOffset;
  hive.root_position = key.position;
  tables.roots.push_back(key.position);
  return true;
}

// Of the keys with a root's flags the one that most keys name as their parent; kNoRow when none is
// named.
uint32_t BestStrayRoot(const ScanTables& tables) {
  std::vector<uint32_t> votes(tables.keys.size());
  for (const KeyRow& key : tables.keys) {
    const uint32_t parent = RowAt(tables, key.parent);
    if (parent != kNoRow) ++votes[parent];
  }
  uint32_t best = kNoRow;
  for (const uint32_t position : tables.stray_roots) {
    const uint32_t row = RowAt(tables, position);
    if (row == kNoRow || votes[row] == 0) continue;
    if (best == kNoRow || votes[row] > votes[best]) best = row;
  }
  return best;
}

// `evidence` is the parent field that names the place.
void MakeRoot(HiveImage& hive, uint32_t place, uint32_t evidence, ScanTables& tables) {
  KeyRow root;
  root.position = place;
  root.marks = kMarkParent;
  root.root = true;
  root.list_broken = true;
  NoteOn(tables, root).evidence = evidence;
  tables.keys.push_back(root);
  IndexKeys(hive, tables);
  hive.root_position = place;
  tables.roots.push_back(place);
  tables.tree_sound = false;
  ++tables.virtual_parents;
}

}  // namespace

uint32_t RangeStartForRoot(uint32_t root) {
  if (root >= kFirstCellPosition) return root - kFirstCellPosition;
  if (root >= kBinHeaderSize) return root - kBinHeaderSize;
  return root > 7 ? root - 8 : root;
}

bool HasPlausibleName(const HiveImage& hive, uint32_t key_position) {
  constexpr uint32_t kLongestName = 510;  // bytes
  const uint32_t length = ReadU16(hive, key_position + kKeyNameLength);
  const uint32_t cell = CellLength(ReadU32(hive, key_position));
  const bool sized = cell % 8 == 0 && cell >= kKeyName && cell <= kBaseBlockSize;
  if (length == 0 || length > kLongestName || (sized && kKeyName + length > cell)) return false;
  // Cells are made as long as their names ask for: noise does not fit so well.
  const uint32_t needed = (kKeyName + length + 7) / 8 * 8;
  if (sized && cell - needed <= 8 && ReadU16(hive, key_position + 4) == kSignatureNk) return true;
  // What goes on after a zero is no part of the name that is shown.
  const std::u16string whole = WideKeyName(ImageBytes(hive), key_position, length);
  const std::u16string_view name = std::u16string_view(whole).substr(0, whole.find(u'\0'));
  return !name.empty() && std::ranges::all_of(name, [](char16_t unit) {
    return unit >= 0x20 && (unit < 0x7F || unit > 0x9F) && (unit < 0xD800 || unit > 0xDFFF) &&
           unit < 0xFFFE;
  });
}

// One point each for the letters, the flags, the time and the name; two each for the links, which
// noise does not have.
bool HasRootRemains(const HiveImage& hive, uint32_t position) {
  // Of nine points: a root may have lost most of its fields, and noise seldom has three.
  constexpr int kEnough = 3;
  constexpr int kWellKnownFlags[] = {0x20, 0x2C, 0x60, 0xA0, 0xAC};
  int found = (ReadU8(hive, position + 4) == 'n') + (ReadU8(hive, position + 5) == 'k');
  found += std::ranges::count(kWellKnownFlags, ReadU16(hive, position + kKeyFlags)) != 0;
  found += !FormatTimestampChecked(ReadU64(hive, position + kKeyLastWrite)).empty();
  found += HasPlausibleName(hive, position);
  found += 2 * NamesSubkeyList(hive, position);
  found += 2 * (ReadU16(hive, ReadOffset(hive, position + kKeySecurity) + 4) == kSignatureSk);
  return found >= kEnough;
}

RootRole JudgeRoot(HiveImage& hive, const ScannedKey& key, const ScanOptions& options,
                   ScanTables& tables) {
  const uint32_t position = key.position;
  // The hive's own root: what is known to be it already, or where no base block is valid and no bin
  // holds it, the first that is not after the place of a hive's first cell.
  const bool preset = hive.root_position != 0 && position == hive.root_position;
  const bool inside = position < key.block_end;
  const bool in_front = !hive.header_valid && position <= kFirstCellPosition && !inside;
  if (preset || (in_front && tables.roots.empty())) {
    hive.root_position = position;
    tables.roots.push_back(position);
    return RootRole::kOwn;
  }
  const uint32_t start = options.bare_cells ? position : StartOfHive(hive, position);
  if (start == 0 || inside || start < key.block_end) {
    tables.stray_roots.push_back(position);
    return RootRole::kNone;
  }
  // A hive that begins right where the bins of this one end ends the image. Where others were met
  // before it, or something lies between, it is only noted: bins of this hive may come after it.
  const bool follows = start == key.block_end && tables.other_roots.empty();
  if (options.cut_at_other_root && (options.bare_cells || follows)) {
    CutAtRoot(hive, position, options.on_cut);
    return RootRole::kEndsImage;
  }
  tables.other_roots.push_back(position);
  return RootRole::kOther;
}

uint32_t FindOtherHive(const HiveImage& hive, ScanTables& tables) {
  if (tables.other_roots.empty()) return 0;
  const OwnedCells& live = LiveCells(hive, RowsReachedByLists(hive, tables), tables);
  const auto free = std::ranges::find_if(tables.other_roots, [&live](uint32_t position) {
    return OwnerOf(live, position, uint64_t{position} + kKeyName) == nullptr;
  });
  return free == tables.other_roots.end() ? 0 : *free;
}

void CutAtRoot(HiveImage& hive, uint32_t position, OnCut on_cut) {
  hive.cut = true;
  hive.length = position;
  hive.last_valid = position < 8 ? 0 : position - 8;
  if (on_cut != nullptr) on_cut(hive, position);
}

// In the order of belief: a key at the root's place, a place that keys name, a key with a root's
// flags.
bool FindLostRoot(HiveImage& hive, ScanTables& tables) {
  if (!tables.roots.empty() || !hive.data_base_proven) return false;
  const uint32_t place = hive.header_valid ? hive.root_position : hive.data_base + kBinHeaderSize;
  if (place % 8 == 0 && place >= hive.data_start && InsideHive(hive, place, kKeyName)) {
    if (AdoptRoot(hive, RowAt(tables, place), tables)) return true;
    const auto child = std::ranges::find(tables.keys, place, &KeyRow::parent);
    if (child != tables.keys.end()) {
      MakeRoot(hive, place, child->position + kKeyParent, tables);
      return true;
    }
  }
  return hive.header_valid && AdoptRoot(hive, BestStrayRoot(tables), tables);
}

ImageCut CutOf(const HiveImage& hive) {
  ImageCut cut;
  if (!hive.cut) return cut;
  cut.at = FilePositionOf(hive, hive.length);
  cut.rest = RangeStartForRoot(cut.at);
  cut.reason = "another root key is there";
  const uint32_t header = hive.length - kBinHeaderSize;
  if (hive.length >= kBinHeaderSize && ReadU32(hive, header) == kBinSignature) {
    cut.reason = "another hive begins: its first block";
  }
  const uint32_t base = hive.length - kFirstCellPosition;
  if (hive.length >= kFirstCellPosition && ReadU32(hive, base) == kHiveSignature) {
    cut.reason = "another hive begins: its base block";
  }
  return cut;
}

}  // namespace hivequarry

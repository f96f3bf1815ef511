#include "recovery/scan.h"

#include <algorithm>

#include "bytes/large_pages.h"
#include "hive/keys.h"
#include "hive/values.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "host/side_work.h"
#include "records/cell.h"
#include "recovery/root_search.h"
#include "recovery/split_point.h"

namespace hivequarry {
namespace {

constexpr uint32_t kLongestValueCell = 32800;  // a name of 16,383 characters in UTF-16
constexpr uint32_t kSmallCell = 4096;
// The root's cell as systems make it, with the name of a fresh hive; taken for one whose size is
// lost.
constexpr uint32_t kShortRootCell = 88;
constexpr uint32_t kKeyCellWithoutSlack = 128;  // shorter key cells are not searched for slack
constexpr uint32_t kSteppedProgressLength = 180900;
// Of a list as long as a block or longer, whose size is no longer a sign that it is one.
constexpr uint32_t kMaxListCount = 16384;
constexpr size_t kRowsShownApart = 128;

// A pass under way.
struct ScanWalk {
  HiveImage& hive;
  ScanTables& tables;
  const ScanOptions& options;
  ScanPass pass;
  uint32_t bin_size = kPageSize;  // until the first header says another
  uint32_t restart = 0;     // first position after an unrecognised cell, 0 when none is pending
  uint32_t block = 0;       // the last block whose end is known: its header
  uint32_t block_end = 0;   // and the position after it
  uint32_t end_before = 0;  // likewise of the one before it
  uint32_t chained = 0;     // as far as cells were followed to know it
  size_t run = 0;           // the first offset run that begins after the current position
  uint32_t shown_step = 0;  // of the progress bar
  size_t shown_rows = 0;    // in the status line
  // Of the walk through the first half, while another thread walks through the second one: that
  // thread's work. A root is judged when it is done, since the judgement may cut the image.
  SideWork* beside = nullptr;
  bool second = false;   // this is the walk through the second half: it judges no root
  bool spoiled = false;  // and has met one
};

bool StepsByLength(const ScanWalk& walk, uint32_t length) {
  return length < walk.bin_size && length % 8 == 0;
}

// True when cells follow each other from `position` exactly to `end`. Cells that were followed
// before are not followed again, so that all calls together take one walk.
bool CellsReach(ScanWalk& walk, uint32_t position, uint32_t end) {
  if (position < walk.chained) return false;
  while (position < end) {
    const uint32_t length = CellLength(ReadU32(walk.hive, position));
    walk.chained = position;
    if (length == 0 || length % 8 != 0 || length > end - position) return false;
    position += length;
  }
  return position == end;
}

// The end of a block, if what follows there confirms it: the block whose offset goes on from this
// one's, or the end of the image or another hive's base block, to which its cells reach. Else 0.
uint32_t KnownEnd(ScanWalk& walk, const BinTableRow& row) {
  const HiveImage& hive = walk.hive;
  const uint64_t end = uint64_t{row.position} + row.size;
  if (end > hive.length) return 0;
  const auto behind = static_cast<uint32_t>(end);
  const uint32_t signature = ReadU32(hive, behind);
  if (signature == kBinSignature) {
    return ReadU32(hive, behind + 4) == row.own_offset + row.size ? behind : 0;
  }
  const bool last = end == hive.length || signature == kHiveSignature;
  return last && CellsReach(walk, row.position + kBinHeaderSize, behind) ? behind : 0;
}

// What is at `p`, by its kind: a block header, the first cell, and cells by their signatures. Each
// returns where the walk goes on: after the cell where its length is believed, else 8 bytes on, so
// that records inside damaged cells are met too.
uint32_t VisitBin(ScanWalk& walk, uint32_t p) {
  const HiveImage& hive = walk.hive;
  // These are bytes of a cell: no block is inside another one.
  if (p < walk.block_end) return p + 8;
  walk.restart = 0;
  BinTableRow row;
  row.position = p;
  row.own_offset = ReadU32(hive, p + 4);
  row.size = ReadU32(hive, p + 8);
  // Where bins were moved, the map has seen to their places.
  const bool in_place = p % kPageSize == 0 || !hive.offset_runs.empty();
  const bool sized = row.size >= kPageSize && row.size % kPageSize == 0 && in_place;
  if (sized) walk.bin_size = row.size;
  const uint32_t end = sized ? KnownEnd(walk, row) : 0;
  if (end != 0) {
    walk.end_before = walk.block_end;
    walk.block = p;
    walk.block_end = end;
  }
  // Before the place where an image was cut there is a header without a cell.
  const bool holds_cells = InsideHive(hive, p, kBinHeaderSize + 8);
  if (walk.pass == ScanPass::kCollect && holds_cells) walk.tables.bins.push_back(row);
  return p + kBinHeaderSize;
}

// For the first key of a block `block_end` is the end of the block before.
ScannedKey KeyAt(const ScanWalk& walk, uint32_t p, uint16_t flags) {
  ScannedKey key;
  key.position = p;
  key.flags = flags;
  key.block_end = walk.block + kBinHeaderSize == p ? walk.end_before : walk.block_end;
  return key;
}

// False where the key cannot be added by this walk, which ends.
bool MayAddKey(ScanWalk& walk, const ScannedKey& key) {
  if (key.flags != kRootKeyFlags && key.position != walk.hive.root_position) return true;
  if (walk.beside != nullptr) walk.beside->Wait();
  walk.spoiled = walk.second;
  return !walk.second;
}

void AddKey(ScanWalk& walk, const ScannedKey& key) {
  const bool added = walk.pass == ScanPass::kCollect && MayAddKey(walk, key);
  if (added) AddScannedKey(walk.hive, key, walk.options, walk.tables);
}

// The first cell of a hive is its root key, be its size or its signature lost.
uint32_t VisitFirstCell(ScanWalk& walk, uint32_t p) {
  const uint32_t length = 0U - ReadU32(walk.hive, p);
  const bool credible = length >= 1 && length <= kShortRootCell && length % 8 == 0;
  AddKey(walk, KeyAt(walk, p, kRootKeyFlags));
  return p + (credible ? length : kShortRootCell);
}

uint32_t VisitKey(ScanWalk& walk, uint32_t p, uint16_t flags, uint32_t length, int key_class) {
  ScannedKey key = KeyAt(walk, p, flags);
  key.damaged = key_class != 0;
  uint32_t next = StepsByLength(walk, length) ? p + length : p + 8;
  if (length > kKeyCellWithoutSlack) {
    const uint32_t name_length = ReadU16(walk.hive, p + kKeyNameLength);
    const uint32_t needed = (name_length + kKeyName + 7) / 8 * 8;
    key.has_slack = length > needed;
    // Other cells may lie hidden after the name, but none that goes on after the key's own.
    const bool holds = key.has_slack && key_class == 0 && StepsByLength(walk, length);
    if (holds && walk.restart == 0) walk.restart = p + length;
    if (key.has_slack) next = p + needed;
  }
  AddKey(walk, key);
  // The size of a cell that is a key only at a guess is a guess too.
  return key_class == 1 ? p + kKeyName : next;
}

// Returns where the walk goes on. The cell's length must agree with the name's up to rounding: two
// letters alone are met by chance. At the next 8 bytes otherwise.
uint32_t VisitValue(ScanWalk& walk, uint32_t p, uint32_t length) {
  const uint32_t name_length = ReadU16(walk.hive, p + kValueNameLength);
  const bool fits = name_length + kValueName <= length && length <= name_length + kValueName + 8;
  if (length > kLongestValueCell || !fits || !StepsByLength(walk, length)) return p + 8;
  if (walk.pass == ScanPass::kCollect) {
    walk.tables.values.push_back(p);
  }
  return p + length;
}

// Returns where the walk goes on.
uint32_t VisitSecurity(ScanWalk& walk, uint32_t p, uint32_t length) {
  if (walk.pass == ScanPass::kCollect) {
    walk.tables.securities.push_back(p);
  }
  return StepsByLength(walk, length) ? p + length : p + 8;
}

// Final as soon as one kind of list clearly prevails.
void DecideListStyle(ScanTables& tables) {
  if (tables.list_style != ListStyle::kUndecided) return;
  const auto prevails = [](uint32_t many, uint32_t few) {
    return (many >= 5 && few == 0) || (many >= 101 && few < 4);
  };
  if (prevails(tables.lh_lists, tables.lf_lists)) tables.list_style = ListStyle::kHashed;
  if (prevails(tables.lf_lists, tables.lh_lists)) tables.list_style = ListStyle::kHinted;
}

uint32_t VisitList(ScanWalk& walk, uint32_t p, ListKind kind, uint32_t length) {
  const uint32_t next = StepsByLength(walk, length) ? p + length : p + 8;
  if (length >= walk.bin_size) {
    const uint32_t count = ReadU16(walk.hive, p + 6);
    const uint32_t first = ReadU32(walk.hive, p + 8);
    if (count < 1 || count > kMaxListCount || first > walk.hive.length) return next;
  }
  const bool collecting = walk.pass == ScanPass::kCollect;
  if (collecting) {
    walk.tables.lf_lists += kind == ListKind::kLf;
    walk.tables.lh_lists += kind == ListKind::kLh;
    DecideListStyle(walk.tables);
  }
  // A fragment's lists are wanted at once; those of a hive only when its tree is not sound.
  if (collecting != walk.hive.header_valid) {
    walk.tables.lists.push_back(p);
  }
  return next;
}

// A large cell that nothing is known of is searched from within, but not beyond its end: `restart`
// is where its neighbour begins.
uint32_t VisitUnknown(ScanWalk& walk, uint32_t p, uint32_t length) {
  if (walk.options.skip_small && length < kSmallCell) return p + length;
  if (walk.restart == 0 && length <= walk.hive.length - p) walk.restart = p + length;
  return p + 8;
}

// Values first, as most cells of a hive are theirs or their data.
uint32_t ReadCellAt(ScanWalk& walk, uint32_t p, uint32_t size) {
  const uint32_t length = 0U - size;
  if (length % 8 != 0) return p + 8;
  const uint32_t second = ReadU32(walk.hive, p + 4);
  const auto signature = static_cast<uint16_t>(second);
  const auto flags = static_cast<uint16_t>(second >> 16);
  if (signature == kSignatureVk) return VisitValue(walk, p, length);
  const int key_class = ClassifyKeyCell(walk.hive, signature, flags, size, p);
  if (key_class >= 0) return VisitKey(walk, p, flags, length, key_class);
  if (signature == kSignatureSk) return VisitSecurity(walk, p, length);
  const ListKind kind = ListKindOfSignature(signature);
  if (kind != ListKind::kNone) return VisitList(walk, p, kind, length);
  return VisitUnknown(walk, p, length);
}

// While a restart position is pending no step goes beyond it.
uint32_t HoldAtRestart(ScanWalk& walk, uint32_t p, uint32_t next) {
  if (walk.restart == 0) return next;
  if (p < walk.restart && next > walk.restart) next = walk.restart;
  if (next >= walk.restart) walk.restart = 0;
  return next;
}

// Where cells were moved, no step goes over the first one at its new place: the cell before it
// is longer by its size than it is.
uint32_t HoldAtRun(ScanWalk& walk, uint32_t p, uint32_t next) {
  const std::vector<OffsetRun>& runs = walk.hive.offset_runs;
  while (walk.run < runs.size() && runs[walk.run].position <= p) ++walk.run;
  if (walk.run == runs.size() || next <= runs[walk.run].position) return next;
  walk.restart = 0;
  return runs[walk.run].position;
}

// No cell goes on after its block.
uint32_t HoldAtBlock(const ScanWalk& walk, uint32_t p, uint32_t next) {
  return p < walk.block_end && next > walk.block_end ? walk.block_end : next;
}

// How far the bar is, and what was found: keys of all rows.
void ShowProgress(ScanWalk& walk, uint32_t step) {
  const Host& host = CurrentHost();
  const ScanTables& tables = walk.tables;
  if (step > walk.shown_step) host.progress_position(host.context, walk.shown_step = step);
  const size_t rows = tables.keys.size() + tables.values.size() + tables.securities.size() +
                      tables.lists.size() + tables.bins.size();
  if (rows < walk.shown_rows + kRowsShownApart) return;
  walk.shown_rows = rows;
  ShowStatus((std::to_string(tables.keys.size()) + "/" + std::to_string(rows)).c_str());
}

uint32_t ProgressStep(const HiveImage& hive) {
  return hive.length > kSteppedProgressLength ? hive.length / 100 : 4096;
}

// Where the walk goes on after what is at `cell`.
uint64_t NextOf(ScanWalk& walk, uint32_t cell) {
  const HiveImage& hive = walk.hive;
  const uint32_t size = ReadU32(hive, cell);
  uint32_t next = cell + 8;
  if (size == kBinSignature) {
    next = VisitBin(walk, cell);
  } else if (cell == kFirstCellPosition && cell == hive.root_position &&
             HasRootRemains(hive, cell)) {
    next = VisitFirstCell(walk, cell);
  } else if (IsAllocated(size)) {
    next = ReadCellAt(walk, cell, size);
  } else if (cell > kFirstCellPosition && hive.offset_runs.empty()) {
    next = NextOccupied(ImageBytes(hive), cell);
  }
  next = HoldAtBlock(walk, cell, HoldAtRestart(walk, cell, next));
  return hive.offset_runs.empty() ? next : HoldAtRun(walk, cell, next);
}

// Until the walk is at `end` or after it, or at the end of the image, which may come nearer
// meanwhile. Returns where it is then.
uint64_t WalkTo(ScanWalk& walk, uint64_t p, uint64_t end) {
  constexpr uint32_t kPollMask = 0x3FF;
  const uint32_t step = ProgressStep(walk.hive);
  uint32_t steps = 0;
  while (p < end && p + 8 <= walk.hive.length && !walk.spoiled) {
    if ((steps++ & kPollMask) == 0) {
      if (StopRequested()) break;
      if (!walk.second) ShowProgress(walk, static_cast<uint32_t>(p / step));
    }
    const uint64_t next = NextOf(walk, static_cast<uint32_t>(p));
    if (next <= p) break;  // beyond 4 GiB
    p = next;
  }
  return p;
}

// Only where no state but that of the blocks goes from one half into the other: in a hive with a
// base block all of whose bytes are in place.
uint32_t SplitOfScan(const HiveImage& hive) {
  const bool plain = hive.header_valid && hive.offset_runs.empty();
  const uint32_t split = plain ? BlockToSplitAt(hive) : 0;
  return hive.root_position < split ? split : 0;
}

// True when no list was read by both walks, and neither read one at the cost of others.
bool AreReadsApart(const SubkeyListReads& first, const SubkeyListReads& second, uint32_t whole) {
  if (first.left != whole || second.left != whole) return false;
  for (size_t i = 0; i < first.once.size(); ++i) {
    if ((first.once[i] & second.once[i]) != 0) return false;
  }
  return true;
}

// True when the first walk has come to `split` as the second one began there: after a block that
// ends there, before one whose end is known. Whatever else is carried along is a sum.
bool Joins(const ScanWalk& first, const ScanWalk& second, uint64_t p, uint32_t split,
           uint32_t whole) {
  const ScanTables& before = first.tables;
  const ScanTables& after = second.tables;
  const bool lists = after.lf_lists + after.lh_lists != 0;
  return p == split && first.block_end == split && first.chained <= split && !second.spoiled &&
         after.list_reads.cut == 0 && before.list_reads.cut == 0 &&
         (before.list_style != ListStyle::kUndecided || !lists) &&
         AreReadsApart(before.list_reads, after.list_reads, whole);
}

// The memory of `more` is given back as its rows are taken, so that they are never there twice.
template <typename Row>
void Append(std::vector<Row>& rows, std::vector<Row>& more) {
  constexpr size_t kAtATime = (size_t{4} << 20) / sizeof(Row);
  for (size_t taken = 0; taken < more.size();) {
    const auto next = more.begin() + static_cast<ptrdiff_t>(taken);
    const size_t count = std::min(kAtATime, more.size() - taken);
    rows.insert(rows.end(), next, next + static_cast<ptrdiff_t>(count));
    taken += count;
    ForgetPages(more.data(), taken * sizeof(Row));
  }
  ReleaseLarge(more);
}

// What the second walk found, as if the first one had.
void AppendTables(ScanTables& tables, ScanTables& more) {
  const auto entries = static_cast<uint32_t>(tables.child_entries.size());
  for (KeyRow& key : more.keys) {
    key.first_entry += entries;
    InsertPosition(tables.key_index, key.position);
  }
  for (auto& [position, note] : more.key_notes) {
    if (note.made_name != 0) note.made_name += tables.generated_names;
  }
  tables.key_notes.merge(more.key_notes);
  Append(tables.keys, more.keys);
  Append(tables.child_entries, more.child_entries);
  Append(tables.damage, more.damage);
  Append(tables.values, more.values);
  Append(tables.securities, more.securities);
  Append(tables.bins, more.bins);
  tables.tree_sound = tables.tree_sound && more.tree_sound;
  tables.lf_lists += more.lf_lists;
  tables.lh_lists += more.lh_lists;
  tables.one_bit_errors += more.one_bit_errors;
  tables.largest_parent = std::max(tables.largest_parent, more.largest_parent);
  tables.generated_names += more.generated_names;
  tables.counted_values += more.counted_values;
  for (size_t i = 0; i < more.list_reads.once.size(); ++i) {
    tables.list_reads.once[i] |= more.list_reads.once[i];
  }
}

// Both halves side by side, once the root was met: the rows are those of one walk through all. A
// second half that does not join is forgotten. Returns where the walk goes on.
uint64_t WalkHalves(ScanWalk& walk, uint64_t p, uint32_t split) {
  HiveImage& hive = walk.hive;
  p = WalkTo(walk, p, std::max(hive.root_position, kFirstCellPosition) + kKeyName);
  const uint32_t length = hive.length;
  if (p >= split || length <= split) return p;
  ScanTables tables;
  ResetTables(hive, tables);
  const uint32_t whole = tables.list_reads.left;
  ScanWalk other{hive, tables, walk.options, walk.pass};
  other.second = true;
  other.block_end = split;
  {
    SideWork beside([&] { WalkTo(other, split, UINT64_MAX); });
    walk.beside = &beside;
    p = WalkTo(walk, p, split);
    walk.beside = nullptr;
  }
  if (StopRequested() || hive.length != length || !Joins(walk, other, p, split, whole)) return p;
  AppendTables(walk.tables, tables);
  return length;
}

void FindEntryRows(ScanTables& tables) {
  for (ChildEntry& entry : tables.child_entries) SetRow(entry, RowAt(tables, entry.key));
}

bool IsOffsetLike(const HiveImage& hive, uint32_t field) {
  const uint32_t offset = ReadU32(hive, field);
  return offset == kNoOffset || (offset % 8 == 0 && offset < hive.length);
}

}  // namespace

bool HasKeyBody(const HiveImage& hive, uint32_t position, uint32_t size) {
  const uint32_t name_length = ReadU16(hive, position + kKeyNameLength);
  if (name_length > 512 || kKeyName + name_length > CellLength(size)) return false;
  if (!InsideHive(hive, position, kKeyName + name_length)) return false;
  int offsets = 0;
  for (const uint32_t field : {kKeyParent, kKeySubkeyList, kKeyValueList, kKeySecurity}) {
    offsets += IsOffsetLike(hive, position + field);
  }
  return offsets >= 3;
}

int ClassifyKeyCell(const HiveImage& hive, uint16_t signature, uint16_t flags, uint32_t size,
                    uint32_t position) {
  const int key_class = ClassifyKey(hive, signature, flags, size, position);
  return key_class > 0 && !HasKeyBody(hive, position, size) ? -1 : key_class;
}

void ResetTables(const HiveImage& hive, ScanTables& tables) {
  tables = ScanTables();
  ResetIndex(tables.key_index, hive.length);
  tables.list_reads = MakeSubkeyListReads(hive);
  // Rooms for a dense hive; what is not used is never touched.
  ReserveLarge(tables.keys, hive.length / 128);
  ReserveLarge(tables.child_entries, hive.length / 128);
  ReserveLarge(tables.values, hive.length / 64);
}

// Every step moves on by 8 bytes at least, and each visitor reads a bounded part of the cell but
// for a subkey list, whose entries are bounded over the whole scan: so the scan is linear.
void ScanImage(HiveImage& hive, ScanPass pass, const ScanOptions& options, ScanTables& tables) {
  const Host& host = CurrentHost();
  const uint32_t step = ProgressStep(hive);
  host.progress_range(host.context, hive.length / step + 1);
  ScanWalk walk{hive, tables, options, pass};
  uint64_t p = hive.data_start;
  const uint32_t split = pass == ScanPass::kCollect ? SplitOfScan(hive) : 0;
  if (split != 0) p = WalkHalves(walk, p, split);
  WalkTo(walk, p, UINT64_MAX);
  host.progress_range(host.context, 0);
}

void IndexKeys(const HiveImage& hive, ScanTables& tables) {
  std::ranges::sort(tables.keys, {}, &KeyRow::position);
  tables.added_rows.clear();
  ResetIndex(tables.key_index, hive.length);
  for (const KeyRow& key : tables.keys) InsertPosition(tables.key_index, key.position);
  SealIndex(tables.key_index);
  FindEntryRows(tables);
}

void FinishScan(ScanTables& tables) {
  SealIndex(tables.key_index);
  tables.sealed = true;
  FindEntryRows(tables);
}

}  // namespace hivequarry

#include "recovery/image_tree.h"

#include <utility>

#include "bytes/large_pages.h"
#include "hive/keys.h"
#include "hive/moved_bytes.h"
#include "hive/offset_map.h"
#include "hive/root_evidence.h"
#include "hive/root_path.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "host/shortfalls.h"
#include "records/cell.h"
#include "recovery/disconnected_values.h"
#include "recovery/fragment_base.h"
#include "recovery/hang_keys.h"
#include "recovery/live_cells.h"
#include "recovery/relations.h"
#include "recovery/root_search.h"
#include "recovery/scan.h"
#include "recovery/value_lists.h"

namespace hivequarry {
namespace {

bool IsKeyCell(const HiveImage& hive, uint32_t position) {
  return InsideHive(hive, position, kKeyName) && ReadU16(hive, position + 4) == kSignatureNk;
}

// The root is the first cell, unless that holds no key flagged as a root and the base block names
// another key.
void PresetRoot(HiveImage& hive) {
  if (!hive.header_valid) return;
  const uint32_t named = ReadOffset(hive, kBaseRootOffset);
  const bool first_cell_is_root = IsKeyCell(hive, kFirstCellPosition) &&
                                  ReadU16(hive, kFirstCellPosition + kKeyFlags) == kRootKeyFlags;
  const bool named_fits =
      named != kNoOffset && named % 8 == 0 && named >= hive.data_start && IsKeyCell(hive, named);
  hive.root_position = named_fits && !first_cell_is_root ? named : kFirstCellPosition;
}

// Offsets that lead nobody knows where are not followed.
void ForgetRelations(ScanTables& tables) {
  tables.child_entries.clear();
  for (KeyRow& key : tables.keys) {
    key.parent = kNoOffset;
    key.first_entry = key.entry_count = 0;
    key.list_broken = false;
  }
  tables.damage.clear();
  tables.tree_sound = true;
}

// From nothing: what an earlier scan found is gone.
void Collect(HiveImage& hive, const ScanOptions& scan, ScanTables& tables) {
  ResetTables(hive, tables);
  ScanImage(hive, ScanPass::kCollect, scan, tables);
}

// The blocks of a hive that was cut off had a say in where offsets lead; so would the header in
// front of its root, which is left.
void ForgetOtherHive(HiveImage& hive) {
  const uint32_t end = hive.length;
  const bool header = end >= kBinHeaderSize && ReadU32(hive, end - kBinHeaderSize) == kBinSignature;
  if (header) hive.length -= kBinHeaderSize;
  hive.data_base = hive.data_start;
  hive.data_base_proven = hive.header_valid;
  FindDataBase(hive);
  MapOffsets(hive);
  hive.length = end;
}

// With `show_stopped` the tree is made of what was found until the stop.
bool IsGivenUp(const BuildOptions& options) { return !options.show_stopped && StopRequested(); }

// The scan may have to run again: where another hive was cut off, where a fragment's place was
// found, and where pages were put back, since each changes where offsets lead. Repair runs once, at
// the end.
void CollectTables(HiveImage& hive, const BuildOptions& options, ScanTables& tables) {
  hive.tolerant_keys = options.tolerant_keys;
  PresetRoot(hive);
  ScanOptions scan;
  scan.minimum_name_length = options.minimum_name_length;
  scan.cut_at_other_root = options.cut_at_other_root;
  scan.on_cut = options.on_cut;
  scan.bare_cells = !hive.header_valid && !hive.data_base_proven;
  ShowStatus("Collecting information ...");
  const uint32_t whole = hive.length;
  Collect(hive, scan, tables);
  if (scan.cut_at_other_root && !tables.other_roots.empty() && !StopRequested()) {
    FinishScan(tables);
    const uint32_t other = FindOtherHive(hive, tables);
    if (other != 0) CutAtRoot(hive, other, options.on_cut);
  }
  if (hive.length != whole && !StopRequested()) {
    ForgetOtherHive(hive);
    Collect(hive, scan, tables);
  }
  if (!hive.data_base_proven && FindFragmentBase(hive, tables) && !StopRequested()) {
    // Now that its place is known the fragment's offsets can be followed.
    Collect(hive, scan, tables);
  }
  if (IsGivenUp(options)) return;
  if (!hive.data_base_proven) ForgetRelations(tables);
  FinishScan(tables);
  FindLostRoot(hive, tables);
  if (!NeedsRepair(hive, tables)) return;
  if (hive.length == whole && hive.data_base_proven && UndoMoves(hive)) {
    // Pages of the same cells look sound until their records are held against each other.
    MapOffsets(hive);
    Collect(hive, scan, tables);
    if (IsGivenUp(options)) return;
    FinishScan(tables);
    FindLostRoot(hive, tables);
    if (!NeedsRepair(hive, tables)) return;
  }
  DropOwnedKeys(hive, RowsReachedByLists(hive, tables), tables);
  ShowStatus("Evaluating data ...");
  ScanImage(hive, ScanPass::kEvaluate, scan, tables);
  if (IsGivenUp(options)) return;
  DropOwnedLists(hive, RowsReachedByLists(hive, tables), tables);
  RepairRelations(hive, scan, tables);
  // By now more keys are reached, and what they own is no record either.
  DropOwnedKeys(hive, RowsReachedByLists(hive, tables), tables);
}

bool IsRootMade(const HiveImage& hive, const ScanTables& tables) {
  const uint32_t row = tables.roots.empty() ? kNoRow : RowAt(tables, hive.root_position);
  return row != kNoRow && IsMade(tables.keys[row]);
}

void ChooseRootText(HiveImage& hive, const BuildOptions& options, const ScanTables& tables,
                    KeyTree& tree) {
  // A root that was made has no name, and what is left of one may be noise.
  const bool named = !tables.roots.empty() && !IsRootMade(hive, tables) &&
                     HasPlausibleName(hive, hive.root_position);
  if (!options.root_path.empty()) {
    SetRootPath(hive, options.root_path);
  } else if (!ChooseRootPath(hive, named) && IsRootMade(hive, tables)) {
    RootPathFromStoredName(hive);
  }
  tree.root_text = DisplayedRoot(hive);
}

// Blocks in line with the first one: a header that was left over inside a cell is no block.
uint32_t CountBlocks(const std::vector<BinTableRow>& bins) {
  uint32_t count = 0;
  for (const BinTableRow& bin : bins) {
    count += (bin.position - bins[0].position) % kPageSize == 0;
  }
  return count;
}

// What only the scan needed: the tree takes as much room.
void ForgetCells(ScanTables& tables) {
  ReleaseLarge(tables.values);
  tables.list_reads.once = {};
}

// Keys are rows of the scan, so freed keys are not counted, and copies of keys are counted once.
ImageSummary Summarise(const ScanTables& tables, size_t values, const KeyTree& tree) {
  ImageSummary summary;
  summary.keys = static_cast<uint32_t>(tables.keys.size());
  for (const KeyItem& item : tree.items) summary.connected_keys += item.connected;
  summary.disconnected_keys = summary.keys - summary.connected_keys;
  summary.values = static_cast<uint32_t>(values);
  summary.disconnected_values = static_cast<uint32_t>(tree.disconnected_value_positions.size());
  summary.security_records = static_cast<uint32_t>(tables.securities.size());
  summary.bins = CountBlocks(tables.bins);
  summary.virtual_parents = tables.virtual_parents;
  summary.virtual_children = tables.virtual_children;
  summary.virtual_siblings = tables.virtual_siblings;
  summary.list_style = static_cast<uint32_t>(tables.list_style);
  summary.root_made = IsKeyItem(tree, 0) && !HasKeyCell(tree, 0);
  summary.tree_sound = tables.tree_sound;
  summary.stopped = StopRequested();
  return summary;
}

}  // namespace

// Values that no key names are looked for before the keys are hung, as both need the tables; value
// lists are settled before, since what they name is no lost value.
ImageSummary BuildImageTree(HiveImage& hive, const BuildOptions& options, KeyTree& tree) {
  const Host& host = CurrentHost();
  ScanTables tables;
  tree = KeyTree();
  tree.minimum_name_length = options.minimum_name_length;
  CollectTables(hive, options, tables);
  ImageSummary summary;
  summary.stopped = true;
  if (IsGivenUp(options)) return summary;
  SettleValueLists(hive, tables);
  if (tables.list_reads.cut != 0) NoteShortfall(Shortfall::kSubkeyLists, tables.list_reads.cut);
  ChooseRootText(hive, options, tables, tree);
  if (options.disconnected_values) {
    ShowStatus("Finding disconnected values ...");
    tree.disconnected_value_positions = FindDisconnectedValues(hive, tables);
  }
  if (IsGivenUp(options)) return summary;
  ShowStatus("Filling structure ...");
  RepairRoots(tables);
  const size_t values = tables.values.size();
  ForgetCells(tables);
  HangKeys(hive, tables, tree);
  MarkSharedBytes(hive, tree);
  summary = Summarise(tables, values, tree);
  ShowStatus("Cleaning up ...");
  tables = ScanTables();
  if (!summary.stopped) host.beep(host.context);
  ShowStatus("");
  return summary;
}

}  // namespace hivequarry

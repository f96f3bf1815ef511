#include "recovery/disconnected_values.h"

#include "hive/key_tree.h"
#include "hive/keys.h"
#include "hive/values.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "recovery/hang_keys.h"
#include "recovery/live_cells.h"

namespace hivequarry {
namespace {

// Keys between two looks at the user's stop.
constexpr uint32_t kProgressKeys = 128;

void ShowKeyProgress(uint32_t done, size_t total) {
  ShowStatus(Concat({Decimal(done), "/", Decimal(static_cast<int64_t>(total))}).c_str());
}

// Takes out of the tables, and out of the values that no key names, those that have bytes of a live
// record's cell.
void DropOwnedValues(const HiveImage& hive, ScanTables& tables, std::vector<uint32_t>& found) {
  const OwnedCells& live = LiveCells(hive, RowsReachedByLists(hive, tables), tables);
  PositionIndex owned;
  ResetIndex(owned, hive.length);
  for (const uint32_t position : found) {
    const uint32_t length = kValueName + ReadU16(hive, position + kValueNameLength);
    const bool taken = OwnerOf(live, position, uint64_t{position} + length) != nullptr;
    if (taken) InsertPosition(owned, position);
  }
  const auto is_owned = [&owned](uint32_t position) { return ContainsPosition(owned, position); };
  if (std::erase_if(found, is_owned) != 0) std::erase_if(tables.values, is_owned);
}

}  // namespace

std::vector<uint32_t> FindDisconnectedValues(const HiveImage& hive, ScanTables& tables) {
  std::vector<uint32_t> result;
  if (!hive.data_base_proven) return result;
  PositionIndex referenced;
  ResetIndex(referenced, hive.length);
  std::vector<uint32_t> positions;
  uint32_t done = 0;
  for (const KeyRow& key : tables.keys) {
    if (done++ % kProgressKeys == 0) {
      if (StopRequested()) return result;
      ShowKeyProgress(done - 1, tables.keys.size());
    }
    const bool made = (key.marks & kVirtualMarks) != 0;
    if (made) continue;
    positions.clear();
    ReadValuesOfKey(hive, key.position, kAllEntries, positions);
    for (const uint32_t position : positions) InsertPosition(referenced, position);
  }
  for (const uint32_t position : tables.values) {
    if (ContainsPosition(referenced, position)) continue;
    // Of a value cut off by the end of the image not even the fields can be read.
    const ValueKey value = ReadValueKey(hive, position, ValueRead::kName, kMaxValueData, nullptr);
    if (value.status != ValueStatus::kEmpty) result.push_back(position);
  }
  if (!result.empty()) DropOwnedValues(hive, tables, result);
  return result;
}

}  // namespace hivequarry

#include "recovery/disconnected_values.h"

#include "hive/key_tree.h"
#include "hive/keys.h"
#include "hive/values.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "host/side_work.h"
#include "recovery/hang_keys.h"
#include "recovery/live_cells.h"

namespace hivequarry {
namespace {

// Keys between two looks at the user's stop.
constexpr uint32_t kProgressKeys = 128;

void ShowKeyProgress(size_t done, size_t total) {
  const auto text = [](size_t number) { return Decimal(static_cast<int64_t>(number)); };
  ShowStatus(Concat({text(done), "/", text(total)}).c_str());
}

// Takes out of the tables, and out of the values that no key names, those that have bytes of a live
// record's cell. One that a live list names, but its key is not given, has a cell of its own.
void DropOwnedValues(const HiveImage& hive, ScanTables& tables, std::vector<uint32_t>& found) {
  const OwnedCells& live = LiveCells(hive, RowsReachedByLists(hive, tables), tables);
  PositionIndex owned;
  ResetIndex(owned, hive.length);
  for (const uint32_t position : found) {
    const uint32_t length = kValueName + ReadU16(hive, position + kValueNameLength);
    const OwnedCell* owner = OwnerOf(live, position, uint64_t{position} + length);
    const bool own =
        owner != nullptr && owner->position == position && owner->what == OwnedAs::kValue;
    if (owner != nullptr && !own) InsertPosition(owned, position);
  }
  const auto is_owned = [&owned](uint32_t position) { return ContainsPosition(owned, position); };
  if (std::erase_if(found, is_owned) != 0) std::erase_if(tables.values, is_owned);
}

// What the lists of keys [first, end) name. False when the user stopped.
bool MarkNamedValues(const HiveImage& hive, const std::vector<KeyRow>& keys, size_t first,
                     size_t end, bool show, PositionIndex& named) {
  std::vector<uint32_t> positions;
  for (size_t row = first; row < end; ++row) {
    if ((row - first) % kProgressKeys == 0) {
      if (StopRequested()) return false;
      if (show) ShowKeyProgress(row, keys.size());
    }
    if (IsMade(keys[row])) continue;
    positions.clear();
    ReadValuesOfKey(hive, keys[row].position, kAllEntries, positions);
    for (const uint32_t position : positions) InsertPosition(named, position);
  }
  return true;
}

// Halves of the keys side by side where that is worth it: each has marks of its own.
bool FindNamedValues(const HiveImage& hive, const std::vector<KeyRow>& keys, PositionIndex& named) {
  ResetIndex(named, hive.length);
  if (!IsWorthSideWork(hive.length)) {
    return MarkNamedValues(hive, keys, 0, keys.size(), true, named);
  }
  PositionIndex other;
  ResetIndex(other, hive.length);
  const size_t half = keys.size() / 2;
  bool done = true;
  bool first_done = true;
  {
    const SideWork beside(
        [&] { done = MarkNamedValues(hive, keys, half, keys.size(), false, other); });
    first_done = MarkNamedValues(hive, keys, 0, half, true, named);
  }
  for (size_t word = 0; word < named.bits.size(); ++word) named.bits[word] |= other.bits[word];
  return done && first_done;
}

}  // namespace

std::vector<uint32_t> FindDisconnectedValues(const HiveImage& hive, ScanTables& tables) {
  std::vector<uint32_t> result;
  if (!hive.data_base_proven) return result;
  PositionIndex referenced;
  if (!FindNamedValues(hive, tables.keys, referenced)) return result;
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

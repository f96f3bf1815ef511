// The root key cells that an image holds.

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

#include "hive/file_place.h"
#include "hive/keys.h"
#include "hive/subkeys.h"
#include "hive/timestamp.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "host/visible_text.h"
#include "lists/list_rows.h"
#include "records/cell.h"
#include "records/stored_text.h"
#include "reports/file_pieces.h"

namespace hivequarry {
namespace {

constexpr size_t kRootWindow = 1024 * 1024;
constexpr uint32_t kLongestName = 256;  // of a single-byte name, as the tree shows it

using KeyHead = std::array<uint8_t, kKeyName>;

// All readers here go beyond the place where the image was cut.
bool ReadHeldKey(const HiveImage& hive, uint32_t position, KeyHead& key) {
  return ReadHeldBytes(hive, position, key.data(), kKeyName) == kKeyName;
}

uint32_t ReadHeldU32(const HiveImage& hive, uint32_t position) {
  uint8_t bytes[4] = {};
  return ReadHeldBytes(hive, position, bytes, sizeof(bytes)) == sizeof(bytes) ? LoadU32(bytes) : 0;
}

// An allocated key cell with room for its name.
bool IsWholeKey(const HiveImage& hive, uint32_t position, const KeyHead& key) {
  if (LoadU16(&key[4]) != kSignatureNk) return false;
  const uint32_t size = LoadU32(key.data());
  const uint32_t needed = kKeyName + LoadU16(&key[kKeyNameLength]);
  return IsAllocated(size) && size % 8 == 0 && needed <= CellLength(size) &&
         needed <= hive.held - position;
}

// Calls `found` with the position of each "nk" with a root's flags. These are looked for by the
// flags: few other bytes have that value.
template <typename Found>
void ForEachRootMark(const HiveImage& hive, const Found& found) {
  constexpr uint32_t kMark = 8;  // size, signature and flags
  constexpr uint8_t kFlags = kRootKeyFlags & 0xFF;
  std::vector<uint8_t> bytes(kRootWindow);
  for (uint64_t start = 0; start + kMark <= hive.held && !StopRequested();) {
    const auto from = static_cast<uint32_t>(start);
    const uint32_t got = ReadHeldBytes(hive, from, bytes.data(), kRootWindow);
    if (got < kMark) return;
    const uint8_t* const stop = bytes.data() + got - 1;  // a byte of the flags is after
    const uint8_t* at = bytes.data() + kKeyFlags;
    while (at < stop) {
      at = static_cast<const uint8_t*>(std::memchr(at, kFlags, static_cast<size_t>(stop - at)));
      if (at == nullptr) break;
      const bool mark = LoadU16(at - 2) == kSignatureNk && at[1] == 0;
      if (mark) found(from + static_cast<uint32_t>(at - bytes.data()) - kKeyFlags);
      ++at;
    }
    // A mark that is cut by the window's end is whole in the next one.
    start += got - (kMark - 1);
  }
}

// The cells by position, none inside another one's fixed part.
std::vector<uint32_t> FindRootCells(const HiveImage& hive, const KeyTree& tree) {
  std::vector<uint32_t> cells;
  ForEachRootMark(hive, [&](uint32_t position) {
    KeyHead key;
    const bool apart = cells.empty() || position - cells.back() >= kKeyName;
    if (!apart || !ReadHeldKey(hive, position, key)) return;
    if (IsWholeKey(hive, position, key)) cells.push_back(position);
  });
  if (IsKeyItem(tree, 0) && !std::ranges::binary_search(cells, hive.root_position)) {
    // The first cell is the root whatever is left of it.
    cells.insert(std::ranges::lower_bound(cells, hive.root_position), hive.root_position);
  }
  return cells;
}

// As a system accepts one: the first cell of a block whose own offset is 0, and a subkey list,
// where it has subkeys, at the offset that counts from that block. Reads what is held, also after a
// cut.
bool IsValidRoot(const HiveImage& hive, uint32_t position, const KeyHead& key) {
  if (position < kBinHeaderSize || !IsWholeKey(hive, position, key)) return false;
  const uint32_t block = position - kBinHeaderSize;
  if (ReadHeldU32(hive, block) != kBinSignature || ReadHeldU32(hive, block + 4) != 0) return false;
  if (LoadU32(&key[kKeySubkeyCount]) == 0) return true;
  const uint64_t list = uint64_t{block} + LoadU32(&key[kKeySubkeyList]);
  if (list + 8 > hive.held) return false;
  const uint32_t head = ReadHeldU32(hive, static_cast<uint32_t>(list) + 4);
  return ListKindOfSignature(static_cast<uint16_t>(head)) != ListKind::kNone;
}

// With a root's flags the name is of single bytes, and is read also after the place where the image
// was cut.
std::string HeldName(const HiveImage& hive, uint32_t position, const KeyHead& key) {
  if (LoadU16(&key[kKeyFlags]) != kRootKeyFlags) return ShownKeyName(ReadKeyName(hive, position));
  std::vector<uint8_t> bytes(std::min<uint32_t>(LoadU16(&key[kKeyNameLength]), kLongestName));
  bytes.resize(
      ReadHeldBytes(hive, position + kKeyName, bytes.data(), static_cast<uint32_t>(bytes.size())));
  std::string name;
  AppendSingleByteName(bytes, name);
  return ShownKeyName(name);
}

// The item that shows the key, kNoItem for one that this window does not show.
uint32_t ShownItem(const HiveImage& hive, const KeyTree& tree, uint32_t position) {
  const uint32_t item = position < hive.length ? ItemOfPosition(tree, position) : kNoItem;
  return item != kNoItem && IsKeyItem(tree, item) ? item : kNoItem;
}

// The path is empty for a root that is no key of this tree.
void AddRootRow(const HiveImage& hive, const KeyTree& tree, uint32_t position, OutputList& list) {
  KeyHead key{};
  ReadHeldKey(hive, position, key);
  const uint32_t item = ShownItem(hive, tree, position);
  const uint64_t last_write =
      LoadU32(&key[kKeyLastWrite]) | uint64_t{LoadU32(&key[kKeyLastWrite + 4])} << 32;
  const std::string root = HexAndDecimal(FilePositionOf(hive, position));
  const std::string path = item == kNoItem ? std::string() : ItemPath(hive, tree, item);
  const std::string name = HeldName(hive, position, key);
  const std::string date = FormatTimestampChecked(last_write);
  const char* valid = IsValidRoot(hive, position, key) ? "yes" : "no";
  std::string stored;
  if (item != kNoItem) stored = StoredItemPath(hive, tree, item);
  RowFacts facts;
  facts.about_key = true;
  facts.last_write = last_write;
  facts.path = stored;
  AddListRow(list, {root, valid, path, name, {date, DateValue(last_write)}}, position, facts);
}

}  // namespace

OutputListPtr ListRootKeys(const HiveImage& hive, const KeyTree& tree) {
  OutputListPtr list = MakeOutputList(kListRootKeys);
  for (const uint32_t position : FindRootCells(hive, tree)) {
    if (StopRequested()) break;
    AddRootRow(hive, tree, position, *list);
  }
  return list;
}

}  // namespace hivequarry

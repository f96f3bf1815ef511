#include "tests/support/plain_reader.h"

#include <algorithm>
#include <unordered_map>

namespace hivequarry::testing {
namespace {

constexpr uint16_t kNk = 0x6B6E;
constexpr uint16_t kVk = 0x6B76;
constexpr uint16_t kSk = 0x6B73;
constexpr uint16_t kLf = 0x666C;
constexpr uint16_t kLh = 0x686C;
constexpr uint16_t kLi = 0x696C;
constexpr uint16_t kRi = 0x6972;
constexpr uint16_t kDb = 0x6264;
constexpr uint32_t kBin = 0x6E696268;

bool Fits(const Bytes& hive, uint64_t at, uint64_t size) { return at + size <= hive.size(); }

// Position of the cell at an offset, 0 when `size` bytes of it are not all in the file.
uint32_t CellAt(const Bytes& hive, uint32_t offset, uint32_t size) {
  if (offset == kNone || !Fits(hive, uint64_t{offset} + kDataArea, size)) return 0;
  return offset + kDataArea;
}

bool HasSignature(const Bytes& hive, uint32_t cell, uint16_t signature) {
  return cell != 0 && GetU16(hive, cell + field::kSignature) == signature;
}

std::u16string NameAt(const Bytes& hive, uint32_t at, uint32_t length, bool single_bytes) {
  std::u16string name;
  const uint32_t step = single_bytes ? 1 : 2;
  for (uint32_t i = 0; i + step <= length && Fits(hive, at + i, step); i += step) {
    name.push_back(single_bytes ? char16_t{hive[at + i]} : char16_t{GetU16(hive, at + i)});
  }
  return name;
}

// The key offsets that a list names, an "ri" one level down.
void AppendSubkeys(const Bytes& hive, uint32_t offset, bool follow, std::vector<uint32_t>& keys) {
  const uint32_t list = CellAt(hive, offset, 8);
  if (list == 0) return;
  const uint16_t signature = GetU16(hive, list + field::kSignature);
  const bool pairs = signature == kLf || signature == kLh;
  if (!pairs && signature != kLi && (signature != kRi || !follow)) return;
  const uint32_t count = GetU16(hive, list + field::kListCount);
  for (uint32_t i = 0; i < count; ++i) {
    const uint32_t entry = list + field::kListEntries + i * (pairs ? 8 : 4);
    if (!Fits(hive, entry, 4)) return;
    if (signature == kRi) {
      AppendSubkeys(hive, GetU32(hive, entry), false, keys);
    } else {
      keys.push_back(GetU32(hive, entry));
    }
  }
}

bool CopyCell(const Bytes& hive, uint32_t offset, uint32_t size, Bytes& data) {
  const uint32_t cell = CellAt(hive, offset, 4 + size);
  if (cell == 0) return false;
  const auto from = hive.begin() + static_cast<ptrdiff_t>(cell) + 4;
  data.insert(data.end(), from, from + static_cast<ptrdiff_t>(size));
  return true;
}

bool CopySegments(const Bytes& hive, uint32_t db, uint32_t length, Bytes& data) {
  const uint32_t count = GetU16(hive, db + field::kBigCount);
  const uint32_t list = CellAt(hive, GetU32(hive, db + field::kBigList), 4 + 4 * count);
  if (list == 0) return false;
  for (uint32_t i = 0; i < count && data.size() < length; ++i) {
    const auto left = static_cast<uint32_t>(length - data.size());
    if (!CopyCell(hive, GetU32(hive, list + 4 + 4 * i), std::min(left, kSegment), data)) {
      return false;
    }
  }
  return data.size() == length;
}

bool ReadData(const Bytes& hive, uint32_t value, Bytes& data) {
  const uint32_t stored = GetU32(hive, value + field::kValueLength);
  const uint32_t length = stored & 0x7FFFFFFF;
  if (stored > 0x7FFFFFFF) {
    const auto from = hive.begin() + static_cast<ptrdiff_t>(value + field::kValueData);
    data.assign(from, from + static_cast<ptrdiff_t>(std::min(length, 4U)));
    return length <= 4;
  }
  if (length == 0) return true;
  const uint32_t offset = GetU32(hive, value + field::kValueData);
  const uint32_t cell = CellAt(hive, offset, 8);
  const uint32_t room = cell == 0 ? 0 : 0 - GetU32(hive, cell);  // huge for a free cell
  if (room == 0 || !Fits(hive, cell, room)) return false;
  if (length + 4 <= room) return CopyCell(hive, offset, length, data);
  const bool segmented = CellAt(hive, offset, 12) != 0 && HasSignature(hive, cell, kDb);
  return segmented && CopySegments(hive, cell, length, data);
}

void AppendValues(const Bytes& hive, uint32_t key, std::vector<PlainValue>& values) {
  const uint32_t count = GetU32(hive, key + field::kKeyValues);
  const uint32_t list = CellAt(hive, GetU32(hive, key + field::kKeyValueList), 4);
  for (uint32_t i = 0; list != 0 && i < count && Fits(hive, list + 4 + 4 * i, 4); ++i) {
    const uint32_t cell = CellAt(hive, GetU32(hive, list + 4 + 4 * i), field::kValueName);
    if (!HasSignature(hive, cell, kVk)) continue;
    PlainValue value;
    value.position = cell;
    value.type = GetU32(hive, cell + field::kValueType);
    value.name =
        NameAt(hive, cell + field::kValueName, GetU16(hive, cell + field::kValueNameLength),
               (GetU16(hive, cell + field::kValueFlags) & 1) != 0);
    value.readable = ReadData(hive, cell, value.data);
    values.push_back(std::move(value));
  }
}

}  // namespace

PlainKey ReadPlainKey(const Bytes& hive, uint32_t position) {
  PlainKey key;
  key.position = position;
  key.time = GetU32(hive, position + field::kKeyTime) |
             uint64_t{GetU32(hive, position + field::kKeyTime + 4)} << 32;
  key.security = GetU32(hive, position + field::kKeySecurity);
  key.name =
      NameAt(hive, position + field::kKeyName, GetU16(hive, position + field::kKeyNameLength),
             (GetU16(hive, position + field::kKeyFlags) & 0x20) != 0);
  AppendValues(hive, position, key.values);
  return key;
}

std::vector<PlainKey> ReadPlainTree(const Bytes& hive) {
  std::vector<PlainKey> keys;
  const uint32_t root = CellAt(hive, GetU32(hive, field::kBaseRoot), field::kKeyName);
  if (!HasSignature(hive, root, kNk)) return keys;
  std::unordered_map<uint32_t, uint32_t> index_of = {{root, 0}};
  keys.push_back(ReadPlainKey(hive, root));
  for (uint32_t index = 0; index < keys.size(); ++index) {
    const uint32_t cell = keys[index].position;
    if (GetU32(hive, cell + field::kKeySubkeys) == 0) continue;
    std::vector<uint32_t> subkeys;
    AppendSubkeys(hive, GetU32(hive, cell + field::kKeyList), true, subkeys);
    for (const uint32_t offset : subkeys) {
      const uint32_t child = CellAt(hive, offset, field::kKeyName);
      if (!HasSignature(hive, child, kNk)) continue;
      const auto [known, is_new] = index_of.insert({child, static_cast<uint32_t>(keys.size())});
      if (is_new) keys.push_back(ReadPlainKey(hive, child));
      const bool agreed = GetU32(hive, child + field::kKeyParent) + kDataArea == cell;
      if (known->second != 0 && (is_new || agreed)) keys[known->second].parent = index;
    }
  }
  return keys;
}

PlainWalk WalkPlainCells(const Bytes& hive, uint32_t start) {
  PlainWalk cells;
  const auto end = static_cast<uint32_t>(hive.size());
  for (uint32_t block = start; block + 32 <= end;) {
    const uint32_t size = GetU32(hive, block) == kBin ? GetU32(hive, block + 8) : 0;
    if (size == 0 || size % 4096 != 0) {
      block += 4096;
      continue;
    }
    ++cells.blocks;
    const uint32_t block_end = std::min(block + size, end);
    for (uint32_t cell = block + 32; cell + 8 <= block_end;) {
      const uint32_t stored = GetU32(hive, cell);
      const bool allocated = stored > 0x7FFFFFFF;
      const uint32_t length = allocated ? 0 - stored : stored;
      if (length < 8 || length % 8 != 0) break;
      const uint16_t signature = GetU16(hive, cell + field::kSignature);
      if (allocated && signature == kNk) cells.keys.push_back(cell);
      if (allocated && signature == kVk) cells.values.push_back(cell);
      if (allocated && signature == kSk) cells.security_records.push_back(cell);
      cell += length;
    }
    block += size;
  }
  return cells;
}

}  // namespace hivequarry::testing

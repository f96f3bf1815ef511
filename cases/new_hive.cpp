#include "cases/new_hive.h"

#include <algorithm>
#include <map>
#include <span>

#include "bytes/byte_view.h"
#include "host/case.h"
#include "records/base_block.h"
#include "records/bin_header.h"
#include "records/cell.h"
#include "records/key_node.h"
#include "records/name_hash.h"
#include "records/security_cell.h"
#include "records/subkey_list.h"
#include "records/value_key.h"

namespace hivequarry {
namespace {

constexpr uint32_t kNone = 0xFFFFFFFF;       // of offsets
constexpr uint64_t kMostBytes = 0x7FFFF000;  // of all bins: an offset's top bit has other uses
constexpr uint32_t kLargestShared = kPageSize - kBinHeaderSize;  // a longer cell has its own bin
constexpr size_t kLongestLeaf = 1012;  // entries: what fits two pages with the bin's header

uint64_t RoundUp(uint64_t size, uint64_t step) { return (size + step - 1) / step * step; }

// --- bins and cells ------------------------------------------------------------------------------

// The file being written, and what of its bins no cell is in yet.
struct Bins {
  // Of the file, the base block too, which is filled in last. Offsets count from the first bin.
  std::vector<uint8_t> bytes = std::vector<uint8_t>(kBaseBlockSize);
  // What is free: by size, those of one size in the order in which they came to be.
  std::multimap<uint32_t, uint32_t> gaps;
  uint64_t time = 0;  // of the first bin
  bool full = false;
};

void Put(Bins& bins, uint32_t at, uint64_t value, int size) {
  for (int i = 0; i < size; ++i)
    bins.bytes[size_t{kBaseBlockSize} + at + static_cast<uint32_t>(i)] =
        static_cast<uint8_t>(value >> 8 * i);
}
void Put16(Bins& bins, uint32_t at, size_t value) { Put(bins, at, value, 2); }
void Put32(Bins& bins, uint32_t at, size_t value) { Put(bins, at, value, 4); }

void PutBytes(Bins& bins, uint32_t at, std::span<const uint8_t> bytes) {
  std::ranges::copy(bytes, bins.bytes.begin() + kBaseBlockSize + at);
}

// A stretch of a bin that no cell is in yet is one free cell.
void AddGap(Bins& bins, uint32_t at, uint32_t size) {
  if (size == 0) return;
  Put32(bins, at, size);
  bins.gaps.emplace(size, at);
}

// A new bin with room for a cell of that size.
// Only the first bin has a time: systems leave it 0 in those that they add.
void AddBin(Bins& bins, uint64_t cell) {
  const auto start = static_cast<uint32_t>(bins.bytes.size() - kBaseBlockSize);
  const uint64_t size = RoundUp(cell + kBinHeaderSize, kPageSize);
  if (start + size > kMostBytes) {
    bins.full = true;
    return;
  }
  bins.bytes.resize(kBaseBlockSize + start + size);
  Put32(bins, start, kBinSignature);
  Put32(bins, start + kBinOwnOffset, start);
  Put32(bins, start + kBinSize, size);
  if (start == 0) Put(bins, start + kBinTime, bins.time, 8);
  AddGap(bins, start + kBinHeaderSize, static_cast<uint32_t>(size - kBinHeaderSize));
}

// A cell in use with room for so many bytes after its size; its offset. It is in the smallest gap
// that takes it; a cell that no bin of one step takes has its own. Once the hive is full every cell
// is at the first one's place.
uint32_t AddCell(Bins& bins, uint64_t room) {
  const uint64_t size = RoundUp(room + 4, 8);
  auto gap =
      size > kLargestShared ? bins.gaps.end() : bins.gaps.lower_bound(static_cast<uint32_t>(size));
  if (gap == bins.gaps.end()) {
    AddBin(bins, size);
    if (bins.full) return kBinHeaderSize;
    gap = std::prev(bins.gaps.upper_bound(
        static_cast<uint32_t>(RoundUp(size + kBinHeaderSize, kPageSize) - kBinHeaderSize)));
  }
  const auto [free, at] = *gap;
  bins.gaps.erase(gap);
  AddGap(bins, at + static_cast<uint32_t>(size), free - static_cast<uint32_t>(size));
  Put32(bins, at, 0U - static_cast<uint32_t>(size));
  return at;
}

// A cell that is nothing but these bytes.
uint32_t AddBytes(Bins& bins, std::span<const uint8_t> bytes) {
  const uint32_t cell = AddCell(bins, bytes.size());
  if (!bins.full) PutBytes(bins, cell + 4, bytes);
  return cell;
}

// --- names ---------------------------------------------------------------------------------------

bool IsByteName(std::u16string_view name) {
  return std::ranges::all_of(name, [](char16_t unit) { return unit < 0x100; });
}

size_t StoredLength(std::u16string_view name) {
  return IsByteName(name) ? name.size() : 2 * name.size();
}

// In the low bytes where all characters have such, else in UTF-16: the flags of key or value must
// say the same (IsByteName).
void PutName(Bins& bins, uint32_t at, std::u16string_view name) {
  const int step = IsByteName(name) ? 1 : 2;
  for (const char16_t unit : name) {
    Put(bins, at, unit, step);
    at += static_cast<uint32_t>(step);
  }
}

// --- values --------------------------------------------------------------------------------------

// Long data of versions from 1.4 on.
uint32_t AddSegments(Bins& bins, std::span<const uint8_t> data) {
  const size_t count = (data.size() + kBigDataSegment - 1) / kBigDataSegment;
  const uint32_t head = AddCell(bins, kBigDataCellLength - 4);
  const uint32_t list = AddCell(bins, 4 * count);
  for (size_t i = 0; i < count && !bins.full; ++i) {
    const auto piece = data.subspan(
        i * kBigDataSegment, std::min<size_t>(kBigDataSegment, data.size() - i * kBigDataSegment));
    // Four bytes that mean nothing are after each.
    const uint32_t cell = AddCell(bins, piece.size() + 4);
    if (bins.full) break;
    PutBytes(bins, cell + 4, piece);
    Put32(bins, list + 4 + 4 * static_cast<uint32_t>(i), cell);
  }
  if (bins.full) return head;
  Put16(bins, head + 4, kSignatureDb);
  Put16(bins, head + kBigDataCount, count);
  Put32(bins, head + kBigDataList, list);
  return head;
}

// The value's cell, an offset; its data first, so that the record can name them. Versions up to 1.3
// know no segments, and keep data of any length in one cell. A tombstone has neither data nor a
// mark of inline ones. Once `bins.full` nothing more is written, and the hive is given up.
uint32_t AddValue(Bins& bins, const NewValue& value, uint32_t minor) {
  const uint32_t cell = AddCell(bins, kValueName - 4 + StoredLength(value.name));
  uint32_t place = kNone;
  if (value.data.size() > kBigDataSegment && minor > 3) {
    place = AddSegments(bins, value.data);
  } else if (value.data.size() > 4) {
    place = AddBytes(bins, value.data);
  }
  if (bins.full) return cell;
  const bool is_inline = value.data.size() <= 4;
  uint16_t flags = !value.name.empty() && IsByteName(value.name) ? kValueNameIsBytes : uint16_t{0};
  if (value.tombstone) flags |= kValueTombstone;
  Put16(bins, cell + 4, kSignatureVk);
  Put16(bins, cell + kValueNameLength, StoredLength(value.name));
  Put32(bins, cell + kValueDataLength,
        value.data.size() | (is_inline && !value.tombstone ? kInlineData : 0));
  if (is_inline && !value.tombstone) {
    PutBytes(bins, cell + kValueDataOffset, value.data);
  } else {
    Put32(bins, cell + kValueDataOffset, place);
  }
  Put32(bins, cell + kValueType, value.type);
  Put16(bins, cell + kValueFlags, flags);
  PutName(bins, cell + kValueName, value.name);
  return cell;
}

// kNone for a key without values. The list's cell comes before those of the values.
uint32_t AddValueList(Bins& bins, const std::vector<NewValue>& values, uint32_t minor) {
  if (values.empty()) return kNone;
  const uint32_t list = AddCell(bins, 4 * values.size());
  for (size_t i = 0; i < values.size() && !bins.full; ++i) {
    const uint32_t cell = AddValue(bins, values[i], minor);
    if (!bins.full) Put32(bins, list + 4 + 4 * static_cast<uint32_t>(i), cell);
  }
  return list;
}

// --- keys ----------------------------------------------------------------------------------------

// Where things are in the file: cells by their offsets.
struct KeyPlaces {
  std::vector<uint32_t> cells;                  // of keys, by number
  std::vector<std::vector<uint32_t>> children;  // numbers, in the order of names
  std::vector<uint32_t> security;               // cells of descriptors, by number
};

uint32_t LongestData(const NewKey& key) {
  size_t longest = 0;
  for (const NewValue& value : key.values) longest = std::max(longest, value.data.size());
  return static_cast<uint32_t>(longest);
}

// In bytes, as UTF-16, however the names are stored.
uint32_t LongestName(const NewKey& key) {
  size_t longest = 0;
  for (const NewValue& value : key.values) longest = std::max(longest, value.name.size());
  return static_cast<uint32_t>(2 * longest);
}

// The root's flags are always those of a root, whatever the key had.
uint16_t StoredFlags(const NewKey& key) {
  if (key.parent == kNoNewKey)
    return IsByteName(key.name) ? kRootKeyFlags : kRootKeyFlags & ~kKeyNameIsBytes;
  return IsByteName(key.name) ? key.flags | kKeyNameIsBytes : key.flags;
}

// All but what its subkeys say.
void AddKey(Bins& bins, const NewHive& hive, uint32_t number, KeyPlaces& places) {
  const NewKey& key = hive.keys[number];
  const uint32_t cell = AddCell(bins, kKeyName - 4 + StoredLength(key.name));
  const uint32_t values = AddValueList(bins, key.values, hive.minor);
  const uint32_t class_name = key.class_name.empty() ? kNone : AddBytes(bins, key.class_name);
  places.cells.push_back(cell);
  if (bins.full) return;
  Put16(bins, cell + 4, kSignatureNk);
  Put16(bins, cell + kKeyFlags, StoredFlags(key));
  Put(bins, cell + kKeyLastWrite, key.last_write, 8);
  Put(bins, cell + kKeyAccessBits, key.access_bits, 1);
  Put(bins, cell + kKeyLayerBits, hive.layered ? key.layer_bits : 0, 1);
  Put32(bins, cell + kKeyParent, key.parent == kNoNewKey ? kNone : places.cells[key.parent]);
  Put32(bins, cell + kKeySubkeyList, kNone);
  Put32(bins, cell + kKeyVolatileList, kNone);
  Put32(bins, cell + kKeyValueCount,
        (key.flags & kNewKeyHandle) != 0 ? key.handle : key.values.size());
  Put32(bins, cell + kKeyValueList, values);
  Put32(bins, cell + kKeyClassName, class_name);
  Put(bins, cell + kKeyUserFlags, key.user_flags, 1);
  Put32(bins, cell + kKeyLongestValueName, LongestName(key));
  Put32(bins, cell + kKeyLongestValueData, LongestData(key));
  Put16(bins, cell + kKeyNameLength, StoredLength(key.name));
  Put16(bins, cell + kKeyClassNameLength, key.class_name.size());
  PutName(bins, cell + kKeyName, key.name);
}

// Of one of the kinds with names' hashes, their first characters, or neither.
uint32_t AddLeaf(Bins& bins, const NewHive& hive, std::span<const uint32_t> keys,
                 const KeyPlaces& places, uint16_t signature) {
  const uint32_t entry = signature == kSignatureLi ? 4 : 8;
  const uint32_t list = AddCell(bins, kListEntries - 4 + entry * keys.size());
  if (bins.full) return list;
  Put16(bins, list + 4, signature);
  Put16(bins, list + kListCount, keys.size());
  uint32_t at = list + kListEntries;
  for (const uint32_t key : keys) {
    const std::u16string& name = hive.keys[key].name;
    Put32(bins, at, places.cells[key]);
    if (signature == kSignatureLh) Put32(bins, at + 4, NameHash(name));
    if (signature == kSignatureLf) Put32(bins, at + 4, NameHint(name));
    at += entry;
  }
  return list;
}

uint32_t AddSubkeyList(Bins& bins, const NewHive& hive, std::span<const uint32_t> keys,
                       const KeyPlaces& places) {
  const bool hashed = hive.minor >= 5;
  if (keys.size() <= kLongestLeaf) {
    return AddLeaf(bins, hive, keys, places, hashed ? kSignatureLh : kSignatureLf);
  }
  const uint16_t below = hashed ? kSignatureLh : kSignatureLi;  // an "lf" is never below an "ri"
  const size_t leaves = (keys.size() + kLongestLeaf - 1) / kLongestLeaf;
  const uint32_t list = AddCell(bins, kListEntries - 4 + 4 * leaves);
  if (bins.full) return list;
  Put16(bins, list + 4, kSignatureRi);
  Put16(bins, list + kListCount, leaves);
  for (size_t i = 0; i < leaves && !bins.full; ++i) {
    const size_t first = i * kLongestLeaf;
    const uint32_t leaf =
        AddLeaf(bins, hive, keys.subspan(first, std::min(kLongestLeaf, keys.size() - first)),
                places, below);
    if (!bins.full) Put32(bins, list + kListEntries + 4 * static_cast<uint32_t>(i), leaf);
  }
  return list;
}

// What a key says of its subkeys.
// Written once the cells of all keys have their places. Lengths of names are in bytes of UTF-16, of
// class names in bytes.
void AddSubkeys(Bins& bins, const NewHive& hive, uint32_t number, const KeyPlaces& places) {
  constexpr uint32_t kLongestClass = 60;  // of the subkeys' class names, bytes
  const std::vector<uint32_t>& keys = places.children[number];
  if (keys.empty()) return;
  size_t name = 0;
  size_t class_name = 0;
  for (const uint32_t key : keys) {
    name = std::max(name, hive.keys[key].name.size());
    class_name = std::max(class_name, hive.keys[key].class_name.size());
  }
  const uint32_t list = AddSubkeyList(bins, hive, keys, places);
  if (bins.full) return;
  const uint32_t cell = places.cells[number];
  Put32(bins, cell + kKeySubkeyCount, keys.size());
  Put32(bins, cell + kKeySubkeyList, list);
  Put16(bins, cell + kKeyLongestSubkeyName, 2 * name);
  Put32(bins, cell + kLongestClass, class_name);
}

// --- security ------------------------------------------------------------------------------------

// A ring in the order of the descriptors; a count of uses is of keys that have it.
void AddSecurity(Bins& bins, const NewHive& hive, KeyPlaces& places) {
  std::vector<uint32_t> uses(hive.descriptors.size());
  for (const NewKey& key : hive.keys) ++uses[key.descriptor];
  for (size_t i = 0; i < uses.size() && !bins.full; ++i) {
    const std::vector<uint8_t>& descriptor = hive.descriptors[i];
    const uint32_t cell = AddCell(bins, kSecurityDescriptor - 4 + descriptor.size());
    places.security.push_back(cell);
    if (bins.full) return;
    Put16(bins, cell + 4, kSignatureSk);
    Put32(bins, cell + kSecurityReferences, uses[i]);
    Put32(bins, cell + kSecurityLength, descriptor.size());
    PutBytes(bins, cell + kSecurityDescriptor, descriptor);
  }
  const size_t count = places.security.size();
  for (size_t i = 0; i < count; ++i) {
    Put32(bins, places.security[i] + kSecurityNext, places.security[(i + 1) % count]);
    Put32(bins, places.security[i] + kSecurityPrevious, places.security[(i + count - 1) % count]);
  }
  for (size_t i = 0; i < hive.keys.size(); ++i) {
    Put32(bins, places.cells[i] + kKeySecurity, places.security[hive.keys[i].descriptor]);
  }
  // The root's parent says nothing; systems have some cell there, and readers expect one.
  if (count != 0) Put32(bins, places.cells.front() + kKeyParent, places.security.front());
}

// --- the file ------------------------------------------------------------------------------------

void PutBaseBlock(Bins& bins, const NewHive& hive, uint32_t root) {
  const auto put = [&bins](uint32_t field, uint64_t value, uint32_t size = 4) {
    for (uint32_t i = 0; i < size; ++i)
      bins.bytes[field + i] = static_cast<uint8_t>(value >> 8 * i);
  };
  put(0, kHiveSignature);
  put(kBaseSequence1, 1);  // both are the same: nothing is pending
  put(kBaseSequence2, 1);
  put(kBaseLastWrite, bins.time, 8);
  put(kBaseMajor, 1);
  put(kBaseMinor, hive.minor);
  put(kBaseFileFormat, 1);
  put(kBaseRootOffset, root);
  put(kBaseLength, bins.bytes.size() - kBaseBlockSize);
  put(kBaseClustering, 1);
  std::ranges::copy(hive.file_name, bins.bytes.begin() + kBaseFileName);
  if (hive.layered) put(kBaseFlags, kBaseLayered);
  put(kBaseChecksum, BaseBlockChecksum(ByteView(bins.bytes).first(kBaseBlockSize)));
}

std::vector<std::vector<uint32_t>> ChildrenOf(const NewHive& hive) {
  std::vector<std::vector<uint32_t>> children(hive.keys.size());
  for (uint32_t i = 0; i < hive.keys.size(); ++i) {
    if (hive.keys[i].parent != kNoNewKey) children[hive.keys[i].parent].push_back(i);
  }
  return children;
}

// Numbers of keys in the order of a walk, parents first.
// With a stack of its own: a tree may be deeper than calls may nest.
std::vector<uint32_t> WalkOrder(const NewHive& hive) {
  std::vector<std::vector<uint32_t>> children = ChildrenOf(hive);
  for (std::vector<uint32_t>& of_key : children) {
    std::ranges::stable_sort(of_key, [&hive](uint32_t a, uint32_t b) {
      return CompareKeyNames(hive.keys[a].name, hive.keys[b].name) < 0;
    });
  }
  std::vector<uint32_t> order;
  std::vector<uint32_t> open = {0};
  while (!open.empty()) {
    const uint32_t key = open.back();
    open.pop_back();
    order.push_back(key);
    open.insert(open.end(), children[key].rbegin(), children[key].rend());
  }
  return order;
}

}  // namespace

int CompareKeyNames(const std::u16string& a, const std::u16string& b) {
  const size_t common = std::min(a.size(), b.size());
  for (size_t i = 0; i < common; ++i) {
    const int difference = CapitalOf(a[i]) - CapitalOf(b[i]);
    if (difference != 0) return difference;
  }
  return a.size() == b.size() ? 0 : (a.size() < b.size() ? -1 : 1);
}

void SortNewHive(NewHive& hive) {
  if (hive.keys.empty()) return;
  std::vector<uint32_t> number(hive.keys.size());
  std::vector<uint32_t> descriptor(hive.descriptors.size(), kNone);
  NewHive sorted = {{}, {}, hive.minor, hive.file_name, hive.layered};
  for (const uint32_t old : WalkOrder(hive)) {
    NewKey& key = hive.keys[old];
    number[old] = static_cast<uint32_t>(sorted.keys.size());
    if (key.parent != kNoNewKey) key.parent = number[key.parent];
    uint32_t& own = descriptor[key.descriptor];
    if (own == kNone) {
      own = static_cast<uint32_t>(sorted.descriptors.size());
      sorted.descriptors.push_back(std::move(hive.descriptors[key.descriptor]));
    }
    key.descriptor = own;
    sorted.keys.push_back(std::move(key));
  }
  hive = std::move(sorted);
}

// All keys come first, each with its values, then lists of subkeys, then security records: a list
// needs the cells of its keys, and a key's parent has its cell already as parents come first.
std::vector<uint8_t> BytesOfNewHive(const NewHive& hive) {
  if (hive.keys.empty()) return {};
  Bins bins;
  for (const NewKey& key : hive.keys) bins.time = std::max(bins.time, key.last_write);
  KeyPlaces places;
  places.children = ChildrenOf(hive);
  const auto count = static_cast<uint32_t>(hive.keys.size());
  for (uint32_t key = 0; key < count && !bins.full; ++key) AddKey(bins, hive, key, places);
  for (uint32_t key = 0; key < count && !bins.full; ++key) AddSubkeys(bins, hive, key, places);
  if (!bins.full) AddSecurity(bins, hive, places);
  if (bins.full) return {};
  PutBaseBlock(bins, hive, places.cells.front());
  return std::move(bins.bytes);
}

}  // namespace hivequarry

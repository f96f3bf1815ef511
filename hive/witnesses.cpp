#include "hive/witnesses.h"

#include <algorithm>

#include "hive/keys.h"
#include "hive/subkeys.h"
#include "hive/values.h"
#include "host/case.h"
#include "host/long_operation.h"
#include "records/cell.h"
#include "records/name_hash.h"
#include "records/security_cell.h"

namespace hivequarry {
namespace {

using Bytes = ByteView;

// More than any hive has: what a field says beyond is no count but other bytes.
constexpr uint32_t kMostSubkeys = 0x1000000;
constexpr uint32_t kMostValues = 0x100000;
constexpr size_t kPollEach = 4096;  // records after which a stop is asked for

// Cells begin at multiples of 8.
bool CouldBeOffset(uint32_t offset) { return offset % 8 == 0 || offset == kNoOffset; }

// Callers ask first whether the size has its four bytes.
bool IsRecordCell(Bytes bytes, uint32_t position, uint32_t needed) {
  const uint32_t size = LoadU32(&bytes[position]);
  const uint32_t length = CellLength(size);
  return IsAllocated(size) && length % 8 == 0 && length >= needed &&
         length <= bytes.size() - position;
}

// Stricter than the readers of keys on purpose: a chance match here would move bytes.
bool IsKeyRecord(Bytes bytes, uint32_t p) {
  if (bytes.size() - p < kKeyName) return false;
  const uint32_t name = LoadU16(&bytes[p + kKeyNameLength]);
  return name <= 512 && IsRecordCell(bytes, p, kKeyName + name) &&
         CouldBeOffset(LoadU32(&bytes[p + kKeyParent])) &&
         LoadU32(&bytes[p + kKeySubkeyCount]) < kMostSubkeys &&
         CouldBeOffset(LoadU32(&bytes[p + kKeySubkeyList]));
}

// A cell much longer than the record needs is rather other bytes than a value.
bool IsValueRecord(Bytes bytes, uint32_t p) {
  if (bytes.size() - p < kValueName) return false;
  const uint32_t needed = kValueName + LoadU16(&bytes[p + kValueNameLength]);
  if (!IsRecordCell(bytes, p, needed)) return false;
  const bool is_inline = (LoadU32(&bytes[p + kValueDataLength]) & kInlineData) != 0;
  return CellLength(LoadU32(&bytes[p])) < needed + 64 &&
         (is_inline || CouldBeOffset(LoadU32(&bytes[p + kValueDataOffset])));
}

bool IsListRecord(Bytes bytes, uint32_t p, ListKind kind) {
  const uint32_t count = LoadU16(&bytes[p + kListCount]);
  return count != 0 && IsRecordCell(bytes, p, kListEntries + count * ListEntrySize(kind)) &&
         LoadU32(&bytes[p + kListEntries]) % 8 == 0;
}

// Its neighbours in the ring are offsets of cells, so multiples of 8.
bool IsSecurityRecord(Bytes bytes, uint32_t p) {
  if (bytes.size() - p < kSecurityDescriptor) return false;
  const uint32_t length = LoadU32(&bytes[p + kSecurityLength]);
  return length < 0x10000 && IsRecordCell(bytes, p, kSecurityDescriptor + length) &&
         LoadU32(&bytes[p + kSecurityNext]) % 8 == 0 &&
         LoadU32(&bytes[p + kSecurityPrevious]) % 8 == 0;
}

// The name of a key cell whose name is of single bytes; empty where it is not or not all there.
Bytes NameOfKey(Bytes cell) {
  if (cell.size() < kKeyName || (cell[kKeyFlags] & kKeyNameIsBytes) == 0) return {};
  const uint32_t length = LoadU16(&cell[kKeyNameLength]);
  return length > cell.size() - kKeyName ? Bytes() : cell.subspan(kKeyName, length);
}

// The entries of a value list cell that is in place: its size has room for them, and each could be
// an offset inside the image.
bool IsValueList(Bytes bytes, uint32_t position, uint32_t count) {
  const uint64_t needed = 4 + uint64_t{count} * 4;
  if (position > bytes.size() || bytes.size() - position < needed) return false;
  if (!IsRecordCell(bytes, position, static_cast<uint32_t>(needed))) return false;
  for (uint32_t i = 0; i < count; ++i) {
    const uint32_t entry = LoadU32(&bytes[position + 4 + 4 * i]);
    if (entry == 0 || entry % 8 != 0) return false;
  }
  return true;
}

// How many entries of value lists are read: each of a sound hive's values is in one list.
uint64_t EntryBudget(Bytes bytes) { return bytes.size() / 8; }

// For each entry of the value lists that keys lead to at one distance: the value's offset and the
// key's position. The lists have no signature, so a key's count is all that tells one.
template <typename Add>
void ForEachValueEntry(Bytes bytes, std::span<const Witness> records, uint32_t distance,
                       uint64_t& budget, const Add& add) {
  size_t number = 0;
  for (const Witness& record : records) {
    if (++number % kPollEach == 0 && StopRequested()) return;
    if (record.kind != CellKind::kKey) continue;
    const uint8_t* key = &bytes[record.position];
    const uint32_t count = LoadU32(key + kKeyValueCount);
    const uint32_t list = LoadU32(key + kKeyValueList);
    if (count == 0 || count > kMostValues || list % 8 != 0 || count > budget) continue;
    const uint32_t position = list + distance;
    if (!IsValueList(bytes, position, count)) continue;
    budget -= count;
    for (uint32_t i = 0; i < count; ++i) {
      add(LoadU32(&bytes[position + 4 + 4 * i]), record.position);
    }
  }
}

// What a record says of others. Of a root key the parent is left out: it is an offset in no hive,
// or what a system left there.
template <typename Add>
void ForEachReference(Bytes bytes, const Witness& record, const Add& add) {
  const uint8_t* cell = &bytes[record.position];
  // An offset that no cell can have says nothing of where its cell is. `need` is what the cell must
  // hold to be the one: entries of a list, bytes of data; 0 where any will do.
  const auto name = [&](CellKind kind, uint32_t offset, uint32_t need) {
    if (offset != 0 && offset % 8 == 0) add(Reference{offset, need, record.position, kind, false});
  };
  const auto field = [&](uint32_t at) { return LoadU32(cell + at); };
  if (record.kind == CellKind::kKey) {
    if (LoadU16(cell + kKeyFlags) != kRootKeyFlags) name(CellKind::kKey, field(kKeyParent), 0);
    const uint32_t subkeys = field(kKeySubkeyCount);
    const uint32_t values = field(kKeyValueCount);
    if (subkeys != 0) name(CellKind::kList, field(kKeySubkeyList), subkeys);
    if (values != 0 && values <= kMostValues) {
      name(CellKind::kValueList, field(kKeyValueList), values);
    }
    name(CellKind::kSecurity, field(kKeySecurity), 0);
  } else if (record.kind == CellKind::kValue) {
    const uint32_t length = field(kValueDataLength);
    if (length > 4 && (length & kInlineData) == 0) {
      name(CellKind::kData, field(kValueDataOffset), length);
    }
  } else if (record.kind == CellKind::kSecurity) {
    name(CellKind::kSecurity, field(kSecurityNext), 0);
    name(CellKind::kSecurity, field(kSecurityPrevious), 0);
  } else if (record.kind == CellKind::kList) {
    const ListKind kind = ListKindOfSignature(LoadU16(cell + 4));
    const uint32_t size = ListEntrySize(kind);
    const uint32_t count = LoadU16(cell + kListCount);
    for (uint32_t i = 0; i < count; ++i) {
      const uint32_t at = kListEntries + i * size;
      const uint32_t offset = field(at);
      // lf and lh entries are 8 bytes, the second half of which is the hint or hash of the name; li
      // and ri entries are an offset alone.
      if (offset == 0 || offset % 8 != 0) continue;
      const CellKind named = kind == ListKind::kRi ? CellKind::kList : CellKind::kKey;
      add(Reference{offset, size == 8 ? field(at + 4) : 0, record.position, named,
                    kind == ListKind::kLf});
    }
  }
}

}  // namespace

// --- the set: open addressing, a power of two of places, at most half of them taken

// The multiplier is 2^32 divided by the golden ratio: it spreads words that differ in low bits
// alone. Only with room left (Grow).
size_t OffsetSet::PlaceOfWord(uint32_t word) const {
  const size_t mask = words_.size() - 1;
  size_t at = (word * 2654435761U >> 7) & mask;
  while (words_[at] != 0 && words_[at] != word) at = (at + 1) & mask;
  return at;
}

void OffsetSet::Grow() {
  std::vector<uint32_t> old = std::move(words_);
  words_.assign(std::max<size_t>(old.size() * 2, 1024), 0);
  for (const uint32_t word : old) {
    if (word != 0) words_[PlaceOfWord(word)] = word;
  }
}

void OffsetSet::Add(CellKind kind, uint32_t offset) {
  if (offset % 8 != 0) return;
  if (offset / 8 < near_.size()) {
    near_[offset / 8] |= static_cast<uint8_t>(1U << static_cast<int>(kind));
    return;
  }
  if (count_ * 2 >= words_.size()) Grow();
  uint32_t& place = words_[PlaceOfWord(Word(kind, offset))];
  count_ += place == 0;
  place = Word(kind, offset);
}

bool OffsetSet::Has(CellKind kind, uint32_t offset) const {
  if (offset % 8 != 0) return false;
  if (offset / 8 < near_.size()) return (near_[offset / 8] >> static_cast<int>(kind) & 1) != 0;
  if (words_.empty()) return false;
  return words_[PlaceOfWord(Word(kind, offset))] != 0;
}

// --- records

// 16 bytes: the shortest record, a list of one entry.
CellKind RecordAt(Bytes bytes, uint32_t position) {
  if (bytes.size() < 16 || position > bytes.size() - 16) return CellKind::kNone;
  const uint16_t signature = LoadU16(&bytes[position + 4]);
  switch (signature) {
    case kSignatureNk:
      return IsKeyRecord(bytes, position) ? CellKind::kKey : CellKind::kNone;
    case kSignatureVk:
      return IsValueRecord(bytes, position) ? CellKind::kValue : CellKind::kNone;
    case kSignatureSk:
      return IsSecurityRecord(bytes, position) ? CellKind::kSecurity : CellKind::kNone;
    default:
      break;
  }
  const ListKind kind = ListKindOfSignature(signature);
  if (kind == ListKind::kNone) return CellKind::kNone;
  return IsListRecord(bytes, position, kind) ? CellKind::kList : CellKind::kNone;
}

std::vector<Witness> FindRecords(Bytes bytes) {
  std::vector<Witness> records;
  if (bytes.size() < 16) return records;
  const auto last = static_cast<uint32_t>(bytes.size() - 16);
  for (uint32_t p = 0; p <= last; ++p) {
    if (p % 0x10000 == 0 && StopRequested()) break;
    if (bytes[p + 3] != 0xFF) continue;  // of an allocated cell of less than 16 MB
    const CellKind kind = RecordAt(bytes, p);
    if (kind != CellKind::kNone) records.push_back({p, kind});
  }
  return records;
}

Witnesses FindWitnesses(Bytes bytes, std::span<const uint32_t> distances) {
  // Bytes that were lost take the last offsets beyond the image's length.
  constexpr uint64_t kBeyond = 4 * 1024 * 1024;
  const uint64_t near_end = std::min<uint64_t>(bytes.size() + kBeyond, UINT32_MAX);
  Witnesses found{{}, OffsetSet(static_cast<uint32_t>(near_end))};
  found.records = FindRecords(bytes);
  // A record takes 24 bytes at least and is named a few times: damaged lists may name the same
  // stretch again and again.
  uint64_t budget = bytes.size() / 4;
  size_t number = 0;
  for (const Witness& record : found.records) {
    if (++number % kPollEach == 0 && StopRequested()) return found;
    ForEachReference(bytes, record, [&](const Reference& reference) {
      if (budget == 0) return;
      --budget;
      found.named.Add(reference.kind, reference.offset);
    });
  }
  for (const uint32_t distance : distances) {
    uint64_t entries = EntryBudget(bytes);
    ForEachValueEntry(bytes, found.records, distance, entries, [&](uint32_t offset, uint32_t) {
      found.named.Add(CellKind::kValue, offset);
    });
  }
  return found;
}

std::vector<Reference> FindReferences(Bytes bytes, std::span<const Witness> records,
                                      uint32_t distance) {
  std::vector<Reference> references;
  const size_t most = bytes.size() / 8 + 1024;
  const auto add = [&](const Reference& reference) {
    if (references.size() < most) references.push_back(reference);
  };
  size_t number = 0;
  for (const Witness& record : records) {
    if (++number % kPollEach == 0 && StopRequested()) return references;
    ForEachReference(bytes, record, add);
  }
  uint64_t budget = EntryBudget(bytes);
  ForEachValueEntry(bytes, records, distance, budget, [&](uint32_t offset, uint32_t source) {
    add(Reference{offset, 0, source, CellKind::kValue, false});
  });
  return references;
}

void AddReferences(Bytes bytes, const Witness& record, std::vector<Reference>& references) {
  ForEachReference(bytes, record, [&](const Reference& r) { references.push_back(r); });
}

// A cell may be longer than what is in it by what its place had before: lists up to twice their
// need and 64 bytes, data up to 16.
uint32_t Agreement(Bytes cell, const Reference& reference) {
  if (cell.size() < 8) return 0;
  const uint32_t size = LoadU32(cell.data());
  if (!IsAllocated(size) || size % 8 != 0) return 0;
  const uint16_t signature = LoadU16(&cell[4]);
  const uint32_t length = CellLength(size);
  const uint32_t need = reference.need;
  switch (reference.kind) {
    case CellKind::kKey: {
      if (signature != kSignatureNk) return 0;
      const Bytes text = NameOfKey(cell);
      const uint32_t name = need == 0 ? 0 : reference.hint ? NameHint(text) : NameHash(text);
      return name == 0 ? 1 : name == need ? 3 : 0;
    }
    case CellKind::kList: {
      const ListKind kind = ListKindOfSignature(signature);
      if (kind == ListKind::kNone) return 0;
      return kind == ListKind::kRi || need == 0 ? 1 : LoadU16(&cell[kListCount]) == need ? 3 : 0;
    }
    case CellKind::kValue:
      return signature == kSignatureVk;
    case CellKind::kSecurity:
      return signature == kSignatureSk;
    case CellKind::kValueList:
      return length >= 4 + 4 * uint64_t{need} && length < 64 + 8 * uint64_t{need};
    case CellKind::kData:
      if (need > kBigDataSegment) return signature == kSignatureDb ? 3 : 0;
      return length >= 4 + need && length < 4 + need + 16;
    default:
      return 0;
  }
}

}  // namespace hivequarry

// What the cells of an image say about where they belong: each record names others by offset, so a
// cell that others name at an offset is a witness of the distance between that offset and its
// position. Used where block headers and positions don't agree; reads bytes at any alignment.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace hivequarry {

// What a cell is, or is named as.
enum class CellKind : uint8_t { kNone, kKey, kList, kValue, kSecurity, kValueList, kData };
inline constexpr size_t kCellKinds = 7;

// A set of offsets (multiples of 8) by kind. Those below `near_end` take a byte for each 8, others
// a place in a table: an image has few of these, and made-up ones may be anywhere in 32 bits.
class OffsetSet {
 public:
  OffsetSet() = default;
  explicit OffsetSet(uint32_t near_end) : near_(near_end / 8) {}
  // Not for kNone.
  void Add(CellKind kind, uint32_t offset);
  bool Has(CellKind kind, uint32_t offset) const;

 private:
  static uint32_t Word(CellKind kind, uint32_t offset) {
    return (static_cast<uint32_t>(kind) << 29) | offset >> 3;  // never 0, as no kind is named 0
  }
  // The table is open: a word is at its hash's place or after it, and 0 is an empty place.
  size_t PlaceOfWord(uint32_t word) const;
  void Grow();

  std::vector<uint8_t> near_;  // a bit for each kind
  std::vector<uint32_t> words_;
  size_t count_ = 0;  // of those in the table
};

struct Witness {
  uint32_t position = 0;
  CellKind kind = CellKind::kNone;
};

// The record that begins at a position, with a cell size, counts and offsets that could be; kNone
// for none. Only kKey, kList, kValue and kSecurity can be told by themselves. `bytes` are those of
// the whole image.
// Reads no more than the record's fixed part; `position` may be any number.
CellKind RecordAt(std::span<const uint8_t> bytes, uint32_t position);
// Of all records of an image, at every byte, ascending.
// Linear; ends early when the user stops.
std::vector<Witness> FindRecords(std::span<const uint8_t> bytes);

struct Witnesses {
  std::vector<Witness> records;
  OffsetSet named;  // what the records name
};
// Records and what they name. Value lists have no signature: those are read that are in place at
// one of `distances`.
Witnesses FindWitnesses(std::span<const uint8_t> bytes, std::span<const uint32_t> distances);

// True when a record at its position, less the distance, is at an offset that others name as such.
inline bool Fits(const Witnesses& witnesses, const Witness& record, uint32_t distance) {
  return witnesses.named.Has(record.kind, record.position - distance);
}

// One thing that a record says of what is to be found at an offset.
struct Reference {
  uint32_t offset = 0;
  // Of a key: the hash of its name in capitals or its first four characters, 0 for unknown; of a
  // list: its keys; of a value list: its values; of data: their length.
  uint32_t need = 0;
  uint32_t source = 0;  // position of the record that says so
  CellKind kind = CellKind::kNone;
  bool hint = false;  // `need` is the characters
};
// The references of a whole image, in no order, its value lists read at one distance.
std::vector<Reference> FindReferences(std::span<const uint8_t> bytes,
                                      std::span<const Witness> records, uint32_t distance);

// Those of one record (value lists' entries are not its own).
// Appends to `references`. A list gives one for each entry that it has room for.
void AddReferences(std::span<const uint8_t> bytes, const Witness& record,
                   std::vector<Reference>& references);

// How much a cell at the start of `cell` is what a reference needs: 0 not at all, 1 by its kind or
// size, 3 where a name's hash or a list's count agrees too. `cell` ends where what follows is not
// known to belong to it.
uint32_t Agreement(std::span<const uint8_t> cell, const Reference& reference);

}  // namespace hivequarry

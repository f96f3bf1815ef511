// Blocks and their cells, found by stepping from one to the next.
#include <algorithm>

#include "check/checking.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "host/visible_text.h"
#include "records/bin_header.h"
#include "records/key_node.h"
#include "records/stored_text.h"
#include "records/subkey_list.h"
#include "records/value_key.h"

namespace hivequarry {
namespace {

// Where a block ends whose size is wrong: at the next one that is in its place.
// So one wrong size is one finding, and the cells of the blocks after it are judged all the same.
uint64_t NextBlock(const Checking& check, uint64_t from) {
  for (uint64_t at = from + kBaseBlockSize; at < check.blocks_end; at += kBaseBlockSize) {
    const auto position = static_cast<uint32_t>(at);
    BinHeader bin;
    if (ReadBinHeader(check.hive, position, bin) && bin.Distance() == kBaseBlockSize) return at;
  }
  return check.blocks_end;
}

// 0x80000000 is its own negative: no length.
bool IsCellSize(uint32_t size) {
  const uint32_t length = CellLength(size);
  return length >= 8 && length % 8 == 0 && size != 0x80000000;
}

void NoteFreeBeside(Checking& check, uint32_t position, uint32_t length) {
  AddFinding(
      check, CheckCode::kC2, position, kNoCheckedKey,
      {"a free cell of " + std::to_string(length) + " bytes after a free one", "one free cell"});
}

// The cells of a block; `end` is where the block ends, whether or not the file has all of it.
// Ends at the first wrong size: where the next cell begins nobody knows then. The block's other
// cells are in no index, and what names them is reported as leading to no cell.
void CheckCells(Checking& check, uint64_t at, uint64_t end) {
  bool after_free = false;
  while (at + 4 <= std::min(end, check.blocks_end)) {
    const auto position = static_cast<uint32_t>(at);
    const uint32_t size = LoadU32(check.hive.data() + position);
    const uint32_t length = CellLength(size);
    if (!IsCellSize(size) || at + length > end) {
      AddFinding(check, CheckCode::kC1, position, kNoCheckedKey,
                 {HexNumber(size), "a multiple of 8 of at most " + std::to_string(end - at)});
      return;
    }
    if (at + length > check.blocks_end) return;  // the file ends in it
    InsertPosition(check.cells, position);
    ++check.result.cells;
    const bool allocated = IsAllocated(size);
    if (allocated) check.result.bytes_used += length;
    if (!allocated && after_free) NoteFreeBeside(check, position, length);
    after_free = !allocated;
    at += length;
  }
}

// Judges the header at `at`; returns where the block ends.
uint64_t CheckHeader(Checking& check, uint64_t at) {
  const auto position = static_cast<uint32_t>(at);
  const uint32_t own = ReadU32(check.hive, position + kBinOwnOffset);
  const uint32_t size = ReadU32(check.hive, position + kBinSize);
  if (own != position - kBaseBlockSize) {
    AddFinding(check, CheckCode::kB2, position, kNoCheckedKey,
               {HexNumber(own), HexNumber(position - kBaseBlockSize)});
  }
  // A block may go on after the end of a file that was cut, as long as the base block counts it.
  const bool fits = size >= kBaseBlockSize && size % kBaseBlockSize == 0 &&
                    at + size <= std::max(check.blocks_claim, check.blocks_end);
  if (fits) return at + size;
  AddFinding(check, CheckCode::kB3, position, kNoCheckedKey,
             {HexNumber(size),
              "a multiple of 4096 of at most " + std::to_string(check.blocks_claim - at)});
  return NextBlock(check, at);
}

}  // namespace

// A place without "hbin" is one finding for each 4096 bytes.
void CheckBlocks(Checking& check) {
  ResetIndex(check.cells, static_cast<uint32_t>(check.blocks_end));
  uint64_t at = kBaseBlockSize;
  while (at < check.blocks_end && !StopRequested()) {
    const auto position = static_cast<uint32_t>(at);
    if (ReadU32(check.hive, position) != kBinSignature) {
      AddFinding(check, CheckCode::kB1, position, kNoCheckedKey,
                 {HexNumber(ReadU32(check.hive, position)), "\"hbin\""});
      at += kBaseBlockSize;
      continue;
    }
    const uint64_t end = CheckHeader(check, at);
    CheckCells(check, at + kBinHeaderSize, end);
    at = end;
  }
  SealIndex(check.cells);
  // By the rank of each cell, which is known once the index is sealed.
  check.uses.assign(check.result.cells, 0);
}

// --- following offsets ---------------------------------------------------------------------------

CellTarget FindCell(const Checking& check, uint32_t offset) {
  CellTarget target;
  // In 64 bits: an offset near the end of 32 would come round to the start of the file.
  const uint64_t position = uint64_t{offset} + kBaseBlockSize;
  if (position >= check.blocks_end) return target;
  target.position = static_cast<uint32_t>(position);
  target.rank = RankOfPosition(check.cells, target.position);
  if (target.rank == kNoRank) return target;
  const uint32_t size = LoadU32(check.hive.data() + target.position);
  target.reach = IsAllocated(size) ? Reach::kCell : Reach::kFree;
  target.size = CellLength(size) - 4;
  return target;
}

CellTarget FollowOffset(Checking& check, uint32_t offset, CheckCode none, CheckCode free,
                        uint32_t position, uint32_t key) {
  const CellTarget target = FindCell(check, offset);
  if (target.reach == Reach::kCell) return target;
  const bool freed = target.reach == Reach::kFree;
  AddFinding(check, freed ? free : none, position, key,
             {OffsetFound(offset) + (freed ? ", a free cell" : ""), "an allocated cell"});
  return target;
}

// One X2 for a cell, however many further owners it has: a hostile hive must not make a finding of
// each entry.
bool ClaimCell(Checking& check, const CellTarget& cell, CellUse use, uint32_t key) {
  const CellUse before = UseOf(check, cell);
  if (before == CellUse::kNone) {
    check.uses[cell.rank] = static_cast<uint8_t>(use);
    return true;
  }
  // Keys that are listed again are found otherwise (K2); a security record is many keys' by design.
  const bool may_share = use == CellUse::kKey || use == CellUse::kSecurity;
  if ((before == use && may_share) || IsShared(check, cell)) return false;
  SetShared(check, cell);
  constexpr const char* kWords[] = {"",      "key",  "subkey list", "value list",
                                    "value", "data", "class name",  "security record"};
  AddFinding(
      check, CheckCode::kX2, cell.position, key,
      {Concat({kWords[static_cast<size_t>(before)], " and ", kWords[static_cast<size_t>(use)]}),
       "one owner"});
  return false;
}

namespace {

// "key NAME, " and the like, by the signature that the cell begins with; empty for any other.
std::string WhatCellHolds(const Checking& check, uint32_t position) {
  const uint16_t signature = LoadU16(check.hive.data() + position + 4);
  const uint32_t length = CellLength(LoadU32(check.hive.data() + position));
  const bool key = signature == kSignatureNk && length >= kKeyName;
  if (key || (signature == kSignatureVk && length >= kValueName)) {
    const StoredName name = key ? NameOfKey(check, position) : NameOfValue(check, position);
    // Characters of a name, which is only to be recognised by it.
    constexpr size_t kMost = 256;
    std::string text;
    if (name.wide) {
      AppendUnits(name.bytes, StoredUnits::kOfKeyName, kMost, text);
    } else {
      AppendSingleByteName(name.bytes.first(std::min(kMost, name.bytes.size())), text);
    }
    return key ? "key " + ShownKeyName(text) + ", " : "value " + ShownValueName(text) + ", ";
  }
  if (signature == kSignatureSk) return "security record, ";
  return ListKindOfSignature(signature) == ListKind::kNone ? "" : "subkey list, ";
}

}  // namespace

// Cells in use that nothing names, by a walk over the index: rank and bit go together. After all
// parts that claim cells.
void CheckUnnamed(Checking& check) {
  if (check.result.keys.empty()) return;  // nothing could name anything
  const PositionIndex& cells = check.cells;
  uint32_t rank = 0;
  for (uint32_t word = 0; word < cells.bits.size(); ++word) {
    for (uint64_t bits = cells.bits[word]; bits != 0; bits &= bits - 1, ++rank) {
      if (check.uses[rank] != 0) continue;
      // A bit of the index is for 8 bytes, in which cells begin; a word of 64 bits is for 512.
      const uint32_t position = word * 512 + 8 * static_cast<uint32_t>(std::countr_zero(bits));
      const uint32_t size = LoadU32(check.hive.data() + position);
      if (!IsAllocated(size)) continue;
      check.result.unnamed_bytes += CellLength(size);
      AddFinding(
          check, CheckCode::kX1, position, kNoCheckedKey,
          {Concat({WhatCellHolds(check, position), std::to_string(CellLength(size)), " bytes"}),
           "a free cell"});
    }
  }
}

}  // namespace hivequarry

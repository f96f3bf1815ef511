// The second pass of carving: the blocks of a run, cell by cell.

#include <algorithm>
#include <bit>

#include "cases/carving.h"
#include "host/long_operation.h"
#include "host/text.h"
#include "host/visible_text.h"
#include "records/base_block.h"
#include "records/bin_header.h"
#include "records/cell.h"
#include "records/key_flags.h"
#include "records/key_node.h"
#include "records/name_hash.h"
#include "records/subkey_list.h"

namespace hivequarry {
namespace {

// Both flags together: the root of a hive, which may not be deleted.
constexpr uint16_t kRootMark = 0x0C;  // of a key's flags: a hive's root, not to be deleted

// Through the blocks of one run.
struct Walk {
  CarveSource& source;
  const BinRun& run;
  HivePiece& piece;
  uint64_t end;          // of the file
  NestGuard guard = {};  // blocks whose cells go on past the next block
};

bool IsZeroed(ByteView bytes) {
  return std::ranges::all_of(bytes, [](uint8_t byte) { return byte == 0; });
}

// The block that is where its own offset puts it.
bool IsBinAt(const Walk& walk, uint64_t position, BinHeader& bin) {
  const ByteView header = walk.source.At(position, kBinHeaderSize);
  return ReadBinHeader(header, 0, bin) &&
         bin.own_offset == walk.run.own + static_cast<uint32_t>(position - walk.run.start);
}

constexpr uint64_t kNoBin = UINT64_MAX;

// The next place where one begins; the last of the run is known.
// Blocks begin at pages of the hive, so only those are looked at; kNoBin after the last.
uint64_t NextBin(const Walk& walk, uint64_t position) {
  BinHeader bin;
  for (; position <= walk.run.last && !StopRequested(); position += kPageSize) {
    if (IsBinAt(walk, position, bin)) return position;
  }
  return kNoBin;
}

// --- references ----------------------------------------------------------------------------------

// Keeps a few references of each order of distance from `edge`: the piece that goes on there has
// targets of some, and so has each one after it.
// At most four of each power of two of pages, so some 80 in each direction, however many keys the
// piece has.
void KeepReference(std::vector<KeyReference>& kept, const KeyReference& reference, uint32_t edge) {
  constexpr int64_t kMostOfOrder = 4;
  const auto order = [edge](const KeyReference& each) {
    return std::bit_width((each.target > edge ? each.target - edge : edge - each.target) /
                          kPageSize);
  };
  const bool known = std::ranges::any_of(kept, [&](const KeyReference& each) {
    return each.target == reference.target && each.kind == reference.kind;
  });
  if (!known && std::ranges::count(kept, order(reference), order) < kMostOfOrder) {
    kept.push_back(reference);
  }
}

// Those within the piece's own reach say nothing of other pieces.
void AddReference(Walk& walk, const KeyReference& reference) {
  const uint32_t own_end = walk.run.own_end();
  if (reference.target % 8 != 0 || reference.target > kMostBins) return;
  if (reference.target >= own_end) KeepReference(walk.piece.forward, reference, own_end);
  if (reference.target < walk.run.own) {
    KeepReference(walk.piece.backward, reference, walk.run.own);
  }
}

// Lists with a hash or a hint alone: an offset by itself proves nothing. Entries as many as the
// cell has room for.
void AddListReferences(Walk& walk, ByteView cell) {
  const ListKind kind = ReadListKind(cell, 0);
  if (kind != ListKind::kLf && kind != ListKind::kLh) return;
  const uint32_t count =
      std::min<uint32_t>(ReadU16(cell, kListCount), RoomOfList(cell, 0, 8).entries);
  for (uint32_t i = 0; i < count; ++i) {
    const uint32_t entry = kListEntries + 8 * i;
    AddReference(walk, {ReadU32(cell, entry), ReadU32(cell, entry + 4),
                        kind == ListKind::kLh ? KeyReference::kHash : KeyReference::kHint});
  }
}

// --- cells ---------------------------------------------------------------------------------------

std::string NameOf(ByteView cell, const KeyFields& key) {
  return ShownKeyName(KeyNameText(cell, 0, key.name_length, IsWideKeyName(key.flags)));
}

// A piece without the root is named by the first key met in it, as "...\NAME".
void UseKey(Walk& walk, ByteView cell) {
  KeyFields key;
  if (!ReadKeyFields(cell, 0, key)) return;
  HivePiece& piece = walk.piece;
  ++piece.keys;
  const bool root = (key.flags & kRootMark) == kRootMark;
  if (root ? !piece.root_found : piece.root.empty()) {
    piece.root = (root ? "" : "...\\") + NameOf(cell, key);
  }
  piece.root_found |= root;
  if (!root) AddReference(walk, {key.parent, 0, KeyReference::kParent});
}

// An allocated cell, of which `size` bytes are in its block.
void UseCell(Walk& walk, uint64_t position, uint32_t size, uint16_t signature) {
  constexpr uint32_t kLongestKey = kKeyName + 2 * kMaxRawName;
  constexpr uint32_t kLongestList = 64 * 1024;  // entries are counted in 16 bits, but in few lists
  if (signature == kSignatureNk) {
    UseKey(walk, walk.source.At(position, std::min(size, kLongestKey)));
  } else if (ListKindOfSignature(signature) != ListKind::kNone) {
    AddListReferences(walk, walk.source.At(position, std::min(size, kLongestList)));
  }
}

// Follows the cells of a block; where they end, which is the block's end when it is whole.
// A size that is no multiple of 8, less than 8 or more than the block has left ends the walk: after
// it no cell's start is known.
uint64_t FollowBin(Walk& walk, uint64_t bin, uint64_t end) {
  uint64_t at = bin + kBinHeaderSize;
  while (at < end && !StopRequested()) {
    const ByteView cell = walk.source.At(at, 6);
    const uint32_t raw = ReadU32(cell, 0);
    const uint32_t size = CellLength(raw);
    if (size < 8 || size % 8 != 0 || size > end - at) break;
    ++walk.piece.cells;
    if (IsAllocated(raw)) UseCell(walk, at, size, ReadU16(cell, 4));
    at += size;
  }
  return at;
}

// A block whose cells end early goes on up to the next one, or as far as they go.
uint64_t EndOfBroken(const Walk& walk, uint64_t bin, uint64_t bin_end, uint64_t cells) {
  const uint64_t next = NextBin(walk, bin + kPageSize);
  if (next < bin_end) return next;
  const uint64_t pages = (cells - bin + kPageSize - 1) / kPageSize * kPageSize;
  return std::min({bin + pages, bin_end, walk.end});
}

// Returns where the next bin is looked for: after one that its cells fill, else after what of it
// can be believed. The guard keeps stretches that many made-up bins claim from being walked again.
uint64_t UseBin(Walk& walk, const BinHeader& bin, uint64_t position) {
  const uint64_t bin_end = position + bin.size;
  uint64_t cells = position + kBinHeaderSize;
  if (walk.guard.MayEnter(position)) {
    cells = FollowBin(walk, position, std::min(bin_end, walk.end));
    walk.guard.Add(cells);
  }
  const bool whole = cells == bin_end;
  ++(whole ? walk.piece.whole : walk.piece.broken);
  return whole ? bin_end : EndOfBroken(walk, position, bin_end, cells);
}

// What is between two blocks that are where they should be.
void AddGap(Walk& walk, uint64_t from, uint64_t to) {
  while (from < to) {
    const auto size = static_cast<uint32_t>(std::min<uint64_t>(kPageSize, to - from));
    std::vector<FileRange>& ranges =
        IsZeroed(walk.source.At(from, size)) ? walk.piece.zeros : walk.piece.foreign;
    const bool goes_on = !ranges.empty() && ranges.back().position + ranges.back().size == from;
    if (!goes_on) ranges.push_back({from, 0});
    ranges.back().size += size;
    from += size;
  }
}

// --- the base block ------------------------------------------------------------------------------

// Three of its letters or a right checksum make a base block. The root's name by its offset is
// better than that of the first key with the flags of a root.
void UseBaseBlock(CarveSource& source, HivePiece& piece) {
  if (piece.own != 0 || piece.bins < kBaseBlockSize) return;
  const ByteView bytes = source.At(piece.bins - kBaseBlockSize, kBaseUsed);
  const BaseBlock base = ReadBaseBlock(bytes);
  uint8_t letters[4] = {};
  ReadBytes(bytes, 0, letters, sizeof letters);
  piece.snapshot = base.signature == kSnapshotSignature;
  piece.letters = base.signature == kHiveSignature || piece.snapshot;
  piece.checksum = base.major != 0 && base.checksum == BaseBlockChecksum(bytes);
  // A log's copy of a base block ends after 512 bytes: none is before a block.
  piece.base = (IsBaseBlockSignature(letters) || piece.checksum) && base.type == 0;
  if (!piece.base) return;
  piece.start = piece.bins - kBaseBlockSize;
  piece.claimed = base.length;
  piece.last_write = base.last_write;
  piece.stored_name = TextOfWide(base.file_name);
  if (base.root_offset >= piece.own_end()) return;
  const ByteView root = source.At(piece.bins + base.root_offset, kKeyName + 2 * kMaxRawName);
  KeyFields key;
  if (!ReadKeyFields(root, 0, key) || key.signature != kSignatureNk) return;
  piece.root = NameOf(root, key);
  piece.root_found = true;
}

}  // namespace

// `own` and `bins` are moved on together where the first blocks belong to somebody else, by whole
// pages.
HivePiece ExamineRun(CarveSource& source, const BinRun& run, uint64_t from) {
  HivePiece piece;
  Walk walk{source, run, piece, source.size()};
  const uint64_t behind =
      from > run.start ? (from - run.start + kPageSize - 1) / kPageSize * kPageSize : 0;
  uint64_t at = NextBin(walk, run.start + behind);
  if (at == kNoBin) return piece;
  piece.start = piece.bins = at;
  piece.own = run.own + static_cast<uint32_t>(at - run.start);
  while (at != kNoBin && !StopRequested()) {
    BinHeader bin;
    if (IsBinAt(walk, at, bin)) {
      at = piece.end = UseBin(walk, bin, at);
      if (at > run.last) break;
      continue;
    }
    const uint64_t next = NextBin(walk, at);
    if (next != kNoBin) AddGap(walk, at, next);
    at = next;
  }
  if (piece.whole + piece.broken != 0) UseBaseBlock(source, piece);
  return piece;
}

}  // namespace hivequarry

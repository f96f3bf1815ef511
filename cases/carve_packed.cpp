// Compressed bytes that hold blocks of hives: files that the file system compressed, and pages of
// compressed memory.

#include <algorithm>

#include "cases/carving.h"
#include "cases/lznt1.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "host/shortfalls.h"
#include "records/base_block.h"
#include "records/bin_header.h"

namespace hivequarry {
namespace {

// The file system compresses sixteen chunks at a time and keeps each such unit in whole clusters of
// its own.
constexpr uint32_t kUnit = 16 * kLznt1Chunk;        // that is compressed by itself
constexpr size_t kMostUnpacked = 64 * 1024 * 1024;  // held in memory

// The bytes of a unit that begins at a position: compressed, or as it is where compressing it
// gained nothing; then a block must be where it says.
bool TakeUnit(CarveSource& source, uint64_t position, std::vector<uint8_t>& out, uint64_t& end) {
  const size_t before = out.size();
  const ByteView bytes = source.At(position, kUnit);
  const uint32_t used = DecodeLznt1(bytes, kUnit, out);
  end = position + used;
  const bool whole = out.size() - before == kUnit;
  // A unit that ends early is the file's last one, and ends with a header of 0.
  const bool ended = before == 0 || ReadU16(bytes, used) == 0;
  if (whole || (out.size() > before && ended)) return true;
  out.resize(before);
  if (before == 0 || bytes.size() < kUnit) return false;
  const uint32_t first = ReadU32(out, 0);
  const uint32_t own = first == kBinSignature ? ReadU32(out, kBinOwnOffset) : 0U - kBaseBlockSize;
  for (uint32_t at = 0; at < kUnit; at += kBaseBlockSize) {
    BinHeader bin;
    const uint32_t expected = own + static_cast<uint32_t>(before) + at;
    if (!ReadBinHeader(bytes, at, bin) || bin.own_offset != expected) continue;
    out.insert(out.end(), bytes.begin(), bytes.end());
    end = position + kUnit;
    return true;
  }
  return false;
}

// The units from `position` on; where the next one begins depends on the size of the clusters.
// Sizes of clusters from 4,096 down to 512 are tried for each unit, as nothing in the bytes tells
// it. A unit shorter than 64 KiB is the last one.
std::vector<FileRange> TakeUnits(CarveSource& source, uint64_t position,
                                 std::vector<uint8_t>& out) {
  std::vector<FileRange> parts;
  uint64_t end = position;
  if (!TakeUnit(source, position, out, end)) return parts;
  parts.push_back({position, end - position});
  while (out.size() % kUnit == 0 && !StopRequested()) {
    if (out.size() >= kMostUnpacked) {
      NoteShortfall(Shortfall::kRows);
      break;
    }
    bool taken = false;
    for (uint64_t cluster = 4096; cluster >= 512 && !taken; cluster /= 2) {
      const uint64_t at = position + (end - position + cluster - 1) / cluster * cluster;
      uint64_t unit_end = at;
      taken = TakeUnit(source, at, out, unit_end);
      if (!taken) continue;
      parts.push_back({at, unit_end - at});
      end = unit_end;
    }
    if (!taken) break;
  }
  return parts;
}

// The first block of the bytes: after a base block, or at their start.
uint32_t FirstBin(ByteView bytes) {
  return ReadU32(bytes, 0) == kBinSignature ? 0 : kBaseBlockSize;
}

// What the bytes in memory are, by the blocks in them.
HivePiece PieceOf(ByteView bytes) {
  const uint32_t start = FirstBin(bytes);
  BinHeader bin;
  if (!ReadBinHeader(bytes, start, bin)) return {};
  CarveSource memory(bytes);
  const BinRun run = {start, bytes.size(), bytes.size(), 0, bin.own_offset};
  return ExamineRun(memory, run, 0);
}

// The first chunks tell; a file of many such starts would else be unpacked from each of them to its
// end.
bool HoldsBlock(CarveSource& source, uint64_t position) {
  std::vector<uint8_t> start;
  DecodeLznt1(source.At(position, kUnit), 2 * kLznt1Chunk, start);
  BinHeader bin;
  return ReadBinHeader(start, FirstBin(start), bin);
}

}  // namespace

bool ExaminePacked(CarveSource& source, const PackedAt& at, Carved& carved,
                   std::vector<uint8_t>* bytes) {
  std::vector<uint8_t> out;
  std::vector<FileRange> parts;
  if (at.page) {
    const uint32_t used =
        DecodePlainLz77(source.At(at.position, kBaseBlockSize), kBaseBlockSize, out);
    if (used == 0) return false;
    parts = {{at.position, used}};
  } else {
    if (!HoldsBlock(source, at.position)) return false;
    parts = TakeUnits(source, at.position, out);
  }
  const HivePiece piece = PieceOf(out);
  if (piece.whole + piece.broken == 0) return false;
  // A page is the start of a block that may be longer: its cells alone say that it is one.
  if (at.page && piece.whole == 0 && piece.keys == 0) return false;
  carved = CarvedOf(piece);
  const std::string unpacked = Concat({"unpacked ", std::to_string(out.size()), " bytes; "});
  carved.why = (at.page ? "plain LZ77, " : "LZNT1, ") + unpacked + carved.why;
  carved.kind = at.page ? CarvedKind::kPackedPage : CarvedKind::kPacked;
  carved.parts = std::move(parts);
  carved.length = out.size();
  if (bytes != nullptr) *bytes = std::move(out);
  return true;
}

}  // namespace hivequarry

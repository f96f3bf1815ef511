// A hive file held in memory, and the bounded reads that everything else is made of. The file is
// never written.
//
// Positions are image positions (bytes from the start of the hive) unless a name says otherwise. A
// cell offset, as stored in a file, counts from the start of the data area.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "bytes/byte_view.h"
#include "bytes/image_memory.h"
#include "hive/value_edits.h"
#include "host/file_reading.h"
#include "records/base_block.h"
#include "records/bin_header.h"

namespace hivequarry {

struct HiveImage;
struct HiveLogs;
struct LayerStack;

// A stretch of the image whose cells are at one distance from their offsets.
// An offset stored in the run leads to offset + delta, if that is in the same run.
struct OffsetRun {
  uint32_t position = 0;  // of its first byte
  uint32_t end = 0;       // position after it
  uint32_t delta = 0;     // position less offset, modulo 2^32
  bool foreign = false;   // no part of the hive: its offsets lead among themselves only
};
// A stretch of an image in which moved bytes were put back (moved_bytes.h).
enum class PieceKind : uint8_t {
  kOwn,      // the hive's
  kMissing,  // zeros for bytes that are lost: `place` is where they are missing
  kBlank,    // zeros for bytes that are lost: what the file has at `place` belongs elsewhere
  kSpare,    // was put in: no part of the hive
};
// Reaches up to the next piece, or to the end of the image.
struct ImagePiece {
  uint32_t position = 0;  // of its first byte in the image
  uint32_t place = 0;     // of that byte in the file (file_place.h)
  PieceKind kind = PieceKind::kOwn;
};
// What was undone while opening.
enum class MoveKind : uint8_t {
  kPutIn,      // bytes that are not the hive's were between its own
  kLost,       // bytes of the hive are not in the file
  kPageMoved,  // a page was where another one belongs
  kPageCopy,   // a page is in the file twice
  kTextCopy,   // a 0D was before each 0A
};
// What was done to the image's bytes to make it a hive again.
struct UndoneMove {
  MoveKind kind = MoveKind::kPutIn;
  uint32_t place = 0;  // in the file, counted as that of a piece
  uint32_t count = 0;  // bytes
  uint32_t to = 0;     // of a moved page: the place where it belongs; of a copy: that of its twin
};
// Where the bytes of the image are in the file, when they are not all at one distance.
struct FilePlaces {
  std::vector<ImagePiece> pieces;  // ascending by position, without gaps; empty: all in place
  std::vector<uint32_t> by_place;  // numbers of the pieces with bytes of the file, by place
  std::vector<uint32_t> returns;   // of a text copy: where, without them, each 0D was taken out
  std::vector<UndoneMove> undone;  // in the order in which they are told
  uint32_t own_end = 0;  // position of what was put in, after the hive's own bytes; 0: none
};

// The position of an offset stored at `field`, in an image with runs (offset_map.h).
uint32_t ResolveOffset(const HiveImage& hive, uint32_t offset, uint32_t field);

// "As many as the list has".
inline constexpr uint32_t kAllEntries = 0xFFFFFFFF;
// The value list of a key that shares it with others, or whose list's cell does not say how long it
// is.
struct ValueListNote {
  uint32_t entries = kAllEntries;   // of the list that are the key's; no more than it counts
  uint32_t in_walks = kAllEntries;  // of these, the ones that a walk over many keys reads
  bool shared = false;              // another key has the better right to the list
};

inline constexpr uint32_t kNoOffset = 0xFFFFFFFF;  // "none" in every offset field

enum class SlotState : uint32_t { kTaken = 0, kFree = 1 };

// What a hive's root path was taken from.
enum class RootSource : uint8_t {
  kNone,
  kRootKey,     // the root key's name
  kStoredName,  // the file name in the base block: what the system that wrote it called the hive
  kFileName,    // the name that the file has now
  kUser,
};

// What the hive is called in paths (root_path.h).
struct RootName {
  std::string label;          // short form, possibly with "(n)"; empty when none is known
  std::string long_prefix;    // long form, ending in a backslash
  uint32_t label_length = 0;  // of `label` without "(n)"
  int kind = 0;               // 1 to 11, 0 when not chosen by kind
  bool sam = false;           // of the kind of SAM
  RootSource source = RootSource::kNone;
};

// What a load found out that readers of the image go by, by key position.
struct LoadFindings {
  // Value lists that relation repair found for keys whose own offset is wrong.
  std::unordered_map<uint32_t, uint32_t> value_lists;
  // About value lists that are not plainly one key's.
  std::unordered_map<uint32_t, ValueListNote> list_notes;
};

// A hive in memory: a slot of the open-file table (hive_table.h).
struct HiveImage {
  SlotState state = SlotState::kFree;
  bool root_valid = false;     // the root key node was recognised at position 4128
  uint32_t root_position = 0;  // of the root key node; 0 when unknown
  uint32_t length = 0;         // bytes of the hive, or of the chosen range
  uint32_t last_valid = 0;     // length - 8: no cell starts beyond it
  ImageMemory buffer;          // held + kImageSlack bytes
  uint32_t base_offset = 0;    // where in the file the hive begins
  // Bytes in memory. More than `length` where the image was cut because another hive begins there,
  // and where copies of pages that are in place were put at its end; cell readers end at `length`.
  uint32_t held = 0;
  bool cut = false;  // another hive begins at `length`
  // Of the file, from base_offset on, when the image is in memory. As many as `held`, but for a
  // hive whose moved bytes were put back.
  uint32_t file_bytes = 0;
  std::string file_name;      // as given, UTF-8
  UnreadBytes unread;         // of the file, up to the end of the hive; zeros in the image
  bool header_valid = false;  // the base block was recognised; also called HasBaseBlock
  uint32_t lower_bound = 0;   // of cell positions: 4128 when root_valid, else 0
  uint32_t data_start = 0;    // first position of the data area: 4096 when header_valid, else 0
  // Added, modulo 2^32, to a cell offset to get its position. Equal to data_start, but for a
  // fragment whose first bin says which part of a hive it is: then it leads offsets inside the
  // fragment to their cells, and all others beyond the image.
  uint32_t data_base = 0;
  bool data_base_proven = false;  // by the base block or by the bins' own offset fields
  // Where not all of the image is the hive's own (offset_map.h); else empty. Ascending by position,
  // without gaps.
  std::vector<OffsetRun> offset_runs;
  FilePlaces places;           // where moved bytes, now put back, are in the file
  bool moves_sought = false;   // UndoMoves (moved_bytes.h) has looked at all of it
  int slot = 0;                // index in the table
  bool tolerant_keys = false;  // damaged key signatures are let pass the tolerant test (keys.h)
  LoadFindings found;
  ValueEdits edits;  // values edited in memory (value_edits.h)
  // The logs of a hive that begins with a base block, and what came from them (replaying.h); null
  // for any other image.
  std::shared_ptr<const HiveLogs> logs;
  // Of an image that is several hives one over the other (layer_stack.h); null for any other.
  std::shared_ptr<const LayerStack> stack;

  RootName root;
};

// --- bounded reads ---------------------------------------------------------------------------

// Bounds by what was recognised: header_valid, root_valid and the length.
// Sets data_start, data_base, data_base_proven, root_position, lower_bound and last_valid anew;
// what was known better of them is lost. Call again after the length has changed.
void SetBounds(HiveImage& hive);

// An image, not in the table, of bytes of which nothing else is known: all cell positions that they
// have room for are in its bounds. For who looks at a part of a file. Empty when there is no
// memory.
// A copy of the bytes, so it outlives them.
HiveImage ImageOfBytes(ByteView bytes);

// True when [position, position + size) lies inside the hive.
inline bool InsideHive(const HiveImage& hive, uint32_t position, uint32_t size) {
  return size <= hive.length && position <= hive.length - size;
}

// The image's bytes, up to its length.
// Valid as long as the image and its length stay what they are.
inline ByteView ImageBytes(const HiveImage& hive) { return {hive.buffer.get(), hive.length}; }

// Little-endian; 0 outside the hive.
inline uint8_t ReadU8(const HiveImage& hive, uint32_t position) {
  return ReadU8(ImageBytes(hive), position);
}
inline uint16_t ReadU16(const HiveImage& hive, uint32_t position) {
  return ReadU16(ImageBytes(hive), position);
}
inline uint32_t ReadU32(const HiveImage& hive, uint32_t position) {
  return ReadU32(ImageBytes(hive), position);
}
inline uint64_t ReadU64(const HiveImage& hive, uint32_t position) {
  return ReadU64(ImageBytes(hive), position);
}
// Copies as many of `size` bytes as lie inside the hive; returns how many.
inline uint32_t ReadBytes(const HiveImage& hive, uint32_t position, uint8_t* out, uint32_t size) {
  return ReadBytes(ImageBytes(hive), position, out, size);
}
// Likewise of what is held, also after the place where the image was cut.
// For who shows bytes, not for readers of records.
uint32_t ReadHeldBytes(const HiveImage& hive, uint32_t position, uint8_t* out, uint32_t size);

// The position that a cell offset stored at `field` leads to; kNoOffset stays kNoOffset. The result
// may lie outside the image. The second form reads the offset from there.
inline uint32_t OffsetPosition(const HiveImage& hive, uint32_t offset, uint32_t field) {
  if (offset == kNoOffset) return kNoOffset;
  return hive.offset_runs.empty() ? offset + hive.data_base : ResolveOffset(hive, offset, field);
}
inline uint32_t ReadOffset(const HiveImage& hive, uint32_t field) {
  return OffsetPosition(hive, ReadU32(hive, field), field);
}
// True when a record field at `position` may be followed: a cell between the lower bound and the
// last valid position.
inline bool InCellBounds(const HiveImage& hive, uint32_t position) {
  return position >= hive.lower_bound && position <= hive.last_valid;
}

}  // namespace hivequarry

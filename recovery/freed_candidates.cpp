#include "recovery/freed_candidates.h"

#include <algorithm>
#include <bit>
#include <functional>

#include "hive/keys.h"
#include "hive/timestamp.h"
#include "hive/values.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "host/side_work.h"
#include "records/cell.h"
#include "records/key_flags.h"
#include "recovery/split_point.h"

namespace hivequarry {
namespace {

constexpr uint32_t kLongestKeyName = 510;      // bytes: 255 characters
constexpr uint32_t kLongestValueName = 32766;  // bytes: 16,383 characters
// The form of values in use that is passed over; others are candidates until what names them takes
// them out (freed_uses.h).
constexpr uint32_t kMostPadding = 8;  // after the name of a value that the scan accepts
// What was left after the blocks need not be where cells do.
constexpr uint32_t kLooseStep = 4;

// A stretch of bytes to be looked through.
struct Stretch {
  uint32_t begin = 0;  // positions
  uint32_t end = 0;
  FreedPlace place = FreedPlace::kFreeCell;
  uint32_t host = kNoOffset;  // as in FreedCandidate
};

// The search under way. Cells are followed block by block.
struct SpaceWalk {
  const HiveImage& hive;
  const KeyTree& tree;
  std::vector<FreedCandidate>& found;
  const ByteView image;    // of the hive
  uint32_t bin_end = 0;    // of the block around the position; 0 when there is none
  bool only_free = false;  // of that block the free cells alone can hold records
};

// At a position of which 8 bytes are inside the image.
uint32_t WordAt(const SpaceWalk& walk, uint32_t p) { return ReadU32(walk.image, p); }

// --- what a record must look like ----------------------------------------------------------------

// A control character, a lone surrogate or a unit that is no character never was in a name.
bool IsPrintable(uint32_t unit) {
  return unit >= 0x20 && (unit < 0x7F || unit > 0x9F) && (unit < 0xD800 || unit > 0xDFFF) &&
         unit < 0xFFFE;
}

// True for `length` bytes of a name without control characters.
bool IsNamePrintable(const HiveImage& hive, uint32_t name, uint32_t length, bool wide) {
  const ByteView bytes = PartOf(ImageBytes(hive), name, length);
  if (bytes.size() != length || (wide && length % 2 != 0)) return false;
  for (uint32_t i = 0; i < length; i += wide ? 2 : 1) {
    if (!IsPrintable(wide ? LoadU16(&bytes[i]) : bytes[i])) return false;
  }
  return true;
}

bool IsWideName(const HiveImage& hive, const FreedCandidate& record) {
  return record.key ? IsWideKeyName(ReadU16(hive, record.position + kKeyFlags))
                    : IsWideValueName(ReadU16(hive, record.position + kValueFlags));
}

uint32_t FixedPart(const FreedCandidate& record) { return record.key ? kKeyName : kValueName; }

// Large enough for the record. A cell that took in its neighbours when it was freed is larger than
// that; no block's worth of them is taken for a size where there is no block.
bool HasSize(const HiveImage& hive, uint32_t position, uint32_t needed, FreedPlace place) {
  constexpr uint32_t kMostOutside = 65536;
  const uint32_t size = ReadU32(hive, position);
  const uint32_t length = CellLength(size);
  return size % 8 == 0 && length >= needed &&
         (place != FreedPlace::kNoCell || length <= kMostOutside);
}

// Offsets of an earlier, longer state of the hive lead beyond its end.
bool IsOffsetOrNone(uint32_t offset) {
  return offset == kNoOffset || (offset % 8 == 0 && offset <= INT32_MAX);
}

// Of the four offsets of a key at least three.
bool HasOffsets(const HiveImage& hive, uint32_t p) {
  int offsets = 0;
  for (const uint32_t field : {kKeyParent, kKeySubkeyList, kKeyValueList, kKeySecurity}) {
    offsets += IsOffsetOrNone(ReadU32(hive, p + field));
  }
  return offsets >= 3;
}

// All of a key but for its name's characters. Its size may be gone: a record that was written over
// the bytes before it ends there.
// Counts of subkeys and values that the hive has no room for are noise, as is a time that no system
// had.
bool IsKeyRecord(const HiveImage& hive, uint32_t p, FreedPlace place) {
  constexpr uint16_t kNoFlags = 0x0C00;  // user flags of older systems are above them
  const uint32_t name = ReadU16(hive, p + kKeyNameLength);
  const bool sized = HasSize(hive, p, kKeyName + name, place) || place == FreedPlace::kInFreeCell;
  return sized && name != 0 && name <= kLongestKeyName &&
         (ReadU16(hive, p + kKeyFlags) & kNoFlags) == 0 && HasOffsets(hive, p) &&
         ReadU32(hive, p + kKeySubkeyCount) < hive.length / kCellStep &&
         ReadU32(hive, p + kKeyValueCount) < hive.length / kCellStep &&
         !FormatTimestampChecked(ReadU64(hive, p + kKeyLastWrite)).empty();
}

// Types stand for themselves, for account numbers or the properties of devices, or have something
// of their owner's in the upper half.
bool IsPlausibleType(uint32_t type) {
  return type < 0x10000 || type >= 0xFFFF0000 || PlainType(type) != type;
}

// Only what the record itself says: where the offset leads is looked at later.
bool IsPlausibleData(const HiveImage& hive, uint32_t p) {
  // The mark of data that are in the field of the offset, four bytes at most.
  constexpr uint32_t kInline = 0x80000000;
  const uint32_t length = ReadU32(hive, p + kValueDataLength);
  const uint32_t offset = ReadU32(hive, p + kValueDataOffset);
  if ((length & kInline) != 0) return length - kInline <= 4;
  return length == 0 || (length < hive.length && offset % 8 == 0 && offset != 0);
}

// A value without a name shows less that can be checked: at least it has a length, if only the mark
// of short data.
bool IsUnnamedValue(const HiveImage& hive, uint32_t p, FreedPlace place) {
  if (ReadU32(hive, p + kValueDataLength) == 0) return false;
  if (HasSize(hive, p, kValueName, place)) return true;
  // Where a block begins that is none any more, the size was lost with what was before it.
  const uint32_t type = ReadU32(hive, p + kValueType);
  return place == FreedPlace::kNoCell && ReadU32(hive, p) == 0 && p % 8 != 0 && type != 0 &&
         type <= kRegQword;
}

// All of a value but for its name's characters; flags above the two known bits are noise.
bool IsValueRecord(const HiveImage& hive, uint32_t p, FreedPlace place) {
  const uint32_t name = ReadU16(hive, p + kValueNameLength);
  const bool sized =
      name == 0 ? IsUnnamedValue(hive, p, place) : HasSize(hive, p, kValueName + name, place);
  return sized && name <= kLongestValueName && ReadU16(hive, p + kValueFlags) <= 3 &&
         IsPlausibleData(hive, p);
}

// --- the walk --------------------------------------------------------------------------------

// A step of the walk in which a whole record may be.
void LookAt(SpaceWalk& walk, uint32_t p, const Stretch& stretch) {
  const HiveImage& hive = walk.hive;
  const auto signature = static_cast<uint16_t>(WordAt(walk, p + 4));
  const bool key = signature == kSignatureNk;
  if (!key && signature != kSignatureVk) return;
  const uint32_t fixed = key ? kKeyName : kValueName;
  if (stretch.end - p < fixed) return;
  if (key && ContainsPosition(walk.tree.key_positions, p)) return;
  const bool first = stretch.place == FreedPlace::kFreeCell && p == stretch.begin;
  const FreedPlace place =
      stretch.place == FreedPlace::kFreeCell && !first ? FreedPlace::kInFreeCell : stretch.place;
  if (key ? !IsKeyRecord(hive, p, place) : !IsValueRecord(hive, p, place)) return;
  FreedCandidate record;
  record.position = p;
  record.key = key;
  record.name_length = ReadU16(hive, p + (key ? kKeyNameLength : kValueNameLength));
  record.room = stretch.end - p - fixed;
  record.host = stretch.host;
  record.odd_type = !key && !IsPlausibleType(ReadU32(hive, p + kValueType));
  record.place = place;
  walk.found.push_back(record);
}

// Records keep their places at multiples of 8 when cells are merged.
void LookInside(SpaceWalk& walk, const Stretch& stretch) {
  constexpr uint32_t kPollMask = 0xFFFF;
  for (uint32_t p = stretch.begin; p + kValueName <= stretch.end; p += kCellStep) {
    if ((p & kPollMask) == 0 && StopRequested()) return;
    LookAt(walk, p, stretch);
  }
}

// The bytes that the record of an allocated cell needs, if it is none of a key or value; 0 for
// cells without a signature.
uint32_t NeededBytes(const HiveImage& hive, uint32_t p, uint16_t signature, uint32_t count) {
  constexpr uint32_t kDescriptorLength = 20;
  constexpr uint32_t kDescriptor = 24;
  const ListKind kind = ListKindOfSignature(signature);
  if (kind != ListKind::kNone) return 8 + count * ListEntrySize(kind);
  if (signature == kSignatureSk) {
    return kDescriptor + std::min(ReadU32(hive, p + kDescriptorLength), hive.length);
  }
  return 0;
}

// Bytes from the start of an allocated cell to where free space may begin in it. Keys and values
// that the scan passed over are looked at themselves, from the start on.
uint32_t KnownBytes(const SpaceWalk& walk, uint32_t p, uint32_t length, Stretch& rest) {
  const uint32_t second = WordAt(walk, p + 4);
  const auto signature = static_cast<uint16_t>(second);
  if (signature == kSignatureVk) {
    const uint32_t name = second >> 16;
    const uint32_t needed = kValueName + name;
    // Of the form that the scan accepts: a list names it, or it is shown as disconnected.
    const bool accepted =
        name <= kLongestValueName && needed <= length && length <= needed + kMostPadding;
    return accepted ? length : 0;
  }
  if (signature == kSignatureNk) {
    if (!ContainsPosition(walk.tree.key_positions, p)) return 0;
    return length < kKeyName + kValueName ? length
                                          : kKeyName + ReadU16(walk.hive, p + kKeyNameLength);
  }
  const uint32_t needed = NeededBytes(walk.hive, p, signature, second >> 16);
  if (needed == 0) rest.host = p;
  return std::max(needed, kCellStep);
}

// What is left in an allocated cell after the record that it holds, or after what names it needs.
void LookAfterRecord(SpaceWalk& walk, uint32_t p, uint32_t length) {
  if (length < kCellStep + kValueName) return;
  Stretch rest{p, p + length, FreedPlace::kBehindRecord};
  const uint32_t known = KnownBytes(walk, p, length, rest);
  if (known + kValueName > length) return;
  rest.begin += (known + kCellStep - 1) / kCellStep * kCellStep;
  LookInside(walk, rest);
}

// Looks at the cell or the bytes at `p`; returns where the walk goes on.
uint32_t VisitCell(SpaceWalk& walk, uint32_t p, uint32_t size) {
  const uint32_t length = CellLength(size);
  const bool in_block = walk.bin_end > p;
  const bool whole = length != 0 && length % 8 == 0 && in_block && length <= walk.bin_end - p;
  if (!whole) {
    const Stretch loose{p, in_block ? walk.bin_end : walk.hive.length, FreedPlace::kNoCell};
    LookAt(walk, p, loose);
    if (!in_block && p >= kLooseStep) LookAt(walk, p - kLooseStep, loose);
    return p + kCellStep;
  }
  if (!IsAllocated(size)) {
    LookInside(walk, {p, p + length, FreedPlace::kFreeCell});
  } else if (!walk.only_free) {
    LookAfterRecord(walk, p, length);
  }
  return p + length;
}

// What is at the steps of a page that begins like a key or a value.
struct PageCount {
  uint32_t keys = 0;   // allocated, as far as their size says
  uint32_t other = 0;  // not allocated, or values that the scan does not accept
};

// Without a branch: nearly all pages of a sound hive hold nothing else than what the tree shows,
// and this is all that is looked at of them.
PageCount CountPage(ByteView page) {
  PageCount count;
  for (uint32_t at = 0; at < kPageSize; at += kCellStep) {
    const uint32_t size = LoadU32(&page[at]);
    const uint32_t second = LoadU32(&page[at + 4]);
    const uint32_t key = (second & 0xFFFF) == kSignatureNk;
    const uint32_t value = (second & 0xFFFF) == kSignatureVk;
    const uint32_t allocated = size >> 31;
    const uint32_t odd = 0U - size - kValueName - (second >> 16) > kMostPadding;
    count.keys += key & allocated;
    count.other += ((key | value) & (allocated ^ 1)) | (value & odd);
  }
  return count;
}

// The keys of the tree whose cells are in a page; not those that were made for a place.
// By whole words of the index: a page is eight of them.
uint32_t CountKnownKeys(const SpaceWalk& walk, uint32_t page) {
  uint32_t known = 0;
  for (uint32_t word = page / 512; word < (page + kPageSize) / 512; ++word) {
    for (uint64_t bits = walk.tree.key_positions.bits[word]; bits != 0; bits &= bits - 1) {
      const uint32_t p = 512 * word + 8 * static_cast<uint32_t>(std::countr_zero(bits));
      const bool key = ReadU16(walk.image, p + 4) == kSignatureNk;
      known += key && IsAllocated(ReadU32(walk.image, p));
    }
  }
  return known;
}

// False for a block of whose keys all are in the tree and whose allocated cells hold no other
// record.
bool MayHide(const SpaceWalk& walk, uint32_t begin, uint32_t end) {
  const bool paged = begin % kPageSize == 0 && end % kPageSize == 0 &&
                     end / 512 <= walk.tree.key_positions.bits.size();
  if (!paged || !IsInside(walk.image, begin, end - begin)) return true;
  for (uint32_t page = begin; page < end; page += kPageSize) {
    const PageCount count = CountPage(PartOf(walk.image, page, kPageSize));
    if (count.other != 0 || count.keys != CountKnownKeys(walk, page) || StopRequested()) {
      return true;
    }
  }
  return false;
}

// A block header: its block ends where it says, if that could be, and of one that hides nothing the
// free cells alone are looked at. Returns the position of its first cell.
uint32_t EnterBlock(SpaceWalk& walk, uint32_t p) {
  const uint32_t size = ReadU32(walk.hive, p + 8);
  const uint32_t left = walk.hive.length - p;
  walk.bin_end = size >= kPageSize && size % kPageSize == 0 ? p + std::min(size, left) : 0;
  walk.only_free = walk.bin_end != 0 && !MayHide(walk, p, walk.bin_end);
  return p + kBinHeaderSize;
}

// Through the chains of cells, from block to block, up to `end` or the end of the cell or block
// header that goes over it; returns where the walk is then. Bytes that no chain reaches are looked
// at step by step, so damage costs time but hides nothing.
uint64_t WalkTo(SpaceWalk& walk, uint64_t p, uint64_t end,
                const std::function<void(uint64_t)>& show) {
  constexpr uint32_t kPollMask = 0x3FF;
  uint32_t steps = 0;
  while (p + kCellStep <= end) {
    if ((steps++ & kPollMask) == 0) {
      if (StopRequested()) break;
      show(p);
    }
    const auto cell = static_cast<uint32_t>(p);
    const uint32_t size = WordAt(walk, cell);
    p = size == kBinSignature ? EnterBlock(walk, cell) : VisitCell(walk, cell, size);
  }
  return p;
}

// In two halves side by side where that is worth it. All that a walk knows is forgotten at a block
// header, so what the second one found is what the first one would have, if that comes to it.
void WalkImage(SpaceWalk& walk) {
  constexpr uint32_t kSteps = 100;
  const HiveImage& hive = walk.hive;
  const Host& host = CurrentHost();
  uint32_t shown = 0;
  const auto show = [&](uint64_t p) {
    const auto reached = static_cast<uint32_t>(p * kSteps / hive.length);
    if (reached > shown) host.progress_position(host.context, shown = reached);
  };
  host.progress_range(host.context, kSteps);
  uint64_t p = hive.data_start;
  const uint32_t split = BlockToSplitAt(hive);
  if (split != 0) {
    std::vector<FreedCandidate> found;
    SpaceWalk other{hive, walk.tree, found, walk.image};
    SideWork beside([&] { WalkTo(other, split, hive.length, [](uint64_t) {}); });
    p = WalkTo(walk, p, split, show);
    beside.Wait();
    if (p == split && !StopRequested()) {
      walk.found.insert(walk.found.end(), found.begin(), found.end());
      p = hive.length;
    }
  }
  WalkTo(walk, p, hive.length, show);
  host.progress_range(host.context, 0);
}

// Leaves the record the part of its name before `next`, where another one begins, and of the
// end of its stretch. False when that is too little.
bool EndsBefore(const HiveImage& hive, uint64_t next, FreedCandidate& record) {
  const uint32_t name = record.position + FixedPart(record);
  if (next < name) return false;
  const uint64_t room = std::min<uint64_t>(next - name, record.room);
  const bool wide = IsWideName(hive, record);
  if (room == 0 && record.name_length != 0) return false;
  if (room < record.name_length)
    record.name_length = static_cast<uint16_t>(wide ? room & ~1ULL : room);
  return IsNamePrintable(hive, name, record.name_length, wide);
}

}  // namespace

std::vector<FreedCandidate> FindFreedCandidates(const HiveImage& hive, const KeyTree& tree) {
  std::vector<FreedCandidate> found;
  SpaceWalk walk{hive, tree, found, ImageBytes(hive)};
  WalkImage(walk);
  std::ranges::sort(found, {}, &FreedCandidate::position);
  return found;
}

// From the end of the image: each record is held against the start of the one after it that stays.
void SettleOverlaps(const HiveImage& hive, std::vector<FreedCandidate>& candidates) {
  uint64_t next = UINT64_MAX;
  std::vector<FreedCandidate> kept;
  for (auto record = candidates.rbegin(); record != candidates.rend(); ++record) {
    if (!EndsBefore(hive, next, *record)) continue;
    next = record->position;
    kept.push_back(*record);
  }
  candidates.assign(kept.rbegin(), kept.rend());
}

}  // namespace hivequarry

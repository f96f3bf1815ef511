// The first pass of carving: the whole file once, from its start to its end.

#include <algorithm>
#include <cstring>
#include <unordered_map>

#include "cases/carving.h"
#include "cases/lznt1.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "host/shortfalls.h"
#include "records/base_block.h"
#include "records/bin_header.h"

namespace hivequarry {
namespace {

constexpr size_t kRead = 512 * 1024;  // at a time
constexpr size_t kHeader = 64;        // that is looked at from a signature on
constexpr size_t kMostSleeps = 16;

constexpr uint32_t kPackedSignature = 0x65727078;  // "xpre", of "xpress"

struct Scan {
  CarveSource& source;
  bool keep_holes;
  SourceMarks& marks;
  std::unordered_map<uint64_t, size_t> runs = {};  // the last one at each distance
  uint64_t hole = 0;                               // where the zeros under way began
  bool in_hole = false;
};

// At most kMostCarved of each kind: what a file made to be found full of headers costs is bounded,
// and what is left out is a shortfall.
template <typename Item>
void Keep(std::vector<Item>& items, const Item& item) {
  if (items.size() < kMostCarved) {
    items.push_back(item);
  } else {
    NoteShortfall(Shortfall::kRows);
  }
}

// Versions 1.0 to 1.6; type 0 is a hive, 1 and 2 are logs of the old form, 6 is one of the new
// form; format 1 (direct memory load) is the only one there is. A signature alone is found by
// chance, or in programs that look for it.
bool IsPlausibleBase(ByteView header) {
  const uint32_t type = ReadU32(header, kBaseFileType);
  return ReadU32(header, kBaseMajor) == 1 && ReadU32(header, kBaseMinor) <= 6 &&
         (type <= 2 || type == 6) && ReadU32(header, kBaseFileFormat) == 1;
}

// True when the block goes on a run: it is where its own offset puts it.
bool GoesOn(BinRun& run, const BinHeader& bin, uint64_t position) {
  const bool same = position > run.start && bin.own_offset > run.own;
  // Between blocks of one distance a page or some may have been lost.
  constexpr uint64_t kMostLost = 256 * 1024;
  if (!same || position > std::max(run.end + kMostLost, run.vouched)) return false;
  run.last = position;
  run.end = std::max(run.end, position + bin.size);
  return true;
}

// Runs are kept by distance: the position in the file less the own offset is the same for all
// blocks of one hive that lie together, and differs for those of others. A block after a base block
// begins a run that may have a wide gap, as far as the base block says that its bins go.
void AddBin(Scan& scan, ByteView header, uint64_t position) {
  BinHeader bin;
  if (!ReadBinHeader(header, 0, bin) || bin.own_offset > kMostBins) return;
  const uint64_t distance = position - bin.own_offset;  // modulo 2^64
  const auto known = scan.runs.find(distance);
  SourceMarks& marks = scan.marks;
  if (known != scan.runs.end() && GoesOn(marks.runs[known->second], bin, position)) return;
  BinRun run = {position, position, position + bin.size, 0, bin.own_offset};
  const bool based = bin.own_offset == 0 && !marks.bases.empty() &&
                     marks.bases.back().position + kBaseBlockSize == position;
  if (based) run.vouched = position + marks.bases.back().length;
  if (marks.runs.size() < kMostCarved) scan.runs[distance] = marks.runs.size();
  Keep(marks.runs, run);
}

// The second hash is of the header's first 32 bytes, so that it tells an entry from bytes that look
// like one without a look at its pages. Entries inside of others' pages are kept up to four deep.
void AddEntry(SourceMarks& marks, ByteView header, uint64_t position) {
  if (header.size() < kLogEntryHeader) return;
  const LogEntryHeader entry = ReadLogEntryHeader(header, 0);
  const bool sound = entry.size >= kLogUnit && entry.size % kLogUnit == 0 &&
                     LogHash(header.first(32)) == entry.hash2;
  if (!sound) return;
  constexpr size_t kMost = 4;  // entries that one may be inside of
  const size_t open = std::min(kMost, marks.entries.size());
  size_t inside = 0;
  for (size_t i = 1; i <= open; ++i) {
    FileRange& run = marks.entries[marks.entries.size() - i];
    const uint64_t end = run.position + run.size;
    if (position == end) {
      run.size += entry.size;
      return;
    }
    inside += position < end ? 1 : 0;
  }
  if (inside < kMost) Keep(marks.entries, FileRange{position, entry.size});
}

void AddPacked(Scan& scan, uint32_t signature, uint64_t position) {
  constexpr uint64_t kSector = 512;
  constexpr uint64_t kStoreStep = 16;  // of compressed memory
  // After the header of a chunk that compressing did not make smaller, or of one and its flags.
  // A chunk begins at a sector's start, so the letters are at 2 (after the 16 bits of the header)
  // or at 3 (after a byte of flags too).
  const uint64_t before = position % kSector;
  const bool chunk = before == 2
                         ? ReadU16(scan.source.At(position - 2, 2), 0) == kPlainLznt1Chunk
                         : before == 3 && BeginsAsLznt1(scan.source.At(position - 3, 8), signature);
  if (chunk) Keep(scan.marks.packed, PackedAt{position - before, false});
  if (position % kStoreStep != 4 || signature != kBinSignature) return;
  // The first four are literals, and a page as a whole is less than one.
  // Flags go from the highest bit down: the top four are 0 where the letters are literals, and all
  // 32 are not, as 32 literals would gain nothing.
  const uint32_t flags = ReadU32(scan.source.At(position - 4, 4), 0);
  if (flags != 0 && flags >> 28 == 0) Keep(scan.marks.packed, PackedAt{position - 4, true});
}

// 0x81 0x81 "xpress" begins each block of such a file.
void AddSleep(Scan& scan, uint64_t position) {
  constexpr uint8_t kStart[] = {0x81, 0x81, 'x', 'p', 'r', 'e', 's', 's'};
  constexpr uint64_t kBefore = 2;
  if (position < kBefore) return;
  const ByteView bytes = scan.source.At(position - kBefore, sizeof kStart);
  if (bytes.size() < sizeof kStart || std::memcmp(bytes.data(), kStart, sizeof kStart) != 0) return;
  ++scan.marks.sleep_count;
  if (scan.marks.sleeps.size() < kMostSleeps) scan.marks.sleeps.push_back(position - kBefore);
}

// By the four bytes met. Base blocks and bins may also begin the plain part of a packed stretch.
void UseHit(Scan& scan, uint32_t signature, ByteView header, uint64_t position) {
  if (signature == kHiveSignature) {
    if (IsPlausibleBase(header)) {
      Keep(scan.marks.bases,
           BaseBlockAt{position, ReadU32(header, kBaseFileType), ReadU32(header, kBaseLength)});
    }
    AddPacked(scan, signature, position);
  } else if (signature == kBinSignature) {
    AddBin(scan, header, position);
    AddPacked(scan, signature, position);
  } else if (signature == kLogEntrySignature) {
    AddEntry(scan.marks, header, position);
  } else {
    AddSleep(scan, position);
  }
}

// A signature, at an offset in the window.
struct Hit {
  size_t at;
  uint32_t signature;
};

// --- where signatures begin ----------------------------------------------------------------------

constexpr size_t kStretch = 64;  // places that are decided on together

// What compares as equal is 0xFF, all else 0.
using Lanes = uint8_t __attribute__((vector_size(16)));
using WideLanes = uint8_t __attribute__((vector_size(32)));

template <typename Vector>
__attribute__((always_inline)) inline bool IsAnySet(const Vector& lanes) {
  uint64_t parts[sizeof(Vector) / sizeof(uint64_t)];
  std::memcpy(parts, &lanes, sizeof parts);
  uint64_t any = 0;
  for (const uint64_t part : parts) any |= part;
  return any != 0;
}

// The first of `count` stretches in which something may begin; `count` where nothing does. "regf",
// "hbin", "HvLE" and "xpre" begin with one of "rhHx" and go on with one of "ebvp": one compare is
// for "hHx" (and "X"), one for the second letters (and twelve other bytes). Of random places one in
// 800 passes, of text many. Inlined, since wide variables are no parameters of plain functions.
template <typename Vector>
__attribute__((always_inline)) inline size_t FirstOf(const uint8_t* at, size_t count) {
  for (size_t stretch = 0; stretch < count; ++stretch, at += kStretch) {
    Vector any = {};
    for (size_t i = 0; i < kStretch; i += sizeof(Vector)) {
      Vector first;
      Vector second;
      std::memcpy(&first, at + i, sizeof first);
      std::memcpy(&second, at + i + 1, sizeof second);
      any |= reinterpret_cast<Vector>(((first & 0xCF) == 0x48) | (first == 'r')) &
             reinterpret_cast<Vector>((second & 0xE8) == 0x60);
    }
    if (IsAnySet(any)) return stretch;
  }
  return count;
}

size_t FirstStretch(const uint8_t* at, size_t count) { return FirstOf<Lanes>(at, count); }

// The Windows compiler puts 32-byte variables on a stack that it aligns to 16 alone.
#if defined(__x86_64__) && !defined(_WIN32)
#define HIVEQUARRY_WIDE_LANES 1
#endif

#ifdef HIVEQUARRY_WIDE_LANES
// With twice as many bytes at a time, where the processor can.
__attribute__((target("avx2"))) size_t FirstStretchWide(const uint8_t* at, size_t count) {
  return FirstOf<WideLanes>(at, count);
}
#endif

using FirstStretchFunction = size_t (*)(const uint8_t* at, size_t count);
// The same answers by either: only the number of bytes looked at together differs.
FirstStretchFunction FastestFirstStretch() {
#ifdef HIVEQUARRY_WIDE_LANES
  if (__builtin_cpu_supports("avx2")) return FirstStretchWide;
#endif
  return FirstStretch;
}

// By the two letters of each that are seldom next to each other elsewhere.
bool MayHold(const uint8_t* at) {
  const auto equal = [at](size_t from, uint8_t letter) {
    Lanes lanes;
    std::memcpy(&lanes, at + from, sizeof lanes);
    return reinterpret_cast<Lanes>(lanes == letter);
  };
  Lanes any = {};
  for (size_t i = 0; i < kStretch; i += sizeof(Lanes)) {
    any |= equal(i + 2, 'g') & equal(i + 3, 'f');
    any |= (equal(i + 1, 'b') & equal(i + 2, 'i')) | (equal(i + 1, 'v') & equal(i + 2, 'L'));
    any |= equal(i, 'x') & equal(i + 1, 'p');
  }
  return IsAnySet(any);
}

// At every byte, for the ends of a buffer that the fast search leaves out.
void FindEach(ByteView bytes, size_t from, size_t to, std::vector<Hit>& hits) {
  for (size_t at = from; at < to && bytes.size() - at >= sizeof(uint32_t); ++at) {
    const uint32_t signature = LoadU32(bytes.data() + at);
    if (signature == kHiveSignature || signature == kBinSignature ||
        signature == kLogEntrySignature || signature == kPackedSignature) {
      hits.push_back({at, signature});
    }
  }
}

// Those that begin in [from, to) of the view; there may be less than a header after them.
void FindHits(ByteView bytes, size_t from, size_t to, std::vector<Hit>& hits) {
  static const FirstStretchFunction first_stretch = FastestFirstStretch();
  constexpr size_t kAfter = sizeof(uint32_t) - 1;  // the last signature goes on after a stretch
  while (from < to && bytes.size() - from >= kStretch + kAfter) {
    const size_t readable = (bytes.size() - from - kAfter) / kStretch;
    const size_t wanted = (to - from + kStretch - 1) / kStretch;
    const size_t count = std::min(readable, wanted);
    const size_t plain = first_stretch(bytes.data() + from, count);
    from += plain * kStretch;
    if (plain == count) continue;
    const size_t end = std::min(to, from + kStretch);
    if (MayHold(bytes.data() + from)) FindEach(bytes, from, end, hits);
    from = end;
  }
  FindEach(bytes, from, to, hits);
}

void EndHole(Scan& scan, uint64_t end) {
  if (!scan.in_hole) return;
  scan.in_hole = false;
  if (end - scan.hole < kPageSize) return;  // the end of the file
  ++scan.marks.hole_count;
  scan.marks.zeros += end - scan.hole;
  if (scan.keep_holes) Keep(scan.marks.holes, FileRange{scan.hole, end - scan.hole});
}

// The first byte is 0 and each is as the one before it. `size` is at least 1.
bool IsZero(const uint8_t* bytes, size_t size) {
  return bytes[0] == 0 && std::memcmp(bytes, bytes + 1, size - 1) == 0;
}

// The view begins at `position`; signatures that begin in its first `usable` bytes are looked at.
// All but its `old` first bytes were read now: whole pages, but for the end of the file.
void LookThrough(Scan& scan, ByteView bytes, size_t usable, size_t old, uint64_t position) {
  std::vector<Hit> hits;
  size_t from = 0;  // of the stretch that is not zeros
  for (size_t page = old; page < bytes.size(); page += kPageSize) {
    const size_t size = std::min<size_t>(kPageSize, bytes.size() - page);
    const bool zero = IsZero(bytes.data() + page, size);
    if (!zero) {
      EndHole(scan, position + page);
      continue;
    }
    if (from < page) FindHits(bytes, from, std::min(page, usable), hits);
    from = page + size;
    if (!scan.in_hole) scan.hole = position + page;
    scan.in_hole = true;
  }
  if (from < usable) FindHits(bytes, from, usable, hits);
  for (const Hit& hit : hits) {
    UseHit(scan, hit.signature, bytes.subspan(hit.at), position + hit.at);
  }
}

// Passes over pages that the file system keeps no bytes of.
// Counted as zeros, as what a reader would get. Only from a page's start, and only to one or to the
// file's end, so that the pages of a hole are whole.
bool SkipHole(Scan& scan, uint64_t& at) {
  const uint64_t data = NextFileData(scan.source.stream(), at, scan.source.size());
  const uint64_t end = data == scan.source.size() ? data : data / kPageSize * kPageSize;
  if (end <= at || at % kPageSize != 0) return false;
  if (!scan.in_hole) scan.hole = at;
  scan.in_hole = true;
  at = end;
  return true;
}

}  // namespace

// A header may begin in one read and end in the next: the last kHeader bytes of each read are
// looked at with the next one, from the buffer's start.
void ScanSource(CarveSource& source, bool keep_holes, SourceMarks& marks) {
  const Host& host = CurrentHost();
  ShowStatus("Reading File ...");
  host.progress_range(host.context, 100);
  Scan scan{source, keep_holes, marks};
  std::vector<uint8_t> buffer(kHeader + kRead);
  size_t old = 0;  // bytes at the buffer's start that wait for those after them
  for (uint64_t at = 0; at < source.size() && !StopRequested();) {
    if (old == 0 && SkipHole(scan, at)) continue;
    const auto wanted = static_cast<size_t>(std::min<uint64_t>(kRead, source.size() - at));
    const size_t got =
        ReadFileBytes(source.stream(), at, buffer.data() + old, wanted, &marks.unread);
    const bool last = got < kRead || at + got == source.size();
    const size_t filled = old + got;
    // Zeros at the end are waited for by nobody.
    const bool ended = last || IsZero(buffer.data() + filled - kHeader, kHeader);
    const size_t usable = ended ? filled : filled - kHeader;
    if (got != 0) LookThrough(scan, ByteView(buffer).first(filled), usable, old, at - old);
    if (got < wanted) break;
    std::memmove(buffer.data(), buffer.data() + usable, filled - usable);
    old = filled - usable;
    at += got;
    host.progress_position(host.context, static_cast<uint32_t>(at * 100 / source.size()));
  }
  EndHole(scan, source.size());
  host.progress_range(host.context, 0);
}

}  // namespace hivequarry

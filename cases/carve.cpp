#include "cases/carve.h"

#include <algorithm>
#include <map>

#include "cases/carving.h"
#include "hive/timestamp.h"
#include "host/evidence.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "host/shortfalls.h"
#include "host/visible_text.h"
#include "lists/list_rows.h"
#include "records/base_block.h"

namespace hivequarry {

int CarveSource::Open(const std::string& name) {
  int error = 0;
  stream_.reset(OpenFile(name, "rb", error));
  if (stream_ == nullptr) return error;
  size_ = static_cast<uint64_t>(std::max<int64_t>(FileSize(stream_.get()), 0));
  return 0;
}

ByteView CarveSource::At(uint64_t position, uint32_t size) {
  constexpr uint32_t kWindow = 256 * 1024;
  if (position >= size_) return {};
  size = static_cast<uint32_t>(std::min<uint64_t>(size, size_ - position));
  if (!memory_.empty()) return memory_.subspan(static_cast<size_t>(position), size);
  const uint64_t end = start_ + window_.size();
  if (position < start_ || position > end || end - position < size) {
    window_.resize(std::max(size, kWindow));
    start_ = position;
    window_.resize(ReadFileBytes(stream_.get(), position, window_.data(), window_.size()));
  }
  const auto at = static_cast<size_t>(position - start_);
  return ByteView(window_).subspan(at, std::min<size_t>(size, window_.size() - at));
}

// --- words ---------------------------------------------------------------------------------------

namespace {

std::string PlaceWords(uint64_t position) { return Concat({"0x", Hex(position, 8)}); }

uint64_t BytesOf(const std::vector<FileRange>& ranges) {
  uint64_t bytes = 0;
  for (const FileRange& range : ranges) bytes += range.size;
  return bytes;
}

void AddWords(std::string& why, const std::string& words) {
  why += why.empty() ? words : "; " + words;
}

// Without a base block the offsets are all that tells how much of a hive it is; with one its length
// is held against what is there.
void AddBaseWords(std::string& why, const HivePiece& piece, uint32_t own_end) {
  if (!piece.base) {
    AddWords(why, Concat({"own offsets ", PlaceWords(piece.own), " to ", PlaceWords(own_end)}));
    return;
  }
  const char* const signature = piece.snapshot  ? " of a snapshot"
                                : piece.letters ? ""
                                                : " with a damaged signature";
  AddWords(why,
           Concat({"base block", signature, ", checksum ", piece.checksum ? "right" : "wrong"}));
  const int64_t missing = int64_t{piece.claimed} - own_end;
  if (missing == 0) AddWords(why, "as long as it says");
  if (missing > 0) AddWords(why, std::to_string(missing) + " bytes shorter than it says");
  if (missing < 0) AddWords(why, std::to_string(-missing) + " bytes longer than it says");
}

// What of the piece is not as a system wrote it, counted.
void AddBlockWords(std::string& why, const HivePiece& piece) {
  const auto blocks = [](uint32_t count) {
    return std::to_string(count) + (count == 1 ? " block" : " blocks");
  };
  if (piece.whole != 0) AddWords(why, blocks(piece.whole) + " filled by cells");
  if (piece.broken != 0) AddWords(why, blocks(piece.broken) + " damaged or cut");
  if (!piece.zeros.empty()) {
    AddWords(why, std::to_string(BytesOf(piece.zeros)) + " bytes are zeros");
  }
  if (!piece.foreign.empty()) {
    AddWords(why, std::to_string(BytesOf(piece.foreign)) + " bytes between blocks are others'");
  }
  if (piece.inside) AddWords(why, "inside a block of what begins at " + PlaceWords(piece.outer));
}

// Certain only with a base block whose checksum is right and all blocks that it claims: nothing is
// missing then, and nothing of another file is between.
Sureness SurenessOf(const HivePiece& piece) {
  if (piece.complete() && piece.checksum) return Sureness::kCertain;
  return piece.whole != 0 ? Sureness::kLikely : Sureness::kPossible;
}

}  // namespace

Carved CarvedOf(const HivePiece& piece) {
  Carved carved;
  carved.kind = piece.complete()               ? CarvedKind::kHive
                : piece.base || piece.own == 0 ? CarvedKind::kCutHive
                                               : CarvedKind::kFragment;
  carved.sure = SurenessOf(piece);
  carved.base = piece.base;
  carved.parts = {{piece.start, piece.end - piece.start}};
  carved.length = piece.end - piece.start;
  carved.keys = piece.keys;
  carved.root = piece.root;
  carved.stored_name = piece.stored_name;
  carved.last_write = piece.last_write;
  AddBaseWords(carved.why, piece, piece.own_end());
  AddBlockWords(carved.why, piece);
  return carved;
}

Carved CarvedOf(const std::vector<HivePiece>& pieces, const std::vector<uint32_t>& chain) {
  const HivePiece& first = pieces[chain.front()];
  Carved carved = CarvedOf(first);
  carved.kind = CarvedKind::kJoined;
  carved.sure = Sureness::kLikely;
  carved.parts.clear();
  carved.keys = 0;
  carved.length = 0;
  for (const uint32_t number : chain) {
    const HivePiece& piece = pieces[number];
    carved.parts.push_back({piece.start, piece.end - piece.start});
    carved.length += piece.end - piece.start;
    carved.keys += piece.keys;
    if (piece.root_found && !first.root_found) carved.root = piece.root;
  }
  carved.why = std::to_string(chain.size()) + " pieces, by own offsets and references";
  AddBaseWords(carved.why, first, pieces[chain.back()].own_end());
  return carved;
}

// --- the whole -----------------------------------------------------------------------------------

namespace {

// What the steps share. Order matters: logs first, since their pages hold copies of blocks that
// would else be found as pieces of hives; then what is compressed; then pieces; base blocks that
// none of these used last.
struct Carving {
  CarveSource& source;
  SourceMarks marks;
  std::vector<HivePiece> pieces;
  std::vector<Carved> others;          // logs and what is compressed
  std::map<uint64_t, uint64_t> owned;  // starts and ends of what these are
};

// Where what owns the position ends; the position itself where nobody does.
uint64_t EndOfOwner(const Carving& carving, uint64_t position) {
  const auto after = carving.owned.upper_bound(position);
  return after == carving.owned.begin() ? position : std::max(position, std::prev(after)->second);
}

// Where two owners begin at one place the longer one counts.
void Own(Carving& carving, const std::vector<FileRange>& ranges) {
  for (const FileRange& range : ranges) {
    uint64_t& end = carving.owned[range.position];
    end = std::max(end, range.position + range.size);
  }
}

// Blocks of a sleeping system's memory become one row, however many there are: they are told of,
// not unpacked.
void FindPacked(Carving& carving) {
  for (const PackedAt& at : carving.marks.packed) {
    Carved carved;
    const bool taken = EndOfOwner(carving, at.position) != at.position;
    if (taken || StopRequested() || !ExaminePacked(carving.source, at, carved, nullptr)) continue;
    Own(carving, carved.parts);
    carving.others.push_back(std::move(carved));
  }
  if (carving.marks.sleeps.empty()) return;
  Carved carved;
  carved.kind = CarvedKind::kPackedSleep;
  carved.sure = Sureness::kLikely;
  carved.parts = {{carving.marks.sleeps.front(), 0}};
  carved.why = std::to_string(carving.marks.sleep_count) + " compressed blocks, not read";
  carving.others.push_back(std::move(carved));
}

void OwnFrom(Carving& carving, size_t first) {
  for (size_t i = first; i < carving.others.size(); ++i) Own(carving, carving.others[i].parts);
}

// With their base blocks first; what is left of the runs of entries is without one. The guard
// bounds how many logs at overlapping places are followed to their ends.
void FindLogs(Carving& carving) {
  NestGuard guard;
  for (const BaseBlockAt& base : carving.marks.bases) {
    const uint64_t first = base.position + kLogUnit;
    const ByteView entry = carving.source.At(first, kLogEntryHeader);
    const uint64_t end = first + ReadLogEntryHeader(entry, 0).size;
    if (base.type == 0 || StopRequested()) continue;
    if (EndOfOwner(carving, base.position) != base.position) continue;
    if (!guard.MayEnter(base.position)) continue;
    guard.Add(end);
    const size_t before = carving.others.size();
    ExamineLogAt(carving.source, base, carving.others);
    OwnFrom(carving, before);
  }
  for (const FileRange& run : carving.marks.entries) {
    const uint64_t from = EndOfOwner(carving, run.position);
    if (from >= run.position + run.size || StopRequested()) continue;
    const size_t before = carving.others.size();
    ExamineEntries(carving.source, {from, run.position + run.size - from}, carving.others);
    OwnFrom(carving, before);
  }
}

// What only looks like a header: in the data of others, or at a place where no file has one, and
// with nothing after it.
bool IsNone(const HivePiece& piece) {
  constexpr uint64_t kSector = 512;
  if (piece.whole != 0) return false;
  const bool bare = piece.cells == 0 && piece.start % kSector != 0;
  return piece.broken == 0 || piece.inside || bare;
}

// Runs come in ascending order of their starts, so that a piece's outer ones are known before it.
// Only pieces without a break count as outer: of one with gaps it is not known whose bytes are in
// them.
void FindPieces(Carving& carving) {
  struct Outer {
    uint64_t start, end;
  };
  std::vector<Outer> outers;  // sound pieces that may have others inside
  NestGuard guard;
  for (const BinRun& run : carving.marks.runs) {
    if (StopRequested()) return;
    if (!guard.MayEnter(run.start)) continue;
    HivePiece piece = ExamineRun(carving.source, run, EndOfOwner(carving, run.start));
    guard.Add(std::max(piece.end, run.last));
    std::erase_if(outers, [&](const Outer& outer) { return outer.end <= piece.start; });
    for (const Outer& outer : outers) {
      if (piece.end > outer.end) continue;
      piece.inside = true;
      piece.outer = outer.start;
    }
    if (IsNone(piece)) continue;
    if (piece.broken == 0 && piece.foreign.empty()) outers.push_back({piece.start, piece.end});
    carving.pieces.push_back(std::move(piece));
  }
}

// Base blocks of hives that no piece begins with. Only a right checksum makes one worth a row, as
// nothing after it speaks for it.
void AddBaseBlocks(Carving& carving, std::vector<Carved>& found) {
  std::vector<uint64_t> used;
  for (const HivePiece& piece : carving.pieces) {
    if (piece.base) used.push_back(piece.start);
  }
  std::ranges::sort(used);
  for (const BaseBlockAt& at : carving.marks.bases) {
    if (at.type != 0 || std::ranges::binary_search(used, at.position)) continue;
    if (EndOfOwner(carving, at.position) != at.position) continue;
    const ByteView bytes = carving.source.At(at.position, kBaseUsed);
    const BaseBlock base = ReadBaseBlock(bytes);
    if (bytes.size() < kBaseUsed || base.checksum != BaseBlockChecksum(bytes)) continue;
    Carved carved;
    carved.kind = CarvedKind::kBaseBlock;
    carved.sure = Sureness::kLikely;
    carved.length = std::min<uint64_t>(kBaseBlockSize, carving.source.size() - at.position);
    carved.parts = {{at.position, carved.length}};
    carved.stored_name = TextOfWide(base.file_name);
    carved.last_write = base.last_write;
    carved.why = "checksum right; no block follows";
    found.push_back(std::move(carved));
  }
}

// A joined one is told of once as a whole, then each of its parts, in the chain's order.
void AddPieces(Carving& carving, std::vector<Carved>& found) {
  const auto chains = JoinPieces(carving.source, carving.pieces);
  std::vector<const std::vector<uint32_t>*> chain_of(carving.pieces.size());
  for (const auto& chain : chains) {
    for (const uint32_t number : chain) chain_of[number] = &chain;
  }
  const auto add_chain = [&](const std::vector<uint32_t>& chain) {
    found.push_back(CarvedOf(carving.pieces, chain));
    for (const uint32_t number : chain) {
      found.push_back(CarvedOf(carving.pieces[number]));
      found.back().kind = CarvedKind::kPart;
    }
  };
  for (uint32_t i = 0; i < carving.pieces.size(); ++i) {
    const std::vector<uint32_t>* chain = chain_of[i];
    if (chain == nullptr) found.push_back(CarvedOf(carving.pieces[i]));
    if (chain != nullptr && chain->front() == i) add_chain(*chain);
  }
}

// Ranges that are what they are by one test: a find each, without doubt.
void AddRanges(const std::vector<FileRange>& ranges, CarvedKind kind, const char* why,
               std::vector<Carved>& found) {
  for (const FileRange& range : ranges) {
    Carved carved;
    carved.kind = kind;
    carved.sure = Sureness::kCertain;
    carved.parts = {range};
    carved.length = range.size;
    carved.why = why;
    found.push_back(std::move(carved));
  }
}

// By position; the parts of a joined one stay after it.
void SortByPosition(std::vector<Carved>& found) {
  struct Place {
    uint64_t group;
    uint32_t number;
  };
  std::vector<Place> order;
  uint64_t group = 0;
  for (uint32_t i = 0; i < found.size(); ++i) {
    if (found[i].kind != CarvedKind::kPart) group = found[i].parts.front().position;
    order.push_back({group, i});
  }
  std::ranges::stable_sort(order, {}, &Place::group);
  std::vector<Carved> sorted;
  sorted.reserve(found.size());
  for (const Place& place : order) sorted.push_back(std::move(found[place.number]));
  found = std::move(sorted);
}

}  // namespace

CarvedFile CarveFile(const std::string& name, const CarveOptions& options) {
  CarvedFile carved;
  carved.name = name;
  CarveSource source;
  carved.error = source.Open(name);
  if (carved.error != 0) return carved;
  carved.size = source.size();
  Carving carving{source, {}, {}, {}, {}};
  ScanSource(source, options.holes, carving.marks);
  ShowStatus("Examining what was found ...");
  // The order matters: what lies within a log or a packed file is no piece of a hive on the medium,
  // and a base block is listed by itself only where no piece begins with it.
  FindLogs(carving);
  FindPacked(carving);
  FindPieces(carving);
  std::vector<Carved>& found = carved.found;
  AddPieces(carving, found);
  found.insert(found.end(), carving.others.begin(), carving.others.end());
  AddBaseBlocks(carving, found);
  // Without the option, of all zeros of a medium only those within a hive are of interest.
  if (!options.holes) {
    for (const HivePiece& piece : carving.pieces) {
      AddRanges(piece.zeros, CarvedKind::kHole, "zeros where blocks of a hive were", found);
    }
  }
  AddRanges(carving.marks.holes, CarvedKind::kHole, "zeros", found);
  AddRanges(carving.marks.unread.ranges, CarvedKind::kUnread, "the medium does not give it", found);
  SortByPosition(found);
  carved.unread = std::move(carving.marks.unread);
  carved.zeros = carving.marks.zeros;
  carved.holes = carving.marks.hole_count;
  return carved;
}

// --- the list ------------------------------------------------------------------------------------

namespace {

// In the order of CarvedKind; kSureWords in that of Sureness.
constexpr const char* kKindWords[] = {"hive",
                                      "hive, cut",
                                      "fragment",
                                      "hive, joined",
                                      "part of it",
                                      "base block",
                                      "log",
                                      "entries of a log",
                                      "compressed hive",
                                      "compressed page",
                                      "sleeping memory",
                                      "hole",
                                      "unread"};
constexpr const char* kSureWords[] = {"certain", "likely", "possible"};

}  // namespace

OutputListPtr ListCarved(const CarvedFile& carved) {
  OutputListPtr list = MakeOutputList(kListCarved);
  SetListSource(*list, carved.name);
  for (const Carved& each : carved.found) {
    const uint64_t position = each.parts.front().position;
    const bool counts = each.keys != 0 || each.hive();
    const std::string date = each.last_write == 0 ? "" : FormatTimestampChecked(each.last_write);
    AddListRow(*list,
               {kKindWords[static_cast<size_t>(each.kind)],
                {PlaceWords(position), position},
                {std::to_string(each.length), each.length},
                each.root,
                counts ? std::to_string(each.keys) : std::string(),
                kSureWords[static_cast<size_t>(each.sure)],
                each.why,
                ShownValueName(each.stored_name),
                {date, date.empty() ? kNoValue : DateValue(each.last_write)},
                each.file},
               kNoOffset);
  }
  return list;
}

}  // namespace hivequarry

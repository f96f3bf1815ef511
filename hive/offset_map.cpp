#include "hive/offset_map.h"

#include <algorithm>
#include <cstdlib>
#include <map>

#include "hive/byte_shifts.h"
#include "hive/moved_bytes.h"
#include "hive/moved_pages.h"
#include "hive/witnesses.h"
#include "records/bin_header.h"

namespace hivequarry {
namespace {

// Of stretches from which no offset leads anywhere.
// A distance of a hive is a multiple of 4 at most, and never this far: no stretch has it by itself.
constexpr uint32_t kNoDelta = 0x80000004;
// Shorter gaps lie inside one cell or two; what they held is missing there.
constexpr uint32_t kShortestGap = 64;

// What is left of a root key: its flags and some of its signature, or the start of a name that the
// system gives to roots. The size alone is that of many cells.
bool HasRootRemains(const HiveImage& hive, uint32_t position) {
  const bool n = ReadU8(hive, position + 4) == 'n';
  const bool k = ReadU8(hive, position + 5) == 'k';
  const uint8_t flags = ReadU8(hive, position + 6);
  if (flags == 0x2C ? n || k : n && k && flags != 0x20 && flags != 0) return true;
  const uint32_t name = ReadU32(hive, position + 80);
  return name == 0x50242424 || name == 0x2D494D43;  // "$$$P", "CMI-"
}

// --- the distance of the hive

// The distance at which most headers are, and how many do.
uint32_t MostVoted(const std::vector<BinHeader>& headers, uint32_t& count) {
  std::map<uint32_t, uint32_t> votes;
  for (const BinHeader& bin : headers) ++votes[bin.Distance()];
  uint32_t best = headers.front().Distance();
  for (const auto& [distance, said] : votes) {
    if (said > votes[best]) best = distance;
  }
  count = votes[best];
  return best;
}

// Records that are where others name them, with the headers that say the same.
uint32_t SupportOf(const Witnesses& witnesses, const std::vector<BinHeader>& headers,
                   uint32_t distance) {
  uint32_t support = 0;
  for (const BinHeader& bin : headers) support += bin.Distance() == distance;
  for (const Witness& record : witnesses.records) {
    support += Fits(witnesses, record, distance);
  }
  return support;
}

bool HasBaseBlock(const HiveImage& hive) {
  uint8_t signature[4] = {};
  ReadBytes(hive, 0, signature, sizeof(signature));
  return hive.header_valid && IsBaseBlockSignature(signature);
}

// The distance when headers contradict the base block, or each other.
// In this order: a base block with a header that agrees; a base block with bytes put in or lost
// after it; headers that agree with each other; then how many records are where others name them.
uint32_t WeighDistances(const HiveImage& hive, const std::vector<BinHeader>& headers,
                        bool& proven) {
  uint32_t count = 0;
  const uint32_t most = MostVoted(headers, count);
  proven = true;
  const bool stands = std::ranges::any_of(
      headers, [&](const BinHeader& bin) { return bin.Distance() == hive.data_start; });
  if (hive.header_valid && (stands || most == hive.data_start)) return hive.data_start;
  if (HasBaseBlock(hive) &&
      std::abs(int64_t{static_cast<int32_t>(most - hive.data_start)}) < int64_t{kLargestShift}) {
    return hive.data_start;  // bytes were put in, or lost, before the first block
  }
  if (count > 1) return most;
  const uint32_t distances[] = {most, hive.data_start};
  const Witnesses witnesses = FindWitnesses(ImageBytes(hive), distances);
  const uint32_t support = SupportOf(witnesses, headers, most);
  if (hive.header_valid && SupportOf(witnesses, headers, hive.data_start) >= support) {
    return hive.data_start;
  }
  // A single header may be wrong; where nothing agrees with it the keys have to say.
  constexpr size_t kManyRecords = 8;
  proven = support > 1 || witnesses.records.size() < kManyRecords;
  return most;
}

// --- what is no part of the hive

// Headers that follow each other at one distance that is not the hive's.
struct Strangers {
  uint32_t begin = 0;
  uint32_t end = 0;  // position of the next header, or where the last one's block ends
  uint32_t distance = 0;
  uint32_t headers = 0;
};

std::vector<Strangers> FindStrangers(const HiveImage& hive, const std::vector<BinHeader>& headers) {
  std::vector<Strangers> found;
  const auto on_page = [&](const BinHeader& bin) {
    return (bin.position - hive.data_base) % kPageSize == 0;
  };
  uint64_t own_end = 0;  // of the last whole block of the hive
  for (size_t i = 0; i < headers.size(); ++i) {
    const BinHeader& bin = headers[i];
    if (bin.Distance() == hive.data_base) {
      const auto next =
          std::find_if(headers.begin() + static_cast<ptrdiff_t>(i) + 1, headers.end(), on_page);
      const uint32_t end = next == headers.end() ? hive.length : next->position;
      const bool whole = IsWholeBlock(ImageBytes(hive), bin, end - bin.position);
      if (whole) own_end = uint64_t{bin.position} + bin.size;
      continue;
    }
    // Inside a block, where none can begin, is the header of a hive that is a value's data.
    if (!on_page(bin) && bin.position < own_end) continue;
    uint32_t end = i + 1 < headers.size() ? headers[i + 1].position : hive.length;
    end = static_cast<uint32_t>(std::min<uint64_t>(end, uint64_t{bin.position} + bin.size));
    const bool goes_on = !found.empty() && found.back().end == bin.position &&
                         found.back().distance == bin.Distance();
    if (goes_on) {
      found.back().end = end;
      ++found.back().headers;
    } else {
      found.push_back({bin.position, end, bin.Distance(), 1});
    }
  }
  return found;
}

// References of the stretch's records into itself that hold at its own distance.
// Some thousands are enough to tell; a large stretch has millions.
uint32_t HeldAmongThemselves(const HiveImage& hive, const Strangers& strangers) {
  constexpr size_t kMost = 4096;
  const std::span<const uint8_t> bytes = ImageBytes(hive);
  const std::span<const uint8_t> stretch =
      bytes.subspan(strangers.begin, strangers.end - strangers.begin);
  uint32_t held = 0;
  std::vector<Reference> references;
  for (const Witness& record : FindRecords(stretch)) {
    AddReferences(stretch, record, references);
    if (references.size() > kMost) break;
  }
  for (const Reference& reference : references) {
    const uint32_t inside = reference.offset + strangers.distance - strangers.begin;
    if (inside < stretch.size()) held += Agreement(stretch.subspan(inside), reference) != 0;
  }
  return held;
}

// Whether headers at another distance are another hive's, or blocks of this one that were moved: by
// what this hive's records find there, against what the stretch's own find in itself.
struct Verdict {
  const HiveImage& hive;
  const Pages pages;
  const std::vector<PageFit> fits;
  uint32_t own_end = 0;  // after the last block at the hive's distance

  // What the hive's own cells ask for in [begin, end), and what of it they find there.
  PageFit FitOf(uint32_t begin, uint32_t end) const {
    PageFit sum;
    for (uint32_t p = begin; p < end; p += kPageSize) {
      const uint32_t page = (p - pages.first) / kPageSize;
      if (p < pages.first || page >= fits.size()) continue;
      sum.asked += fits[page].asked;
      sum.held += fits[page].held;
    }
    return sum;
  }

  // Bytes that were put in are foreign whatever they hold. Else what the hive's cells find there is
  // held against what the strangers' cells find among themselves. Where neither finds anything, a
  // single odd header amid the hive is a damaged header; several, or one after the hive's end, are
  // not.
  bool AreForeign(const Strangers& strangers) const {
    constexpr uint32_t kFew = 3;
    if (hive.places.own_end != 0 && strangers.begin >= hive.places.own_end) return true;
    const PageFit fit = FitOf(strangers.begin, strangers.end);
    const uint32_t among = HeldAmongThemselves(hive, strangers);
    if (fit.held == 0 && among == 0) {
      return strangers.headers > 1 || strangers.begin >= own_end || fit.asked >= kFew;
    }
    if (fit.asked >= kFew && fit.held * 4 < fit.asked) return true;
    return among > fit.held;
  }
};

// `own_end` becomes the end of the last bin at the hive's own distance: what is after it can only
// be foreign or lost.
Verdict PrepareVerdict(const HiveImage& hive, const std::vector<BinHeader>& headers) {
  const uint32_t own =
      hive.places.own_end != 0 ? std::min(hive.places.own_end, hive.length) : hive.length;
  const Pages pages = PagesOf(hive.data_base, own, own);
  Verdict verdict{hive, pages, FitPages(ImageBytes(hive).first(own), pages), 0};
  for (const BinHeader& bin : headers) {
    if (bin.Distance() == hive.data_base) verdict.own_end = bin.position + bin.size;
  }
  return verdict;
}

// Runs come in ascending order; one that begins inside the last is left out, and what is between
// two is the hive's own.
void AddRun(HiveImage& hive, uint32_t begin, uint32_t end, uint32_t delta) {
  end = std::min(end, hive.length);
  if (begin >= end) return;
  std::vector<OffsetRun>& runs = hive.offset_runs;
  const uint32_t done = runs.empty() ? 0 : runs.back().end;
  if (begin < done) return;
  if (begin > done) runs.push_back({done, begin, hive.data_base, false});
  runs.push_back({begin, end, delta, true});
}

// The pages of a foreign stretch, but for those in which the hive finds its own: a block of the
// hive may go on after a foreign page in it.
void AddForeign(const Verdict& verdict, const Strangers& strangers, std::vector<OffsetRun>& runs) {
  uint32_t begin = strangers.begin;
  for (uint32_t p = strangers.begin; p < strangers.end; p += kPageSize) {
    BinHeader bin;
    const PageFit fit = verdict.FitOf(p, p + 1);
    const bool header = ReadBinHeader(ImageBytes(verdict.hive), p, bin);
    if (header || fit.asked == 0 || fit.held * 2 < fit.asked) continue;
    if (p > begin) runs.push_back({begin, p, strangers.distance, true});
    begin = p + kPageSize;
  }
  if (begin < strangers.end) runs.push_back({begin, strangers.end, strangers.distance, true});
}

// All stretches that are another hive's, ascending.
std::vector<OffsetRun> ForeignStretches(const HiveImage& hive) {
  std::vector<OffsetRun> runs;
  const std::vector<BinHeader> headers = FindBinHeaders(ImageBytes(hive));
  const std::vector<Strangers> strangers = FindStrangers(hive, headers);
  if (strangers.empty()) return runs;
  const Verdict verdict = PrepareVerdict(hive, headers);
  for (const Strangers& group : strangers) {
    if (verdict.AreForeign(group)) AddForeign(verdict, group, runs);
  }
  return runs;
}

// The parts of [begin, end) outside the foreign stretches: a block's header says more of its bytes
// than that they were put in.
void AddGap(uint32_t begin, uint32_t end, size_t strangers, std::vector<OffsetRun>& runs) {
  const auto before = [&](const OffsetRun& run) { return run.end <= begin; };
  const auto all = runs.begin() + static_cast<ptrdiff_t>(strangers);
  auto first = static_cast<size_t>(std::partition_point(runs.begin(), all, before) - runs.begin());
  for (; first < strangers && runs[first].position < end; ++first) {
    const OffsetRun stranger = runs[first];
    if (stranger.position > begin) runs.push_back({begin, stranger.position, kNoDelta, true});
    begin = stranger.end;
  }
  if (begin < end) runs.push_back({begin, end, kNoDelta, true});
}

// Adds stretches without bytes of the file, and what was put in, to the foreign ones.
void AddGaps(const HiveImage& hive, std::vector<OffsetRun>& runs) {
  const size_t strangers = runs.size();
  const std::vector<ImagePiece>& pieces = hive.places.pieces;
  for (size_t i = 0; i < pieces.size(); ++i) {
    const uint32_t end = i + 1 < pieces.size() ? pieces[i + 1].position : hive.length;
    const uint32_t begin = (pieces[i].position + 7) / 8 * 8;
    const bool gap =
        pieces[i].kind == PieceKind::kMissing && end > begin && end - begin >= kShortestGap;
    if (gap || pieces[i].kind == PieceKind::kSpare) AddGap(begin, end, strangers, runs);
  }
}

// Only where there are runs. A position before the first is in it, one after the last in that.
const OffsetRun& RunAt(const HiveImage& hive, uint32_t position) {
  const auto after =
      std::upper_bound(hive.offset_runs.begin(), hive.offset_runs.end(), position,
                       [](uint32_t wanted, const OffsetRun& run) { return wanted < run.position; });
  return after == hive.offset_runs.begin() ? *after : *std::prev(after);
}

}  // namespace

// The usual case costs one look: a base block with the header of offset 0 where it should be.
bool FindDataBase(HiveImage& hive) {
  BinHeader bin;
  if (hive.header_valid && ReadBinHeader(ImageBytes(hive), hive.data_start, bin) &&
      bin.own_offset == 0) {
    hive.data_base = hive.data_start;
    hive.data_base_proven = true;
    return true;
  }
  const std::vector<BinHeader> headers = FindBinHeaders(ImageBytes(hive));
  if (headers.empty()) return HasRootRemains(hive, kFirstCellPosition);
  hive.data_base = WeighDistances(hive, headers, hive.data_base_proven);
  return !hive.header_valid || hive.data_base == hive.data_start;
}

void MapOffsets(HiveImage& hive) {
  hive.offset_runs.clear();
  if (hive.places.pieces.empty() && IsInOrder(hive)) return;
  std::vector<OffsetRun> foreign = ForeignStretches(hive);
  AddGaps(hive, foreign);
  std::ranges::sort(foreign, {}, &OffsetRun::position);
  for (const OffsetRun& run : foreign) AddRun(hive, run.position, run.end, run.delta);
  if (!hive.offset_runs.empty() && hive.offset_runs.back().end < hive.length) {
    hive.offset_runs.push_back({hive.offset_runs.back().end, hive.length, hive.data_base, false});
  }
}

void AddLayerRuns(const HiveImage& layer, uint32_t start, uint32_t end, bool top,
                  std::vector<OffsetRun>& runs) {
  if (layer.offset_runs.empty()) {
    runs.push_back({start, end, layer.data_base + start, !top});
    return;
  }
  for (OffsetRun run : layer.offset_runs) {
    run.position += start;
    run.end += start;
    if (run.delta != kNoDelta) run.delta += start;
    run.foreign = run.foreign || !top;
    runs.push_back(run);
  }
  runs.back().end = end;
}

// Offsets of the hive's own bytes lead to its own bytes, those of a foreign stretch into a stretch
// at the same distance, and all others nowhere.
uint32_t ResolveOffset(const HiveImage& hive, uint32_t offset, uint32_t field) {
  const OffsetRun& from = RunAt(hive, field);
  if (!from.foreign) {
    const uint32_t position = offset + hive.data_base;
    return RunAt(hive, position).foreign ? kNowhere : position;
  }
  if (from.delta == kNoDelta) return kNowhere;
  const uint32_t position = offset + from.delta;
  const OffsetRun& to = RunAt(hive, position);
  return to.foreign && to.delta == from.delta && position < hive.length ? position : kNowhere;
}

bool IsForeign(const HiveImage& hive, uint32_t position) {
  return !hive.offset_runs.empty() && RunAt(hive, position).foreign;
}

}  // namespace hivequarry

// The pages of entries put in their places, and what came from where.
//
// A page mostly repeats what is there already, so what is noted of it are its bytes that differ, by
// units of 8, the step of cells. Where several entries change the same bytes the last one counts.
#include <algorithm>
#include <cstring>
#include <optional>
#include <queue>
#include <set>

#include "host/long_operation.h"
#include "host/shortfalls.h"
#include "replay/hive_logs.h"

namespace hivequarry {
namespace {

// Cells begin at multiples of it, so a finer note would say no more of any record.
constexpr uint32_t kUnit = 8;

// The image being made. What is noted of changes is made short whenever it has become long, so that
// it is bounded by the image, not by the logs.
struct Target {
  uint8_t* bytes = nullptr;
  uint32_t bins_end = 0;          // position
  size_t file_end = 0;            // zeros that no file has are from here on
  size_t own_end = 0;             // up to here there are bytes of the file, where no page was put
  std::set<uint32_t> written;     // blocks of kBlock bytes in which pages were put
  std::vector<LoggedRange> runs;  // of overlapping ones the later counts that has the higher order
  size_t most_runs = TheLogBounds().runs;

  // Coarse on purpose: one number for many pages keeps the set small, and clearing a block too much
  // costs little.
  static constexpr uint32_t kBlock = 65536;
};

// Ranges come in ascending order; one that goes on in the hive and in the log alike becomes part of
// the last.
void AddRange(const LoggedRange& range, std::vector<LoggedRange>& ranges) {
  const bool goes_on =
      !ranges.empty() && ranges.back().end == range.position && ranges.back().step == range.step &&
      range.log_position - ranges.back().log_position == range.position - ranges.back().position;
  if (goes_on) {
    ranges.back().end = range.end;
  } else {
    ranges.push_back(range);
  }
}

// Of overlapping runs the parts that the last writer has. Each turn of the loop takes a run in or
// lets one go.
std::vector<LoggedRange> LastWriters(std::vector<LoggedRange>& runs) {
  std::ranges::stable_sort(runs, {}, &LoggedRange::position);
  const auto earlier = [&](uint32_t a, uint32_t b) {
    const bool same = runs[a].step == runs[b].step;
    return same ? runs[a].log_position < runs[b].log_position : runs[a].step < runs[b].step;
  };
  std::priority_queue<uint32_t, std::vector<uint32_t>, decltype(earlier)> open(earlier);
  std::vector<LoggedRange> ranges;
  uint32_t next = 0;
  for (uint32_t at = 0; next < runs.size() || !open.empty();) {
    if (open.empty()) at = std::max(at, runs[next].position);
    while (next < runs.size() && runs[next].position <= at) open.push(next++);
    const LoggedRange& run = runs[open.top()];
    uint32_t end = run.end;
    if (end <= at) {
      open.pop();
      continue;
    }
    if (next < runs.size()) end = std::min(end, runs[next].position);
    AddRange({at, end, run.log_position + (at - run.position), run.step}, ranges);
    at = end;
  }
  return ranges;
}

// Puts a piece of a page at a position, and notes where it differs.
// What is beyond the file's end counts as different, whatever the zeros there are, because no byte
// of the file says it.
void PutPiece(Target& target, uint32_t position, ByteView piece, uint32_t log_position,
              uint32_t step) {
  uint8_t* const to = target.bytes + position;
  const auto size = static_cast<uint32_t>(piece.size());
  bool open = false;
  for (uint32_t at = 0; at < size; at += kUnit) {
    const uint32_t unit = std::min(kUnit, size - at);
    const bool differs =
        position + at >= target.file_end || std::memcmp(to + at, piece.data() + at, unit) != 0;
    if (differs && !open) {
      target.runs.push_back({position + at, position + at, log_position + at, step});
    }
    if (differs) target.runs.back().end = position + at + unit;
    open = differs;
  }
  std::memcpy(to, piece.data(), size);
  for (uint32_t block = position / Target::kBlock; block <= (position + size - 1) / Target::kBlock;
       ++block) {
    target.written.insert(block);
  }
  if (target.runs.size() < target.most_runs) return;
  target.runs = LastWriters(target.runs);
  target.most_runs = std::max(TheLogBounds().runs, 2 * target.runs.size());
}

// False when its bytes can't be read again, or the user stops.
bool PutPage(Target& target, LogReader& reader, const LogPage& page, uint32_t step) {
  constexpr uint32_t kPiece = 256 * 1024;
  for (uint32_t done = 0; done < page.size;) {
    const uint32_t size = std::min(kPiece, page.size - done);
    const ByteView piece = reader.At(page.log_position + done, size);
    if (piece.size() < size || StopRequested()) return false;
    PutPiece(target, kBaseBlockSize + page.offset + done, piece, page.log_position + done, step);
    done += size;
  }
  return true;
}

// The bins end earlier: what was after that is gone, also should they grow again. Only what is not
// zeros yet is made so, as logs can have as many sizes as entries.
void ClearFrom(Target& target, uint32_t end) {
  if (end < target.own_end) {
    std::memset(target.bytes + end, 0, target.own_end - end);
    target.own_end = end;
  }
  const uint32_t first = end / Target::kBlock;
  for (auto block = target.written.lower_bound(first); block != target.written.end();) {
    const uint64_t begin = std::max<uint64_t>(uint64_t{*block} * Target::kBlock, end);
    const uint64_t stop = (uint64_t{*block} + 1) * Target::kBlock;
    const uint64_t most = std::max<uint64_t>(target.bins_end, end);
    if (begin < most) std::memset(target.bytes + begin, 0, std::min(stop, most) - begin);
    block = *block == first ? std::next(block) : target.written.erase(block);
  }
}

// Without what the file has there all the same, as it was changed back.
std::vector<LoggedRange> WithoutOwn(const std::vector<LoggedRange>& ranges, ByteView before,
                                    ByteView after) {
  std::vector<LoggedRange> kept;
  for (const LoggedRange& range : ranges) {
    bool open = false;
    const auto end = static_cast<uint32_t>(std::min<size_t>(range.end, after.size()));
    for (uint32_t at = range.position; at < end; at += kUnit) {
      const uint32_t size = std::min(kUnit, end - at);
      const bool same =
          IsInside(before, at, size) && std::memcmp(&before[at], &after[at], size) == 0;
      if (!same && !open) {
        kept.push_back({at, at, range.log_position + (at - range.position), range.step});
      }
      if (!same) kept.back().end = at + size;
      open = !same;
    }
  }
  return kept;
}

void SetU32(uint8_t* at, uint32_t value) {
  for (int i = 0; i < 4; ++i) at[i] = static_cast<uint8_t>(value >> 8 * i);
}

// What the base block becomes by these steps. Nothing else of it changes.
// As the system leaves it after it has replayed: both numbers are those of the entry applied last,
// the file is a hive's, and the checksum is that of the new fields. Of the entry's flags bit 0
// alone is taken. Where the hive's own checksum is wrong nothing of its base block can be relied
// on, so the log's copy takes its place.
void SetBaseBlock(const HiveLogs& logs, size_t steps, uint8_t* base) {
  const HiveLog& log = LogOf(logs, logs.steps[steps - 1]);
  const LogEntry& last = EntryOf(logs, logs.steps[steps - 1]);
  if (!logs.hive.checksum_right) std::memcpy(base, log.buffer.get(), kBaseUsed);
  if (log.form == LogForm::kOld) {
    struct Field {
      uint32_t at;
      uint32_t size;
    };
    constexpr Field kTaken[] = {{kBaseLastWrite, 8},
                                {kBaseMajor, 4},
                                {kBaseMinor, 4},
                                {kBaseRootOffset, 4},
                                {kBaseFlags, 4}};
    for (const Field& field : kTaken) {
      std::memcpy(base + field.at, log.buffer.get() + field.at, field.size);
    }
  } else {
    base[kBaseFlags] = static_cast<uint8_t>((base[kBaseFlags] & ~1U) | (last.flags & 1));
  }
  SetU32(base + kBaseSequence1, last.sequence);
  SetU32(base + kBaseSequence2, last.sequence);
  SetU32(base + kBaseFileType, 0);
  SetU32(base + kBaseLength, last.bins_size);
  SetU32(base + kBaseChecksum, BaseBlockChecksum({base, kBaseUsed}));
}

uint32_t BinsEnd(uint32_t bins_size) { return kBaseBlockSize + bins_size; }

// Where the bins end in the image before the first step. A base block that is wrong says nothing.
// Bytes of the file after that end are no part of the hive: an entry that makes it larger gets
// zeros there only where the bins had shrunk before.
uint32_t FirstBinsEnd(const HiveLogs& logs) {
  const bool known = logs.hive.checksum_right && logs.hive.base.length <= kMostBins;
  return known ? BinsEnd(logs.hive.base.length) : BinsEnd(EntryOf(logs, logs.steps[0]).bins_size);
}

}  // namespace

ReplayedImage ApplySteps(const HiveLogs& logs, ByteView before, size_t steps) {
  ReplayedImage image;
  uint64_t most = std::max<uint64_t>(before.size(), steps == 0 ? 0 : kBaseBlockSize);
  for (size_t i = 0; i < steps; ++i) {
    most = std::max<uint64_t>(most, BinsEnd(EntryOf(logs, logs.steps[i]).bins_size));
  }
  image.buffer = AllocateImage(most);
  if (!image.buffer) return image;
  std::copy(before.begin(), before.end(), image.buffer.get());
  std::memset(image.buffer.get() + before.size(), 0, most - before.size() + kImageSlack);
  image.length = static_cast<uint32_t>(before.size());
  if (steps == 0) return image;
  Target target;
  target.bytes = image.buffer.get();
  target.bins_end = FirstBinsEnd(logs);
  target.file_end = target.own_end = before.size();
  bool shrunk = false;
  bool read = true;
  UnreadBytes unread;
  std::optional<LogReader> reader;
  for (uint32_t i = 0; i < steps && !StopRequested(); ++i) {
    const LogEntry& entry = EntryOf(logs, logs.steps[i]);
    const HiveLog& log = LogOf(logs, logs.steps[i]);
    const uint32_t end = BinsEnd(entry.bins_size);
    if (end < target.bins_end) {
      shrunk = true;
      ClearFrom(target, end);
    }
    target.bins_end = end;
    if (!reader || &reader->log() != &log) reader.emplace(log, &unread);
    read &= ForEachPage(*reader, entry,
                        [&](const LogPage& page) { read &= PutPage(target, *reader, page, i); });
  }
  // Of a log that is read again here, and was whole when it was examined.
  if (!read || unread.count != 0) {
    NoteShortfall(Shortfall::kUnreadBytes, std::max<uint64_t>(unread.count, 1));
  }
  SetBaseBlock(logs, steps, image.buffer.get());
  image.length = shrunk ? target.bins_end : std::max(target.bins_end, image.length);
  image.cut = static_cast<uint32_t>(before.size()) -
              std::min(image.length, static_cast<uint32_t>(before.size()));
  const std::vector<LoggedRange> last = LastWriters(target.runs);
  image.changed = WithoutOwn(last, before, {image.buffer.get(), image.length});
  return image;
}

}  // namespace hivequarry

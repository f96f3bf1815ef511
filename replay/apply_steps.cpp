// The pages of entries put in their places, and what came from where.
//
// A page mostly repeats what is there already, so what is noted of it are its bytes that differ, by
// units of 8, the step of cells. Where several entries change the same bytes the last one counts.
#include <algorithm>
#include <cstring>
#include <queue>

#include "replay/hive_logs.h"

namespace hivequarry {
namespace {

constexpr uint32_t kUnit = 8;

// Bytes that one page changed. Of two runs the later one counts that has the higher order.
struct ChangedRun {
  uint32_t position = 0;
  uint32_t end = 0;
  uint32_t log_position = 0;
  uint32_t step = 0;
};

struct Target {
  uint8_t* bytes = nullptr;
  uint32_t bins_end = 0;  // position
  size_t file_end = 0;    // zeros that no file has are from here on
  std::vector<ChangedRun> runs;
};

void PutPage(Target& target, const HiveLog& log, const LogPage& page, uint32_t step) {
  uint8_t* const to = target.bytes + kBaseBlockSize + page.offset;
  const uint8_t* const from = log.buffer.get() + page.log_position;
  bool open = false;
  for (uint32_t at = 0; at < page.size; at += kUnit) {
    const uint32_t size = std::min(kUnit, page.size - at);
    const uint32_t position = kBaseBlockSize + page.offset + at;
    const bool differs = position >= target.file_end || std::memcmp(to + at, from + at, size) != 0;
    if (differs && !open) {
      target.runs.push_back({position, position, page.log_position + at, step});
    }
    if (differs) target.runs.back().end = position + size;
    open = differs;
  }
  std::memcpy(to, from, page.size);
}

// Of overlapping runs the parts that the last writer has. Each turn of the loop takes a run in or
// lets one go.
std::vector<LoggedRange> LastWriters(std::vector<ChangedRun>& runs) {
  std::ranges::stable_sort(runs, {}, &ChangedRun::position);
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
    const ChangedRun& run = runs[open.top()];
    uint32_t end = run.end;
    if (end <= at) {
      open.pop();
      continue;
    }
    if (next < runs.size()) end = std::min(end, runs[next].position);
    ranges.push_back({at, end, run.log_position + (at - run.position), run.step});
    at = end;
  }
  return ranges;
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
  Target target{image.buffer.get(), FirstBinsEnd(logs), before.size(), {}};
  bool shrunk = false;
  for (uint32_t i = 0; i < steps; ++i) {
    const LogEntry& entry = EntryOf(logs, logs.steps[i]);
    const HiveLog& log = LogOf(logs, logs.steps[i]);
    const uint32_t end = BinsEnd(entry.bins_size);
    if (end < target.bins_end) {  // what was there is gone, also should they grow again
      shrunk = true;
      std::memset(image.buffer.get() + end, 0, std::max<uint64_t>(most, end) - end);
    }
    target.bins_end = end;
    for (const LogPage& page : PagesOf(log, entry)) PutPage(target, log, page, i);
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

#include "hive/replaying.h"

#include <algorithm>
#include <utility>

#include "hive/placing.h"
#include "host/evidence.h"
#include "host/host.h"

namespace hivequarry {
namespace {

// An image of which a part may be lost, but not where its bins are.
bool MayReplay(const HiveImage& hive) {
  const ByteView bytes = ImageBytes(hive);
  const bool block = ReadU32(bytes, kBaseBlockSize) == kBinSignature &&
                     ReadU32(bytes, kBaseBlockSize + kBinOwnOffset) == 0;
  return block || BeginsAsBaseBlock(hive);
}

void SetImageBytes(HiveImage& hive, ImageMemory buffer, uint32_t length) {
  hive.buffer = std::move(buffer);
  hive.length = hive.held = length;
}

// What the logs brought back counts, and nothing that was recognised before is lost.
HiveProbe ProbeReplayed(const HiveImage& hive, HiveProbe probe) {
  const HiveProbe now = ProbeImage(hive);
  probe.header_valid |= now.header_valid;
  probe.root_valid |= now.root_valid;
  return probe;
}

// False when there is no memory for it; the image is as it was then.
bool Replay(HiveImage& hive, HiveLogs& logs) {
  ShowStatus("Replaying logs ...");
  ReplayedImage replayed = ApplySteps(logs, ImageBytes(hive), logs.steps.size());
  if (!replayed.buffer) return false;
  logs.before = std::move(hive.buffer);
  logs.before_length = hive.length;
  logs.changed = std::move(replayed.changed);
  logs.cut = replayed.cut;
  SetImageBytes(hive, std::move(replayed.buffer), replayed.length);
  return true;
}

// The image is that of the file again.
void UndoReplay(HiveImage& hive, HiveLogs& logs, ReplayState state) {
  logs.state = state;
  logs.steps.clear();
  logs.changed.clear();
  logs.cut = 0;
  for (HiveLog& log : logs.logs) {
    log.applied = 0;
    if (log.use == LogUse::kApplied) {
      log.use = state == ReplayState::kMoved ? LogUse::kMoved : LogUse::kNone;
    }
  }
  if (!logs.before) return;
  SetImageBytes(hive, std::move(logs.before), logs.before_length);
  logs.before_length = 0;
  hive.places = FilePlaces();
  hive.offset_runs.clear();
  hive.moves_sought = false;
}

bool HasMoves(const HiveImage& hive) { return !hive.places.undone.empty(); }

}  // namespace

void ReplayAndPlace(HiveImage& hive, const LogChoice& choice, bool whole, HiveProbe probe) {
  if (!BeginsAsBaseBlock(hive) && !(whole && MayReplay(hive))) return SetPlaces(hive, probe);
  const LogChoice none{LogMode::kNone, {}};
  const std::shared_ptr<HiveLogs> logs =
      FindHiveLogs(hive.file_name, ImageBytes(hive), whole ? choice : none, whole);
  for (const HiveLog& log : logs->logs) KeepEvidence(log.name);
  if (!whole && logs->hive.dirty()) logs->state = ReplayState::kPart;
  hive.logs = logs;
  if (logs->state == ReplayState::kReplayed && !Replay(hive, *logs)) {
    UndoReplay(hive, *logs, ReplayState::kNoMemory);
  }
  const bool replayed = logs->state == ReplayState::kReplayed;
  SetPlaces(hive, replayed ? ProbeReplayed(hive, probe) : probe);
  if (!replayed || !HasMoves(hive)) return;
  HiveImage as_it_is = ImageAfter(hive, 0);
  if (!HasMoves(as_it_is)) return;
  UndoReplay(hive, *logs, ReplayState::kMoved);
  SetPlaces(hive, probe);
}

void ReleaseLogs(const HiveImage& hive) {
  if (hive.logs == nullptr) return;
  for (const HiveLog& log : hive.logs->logs) ReleaseEvidence(log.name);
}

HiveImage ImageAfter(const HiveImage& hive, size_t steps) {
  HiveImage image;
  if (!IsReplayed(hive)) return image;
  const HiveLogs& logs = *hive.logs;
  ReplayedImage state = ApplySteps(logs, logs.before_bytes(), std::min(steps, logs.steps.size()));
  if (!state.buffer) return image;
  SetImageBytes(image, std::move(state.buffer), state.length);
  image.file_bytes = hive.file_bytes;
  image.file_name = hive.file_name;
  image.slot = hive.slot;
  image.root = hive.root;
  image.tolerant_keys = hive.tolerant_keys;
  HiveProbe probe;
  probe.header_valid = BeginsAsBaseBlock(image);
  SetPlaces(image, ProbeReplayed(image, probe));
  return image;
}

LogOrigin OriginOf(const HiveImage& hive, uint32_t position, uint32_t size) {
  LogOrigin origin;
  // Where moved bytes were put back afterwards, positions are no longer those of the pages.
  if (!IsReplayed(hive) || !hive.places.pieces.empty()) return origin;
  const HiveLogs& logs = *hive.logs;
  const LoggedRange* range = RangeFrom(logs, position);
  const LoggedRange* const end = logs.changed.data() + logs.changed.size();
  const uint64_t last = uint64_t{position} + size;
  for (; range != nullptr && range != end && range->position < last; ++range) {
    if (origin.found && range->step <= origin.step) continue;
    const uint32_t into = position > range->position ? position - range->position : 0;
    origin = {true, range->step, range->log_position + into};
  }
  return origin;
}

}  // namespace hivequarry

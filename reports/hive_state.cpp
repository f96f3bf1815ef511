#include "reports/hive_state.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <utility>
#include <vector>

#include "bytes/sha256.h"
#include "hive/hive_start.h"
#include "hive/layer_stack.h"
#include "hive/replaying.h"
#include "hive/timestamp.h"
#include "host/counted.h"
#include "host/file_reading.h"
#include "host/files.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "records/base_block.h"
#include "replay/log_words.h"

namespace hivequarry {
namespace {

// Years that the time of a registry can have; anything else is no time.
std::string TimeText(uint64_t time) {
  return FormatTimestampChecked(time).empty() ? std::string() : FormatShownIso(time);
}

// The two lowest bits say what was done, the rest is the time of it.
std::string ReorganisedText(uint64_t stored) {
  if (stored == 0) return {};
  const std::string time = TimeText(stored & ~uint64_t{3});
  // Not a time that a registry can have: as it is stored.
  if (time.empty()) return Concat({"0x", Hex(stored, 16)});
  if ((stored & 3) == 1) return time + ", defragmented";
  return (stored & 3) == 2 ? time + ", access bits cleared" : time;
}

// Reads file and logs once more; empty for a file that cannot be read, or when the user stops.
void AddHashes(const HiveImage& hive, HiveStateTexts& texts) {
  texts.sha256 = HashOfFile(hive.file_name, StopRequested);
  if (hive.logs == nullptr) return;
  for (const HiveLog& log : hive.logs->logs) {
    if (!texts.logs_sha256.empty()) texts.logs_sha256 += "; ";
    texts.logs_sha256 += NameOfLog(log) + " " + HashOfFile(log.name, StopRequested);
  }
}

// Why a dirty hive is shown as its file has it, after "Dirty, ".
const char* LeftWords(ReplayState state) {
  switch (state) {
    case ReplayState::kNotAsked:
      return "logs left out";
    case ReplayState::kNoLogs:
      return "no log beside it";
    case ReplayState::kUntil:
      return "no entry so early";
    case ReplayState::kPart:
      return "part of a file";
    case ReplayState::kMoved:
      return "bytes moved, logs not applied";
    case ReplayState::kNoMemory:
      return "no memory for its logs";
    default:
      return "no usable log";
  }
}

// True for a clean hive beside which there are entries that the system would ignore.
bool HasLaterEntries(const HiveLogs& logs) {
  return std::ranges::any_of(logs.logs, [&logs](const HiveLog& log) {
    return log.use == LogUse::kHiveClean && log.form == LogForm::kNew && !log.entries.empty() &&
           IsNumberBefore(logs.hive.base.sequence1, log.entries.back().sequence);
  });
}

std::string AppliedWords(const HiveLogs& logs) {
  if (logs.choice.bounded) {
    return "logs applied until entry " + std::to_string(logs.choice.until);
  }
  return logs.choice.mode == LogMode::kChosen ? "chosen logs applied" : "logs applied";
}

// Nothing for empty words; at most kLongestHeadLine characters.
void AddHeadLine(std::vector<std::string>& lines, std::string_view label,
                 const std::string& words) {
  if (words.empty()) return;
  std::string line = Concat({label, words});
  if (CountUnits(line) > kLongestHeadLine) {
    line = std::string(FirstUnits(line, kLongestHeadLine - 3)) + "...";
  }
  lines.push_back(std::move(line));
}

// The topmost layer is the hive that the lines before are about.
void AddBaseLines(std::vector<std::string>& lines, const LayerStack& stack) {
  for (size_t i = 1; i < stack.layers.size(); ++i) {
    const HiveImage& base = stack.layers[i].hive;
    AddHeadLine(lines, "Base: ", Concat({base.file_name, "; ", StateWords(base)}));
  }
}

}  // namespace

std::optional<PlanInput> BaseBlockState(const HiveImage& hive) {
  if (hive.logs != nullptr) return hive.logs->hive;
  if (BeginsAsBaseBlock(hive)) return PlanInputOf(ImageBytes(hive));
  return std::nullopt;
}

uint64_t MissingAtEnd(const HiveImage& hive) {
  const std::optional<PlanInput> state = BaseBlockState(hive);
  if (!state || !state->checksum_right) return 0;
  const uint64_t named = uint64_t{kBaseBlockSize} + state->base.length;
  // Zeros stand in a replayed image for what its file lacks; in others moved bytes are put back.
  const uint64_t held = IsReplayed(hive) ? hive.logs->before_length : hive.held;
  return named > held ? named - held : 0;
}

std::string MissingWords(const HiveImage& hive) {
  const uint64_t missing = MissingAtEnd(hive);
  if (missing == 0) return {};
  return Concat({"The file ends ", Counted(missing, "byte"),
                 " before its hive does: what was there is missing"});
}

std::string StateWords(const HiveImage& hive) {
  const std::optional<PlanInput> state = BaseBlockState(hive);
  if (!state) return "No base block";
  std::string words = state->dirty() ? "Dirty" : "Clean";
  if (hive.logs != nullptr && hive.logs->state == ReplayState::kReplayed) {
    words += ", " + AppliedWords(*hive.logs);
  } else if (hive.logs != nullptr && state->dirty()) {
    words += ", ";
    words += LeftWords(hive.logs->state);
  }
  if (hive.logs != nullptr && HasLaterEntries(*hive.logs)) words += ", a log has later entries";
  if (!state->checksum_right) words += ", checksum wrong";
  if (const uint64_t missing = MissingAtEnd(hive); missing != 0) {
    words += ", " + Counted(missing, "byte") + " missing at its end";
  }
  return words;
}

std::vector<std::string> HiveHeadLines(const HiveImage& hive, const HiveHashes& hashes) {
  std::vector<std::string> lines;
  AddHeadLine(lines, kHeadFileLine, hive.file_name);
  AddHeadLine(lines, "State: ", StateWords(hive));
  if (hive.logs != nullptr) AddHeadLine(lines, "Logs: ", ReplayWords(*hive.logs));
  if (const std::optional<PlanInput> state = BaseBlockState(hive); state) {
    AddHeadLine(lines, "Checksum: ", state->checksum_right ? "right" : "wrong");
  }
  AddHeadLine(lines, kHeadHashLine, hashes.hive);
  const size_t logs = hive.logs == nullptr ? 0 : hive.logs->logs.size();
  for (size_t i = 0; i < std::min(hashes.logs.size(), logs); ++i) {
    if (hashes.logs[i].empty()) continue;
    const std::string name = NameOfLog(hive.logs->logs[i]);
    AddHeadLine(lines, kHeadHashLine, hashes.logs[i] + " " + name);
  }
  if (hive.stack != nullptr) AddBaseLines(lines, *hive.stack);
  return lines;
}

HiveStateTexts StateTextsOf(const HiveImage& hive, bool hashes) {
  HiveStateTexts texts;
  if (hashes) AddHashes(hive, texts);
  const std::optional<PlanInput> state = BaseBlockState(hive);
  if (!state) return texts;
  const BaseBlock& base = state->base;
  texts.dirty = state->dirty() ? "1" : "0";
  texts.dirty_why = DirtyWords(*state);
  texts.checksum_valid = state->checksum_right ? "1" : "0";
  texts.sequence = std::to_string(base.sequence1) + "/" + std::to_string(base.sequence2);
  texts.last_written = TimeText(base.last_write);
  texts.version = std::to_string(base.major) + "." + std::to_string(base.minor);
  texts.flags = Concat({"0x", Hex(base.flags, 8)});
  texts.stored_name = TextOfWide(base.file_name);
  texts.reorganised = ReorganisedText(base.reorganised);
  if (hive.logs == nullptr) return texts;
  texts.replay = ReplayWords(*hive.logs);
  for (const HiveLog& log : hive.logs->logs) {
    if (!texts.logs.empty()) texts.logs += "; ";
    texts.logs += LogLine(*hive.logs, log);
  }
  return texts;
}

std::string HashOfFile(const std::string& name, const std::function<bool()>& stopped) {
  constexpr size_t kChunk = 1 << 20;
  int error = 0;
  const FileStream stream(OpenFile(name, "rb", error));
  if (stream == nullptr) return {};
  std::vector<uint8_t> chunk(kChunk);
  Sha256 hash;
  UnreadBytes unread;
  for (;;) {
    // What was hashed so far is also the place to go on from.
    const size_t got = ReadFileBytes(stream.get(), hash.length, chunk.data(), kChunk, &unread);
    AddToSha256(hash, ByteView(chunk).first(got));
    if (stopped()) return {};
    if (got < kChunk) break;
  }
  return unread.count == 0 ? EndSha256(hash) : std::string();
}

}  // namespace hivequarry

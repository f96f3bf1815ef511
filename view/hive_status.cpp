#include "view/hive_status.h"

#include "app/opening_words.h"
#include "hive/file_place.h"
#include "hive/replaying.h"
#include "host/files.h"
#include "lists/list_rows.h"
#include "recovery/root_search.h"
#include "replay/log_words.h"
#include "reports/key_dates.h"
#include "view/shown_text.h"
#include "words/layer_words.h"

namespace hivequarry {
namespace {

constexpr const char* kUnknownHash = "can't be had: the file can't be read whole";

bool IsByUser(const HiveLogs& logs) {
  return logs.state == ReplayState::kNotAsked || logs.state == ReplayState::kUntil ||
         (logs.state == ReplayState::kReplayed &&
          (logs.choice.bounded || logs.choice.mode == LogMode::kChosen));
}

// Nothing for empty words.
void AddLine(std::string& text, const std::string& label, const std::string& words) {
  if (words.empty()) return;
  text += label;
  text += ": ";
  text += words;
  text += "\r\n";
}

void EndGroup(std::string& text) {
  if (!text.empty() && !text.ends_with("\r\n\r\n")) text += "\r\n";
}

// Lines of what the block lacks are left out (AddLine).
void AddBaseBlock(std::string& text, const HiveStateTexts& texts) {
  AddLine(text, "Checksum of the base block",
          texts.checksum_valid.empty()  ? ""
          : texts.checksum_valid == "1" ? "right"
                                        : "wrong");
  AddLine(text, "Sequence numbers", texts.sequence);
  AddLine(text, "Last written", texts.last_written);
  AddLine(text, "Reorganised", texts.reorganised);
  AddLine(text, "Version", texts.version);
  AddLine(text, "Flags", texts.flags);
  AddLine(text, "File name in it", texts.stored_name);
  EndGroup(text);
}

void AddLogs(std::string& text, const HiveImage& hive) {
  if (hive.logs == nullptr) return;
  const HiveLogs& logs = *hive.logs;
  if (logs.logs.empty() && logs.state != ReplayState::kPart) text += "Log files: none found\r\n";
  for (const HiveLog& log : logs.logs) AddLine(text, "Log", LogLine(logs, log));
  for (const std::string& name : logs.transactions) {
    AddLine(text, "Log of transactions, not read", LeafOf(FilePath(name)));
  }
  EndGroup(text);
}

void AddHash(std::string& text, const std::string& file, const std::string& hash,
             HashProgress progress) {
  const char* missing = kUnknownHash;
  if (progress == HashProgress::kUnderWay) missing = "is being computed";
  if (progress == HashProgress::kStopped) missing = "was not computed";
  AddLine(text, "SHA-256 of " + file, hash.empty() ? missing : hash);
}

// Hashes of logs come in the order of the logs, and may be fewer while they are computed.
void AddHashes(std::string& text, const HiveImage& hive, const HiveHashes& hashes,
               HashProgress progress) {
  AddHash(text, LeafOf(FilePath(hive.file_name)), hashes.hive, progress);
  const size_t logs = hive.logs == nullptr ? 0 : hive.logs->logs.size();
  for (size_t i = 0; i < logs; ++i) {
    const std::string hash = i < hashes.logs.size() ? hashes.logs[i] : std::string();
    AddHash(text, NameOfLog(hive.logs->logs[i]), hash, progress);
  }
}

}  // namespace

HiveMark MarkOf(const HiveImage& hive) {
  const std::optional<PlanInput> state = BaseBlockState(hive);
  if (!state) return HiveMark::kUnknown;
  if (MissingAtEnd(hive) != 0) return HiveMark::kLacking;
  // First: a hive that was replayed as far as the user chose is replayed as well.
  if (hive.logs != nullptr && IsByUser(*hive.logs)) return HiveMark::kByUser;
  if (IsReplayed(hive)) return HiveMark::kReplayed;
  return state->dirty() ? HiveMark::kLacking : HiveMark::kClean;
}

HiveStructure StructureOf(const CheckResult& result, std::string summary) {
  return {IsSound(result) ? "sound" : VerdictWords(result), std::move(summary),
          result.by_level[static_cast<size_t>(CheckLevel::kFault)],
          result.by_level[static_cast<size_t>(CheckLevel::kOdd)]};
}

std::string StatusWords(const HiveImage& hive, const HiveStructure& structure) {
  std::string words = StateWords(hive);
  if (!hive.places.undone.empty()) words += ", bytes moved";
  if (CutOf(hive).at != 0) words += ", ends early";
  if (hive.unread.count != 0) words += ", not read whole";
  if (!structure.verdict.empty()) words += ", structure: " + structure.verdict;
  return words;
}

HiveSurvey SurveyHive(const HiveImage& hive, const KeyTree& tree) {
  return {FindRootEvidence(hive), LayersNotice(hive, tree), LastActivity(hive, tree)};
}

std::vector<HiveNote> NotesOn(const HiveImage& hive, const HiveSurvey& survey) {
  std::vector<HiveNote> notes;
  if (std::string both = RootContradiction(survey.root, true); !both.empty()) {
    notes.push_back({"Which hive", std::move(both)});
  }
  if (std::string missing = MissingWords(hive); !missing.empty()) {
    notes.push_back({"Missing", std::move(missing)});
  }
  if (std::string moved = UndoneWords(hive); !moved.empty()) notes.push_back({"Moved", moved});
  if (std::string logs = LogsWords(hive); !logs.empty()) notes.push_back({"Logs", logs});
  if (!survey.layers.empty()) notes.push_back({"Layers", survey.layers});
  if (const ImageCut cut = CutOf(hive); cut.at != 0) {
    notes.push_back({"Ends early", "at " + PositionText(cut.at) + ": " + cut.reason});
  }
  if (hive.unread.count != 0) notes.push_back({"Not read", UnreadRangesText(hive.unread, 8)});
  return notes;
}

std::u16string EntriesOfLogs(const HiveLogs& logs) {
  std::string text;
  for (const HiveLog& log : logs.logs) {
    AddLine(text, NameOfLog(log),
            log.entries.empty() ? UseWords(logs, log) : EntriesWords(log.entries));
  }
  return text.empty() ? u"There is no log beside the hive." : ShownText(text);
}

std::u16string HiveStateText(const HiveImage& hive, const HiveSurvey& survey,
                             const HiveStructure& structure, const HiveHashes& hashes,
                             HashProgress progress) {
  const HiveStateTexts texts = StateTextsOf(hive, false);
  std::string text;
  AddLine(text, "File", hive.file_name);
  AddLine(text, "State", StatusWords(hive));
  AddLine(text, "Dirty because", texts.dirty_why);
  for (const HiveNote& note : NotesOn(hive, survey)) AddLine(text, note.label, note.words);
  AddLine(text, "Structure",
          structure.verdict.empty() ? "not checked (File > Check structure)" : structure.summary);
  EndGroup(text);
  AddBaseBlock(text, texts);
  AddLogs(text, hive);
  AddHashes(text, hive, hashes, progress);
  return ShownText(text);
}

}  // namespace hivequarry

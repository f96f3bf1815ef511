// The state of the hive shown, in a word and a picture for the status bar, and as all that is known
// of it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "check/check.h"
#include "hive/image.h"
#include "hive/key_tree.h"
#include "hive/root_evidence.h"
#include "replay/hive_logs.h"
#include "reports/hive_state.h"

namespace hivequarry {

// In the order of the image list of states.
enum class HiveMark : uint8_t {
  kClean,     // needs no logs
  kReplayed,  // dirty, shown as its logs make it
  kByUser,    // dirty or not, shown otherwise than by itself because the user wants it so
  kLacking,   // dirty, and its last changes may be missing
  kUnknown,   // there is no base block that says
  kCount
};
// By base block and logs alone, so at once; what a check finds has no part in it.
HiveMark MarkOf(const HiveImage& hive);
// What a check of the structure found; empty while there was none.
struct HiveStructure {
  std::string verdict;  // "sound", "3 faults"
  std::string summary;  // what was judged, and the counts
  uint64_t faults = 0;
  uint64_t oddities = 0;
};
// Of a check: neither faults nor oddities.
inline bool IsSound(const HiveStructure& structure) {
  return structure.faults == 0 && structure.oddities == 0;
}
HiveStructure StructureOf(const CheckResult& result, std::string summary);
// The words for the status bar: StateWords, what else is not as it seems, and the verdict.
std::string StatusWords(const HiveImage& hive, const HiveStructure& structure = {});

// What of the file is not as it seems, or not there. Texts are UTF-8.
struct HiveNote {
  const char* label;
  std::string words;
};
// What takes a look at many keys: for the worker of a load, once.
struct HiveSurvey {
  RootEvidence root;
  std::string layers;          // LayersNotice (words/layer_words.h)
  uint64_t last_activity = 0;  // LastActivity (reports/key_dates.h)
};
// Looks at all keys; on any thread.
HiveSurvey SurveyHive(const HiveImage& hive, const KeyTree& tree);
// Empty for a hive that is whole and what it seems to be.
std::vector<HiveNote> NotesOn(const HiveImage& hive, const HiveSurvey& survey);

// Which entries the logs have, a line each log: "NAME: entries 10..12", or why it has none.
std::u16string EntriesOfLogs(const HiveLogs& logs);

// How far the hashes of the files are.
enum class HashProgress : uint8_t { kUnderWay, kDone, kStopped };
// All that is known of the hive's state: lines, each a label and what is said, in groups apart from
// each other by empty lines.
std::u16string HiveStateText(const HiveImage& hive, const HiveSurvey& survey,
                             const HiveStructure& structure, const HiveHashes& hashes,
                             HashProgress progress);

}  // namespace hivequarry

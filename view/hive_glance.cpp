#include "view/hive_glance.h"

#include <algorithm>
#include <utility>

#include "hive/file_place.h"
#include "host/counted.h"
#include "host/files.h"
#include "host/number_text.h"
#include "replay/log_words.h"

namespace hivequarry {
namespace {

constexpr size_t kDigitsShown = 8;  // shown of a hash
constexpr size_t kSecondsEnd = 19;  // of "2012-04-07T13:05:14.5115038Z"

GlanceTone ToneOfCount(uint64_t count) {
  return count == 0 ? GlanceTone::kMuted : GlanceTone::kFound;
}

GlancePart FilePart(const HiveImage& hive) {
  return {LeafOf(FilePath(hive.file_name)), hive.file_name};
}

// The first digits as text, all of them in the tip; without a hash why there is none.
GlancePart HashPart(const GlanceFacts& facts) {
  const std::string& hash = facts.hashes.hive;
  if (!hash.empty()) {
    return {"SHA-256 " + hash.substr(0, kDigitsShown) + "...", "SHA-256: " + hash};
  }
  switch (facts.hashing) {
    case HashProgress::kUnderWay:
      return {"SHA-256 ...", "SHA-256: is being computed", GlanceLead::kState, GlanceTone::kMuted};
    case HashProgress::kStopped:
      return {"SHA-256 not computed", "SHA-256: was not computed", GlanceLead::kState,
              GlanceTone::kMuted};
    default:
      return {"SHA-256 not known", "SHA-256: the file can't be read whole", GlanceLead::kState,
              GlanceTone::kWarn};
  }
}

GlancePart StatePart(const HiveImage& hive) {
  const std::string words = StateWords(hive);
  const HiveMark mark = MarkOf(hive);
  const bool wrong = mark == HiveMark::kLacking || mark == HiveMark::kUnknown;
  return {words, "State: " + words, GlanceLead::kState,
          wrong ? GlanceTone::kWarn : GlanceTone::kPlain};
}

// The tip says of each log what became of it.
GlancePart LogsPart(const HiveImage& hive) {
  const size_t count = hive.logs == nullptr ? 0 : hive.logs->logs.size();
  if (count == 0) {
    return {"No logs", "No log was found beside the hive", GlanceLead::kState, GlanceTone::kMuted};
  }
  std::string tip;
  for (const HiveLog& log : hive.logs->logs) {
    if (!tip.empty()) tip += "; ";
    tip += NameOfLog(log) + ": " + UseWords(*hive.logs, log);
  }
  return {Counted(count, "log"), tip, GlanceLead::kLogs};
}

void AddBaseBlock(const HiveImage& hive, std::vector<GlancePart>& parts) {
  const HiveStateTexts texts = StateTextsOf(hive, false);
  if (!texts.checksum_valid.empty()) {
    const bool right = texts.checksum_valid == "1";
    parts.push_back({right ? "Checksum right" : "Checksum wrong", "Checksum of the base block",
                     GlanceLead::kState, right ? GlanceTone::kPlain : GlanceTone::kWarn});
  }
  if (!texts.last_written.empty()) {
    // Without the "T" and the fraction of a second; the tip has both.
    std::string time = texts.last_written.substr(0, kSecondsEnd);
    std::ranges::replace(time, 'T', ' ');
    std::string tip = "Last written by the base block: " + texts.last_written;
    if (!texts.reorganised.empty()) tip += "; reorganised: " + texts.reorganised;
    const size_t zone = texts.last_written.find_first_of("+-", kSecondsEnd);  // none: "Z"
    time += zone == std::string::npos ? " UTC" : " " + texts.last_written.substr(zone);
    parts.push_back({std::move(time), std::move(tip)});
  }
  if (!texts.version.empty())
    parts.push_back({"Version " + texts.version, "Version of the format", GlanceLead::kState,
                     GlanceTone::kPlain, "v" + texts.version});
}

// By what the hive is called so, since that may be a guess.
GlancePart RootPart(const GlanceFacts& facts) {
  const std::string source = RootSourceWords(facts.hive, facts.survey.root);
  const std::string all = RootEvidenceWords(facts.survey.root);
  GlancePart part{facts.tree.root_text, "Root: " + facts.tree.root_text, GlanceLead::kRoot};
  if (!source.empty()) part.text += " by " + source;
  // What is a guess says so.
  if (facts.hive.root.source != RootSource::kFileName) part.brief = facts.tree.root_text;
  if (!source.empty()) part.tip += ", from " + source;
  if (!all.empty()) part.tip += " (" + all + ")";
  if (facts.summary.root_made) part.tone = GlanceTone::kFound;
  return part;
}

// The figure is there, muted, while it is looked for: its place does not move when it comes.
void AddFreed(const HiveFindings& findings, std::vector<GlancePart>& parts) {
  constexpr const char* kTip = "Deleted keys and values that free space still holds";
  if (!findings.freed_known) {
    parts.push_back({"Freed ...", "Deleted keys and values are being looked for",
                     GlanceLead::kFreedKeys, GlanceTone::kMuted});
    return;
  }
  const std::string cut = findings.freed_cut ? ", not all of it was searched" : "";
  const bool none = findings.freed_keys == 0 && findings.freed_values == 0;
  parts.push_back({none ? "0 freed" : Counted(findings.freed_keys, "freed key"), kTip + cut,
                   GlanceLead::kFreedKeys, ToneOfCount(findings.freed_keys)});
  if (findings.freed_values == 0) return;
  parts.push_back({Counted(findings.freed_values, "freed value"), kTip + cut,
                   GlanceLead::kFreedValues, GlanceTone::kFound});
}

void AddCounts(const GlanceFacts& facts, std::vector<GlancePart>& parts) {
  const ImageSummary& found = facts.summary;
  parts.push_back({Counted(found.keys, "key"),
                   Concat({Counted(found.keys, "key"), ", ", Counted(found.values, "value")}),
                   GlanceLead::kKeys});
  const bool values = found.disconnected_values != 0;
  parts.push_back(
      {Thousands(found.disconnected_keys) + (values ? " disconnected keys" : " disconnected"),
       "Keys that no list leads to from the root", GlanceLead::kDisconnectedKeys,
       ToneOfCount(found.disconnected_keys)});
  if (values) {
    parts.push_back({Counted(found.disconnected_values, "disconnected value"),
                     "Values that no key names", GlanceLead::kDisconnectedValues,
                     GlanceTone::kFound});
  }
  AddFreed(facts.findings, parts);
}

// A count of faults is a sentence by itself; the verdict of a sound structure says what is sound.
std::string WordsOf(const HiveStructure& structure) {
  if (IsSound(structure)) return "Structure " + structure.verdict;
  if (structure.faults != 0) return Counted(structure.faults, "fault");
  return Concat({Thousands(structure.oddities), structure.oddities == 1 ? " oddity" : " oddities"});
}

GlancePart CheckPart(const HiveFindings& findings) {
  if (!findings.checked) {
    return {"Structure ...", "The structure is being checked", GlanceLead::kCheck,
            GlanceTone::kMuted};
  }
  return {WordsOf(findings.structure), findings.structure.summary, GlanceLead::kCheck,
          IsSound(findings.structure) ? GlanceTone::kPlain : GlanceTone::kWarn};
}

}  // namespace

// Figures in the order: the file, its state, its base block, its root, what was found in it, its
// structure, and how the window may use it.
HiveGlance GlanceAt(const GlanceFacts& facts) {
  HiveGlance glance;
  std::vector<GlancePart>& parts = glance.figures;
  parts = {FilePart(facts.hive), HashPart(facts), StatePart(facts.hive), LogsPart(facts.hive)};
  AddBaseBlock(facts.hive, parts);
  parts.push_back(RootPart(facts));
  AddCounts(facts, parts);
  parts.push_back(CheckPart(facts.findings));
  if (facts.evidence) {
    parts.push_back(
        {"Evidence mode", "Nothing is written to this machine's registry, or to memory"});
  }
  const std::string why = StateTextsOf(facts.hive, false).dirty_why;
  if (!why.empty()) {
    glance.notes.push_back(
        {"Dirty because " + why, "Dirty because " + why, GlanceLead::kState, GlanceTone::kWarn});
  }
  for (const HiveNote& note : NotesOn(facts.hive, facts.survey)) {
    const std::string words = std::string(note.label) + ": " + note.words;
    const bool logs = std::string_view(note.label) == "Logs";
    glance.notes.push_back(
        {words, words, logs ? GlanceLead::kLogs : GlanceLead::kState, GlanceTone::kWarn});
  }
  return glance;
}

std::string GlanceLines(const GlanceFacts& facts) {
  std::string text;
  const auto add = [&text](const char* label, const GlancePart& part, bool whole) {
    text += Concat({label, ": ", whole ? part.tip : part.text, "\r\n"});
  };
  text += HashPart(facts).tip + "\r\n";
  add("Logs", LogsPart(facts.hive), true);
  const HiveStateTexts texts = StateTextsOf(facts.hive, false);
  for (const auto& [label, words] :
       {std::pair{"Dirty because", texts.dirty_why}, std::pair{"Last written", texts.last_written},
        std::pair{"Reorganised", texts.reorganised}, std::pair{"Version", texts.version}}) {
    if (!words.empty()) text += Concat({label, ": ", words, "\r\n"});
  }
  if (!texts.checksum_valid.empty()) {
    text += texts.checksum_valid == "1" ? "Checksum: right\r\n" : "Checksum: wrong\r\n";
  }
  std::vector<GlancePart> freed;
  AddFreed(facts.findings, freed);
  for (const GlancePart& part : freed) add("Freed", part, !facts.findings.freed_known);
  add("Structure", CheckPart(facts.findings), true);
  return text;
}

std::vector<bool> BreaksOf(const std::vector<int>& widths, int room) {
  std::vector<bool> breaks;
  int used = 0;
  for (const int width : widths) {
    breaks.push_back(used != 0 && used + width > room);
    used = breaks.back() ? width : used + width;
  }
  return breaks;
}

}  // namespace hivequarry

#include "view/workspace.h"

#include "hive/file_place.h"
#include "host/host.h"
#include "lists/list_rows.h"
#include "recovery/root_search.h"
#include "view/shown_text.h"
#include "words/value_text.h"

namespace hivequarry {
namespace {

const char* KindOf(const HiveImage& hive) {
  if (!hive.header_valid) return "Fragment without a base block";
  return hive.root_valid || hive.root_position != 0 ? "Hive" : "Hive without a root cell";
}

void AddCount(std::string& text, const char* label, uint32_t count) {
  text += std::string(label) + ": " + std::to_string(count) + "\r\n";
}

}  // namespace

std::string RootWords(const HiveImage& hive, const RootEvidence& evidence) {
  std::string words = RootSourceWords(hive, evidence);
  const std::string all = RootEvidenceWords(evidence);
  if (!words.empty() && !all.empty()) words += " (" + all + ")";
  return words;
}

ItemValues WorkspaceRows(const HiveImage& hive, const KeyTree& tree, const HiveSurvey& survey) {
  ItemValues values;
  values.info_rows.push_back({tree.root_text, KindOf(hive), hive.file_name,
                              PositionText(hive.base_offset),
                              static_cast<int>(ValueIcon::kFolder)});
  values.info_rows.push_back(
      {"State", "Info", StatusWords(hive), "", static_cast<int>(ValueIcon::kBinary)});
  for (const HiveNote& note : NotesOn(hive, survey)) {
    values.info_rows.push_back(
        {note.label, "Info", note.words, "", static_cast<int>(ValueIcon::kBinary)});
  }
  return values;
}

std::u16string WorkspaceDetail(const GlanceFacts& facts) {
  const HiveImage& hive = facts.hive;
  const HiveSurvey& survey = facts.survey;
  const ImageSummary& summary = facts.summary;
  std::string text = "Root: " + facts.tree.root_text + "\r\n";
  if (const std::string words = RootWords(hive, survey.root); !words.empty()) {
    text += "Root from: " + words + "\r\n";
  }
  text += "Kind: " + std::string(KindOf(hive)) + "\r\n";
  text += "State: " + StatusWords(hive) + "\r\n";
  text += "Begins in the file at: " + PositionText(hive.base_offset) + "\r\n";
  AddCount(text, "Length in bytes", LengthInFile(hive));
  for (const HiveNote& note : NotesOn(hive, survey)) {
    text += std::string(note.label) + ": " + note.words + "\r\n";
  }
  text += GlanceLines(facts);
  AddCount(text, "Blocks", summary.bins);
  AddCount(text, "Keys", summary.keys);
  AddCount(text, "  of them connected", summary.connected_keys);
  AddCount(text, "  of them disconnected", summary.disconnected_keys);
  AddCount(text, "Values", summary.values);
  AddCount(text, "  of them disconnected", summary.disconnected_values);
  AddCount(text, "Security records", summary.security_records);
  return u"File: " + WideOfText(hive.file_name) + u"\r\n" + ShownText(text);
}

}  // namespace hivequarry

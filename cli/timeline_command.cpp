// "timeline": the events of one or several hives in one order. Hives are opened one after another,
// and only events stay of them; they are sorted and written once all are read.
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <optional>

#include "app/opening_words.h"
#include "cli/hive_files.h"
#include "cli/opened_hive.h"
#include "evidence/decoder_times.h"
#include "hive/hive_table.h"
#include "host/evidence.h"
#include "host/files.h"
#include "host/long_operation.h"
#include "reports/key_dates.h"
#include "reports/timeline.h"

namespace hivequarry {
namespace {

namespace fs = std::filesystem;

// What is named, and what the folders have. A hive may be named with a key of it, which goes to
// `key`.
HivesOfFolder FilesOf(const ConsoleRequest& request, std::string& key) {
  HivesOfFolder files;
  std::vector<std::string> named = request.timeline.files;
  std::error_code ignored;
  const bool second = named.size() == 2 && !fs::exists(FilePath(named[1]), ignored) &&
                      fs::exists(FilePath(named[0]), ignored);
  if (second) {  // a hive and a key of it
    key = named[1];
    named.pop_back();
  }
  for (const std::string& name : named) {
    if (name != "-") {
      files.hives.push_back(name);
    } else {
      AddNamesOfInput(files.hives);
    }
  }
  for (const std::string& folder : request.timeline.folders) AddHivesOfFolder(folder, files);
  return files;
}

// Adds the events of one file, of its key alone if one is named. False after a message; the others
// go on.
bool AddFile(const ConsoleRequest& request, const std::string& name, bool several,
             const std::string& key, TimelineOptions options, Timeline& timeline) {
  // Frees the hive before this one: files may be more than there are slots.
  ResetHiveTable();
  FileToOpen file = FileOf(request, name);
  file.named = several;
  OpenedHive opened;
  if (OpenWithTree(file, opened) != kExitDone) return false;
  if (opened.summary.keys == 0) {
    Complain(name + " holds no keys");
    return false;
  }
  TimelineHive about;
  about.path = name;
  about.label = several ? name : LeafOf(FilePath(name));
  NameMachine(*opened.hive, opened.tree, about);
  // What the user says goes before what the hive says.
  if (!request.timeline.host.empty()) about.host = request.timeline.host;
  if (!request.timeline.user.empty()) about.user = request.timeline.user;
  options.item = ItemNamed(opened, key);
  std::optional<EvidenceSource> evidence;
  if (request.timeline.decoders) {
    options.known_freed = &evidence.emplace(*opened.hive, opened.tree).freed;
  }
  const bool added = AddToTimeline(timeline, *opened.hive, opened.tree, options, std::move(about));
  if (added && evidence) AddDecoderTimes(timeline, *evidence, options);
  if (!added) Complain("No key " + key + " in " + name);
  return added;
}

// Every key has a line or is counted as without a time, so the rest of the lines are other times.
void TellCounts(const Timeline& timeline, const TimelineCounts& counts) {
  uint64_t keys = 0;
  uint64_t without = counts.without_time;
  uint64_t freed = 0;
  uint64_t logged = 0;
  for (const TimelineHive& hive : timeline.hives) {
    keys += hive.keys;
    freed += hive.freed_keys;
    logged += hive.logged_keys;
    without += hive.keys_without;
  }
  std::string words = std::to_string(keys) + " keys";
  if (freed != 0) words += " and " + std::to_string(freed) + " freed keys";
  if (logged != 0) words += " and " + std::to_string(logged) + " keys in logs";
  const uint64_t others = counts.lines + without - keys - freed - logged;
  if (others != 0) words += " and " + std::to_string(others) + " other times";
  words += ": " + std::to_string(counts.lines) + " lines, " + std::to_string(without) +
           " without a time that has a line";
  Complain(words);
}

// "+02:00", "-0330", "UTC".
bool ReadZone(const std::string& text, int& minutes) {
  minutes = 0;
  if (text.empty() || text == "UTC" || text == "Z") return true;
  const std::string digits = text.size() == 6 ? text.substr(1, 2) + text.substr(4) : text.substr(1);
  const bool sign = text[0] == '+' || text[0] == '-';
  const bool colon = text.size() != 6 || text[3] == ':';
  const bool number = digits.size() == 4 && digits.find_first_not_of("0123456789") == digits.npos;
  if (!sign || !colon || !number) return false;
  const int value = std::atoi(digits.c_str());
  minutes = (value / 100 * 60 + value % 100) * (text[0] == '-' ? -1 : 1);
  return value / 100 <= 14 && value % 100 < 60;
}

bool ReadBounds(const ConsoleRequest& request, TimelineOptions& options) {
  KeyDateTime time;
  options.bounded = !request.dates.from.empty() || !request.dates.to.empty();
  if (!request.dates.from.empty()) {
    if (!ReadKeyDate(request.dates.from, time)) return false;
    options.from = FileTimeOf(time);
  }
  if (request.dates.to.empty()) return true;
  if (!ReadKeyDate(request.dates.to, time)) return false;
  options.to = FileTimeOf(time) + 9'999'999;  // all of that second
  return true;
}

// --as, else JSON Lines where lists are asked for in that form, else CSV.
TimelineForm TimelineFormOf(const ConsoleRequest& request) {
  if (request.timeline.form == "bodyfile") return TimelineForm::kBodyfile;
  if (request.timeline.form == "tln") return TimelineForm::kTln;
  if (request.timeline.form == "plaso") return TimelineForm::kPlaso;
  const bool json =
      request.timeline.form == "jsonl" ||
      (request.timeline.form.empty() && request.printing.format == Format::kJsonLines);
  return json ? TimelineForm::kJsonLines : TimelineForm::kCsv;
}

}  // namespace

int TimelineCommand(const ConsoleRequest& asked) {
  ConsoleRequest request = asked;
  TimelineOptions options;
  TimelineLook look;
  options.freed = request.freed;
  options.values = request.timeline.values;
  options.base_block = request.timeline.base_block;
  options.logged = request.timeline.logged;
  look.form = TimelineFormOf(request);
  look.safe = request.printing.csv_safe;
  if (!ReadBounds(request, options) || !ReadZone(request.timeline.zone, look.minutes_east)) {
    Complain("Times are given as 2012-04-04T01:58:40 or 2012-04-04, zones as +02:00");
    return kExitUsage;
  }
  std::string key = request.key;
  const HivesOfFolder all = FilesOf(request, key);
  const std::vector<std::string>& files = all.hives;
  const int found = TellUnread(all.unread, kExitDone);
  if (files.empty()) {
    Complain("No hives");
    return kExitUnreadable;
  }
  // All of them before an output is opened: the last one is evidence as much as the first.
  for (const std::string& file : files) KeepEvidence(file);
  if (!LeadsElsewhere(files) || !MayPrint(request.printing)) return kExitFailed;
  request.paired = PairAndTell(request, files, all.logs);
  Timeline timeline;
  size_t failed = 0;
  for (const std::string& file : files) {
    failed += !AddFile(request, file, files.size() > 1, key, options, timeline);
    if (StopRequested()) return kExitFailed;
  }
  if (failed == files.size()) return kExitUnreadable;
  ResetHiveTable();
  SortTimeline(timeline);
  TimelineCounts counts;
  const bool written =
      PrintPieces([&](const TextSink& sink) { return WriteTimeline(timeline, look, sink, counts); },
                  request.printing);
  TellCounts(timeline, counts);
  if (failed != 0)
    Complain(std::to_string(failed) + " of " + std::to_string(files.size()) +
             " files could not be read");
  return written && failed == 0 ? found : kExitFailed;
}

}  // namespace hivequarry

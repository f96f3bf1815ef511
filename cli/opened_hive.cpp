#include "cli/opened_hive.h"

#include <algorithm>
#include <charconv>

#include "app/opening_words.h"
#include "hive/file_place.h"
#include "hive/hive_table.h"
#include "hive/layer_stack.h"
#include "host/evidence.h"
#include "host/long_operation.h"
#include "replay/hive_logs.h"
#include "replay/log_words.h"
#include "reports/hive_state.h"

namespace hivequarry {
namespace {

// What became of logs that the user named. False when one of them can't be read: what is shown
// without it would not be what was asked for.
bool TellOfChosenLogs(const FileToOpen& file, const HiveImage& hive) {
  if (file.logs.mode != LogMode::kChosen) return true;
  if (hive.logs == nullptr || hive.logs->logs.empty()) {
    Complain("The logs are left out: what is shown is no whole hive");
    return true;
  }
  bool readable = true;
  for (const HiveLog& log : hive.logs->logs) {
    readable &= log.fault != LogFault::kUnreadable;
    if (log.use != LogUse::kApplied) Complain(LogLine(*hive.logs, log));
  }
  return readable;
}

}  // namespace

FileToOpen FileOf(const ConsoleRequest& request, const std::string& name) {
  FileToOpen file;
  file.name = name;
  file.logs = LogsOfHive(request.paired, name, request.logs);
  file.start_offset = request.start_offset;
  file.end_offset = request.end_offset;
  file.build.disconnected_values = false;
  file.build.root_path = request.root_path;
  file.build.cut_at_other_root = !request.all_roots;
  file.build.on_cut = OfferOtherHive;
  file.build.show_stopped = false;
  return file;
}

PairedLogs PairAndTell(const ConsoleRequest& request, const std::vector<std::string>& hives,
                       const std::vector<std::string>& logs) {
  if (request.logs_given) return {};
  PairedLogs paired = PairLogs(hives, logs);
  for (const std::string& words : paired.told) Complain(words);
  return paired;
}

int OpenImageOf(const FileToOpen& file, OpenedHive& opened) {
  HiveTable& table = TheHiveTable();
  table.start_offset = file.start_offset;
  table.end_offset = file.end_offset;
  table.logs = file.logs;
  const int slot = OpenHiveAndTell(file.name);
  if (slot < 0) return StopRequested() ? kExitFailed : kExitUnreadable;
  // Before `hive` is set: a hive with other logs than were asked for is not worked on.
  if (!TellOfChosenLogs(file, HiveOfSlot(slot))) return kExitUnreadable;
  opened.hive = &HiveOfSlot(slot);
  return kExitDone;
}

int BuildTreeOf(const FileToOpen& file, OpenedHive& opened) {
  opened.summary = BuildImageTree(*opened.hive, file.build, opened.tree);
  if (opened.summary.stopped) return kExitFailed;
  // Not before the tree is made: a build that was stopped says nothing of the hive.
  for (const std::string& words :
       {MissingWords(*opened.hive), UndoneWords(*opened.hive), LogsWords(*opened.hive)}) {
    if (!words.empty()) Complain(file.named ? file.name + ": " + words : words);
  }
  opened.lacks_logs = LacksLogs(*opened.hive);
  return kExitDone;
}

int OpenWithTree(const FileToOpen& file, OpenedHive& opened) {
  const int status = OpenImageOf(file, opened);
  return status == kExitDone ? BuildTreeOf(file, opened) : status;
}

bool LeadsElsewhere(const std::vector<std::string>& inputs) {
  const auto input_of = [&inputs](std::FILE* stream) {
    return std::ranges::find_if(
        inputs, [stream](const std::string& input) { return WritesInto(stream, input); });
  };
  // There is no stream left to say it on.
  if (input_of(stderr) != inputs.end()) return false;
  const auto into = input_of(stdout);
  if (into == inputs.end()) return true;
  Complain("The output would be written into " + *into + " itself");
  return false;
}

bool ParsePosition(std::string_view text, uint32_t& position) {
  if (text.starts_with('@')) text.remove_prefix(1);
  const bool hex = text.starts_with("0x") || text.starts_with("0X");
  if (hex) text.remove_prefix(2);
  const char* end = text.data() + text.size();
  const auto [last, error] = std::from_chars(text.data(), end, position, hex ? 16 : 10);
  return error == std::errc() && last == end;
}

bool FindPosition(const HiveImage& hive, std::string_view text, uint32_t& position) {
  if (!text.starts_with('@')) return false;
  const size_t colon = hive.stack == nullptr ? text.npos : text.find(':');
  if (colon == text.npos) {
    if (!ParsePosition(text, position)) return false;
    position = PositionOfPlace(hive, position);
    return true;
  }
  uint32_t layer = 0;
  const bool parsed = ParsePosition(text.substr(0, colon), layer) &&
                      ParsePosition(text.substr(colon + 1), position);
  if (!parsed || layer >= hive.stack->layers.size()) return false;
  const StackLayer& at = hive.stack->layers[layer];
  const uint32_t own = PositionOfPlace(at.hive, position);
  // In the stack's image the layers' images are one after another.
  position = own < at.hive.length ? own + at.start : kNoOffset;
  return true;
}

uint32_t ItemNamed(const OpenedHive& opened, const std::string& key) {
  if (key.empty()) return 0;
  uint32_t position = 0;
  return FindPosition(*opened.hive, key, position) ? ItemOfPosition(opened.tree, position)
                                                   : FindItemByPath(*opened.hive, opened.tree, key);
}

bool FindKey(const ConsoleRequest& request, const OpenedHive& opened, uint32_t& item) {
  item = ItemNamed(opened, request.key);
  if (item == kNoItem) Complain("No key " + request.key);
  return item != kNoItem;
}

}  // namespace hivequarry

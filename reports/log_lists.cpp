#include "reports/log_lists.h"

#include <algorithm>
#include <map>

#include "hive/keys.h"
#include "hive/replaying.h"
#include "hive/timestamp.h"
#include "hive/values.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "host/shortfalls.h"
#include "lists/list_rows.h"
#include "recovery/image_tree.h"
#include "replay/log_words.h"
#include "reports/removed_state.h"
#include "reports/state_changes.h"
#include "words/item_values.h"
#include "words/value_text.h"

namespace hivequarry {
namespace {

// Positions are those in the log's file, so that no row leads to the tree.
void AddEntry(OutputList& list, const HiveLog& log, const LogEntry& entry,
              const std::string& state) {
  AddListRow(list,
             {NameOfLog(log), std::to_string(entry.sequence), std::to_string(entry.pages),
              std::to_string(entry.size), PositionText(entry.position),
              std::to_string(entry.bins_size), state},
             kNoOffset);
}

// `use` says what became of the entries that were not applied.
void AddLog(OutputList& list, const HiveLog& log, const std::string& use) {
  for (size_t i = 0; i < log.entries.size(); ++i) {
    const bool applied = i < log.applied;
    const bool rest = !applied && log.use == LogUse::kApplied;
    AddEntry(list, log, log.entries[i], applied ? "applied" : rest ? "later than asked" : use);
  }
  for (const LogEntry& entry : log.leftovers) {
    AddEntry(list, log, entry, "left over from an earlier run");
  }
  if (!log.entries.empty() || !log.leftovers.empty()) return;
  const std::string stop = StopWords(log);
  const std::string why = stop.empty() ? use : use + ", " + stop;
  AddListRow(list, {NameOfLog(log), "", "", "", "", "", why}, kNoOffset);
}

// What comparing all states may cost: bytes of images that are loaded and of pages put into them.
constexpr uint64_t kMostListWork = uint64_t{16} << 30;

uint64_t BytesOfSteps(const HiveLogs& logs, size_t steps) {
  uint64_t bytes = 0;
  for (size_t i = 0; i < steps; ++i) bytes += EntryOf(logs, logs.steps[i]).size;
  return bytes;
}

std::string PathOf(const HiveState& state, const StateKey& key) {
  return key.path.empty() ? state.root : state.root + "\\" + key.path;
}

// The rows of the entries [from, to).
void AddChanges(OutputList& list, const HiveImage& hive, size_t from, size_t to,
                const HiveState& before, const HiveState& after) {
  const HiveLogs& logs = *hive.logs;
  const HiveLog& log = LogOf(logs, logs.steps[to - 1]);
  const LogEntry& last = EntryOf(logs, logs.steps[to - 1]);
  std::string number = std::to_string(last.sequence);
  if (from + 1 != to) {
    number = std::to_string(EntryOf(logs, logs.steps[from]).sequence) + ".." + number;
  }
  CompareStates(before, after,
                [&](StateChange change, const StateKey& key, const StateValue* value) {
                  RowFacts facts;
                  facts.about_key = value == nullptr;
                  facts.last_write = key.last_write;
                  AddListRow(list,
                             {NameOfLog(log),
                              number,
                              ChangeWord(change),
                              PathOf(after, key),
                              value == nullptr ? std::string() : value->name,
                              {FormatTimestampChecked(key.last_write), DateValue(key.last_write)},
                              PositionText(value == nullptr ? key.position : value->position),
                              PositionText(last.position)},
                             value == nullptr ? key.position : value->position, facts);
                });
}

constexpr const char* kRemoved = "removed by the logs";

}  // namespace

OutputListPtr ListLogs(const HiveImage& hive) {
  OutputListPtr list = MakeOutputList(kListLogs);
  if (hive.logs == nullptr) return list;
  for (const HiveLog& log : hive.logs->logs) AddLog(*list, log, UseWords(*hive.logs, log));
  return list;
}

OutputListPtr ListLogEntries(const HiveLog& log) {
  OutputListPtr list = MakeOutputList(kListLogs);
  AddLog(*list, log, log.fault == LogFault::kNone ? "" : FaultWords(log));
  return list;
}

OutputListPtr ListLogChanges(const HiveImage& hive) {
  OutputListPtr list = MakeOutputList(kListLogChanges);
  if (!IsReplayed(hive)) return list;
  const HiveLogs& logs = *hive.logs;
  const size_t count = logs.steps.size();
  HiveImage image = ImageAfter(hive, 0);
  HiveState before = StateOf(image);
  uint64_t work = 0;
  for (size_t from = 0; from < count && !StopRequested();) {
    size_t to = from + 1;
    // Each state is made anew, from the file and all entries up to it.
    work += hive.length + BytesOfSteps(logs, to);
    if (work > kMostListWork && to != count) {
      NoteShortfall(Shortfall::kLogEntries, count - from);
      // All that is left as one step, so that the last state is compared in any case.
      to = count;
    }
    image = ImageAfter(hive, to);
    HiveState after = StateOf(image);
    if (StopRequested() || image.length == 0) break;
    AddChanges(*list, hive, from, to, before, after);
    before = std::move(after);
    from = to;
  }
  return list;
}

OutputListPtr ListRemovedKeys(const HiveImage& hive, const KeyTree& tree) {
  OutputListPtr list = MakeOutputList(kListTree);
  AddColumns(*list, {kRemovedByTitle});
  RemovedState removed;
  if (!FindRemoved(hive, tree, removed)) return list;
  const HiveImage& image = removed.before.image;
  const KeyTree& before = removed.before.tree;
  for (const RemovedKey& key : removed.keys) {
    const uint32_t position = before.items[key.item].position;
    const uint32_t parent = before.items[key.item].parent;
    const bool under_key = parent != kNoItem && IsKeyOrCopy(before, parent);
    RowFacts facts;
    facts.about_key = true;
    facts.last_write = ReadU64(image, position + kKeyLastWrite);
    AddListRow(*list,
               {key.path,
                PositionText(position),
                under_key ? PositionText(before.items[parent].position) : std::string(),
                {FormatTimestampChecked(facts.last_write), DateValue(facts.last_write)},
                kRemoved,
                {"0", 0},
                {"0", 0},
                RemovedByText(*hive.logs, key.by)},
               position, facts);
  }
  return list;
}

OutputListPtr ListRemovedValues(const HiveImage& hive, const KeyTree& tree,
                                const ValueListOptions& options) {
  OutputListPtr list = MakeOutputList(kListValues);
  AddColumns(*list, {kRemovedByTitle});
  RemovedState removed;
  if (!FindRemoved(hive, tree, removed)) return list;
  const HiveImage& image = removed.before.image;
  std::vector<uint8_t> data;
  for (const RemovedValue& value : removed.values) {
    const ValueKey read =
        options.raw ? ReadValueKey(image, value.position, ValueRead::kData, kMaxValueData, &data)
                    : ReadShownValue(image, value.position, data);
    const ValueRow row = MakeValueRow(image, read, data, {});
    const std::string bytes = options.raw ? BytesText(data) : std::string();
    RowFacts facts;
    facts.bytes = bytes;
    AddListRow(*list,
               {value.path, row.name, row.type, row.data, PositionText(value.position),
                PositionText(removed.before.tree.items[value.item].position), kRemoved,
                RemovedByText(*hive.logs, value.by)},
               value.position, facts, row.icon);
  }
  return list;
}

}  // namespace hivequarry

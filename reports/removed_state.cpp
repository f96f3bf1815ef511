#include "reports/removed_state.h"

#include <algorithm>
#include <utility>

#include "hive/replaying.h"
#include "host/long_operation.h"
#include "replay/log_words.h"
#include "reports/state_changes.h"

namespace hivequarry {
namespace {

// What finding the entries may cost: bytes of images that are loaded and of pages put into them.
constexpr uint64_t kMostStateWork = uint64_t{4} << 30;

// A key or a value that is looked for in the states in between.
struct Sought {
  const StateKey* key;
  const StateValue* value;  // null: the key itself
  RemovedBy by;
};

const StateKey* FindKey(const HiveState& state, const std::string& path) {
  const auto found = std::ranges::lower_bound(state.keys, path, {}, &StateKey::path);
  return found == state.keys.end() || found->path != path ? nullptr : &*found;
}

bool IsThere(const HiveState& state, const Sought& sought) {
  const StateKey* key = FindKey(state, sought.key->path);
  if (key == nullptr || sought.value == nullptr) return key != nullptr;
  return std::ranges::binary_search(key->values, sought.value->name, {}, &StateValue::name);
}

// Bytes: the image is loaded once and the pages of each step's entry are put into it.
uint64_t CostOf(const HiveImage& hive, size_t steps) {
  uint64_t cost = hive.length;
  for (size_t i = 0; i < steps; ++i) {
    cost += EntryOf(*hive.logs, hive.logs->steps[i]).size;
  }
  return cost;
}

// All of a run are there before step `by.first` and gone after step `by.last`. The state in the
// middle tells which half each went in, so that states which removed nothing are not looked at.
struct StateRun {
  std::vector<Sought> sought;
  RemovedBy by;
};

void Settle(StateRun& run, std::vector<Sought>& settled) {
  for (Sought& each : run.sought) {
    each.by = run.by;
    settled.push_back(each);
  }
}

// A binary search for all at once. Where the work becomes too much, or memory is short, runs are
// settled as they are: by a range of entries, not by one.
void FindEntries(const HiveImage& hive, std::vector<Sought>& sought) {
  const auto last = static_cast<uint32_t>(hive.logs->steps.size() - 1);
  std::vector<StateRun> runs;
  runs.push_back({std::move(sought), {0, last}});
  sought.clear();
  uint64_t work = 0;
  while (!runs.empty() && !StopRequested()) {
    StateRun run = std::move(runs.back());
    runs.pop_back();
    if (run.sought.empty()) continue;
    // What the state after `middle` still has was removed later, all else by then.
    const uint32_t middle = run.by.first + (run.by.last - run.by.first) / 2;
    if (run.by.first != run.by.last) work += CostOf(hive, middle + 1);
    HiveImage image;
    const bool look = run.by.first != run.by.last && work <= kMostStateWork;
    if (look) image = ImageAfter(hive, middle + 1);
    // Not looked at, or no memory for the image.
    if (image.length == 0) {
      Settle(run, sought);
      continue;
    }
    const HiveState state = StateOf(image);
    StateRun later{{}, {middle + 1, run.by.last}};
    StateRun sooner{{}, {run.by.first, middle}};
    for (const Sought& each : run.sought) {
      (IsThere(state, each) ? later : sooner).sought.push_back(each);
    }
    runs.push_back(std::move(later));
    runs.push_back(std::move(sooner));
  }
}

std::string WholePath(const HiveState& now, const StateKey& key) {
  return key.path.empty() ? now.root : now.root + "\\" + key.path;
}

// The way up to the root; ends at the first that was marked before.
// So marking all ways is linear in the items.
void MarkWay(RemovedState& removed, uint32_t item) {
  for (; item != kNoItem && removed.marks[item] == RemovedMark::kStays;
       item = removed.before.tree.items[item].parent) {
    removed.marks[item] = RemovedMark::kWay;
  }
}

// The removed, then the ways down to them: items that stayed and have something removed below.
void MarkItems(RemovedState& removed) {
  removed.marks.assign(removed.before.tree.items.size(), RemovedMark::kStays);
  for (const RemovedKey& key : removed.keys) removed.marks[key.item] = RemovedMark::kRemoved;
  for (const RemovedKey& key : removed.keys) {
    MarkWay(removed, removed.before.tree.items[key.item].parent);
  }
  for (const RemovedValue& value : removed.values) MarkWay(removed, value.item);
}

}  // namespace

bool FindRemoved(const HiveImage& hive, const KeyTree& tree, RemovedState& removed) {
  if (!IsReplayed(hive) || !LoadBefore(hive, removed.before)) return false;
  const HiveState old = StateOf(removed.before.image, removed.before.tree);
  const HiveState now = StateOf(hive, tree);
  std::vector<Sought> sought;
  CompareStates(old, now, [&](StateChange change, const StateKey& key, const StateValue* value) {
    const bool gone = change == StateChange::kKeyRemoved || change == StateChange::kValueRemoved;
    if (gone) sought.push_back({&key, value, {}});
  });
  // One walk over the logs' entries answers for all of them.
  FindEntries(hive, sought);
  if (StopRequested()) return false;
  // Stable: values of a key stay in the order of its list.
  std::ranges::stable_sort(sought, {},
                           [](const Sought& each) -> const std::string& { return each.key->path; });
  for (const Sought& each : sought) {
    const uint32_t item = ItemOfPosition(removed.before.tree, each.key->position);
    if (item == kNoItem) continue;
    const std::string path = WholePath(now, *each.key);
    if (each.value == nullptr) {
      removed.keys.push_back({item, path, each.by});
    } else {
      removed.values.push_back({item, each.value->position, path, each.by});
    }
  }
  MarkItems(removed);
  return true;
}

std::string RemovedByText(const HiveLogs& logs, const RemovedBy& by) {
  const LogEntry& first = EntryOf(logs, logs.steps[by.first]);
  const LogEntry& last = EntryOf(logs, logs.steps[by.last]);
  if (by.first == by.last) return OriginWords(logs, by.last, last.position);
  return "one of the entries " + std::to_string(first.sequence) + ".." +
         std::to_string(last.sequence);
}

void HideWhatStays(RemovedState& removed) {
  std::vector<KeyItem>& items = removed.before.tree.items;
  for (size_t item = 1; item < items.size(); ++item) {
    items[item].hidden = removed.marks[item] == RemovedMark::kStays;
    removed.before.tree.any_hidden |= items[item].hidden;
  }
}

}  // namespace hivequarry

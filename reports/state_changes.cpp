#include "reports/state_changes.h"

#include <algorithm>

#include "bytes/byte_hash.h"
#include "hive/keys.h"
#include "hive/values.h"
#include "host/long_operation.h"
#include "host/shortfalls.h"
#include "recovery/image_tree.h"
#include "reports/sorted_pairs.h"
#include "words/item_values.h"

namespace hivequarry {
namespace {

// Bounds that a state in between hits say nothing of what is shown.
struct KeptShortfalls {
  KeptShortfalls() {
    for (size_t i = 0; i < kShortfallKinds; ++i) {
      counts[i] = ShortfallCount(static_cast<Shortfall>(i));
    }
  }
  ~KeptShortfalls() {
    for (size_t i = 0; i < kShortfallKinds; ++i) TheShortfalls().counts[i] = counts[i];
  }
  KeptShortfalls(const KeptShortfalls&) = delete;
  KeptShortfalls& operator=(const KeptShortfalls&) = delete;
  std::array<uint64_t, kShortfallKinds> counts{};
};

// Status, type and length before the data: where data cannot be read, or not all of them, these
// still tell values apart.
uint64_t ContentOf(const ValueKey& value, ByteView data) {
  uint8_t head[9] = {static_cast<uint8_t>(value.status)};
  for (size_t i = 0; i < 4; ++i) {
    head[1 + i] = static_cast<uint8_t>(value.type >> 8 * i);
    head[5 + i] = static_cast<uint8_t>(value.data_length >> 8 * i);
  }
  return MixedHash(MixedHash(kHashStart, head), data);
}

std::vector<StateValue> ValuesOf(const HiveImage& image, uint32_t key, DataBudget& budget,
                                 std::vector<uint8_t>& data) {
  std::vector<StateValue> values;
  for (const uint32_t position : ListedValuesInWalk(image, key)) {
    if (!MayShowValue(image, position, budget)) continue;
    const ValueKey value = ReadValueWithin(image, position, budget, data);
    values.push_back({ValueDisplayName(value), position, ContentOf(value, data)});
  }
  std::ranges::stable_sort(values, {}, &StateValue::name);
  return values;
}

// Both sides are in order of their names, so one walk over both is enough.
void CompareValues(const StateKey& before, const StateKey& after, const ChangeSink& sink) {
  VisitPairs(before.values, after.values, &StateValue::name,
             [&](Pairing pairing, const StateValue& old, const StateValue& value) {
               if (pairing == Pairing::kOnlyA) {
                 sink(StateChange::kValueRemoved, before, &old);
               } else if (pairing == Pairing::kOnlyB) {
                 sink(StateChange::kValueAdded, after, &value);
               } else if (old.content != value.content) {
                 sink(StateChange::kValueChanged, after, &value);
               }
             });
}

void TellAll(StateChange key_change, StateChange value_change, const StateKey& key,
             const ChangeSink& sink) {
  sink(key_change, key, nullptr);
  for (const StateValue& value : key.values) sink(value_change, key, &value);
}

}  // namespace

HiveState StateOf(const HiveImage& image, const KeyTree& tree) {
  const KeptShortfalls kept;
  HiveState state;
  state.root = tree.root_text;
  PathWalker paths(image, tree);
  DataBudget budget = MakeDataBudget(image);
  std::vector<uint8_t> data;
  for (uint32_t at = 0; at < tree.items.size() && !StopRequested(); ++at) {
    if (!tree.items[at].connected || !HasKeyCell(tree, at)) continue;
    const uint32_t position = tree.items[at].position;
    const std::string& path = paths.PathOf(at);
    const bool below = path.starts_with(state.root + "\\");
    state.keys.push_back({below ? path.substr(state.root.size() + 1) : std::string(), position,
                          ReadU64(image, position + kKeyLastWrite),
                          ValuesOf(image, position, budget, data)});
  }
  std::ranges::stable_sort(state.keys, {}, &StateKey::path);
  return state;
}

HiveState StateOf(HiveImage& image) {
  const KeptShortfalls kept;
  BuildOptions options;
  options.disconnected_values = false;
  options.cut_at_other_root = false;
  options.show_stopped = false;
  KeyTree tree;
  return BuildImageTree(image, options, tree).stopped ? HiveState() : StateOf(image, tree);
}

const char* ChangeWord(StateChange change) {
  constexpr const char* kWords[] = {"key added",   "key removed",   "key changed",
                                    "value added", "value removed", "value changed"};
  return kWords[static_cast<size_t>(change)];
}

void CompareStates(const HiveState& before, const HiveState& after, const ChangeSink& sink) {
  VisitPairs(before.keys, after.keys, &StateKey::path,
             [&](Pairing pairing, const StateKey& old, const StateKey& key) {
               if (pairing == Pairing::kOnlyA) {
                 return TellAll(StateChange::kKeyRemoved, StateChange::kValueRemoved, old, sink);
               }
               if (pairing == Pairing::kOnlyB) {
                 return TellAll(StateChange::kKeyAdded, StateChange::kValueAdded, key, sink);
               }
               if (old.last_write != key.last_write) sink(StateChange::kKeyChanged, key, nullptr);
               CompareValues(old, key, sink);
             });
}

}  // namespace hivequarry

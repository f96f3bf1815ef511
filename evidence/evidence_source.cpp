#include "evidence/evidence_source.h"

#include "reports/state_changes.h"

namespace hivequarry {
namespace {

// Backwards, so that the records told of are those of the state before.
LostRecords LostSince(const StateBefore& before, const HiveImage& hive, const KeyTree& tree) {
  LostRecords lost;
  CompareStates(StateOf(hive, tree), StateOf(before.image, before.tree),
                [&](StateChange change, const StateKey& key, const StateValue* value) {
                  if (change == StateChange::kKeyAdded) lost.removed.insert(key.position);
                  if (change == StateChange::kValueAdded) lost.removed.insert(value->position);
                  if (change != StateChange::kValueChanged) return;
                  lost.changed.insert(value->position);
                  lost.changed.insert(key.position);
                });
  return lost;
}

}  // namespace

EvidenceSource::EvidenceSource(const HiveImage& of, const KeyTree& with)
    : hive(of), tree(with), freed(FindFreedRecords(of, with)) {}

const LostState* LostStateOf(EvidenceSource& source) {
  if (source.lost_known) return source.lost.get();
  source.lost_known = true;
  auto state = std::make_unique<LostState>();
  if (!LoadBefore(source.hive, state->before)) return nullptr;
  state->lost = LostSince(state->before, source.hive, source.tree);
  if (!state->lost.removed.empty() || !state->lost.changed.empty()) source.lost = std::move(state);
  return source.lost.get();
}

}  // namespace hivequarry

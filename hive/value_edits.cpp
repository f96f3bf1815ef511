#include "hive/value_edits.h"

#include <utility>

#include "hive/image.h"
#include "hive/values.h"

namespace hivequarry {
namespace {

// Under the lock. An edit of an unknown key was not counted.
void ForgetKey(ValueEdits& edits, uint32_t key) {
  const auto at = edits.count_of_key.find(key);
  if (at != edits.count_of_key.end() && --at->second == 0) edits.count_of_key.erase(at);
}

// An edit that gives back what the image has is none.
bool IsStored(const HiveImage& hive, const ValueEdit& edit) {
  std::vector<uint8_t> data;
  const ValueKey stored =
      ReadStoredValueKey(hive, edit.position, ValueRead::kData, kMaxValueData, &data);
  return stored.status == ValueStatus::kRead && stored.type == edit.type && data == edit.data;
}

}  // namespace

ValueEdits& ValueEdits::operator=(ValueEdits&& other) noexcept {
  any = other.any.exchange(false);
  by_position = std::exchange(other.by_position, {});
  count_of_key = std::exchange(other.count_of_key, {});
  return *this;
}

bool SetValueEdit(HiveImage& hive, uint32_t position, uint32_t type, std::vector<uint8_t> data,
                  uint32_t key) {
  if (data.size() >= kMaxValueData) return false;
  const ValueKey value = ReadStoredValueKey(hive, position, ValueRead::kName, 0, nullptr);
  if (value.status == ValueStatus::kEmpty || value.status == ValueStatus::kNotAValue) return false;
  const auto edit =
      std::make_shared<const ValueEdit>(ValueEdit{position, key, type, std::move(data)});
  if (IsStored(hive, *edit)) {
    TakeBackEdit(hive, position);
    return true;
  }
  ValueEdits& edits = hive.edits;
  const std::lock_guard lock(edits.mutex);
  ValueEditPtr& place = edits.by_position[position];
  if (place != nullptr) ForgetKey(edits, place->key);
  if (key != kKeyUnknown) ++edits.count_of_key[key];
  place = edit;
  edits.any = true;
  return true;
}

bool TakeBackEdit(HiveImage& hive, uint32_t position) {
  ValueEdits& edits = hive.edits;
  const std::lock_guard lock(edits.mutex);
  const auto at = edits.by_position.find(position);
  if (at == edits.by_position.end()) return false;
  ForgetKey(edits, at->second->key);
  edits.by_position.erase(at);
  edits.any = !edits.by_position.empty();
  return true;
}

void TakeBackAllEdits(HiveImage& hive) {
  ValueEdits& edits = hive.edits;
  const std::lock_guard lock(edits.mutex);
  edits.by_position.clear();
  edits.count_of_key.clear();
  edits.any = false;
}

ValueEditPtr EditOf(const HiveImage& hive, uint32_t position) {
  const ValueEdits& edits = hive.edits;
  if (!edits.any.load(std::memory_order_relaxed)) return nullptr;
  const std::lock_guard lock(edits.mutex);
  const auto at = edits.by_position.find(position);
  return at == edits.by_position.end() ? nullptr : at->second;
}

std::vector<ValueEditPtr> ListEdits(const HiveImage& hive) {
  const std::lock_guard lock(hive.edits.mutex);
  std::vector<ValueEditPtr> list;
  for (const auto& [position, edit] : hive.edits.by_position) list.push_back(edit);
  return list;
}

uint32_t EditsOfKey(const HiveImage& hive, uint32_t key) {
  const ValueEdits& edits = hive.edits;
  if (!edits.any.load(std::memory_order_relaxed)) return 0;
  const std::lock_guard lock(edits.mutex);
  const auto at = edits.count_of_key.find(key);
  return at == edits.count_of_key.end() ? 0 : at->second;
}

}  // namespace hivequarry

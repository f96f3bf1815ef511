// Values edited in memory: a type and data that stand in for what the file has, by the value's
// image position. Neither the image's bytes nor the file change.
//
// Threads: one thread at a time edits (the interface thread), any number may read meanwhile. An
// edit is never changed once it is made, only replaced or taken back, and whoever was handed one
// keeps it whole for as long as he holds it: type and data always belong together. A walk over many
// values may meet some before an edit and others after it. The table is under a mutex, held for a
// look-up at most; readers of a hive without edits never come so far, they test `any`. The table
// goes and moves with its image, when nobody reads that.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

namespace hivequarry {

struct HiveImage;

inline constexpr uint32_t kKeyUnknown = 0xFFFFFFFF;

// In memory alone: no file is ever changed by it. Shared by whoever reads it, and never changed.
struct ValueEdit {
  uint32_t position = 0;       // of the value
  uint32_t key = kKeyUnknown;  // position of the key at which it was edited
  uint32_t type = 0;
  std::vector<uint8_t> data;  // as they would be stored
};
using ValueEditPtr = std::shared_ptr<const ValueEdit>;

// Moving is for whoever has the image alone: neither side's mutex is taken.
struct ValueEdits {
  // A moved-from table is empty; the edits themselves stay whole for whoever holds one.
  ValueEdits() = default;
  ValueEdits(ValueEdits&& other) noexcept { *this = std::move(other); }
  ValueEdits& operator=(ValueEdits&& other) noexcept;

  std::atomic<bool> any{false};
  mutable std::mutex mutex;  // of what follows
  std::map<uint32_t, ValueEditPtr> by_position;
  std::map<uint32_t, uint32_t> count_of_key;  // edits by known key, no zeros
};

// Gives the value at `position` another type and data, in place of an edit made before. What the
// file has already is no edit: it takes the one before back. False when no value can be read there,
// or for data as long as those that are not read (kMaxValueData).
// `position` is that of the value's cell; `key` that of the key at which the user edited it,
// counted by EditsOfKey.
bool SetValueEdit(HiveImage& hive, uint32_t position, uint32_t type, std::vector<uint8_t> data,
                  uint32_t key = kKeyUnknown);
// The value is again what the file has. False when it was not edited.
bool TakeBackEdit(HiveImage& hive, uint32_t position);
void TakeBackAllEdits(HiveImage& hive);

// The edit of the value at `position`, null for none.
ValueEditPtr EditOf(const HiveImage& hive, uint32_t position);
// All edits, ascending by position.
// A copy: edits made later are not in it.
std::vector<ValueEditPtr> ListEdits(const HiveImage& hive);

// How many values were edited at a key.
uint32_t EditsOfKey(const HiveImage& hive, uint32_t key);

}  // namespace hivequarry

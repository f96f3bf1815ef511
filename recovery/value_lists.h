// Value lists that are not plainly one key's: those that several keys name, those that overlap, and
// those whose cell or count is wrong. What is found out about them is noted in the image, for all
// that walk over keys and their values.
#pragma once

#include "hive/image.h"
#include "recovery/scan_tables.h"

namespace hivequarry {

// In a sound hive a list belongs to one key, and all lists together are shorter than the image.
// Where they are not, walks over many keys read
// - the list of one key, the one with the best right to it, whole;
// - for the other keys that name it as much as fits into what all shared lists are allowed, the
//   longest being cut first, so that no key's list takes from another's.
// A list without a sound cell ends where it runs into another key's values, or into values that the
// key's own words for its longest name and data rule out. Runs once all keys are known.
void SettleValueLists(HiveImage& hive, const ScanTables& tables);

// The longest name, in bytes of UTF-16, and the longest data among values.
struct ValueExtremes {
  uint32_t name = 0;
  uint32_t data = 0;  // bytes
};
// Takes the value at a position into account; a place that holds none changes nothing.
void Widen(const HiveImage& hive, uint32_t value_position, ValueExtremes& extremes);
// What a key's record says of them: as long as it has values they never become less.
ValueExtremes ExtremesOfKey(const HiveImage& hive, uint32_t key_position);
inline bool Allows(const ValueExtremes& words, const ValueExtremes& values) {
  return values.name <= words.name && values.data <= words.data;
}

}  // namespace hivequarry

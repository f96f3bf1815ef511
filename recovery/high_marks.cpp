#include "recovery/high_marks.h"

#include "hive/keys.h"
#include "hive/values.h"
#include "records/key_flags.h"
#include "recovery/value_lists.h"

namespace hivequarry {
namespace {

// Of a name of so many bytes as UTF-16.
uint32_t WideLength(uint32_t stored, bool wide) { return wide ? stored : 2 * stored; }

uint32_t DataLength(const HiveImage& hive, uint32_t value) {
  constexpr uint32_t kInline = 0x80000000;
  return ReadU32(hive, value + kValueDataLength) & ~kInline;
}

}  // namespace

MarkVerdict SubkeyVerdict(const HiveImage& hive, uint32_t parent, uint32_t subkey) {
  const uint32_t longest = ReadU16(hive, parent + kKeyLongestSubkeyName);
  const bool wide = IsWideKeyName(ReadU16(hive, subkey + kKeyFlags));
  const uint32_t name = WideLength(ReadU16(hive, subkey + kKeyNameLength), wide);
  const bool kept = longest != 0 && ReadU32(hive, parent + kKeySubkeyCount) != 0;
  if (!kept) return MarkVerdict::kUnproven;
  return longest < name ? MarkVerdict::kRuledOut : MarkVerdict::kAllowed;
}

MarkVerdict ValueVerdict(const HiveImage& hive, uint32_t key, uint32_t value) {
  const ValueExtremes marks = ExtremesOfKey(hive, key);
  const bool kept = (marks.name | marks.data) != 0 && ReadU32(hive, key + kKeyValueCount) != 0;
  if (!kept) return MarkVerdict::kUnproven;
  const bool wide = IsWideValueName(ReadU16(hive, value + kValueFlags));
  const uint32_t name = WideLength(ReadU16(hive, value + kValueNameLength), wide);
  return Allows(marks, {name, DataLength(hive, value)}) ? MarkVerdict::kAllowed
                                                        : MarkVerdict::kRuledOut;
}

}  // namespace hivequarry

// Which of a SYSTEM hive's control sets is which. A set is a key "ControlSetNNN" at the top of the
// hive; the values of "Select" beside it hold the numbers of the sets that the system started with,
// of the last start that went well, and of one that failed. Reports read all sets and say of each
// row which one it is of.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "hive/key_tree.h"

namespace hivequarry {

// 1 of a key's name "ControlSet001"; nothing of any other name.
std::optional<uint32_t> ControlSetNumber(std::string_view name);

// The numbers in "Select"; 0 where there is none. What recovered keys say does not count.
struct ControlSets {
  uint32_t current = 0;
  uint32_t last_known_good = 0;
  uint32_t failed = 0;
};
// Looks through the subkeys of `above`, where the sets are: once for a report.
ControlSets ReadControlSets(const HiveImage& hive, const KeyTree& tree, uint32_t above = 0);

// The path with the current set's own name, where it begins with "CurrentControlSet" and "Select"
// says which that is.
std::string WithControlSet(const HiveImage& hive, const KeyTree& tree, const std::string& path);

// The number of the set that the item is or lies in: of "ControlSet001" at the top of the hive or
// as its root, or where nothing tells what lies above. 0 for any other item.
uint32_t ControlSetOf(const HiveImage& hive, const KeyTree& tree, uint32_t item);

// "current", "last known good", "failed", joined by ", ": what the set is. "unknown" when "Select"
// does not say which is current; empty for a set that is nothing of these, and for number 0.
std::string ControlSetWords(const ControlSets& sets, uint32_t number);
// Likewise of the set that the item is or lies in; a key "CurrentControlSet" is "current".
std::string ControlSetWordsOf(const HiveImage& hive, const KeyTree& tree, const ControlSets& sets,
                              uint32_t item);

}  // namespace hivequarry

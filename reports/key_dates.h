// Keys by the time of their last write.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "hive/key_tree.h"
#include "hive/timestamp.h"
#include "lists/output_list.h"

namespace hivequarry {

// A date and a time of day, UTC, in whole seconds.
struct KeyDateTime {
  int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
  bool operator==(const KeyDateTime&) const = default;
};
// FILETIME: 100 ns since 1601-01-01, UTC.
KeyDateTime KeyDateTimeOf(uint64_t file_time);
// The first of the second's 10,000,000 units.
uint64_t FileTimeOf(const KeyDateTime& time);

// "2008/05/17, 13:02:09", and back; also with "-" between the parts of the date, a blank or "T"
// before the time, and with the time or its seconds left out (then 0). False for anything else.
std::string KeyDateText(const KeyDateTime& time);
bool ReadKeyDate(std::string_view text, KeyDateTime& time);

// Whole seconds: a key of the last second's fraction is in.
struct KeyDateRange {
  bool limited = false;  // else every key is listed
  KeyDateTime start;
  KeyDateTime end;
  int access = -1;  // only keys with exactly these access bits (0 to 3); -1: with any
};
// Both bounds included; a range with its start after its end holds nothing.
bool KeyDateInRange(const KeyDateTime& time, const KeyDateRange& range);

// Keys from `item` down, each before its children: kListKeyDates; datum: the key's position. Ends
// early when the user stops.
void ListKeyDates(const HiveImage& hive, const KeyTree& tree, uint32_t item,
                  const KeyDateRange& range, OutputList& list);

// When the hive was last written, FILETIME: as its base block says, or else its newest key that a
// clock can have dated so. 0 for a hive without either.
uint64_t LastActivity(const HiveImage& hive, const KeyTree& tree);

}  // namespace hivequarry

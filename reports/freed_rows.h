// What lists and scripts show of freed records (recovery/freed_records.h): paths, data, places.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "hive/image.h"
#include "hive/key_tree.h"
#include "hive/values.h"
#include "recovery/freed_records.h"
#include "words/item_values.h"

namespace hivequarry {

// The freed records of a hive, found when it is made, and what reading their data may cost.
// Searches the whole free space when it is made, with progress. Keeps references: the hive and the
// tree must outlive it. One thread.
struct FreedSource {
  FreedSource(const HiveImage& of, const KeyTree& with);
  // Of records that are known already, which must outlive it too.
  FreedSource(const HiveImage& of, const KeyTree& with, const FreedRecords& known);
  FreedSource(const FreedSource&) = delete;
  FreedSource& operator=(const FreedSource&) = delete;
  const HiveImage& hive;
  const KeyTree& tree;
  const FreedRecords found;  // empty where they were known already
  const FreedRecords& records;
  DataBudget budget;  // of the data that all that is shown may read
  FreedPathWalker paths;
};

// A path as it is displayed, and with the names as they are stored where these differ.
struct FreedPathTexts {
  std::string path;
  std::string stored;
};
// Of a freed key or a key of the tree; empty for kNoOffset.
FreedPathTexts FreedPathTextsOf(FreedSource& from, uint32_t key_position);

// A freed value as it is shown: by the plain type of a type that has more in its upper half, with
// the characters of its name that are its own.
struct FreedContent {
  ValueKey value;
  uint32_t type = 0;    // as stored
  bool in_use = false;  // its data are where another record's may be by now
  std::vector<uint8_t> data;
};
// Data that offsets of an earlier state lead to are read from free space alone. As much of them as
// a list shows, or all.
enum class FreedData : uint8_t { kShown, kAll };
FreedContent ReadFreedContent(FreedSource& from, const FreedValue& freed, FreedData which);
// Of one value, whatever others have had read: all of its data, or as much as a list shows.
// For one row or detail; a walk takes the form with a budget.
FreedContent ReadFreedContent(const HiveImage& hive, const FreedRecords& records,
                              const FreedValue& freed, FreedData which);

// "REG_DWORD", with a type that says more after it: "REG_DWORD (0x20004)".
std::string FreedTypeText(const HiveImage& hive, const FreedContent& content);
// As MakeValueRow (words/item_values.h) has it, with the freed value's own type words.
ValueRow MakeFreedRow(const HiveImage& hive, const FreedContent& content);
// The words of its Place column.
std::string FreedPlaceText(const HiveImage& hive, const FreedRecords& records,
                           const FreedValue& freed, const FreedContent& content);

}  // namespace hivequarry

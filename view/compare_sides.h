// A hive that is shown, compared with another file: opening that, and everything a window shows of
// the two. For a worker.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "hive/image.h"
#include "hive/key_tree.h"
#include "lists/output_list.h"
#include "recovery/image_tree.h"
#include "reports/hive_compare.h"
#include "view/compare_tree.h"

namespace hivequarry {

// What the user wants to be compared.
struct CompareWish {
  std::string file;           // of B, UTF-8: a hive, which may be that of A, or a registry script
  bool without_logs = false;  // B is shown as its file has it
  std::string key_a;          // paths; empty for the roots
  std::string key_b;          // empty: that of A
  std::string ignored;        // the patterns of `options`, as the user wrote them
  HiveCompareOptions options;
};

// A is somebody else's, and outlives this; B is its own, and goes with it. The slot of B is freed
// by the destructor: on the thread that hands out slots, and while no hive is being opened.
struct ComparedHives {
  ComparedHives(const HiveImage& hive, const KeyTree& key_tree) : a(hive), tree_a(key_tree) {}
  ~ComparedHives();
  ComparedHives(const ComparedHives&) = delete;
  ComparedHives& operator=(const ComparedHives&) = delete;

  // Items are where the comparison began. `tree_b` is that of the slot `slot_b`, -1 while nothing
  // is open; `script_b` says that B was made of a registry script, and has neither times nor
  // offsets.
  const HiveImage& a;
  const KeyTree& tree_a;
  uint32_t item_a = 0;
  int slot_b = -1;
  KeyTree tree_b;
  uint32_t item_b = 0;
  bool script_b = false;
  HiveCompareOptions options;

  std::string fault;    // why there is nothing to show; UTF-8. Empty after a stop too
  std::string about_a;  // file, key and state in a line
  std::string about_b;
  std::vector<std::string> head;  // files and states of both
  HiveDifferences differences;
  OutputListPtr list;  // kListHiveCompare, its rows about A; null when nothing was compared
  CompareTree tree;

  // Only while `slot_b` is a slot. The sides refer to this record, which must outlive them.
  const HiveImage& b() const;
  ComparedSide side_a() const { return {a, tree_a, item_a, false}; }
  ComparedSide side_b() const { return {b(), tree_b, item_b, script_b}; }
};

// Opens B and compares. Never null; `fault` says why there is nothing to show. What the opening has
// to say is said through the host. For a worker: takes as long as a load and a comparison; ends
// early, with an empty `fault`, when the user stops.
std::shared_ptr<ComparedHives> CompareWithFile(const HiveImage& a, const KeyTree& tree_a,
                                               const ImageSummary& summary_a,
                                               const CompareWish& wish);

// The list of differences once more, from the start; a window that was given the first one keeps
// that.
OutputListPtr ListDifferences(const ComparedHives& hives);

// The name of a compared key, as displayed: that of A where A has it.
std::string ComparedKeyName(const ComparedHives& hives, uint32_t key);
// The time of its last write in either, as lists show dates; empty where a side lacks the key, or
// is a script.
std::string ComparedKeyTime(const ComparedHives& hives, uint32_t key, bool in_b);

// The values of a compared key side by side, each with its texts; those of a side that lacks the
// value are empty, of one that lost it "lost".
struct ComparedValueRow {
  std::string what;  // empty for the same
  std::string name;
  std::string type_a;
  std::string data_a;
  std::string type_b;
  std::string data_b;
};
// With more of them than a window can show at once one row says so.
std::vector<ComparedValueRow> ComparedValueRows(const ComparedHives& hives, uint32_t key);

}  // namespace hivequarry

// The check of a hive's structure (check/check.h) as a list.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "check/check.h"
#include "hive/image.h"
#include "lists/output_list.h"

namespace hivequarry {

// Which state of an opened hive is judged.
enum class CheckedState : uint8_t {
  kFile,      // as its file is, before any log
  kReplayed,  // as its logs leave it; the same for a hive to which none were applied
};

// Rows that `most` leaves out are counted in CheckedHive::left_out.
struct CheckListOptions {
  CheckLevel least = CheckLevel::kOdd;  // rows of no lower level
  uint32_t most = UINT32_MAX;           // rows
  bool worst_first = false;             // by level before position
};

// A kListCheck. `hive` needs no tree; paths begin with its root label, or "ROOT". With the least
// level a cell that nothing names has a row of its own, else one row counts all of them.
struct CheckedHive {
  OutputListPtr list;
  CheckResult result;
  std::vector<uint32_t> row_keys;  // by row: image position of the key it belongs to, or kNoOffset
  std::string summary;             // a line: what was judged, and the counts
  uint64_t left_out = 0;           // rows after the most
};
// A row's datum is the position of the record at fault in the image, also where the file was judged
// and bytes of it had moved; kNoOffset where the image has none.
CheckedHive CheckOpenedHive(const HiveImage& hive, CheckedState state,
                            const CheckListOptions& options);
// The verdict alone, for a hive as its file is.
// "sound", "3 faults" and the like (VerdictWords of check/check.h).
std::string StructureVerdict(const HiveImage& hive);

}  // namespace hivequarry

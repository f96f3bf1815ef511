// Whether the structure of a hive is whole: what a system would refuse, repair or misread in it.
//
// A hive is judged as a system reads it: from the base block's root offset, by offsets alone.
// Nothing is searched for, guessed or repaired, so the tree that a load shows has no say here. All
// cells are known before the first offset is followed, and each cell is judged once, whoever names
// it: so the order of reading does not matter, and the time goes with the length of the hive.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "bytes/byte_view.h"
#include "check/codes.h"

namespace hivequarry {

// Of a finding: it is no key's. Of a key: it is the root.
inline constexpr uint32_t kNoCheckedKey = 0xFFFFFFFF;

// Positions are bytes from the start of the hive.
struct CheckFinding {
  CheckCode code = CheckCode::kH1;
  CheckLevel level = CheckLevel::kFault;
  uint32_t position = 0;         // of the record at fault; the base block's is 0
  uint32_t key = kNoCheckedKey;  // number of the key that it belongs to
  std::string found;             // UTF-8, short
  std::string expected;
};

// A key that the root leads to, parents before children.
struct CheckedKey {
  uint32_t position = 0;            // of its cell
  uint32_t parent = kNoCheckedKey;  // its number in `keys`
  uint32_t level = 0;               // of the root 0
};

struct CheckResult {
  std::vector<CheckFinding> findings;  // by position; those of one record by code
  // Of all findings: of one code no more than kMostFindings are kept.
  std::array<uint64_t, kCheckCodes> by_code{};
  std::array<uint64_t, kCheckLevels> by_level{};
  std::vector<CheckedKey> keys;
  uint64_t values = 0;         // read, of all keys
  uint64_t cells = 0;          // free ones too
  uint64_t bytes_used = 0;     // of allocated cells
  uint64_t unnamed_bytes = 0;  // of those that nothing names
  bool dirty = false;          // the sequence numbers differ
  bool cells_judged = false;   // false where the base block denies that there are any to be read
  bool stopped = false;        // by the user
};
// Of each code: a hive of nothing but faults must not take all memory. The counts go on.
inline constexpr uint64_t kMostFindings = 1 << 20;

// Judges the bytes of a hive file, or of a hive in memory, from its base block on. Any thread; the
// bytes must not change meanwhile. Linear in them but for lists out of order, which are sorted. A
// stop ends it with what was found by then, and `stopped` is set. Where the base block can't be
// relied on no cell is judged: cells_judged is false, and only the base block's findings are there.
CheckResult CheckHive(ByteView hive);

// Nothing above a note.
inline bool IsSound(const CheckResult& result) {
  return result.by_level[static_cast<size_t>(CheckLevel::kFault)] == 0 &&
         result.by_level[static_cast<size_t>(CheckLevel::kOdd)] == 0;
}
// "sound", "sound, dirty", "3 faults", "2 oddities".
std::string VerdictWords(const CheckResult& result);

// What is wrong in a self-relative security descriptor; empty for a well-formed one.
// Words such as "entry 2 of the access list has no SID". The first fault alone.
std::string DescriptorFault(ByteView descriptor);
// Of a key's last write: a FILETIME that a clock can have shown.
// Not 0, and before the year 10000.
bool IsTimeOfKey(uint64_t time);

// The path of a key from the root on, "\" before each name as the tree shows names; empty for the
// root. One of more than `limit` characters begins with the key from which on it fits:
// "...@0x00012340\name".
std::string CheckedKeyPath(ByteView hive, const CheckResult& result, uint32_t key, size_t limit);

}  // namespace hivequarry

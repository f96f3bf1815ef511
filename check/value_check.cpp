// The values of keys and their data.
#include <algorithm>
#include <vector>

#include "check/checking.h"
#include "host/number_text.h"
#include "records/key_node.h"
#include "records/value_key.h"

namespace hivequarry {
namespace {

using enum CheckCode;

constexpr uint16_t kHandleFlag = 0x40;  // of a key: in place of the number of values is a handle
constexpr uint32_t kValueRecord = kValueName - 4;  // bytes of the fixed part, without the size
constexpr uint32_t kLastPlainMinor = 3;            // up to it long data are in one cell

// The longest of a key's values, as its high-water marks count.
struct Longest {
  uint32_t name = 0;
  uint32_t data = 0;
};

const uint8_t* At(const Checking& check, uint32_t position) { return check.hive.data() + position; }

void AddLost(Checking& check, CheckCode code, uint32_t position, uint32_t key, uint32_t bytes) {
  AddFinding(check, code, position, key, {"", std::to_string(bytes) + " bytes"});
}

// Each segment but the last holds kBigDataSegment bytes, whatever its cell has more.
void CheckSegments(Checking& check, const CellTarget& list, uint32_t segments, uint32_t length,
                   uint32_t value, uint32_t key) {
  const uint32_t listed = std::min(segments, list.size / 4);
  uint32_t rest = length;
  for (uint32_t i = 0; i < listed && rest != 0; ++i) {
    const uint32_t offset = LoadU32(At(check, list.position) + 4 + 4 * size_t{i});
    const uint32_t need = std::min(rest, kBigDataSegment);
    const CellTarget cell = FollowOffset(check, offset, kDx, kDf, value, key);
    if (cell.reach != Reach::kCell) {
      AddFinding(check, kV11, value, key,
                 {"segment " + std::to_string(i + 1), std::to_string(need) + " bytes"});
    } else {
      ClaimCell(check, cell, CellUse::kData, key);
      if (cell.size < need) {
        AddFinding(check, kV12, value, key,
                   {std::to_string(cell.size) + " bytes in segment " + std::to_string(i + 1),
                    std::to_string(need)});
      }
    }
    rest -= need;
  }
}

// Head, list of segments, segments, in this order: what is wrong above ends the look below. The
// list may be longer than needed, since cells are rounded up, but not shorter.
void CheckBigData(Checking& check, const CellTarget& head, uint32_t length, uint32_t value,
                  uint32_t key) {
  const uint32_t segments = LoadU16(At(check, head.position) + kBigDataCount);
  const uint32_t need = (length + kBigDataSegment - 1) / kBigDataSegment;
  if (segments != need) {
    AddFinding(check, kV10, value, key, {std::to_string(segments), std::to_string(need)});
  }
  const uint32_t offset = LoadU32(At(check, head.position) + kBigDataList);
  const CellTarget list = FollowOffset(check, offset, kDx, kDf, value, key);
  if (list.reach != Reach::kCell) return AddLost(check, kV8, value, key, length);
  if (!ClaimCell(check, list, CellUse::kData, key)) return;
  if (list.size / 4 < segments) {
    AddFinding(
        check, kV11, value, key,
        {"room for " + std::to_string(list.size / 4) + " segments", std::to_string(segments)});
  }
  CheckSegments(check, list, segments, length, value, key);
}

// Data in a cell of their own.
void CheckDataCell(Checking& check, uint32_t value, uint32_t length, uint32_t key) {
  const uint32_t offset = LoadU32(At(check, value) + kValueDataOffset);
  const CellTarget cell = FollowOffset(check, offset, kDx, kDf, value, key);
  if (cell.reach != Reach::kCell) return AddLost(check, kV8, value, key, length);
  const bool first = ClaimCell(check, cell, CellUse::kData, key);
  const bool segments = length > kBigDataSegment && check.base.minor > kLastPlainMinor;
  // `size` leaves out the cell's own size field: eight bytes are the signature, the count and the
  // list's offset.
  const bool head = cell.size >= kBigDataList && SignatureOf(check, cell) == kSignatureDb;
  if (segments && head) {
    if (first) CheckBigData(check, cell, length, value, key);
    return;
  }
  if (segments) {
    AddFinding(check, kV9, value, key, {std::to_string(length) + " bytes in one cell", "\"db\""});
  }
  if (cell.size < length) {
    AddFinding(check, kV12, value, key,
               {std::to_string(length) + " bytes", "at most " + std::to_string(cell.size)});
  }
}

// The top bit of the length says that the data are in the offset's field.
void CheckData(Checking& check, uint32_t value, uint32_t key, Longest& longest) {
  const uint32_t stored = LoadU32(At(check, value) + kValueDataLength);
  const uint32_t length = stored & ~kInlineData;
  if ((stored & kInlineData) != 0) {
    if (length > 4) {
      AddFinding(check, kV7, value, key, {std::to_string(length) + " bytes", "at most 4"});
    } else {
      longest.data = std::max(longest.data, length);
    }
    return;
  }
  longest.data = std::max(longest.data, length);
  if (length == 0) return;
  if (length <= 4) {
    AddFinding(check, kV13, value, key, {std::to_string(length) + " bytes", "inline data"});
  }
  CheckDataCell(check, value, length, key);
}

// False for an entry that leads to no value; `value` is its position.
bool CheckEntry(Checking& check, const CellTarget& list, uint32_t index, uint32_t key,
                uint32_t& value) {
  const uint32_t offset = LoadU32(At(check, list.position) + 4 + 4 * size_t{index});
  const CellTarget cell = FollowOffset(check, offset, kVx, kVf, list.position, key);
  if (cell.reach != Reach::kCell) {
    AddFinding(check, kV3, list.position, key, {"entry " + std::to_string(index + 1), "a value"});
    return false;
  }
  const bool fits = cell.size >= kValueRecord;
  if (SignatureOf(check, cell) != kSignatureVk || !fits) {
    AddFinding(check, kV4, list.position, key,
               {OffsetFound(offset) + (fits ? "" : ", " + std::to_string(cell.size) + " bytes"),
                "a value"});
    return false;
  }
  value = cell.position;
  return ClaimCell(check, cell, CellUse::kValue, key);
}

// `longest` gathers what the key's own fields of longest name and data are held against after its
// last value.
void CheckValue(Checking& check, uint32_t value, uint32_t key, Longest& longest) {
  const uint8_t* const record = At(check, value);
  ++check.result.values;
  const uint32_t length = LoadU16(record + kValueNameLength);
  const uint32_t room = CellLength(LoadU32(record)) - kValueName;
  if (length > room) {
    AddFinding(check, kV5, value, key,
               {std::to_string(length) + " bytes", "at most " + std::to_string(room)});
  }
  const bool wide = IsWideValueName(LoadU16(record + kValueFlags));
  longest.name = std::max(longest.name, MarkLength(length, wide));
  CheckTombstoneValue(check, value, key);
  CheckData(check, value, key, longest);
}

// Values of one name; each that has it after another is a finding.
void FindTwins(Checking& check, std::vector<uint32_t>& values, uint32_t key) {
  const auto compare = [&check](uint32_t a, uint32_t b) {
    return CompareNames(NameOfValue(check, a), NameOfValue(check, b));
  };
  const auto add = [&](uint32_t value, uint32_t twin) {
    AddFinding(check, kV6, value, key, {HexNumber(twin), ""});
  };
  // So few names are compared each with each sooner than sorted.
  constexpr size_t kFew = 8;
  if (values.size() <= kFew) {
    for (size_t i = 1; i < values.size(); ++i) {
      for (size_t j = 0; j < i; ++j) {
        if (compare(values[j], values[i]) != 0) continue;
        add(values[i], values[j]);
        break;
      }
    }
    return;
  }
  std::ranges::stable_sort(values, [&](uint32_t a, uint32_t b) { return compare(a, b) < 0; });
  for (size_t i = 1; i < values.size(); ++i) {
    if (compare(values[i - 1], values[i]) == 0) add(values[i], values[i - 1]);
  }
}

// A mark may be too large, as systems do not lower it when something is deleted; too small is a
// fault.
void CheckMarks(Checking& check, uint32_t key, const Longest& longest) {
  const uint32_t position = check.result.keys[key].position;
  const auto check_mark = [&](CheckCode code, uint32_t field, uint32_t longest_found) {
    const uint32_t mark = LoadU32(At(check, position) + field);
    if (longest_found <= mark) return;
    AddFinding(check, code, position, key, {std::to_string(mark), std::to_string(longest_found)});
  };
  check_mark(kM2, kKeyLongestValueName, longest.name);
  check_mark(kM3, kKeyLongestValueData, longest.data);
}

}  // namespace

void CheckValues(Checking& check, uint32_t key) {
  const uint32_t position = check.result.keys[key].position;
  const uint8_t* const record = At(check, position);
  const uint32_t count = LoadU32(record + kKeyValueCount);
  if (count == 0 || (LoadU16(record + kKeyFlags) & kHandleFlag) != 0) return;
  const uint32_t offset = LoadU32(record + kKeyValueList);
  const CellTarget list = FollowOffset(check, offset, kVx, kVf, position, key);
  if (list.reach != Reach::kCell) {
    AddFinding(check, kV1, position, key, {"no list", std::to_string(count) + " values"});
    return;
  }
  if (!ClaimCell(check, list, CellUse::kValueList, key)) return;
  // Followed are as many entries as the key counts and the cell has room for.
  const uint32_t room = list.size / 4;
  if (count > room) {
    AddFinding(check, kV2, list.position, key,
               {std::to_string(count), "at most " + std::to_string(room)});
  }
  std::vector<uint32_t>& values = check.values_of_key;
  values.clear();
  Longest longest;
  for (uint32_t i = 0; i < std::min(count, room); ++i) {
    uint32_t value = 0;
    if (!CheckEntry(check, list, i, key, value)) continue;
    values.push_back(value);
    CheckValue(check, value, key, longest);
  }
  FindTwins(check, values, key);
  CheckMarks(check, key, longest);
}

}  // namespace hivequarry

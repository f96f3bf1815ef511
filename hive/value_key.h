// The "vk" cell: a value, with its data inline, in a data cell, or in the segments of a "db" cell.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "hive/image.h"

namespace hivequarry {

struct KeyNode;

// Offsets of the fields from the start of the cell.
inline constexpr uint32_t kValueNameLength = 6;
inline constexpr uint32_t kValueDataLength = 8;
inline constexpr uint32_t kValueDataOffset = 12;
inline constexpr uint32_t kValueType = 16;
inline constexpr uint32_t kValueFlags = 20;
inline constexpr uint32_t kValueName = 24;

inline constexpr uint32_t kMaxValueData = 0x500000;  // data of this length or more is not read
inline constexpr uint32_t kBigDataSegment = 16344;   // bytes per segment of a "db" value
inline constexpr uint32_t kMaxValueName = 519;       // characters kept

// How reading a value ended.
enum class ValueStatus : int {
  kEmpty = 0,        // outside the image, or its name does not fit
  kNotAValue = 5,    // no "vk" at the position
  kTooLong = 6,      // longer than kMaxValueData or than the caller's capacity
  kDataOffset = 14,  // data misplaced, outside the image, or in a free cell
  kDataLength = 15,  // data longer than its cell, which is no "db" cell either
  kNoBase = 16,      // a fragment whose data cannot be located
  kRead = 32,        // read completely
};

struct ValueKey {
  ValueStatus status = ValueStatus::kEmpty;
  uint32_t position = 0;
  uint32_t cell_length = 0;  // absolute
  bool allocated = false;
  uint16_t name_length = 0;  // bytes, as stored
  uint32_t data_length = 0;  // decoded, bytes
  // Where the file has the data, also those that an edit stands in for.
  uint32_t data_position = 0;  // of the first data byte; cell + 12 when inline
  bool inline_data = false;    // length of 4 or less
  bool big_data = false;       // held in "db" segments
  uint32_t type = 0;
  uint16_t flags = 0;   // 0: the name is UTF-16
  bool edited = false;  // type, data_length and data are those of an edit (value_edits.h)
  std::string name;     // code-page text; empty for the default value
};

enum class ValueRead {
  kFields,  // the fields; status kRead when they could be read
  kName,    // fields and name
  kData,    // fields, name and data, checked byte for byte
};

// Reads the value at `position`. With kData its bytes replace `data` (empty unless kRead), at most
// `capacity` of them; `data` may be null otherwise. The fields are filled as far as they could be
// read whatever the status, but for kEmpty and kNotAValue. An edited value has the edit's type and
// data, and they can be read whatever became of those in the file.
ValueKey ReadValueKey(const HiveImage& hive, uint32_t position, ValueRead how, uint32_t capacity,
                      std::vector<uint8_t>* data);
// The same of what the file has, edited or not.
ValueKey ReadStoredValueKey(const HiveImage& hive, uint32_t position, ValueRead how,
                            uint32_t capacity, std::vector<uint8_t>* data);

// Bytes of data that a walk over many keys may read. In a sound hive values share none, so that all
// of them together have fewer than the hive; a damaged one may show the same megabytes at each of
// thousands of keys.
struct DataBudget {
  uint64_t left = 0;
};
DataBudget MakeDataBudget(const HiveImage& hive);
// As ReadValueKey with kData; with the budget used up only short data are read, longer ones count
// as too long.
ValueKey ReadValueWithin(const HiveImage& hive, uint32_t position, DataBudget& budget,
                         std::vector<uint8_t>& data);
// The same of a value that was freed, as the file has it: data in cells that are free by now are
// read too, as far as the cell has room for them. Whether somebody else's data stand there by now
// the bytes don't tell.
ValueKey ReadFreedValue(const HiveImage& hive, uint32_t position, DataBudget& budget,
                        std::vector<uint8_t>& data);

// Name bytes as stored, at most 510.
std::vector<uint8_t> ReadRawValueName(const HiveImage& hive, const ValueKey& value);
// The name, nothing lost; of a value that was read with its name.
std::u16string WideValueName(const HiveImage& hive, const ValueKey& value);
std::string ValueNameUtf8(const HiveImage& hive, const ValueKey& value);

// Appends the positions named by a key's value list, in list order; kNoOffset for an entry that
// leads outside the cell bounds. Reads as many entries as the key's count, the list cell and the
// image allow, at most `budget`, which is lowered by what was read. False when the list was cut.
bool ReadValueList(const HiveImage& hive, uint32_t value_count, uint32_t value_list,
                   uint32_t& budget, std::vector<uint32_t>& positions);
// True for a key whose fields name a value list, readable or not.
bool HasValueList(const HiveImage& hive, uint32_t key_position);
// ReadValueList of the key's own list; nothing for a key without one.
void ReadValuesOfKey(const HiveImage& hive, uint32_t key_position, uint32_t& budget,
                     std::vector<uint32_t>& positions);

}  // namespace hivequarry

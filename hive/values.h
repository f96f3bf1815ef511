// Values of a hive: "vk" records with their data, which are inline, in a data cell, or in the
// segments of a "db" cell; and the value lists of keys.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "hive/image.h"
#include "records/value_key.h"

namespace hivequarry {

struct KeyNode;

inline constexpr uint32_t kMaxValueData = 0x500000;  // data of this length or more is not read

// How reading a value ended.
// The numbers are shown to the user and so never change.
enum class ValueStatus : int {
  kEmpty = 0,        // outside the image, or its name does not fit
  kNotAValue = 5,    // no "vk" at the position
  kTooLong = 6,      // longer than kMaxValueData or than the caller's capacity
  kReadBefore = 7,   // others had the same bytes read in this walk, too often to read them again
  kDataOffset = 14,  // data misplaced, outside the image, or in a free cell
  kDataLength = 15,  // data longer than its cell, which is no "db" cell either
  kNoBase = 16,      // a fragment whose data cannot be located
  kRead = 32,        // read completely
};

// A value as read. Its fields are those of the record; only with kRead do all of its data exist.
struct ValueKey {
  ValueStatus status = ValueStatus::kEmpty;
  uint32_t position = 0;     // of its cell
  uint32_t cell_length = 0;  // absolute
  bool allocated = false;
  uint16_t name_length = 0;  // bytes, as stored
  uint32_t data_length = 0;  // decoded, bytes
  // Where the file has the data, also those that an edit stands in for.
  uint32_t data_position = 0;  // of the first data byte; cell + 12 when inline
  bool inline_data = false;    // length of 4 or less
  bool big_data = false;       // held in "db" segments
  uint32_t type = 0;
  uint16_t flags = 0;   // as stored
  bool edited = false;  // type, data_length and data are those of an edit (value_edits.h)
  std::string name;     // empty for the default value
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
// Costs of the data no more than is copied; a "db" value's segments are looked up one by one.
ValueKey ReadValueKey(const HiveImage& hive, uint32_t position, ValueRead how, uint32_t capacity,
                      std::vector<uint8_t>* data);
// The same of what the file has, edited or not.
ValueKey ReadStoredValueKey(const HiveImage& hive, uint32_t position, ValueRead how,
                            uint32_t capacity, std::vector<uint8_t>* data);

// True where ReadValueKey finds a value, whatever became of its data: neither kEmpty nor
// kNotAValue.
bool HoldsValue(const HiveImage& hive, uint32_t position);

// Where a part of a value's data is: `length` bytes from `offset` within the data on are at the
// image position.
struct DataPiece {
  uint32_t offset = 0;
  uint32_t length = 0;
  uint32_t position = 0;
};
// All data of one value, also where they are as long as kMaxValueData or longer: as long as the
// image has room for. `pieces`: where they are, ascending and without gaps; empty for an edit's.
ValueKey ReadWholeValue(const HiveImage& hive, uint32_t position, std::vector<uint8_t>& data,
                        std::vector<DataPiece>& pieces);

// Reads no more data than a list shows of them: `data` has the first kShownData bytes at most, and
// data_length tells how many there are. All of them have been located.
inline constexpr uint32_t kShownData = 1024;
ValueKey ReadShownValue(const HiveImage& hive, uint32_t position, std::vector<uint8_t>& data);

// What a walk over many keys has read. In a sound hive no two values share a byte, so whatever is
// read for the first time is free, and so is a second time, for the one that had the better right
// to it; from then on reading costs of what all share. So a megabyte that thousands of values name
// makes none of the others unreadable.
struct DataBudget {
  std::vector<uint64_t> once;   // a bit for each 8 bytes of the image
  std::vector<uint64_t> twice;  // likewise, read a second time
  std::vector<uint64_t> shown;  // values' records
  uint64_t left = 0;            // bytes of data to be read once more
  uint64_t rows = 0;            // bytes, roughly, of rows for values that have had theirs
  // Position of a list of segments that all were read twice, and the length of their data; 0: none.
  uint32_t spent_list = 0;
  uint32_t spent_length = 0;
};
// For one walk on one thread. What may be read again is bounded by the image's length and 8 MB,
// rows by twice the length and 16 MB: far more than any sound hive needs.
DataBudget MakeDataBudget(const HiveImage& hive);
// As ReadValueKey with kData. Data that were read too often are not read again: kReadBefore, with
// as much of them as ReadShownValue gives, and a shortfall noted.
// A value takes at most a quarter of what is left for data that are shared.
ValueKey ReadValueWithin(const HiveImage& hive, uint32_t position, DataBudget& budget,
                         std::vector<uint8_t>& data);
// False when the walk has had the value at `position` too often, or a record that overlaps with it:
// it is passed over, and a shortfall noted. Asked before the value is read.
bool MayShowValue(const HiveImage& hive, uint32_t position, DataBudget& budget);
// The same for a row about an entry that leads to no value.
bool MayShowLoss(DataBudget& budget);
// A value that was freed, as the file has it: data in cells that are free by now are read too, as
// far as the cell has room for them. Whether somebody else's data are there by now the bytes
// don't tell. The value's offsets are more than they were in this image by `shift`. Without a
// budget no more is read than ReadShownValue gives.
ValueKey ReadFreedValue(const HiveImage& hive, uint32_t position, uint32_t shift,
                        DataBudget* budget, std::vector<uint8_t>& data);

// Name bytes as stored.
// As long as the record says, though the cell may be shorter; fewer at the image's end.
std::vector<uint8_t> ReadRawValueName(const HiveImage& hive, const ValueKey& value);
// The name, nothing lost; of a value that was read with its name.
std::u16string WideValueName(const HiveImage& hive, const ValueKey& value);

// Where a value list is, and how far it goes.
enum class ListBound : uint8_t {
  kNone,   // no list, or no place for one
  kCell,   // an allocated cell with room for the key's count
  kGuess,  // the cell or the count is wrong: it ends where entries no longer lead to values
};
struct ValueListPlace {
  ListBound bound = ListBound::kNone;
  uint32_t position = kNoOffset;  // of the list's cell
  uint32_t most = 0;              // entries at most: by the key's count, the cell, the image
};
// `value_list` is a position. No entry is read.
ValueListPlace PlaceValueList(const HiveImage& hive, uint32_t value_count, uint32_t value_list);
// The place of an entry, and the position it leads to; kNoOffset when that lies outside the cell
// bounds.
inline uint32_t ValueEntryPosition(uint32_t value_list, size_t index) {
  return value_list + 4 + 4 * static_cast<uint32_t>(index);
}
// `entry` is the position of four bytes, an offset.
uint32_t EntryTarget(const HiveImage& hive, uint32_t entry);
// The place of the entry by which a key lists its value of that number.
// `index` counts from 0 in the order of ReadWholeValueList.
uint32_t ListEntryOf(const HiveImage& hive, uint32_t key_position, size_t index);

// Appends the positions named by a key's value list, in list order; kNoOffset for an entry that
// leads outside the cell bounds. Reads at most `limit` entries. False when there are fewer than
// `value_count`.
bool ReadValueList(const HiveImage& hive, uint32_t value_count, uint32_t value_list, uint32_t limit,
                   std::vector<uint32_t>& positions);
// True for a key whose fields name a value list, readable or not.
bool HasValueList(const HiveImage& hive, uint32_t key_position);
// ReadValueList of the key's own list, for a walk over many keys: what a load found out about lists
// that several keys name bounds it. Nothing for a key without one. False when entries of the key's
// were left out by that bound.
bool ReadValuesOfKey(const HiveImage& hive, uint32_t key_position, uint32_t limit,
                     std::vector<uint32_t>& positions);
// The same for who shows rows of what is read: what was left out is noted as a shortfall.
void ReadValuesInWalk(const HiveImage& hive, uint32_t key_position,
                      std::vector<uint32_t>& positions);
// All of the key's entries, for who asks for this one key.
void ReadWholeValueList(const HiveImage& hive, uint32_t key_position,
                        std::vector<uint32_t>& positions);
// What was noted about the key's list; all defaults for nearly every key.
ValueListNote NoteOfValueList(const HiveImage& hive, uint32_t key_position);

}  // namespace hivequarry

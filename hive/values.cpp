#include "hive/values.h"

#include <algorithm>

#include "hive/keys.h"
#include "hive/layer_stack.h"
#include "hive/position_index.h"
#include "host/host.h"
#include "host/shortfalls.h"
#include "records/cell.h"

namespace hivequarry {
namespace {

// One less than where names begin: a cell that is a byte too short for its name still gives all of
// it.
constexpr uint32_t kFixedNameRoom = 23;  // the name takes at most the cell's length less this

bool InsideLayer(const HiveImage& hive, uint32_t position, uint32_t size) {
  return InsideHive(hive, position, size) && InOneLayer(hive, position, size);
}

// The registry takes names of up to 16,383 characters; here the cell alone bounds them.
uint32_t StoredNameLength(uint32_t name_length, uint32_t cell_length) {
  const uint32_t room = cell_length < kFixedNameRoom ? 0 : cell_length - kFixedNameRoom;
  return std::min(name_length, room);
}

// Where a cell with the fixed part may be.
bool HasValueRoom(const HiveImage& hive, uint32_t position) {
  return position >= hive.lower_bound && uint64_t{position} + 12 <= hive.last_valid;
}

// False when the name runs past the hive.
bool ReadName(const HiveImage& hive, ValueKey& value) {
  const uint32_t stored = StoredNameLength(value.name_length, value.cell_length);
  if (!InsideLayer(hive, value.position, kValueName + stored)) return false;
  value.name =
      ValueNameText(ImageBytes(hive), value.position, stored, IsWideValueName(value.flags));
  return true;
}

// The place of the data is that of data inline at first; who follows the offset sets it anew.
void FillFields(const ValueFields& fields, ValueKey& value) {
  value.cell_length = CellLength(fields.size);
  value.allocated = IsAllocated(fields.size);
  value.name_length = fields.name_length;
  value.data_length = fields.data_length;
  value.type = fields.type;
  value.flags = fields.flags;
  value.inline_data = value.data_length <= 4;
  value.data_position = value.position + kValueDataOffset;
}

// A "db" value: its segment list, and from there the segments one by one.
struct Segments {
  uint32_t list = 0;   // position of the first entry
  uint32_t shift = 0;  // what the offsets are more than they were here
};

// Position of the data in segment `index`, 0 when it cannot be located with `need` bytes in it.
uint32_t SegmentPosition(const HiveImage& hive, const Segments& segments, uint32_t index,
                         uint32_t need) {
  const uint32_t entry = segments.list + 4 * index;
  if (!InsideHive(hive, entry, 4)) return 0;
  const uint32_t position = ReadOffset(hive, entry) + 4 - segments.shift;
  const bool inside = position >= 32 && position <= hive.last_valid;
  return inside && InsideLayer(hive, position, need) ? position : 0;
}

bool LocateSegments(const HiveImage& hive, const ValueKey& value, Segments& segments) {
  segments.list = ReadOffset(hive, value.data_position - 4 + kBigDataList) + 4 - segments.shift;
  if (segments.list < 32 || segments.list > hive.last_valid) return false;
  return SegmentPosition(hive, segments, 0, std::min(value.data_length, kBigDataSegment)) != 0;
}

// Which cells data are read from.
// Freed data keep their bytes, but only who looks for freed values asks for them.
enum class DataCell { kAllocated, kAny };

// In use and no longer than 16 MB: a value's data never are, and anything else there is no data
// cell.
bool IsDataCell(uint32_t size, DataCell which) {
  return size >> 24 == 0xFF || (which == DataCell::kAny && !IsAllocated(size) && size % 8 == 0);
}

// Finds data of five bytes or more and checks the cell that holds it.
// In order: the offset is checked before it is followed, the cell before its bytes are counted, and
// only a cell that is too short for the data may be a "db" record.
ValueStatus LocateData(const HiveImage& hive, DataCell which, ValueKey& value, Segments& segments) {
  const uint32_t offset = ReadU32(hive, value.position + kValueDataOffset);
  if (offset % 4 != 0) return ValueStatus::kDataOffset;
  if (!hive.data_base_proven) return ValueStatus::kNoBase;
  value.data_position = ReadOffset(hive, value.position + kValueDataOffset) + 4 - segments.shift;
  const uint32_t cell = value.data_position - 4;
  if (cell > value.data_position || cell < hive.lower_bound) return ValueStatus::kDataOffset;
  if (!InsideHive(hive, cell, 8)) return ValueStatus::kDataOffset;
  const uint32_t size = ReadU32(hive, cell);
  if (!IsDataCell(size, which)) return ValueStatus::kDataOffset;
  const uint32_t length = CellLength(size);
  if (value.data_length + 4 <= length) {
    const bool inside = InsideLayer(hive, value.data_position, value.data_length);
    return inside ? ValueStatus::kRead : ValueStatus::kDataOffset;
  }
  const bool big = length == kBigDataCellLength && ReadU16(hive, cell + 4) == kSignatureDb;
  if (!big) {
    const bool inside = InsideLayer(hive, value.data_position, value.data_length);
    return inside ? ValueStatus::kDataLength : ValueStatus::kDataOffset;
  }
  value.big_data = true;
  return LocateSegments(hive, value, segments) ? ValueStatus::kRead : ValueStatus::kDataOffset;
}

// The first `most` bytes; all segments are located.
bool CopySegments(const HiveImage& hive, const ValueKey& value, const Segments& segments,
                  uint32_t most, std::vector<uint8_t>& data) {
  uint32_t done = 0;
  for (uint32_t index = 0; done < value.data_length; ++index) {
    const uint32_t size = std::min(value.data_length - done, kBigDataSegment);
    const uint32_t position = SegmentPosition(hive, segments, index, size);
    if (position == 0) return false;
    if (done < most) ReadBytes(hive, position, data.data() + done, std::min(size, most - done));
    done += size;
  }
  return true;
}

// The first `most` bytes of located data; all or none of them.
ValueStatus CopyData(const HiveImage& hive, const ValueKey& value, const Segments& segments,
                     uint32_t most, std::vector<uint8_t>& data) {
  const uint32_t length = std::min(value.data_length, most);
  if (value.big_data) {
    data.resize(length);
    if (CopySegments(hive, value, segments, length, data)) return ValueStatus::kRead;
    data.clear();
    return ValueStatus::kDataOffset;
  }
  const ByteView whole = PartOf(ImageBytes(hive), value.data_position, length);
  if (whole.size() < length) return ValueStatus::kDataOffset;
  data.assign(whole.begin(), whole.end());
  return ValueStatus::kRead;
}

// What is read of a value, and how much.
struct ValueRequest {
  ValueRead how = ValueRead::kData;
  uint32_t capacity = kMaxValueData;
  DataCell cells = DataCell::kAllocated;
  uint32_t most = kMaxValueData;  // bytes of the data that are copied
  DataBudget* budget = nullptr;   // that allows more than kShownData of them
  uint32_t shift = 0;             // what the offsets are more than they were here
  bool of_any_length = false;     // kMaxValueData is no bound, but the image's length
};

bool IsTooLong(const HiveImage& hive, const ValueRequest& request, uint32_t length) {
  if (request.of_any_length) return length > hive.length;
  return length >= kMaxValueData || length > request.capacity;
}

// --- what a walk has read ------------------------------------------------------------------------

bool IsFree(DataBudget& budget, uint32_t position, uint32_t size) {
  return ClaimRange(budget.once, position, size) || ClaimRange(budget.twice, position, size);
}

// Bytes of the value's data that cost of what the walk shares.
uint64_t CostOf(const HiveImage& hive, const ValueKey& value, const Segments& segments,
                DataBudget& budget) {
  if (value.inline_data) return 0;
  if (!value.big_data) {
    const bool free = IsFree(budget, value.data_position - 4, value.data_length + 4);
    return free ? 0 : value.data_length;
  }
  // Thousands of values may name the same segments: what was read stays so.
  const bool spent = segments.list == budget.spent_list && value.data_length == budget.spent_length;
  if (spent) return value.data_length;
  uint64_t cost = 0;
  uint32_t done = 0;
  for (uint32_t index = 0; done < value.data_length; ++index) {
    const uint32_t size = std::min(value.data_length - done, kBigDataSegment);
    const uint32_t position = SegmentPosition(hive, segments, index, size);
    if (position == 0) break;
    if (!IsFree(budget, position - 4, size + 4)) cost += size;
    done += size;
  }
  if (cost == value.data_length) {
    budget.spent_list = segments.list;
    budget.spent_length = value.data_length;
  }
  return cost;
}

bool Affords(const HiveImage& hive, const ValueKey& value, const Segments& segments,
             DataBudget& budget) {
  // At most a quarter of what is left, so that one large value leaves something for those after it.
  const uint64_t cost = CostOf(hive, value, segments, budget);
  if (cost > budget.left / 4) return false;
  budget.left -= cost;
  return true;
}

constexpr uint32_t kRowBytes = 192;  // of a row, path and all

// `cost` is roughly the bytes that the row takes in a list.
bool SpendOnRow(DataBudget& budget, uint64_t cost) {
  if (cost > budget.rows) {
    NoteShortfall(Shortfall::kRows);
    return false;
  }
  budget.rows -= cost;
  return true;
}

// --- the record ----------------------------------------------------------------------------------

// Without a budget all that was asked for. What the budget does not allow is cut to what a list
// shows of it, so that no row is empty for want of budget.
ValueStatus CopyAffordableData(const HiveImage& hive, const ValueKey& value,
                               const ValueRequest& request, const Segments& segments,
                               std::vector<uint8_t>& data) {
  const bool whole = request.budget == nullptr || Affords(hive, value, segments, *request.budget);
  const uint32_t most = whole ? request.most : std::min(request.most, kShownData);
  const ValueStatus status = CopyData(hive, value, segments, most, data);
  if (whole || status != ValueStatus::kRead) return status;
  NoteShortfall(Shortfall::kValueData);
  return ValueStatus::kReadBefore;
}

ValueKey ReadValue(const HiveImage& hive, uint32_t position, const ValueRequest& request,
                   std::vector<uint8_t>* data) {
  if (data != nullptr) data->clear();
  ValueKey value;
  if (!HasValueRoom(hive, position)) return value;
  value.position = position;
  const ValueFields fields = ReadValueFields(ImageBytes(hive), position);
  if (fields.signature != kSignatureVk) {
    value.status = ValueStatus::kNotAValue;
    return value;
  }
  FillFields(fields, value);
  if (request.how != ValueRead::kFields && !ReadName(hive, value)) return ValueKey();

  Segments segments;
  segments.shift = request.shift;
  // Before any segment is followed: a length that the file cannot hold would have its list walked
  // for nothing.
  if (IsTooLong(hive, request, value.data_length)) {
    value.status = ValueStatus::kTooLong;
    return value;
  }
  value.status =
      value.inline_data ? ValueStatus::kRead : LocateData(hive, request.cells, value, segments);
  if (request.how == ValueRead::kData && value.status == ValueStatus::kRead && data != nullptr) {
    value.status = CopyAffordableData(hive, value, request, segments, *data);
  }
  return value;
}

// Name and fields are those of the file, type and data those of the edit. A value whose data the
// file has lost is read then, but not one that is no value.
ValueKey ReadEditedValueKey(const HiveImage& hive, const ValueEdit& edit, ValueRead how,
                            uint32_t capacity, std::vector<uint8_t>* data) {
  if (data != nullptr) data->clear();
  const ValueRead stored = how == ValueRead::kFields ? how : ValueRead::kName;
  ValueKey value = ReadStoredValueKey(hive, edit.position, stored, kMaxValueData, nullptr);
  if (value.status == ValueStatus::kEmpty || value.status == ValueStatus::kNotAValue) return value;
  value.edited = true;
  value.type = edit.type;
  value.data_length = static_cast<uint32_t>(edit.data.size());
  value.status = value.data_length > capacity ? ValueStatus::kTooLong : ValueStatus::kRead;
  const bool wanted = how == ValueRead::kData && data != nullptr;
  if (wanted && value.status == ValueStatus::kRead) *data = edit.data;
  return value;
}

// A value with its data, the edit's where it was edited.
ValueKey ReadRequested(const HiveImage& hive, uint32_t position, const ValueRequest& request,
                       std::vector<uint8_t>& data) {
  if (hive.edits.any.load(std::memory_order_relaxed)) {
    const ValueEditPtr edit = EditOf(hive, position);
    if (edit != nullptr) {
      return ReadEditedValueKey(hive, *edit, ValueRead::kData, kMaxValueData, &data);
    }
  }
  return ReadValue(hive, position, request, &data);
}

// Empty, or ending early, where a segment cannot be located.
std::vector<DataPiece> PiecesOfData(const HiveImage& hive, const ValueKey& value) {
  if (!value.big_data) return {{0, value.data_length, value.data_position}};
  std::vector<DataPiece> pieces;
  Segments segments;
  if (!LocateSegments(hive, value, segments)) return pieces;
  uint32_t done = 0;
  for (uint32_t index = 0; done < value.data_length; ++index) {
    const uint32_t size = std::min(value.data_length - done, kBigDataSegment);
    const uint32_t position = SegmentPosition(hive, segments, index, size);
    if (position == 0) break;
    pieces.push_back({done, size, position});
    done += size;
  }
  return pieces;
}

// --- lists ---------------------------------------------------------------------------------------

constexpr uint32_t kNoList = 0xFFFFFFF8;  // this offset and all above name none

// Entries of a list whose length nothing vouches for: up to the last that leads to a value, with
// gaps no longer than what one lost sector leaves.
void ReadGuessedList(const HiveImage& hive, uint32_t list, uint32_t count,
                     std::vector<uint32_t>& positions) {
  constexpr uint32_t kLongestGap = 512 / 4;
  const size_t start = positions.size();
  size_t proven = start;
  for (uint32_t i = 0; i < count && positions.size() - proven <= kLongestGap; ++i) {
    positions.push_back(EntryTarget(hive, ValueEntryPosition(list, i)));
    const uint32_t value = positions.back();
    if (value != kNoOffset && ReadU16(hive, value + 4) == kSignatureVk) proven = positions.size();
  }
  positions.resize(proven);
}

}  // namespace

ValueKey ReadValueKey(const HiveImage& hive, uint32_t position, ValueRead how, uint32_t capacity,
                      std::vector<uint8_t>* data) {
  if (hive.edits.any.load(std::memory_order_relaxed)) {
    const ValueEditPtr edit = EditOf(hive, position);
    if (edit != nullptr) return ReadEditedValueKey(hive, *edit, how, capacity, data);
  }
  return ReadStoredValueKey(hive, position, how, capacity, data);
}

ValueKey ReadStoredValueKey(const HiveImage& hive, uint32_t position, ValueRead how,
                            uint32_t capacity, std::vector<uint8_t>* data) {
  ValueRequest request;
  request.how = how;
  request.capacity = capacity;
  return ReadValue(hive, position, request, data);
}

// An edit changes no name and makes no value.
bool HoldsValue(const HiveImage& hive, uint32_t position) {
  if (!HasValueRoom(hive, position)) return false;
  if (ReadU16(hive, position + 4) != kSignatureVk) return false;
  const uint32_t stored = StoredNameLength(ReadU16(hive, position + kValueNameLength),
                                           CellLength(ReadU32(hive, position)));
  return InsideLayer(hive, position, kValueName + stored);
}

ValueKey ReadWholeValue(const HiveImage& hive, uint32_t position, std::vector<uint8_t>& data,
                        std::vector<DataPiece>& pieces) {
  pieces.clear();
  ValueRequest request;
  request.of_any_length = true;
  request.most = hive.length;
  const ValueKey value = ReadRequested(hive, position, request, data);
  if (value.status == ValueStatus::kRead && !value.edited && !data.empty()) {
    pieces = PiecesOfData(hive, value);
  }
  return value;
}

ValueKey ReadShownValue(const HiveImage& hive, uint32_t position, std::vector<uint8_t>& data) {
  ValueRequest request;
  request.most = kShownData;
  return ReadRequested(hive, position, request, data);
}

DataBudget MakeDataBudget(const HiveImage& hive) {
  // Beside the image's length, so that a small hive with a few shared values loses nothing.
  constexpr uint64_t kLeastData = 8 * 1024 * 1024;
  constexpr uint64_t kLeastRows = 16 * 1024 * 1024;
  const size_t words = hive.length / 512 + 1;
  return {std::vector<uint64_t>(words), std::vector<uint64_t>(words), std::vector<uint64_t>(words),
          kLeastData + hive.length, kLeastRows + 2 * uint64_t{hive.length}};
}

ValueKey ReadValueWithin(const HiveImage& hive, uint32_t position, DataBudget& budget,
                         std::vector<uint8_t>& data) {
  ValueRequest request;
  request.budget = &budget;
  return ReadRequested(hive, position, request, data);
}

ValueKey ReadFreedValue(const HiveImage& hive, uint32_t position, uint32_t shift,
                        DataBudget* budget, std::vector<uint8_t>& data) {
  ValueRequest request;
  request.cells = DataCell::kAny;
  request.shift = shift;
  request.budget = budget;
  if (budget == nullptr) request.most = kShownData;
  return ReadValue(hive, position, request, &data);
}

bool MayShowLoss(DataBudget& budget) { return SpendOnRow(budget, kRowBytes); }

bool MayShowValue(const HiveImage& hive, uint32_t position, DataBudget& budget) {
  // Of this length, bytes, a name is part of what a row costs anyway.
  constexpr uint32_t kShortName = 64;
  const uint32_t name = ReadU16(hive, position + kValueNameLength);
  uint64_t cost = ClaimRange(budget.shown, position, kValueName) ? 0 : kRowBytes;
  if (name > kShortName && !IsFree(budget, position, kValueName + name)) cost += name;
  return SpendOnRow(budget, cost);
}

std::vector<uint8_t> ReadRawValueName(const HiveImage& hive, const ValueKey& value) {
  std::vector<uint8_t> bytes(value.name_length);
  bytes.resize(ReadBytes(hive, value.position + kValueName, bytes.data(),
                         static_cast<uint32_t>(bytes.size())));
  return bytes;
}

// A single-byte name is the low bytes of UTF-16, not text of a code page.
std::u16string WideValueName(const HiveImage& hive, const ValueKey& value) {
  const uint32_t step = IsWideValueName(value.flags) ? 2 : 1;
  std::vector<uint8_t> raw(StoredNameLength(value.name_length, value.cell_length));
  raw.resize(
      ReadBytes(hive, value.position + kValueName, raw.data(), static_cast<uint32_t>(raw.size())));
  std::u16string text;
  for (size_t i = 0; i + step <= raw.size(); i += step) {
    text.push_back(step == 2 ? LoadU16(raw.data() + i) : raw[i]);
  }
  return text;
}

ValueListPlace PlaceValueList(const HiveImage& hive, uint32_t value_count, uint32_t value_list) {
  ValueListPlace place;
  if (value_count == 0 || value_list >= kNoList || !InCellBounds(hive, value_list)) return place;
  const uint32_t size = ReadU32(hive, value_list);
  const uint32_t length = CellLength(size);
  const bool credible =
      IsAllocated(size) && length % 8 == 0 && length >= 8 && InsideHive(hive, value_list, length);
  const uint32_t room = ((credible ? length : hive.length - value_list) - 4) / 4;
  place.bound = credible && value_count <= room ? ListBound::kCell : ListBound::kGuess;
  place.position = value_list;
  place.most = std::min(value_count, room);
  return place;
}

uint32_t EntryTarget(const HiveImage& hive, uint32_t entry) {
  const uint32_t value = ReadOffset(hive, entry);
  return value != kNoOffset && InCellBounds(hive, value) ? value : kNoOffset;
}

bool ReadValueList(const HiveImage& hive, uint32_t value_count, uint32_t value_list, uint32_t limit,
                   std::vector<uint32_t>& positions) {
  if (value_count == 0) return true;
  const ValueListPlace place = PlaceValueList(hive, value_count, value_list);
  if (place.bound == ListBound::kNone) return false;
  const size_t start = positions.size();
  const uint32_t count = std::min(place.most, limit);
  if (place.bound == ListBound::kGuess) {
    ReadGuessedList(hive, value_list, count, positions);
    return positions.size() - start == value_count;
  }
  positions.reserve(start + count);
  const ByteView entries = PartOf(ImageBytes(hive), value_list + 4, 4 * count);
  for (uint32_t i = 0; i < count; ++i) {
    const uint32_t field = ValueEntryPosition(value_list, i);
    const uint32_t value = OffsetPosition(hive, ReadU32(entries, 4 * i), field);
    positions.push_back(value != kNoOffset && InCellBounds(hive, value) ? value : kNoOffset);
  }
  return count == value_count;
}

namespace {

// False for a key that is not joined to others.
bool ReadJoinedValues(const HiveImage& hive, uint32_t key_position, uint32_t limit,
                      std::vector<uint32_t>& positions) {
  const StackKey* joined = StackKeyAt(hive, key_position);
  if (joined == nullptr) return false;
  const size_t count = std::min<size_t>(joined->values.size(), limit);
  for (size_t i = 0; i < count; ++i) positions.push_back(joined->values[i].position);
  return true;
}

}  // namespace

uint32_t ListEntryOf(const HiveImage& hive, uint32_t key_position, size_t index) {
  const StackKey* joined = StackKeyAt(hive, key_position);
  if (joined == nullptr) return ValueEntryPosition(ValueListOf(hive, key_position), index);
  return index < joined->values.size() ? joined->values[index].entry : key_position;
}

bool HasValueList(const HiveImage& hive, uint32_t key_position) {
  const StackKey* joined = StackKeyAt(hive, key_position);
  if (joined != nullptr) return !joined->values.empty();
  return ReadU32(hive, key_position + kKeyValueCount) != 0 &&
         ReadU32(hive, key_position + kKeyValueList) < kNoList;
}

ValueListNote NoteOfValueList(const HiveImage& hive, uint32_t key_position) {
  if (hive.found.list_notes.empty()) return {};
  const auto note = hive.found.list_notes.find(key_position);
  return note == hive.found.list_notes.end() ? ValueListNote() : note->second;
}

bool ReadValuesOfKey(const HiveImage& hive, uint32_t key_position, uint32_t limit,
                     std::vector<uint32_t>& positions) {
  if (ReadJoinedValues(hive, key_position, limit, positions)) return true;
  if (!HasValueList(hive, key_position)) return true;
  const uint32_t count = ReadU32(hive, key_position + kKeyValueCount);
  const ValueListNote note = NoteOfValueList(hive, key_position);
  const uint32_t most = std::min({note.entries, note.in_walks, limit});
  if (most != 0) ReadValueList(hive, count, ValueListOf(hive, key_position), most, positions);
  return note.in_walks >= std::min(note.entries, count);
}

void ReadValuesInWalk(const HiveImage& hive, uint32_t key_position,
                      std::vector<uint32_t>& positions) {
  if (ReadValuesOfKey(hive, key_position, kAllEntries, positions)) return;
  NoteShortfall(Shortfall::kValueLists);
}

void ReadWholeValueList(const HiveImage& hive, uint32_t key_position,
                        std::vector<uint32_t>& positions) {
  if (ReadJoinedValues(hive, key_position, kAllEntries, positions)) return;
  if (!HasValueList(hive, key_position)) return;
  ReadValueList(hive, ReadU32(hive, key_position + kKeyValueCount), ValueListOf(hive, key_position),
                NoteOfValueList(hive, key_position).entries, positions);
}

}  // namespace hivequarry

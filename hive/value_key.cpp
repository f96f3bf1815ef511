#include "hive/value_key.h"

#include <algorithm>
#include <array>

#include "hive/cells.h"
#include "hive/key_node.h"
#include "host/host.h"

namespace hivequarry {
namespace {

constexpr uint32_t kFixedNameRoom = 23;  // the name takes at most the cell's length less this
constexpr uint32_t kMaxRawName = 510;
constexpr uint32_t kBigDataCellLength = 16;

// False when the name runs past the hive or is too long to be one.
bool ReadName(const HiveImage& hive, uint32_t cell_room, ValueKey& value) {
  const bool wide = value.flags == 0;
  const uint32_t stored = std::min<uint32_t>(value.name_length, cell_room);
  if (!InsideHive(hive, value.position, kValueName + stored)) return false;
  const uint32_t characters = wide ? stored / 2 : stored;
  if (characters >= kMaxValueName) return false;
  const uint8_t* narrow =
      wide ? nullptr : BytesInMemory(hive, value.position + kValueName, characters);
  if (narrow != nullptr) {
    value.name.assign(reinterpret_cast<const char*>(narrow), characters);
    return true;
  }
  uint8_t bytes[2 * kMaxValueName] = {};
  ReadBytes(hive, value.position + kValueName, bytes, wide ? characters * 2 : characters);
  value.name.resize(characters);
  for (uint32_t i = 0; i < characters; ++i) {
    value.name[i] = wide ? NarrowUnit(LoadU16(bytes + 2 * i)) : static_cast<char>(bytes[i]);
  }
  return true;
}

// The fixed part of the cell, read at once.
using FixedPart = std::array<uint8_t, kValueName>;
FixedPart ReadFixedPart(const HiveImage& hive, uint32_t position) {
  FixedPart cell{};
  const uint32_t got = ReadBytes(hive, position, cell.data(), kValueName);
  if (got < kValueFlags + 2) cell[kValueFlags] = 0;  // a field that was cut off is 0
  return cell;
}

void TakeFields(const FixedPart& cell, ValueKey& value) {
  const uint32_t size = LoadU32(cell.data());
  value.cell_length = CellLength(size);
  value.allocated = IsAllocated(size);
  value.name_length = LoadU16(cell.data() + kValueNameLength);
  const uint32_t low = LoadU16(cell.data() + kValueDataLength);
  const uint32_t high = LoadU16(cell.data() + kValueDataLength + 2);
  value.data_length = high != 0 && high != 0x8000 ? high << 16 | low : low;
  value.type = LoadU32(cell.data() + kValueType);
  value.flags = LoadU16(cell.data() + kValueFlags);
  value.inline_data = value.data_length <= 4;
  value.data_position = value.position + kValueDataOffset;
}

// A "db" value: its segment list, and from there the segments one by one.
struct Segments {
  uint32_t list = 0;  // position of the first entry
};

// Position of the data in segment `index`, 0 when it cannot be located with `need` bytes in it.
uint32_t SegmentPosition(const HiveImage& hive, const Segments& segments, uint32_t index,
                         uint32_t need) {
  const uint32_t entry = segments.list + 4 * index;
  if (!InsideHive(hive, entry, 4)) return 0;
  const uint32_t position = ReadOffset(hive, entry) + 4;
  const bool inside = position >= 32 && position <= hive.last_valid;
  return inside && InsideHive(hive, position, need) ? position : 0;
}

bool LocateSegments(const HiveImage& hive, const ValueKey& value, Segments& segments) {
  segments.list = ReadOffset(hive, value.data_position + 4) + 4;
  if (segments.list < 32 || segments.list > hive.last_valid) return false;
  return SegmentPosition(hive, segments, 0, std::min(value.data_length, kBigDataSegment)) != 0;
}

// Which cells data are read from.
enum class DataCell { kAllocated, kAny };

bool IsDataCell(uint32_t size, DataCell which) {
  return size >> 24 == 0xFF || (which == DataCell::kAny && !IsAllocated(size) && size % 8 == 0);
}

// Finds data of five bytes or more and checks the cell that holds it.
ValueStatus LocateData(const HiveImage& hive, DataCell which, ValueKey& value, Segments& segments) {
  const uint32_t offset = ReadU32(hive, value.position + kValueDataOffset);
  if (offset % 4 != 0) return ValueStatus::kDataOffset;
  if (!hive.data_base_proven) return ValueStatus::kNoBase;
  value.data_position = ReadOffset(hive, value.position + kValueDataOffset) + 4;
  const uint32_t cell = value.data_position - 4;
  if (cell > value.data_position || cell < hive.lower_bound) return ValueStatus::kDataOffset;
  if (!InsideHive(hive, cell, 8)) return ValueStatus::kDataOffset;
  const uint32_t size = ReadU32(hive, cell);
  if (!IsDataCell(size, which)) return ValueStatus::kDataOffset;
  const uint32_t length = CellLength(size);
  if (value.data_length + 4 <= length) {
    const bool inside = InsideHive(hive, value.data_position, value.data_length);
    return inside ? ValueStatus::kRead : ValueStatus::kDataOffset;
  }
  const bool big = length == kBigDataCellLength && ReadU16(hive, cell + 4) == kSignatureDb;
  if (!big) {
    const bool inside = InsideHive(hive, value.data_position, value.data_length);
    return inside ? ValueStatus::kDataLength : ValueStatus::kDataOffset;
  }
  value.big_data = true;
  return LocateSegments(hive, value, segments) ? ValueStatus::kRead : ValueStatus::kDataOffset;
}

bool CopySegments(const HiveImage& hive, const ValueKey& value, const Segments& segments,
                  std::vector<uint8_t>& data) {
  uint32_t done = 0;
  for (uint32_t index = 0; done < value.data_length; ++index) {
    const uint32_t size = std::min(value.data_length - done, kBigDataSegment);
    const uint32_t position = SegmentPosition(hive, segments, index, size);
    if (position == 0) return false;
    done += ReadBytes(hive, position, data.data() + done, size);
  }
  return true;
}

ValueStatus CopyData(const HiveImage& hive, const ValueKey& value, const Segments& segments,
                     std::vector<uint8_t>& data) {
  const uint8_t* whole =
      value.big_data ? nullptr : BytesInMemory(hive, value.data_position, value.data_length);
  if (whole != nullptr) {
    data.assign(whole, whole + value.data_length);
    return ValueStatus::kRead;
  }
  data.resize(value.data_length);
  const bool copied = value.big_data ? CopySegments(hive, value, segments, data)
                                     : ReadBytes(hive, value.data_position, data.data(),
                                                 value.data_length) == value.data_length;
  if (copied) return ValueStatus::kRead;
  data.clear();
  return ValueStatus::kDataOffset;
}

// What is read of a value, and how much.
struct ValueRequest {
  ValueRead how = ValueRead::kData;
  uint32_t capacity = kMaxValueData;
  DataCell cells = DataCell::kAllocated;
};

ValueKey ReadValue(const HiveImage& hive, uint32_t position, const ValueRequest& request,
                   std::vector<uint8_t>* data) {
  if (data != nullptr) data->clear();
  ValueKey value;
  if (position < hive.lower_bound || uint64_t{position} + 12 > hive.last_valid) return value;
  value.position = position;
  const FixedPart cell = ReadFixedPart(hive, position);
  if (LoadU16(cell.data() + 4) != kSignatureVk) {
    value.status = ValueStatus::kNotAValue;
    return value;
  }
  TakeFields(cell, value);
  const uint32_t room = value.cell_length < kFixedNameRoom ? 0 : value.cell_length - kFixedNameRoom;
  if (request.how != ValueRead::kFields && !ReadName(hive, room, value)) return ValueKey();

  Segments segments;
  if (value.data_length >= kMaxValueData || value.data_length > request.capacity) {
    value.status = ValueStatus::kTooLong;
    return value;
  }
  value.status =
      value.inline_data ? ValueStatus::kRead : LocateData(hive, request.cells, value, segments);
  if (request.how == ValueRead::kData && value.status == ValueStatus::kRead && data != nullptr) {
    value.status = CopyData(hive, value, segments, *data);
  }
  return value;
}

// With a budget used up short data are read still.
uint32_t RoomIn(const DataBudget& budget) {
  constexpr uint64_t kAlways = 4096;
  return static_cast<uint32_t>(std::clamp<uint64_t>(budget.left, kAlways, kMaxValueData));
}

void TakeFrom(DataBudget& budget, const std::vector<uint8_t>& data) {
  budget.left -= std::min<uint64_t>(budget.left, data.size());
}

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
  return ReadValue(hive, position, {how, capacity}, data);
}

DataBudget MakeDataBudget(const HiveImage& hive) {
  constexpr uint64_t kLeast = 64 * 1024 * 1024;
  return {kLeast + 4 * uint64_t{hive.length}};
}

ValueKey ReadValueWithin(const HiveImage& hive, uint32_t position, DataBudget& budget,
                         std::vector<uint8_t>& data) {
  const ValueKey value = ReadValueKey(hive, position, ValueRead::kData, RoomIn(budget), &data);
  TakeFrom(budget, data);
  return value;
}

ValueKey ReadFreedValue(const HiveImage& hive, uint32_t position, DataBudget& budget,
                        std::vector<uint8_t>& data) {
  const ValueKey value =
      ReadValue(hive, position, {ValueRead::kData, RoomIn(budget), DataCell::kAny}, &data);
  TakeFrom(budget, data);
  return value;
}

std::vector<uint8_t> ReadRawValueName(const HiveImage& hive, const ValueKey& value) {
  std::vector<uint8_t> bytes(std::min<uint32_t>(value.name_length, kMaxRawName));
  bytes.resize(ReadBytes(hive, value.position + kValueName, bytes.data(),
                         static_cast<uint32_t>(bytes.size())));
  return bytes;
}

// A single-byte name is the low bytes of UTF-16, not text of a code page.
std::u16string WideValueName(const HiveImage& hive, const ValueKey& value) {
  const uint32_t step = value.flags == 0 ? 2 : 1;
  std::vector<uint8_t> raw(step * value.name.size());
  raw.resize(
      ReadBytes(hive, value.position + kValueName, raw.data(), static_cast<uint32_t>(raw.size())));
  std::u16string text;
  for (size_t i = 0; i + step <= raw.size(); i += step) {
    text.push_back(step == 2 ? LoadU16(raw.data() + i) : raw[i]);
  }
  return text;
}

std::string ValueNameUtf8(const HiveImage& hive, const ValueKey& value) {
  return Utf8FromWide(WideValueName(hive, value));
}

bool ReadValueList(const HiveImage& hive, uint32_t value_count, uint32_t value_list,
                   uint32_t& budget, std::vector<uint32_t>& positions) {
  constexpr uint32_t kNoList = 0xFFFFFFF8;
  if (value_count == 0) return true;
  if (value_list >= kNoList || !InCellBounds(hive, value_list)) return false;
  // By the cell's own length where that is credible, else by the end of the image.
  const uint32_t size = ReadU32(hive, value_list);
  const uint32_t length = CellLength(size);
  const bool credible =
      IsAllocated(size) && length % 8 == 0 && length >= 8 && InsideHive(hive, value_list, length);
  const uint32_t room = ((credible ? length : hive.length - value_list) - 4) / 4;
  const uint32_t count = std::min({value_count, room, budget});
  budget -= count;
  positions.reserve(positions.size() + count);
  const uint8_t* entries = BytesInMemory(hive, value_list + 4, 4 * count);
  for (uint32_t i = 0; i < count; ++i) {
    const uint32_t field = value_list + 4 + 4 * i;
    const uint32_t value = entries != nullptr
                               ? OffsetPosition(hive, LoadU32(entries + 4 * i), field)
                               : ReadOffset(hive, field);
    positions.push_back(value != kNoOffset && InCellBounds(hive, value) ? value : kNoOffset);
  }
  return count == value_count;
}

bool HasValueList(const HiveImage& hive, uint32_t key_position) {
  constexpr uint32_t kNoList = 0xFFFFFFF8;  // this offset and all above name none
  return ReadU32(hive, key_position + kKeyValueCount) != 0 &&
         ReadU32(hive, key_position + kKeyValueList) < kNoList;
}

void ReadValuesOfKey(const HiveImage& hive, uint32_t key_position, uint32_t& budget,
                     std::vector<uint32_t>& positions) {
  if (!HasValueList(hive, key_position)) return;
  ReadValueList(hive, ReadU32(hive, key_position + kKeyValueCount), ValueListOf(hive, key_position),
                budget, positions);
}

}  // namespace hivequarry

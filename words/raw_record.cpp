#include "words/raw_record.h"

#include <algorithm>
#include <array>
#include <span>

#include "hive/file_place.h"
#include "hive/keys.h"
#include "hive/layers.h"
#include "hive/subkeys.h"
#include "hive/timestamp.h"
#include "hive/values.h"
#include "host/number_text.h"
#include "host/text.h"
#include "host/visible_text.h"
#include "records/cell.h"
#include "recovery/scan.h"
#include "words/key_words.h"
#include "words/layer_words.h"
#include "words/value_text.h"

namespace hivequarry {
namespace {

constexpr uint32_t kCellHead = 4;          // the size field
constexpr uint32_t kBigDataLength = 16;    // of a "db" cell
constexpr uint32_t kLargestHidden = 4096;  // how far before one a hidden record is looked for
constexpr size_t kMostNameShown = 128;     // of a record that is led to

std::string HexWords(uint32_t value, size_t digits) { return Concat({"0x", Hex(value, digits)}); }

std::string ByteCount(uint32_t count) { return std::to_string(count) + " bytes"; }

// --- where a record is -------------------------------------------------------------------------

// [begin, end), positions.
struct Span {
  uint32_t begin = 0;
  uint32_t end = 0;

  bool Holds(uint32_t position) const { return position >= begin && position < end; }
};

// Inside `hive`, from `position` on, at most `size` bytes.
uint32_t RoomAt(const HiveImage& hive, uint32_t position, uint32_t size) {
  return position >= hive.length ? 0 : std::min(size, hive.length - position);
}

bool IsPlausibleSize(uint32_t size) { return size != 0 && size % 8 == 0; }

bool IsKeyAt(const HiveImage& hive, uint32_t position, uint32_t size) {
  const uint32_t second = ReadU32(hive, position + 4);
  return ClassifyKeyCell(hive, static_cast<uint16_t>(second), static_cast<uint16_t>(second >> 16),
                         size, position) >= 0;
}

// True where a record begins whose size could be one.
// At steps of 4, since damage may have moved records by less than 8.
bool BeginsRecord(const HiveImage& hive, uint32_t position) {
  if (position % 4 != 0 || !InsideHive(hive, position, 8)) return false;
  const uint32_t size = ReadU32(hive, position);
  if (!IsPlausibleSize(size)) return false;
  return IsRecordSignature(ReadU16(hive, position + 4)) || IsKeyAt(hive, position, size);
}

bool IsBlockHeader(const HiveImage& hive, uint32_t position) {
  return InsideHive(hive, position, kBinHeaderSize) && ReadU32(hive, position) == kBinSignature;
}

// The end of a block by its header; 0 where that says nothing sensible.
uint32_t BlockEnd(const HiveImage& hive, uint32_t position) {
  const uint32_t size = ReadU32(hive, position + 8);
  const bool sensible = size != 0 && size % kPageSize == 0 && size <= hive.length - position;
  return sensible ? position + size : 0;
}

// The block that holds `position`, its header included, or the bytes between the blocks around it.
// From block to block; where none follows, the image is searched for the next.
// A block whose size says nothing sensible counts up to the image's end or the next header.
Span BlockAround(const HiveImage& hive, uint32_t position) {
  Span block{hive.data_start, hive.data_start};
  for (uint64_t p = hive.data_start; p <= position && p + kBinHeaderSize <= hive.length;) {
    const auto at = static_cast<uint32_t>(p);
    if (!IsBlockHeader(hive, at)) {
      p += 8;
      continue;
    }
    const uint32_t end = BlockEnd(hive, at);
    block = {at, end != 0 ? end : hive.length};
    const bool hop = end == hive.length || (end != 0 && IsBlockHeader(hive, end));
    p = hop ? end : p + kBinHeaderSize;
  }
  return block.Holds(position) ? block : Span{block.end, hive.length};
}

// What can be recognised next after `at`: a block, or a record; `end` when there is nothing.
uint32_t NextLandmark(const HiveImage& hive, uint32_t at, uint32_t end) {
  for (uint64_t p = uint64_t{at} + 8; p + 8 <= end; p += 8) {
    const auto place = static_cast<uint32_t>(p);
    if (IsBlockHeader(hive, place) || BeginsRecord(hive, place)) return place;
  }
  return end;
}

// The cell that holds `position` in the chain of cells through `cells`. Where the chain is broken:
// the bytes up to the place from which it can be taken up again.
Span CellAround(const HiveImage& hive, const Span& cells, uint32_t position) {
  uint32_t at = cells.begin;
  while (InsideHive(hive, at, 8)) {
    const uint32_t size = ReadU32(hive, at);
    const bool sound = IsPlausibleSize(size) && CellLength(size) <= cells.end - at;
    const uint32_t next = sound ? at + CellLength(size) : NextLandmark(hive, at, cells.end);
    if (position < next) return {at, next};
    at = next;
  }
  return {at, hive.length};
}

// The nearest record before `position` that reaches over it and lies inside `cell`: what was
// deleted often still is in a free cell. `cell` itself where there is none.
Span HiddenRecord(const HiveImage& hive, const Span& cell, uint32_t position) {
  uint32_t at = cell.begin + (position - cell.begin) / 8 * 8;
  for (; at > cell.begin && position - at < kLargestHidden; at -= 8) {
    if (!BeginsRecord(hive, at)) continue;
    const uint32_t length = CellLength(ReadU32(hive, at));
    if (length > position - at && length <= cell.end - at) return {at, at + length};
  }
  return cell;
}

// A value list has no signature: what its first entry leads to is all that tells it.
bool BeginsWithValue(const HiveImage& hive, uint32_t position) {
  if (!hive.data_base_proven) return false;
  const uint32_t value = ReadOffset(hive, position + kCellHead);
  return value != kNoOffset && InCellBounds(hive, value) && BeginsRecord(hive, value) &&
         ReadU16(hive, value + 4) == kSignatureVk;
}

// Bytes that a key or value needs, its cell's size field included.
uint32_t NeededBytes(const HiveImage& hive, uint32_t position, RecordKind kind) {
  return kind == RecordKind::kKey ? kKeyName + ReadU16(hive, position + kKeyNameLength)
                                  : kValueName + ReadU16(hive, position + kValueNameLength);
}

// By signature first, as a damaged size does not make a record another one; what has no signature
// is told by its size, and then by what its first entry leads to.
RecordKind KindAt(const HiveImage& hive, uint32_t position) {
  if (!InsideHive(hive, position, 8)) return RecordKind::kNoCell;
  const uint32_t size = ReadU32(hive, position);
  const uint16_t signature = ReadU16(hive, position + 4);
  if (signature == kSignatureNk || IsKeyAt(hive, position, size)) return RecordKind::kKey;
  if (signature == kSignatureVk) return RecordKind::kValue;
  if (signature == kSignatureSk) return RecordKind::kSecurity;
  if (ListKindOfSignature(signature) != ListKind::kNone) return RecordKind::kList;
  if (!IsPlausibleSize(size)) return RecordKind::kNoCell;
  if (!IsAllocated(size)) return RecordKind::kFree;
  const bool big = signature == kSignatureDb && CellLength(size) == kBigDataLength;
  if (big) return RecordKind::kBigData;
  return BeginsWithValue(hive, position) ? RecordKind::kValueList : RecordKind::kAllocated;
}

RecordPlace PlaceOf(const HiveImage& hive, const Span& span) {
  return {KindAt(hive, span.begin), span.begin, span.end - span.begin};
}

// --- what fields mean --------------------------------------------------------------------------

std::string Quoted(std::string_view name) {
  const std::string_view shown = FirstUnits(name, kMostNameShown);
  return Concat({" \"", shown, shown.size() < name.size() ? "...\"" : "\""});
}

std::string ValueNameAt(const HiveImage& hive, uint32_t position) {
  return ValueDisplayName(ReadStoredValueKey(hive, position, ValueRead::kName, 0, nullptr));
}

std::string SizeWords(const HiveImage& hive, uint32_t field) {
  const uint32_t size = ReadU32(hive, field);
  std::string words = IsAllocated(size) ? "allocated, " : "free, ";
  words += ByteCount(CellLength(size));
  return IsPlausibleSize(size) ? words : "no size of a cell (" + words + ")";
}

// A dot for what is no character; at most kRawBytes.
std::string Letters(const HiveImage& hive, uint32_t field, uint32_t size) {
  std::string text(std::min(size, kRawBytes), '\0');
  text.resize(ReadBytes(hive, field, reinterpret_cast<uint8_t*>(text.data()),
                        static_cast<uint32_t>(text.size())));
  for (char& c : text) c = static_cast<uint8_t>(c) < 32 ? '.' : c;
  return text;
}

std::string ListWords(const HiveImage& hive, uint32_t position) {
  return " " + Letters(hive, position + 4, 2) + ", " + std::to_string(ReadU16(hive, position + 6)) +
         " entries";
}

// What is where an offset leads.
std::string TargetWords(const HiveImage& hive, uint32_t position) {
  const RecordKind kind = KindAt(hive, position);
  std::string words = RecordKindWord(kind);
  if (kind == RecordKind::kKey) words += Quoted(ShownKeyName(ReadKeyName(hive, position)));
  if (kind == RecordKind::kValue) words += Quoted(ValueNameAt(hive, position));
  if (kind == RecordKind::kList) words += ListWords(hive, position);
  if (kind == RecordKind::kAllocated || kind == RecordKind::kFree) {
    words += ", " + ByteCount(CellLength(ReadU32(hive, position)));
  }
  return words;
}

std::string TimeWords(const HiveImage& hive, uint32_t field) {
  const std::string text = FormatTimestampChecked(ReadU64(hive, field));
  return text.empty() && ReadU64(hive, field) != 0 ? "no plausible date" : text;
}

std::string Number32(const HiveImage& hive, uint32_t field) {
  return std::to_string(ReadU32(hive, field));
}
std::string Number16(const HiveImage& hive, uint32_t field) {
  return std::to_string(ReadU16(hive, field));
}
std::string Hex32(const HiveImage& hive, uint32_t field) {
  return HexWords(ReadU32(hive, field), 8);
}
std::string Hex16(const HiveImage& hive, uint32_t field) {
  return HexWords(ReadU16(hive, field), 4);
}
std::string Nothing(const HiveImage&, uint32_t) { return {}; }

std::string Signature16(const HiveImage& hive, uint32_t field) { return Letters(hive, field, 2); }
std::string Signature32(const HiveImage& hive, uint32_t field) { return Letters(hive, field, 4); }

struct FlagWord {
  uint16_t bit;
  const char* word;
};
constexpr FlagWord kKeyFlagWords[] = {{0x0001, "volatile"},         {0x0002, "mount point"},
                                      {0x0004, "root of a hive"},   {0x0008, "not to be deleted"},
                                      {0x0010, "symbolic link"},    {0x0020, "single-byte name"},
                                      {0x0040, "predefined handle"}};
constexpr FlagWord kValueFlagWords[] = {{kValueNameIsBytes, "single-byte name"},
                                        {kValueTombstone, "tombstone"}};

std::string FlagWords(uint16_t flags, std::span<const FlagWord> words) {
  std::string text = HexWords(flags, 4);
  for (const FlagWord& flag : words) {
    if ((flags & flag.bit) != 0) text += std::string(", ") + flag.word;
  }
  return text;
}
std::string KeyFlagText(const HiveImage& hive, uint32_t field) {
  return FlagWords(ReadU16(hive, field), kKeyFlagWords);
}
std::string ValueFlagText(const HiveImage& hive, uint32_t field) {
  return FlagWords(ReadU16(hive, field), kValueFlagWords);
}

std::string AccessText(const HiveImage& hive, uint32_t field) {
  return AccessWords(ReadU8(hive, field));
}
std::string UserFlagText(const HiveImage& hive, uint32_t field) {
  return UserFlagWords(ReadU8(hive, field));
}
std::string LayerText(const HiveImage& hive, uint32_t field) {
  const uint8_t bits = ReadU8(hive, field);
  if (HasLayers(hive, field)) return LayerBitWords(bits);
  return HexWords(bits, 2) + (bits == 0 ? "" : ", no layers: the base block does not say so");
}
std::string Hex8(const HiveImage& hive, uint32_t field) { return HexWords(ReadU8(hive, field), 2); }

std::string DataLengthText(const HiveImage& hive, uint32_t field) {
  const ValueKey value =
      ReadStoredValueKey(hive, field - kValueDataLength, ValueRead::kFields, 0, nullptr);
  return ByteCount(value.data_length) + (value.inline_data ? ", inline" : "");
}

std::string TypeText(const HiveImage& hive, uint32_t field) {
  return TypeName(ReadU32(hive, field));
}

std::string WideText(const HiveImage& hive, uint32_t field) {
  uint8_t bytes[64];
  const uint32_t got = ReadBytes(hive, field, bytes, sizeof(bytes));
  std::string text = DataText(kRegSz, std::span(bytes, got));
  return text.substr(0, text.find('\0'));
}

// --- rows --------------------------------------------------------------------------------------

using Meaning = std::string (*)(const HiveImage& hive, uint32_t field);
constexpr Meaning kOffset = nullptr;  // in a row of the tables: the field is a cell offset

// A field of a record: bytes from the record's start, and what tells its meaning.
struct FieldRow {
  uint32_t offset;
  uint32_t size;
  const char* name;
  Meaning meaning;
};

constexpr FieldRow kBaseBlockRows[] = {
    {0, 4, "Signature", Signature32},
    {kBaseSequence1, 4, "First sequence number", Number32},
    {kBaseSequence2, 4, "Second sequence number", Number32},
    {kBaseLastWrite, 8, "Last write", TimeWords},
    {kBaseMajor, 4, "Major version", Number32},
    {kBaseMinor, 4, "Minor version", Number32},
    {kBaseFileType, 4, "File type", Number32},
    {kBaseFileFormat, 4, "File format", Number32},
    {kBaseRootOffset, 4, "Root key", kOffset},
    {kBaseLength, 4, "Length of the blocks", Number32},
    {kBaseClustering, 4, "Clustering factor", Number32},
    {kBaseFileName, 2 * kBaseFileNameUnits, "File name", WideText},
    {112, 396, "Reserved", Nothing},
    {kBaseChecksum, 4, "Checksum", Hex32},
    {512, 3584, "Rest", Nothing}};
constexpr FieldRow kBlockRows[] = {
    {0, 4, "Signature", Signature32},      {kBinOwnOffset, 4, "Own offset", Hex32},
    {kBinSize, 4, "Block size", Number32}, {12, 8, "Reserved", Nothing},
    {kBinTime, 8, "Time", TimeWords},      {kBinSizeCopy, 4, "Second block size", Number32}};
constexpr FieldRow kKeyRows[] = {{0, 4, "Cell size", SizeWords},
                                 {4, 2, "Signature", Signature16},
                                 {kKeyFlags, 2, "Flags", KeyFlagText},
                                 {kKeyLastWrite, 8, "Last write", TimeWords},
                                 {kKeyAccessBits, 1, "Access bits", AccessText},
                                 {kKeyLayerBits, 1, "Layer bits", LayerText},
                                 {18, 2, "Unused", Number16},
                                 {kKeyParent, 4, "Parent", kOffset},
                                 {kKeySubkeyCount, 4, "Subkeys", Number32},
                                 {kKeyVolatileCount, 4, "Volatile subkeys", Number32},
                                 {kKeySubkeyList, 4, "Subkey list", kOffset},
                                 {kKeyVolatileList, 4, "Volatile subkey list", Hex32},
                                 {kKeyValueCount, 4, "Values", Number32},
                                 {kKeyValueList, 4, "Value list", kOffset},
                                 {kKeySecurity, 4, "Security record", kOffset},
                                 {kKeyClassName, 4, "Class name", kOffset},
                                 {56, 2, "Longest subkey name", Number16},
                                 {kKeyUserFlags, 1, "User flags", UserFlagText},
                                 {kKeyDebugBits, 1, "Debug bits", Hex8},
                                 {60, 4, "Longest class name", Number32},
                                 {64, 4, "Longest value name", Number32},
                                 {68, 4, "Longest data", Number32},
                                 {72, 4, "Work field", Hex32},
                                 {kKeyNameLength, 2, "Name length", Number16},
                                 {kKeyClassNameLength, 2, "Class name length", Number16}};
constexpr FieldRow kValueRows[] = {{0, 4, "Cell size", SizeWords},
                                   {4, 2, "Signature", Signature16},
                                   {kValueNameLength, 2, "Name length", Number16},
                                   {kValueDataLength, 4, "Data length", DataLengthText},
                                   {kValueDataOffset, 4, "Data", kOffset},
                                   {kValueType, 4, "Type", TypeText},
                                   {kValueFlags, 2, "Flags", ValueFlagText},
                                   {22, 2, "Spare", Hex16}};
constexpr FieldRow kSecurityRows[] = {{0, 4, "Cell size", SizeWords},
                                      {4, 2, "Signature", Signature16},
                                      {6, 2, "Spare", Hex16},
                                      {8, 4, "Next record", kOffset},
                                      {12, 4, "Previous record", kOffset},
                                      {16, 4, "References", Number32},
                                      {20, 4, "Descriptor length", Number32}};
// What the fields hold are offsets from the descriptor's start; the rows' own offsets count from
// the cell, in which the descriptor is 24 bytes on.
constexpr FieldRow kDescriptorRows[] = {{24, 1, "Revision", Nothing}, {25, 1, "Reserved", Nothing},
                                        {26, 2, "Control", Hex16},    {28, 4, "Owner", Hex32},
                                        {32, 4, "Group", Hex32},      {36, 4, "System list", Hex32},
                                        {40, 4, "Access list", Hex32}};
constexpr uint32_t kDescriptor = 24;
constexpr uint32_t kDescriptorBody = 44;  // where the fixed fields end
constexpr FieldRow kListRows[] = {
    {0, 4, "Cell size", SizeWords}, {4, 2, "Signature", Signature16}, {6, 2, "Entries", Number16}};
constexpr FieldRow kBigDataRows[] = {{0, 4, "Cell size", SizeWords},
                                     {4, 2, "Signature", Signature16},
                                     {6, 2, "Segments", Number16},
                                     {8, 4, "Segment list", kOffset}};
constexpr FieldRow kCellRows[] = {{0, 4, "Cell size", SizeWords}};

// Each field begins where the one before it ends.
constexpr bool FollowEachOther(std::span<const FieldRow> rows, uint32_t begin) {
  for (const FieldRow& row : rows) {
    if (row.offset != begin) return false;
    begin += row.size;
  }
  return true;
}
static_assert(FollowEachOther(kBaseBlockRows, 0) && FollowEachOther(kBlockRows, 0) &&
              FollowEachOther(kKeyRows, 0) && FollowEachOther(kValueRows, 0) &&
              FollowEachOther(kSecurityRows, 0) && FollowEachOther(kListRows, 0) &&
              FollowEachOther(kBigDataRows, 0));
static_assert(FollowEachOther(kDescriptorRows, kDescriptor));

// Rows follow each other without gaps from the record's start, so that each byte of it is in one.
class RowWriter {
 public:
  RowWriter(const HiveImage& hive, RawRecord& record) : hive_(hive), record_(record) {}

  // How far the rows have come, from the start of the record.
  uint32_t Done() const { return done_; }
  uint32_t Left() const { return record_.place.length > done_ ? record_.place.length - done_ : 0; }
  uint32_t Here() const { return record_.place.position + done_; }

  // Rows of fixed fields, in the order of the table, which leaves no byte out.
  void AddTable(std::span<const FieldRow> rows) {
    for (const FieldRow& row : rows) {
      if (row.meaning == kOffset) {
        AddOffset(row.size, row.name, {});
      } else {
        Add(row.size, row.name, row.meaning(hive_, record_.place.position + row.offset));
      }
    }
  }

  // The next field. What the image does not have of it is left out; a field that was cut off means
  // nothing.
  RawField* Add(uint32_t size, std::string name, std::string meaning) {
    const uint32_t room = RoomAt(hive_, Here(), size);
    if (room == 0) return nullptr;
    RawField& field = record_.fields.emplace_back();
    field.position = Here();
    field.size = room;
    field.name = std::move(name);
    field.bytes = BytesText(field.position, room);
    field.meaning = room < size ? "cut off by the end of the image" : std::move(meaning);
    done_ += room;
    return &field;
  }

  // A field of `size` bytes that begins with a cell offset.
  void AddOffset(uint32_t size, std::string name, const std::string& more) {
    RawField* field = Add(size, std::move(name), {});
    if (field == nullptr || !field->meaning.empty()) return;
    field->meaning = OffsetWords(*field);
    if (!more.empty()) field->meaning += ", " + more;
  }

  // All that is left of the record, in one row.
  void AddRest(const char* name) {
    if (Left() != 0) Add(Left(), name, Letters(hive_, Here(), Left()));
  }

  // All that is left, in rows of kRawBytes.
  void AddDump() {
    for (uint32_t row = 0; row < kMostRawRows && Left() != 0; ++row) {
      const uint32_t size = std::min(Left(), kRawBytes);
      if (Add(size, "Bytes", Letters(hive_, Here(), size)) == nullptr) return;
    }
    AddRest("Further bytes");
  }

 private:
  std::string BytesText(uint32_t position, uint32_t size) const {
    std::array<uint8_t, kRawBytes> bytes;
    const uint32_t got = ReadBytes(hive_, position, bytes.data(), std::min(size, kRawBytes));
    std::string text;
    for (uint32_t i = 0; i < got; ++i) {
      if (i != 0) text += ' ';
      text += {kUpperDigits[bytes[i] >> 4], kUpperDigits[bytes[i] & 15]};
    }
    return size > kRawBytes ? text + " ..." : text;
  }

  // Says where the offset leads, and notes it.
  std::string OffsetWords(RawField& field) const {
    if (ReadU32(hive_, field.position) == kNoOffset) return "none";
    if (!hive_.data_base_proven) return "where offsets lead is not known";
    const uint32_t target = ReadOffset(hive_, field.position);
    if (!InsideHive(hive_, target, 8)) return "leads outside the image";
    field.leads_to = target;
    return PlaceWords(hive_, target) + ", " + TargetWords(hive_, target);
  }

  const HiveImage& hive_;
  RawRecord& record_;
  uint32_t done_ = 0;
};

void AddKey(const HiveImage& hive, const RecordPlace& place, RowWriter& rows) {
  rows.AddTable(kKeyRows);
  const uint32_t length = ReadU16(hive, place.position + kKeyNameLength);
  if (length != 0) rows.Add(length, "Name", ReadKeyName(hive, place.position));
  rows.AddRest("Behind the name");
}

// The data field holds short data themselves.
void AddValue(const HiveImage& hive, const RecordPlace& place, RowWriter& rows) {
  std::vector<uint8_t> data;
  const ValueKey value = ReadStoredValueKey(hive, place.position, ValueRead::kData, 4, &data);
  for (const FieldRow& row : kValueRows) {
    if (row.offset == kValueDataOffset && value.inline_data) {
      rows.Add(row.size, row.name, ValueDataText(value, data));
    } else {
      rows.AddTable({&row, 1});
    }
  }
  const uint32_t length = ReadU16(hive, place.position + kValueNameLength);
  if (length != 0) rows.Add(length, "Name", ValueNameAt(hive, place.position));
  rows.AddRest("Behind the name");
}

void AddSecurity(const HiveImage& hive, const RecordPlace& place, RowWriter& rows) {
  rows.AddTable(kSecurityRows);
  const uint32_t length = ReadU32(hive, place.position + 20);
  if (place.length >= kDescriptorBody) rows.AddTable(kDescriptorRows);
  if (rows.Done() < kDescriptor) return;
  // What the length field says of the body is cut to the cell: it may be damaged.
  const uint32_t shown = rows.Done() - kDescriptor;
  const uint32_t body = length > shown ? std::min(length - shown, rows.Left()) : 0;
  if (body != 0) rows.Add(body, "Owner, group and lists", {});
  rows.AddRest("Behind the descriptor");
}

// The entries that the list's count and its cell allow.
void AddEntries(const HiveImage& hive, ListKind kind, uint32_t count, RowWriter& rows) {
  const uint32_t size = ListEntrySize(kind);
  count = std::min(count, rows.Left() / size);
  const uint32_t shown = std::min(count, kMostRawRows);
  for (uint32_t i = 0; i < shown; ++i) {
    std::string more;
    if (kind == ListKind::kLf) more = "hint \"" + Letters(hive, rows.Here() + 4, 4) + "\"";
    if (kind == ListKind::kLh) more = "hash " + Hex32(hive, rows.Here() + 4);
    rows.AddOffset(size, "Entry " + std::to_string(i), more);
  }
  rows.AddRest(shown < count ? "Further entries" : "Behind the entries");
}

void AddList(const HiveImage& hive, const RecordPlace& place, RowWriter& rows) {
  rows.AddTable(kListRows);
  const ListKind kind = ListKindOfSignature(ReadU16(hive, place.position + 4));
  AddEntries(hive, kind, ReadU16(hive, place.position + 6), rows);
}

// How many entries are meant only the key knows: those that lead to values.
void AddValueList(const HiveImage& hive, const RecordPlace& place, RowWriter& rows) {
  rows.AddTable(kCellRows);
  uint32_t count = 0;
  for (const uint32_t most = rows.Left() / 4; count < most; ++count) {
    // As if a cell began four bytes before each entry.
    if (!BeginsWithValue(hive, place.position + 4 * count)) break;
  }
  AddEntries(hive, ListKind::kLi, count, rows);
}

// The row of the size leads to the next block, where one begins there.
void AddBlock(const HiveImage& hive, const RecordPlace& place, RawRecord& record, RowWriter& rows) {
  rows.AddTable(kBlockRows);
  const uint32_t next = BlockEnd(hive, place.position);
  constexpr size_t kSizeRow = 2;
  if (record.fields.size() > kSizeRow && IsBlockHeader(hive, next)) {
    record.fields[kSizeRow].leads_to = next;
  }
}

void AddCell(const RecordPlace& place, RowWriter& rows) {
  if (place.kind != RecordKind::kNoCell) rows.AddTable(kCellRows);
  rows.AddDump();
}

void AddFields(const HiveImage& hive, RawRecord& record) {
  RowWriter rows(hive, record);
  const RecordPlace place = record.place;
  switch (place.kind) {
    case RecordKind::kBaseBlock:
      return rows.AddTable(kBaseBlockRows);
    case RecordKind::kBlockHeader:
      return AddBlock(hive, place, record, rows);
    case RecordKind::kKey:
      return AddKey(hive, place, rows);
    case RecordKind::kValue:
      return AddValue(hive, place, rows);
    case RecordKind::kSecurity:
      return AddSecurity(hive, place, rows);
    case RecordKind::kList:
      return AddList(hive, place, rows);
    case RecordKind::kBigData:
      rows.AddTable(kBigDataRows);
      return rows.AddRest("Spare");
    case RecordKind::kValueList:
      return AddValueList(hive, place, rows);
    default:
      return AddCell(place, rows);
  }
}

// A deleted record in a free cell that took in its neighbours is followed by these, with what they
// were: its own data among them. So where one that could be a cell begins after what a record
// needs, that is the place.
RecordPlace FormerCell(const HiveImage& hive, const RecordPlace& record, uint32_t position) {
  if (record.kind != RecordKind::kKey && record.kind != RecordKind::kValue) return record;
  const uint32_t into = position - record.position;
  if (into % 8 != 0 || into < NeededBytes(hive, record.position, record.kind)) return record;
  const uint32_t size = ReadU32(hive, position);
  if (!IsPlausibleSize(size) || CellLength(size) > record.length - into) return record;
  return {RecordKind::kFree, position, CellLength(size)};
}

}  // namespace

const char* RecordKindWord(RecordKind kind) {
  constexpr const char* kWords[] = {"nothing",    "base block",      "block header", "key",
                                    "value",      "security record", "list",         "big data",
                                    "value list", "allocated cell",  "free cell",    "no cell"};
  static_assert(std::size(kWords) == static_cast<size_t>(RecordKind::kNoCell) + 1);
  return kWords[static_cast<size_t>(kind)];
}

RecordPlace RecordAt(const HiveImage& hive, uint32_t position) {
  if (position >= hive.length) return {};
  if (position < hive.data_start) {
    return {RecordKind::kBaseBlock, 0, RoomAt(hive, 0, hive.data_start)};
  }
  // Before the chain of cells, which damage may have cut.
  if (BeginsRecord(hive, position)) {
    const uint32_t length = CellLength(ReadU32(hive, position));
    return PlaceOf(hive, {position, position + RoomAt(hive, position, length)});
  }
  Span cells = BlockAround(hive, position);
  if (IsBlockHeader(hive, cells.begin)) {
    if (position - cells.begin < kBinHeaderSize) {
      return {RecordKind::kBlockHeader, cells.begin, kBinHeaderSize};
    }
    cells.begin += kBinHeaderSize;
  }
  const Span cell = CellAround(hive, cells, position);
  const RecordPlace place = PlaceOf(hive, cell);
  const bool may_hide = place.kind == RecordKind::kFree || place.kind == RecordKind::kNoCell;
  const RecordPlace found = may_hide ? PlaceOf(hive, HiddenRecord(hive, cell, position)) : place;
  // Only in a free cell may former cells lie one after another.
  return IsAllocated(ReadU32(hive, cell.begin)) ? found : FormerCell(hive, found, position);
}

RawRecord ReadRawRecord(const HiveImage& hive, uint32_t position) {
  RawRecord record;
  record.place = RecordAt(hive, position);
  if (record.place.kind != RecordKind::kNone) AddFields(hive, record);
  return record;
}

}  // namespace hivequarry

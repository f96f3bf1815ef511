#include "reports/log_records.h"

#include <algorithm>
#include <string>
#include <unordered_set>

#include "hive/replaying.h"
#include "hive/timestamp.h"
#include "hive/values.h"
#include "host/long_operation.h"
#include "host/shortfalls.h"
#include "lists/list_rows.h"
#include "records/cell.h"
#include "records/key_flags.h"
#include "records/key_node.h"
#include "records/value_key.h"
#include "recovery/freed_records.h"
#include "replay/log_words.h"
#include "words/value_text.h"

namespace hivequarry {
namespace {

// A page of an entry, with what rows say of where it is.
struct PageOfLog {
  ByteView bytes;
  uint32_t position = 0;  // that it has, or had, in the image
  const HiveLog& log;
  const LogEntry& entry;
  uint32_t log_position = 0;
  const char* status = "";
};

// A search through the pages of logs. What a log repeats is told once.
struct Search {
  const HiveImage& hive;
  const KeyTree& tree;
  OutputList& list;
  std::unordered_set<std::string> told;  // a record's position and bytes
  uint64_t room = 0;                     // bytes of records that may be looked up there
};

// Records lie side by side in a page. Only forged ones lie over each other, so that together they
// are many times as long as the log.
uint64_t RoomFor(const HiveLogs& logs) {
  uint64_t bytes = 1 << 20;
  for (const HiveLog& log : logs.logs) bytes += log.length;
  return 4 * bytes;
}

bool HasRoom(ByteView page, uint32_t cell, uint32_t length) {
  const uint32_t size = CellLength(ReadU32(page, cell));
  return size % 8 == 0 && size >= length && IsInside(page, cell, length);
}

// Two letters alone are met by chance: name, flags and time must be those of a key as well.
bool IsKey(ByteView page, uint32_t cell) {
  KeyFields key;
  if (!ReadKeyFields(page, cell, key) || key.signature != kSignatureNk) return false;
  const bool name = key.name_length != 0 && key.name_length <= 2 * kMaxRawName;
  return name && HasRoom(page, cell, kKeyName + key.name_length) &&
         IsKeyFlagsByte(static_cast<uint8_t>(key.flags)) &&
         !FormatTimestampChecked(key.last_write).empty();
}

bool IsValue(ByteView page, uint32_t cell) {
  // REG_QWORD; above it a type in a page without its hive is as likely other bytes.
  constexpr uint32_t kLastPlainType = 11;
  const ValueFields value = ReadValueFields(page, cell);
  return value.signature == kSignatureVk && value.flags <= 1 &&
         HasRoom(page, cell, kValueName + value.name_length) && value.data_length < kMaxValueData &&
         PlainType(value.type) <= kLastPlainType;
}

// True once for bytes that neither state has at that place.
bool IsNew(Search& search, const PageOfLog& page, uint32_t cell, uint32_t length) {
  const ByteView record = PartOf(page.bytes, cell + 4, length - 4);
  const uint32_t at = page.position + cell + 4;
  const auto has = [&](ByteView image) {
    return std::ranges::equal(PartOf(image, at, static_cast<uint32_t>(record.size())), record);
  };
  if (has(ImageBytes(search.hive)) || has(search.hive.logs->before_bytes())) return false;
  if (record.size() > search.room) {
    NoteShortfall(Shortfall::kRows);
    return false;
  }
  search.room -= record.size();
  std::string mark = std::to_string(at) + ":";
  AppendText(record, mark);
  return search.told.insert(std::move(mark)).second;
}

// By the key that is at the parent's place in the hive now, which may be another one than when the
// page was written; "?" for none.
std::string KeyPath(const Search& search, const KeyFields& key, const std::string& name) {
  if ((key.flags & kRootKeyFlags) == kRootKeyFlags) return search.tree.root_text;
  const uint32_t parent = kBaseBlockSize + key.parent;
  const uint32_t item = ItemOfPosition(search.tree, parent);
  const bool there = item != kNoItem && HasKeyCell(search.tree, item);
  return (there ? LongItemPath(search.hive, search.tree, item) : "?") + "\\" + name;
}

// The data of a value as far as they are in the page; false when they are not.
bool DataInPage(const PageOfLog& page, uint32_t cell, const ValueFields& value, ByteView& data) {
  if ((ReadU32(page.bytes, cell + kValueDataLength) & kInlineData) != 0) {
    data = PartOf(page.bytes, cell + kValueDataOffset, std::min(value.data_length, 4U));
    return true;
  }
  const uint64_t at = uint64_t{kBaseBlockSize} + value.data_offset;
  if (at < page.position || at >= uint64_t{page.position} + page.bytes.size()) return false;
  const auto there = static_cast<uint32_t>(at - page.position);
  const uint64_t end = uint64_t{there} + 4 + value.data_length;
  if (CellLength(ReadU32(page.bytes, there)) < uint64_t{value.data_length} + 4) return false;
  if (end > page.bytes.size()) return false;
  data = PartOf(page.bytes, there + 4, value.data_length);
  return true;
}

// Columns of the record's own, then where it is: in the hive, the log, its entry, the log's file,
// and whether the entry was applied.
void AddRecord(Search& search, const PageOfLog& page, uint32_t cell,
               std::initializer_list<std::string_view> own, const RowFacts& facts) {
  std::vector<Cell> cells(own.begin(), own.end());
  const std::string texts[] = {PositionText(page.position + cell), NameOfLog(page.log),
                               std::to_string(page.entry.sequence),
                               PositionText(page.log_position + cell), page.status};
  cells.insert(cells.end(), std::begin(texts), std::end(texts));
  // No state of the hive has the record: the row leads nowhere.
  AddListRow(search.list, cells, kNoOffset, facts);
}

void AddKey(Search& search, const PageOfLog& page, uint32_t cell) {
  KeyFields key;
  ReadKeyFields(page.bytes, cell, key);
  if (!IsNew(search, page, cell, kKeyName + key.name_length)) return;
  std::string name;
  AppendKeyNameText(page.bytes, cell, key.name_length, IsWideKeyName(key.flags), name);
  RowFacts facts;
  facts.about_key = true;
  facts.last_write = key.last_write;
  AddRecord(search, page, cell,
            {"key", KeyPath(search, key, name), "", "", "", FormatTimestampChecked(key.last_write)},
            facts);
}

// Data are shown where they are in the same page; the rest of the hive at the time of the entry is
// not known.
void AddValue(Search& search, const PageOfLog& page, uint32_t cell) {
  const ValueFields value = ReadValueFields(page.bytes, cell);
  if (!IsNew(search, page, cell, kValueName + value.name_length)) return;
  const std::string name =
      value.name_length == 0
          ? std::string("(Default value)")
          : ValueNameText(page.bytes, cell, value.name_length, IsWideValueName(value.flags));
  ByteView data;
  const bool known = DataInPage(page, cell, value, data);
  const ByteView shown = data.first(std::min<size_t>(data.size(), kShownData));
  ValueKey read;
  read.status = ValueStatus::kRead;
  read.type = PlainType(value.type);
  read.data_length = value.data_length;
  const std::string text =
      known ? ValueDataText(read, shown) : std::to_string(value.data_length) + " bytes elsewhere";
  AddRecord(search, page, cell, {"value", "", name, TypeName(read.type), text, ""}, RowFacts());
}

// Records begin at steps of 8 counted from the start of the bins.
void SearchPage(Search& search, const PageOfLog& page) {
  for (uint32_t cell = (8 - page.position % 8) % 8; IsInside(page.bytes, cell, kValueName);
       cell += 8) {
    const uint16_t signature = ReadU16(page.bytes, cell + 4);
    if (signature == kSignatureNk && IsKey(page.bytes, cell)) AddKey(search, page, cell);
    if (signature == kSignatureVk && IsValue(page.bytes, cell)) AddValue(search, page, cell);
  }
}

void SearchEntry(Search& search, const HiveLog& log, const LogEntry& entry, const char* status) {
  constexpr uint32_t kMostBytes = 16U << 20;  // of a page that are looked at together
  LogReader reader(log);
  ForEachPage(reader, entry, [&](const LogPage& at) {
    for (uint32_t done = 0; done < at.size && !StopRequested();) {
      const uint32_t size = std::min(kMostBytes, at.size - done);
      SearchPage(search,
                 {reader.At(at.log_position + done, size), kBaseBlockSize + at.offset + done, log,
                  entry, at.log_position + done, status});
      done += size;
    }
  });
}

}  // namespace

OutputListPtr ListLogRecords(const HiveImage& hive, const KeyTree& tree) {
  OutputListPtr list = MakeOutputList(kListLogRecords);
  if (hive.logs == nullptr) return list;
  Search search{hive, tree, *list, {}, RoomFor(*hive.logs)};
  for (const HiveLog& log : hive.logs->logs) {
    for (size_t i = 0; i < log.entries.size(); ++i) {
      const bool applied = i < log.applied;
      SearchEntry(search, log, log.entries[i], applied ? "written over later" : "not applied");
    }
    for (const LogEntry& entry : log.leftovers) {
      SearchEntry(search, log, entry, "left over from an earlier run");
    }
  }
  return list;
}

}  // namespace hivequarry

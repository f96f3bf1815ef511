#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <new>

#include "hive/timestamp.h"
#include "host/case.h"
#include "host/host.h"
#include "host/text.h"
#include "lists/list_order.h"

namespace hivequarry {
namespace {

constexpr uint32_t kSortStopInterval = 4096;    // rows or comparisons between two questions
constexpr size_t kKeyRoom = size_t{256} << 20;  // bytes for the stored keys of all rows
// Bytes of a text that are stored as its key, by how many rows there are: the room above is shared
// out.
constexpr size_t kLeastKey = 32;
constexpr size_t kLargestKey = 1024;
constexpr size_t kLongestText = 4096;  // bytes that the order of texts looks at
constexpr size_t kChunkSize = size_t{1} << 20;

// A row with what it is compared by. Numbers are in `head` alone; of a text's key it holds the
// first bytes that differ between rows.
// 24 bytes a row, so that sorting moves little.
struct SortRow {
  uint64_t head = 0;
  const char* key = nullptr;
  uint32_t key_length = 0;
  uint32_t row = 0;
};

// Asks now and then; once the answer was yes it stays so.
struct StopPoll {
  const std::function<bool()>& stop;
  uint32_t calls = 0;
  bool stopped = false;
};

bool Stopped(StopPoll& poll) {
  if (!poll.stopped && poll.calls++ % kSortStopInterval == 0 && poll.stop)
    poll.stopped = poll.stop();
  return poll.stopped;
}

// --- numbers -------------------------------------------------------------------------------------

bool IsDigit(char character) { return character >= '0' && character <= '9'; }

// The decimal number at `at`, which moves after its digits; no more than `most`.
uint64_t ReadNumber(std::string_view text, size_t& at, uint64_t most) {
  uint64_t number = 0;
  for (; at < text.size() && IsDigit(text[at]); ++at) {
    const auto digit = static_cast<uint64_t>(text[at] - '0');
    number = number > (most - digit) / 10 ? most : number * 10 + digit;
  }
  return number;
}

constexpr uint64_t kZero = uint64_t{1} << 63;  // negative numbers lie below it

// The number at the text's start after blanks; what is none counts as 0. Larger ones than 63 bits
// are as the largest.
uint64_t NumberKey(std::string_view text) {
  size_t at = std::min(text.find_first_not_of(" \t"), text.size());
  const bool negative = at < text.size() && text[at] == '-';
  if (negative) ++at;
  const uint64_t number = ReadNumber(text, at, kZero - 1);
  return negative ? kZero - number : kZero + number;
}

// Two bytes for the year and one for each of the six numbers after it.
// A text with fewer numbers has zeros for the rest, as the earliest of its day.
uint64_t DateKey(std::string_view text) {
  // Year, month, day, hour, minute, second, and a part of a second.
  constexpr int kParts = 7;
  uint64_t key = 0;
  size_t at = 0;
  for (int part = 0; part < kParts; ++part) {
    while (at < text.size() && !IsDigit(text[at])) ++at;
    key = key << 8 | ReadNumber(text, at, part == 0 ? 0xFFFF : 0xFF);
  }
  return key;
}

// Such a key of a cell's own date, which its text shows to the second.
uint64_t DateKeyOf(uint64_t seconds) {
  const CalendarTime at = CalendarOfFileTime(seconds * kFileTimeSecond);
  uint64_t key = static_cast<uint64_t>(at.year);
  for (const int part : {at.month, at.day, at.hour, at.minute, at.second, 0}) {
    key = key << 8 | static_cast<uint64_t>(part);
  }
  return key;
}

// True where what the cells of a column are is what they are sorted by.
bool SortsByValues(const OutputList& list, const SortRequest& request) {
  if (request.column < 0 || request.column >= ColumnCount(list)) return false;
  const KindColumn* column = ColumnRecord(list, request.column);
  if (column == nullptr) return false;
  if (request.mode == SortMode::kDate) return column->holds == CellHolds::kDate;
  const bool number = column->holds == CellHolds::kNumber || column->holds == CellHolds::kCount;
  return request.mode == SortMode::kNumber && number;
}

uint64_t NumberOf(const OutputList& list, uint32_t row, const SortRequest& request, bool values) {
  if (request.mode == SortMode::kIcon) return kZero + static_cast<uint64_t>(RowIcon(list, row));
  const uint64_t value = values ? CellValue(list, row, request.column) : kNoValue;
  if (value != kNoValue) {
    return request.mode == SortMode::kDate ? DateKeyOf(value) : kZero + value;
  }
  const std::string_view text = CellText(list, row, request.column);
  switch (request.mode) {
    case SortMode::kLength:
      return CountUnits(text);
    case SortMode::kDate:
      return DateKey(text);
    case SortMode::kLevel:
      return static_cast<uint64_t>(std::count(text.begin(), text.end(), '\\'));
    default:
      return NumberKey(text);
  }
}

// After a stop all rows count as equal, which ends a merge sort fast; the order is worth nothing
// then.
void SortByNumbers(std::vector<SortRow>& rows, bool descending, StopPoll& poll) {
  std::stable_sort(rows.begin(), rows.end(), [&](const SortRow& a, const SortRow& b) {
    return !Stopped(poll) && (descending ? b.head < a.head : a.head < b.head);
  });
}

// --- texts ---------------------------------------------------------------------------------------

// What sorting texts needs to know. Texts of one hive begin alike, and their keys need not hold
// that: up to the last backslash that all have in common they are passed over.
struct TextSort {
  const OutputList& list;
  int column;
  size_t common = 0;
};

std::string_view TextOf(const TextSort& sort, const SortRow& row) {
  return CellText(sort.list, row.row, sort.column).substr(sort.common, kLongestText);
}

std::string FullKey(const TextSort& sort, const SortRow& row) {
  return CapitalsOfText(TextOf(sort, row));
}

// How much of `first`, at most `most`, `other` begins with.
size_t SharedStart(std::string_view first, std::string_view other, size_t most) {
  const size_t length = std::min(most, other.size());
  const auto* differ = std::mismatch(first.data(), first.data() + length, other.data()).first;
  return static_cast<size_t>(differ - first.data());
}

// How many bytes all texts begin with alike, up to a backslash: they need not be compared again and
// again.
size_t CommonPath(const TextSort& sort, const std::vector<SortRow>& rows) {
  const std::string_view first = TextOf(sort, rows.front());
  size_t common = first.size();
  for (const SortRow& row : rows) common = SharedStart(first, TextOf(sort, row), common);
  const size_t mark = first.substr(0, common).rfind('\\');
  return mark == std::string_view::npos ? 0 : mark + 1;
}

// Where stored keys are. When memory gives out full keys are made for each comparison.
struct KeyStore {
  std::vector<std::unique_ptr<char[]>> chunks;
  char* free_space = nullptr;
  size_t free_size = 0;
  size_t limit = 0;  // a key of this length was cut, or is just as long
  bool failed = false;
};

// Copies the key, cut to the store's limit, into room that lives as long as the store. Without
// memory `failed` is set and the row is left without a key.
void StoreKey(KeyStore& store, std::string_view key, SortRow& row) {
  const size_t length = std::min(key.size(), store.limit);
  if (length > store.free_size) {
    std::unique_ptr<char[]> chunk(new (std::nothrow) char[kChunkSize]);
    if (chunk == nullptr) {
      store.failed = true;
      return;
    }
    store.free_space = chunk.get();
    store.free_size = kChunkSize;
    store.chunks.push_back(std::move(chunk));
  }
  key.copy(store.free_space, length);
  row.key = store.free_space;
  row.key_length = static_cast<uint32_t>(length);
  store.free_space += length;
  store.free_size -= length;
}

std::string_view StoredKey(const SortRow& row) { return {row.key, row.key_length}; }

// Bytes that all stored keys have in common.
size_t CommonStart(const std::vector<SortRow>& rows) {
  size_t common = rows.front().key_length;
  for (const SortRow& row : rows) {
    common = SharedStart(StoredKey(rows.front()), StoredKey(row), common);
  }
  return common;
}

// The eight bytes after the common start, so that most comparisons look no further.
void SetHeads(std::vector<SortRow>& rows) {
  const size_t common = CommonStart(rows);
  for (SortRow& row : rows) {
    for (size_t i = common; i < common + 8; ++i) {
      row.head = row.head << 8 | (i < row.key_length ? static_cast<uint8_t>(row.key[i]) : 0U);
    }
  }
}

// By the eight bytes, then the stored keys, then, where both were cut or none is stored, the texts
// themselves.
bool IsBefore(const TextSort& sort, const KeyStore& store, const SortRow& a, const SortRow& b) {
  if (a.head != b.head) return a.head < b.head;
  const int order = store.failed ? 0 : StoredKey(a).compare(StoredKey(b));
  const bool both_cut = store.failed || a.key_length >= store.limit;
  if (order != 0 || !both_cut) return order < 0;
  // Equal texts are frequent, and making keys is slow.
  return TextOf(sort, a) != TextOf(sort, b) && FullKey(sort, a) < FullKey(sort, b);
}

// Keys of all rows take at most kKeyRoom bytes together, so each is longer the fewer rows there
// are.
void SortByTexts(TextSort sort, bool descending, std::vector<SortRow>& rows, StopPoll& poll) {
  sort.common = CommonPath(sort, rows);
  KeyStore store;
  store.limit = std::clamp(kKeyRoom / rows.size(), kLeastKey, kLargestKey);
  for (SortRow& row : rows) {
    if (Stopped(poll)) return;
    if (!store.failed) StoreKey(store, FullKey(sort, row), row);
  }
  if (!store.failed) SetHeads(rows);
  std::stable_sort(rows.begin(), rows.end(), [&](const SortRow& a, const SortRow& b) {
    if (Stopped(poll)) return false;
    return descending ? IsBefore(sort, store, b, a) : IsBefore(sort, store, a, b);
  });
}

// --- modes of columns ----------------------------------------------------------------------------

std::string LowerText(std::string_view text) {
  std::string lower(text);
  for (char& character : lower) character = SmallLetter(character);
  return lower;
}

bool IsOneOf(std::string_view title, std::span<const std::string_view> titles) {
  return std::find(titles.begin(), titles.end(), title) != titles.end();
}

// Of a column that only a file knows.
SortMode SortModeOfTitle(std::string_view title) {
  constexpr std::string_view kNumbers[] = {"keys",   "aces",        "ace count",
                                           "length", "data length", "size"};
  constexpr std::string_view kDates[] = {"modified", "created", "accessed"};
  const std::string lower = LowerText(title);
  if (lower.find("date") != std::string::npos || IsOneOf(lower, kDates)) return SortMode::kDate;
  return IsOneOf(lower, kNumbers) ? SortMode::kNumber : SortMode::kText;
}

}  // namespace

SortMode SortModeOfColumn(const OutputList& list, int column) {
  if (column < 0 || column >= ColumnCount(list)) return SortMode::kText;
  const KindColumn* known = ColumnRecord(list, column);
  if (known != nullptr) return known->sort;
  const SortMode mode = SortModeOfTitle(ColumnTitle(list, column));
  // Whatever its title says, a kind's column of numbers is one.
  const bool number = HoldsOf(FindListKind(ListKindOf(list)), column) == CellHolds::kNumber;
  return mode == SortMode::kText && number ? SortMode::kNumber : mode;
}

std::vector<uint32_t> SortRows(const OutputList& list, std::span<const uint32_t> rows,
                               const SortRequest& request, const std::function<bool()>& stop) {
  std::vector<SortRow> sorted(rows.size());
  for (size_t i = 0; i < rows.size(); ++i) sorted[i].row = rows[i];
  StopPoll poll{stop};
  if (rows.size() > 1 && request.mode == SortMode::kText) {
    SortByTexts({list, request.column}, request.descending, sorted, poll);
  } else {
    const bool values = SortsByValues(list, request);
    for (SortRow& row : sorted) {
      row.head = Stopped(poll) ? 0 : NumberOf(list, row.row, request, values);
    }
    SortByNumbers(sorted, request.descending, poll);
  }
  std::vector<uint32_t> order;
  order.reserve(sorted.size());
  for (const SortRow& row : sorted) order.push_back(row.row);
  return order;
}

}  // namespace hivequarry

#include "lists/output_list.h"

#include <algorithm>
#include <array>
#include <bit>
#include <new>
#include <utility>

#include "host/long_operation.h"
#include "host/number_text.h"
#include "host/shortfalls.h"
#include "host/text.h"
#include "lists/row_blob.h"

namespace hivequarry {
namespace {

// Rows are put into chunks that grow, so that short lists take little and long ones few.
constexpr size_t kFirstChunk = 4096;
constexpr size_t kLargestChunk = size_t{1} << 20;

// Row pointers are in blocks that double in size, so that none ever moves: block b holds
// kFirstBlock << b of them.
constexpr uint32_t kFirstBlock = 256;
constexpr int kBlockCount = 24;
constexpr uint32_t kMaxRows = kFirstBlock * ((1U << kBlockCount) - 1);

// Blocks are twice as long as the one before, so that rows never move: readers need no lock.
struct RowPlace {
  int block;
  uint32_t index;
};

RowPlace PlaceOfRow(uint32_t row) {
  const uint32_t units = row / kFirstBlock + 1;
  const int block = static_cast<int>(std::bit_width(units)) - 1;
  return {block, row - kFirstBlock * ((1U << block) - 1)};
}

constexpr size_t kMaxNumberedText = 511;  // of a first column after its row's number

using Bytes = std::unique_ptr<char[]>;

Bytes TryAllocate(size_t size) { return Bytes(new (std::nothrow) char[size]); }

}  // namespace

struct OutputList {
  int kind = 0;
  std::string title;
  std::string subtitle;
  std::string source;
  std::shared_ptr<const ListHead> head;
  RowNumbers numbers = RowNumbers::kNone;
  std::vector<std::string> columns;
  std::array<std::unique_ptr<const char*[]>, kBlockCount> rows;
  std::atomic<uint32_t> row_count{0};  // published after the row's blob and pointer
  std::vector<Bytes> chunks;           // the blobs; only the adding thread looks at this
  char* free_space = nullptr;          // the rest of the chunk in use
  size_t free_size = 0;
  size_t next_chunk = kFirstChunk;
  // Long texts of the rows added last, for the next ones to share.
  TextSet latest;
  bool full = false;  // no memory for a row was left, which was noted; or the taker wants no more
  bool keeps = true;  // rows; else each goes to the taker
  RowTaker taker;     // empty: rows are counted
};

namespace {

// Room for a blob; null when there is no memory. A blob that would waste most of a chunk gets one
// of its own, and the chunk in use stays in use.
char* AllocateRoom(OutputList& list, size_t size) {
  if (size > list.free_size) {
    const bool own = size > list.next_chunk / 4;
    const size_t chunk_size = own ? size : list.next_chunk;
    Bytes chunk = TryAllocate(chunk_size);
    if (chunk == nullptr) return nullptr;
    char* start = chunk.get();
    list.chunks.push_back(std::move(chunk));
    if (own) return start;
    list.free_space = start;
    list.free_size = chunk_size;
    list.next_chunk = std::min(2 * list.next_chunk, kLargestChunk);
  }
  char* room = list.free_space;
  list.free_space += size;
  list.free_size -= size;
  return room;
}

// Where the pointer of the next row goes; null when there is no memory.
const char** AllocateRowPointer(OutputList& list, uint32_t row) {
  if (row >= kMaxRows) return nullptr;
  const RowPlace place = PlaceOfRow(row);
  auto& block = list.rows[static_cast<size_t>(place.block)];
  if (block == nullptr) block.reset(new (std::nothrow) const char*[kFirstBlock << place.block]);
  return block == nullptr ? nullptr : &block[place.index];
}

// The blob of a row; null when there is no memory.
const char* MakeBlob(OutputList& list, const RowLayout& layout) {
  if (layout.text_bytes > UINT32_MAX) return nullptr;
  char* blob = AllocateRoom(list, layout.size);
  if (blob != nullptr) WriteBlob(layout, blob, list.latest);
  return blob;
}

// The row is whole before it is counted: readers on other threads look at the count first, and then
// find all that is below it. False without memory; the list is as before.
bool TryAddRow(OutputList& list, const NewRow& row) {
  const RowLayout layout = LayOut(row, list.columns.size(), list.latest);
  const uint32_t number = list.row_count.load(std::memory_order_relaxed);
  const char** pointer = AllocateRowPointer(list, number);
  if (pointer == nullptr) return false;
  const char* blob = MakeBlob(list, layout);
  if (blob == nullptr) return false;
  *pointer = blob;
  list.row_count.store(number + 1, std::memory_order_release);
  return true;
}

RowView ViewOfRow(const OutputList& list, uint32_t row) {
  const RowPlace place = PlaceOfRow(row);
  return ViewOfBlob(list.rows[static_cast<size_t>(place.block)][place.index]);
}

bool TryAddNumberedRow(OutputList& list, const NewRow& row) {
  std::array<Cell, kMaxOwnColumns> cells;
  const size_t count = std::min(row.cells.size(), cells.size());
  std::copy_n(row.cells.begin(), count, cells.begin());
  const bool five = list.numbers == RowNumbers::kFive;
  const std::string first = Concat({Decimal(RowCount(list) + 1, five ? 5 : 6), five ? ", " : " ",
                                    FirstUnits(cells[0].text, kMaxNumberedText)});
  // A date stays one; any other value is not what the numbered text says.
  const KindColumn* column = list.columns.empty() ? nullptr : ColumnRecord(list, 0);
  const bool date = column != nullptr && column->holds == CellHolds::kDate;
  cells[0] = Cell(first, date ? cells[0].value : kNoValue);
  NewRow numbered = row;
  numbered.cells = std::span(cells).first(std::max<size_t>(count, 1));
  return TryAddRow(list, numbered);
}

void HandOn(OutputList& list, const NewRow& row) {
  if (list.full) return;
  list.row_count.store(RowCount(list) + 1, std::memory_order_relaxed);
  list.full = list.taker && !list.taker(row);
}

}  // namespace

void OutputListDeleter::operator()(OutputList* list) const { delete list; }

OutputListPtr MakeOutputList(int kind) {
  OutputListPtr list(new OutputList);
  const ListKindInfo& info = FindListKind(kind);
  list->kind = kind;
  list->title = info.title;
  for (const KindColumn& column : info.columns) list->columns.emplace_back(column.title);
  return list;
}

OutputListPtr MakeListLike(const OutputList& list) {
  OutputListPtr like(new OutputList);
  like->kind = list.kind;
  like->title = list.title;
  like->subtitle = list.subtitle;
  like->source = list.source;
  like->head = list.head;
  like->columns = list.columns;
  return like;
}

int ListKindOf(const OutputList& list) { return list.kind; }
const std::string& ListTitle(const OutputList& list) { return list.title; }
void SetListTitle(OutputList& list, std::string title) { list.title = std::move(title); }
const std::string& ListSubtitle(const OutputList& list) { return list.subtitle; }
void SetListSubtitle(OutputList& list, std::string subtitle) {
  list.subtitle = std::move(subtitle);
}
const std::string& ListSource(const OutputList& list) { return list.source; }
void SetListSource(OutputList& list, std::string file) { list.source = std::move(file); }
const std::shared_ptr<const ListHead>& ListHeadOf(const OutputList& list) { return list.head; }
void SetListHead(OutputList& list, std::shared_ptr<const ListHead> head) {
  list.head = std::move(head);
}
int ColumnCount(const OutputList& list) { return static_cast<int>(list.columns.size()); }
const std::string& ColumnTitle(const OutputList& list, int column) {
  return list.columns[static_cast<size_t>(column)];
}

void SetColumns(OutputList& list, std::vector<std::string> titles) {
  const auto most = static_cast<size_t>(MostColumns(list.kind));
  if (titles.size() > most) titles.resize(most);
  list.columns = std::move(titles);
}

void AddColumns(OutputList& list, std::initializer_list<const char*> titles) {
  std::vector<std::string> all = list.columns;
  all.insert(all.end(), titles.begin(), titles.end());
  SetColumns(list, std::move(all));
}

const KindColumn* ColumnRecord(const OutputList& list, int column) {
  const auto place = static_cast<size_t>(column);
  const std::string& title = list.columns[place];
  const std::span<const KindColumn> own = FindListKind(list.kind).columns;
  const KindColumn& record = place < own.size() ? own[place] : FurtherColumn(title);
  return title == record.title ? &record : nullptr;
}

void SetRowNumbers(OutputList& list, RowNumbers numbers) { list.numbers = numbers; }

void AddRow(OutputList& list, const NewRow& row) {
  if (!list.keeps) return HandOn(list, row);
  const bool numbered = list.numbers != RowNumbers::kNone;
  if (list.full || (numbered ? TryAddNumberedRow(list, row) : TryAddRow(list, row))) return;
  // Once: the rows after it are refused without a word, until the list is cleared.
  list.full = true;
  const std::string first(row.cells.empty() ? std::string_view() : row.cells.front().text);
  NoteRefusedRow(first);
  RequestStop();
}

void HandOnRows(OutputList& list, RowTaker taker) {
  list.keeps = false;
  list.taker = std::move(taker);
}

bool CountsRowsAlone(const OutputList& list) { return !list.keeps && !list.taker; }

bool TakesRows(const OutputList& list) { return !list.full; }

uint32_t RowCount(const OutputList& list) { return list.row_count.load(std::memory_order_acquire); }

std::string_view CellText(const OutputList& list, uint32_t row, int column) {
  const RowView view = ViewOfRow(list, row);
  return column < view.head.cells ? TextAt(view, column) : std::string_view();
}

void CellTexts(const OutputList& list, uint32_t row, std::span<std::string_view> cells) {
  const RowView view = ViewOfRow(list, row);
  uint32_t start = 0;
  for (size_t column = 0; column < cells.size(); ++column) {
    const bool there = column < view.head.cells;
    const uint32_t end = there ? EndAt(view, static_cast<int>(column)) : start;
    cells[column] =
        there ? TextBetween(view, static_cast<int>(column), start, end) : std::string_view();
    start = end;
  }
}

uint64_t CellValue(const OutputList& list, uint32_t row, int column) {
  return ValueAt(ViewOfRow(list, row), column);
}

int RowIcon(const OutputList& list, uint32_t row) { return ViewOfRow(list, row).head.icon; }
uint32_t RowDatum(const OutputList& list, uint32_t row) {
  const RowHead head = ViewOfRow(list, row).head;
  return (head.flags & kHasDatum) != 0 ? head.datum : row + 1;
}
bool RowHasDatum(const OutputList& list, uint32_t row) {
  return (ViewOfRow(list, row).head.flags & kHasDatum) != 0;
}

RowFacts FactsOfRow(const OutputList& list, uint32_t row) {
  const RowView view = ViewOfRow(list, row);
  RowFacts facts;
  facts.about_key = (view.head.flags & kAboutKey) != 0;
  facts.of_record = (view.head.flags & kOfRecord) != 0;
  facts.last_write = view.last_write;
  if ((view.head.flags & kHasFacts) != 0) {
    facts.path = TextAt(view, view.head.cells);
    facts.name = TextAt(view, view.head.cells + 1);
    facts.bytes = TextAt(view, view.head.cells + 2);
    facts.from_log = TextAt(view, view.head.cells + 3);
  }
  return facts;
}

namespace {

// A row as it was added, but for what does not fit into its list. Its cells are in `cells`.
NewRow CopyRow(const OutputList& list, uint32_t row, std::span<Cell> cells) {
  const RowView view = ViewOfRow(list, row);
  for (size_t column = 0; column < cells.size(); ++column) {
    const auto number = static_cast<int>(column);
    if (number < view.head.cells) cells[column] = {TextAt(view, number), ValueAt(view, number)};
  }
  return {cells, RowIcon(list, row), RowDatum(list, row), RowHasDatum(list, row),
          FactsOfRow(list, row)};
}

}  // namespace

void AddRowOf(OutputList& list, const OutputList& from, uint32_t row) {
  AddRowOf(list, from, row, {});
}

void AddRowOf(OutputList& list, const OutputList& from, uint32_t row,
              std::span<const OtherText> texts) {
  std::array<Cell, kMaxOwnColumns> cells;
  const NewRow copy = CopyRow(from, row, std::span(cells).first(from.columns.size()));
  for (const OtherText& other : texts) cells[static_cast<size_t>(other.column)].text = other.text;
  AddRow(list, copy);
}

bool ReplaceCell(OutputList& list, uint32_t row, int column, std::string_view text) {
  if (row >= RowCount(list) || column < 0 || column >= ColumnCount(list)) return false;
  std::array<Cell, kMaxOwnColumns> cells;
  // A row cannot grow where it is: it gets a blob of its own.
  const NewRow changed = CopyRow(list, row, std::span(cells).first(list.columns.size()));
  const KindColumn* record = ColumnRecord(list, column);
  Cell& cell = cells[static_cast<size_t>(column)];
  const bool date = record != nullptr && record->holds == CellHolds::kDate;
  cell = Cell(text, date ? cell.value : kNoValue);
  // The old blob stays where it is until the list is cleared.
  const RowLayout layout = LayOut(changed, list.columns.size(), TextSet());
  const char* blob = MakeBlob(list, layout);
  if (blob == nullptr) return false;
  const RowPlace place = PlaceOfRow(row);
  list.rows[static_cast<size_t>(place.block)][place.index] = blob;
  return true;
}

bool MoveRows(OutputList& list, OutputList& from, std::span<const uint32_t> order) {
  const uint32_t count = RowCount(from);
  const bool whole = order.size() == count && list.columns.size() == from.columns.size();
  if (RowCount(list) != 0 || !whole || list.numbers != RowNumbers::kNone) return false;
  std::vector<const char*> blobs;
  blobs.reserve(count);
  const auto place_of = [&from](uint32_t row) -> const char*& {
    const RowPlace place = PlaceOfRow(row);
    return from.rows[static_cast<size_t>(place.block)][place.index];
  };
  // Pointers alone change places; the rows' memory goes over with its chunks.
  for (const uint32_t row : order) blobs.push_back(place_of(row));
  for (uint32_t row = 0; row < count; ++row) place_of(row) = blobs[row];
  list.rows = std::move(from.rows);
  list.chunks = std::move(from.chunks);
  list.free_space = std::exchange(from.free_space, nullptr);
  list.free_size = std::exchange(from.free_size, 0);
  list.next_chunk = from.next_chunk;
  list.latest.fill({});
  from.row_count.store(0, std::memory_order_release);
  ClearRows(from);
  list.row_count.store(count, std::memory_order_release);
  return true;
}

void ClearRows(OutputList& list) {
  list.row_count.store(0, std::memory_order_release);
  for (auto& block : list.rows) block.reset();
  list.chunks.clear();
  list.latest.fill({});
  list.free_space = nullptr;
  list.free_size = 0;
  list.next_chunk = kFirstChunk;
  list.full = false;
  list.keeps = true;
  list.taker = nullptr;
}

}  // namespace hivequarry

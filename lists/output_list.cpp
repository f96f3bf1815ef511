#include "lists/output_list.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <new>
#include <utility>

#include "host/host.h"
#include "host/long_operation.h"
#include "host/number_text.h"

namespace hivequarry {
namespace {

// A row is one blob: this head, the last-write time (only of a row about a key), which texts are
// shared (a bit each, only when any are), the end of each text counted from the first text's start,
// and the texts. The texts are the cells, empty ones at the end left out, and after them path,
// name and bytes when the row has any of these. Ends take two bytes each, four when the texts are
// longer than that. In place of a shared text is where an earlier row has it: the rows of a
// key's values have its path once.
struct RowHead {
  uint32_t datum;
  int16_t icon;
  uint8_t cells;
  uint8_t flags;
};
static_assert(sizeof(RowHead) == 8);

constexpr uint8_t kHasDatum = 1;
constexpr uint8_t kAboutKey = 2;
constexpr uint8_t kHasFacts = 4;
constexpr uint8_t kWideEnds = 8;
constexpr uint8_t kHasShared = 16;
constexpr int kFactTexts = 3;

// What stands for a shared text. Only texts that are longer than what it takes are worth it.
struct SharedText {
  const char* text;
  uint32_t size;
};
constexpr size_t kSharedSize = sizeof(const char*) + sizeof(uint32_t);
constexpr size_t kLeastShared = 24;
// Long texts that are stored, for rows to share: the latest of each cell, then of each fact.
using TextSet = std::array<std::string_view, kMaxOwnColumns + kFactTexts>;
// Without initial values: most rows have a few texts of the many that a row could have.
struct StoredText {
  const char* data;
  size_t size;
};

constexpr size_t kFirstChunk = 4096;
constexpr size_t kLargestChunk = size_t{1} << 20;

// Row pointers are in blocks that double in size, so that none ever moves: block b holds
// kFirstBlock << b of them.
constexpr uint32_t kFirstBlock = 256;
constexpr int kBlockCount = 24;
constexpr uint32_t kMaxRows = kFirstBlock * ((1U << kBlockCount) - 1);

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

// A row's texts, laid out for writing.
struct RowLayout {
  RowHead head{};
  std::span<const std::string_view> cells;  // without the empty ones at the end
  std::array<std::string_view, kFactTexts> facts;
  uint64_t shared = 0;  // of the texts in the order in which they are stored
  // Likewise: the texts, or those of an earlier row that they share.
  std::array<StoredText, kMaxOwnColumns + kFactTexts> stored;
  int texts = 0;
  size_t text_bytes = 0;
  size_t end_size = 2;
  size_t size = 0;  // of the blob
};

// A blob's parts, found again for reading.
struct RowView {
  RowHead head;
  uint64_t last_write = 0;
  uint64_t shared = 0;
  const char* ends;
  const char* texts;
  size_t end_size;
};

uint32_t EndAt(const RowView& view, int text) {
  if (view.end_size == 2) {
    uint16_t end = 0;
    std::memcpy(&end, view.ends + 2 * text, 2);
    return end;
  }
  uint32_t end = 0;
  std::memcpy(&end, view.ends + 4 * text, 4);
  return end;
}

// The text that is stored between two ends.
std::string_view TextBetween(const RowView& view, int text, uint32_t start, uint32_t end) {
  const char* stored = view.texts + start;
  if ((view.shared >> text & 1) == 0) return {stored, end - start};
  SharedText shared{};
  std::memcpy(&shared.text, stored, sizeof shared.text);
  std::memcpy(&shared.size, stored + sizeof shared.text, sizeof shared.size);
  return {shared.text, shared.size};
}

std::string_view TextAt(const RowView& view, int text) {
  return TextBetween(view, text, text == 0 ? 0 : EndAt(view, text - 1), EndAt(view, text));
}

RowView ViewOfBlob(const char* blob) {
  RowView view{};
  std::memcpy(&view.head, blob, sizeof view.head);
  blob += sizeof view.head;
  if ((view.head.flags & kAboutKey) != 0) {
    std::memcpy(&view.last_write, blob, sizeof view.last_write);
    blob += sizeof view.last_write;
  }
  if ((view.head.flags & kHasShared) != 0) {
    std::memcpy(&view.shared, blob, sizeof view.shared);
    blob += sizeof view.shared;
  }
  const int texts = view.head.cells + ((view.head.flags & kHasFacts) != 0 ? kFactTexts : 0);
  view.end_size = (view.head.flags & kWideEnds) != 0 ? 4 : 2;
  view.ends = blob;
  view.texts = blob + static_cast<size_t>(texts) * view.end_size;
  return view;
}

size_t StoredSize(const RowLayout& layout, int text) {
  const bool shared = (layout.shared >> text & 1) != 0;
  return shared ? kSharedSize : layout.stored[static_cast<size_t>(text)].size;
}

// Adds a text to those that are stored; `before` is that of an earlier row in its place.
inline void Store(std::string_view text, std::string_view before, RowLayout& layout) {
  StoredText& stored = layout.stored[static_cast<size_t>(layout.texts)];
  stored = {text.data(), text.size()};
  if (text.size() >= kLeastShared && text == before) {
    layout.shared |= uint64_t{1} << layout.texts;
    stored.data = before.data();
    layout.text_bytes += kSharedSize;
  } else {
    layout.text_bytes += text.size();
  }
  ++layout.texts;
}

// The layout looks at the row's texts and at `before`, texts of earlier rows, and lives no longer
// than they.
RowLayout LayOut(const NewRow& row, size_t columns, const TextSet& before) {
  RowLayout layout;
  size_t cells = std::min(row.texts.size(), columns);
  while (cells > 0 && row.texts[cells - 1].empty()) --cells;
  layout.cells = row.texts.first(cells);
  layout.head = {row.datum, static_cast<int16_t>(row.icon), static_cast<uint8_t>(cells), 0};
  if (row.has_datum) layout.head.flags |= kHasDatum;
  if (row.facts.about_key) layout.head.flags |= kAboutKey;
  layout.facts = {row.facts.path, row.facts.name, row.facts.bytes};
  const bool facts = !row.facts.path.empty() || !row.facts.name.empty() || !row.facts.bytes.empty();
  if (facts) layout.head.flags |= kHasFacts;
  for (size_t cell = 0; cell < cells; ++cell) Store(layout.cells[cell], before[cell], layout);
  for (size_t fact = 0; facts && fact < kFactTexts; ++fact) {
    Store(layout.facts[fact], before[kMaxOwnColumns + fact], layout);
  }
  if (layout.shared != 0) layout.head.flags |= kHasShared;
  if (layout.text_bytes > UINT16_MAX) {
    layout.end_size = 4;
    layout.head.flags |= kWideEnds;
  }
  layout.size = sizeof(RowHead) + (row.facts.about_key ? sizeof(uint64_t) : 0) +
                (layout.shared != 0 ? sizeof(uint64_t) : 0) +
                static_cast<size_t>(layout.texts) * layout.end_size + layout.text_bytes;
  return layout;
}

// Where a set of latest texts has the one that is stored as the number `text`.
size_t PlaceOfText(const RowLayout& layout, int text) {
  const int cells = layout.head.cells;
  return static_cast<size_t>(text < cells ? text : kMaxOwnColumns + text - cells);
}

// Notes in `latest` where the row has its long texts.
void WriteBlob(const RowLayout& layout, uint64_t last_write, char* out, TextSet& latest) {
  const auto put = [&out](const void* from, size_t size) {
    if (size != 0) std::memcpy(out, from, size);
    out += size;
  };
  put(&layout.head, sizeof layout.head);
  if ((layout.head.flags & kAboutKey) != 0) put(&last_write, sizeof last_write);
  if (layout.shared != 0) put(&layout.shared, sizeof layout.shared);
  uint32_t end = 0;
  for (int text = 0; text < layout.texts; ++text) {
    end += static_cast<uint32_t>(StoredSize(layout, text));
    const auto narrow = static_cast<uint16_t>(end);
    if (layout.end_size == 2) {
      put(&narrow, sizeof narrow);
    } else {
      put(&end, sizeof end);
    }
  }
  for (int text = 0; text < layout.texts; ++text) {
    const StoredText& stored = layout.stored[static_cast<size_t>(text)];
    if ((layout.shared >> text & 1) == 0) {
      if (stored.size >= kLeastShared) latest[PlaceOfText(layout, text)] = {out, stored.size};
      put(stored.data, stored.size);
      continue;
    }
    const auto size = static_cast<uint32_t>(stored.size);
    put(&stored.data, sizeof stored.data);
    put(&size, sizeof size);
  }
}

}  // namespace

struct OutputList {
  int kind = 0;
  std::string title;
  std::string subtitle;
  std::string source;
  RowNumbers numbers = RowNumbers::kNone;
  std::vector<std::string> columns;
  std::array<std::unique_ptr<const char*[]>, kBlockCount> rows;
  std::atomic<uint32_t> row_count{0};  // published after the row's blob and pointer
  std::vector<Bytes> chunks;           // the blobs; only the adding thread looks at this
  char* free_space = nullptr;          // the rest of the chunk in use
  size_t free_size = 0;
  size_t next_chunk = kFirstChunk;
  TextSet latest;
  bool full = false;  // no memory for a row was left, which was said
};

namespace {

// Room for a blob; null when there is no memory. A blob that would waste most of a chunk gets one
// of its own, and the chunk in use stays in use.
char* TakeRoom(OutputList& list, size_t size) {
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
const char** TakeRowPointer(OutputList& list, uint32_t row) {
  if (row >= kMaxRows) return nullptr;
  const RowPlace place = PlaceOfRow(row);
  auto& block = list.rows[static_cast<size_t>(place.block)];
  if (block == nullptr) block.reset(new (std::nothrow) const char*[kFirstBlock << place.block]);
  return block == nullptr ? nullptr : &block[place.index];
}

// The blob of a row; null when there is no memory.
const char* MakeBlob(OutputList& list, const RowLayout& layout, uint64_t last_write) {
  if (layout.text_bytes > UINT32_MAX) return nullptr;
  char* blob = TakeRoom(list, layout.size);
  if (blob != nullptr) WriteBlob(layout, last_write, blob, list.latest);
  return blob;
}

bool TryAddRow(OutputList& list, const NewRow& row) {
  const RowLayout layout = LayOut(row, list.columns.size(), list.latest);
  const uint32_t number = list.row_count.load(std::memory_order_relaxed);
  const char** pointer = TakeRowPointer(list, number);
  if (pointer == nullptr) return false;
  const char* blob = MakeBlob(list, layout, row.facts.last_write);
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
  std::array<std::string_view, kMaxOwnColumns> texts;
  const size_t count = std::min(row.texts.size(), texts.size());
  std::copy_n(row.texts.begin(), count, texts.begin());
  const bool five = list.numbers == RowNumbers::kFive;
  const std::string first = Concat({Decimal(RowCount(list) + 1, five ? 5 : 6), five ? ", " : " ",
                                    texts[0].substr(0, kMaxNumberedText)});
  texts[0] = first;
  NewRow numbered = row;
  numbered.texts = {texts.data(), std::max<size_t>(count, 1)};
  return TryAddRow(list, numbered);
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

int ListKindOf(const OutputList& list) { return list.kind; }
const std::string& ListTitle(const OutputList& list) { return list.title; }
void SetListTitle(OutputList& list, std::string title) { list.title = std::move(title); }
const std::string& ListSubtitle(const OutputList& list) { return list.subtitle; }
void SetListSubtitle(OutputList& list, std::string subtitle) {
  list.subtitle = std::move(subtitle);
}
const std::string& ListSource(const OutputList& list) { return list.source; }
void SetListSource(OutputList& list, std::string file) { list.source = std::move(file); }
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
  const bool numbered = list.numbers != RowNumbers::kNone;
  if (list.full || (numbered ? TryAddNumberedRow(list, row) : TryAddRow(list, row))) return;
  list.full = true;
  const std::string first(row.texts.empty() ? std::string_view() : row.texts.front());
  ShowMessage(("Error adding item " + first + " to list").c_str(), "Error", Icon::kStop);
  RequestStop();
}

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
  facts.last_write = view.last_write;
  if ((view.head.flags & kHasFacts) != 0) {
    facts.path = TextAt(view, view.head.cells);
    facts.name = TextAt(view, view.head.cells + 1);
    facts.bytes = TextAt(view, view.head.cells + 2);
  }
  return facts;
}

bool ReplaceCell(OutputList& list, uint32_t row, int column, std::string_view text) {
  if (row >= RowCount(list) || column < 0 || column >= ColumnCount(list)) return false;
  std::array<std::string_view, kMaxOwnColumns> texts;
  for (int i = 0; i < ColumnCount(list); ++i)
    texts[static_cast<size_t>(i)] = CellText(list, row, i);
  texts[static_cast<size_t>(column)] = text;
  NewRow changed;
  changed.texts = {texts.data(), list.columns.size()};
  changed.icon = RowIcon(list, row);
  changed.datum = RowDatum(list, row);
  changed.has_datum = RowHasDatum(list, row);
  changed.facts = FactsOfRow(list, row);
  // The old blob stays where it is until the list is cleared.
  const RowLayout layout = LayOut(changed, list.columns.size(), TextSet());
  const char* blob = MakeBlob(list, layout, changed.facts.last_write);
  if (blob == nullptr) return false;
  const RowPlace place = PlaceOfRow(row);
  list.rows[static_cast<size_t>(place.block)][place.index] = blob;
  return true;
}

bool TakeRows(OutputList& list, OutputList& from, std::span<const uint32_t> order) {
  const uint32_t count = RowCount(from);
  const bool whole = order.size() == count && list.columns.size() == from.columns.size();
  if (RowCount(list) != 0 || !whole || list.numbers != RowNumbers::kNone) return false;
  std::vector<const char*> blobs;
  blobs.reserve(count);
  const auto place_of = [&from](uint32_t row) -> const char*& {
    const RowPlace place = PlaceOfRow(row);
    return from.rows[static_cast<size_t>(place.block)][place.index];
  };
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
}

}  // namespace hivequarry

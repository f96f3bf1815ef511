#include "lists/row_blob.h"

#include <algorithm>
#include <cstring>

#include "hive/timestamp.h"

namespace hivequarry {
namespace {

// What stands for a shared text. Only texts that are longer than what it takes are worth it.
struct SharedText {
  const char* text;
  uint32_t size;
};
constexpr size_t kSharedSize = sizeof(const char*) + sizeof(uint32_t);
// Bytes: a shorter text is stored again in less than what leads to an earlier one takes with its
// look-up.
constexpr size_t kLeastShared = 24;

// Bytes of a value by its form. The first is the time of the last write, which the row has anyway;
// the last holds the seconds of any date that has a text.
constexpr std::array<size_t, 4> kValueSizes = {0, 2, 4, 5};
constexpr uint8_t kValueForms = kValueSizes.size();
constexpr uint8_t kLastWriteForm = 0;
constexpr uint8_t kMoreValues = 0x80;
constexpr uint8_t kLastValueColumn = 31;

// Stored in the fewest bytes that hold it, or in none where it is the row's own last write. A value
// of a column beyond kLastValueColumn, or wider than all forms, is dropped: the cell then sorts by
// its text.
void AddValue(uint64_t value, size_t column, RowLayout& layout) {
  if (column > kLastValueColumn) return;
  uint8_t form = kLastWriteForm;
  const bool last_write = value == layout.last_write / kFileTimeSecond;
  if ((layout.head.flags & kAboutKey) == 0 || !last_write) {
    for (form = 1; form < kValueForms; ++form) {
      if (value >> (8 * kValueSizes[form]) == 0) break;
    }
    if (form == kValueForms) return;
  }
  layout.values[static_cast<size_t>(layout.value_count++)] = {value, static_cast<uint8_t>(column),
                                                              form};
  layout.size += 1 + kValueSizes[form];
  layout.head.flags |= kHasValues;
}

bool IsShared(const RowLayout& layout, int text) { return (layout.shared >> text & 1) != 0; }

// Where a set of latest texts has the one that is stored as the number `text`.
size_t PlaceOfText(const RowLayout& layout, int text) {
  const int cells = layout.head.cells;
  return static_cast<size_t>(text < cells ? text : kMaxOwnColumns + text - cells);
}

void Put(const void* from, size_t size, char*& out) {
  if (size != 0) std::memcpy(out, from, size);
  out += size;
}

// The low bytes of a number, lowest first.
void PutNumber(uint64_t number, size_t size, char*& out) {
  for (; size > 0; --size, number >>= 8) *out++ = static_cast<char>(number & 0xFF);
}

uint64_t NumberAt(const char* at, size_t size) {
  uint64_t number = 0;
  while (size-- > 0) number = number << 8 | static_cast<uint8_t>(at[size]);
  return number;
}

// Each value: a byte with the column in its low five bits, the form from bit 5 on, and a mark of
// more to come; then the number, lowest byte first.
void PutValues(const RowLayout& layout, char*& out) {
  for (int i = 0; i < layout.value_count; ++i) {
    const StoredValue& stored = layout.values[static_cast<size_t>(i)];
    const bool more = i + 1 < layout.value_count;
    *out++ = static_cast<char>(stored.column | stored.form << 5 | (more ? kMoreValues : 0));
    PutNumber(stored.value, kValueSizes[stored.form], out);
  }
}

// Where a text ends, counted from the first; one width for all texts of a row.
void PutEnd(size_t end, size_t size, char*& out) {
  if (size == 1) {
    *out++ = static_cast<char>(end);
  } else {
    PutNumber(end, size, out);
  }
}

// The ends of the texts, and after all of these the texts.
void PutTexts(const RowLayout& layout, char* ends, TextSet& latest) {
  char* const first = ends + static_cast<size_t>(layout.texts) * layout.end_size;
  char* out = first;
  for (int text = 0; text < layout.texts; ++text) {
    const StoredText& stored = layout.stored[static_cast<size_t>(text)];
    if (IsShared(layout, text)) {
      const auto size = static_cast<uint32_t>(stored.size);
      Put(&stored.text, sizeof stored.text, out);
      Put(&size, sizeof size, out);
    } else {
      if (stored.size >= kLeastShared) latest[PlaceOfText(layout, text)] = {out, stored.size};
      Put(stored.text, stored.size, out);
    }
    PutEnd(static_cast<size_t>(out - first), layout.end_size, ends);
  }
}

// The byte that a value begins with, as its parts.
uint8_t FormOf(uint8_t tag) { return tag >> 5 & 3; }
int ColumnOf(uint8_t tag) { return tag & kLastValueColumn; }
size_t SizeOfValue(uint8_t tag) { return 1 + kValueSizes[FormOf(tag)]; }

}  // namespace

RowLayout LayOut(const NewRow& row, size_t columns, const TextSet& before) {
  RowLayout layout;
  size_t cells = std::min(row.cells.size(), columns);
  while (cells > 0 && row.cells[cells - 1].text.empty()) --cells;
  layout.head = {row.datum, static_cast<int16_t>(row.icon), static_cast<uint8_t>(cells), 0};
  layout.last_write = row.facts.last_write;
  if (row.has_datum) layout.head.flags |= kHasDatum;
  if (row.facts.about_key) layout.head.flags |= kAboutKey;
  if (row.facts.of_record) layout.head.flags |= kOfRecord;
  const std::string_view facts[kFactTexts] = {row.facts.path, row.facts.name, row.facts.bytes,
                                              row.facts.from_log};
  const bool told = std::ranges::any_of(facts, [](std::string_view text) { return !text.empty(); });
  if (told) layout.head.flags |= kHasFacts;
  const size_t texts = cells + (told ? kFactTexts : 0);
  for (size_t i = 0; i < texts; ++i) {
    const bool cell = i < cells;
    const std::string_view text = cell ? row.cells[i].text : facts[i - cells];
    const std::string_view latest = before[cell ? i : kMaxOwnColumns + i - cells];
    const bool shared = text.size() >= kLeastShared && text == latest;
    if (shared) layout.shared |= uint64_t{1} << i;
    layout.text_bytes += shared ? kSharedSize : text.size();
    layout.stored[i] = {(shared ? latest : text).data(), text.size()};
    // A cell without a text has no value either.
    if (cell && row.cells[i].value != kNoValue && !text.empty()) {
      AddValue(row.cells[i].value, i, layout);
    }
  }
  layout.texts = static_cast<int>(texts);
  if (layout.shared != 0) layout.head.flags |= kHasShared;
  if (layout.text_bytes > UINT8_MAX) {
    const bool wide = layout.text_bytes > UINT16_MAX;
    layout.end_size = wide ? 4 : 2;
    layout.head.flags |= wide ? kFourByteEnds : kTwoByteEnds;
  }
  layout.size += sizeof(RowHead) + (row.facts.about_key ? sizeof(uint64_t) : 0) +
                 (layout.shared != 0 ? sizeof(uint64_t) : 0) +
                 static_cast<size_t>(layout.texts) * layout.end_size + layout.text_bytes;
  return layout;
}

void WriteBlob(const RowLayout& layout, char* out, TextSet& latest) {
  Put(&layout.head, sizeof layout.head, out);
  if ((layout.head.flags & kAboutKey) != 0) {
    Put(&layout.last_write, sizeof layout.last_write, out);
  }
  if (layout.shared != 0) Put(&layout.shared, sizeof layout.shared, out);
  PutValues(layout, out);
  PutTexts(layout, out, latest);
}

RowView ViewOfBlob(const char* blob) {
  RowView view{};
  std::memcpy(&view.head, blob, sizeof view.head);
  blob += sizeof view.head;
  // The parts come in the order that they are written in, each only where its flag says so.
  const uint8_t flags = view.head.flags;
  if ((flags & kAboutKey) != 0) {
    std::memcpy(&view.last_write, blob, sizeof view.last_write);
    blob += sizeof view.last_write;
  }
  if ((flags & kHasShared) != 0) {
    std::memcpy(&view.shared, blob, sizeof view.shared);
    blob += sizeof view.shared;
  }
  if ((flags & kHasValues) != 0) {
    view.values = blob;
    for (uint8_t tag = kMoreValues; (tag & kMoreValues) != 0; blob += SizeOfValue(tag)) {
      tag = static_cast<uint8_t>(*blob);
    }
  }
  const int texts = view.head.cells + ((flags & kHasFacts) != 0 ? kFactTexts : 0);
  view.end_size = (flags & kFourByteEnds) != 0 ? 4 : (flags & kTwoByteEnds) != 0 ? 2 : 1;
  view.ends = blob;
  view.texts = blob + static_cast<size_t>(texts) * view.end_size;
  return view;
}

uint32_t EndAt(const RowView& view, int text) {
  if (view.end_size == 1) return static_cast<uint8_t>(view.ends[text]);
  const size_t at = static_cast<size_t>(text) * view.end_size;
  return static_cast<uint32_t>(NumberAt(view.ends + at, view.end_size));
}

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

uint64_t ValueAt(const RowView& view, int column) {
  if (view.values == nullptr) return kNoValue;
  const char* at = view.values;
  for (;;) {
    const auto tag = static_cast<uint8_t>(*at);
    if (ColumnOf(tag) == column) {
      return FormOf(tag) == kLastWriteForm ? view.last_write / kFileTimeSecond
                                           : NumberAt(at + 1, kValueSizes[FormOf(tag)]);
    }
    if ((tag & kMoreValues) == 0) return kNoValue;
    at += SizeOfValue(tag);
  }
}

}  // namespace hivequarry

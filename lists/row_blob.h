// How an Output List keeps a row. Not for use outside this folder.
//
// A row is one blob in memory, never on disk, of these parts, those that a row lacks left out:
// - its head;
// - the time of the last write, FILETIME (8 bytes), of a row about a key;
// - which texts are shared (8 bytes, a bit each);
// - the values of cells, but of columns after the 32nd: a byte with the column (bits 0 to 4), the
//   value's form (5 and 6) and whether another follows (7), then the value;
// - the end of each text, counted from the first text's start: a byte each, or two or four where
//   the texts are longer than that;
// - the texts: the cells, empty ones at the end left out, then path, name, bytes and the entry of a
//   log when the row has any of these. In place of a shared text is where an earlier row has it:
//   the rows of a key's values have its path once.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

#include "lists/output_list.h"

namespace hivequarry {

// The first eight bytes of a blob.
struct RowHead {
  uint32_t datum;  // of a row with kHasDatum
  int16_t icon;
  uint8_t cells;  // texts of cells that are stored
  uint8_t flags;  // the bits below
};
static_assert(sizeof(RowHead) == 8);

// Which of the parts above a row has, and how wide the ends of its texts are.
// The last one says that the datum is where the image has the record itself. Ends take one byte
// where neither of the two before is set.
inline constexpr uint8_t kHasDatum = 1;
inline constexpr uint8_t kAboutKey = 2;
inline constexpr uint8_t kHasFacts = 4;
inline constexpr uint8_t kHasShared = 8;
inline constexpr uint8_t kHasValues = 16;
inline constexpr uint8_t kTwoByteEnds = 32;
inline constexpr uint8_t kFourByteEnds = 64;
inline constexpr uint8_t kOfRecord = 128;
inline constexpr int kFactTexts = 4;

// Long texts that are stored, for rows to share: the latest of each cell, then of each fact.
using TextSet = std::array<std::string_view, kMaxOwnColumns + kFactTexts>;

// A value to be kept, its bytes the low ones.
struct StoredValue {
  uint64_t value;  // written as so many bytes as the form has
  uint8_t column;  // below 32: five bits
  uint8_t form;    // which of kValueSizes
};

// A text to be stored, or that of an earlier row which it shares.
struct StoredText {
  const char* text;
  size_t size;
};

// A row's parts, laid out for writing. The arrays have no initial values: most rows have few of
// many.
struct RowLayout {
  RowHead head{};
  uint64_t last_write = 0;  // FILETIME, UTC
  uint64_t shared = 0;      // of the texts in the order in which they are stored
  std::array<StoredText, kMaxOwnColumns + kFactTexts> stored;
  int texts = 0;          // how many of `stored` are filled
  size_t text_bytes = 0;  // of all stored texts
  size_t end_size = 1;    // bytes of one text's end: 1, 2 or 4
  std::array<StoredValue, kMaxOwnColumns> values;
  int value_count = 0;  // how many of `values` are filled
  size_t size = 0;      // of the blob
};
// The layout looks at the row's texts and at `before`, texts of earlier rows, and lives no longer
// than they.
RowLayout LayOut(const NewRow& row, size_t columns, const TextSet& before);
// Writes layout.size bytes, and notes in `latest` where the row has its long texts.
void WriteBlob(const RowLayout& layout, char* out, TextSet& latest);

// A blob's parts, found again for reading.
struct RowView {
  RowHead head;
  uint64_t last_write = 0;
  uint64_t shared = 0;
  const char* values = nullptr;  // null: none
  const char* ends;
  const char* texts;
  size_t end_size;
};
// Points into the blob. Only for blobs that WriteBlob made: nothing is checked.
RowView ViewOfBlob(const char* blob);
// Where a text ends that is stored as the number `text`, and the text between two ends.
uint32_t EndAt(const RowView& view, int text);
std::string_view TextBetween(const RowView& view, int text, uint32_t start, uint32_t end);
std::string_view TextAt(const RowView& view, int text);
// kNoValue for a cell without one.
uint64_t ValueAt(const RowView& view, int column);

}  // namespace hivequarry

// What the writers over an Output List share. Not for use outside this folder.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <functional>
#include <span>
#include <string>
#include <string_view>

#include "lists/list_writers.h"
#include "lists/output_list.h"

namespace hivequarry {

// Collects output and hands it on in large pieces.
struct ListOutput {
  const TextSink& sink;  // the caller's
  std::string buffer;    // not yet handed on
  bool open = true;      // false once the sink refused
};
// Hands on what is in the buffer and empties it. Nothing goes to a sink that has refused once.
void FlushOutput(ListOutput& out);
// Calls `write_row` with 0 to count - 1 and hands on the output in between and at the end. False
// when the sink refused or the user stopped.
bool WriteInPieces(ListOutput& out, uint32_t count, const std::function<void(uint32_t)>& write_row);

// What every writer asks of a list again and again.
// Taken once, so rows that are added meanwhile are not of it.
struct ListShape {
  const OutputList& list;
  int columns;
  uint32_t rows;  // when it was taken
  std::array<CellHolds, kMaxOwnColumns> holds;
};
// Keeps a reference to the list.
ListShape ShapeOf(const OutputList& list);

// The texts of one row; those after its columns are left as they were. The list owns them.
using RowTexts = std::array<std::string_view, kMaxOwnColumns>;
inline void ReadRow(const ListShape& shape, uint32_t row, RowTexts& texts) {
  CellTexts(shape.list, row, std::span(texts).first(static_cast<size_t>(shape.columns)));
}

// Makes the rows of a list and calls `write_row` with each, then hands on the output. False when
// the sink refused or the user stopped. The list keeps no rows and is empty afterwards.
bool WriteMadeRows(ListOutput& out, OutputList& list, const RowMaker& make,
                   const std::function<void(const NewRow&)>& write_row);
// The texts of a row that is handed on; of columns that it lacks they are empty.
void ReadRow(const ListShape& shape, const NewRow& row, RowTexts& texts);

// Room for `size` further characters at the end of a text; they are put there with Put.
inline char* MakeRoom(std::string& out, size_t size) {
  out.resize(out.size() + size);
  return out.data() + out.size() - size;
}
inline void Put(std::string_view text, char*& at) {
  if (!text.empty()) std::memcpy(at, text.data(), text.size());
  at += text.size();
}

inline CellHolds HoldsOf(const ListShape& shape, int column) {
  return shape.holds[static_cast<size_t>(column)];
}
// Appends the text of a cell with escapes for whatever it could do to a terminal or to lines; names
// have theirs already.
void AppendVisibleCell(std::string_view text, CellHolds holds, std::string& out);
// The same for zeros and lone surrogates alone.
void AppendSayableCell(std::string_view text, CellHolds holds, std::string& out);

}  // namespace hivequarry

// The text form of a list, the same in files, on the clipboard and on paper.
#include <algorithm>

#include "host/long_operation.h"
#include "host/text.h"
#include "host/visible_text.h"
#include "lists/list_sink.h"
#include "lists/list_writers.h"

namespace hivequarry {
namespace {

constexpr size_t kMaxLabel = 62;         // characters of a header text that are shown
constexpr size_t kMaxFirstColumn = 520;  // of a result's first column
constexpr std::string_view kLineEnd = "\r\n";

// The program's own lists have no limits.
bool IsResultList(const OutputList& list) { return !IsOwnKind(ListKindOf(list)); }

void AppendText(std::string_view text, CellHolds holds, bool visible, std::string& out) {
  if (visible) {
    AppendVisibleCell(text, holds, out);
  } else {
    out += text;
  }
}

// Titles of the columns that are written, padded to one length, with ": ".
std::vector<std::string> TextLabels(const OutputList& list, bool visible) {
  const int columns = ColumnCount(list);
  const int shown = IsResultList(list) ? std::min(columns, kMaxTextColumns) : columns;
  std::vector<std::string> labels;
  size_t longest = 0;
  for (int column = 0; column < shown; ++column) {
    labels.push_back(std::string(FirstUnits(ColumnTitle(list, column), kMaxLabel)));
    longest = std::max(longest, CountUnits(labels.back()));
  }
  for (std::string& label : labels) {
    label.append(longest - CountUnits(label), ' ');
    const std::string text = label + ": ";
    label.clear();
    AppendText(text, CellHolds::kText, visible, label);
  }
  return labels;
}

std::string_view ShownText(const ListShape& shape, int column, std::string_view cell) {
  return column == 0 && IsResultList(shape.list) ? FirstUnits(cell, kMaxFirstColumn) : cell;
}

// A row with something in it that is shown by escapes.
void WriteEscapedRow(const ListShape& shape, const std::vector<std::string>& labels,
                     const RowTexts& cells, std::string& out) {
  for (size_t column = 0; column < labels.size(); ++column) {
    if (cells[column].empty()) continue;
    out += labels[column];
    AppendVisibleCell(cells[column], HoldsOf(shape, static_cast<int>(column)), out);
    out += kLineEnd;
  }
  out += kLineEnd;
}

// A line for each cell that is not empty, then an empty line.
template <typename Row>
void WriteTextRow(const ListShape& shape, const std::vector<std::string>& labels, const Row& row,
                  bool visible, std::string& out) {
  RowTexts cells;
  ReadRow(shape, row, cells);
  cells[0] = ShownText(shape, 0, cells[0]);
  bool as_is = true;
  size_t size = kLineEnd.size();
  for (size_t column = 0; column < labels.size(); ++column) {
    const std::string_view text = cells[column];
    if (text.empty()) continue;
    as_is = as_is && (!visible || IsPlain(text));
    size += labels[column].size() + text.size() + kLineEnd.size();
  }
  if (!as_is) return WriteEscapedRow(shape, labels, cells, out);
  // Nearly all are: room is made once for the whole of it.
  char* at = MakeRoom(out, size);
  for (size_t column = 0; column < labels.size(); ++column) {
    const std::string_view text = cells[column];
    if (text.empty()) continue;
    Put(labels[column], at);
    Put(text, at);
    Put(kLineEnd, at);
  }
  Put(kLineEnd, at);
}

// An empty line ends it; nothing for no lines.
void WriteHead(const std::vector<std::string>& lines, bool visible, std::string& out) {
  for (const std::string& line : lines) {
    AppendText(line, CellHolds::kText, visible, out);
    out += "\r\n";
  }
  if (!lines.empty()) out += "\r\n";
}

void WriteAboutList(const OutputList& list, uint32_t rows, bool visible, std::string& out) {
  if (!ListSubtitle(list).empty()) {
    AppendText(ListSubtitle(list), CellHolds::kText, visible, out);
    out += "\r\n";
  }
  out += "Number of Items : " + std::to_string(rows) + "\r\n\r\n";
}

}  // namespace

std::vector<std::string> HeadLinesOf(const OutputList& list) {
  return ListHeadOf(list) == nullptr ? std::vector<std::string>() : LinesOf(*ListHeadOf(list));
}

std::vector<std::string> HeadLinesOf(const OutputList& list, const WrittenRows& which) {
  std::vector<std::string> lines = HeadLinesOf(list);
  lines.insert(lines.end(), which.lines.begin(), which.lines.end());
  return lines;
}

uint32_t WrittenCount(const OutputList& list, const WrittenRows& which) {
  return which.listed ? static_cast<uint32_t>(which.rows.size()) : RowCount(list);
}

bool WriteListText(const OutputList& list, const WrittenRows& which, const TextSink& sink,
                   uint32_t* written) {
  uint32_t done = 0;
  uint32_t& counted = written != nullptr ? *written : done;
  counted = 0;
  const ListShape shape = ShapeOf(list);
  const uint32_t count = WrittenCount(list, which);
  if (shape.columns == 0 || count == 0) return true;
  const std::vector<std::string> labels = TextLabels(list, false);
  ListOutput out{sink, {}};
  if (!which.selection || which.head) WriteHead(HeadLinesOf(list, which), false, out.buffer);
  if (!which.selection) WriteAboutList(list, count, false, out.buffer);
  return WriteInPieces(out, count, [&](uint32_t place) {
    WriteTextRow(shape, labels, WrittenRow(which, place), false, out.buffer);
    ++counted;
  });
}

bool WriteListVisible(const OutputList& list, const TextSink& sink) {
  const ListShape shape = ShapeOf(list);
  if (shape.columns == 0 || shape.rows == 0) return true;
  const std::vector<std::string> labels = TextLabels(list, true);
  ListOutput out{sink, {}};
  WriteHead(HeadLinesOf(list), true, out.buffer);
  WriteAboutList(list, shape.rows, true, out.buffer);
  return WriteInPieces(out, shape.rows,
                       [&](uint32_t row) { WriteTextRow(shape, labels, row, true, out.buffer); });
}

bool WriteMadeText(OutputList& list, const RowMaker& make, bool visible, const TextSink& sink) {
  HandOnRows(list, nullptr);
  {
    // What is cut short is told of once.
    const BackgroundWork apart;
    make(list);
  }
  const uint32_t rows = RowCount(list);
  ClearRows(list);
  if (ColumnCount(list) == 0 || rows == 0) return !StopRequested();
  const ListShape shape = ShapeOf(list);
  const std::vector<std::string> labels = TextLabels(list, visible);
  ListOutput out{sink, {}};
  WriteHead(HeadLinesOf(list), visible, out.buffer);
  WriteAboutList(list, rows, visible, out.buffer);
  return WriteMadeRows(out, list, make, [&](const NewRow& row) {
    WriteTextRow(shape, labels, row, visible, out.buffer);
  });
}

bool WriteFirstColumn(const OutputList& list, const WrittenRows& which, const TextSink& sink) {
  const ListShape shape = ShapeOf(list);
  if (shape.columns == 0) return true;
  ListOutput out{sink, {}};
  return WriteInPieces(out, WrittenCount(list, which), [&](uint32_t place) {
    out.buffer += ShownText(shape, 0, CellText(list, WrittenRow(which, place), 0));
  });
}

}  // namespace hivequarry

#include "lists/list_sink.h"

#include <algorithm>

#include "host/long_operation.h"
#include "host/text.h"
#include "host/visible_text.h"

namespace hivequarry {
namespace {

// Bytes that are gathered before the sink gets them; rows between two looks at a stop.
constexpr size_t kBufferSize = 64 * 1024;
constexpr uint32_t kSinkStopInterval = 1024;

}  // namespace

void FlushOutput(ListOutput& out) {
  if (!out.buffer.empty() && out.open) out.open = out.sink(out.buffer);
  out.buffer.clear();
}

bool WriteInPieces(ListOutput& out, uint32_t count,
                   const std::function<void(uint32_t)>& write_row) {
  for (uint32_t row = 0; row < count; ++row) {
    if (row % kSinkStopInterval == 0 && StopRequested()) return false;
    write_row(row);
    if (out.buffer.size() >= kBufferSize) FlushOutput(out);
    if (!out.open) return false;
  }
  FlushOutput(out);
  return out.open;
}

bool WriteMadeRows(ListOutput& out, OutputList& list, const RowMaker& make,
                   const std::function<void(const NewRow&)>& write_row) {
  HandOnRows(list, [&](const NewRow& row) {
    write_row(row);
    if (out.buffer.size() >= kBufferSize) FlushOutput(out);
    return out.open;
  });
  make(list);
  // The list takes rows for itself again.
  ClearRows(list);
  if (StopRequested()) return false;
  FlushOutput(out);
  return out.open;
}

void ReadRow(const ListShape& shape, const NewRow& row, RowTexts& texts) {
  const auto columns = static_cast<size_t>(shape.columns);
  const size_t cells = std::min(row.cells.size(), columns);
  for (size_t i = 0; i < cells; ++i) texts[i] = row.cells[i].text;
  for (size_t i = cells; i < columns; ++i) texts[i] = {};
}

ListShape ShapeOf(const OutputList& list) {
  ListShape shape = {list, ColumnCount(list), RowCount(list), {}};
  const ListKindInfo& kind = FindListKind(ListKindOf(list));
  for (int column = 0; column < shape.columns; ++column) {
    const bool further = static_cast<size_t>(column) >= kind.columns.size();
    shape.holds[static_cast<size_t>(column)] =
        further ? FurtherColumn(ColumnTitle(list, column)).holds : HoldsOf(kind, column);
  }
  return shape;
}

// Of what is no text, as the name of a file may be, U+FFFD is written for each byte.
void AppendVisibleCell(std::string_view text, CellHolds holds, std::string& out) {
  if (IsPlain(text)) {
    out += text;
  } else if (!IsText(text)) {
    AppendVisibleCell(StrictUtf8(text), holds, out);
  } else if (holds == CellHolds::kName) {
    AppendVisibleOnce(text, out);
  } else {
    AppendVisible(text, out);
  }
}

void AppendSayableCell(std::string_view text, CellHolds holds, std::string& out) {
  if (!IsText(text)) {
    AppendSayableCell(StrictUtf8(text), holds, out);
  } else if (holds == CellHolds::kName || PlainEnd(text, 0, '{') == text.size()) {
    out += text;
  } else {
    AppendSayable(text, out);
  }
}

FileEncoding EncodingOf(const OutputList& list, const WrittenRows& which) {
  const ListShape shape = ShapeOf(list);
  bool fits = FitsCodePage(ListSubtitle(list));
  for (const std::string& line : HeadLinesOf(list, which)) fits = fits && FitsCodePage(line);
  for (int column = 0; column < shape.columns; ++column) {
    fits = fits && FitsCodePage(ColumnTitle(list, column));
  }
  RowTexts texts;
  for (uint32_t place = 0; fits && place < WrittenCount(list, which); ++place) {
    if (place % kSinkStopInterval == 0 && StopRequested()) break;
    ReadRow(shape, WrittenRow(which, place), texts);
    for (int column = 0; column < shape.columns; ++column) {
      fits = fits && FitsCodePage(texts[static_cast<size_t>(column)]);
    }
  }
  return fits ? FileEncoding::kCodePage : FileEncoding::kUtf8;
}

TextSink EncodedSink(FileEncoding encoding, const TextSink& sink) {
  if (encoding == FileEncoding::kCodePage) {
    return [&sink](std::string_view text) {
      return IsAscii(text) ? sink(text) : sink(CodePageOfText(text));
    };
  }
  return [&sink, begun = encoding == FileEncoding::kMarkedUtf8](std::string_view text) mutable {
    if (!begun && !sink(kUtf8Mark)) return false;
    begun = true;
    return sink(text);
  };
}

}  // namespace hivequarry

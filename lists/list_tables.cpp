// Lists as tables: tabbed text and HTML.
#include "host/markup_text.h"
#include "lists/list_sink.h"
#include "lists/list_writers.h"

namespace hivequarry {
namespace {

void AppendHtml(std::string_view text, CellHolds holds, std::string& out) {
  std::string visible;
  AppendVisibleCell(text, holds, visible);
  AppendMarkup(visible, out);
}

// Cells are made visible first, so that no tab or line end in one breaks the row.
void WriteTabbedRow(const ListShape& shape, uint32_t row, std::string& out) {
  RowTexts cells;
  ReadRow(shape, row, cells);
  for (int column = 0; column < shape.columns; ++column) {
    if (column > 0) out += '\t';
    AppendVisibleCell(cells[static_cast<size_t>(column)], HoldsOf(shape, column), out);
  }
  out += "\r\n";
}

void WriteHtmlRow(const ListShape& shape, uint32_t row, std::string& out) {
  RowTexts cells;
  ReadRow(shape, row, cells);
  out += "<tr>";
  for (int column = 0; column < shape.columns; ++column) {
    out += "<td>";
    AppendHtml(cells[static_cast<size_t>(column)], HoldsOf(shape, column), out);
    out += "</td>";
  }
  out += "</tr>\r\n";
}

constexpr std::string_view kStyle =
    "<style>\r\n"
    "body { font: 14px sans-serif; }\r\n"
    "table { border-collapse: collapse; }\r\n"
    "th, td { border: 1px solid #bbb; padding: 2px 6px; text-align: left; vertical-align: top;\r\n"
    "  max-width: 40rem; overflow-wrap: break-word; }\r\n"
    "th { background: #eee; position: sticky; top: 0; }\r\n"
    "@media print { th { position: static; } th, td { overflow-wrap: anywhere; } }\r\n"
    "</style>\r\n";

void WriteHtmlHead(const OutputList& list, const WrittenRows& which, std::string& out) {
  out += "<!DOCTYPE html>\r\n<html>\r\n<head>\r\n<meta charset=\"utf-8\">\r\n<title>";
  AppendHtml(ListTitle(list), CellHolds::kText, out);
  out += "</title>\r\n";
  out += kStyle;
  out += "</head>\r\n<body>\r\n<h1>";
  AppendHtml(ListTitle(list), CellHolds::kText, out);
  out += "</h1>\r\n";
  std::vector<std::string> lines = HeadLinesOf(list, which);
  if (!ListSubtitle(list).empty()) lines.push_back(ListSubtitle(list));
  lines.push_back("Number of Items : " + std::to_string(WrittenCount(list, which)));
  out += "<p>";
  for (size_t i = 0; i < lines.size(); ++i) {
    if (i > 0) out += "<br>\r\n";
    AppendHtml(lines[i], CellHolds::kText, out);
  }
  out += "</p>\r\n<table>\r\n<thead><tr>";
  for (int column = 0; column < ColumnCount(list); ++column) {
    out += "<th>";
    AppendHtml(ColumnTitle(list, column), CellHolds::kText, out);
    out += "</th>";
  }
  out += "</tr></thead>\r\n<tbody>\r\n";
}

}  // namespace

bool WriteListTabbed(const OutputList& list, const WrittenRows& which, const TextSink& sink) {
  const ListShape shape = ShapeOf(list);
  if (shape.columns == 0) return true;
  ListOutput out{sink, {}};
  for (int column = 0; column < shape.columns; ++column) {
    if (column > 0) out.buffer += '\t';
    AppendVisibleCell(ColumnTitle(list, column), CellHolds::kText, out.buffer);
  }
  out.buffer += "\r\n";
  return WriteInPieces(out, WrittenCount(list, which), [&](uint32_t place) {
    WriteTabbedRow(shape, WrittenRow(which, place), out.buffer);
  });
}

bool WriteListHtml(const OutputList& list, const WrittenRows& which, const TextSink& sink) {
  const ListShape shape = ShapeOf(list);
  if (shape.columns == 0) return true;
  ListOutput out{sink, {}};
  WriteHtmlHead(list, which, out.buffer);
  const bool whole = WriteInPieces(out, WrittenCount(list, which), [&](uint32_t place) {
    WriteHtmlRow(shape, WrittenRow(which, place), out.buffer);
  });
  if (!whole) return false;
  out.buffer += "</tbody>\r\n</table>\r\n</body>\r\n</html>\r\n";
  FlushOutput(out);
  return out.open;
}

}  // namespace hivequarry

#include "lists/list_writers.h"

#include <algorithm>
#include <cstring>

#include "hive/file_place.h"
#include "hive/timestamp.h"
#include "host/host.h"
#include "host/number_text.h"
#include "host/visible_text.h"
#include "lists/list_sink.h"
#include "lists/record_members.h"

namespace hivequarry {
namespace {

// --- CSV -----------------------------------------------------------------------------------------

// In quotes, those inside doubled, only where the text has a character that would end the field.
void AppendCsvField(std::string_view text, std::string& out) {
  if (text.find_first_of(",\"\r\n") == text.npos) {
    out += text;
    return;
  }
  out += '"';
  for (const char character : text) {
    if (character == '"') out += '"';
    out += character;
  }
  out += '"';
}

// What a spreadsheet takes for the beginning of a formula.
bool BeginsFormula(std::string_view text) {
  return !text.empty() && std::string_view("=+-@\t\r\n").find(text[0]) != std::string_view::npos;
}

// Nearly all are, in any form.
bool IsCsvAsItIs(std::string_view cell, const CsvForm& form) {
  return !(form.safe && BeginsFormula(cell)) && IsPlain(cell, ',', '"');
}

void AppendCsvCell(std::string_view cell, CellHolds holds, const CsvForm& form, std::string& out) {
  if (IsCsvAsItIs(cell, form)) {
    out += cell;
    return;
  }
  const bool guarded = form.safe && BeginsFormula(cell);
  std::string changed = guarded ? "'" : "";
  if (form.visible) {
    AppendVisibleCell(cell, holds, changed);
  } else {
    AppendSayableCell(cell, holds, changed);
  }
  AppendCsvField(changed, out);
}

void WriteQuotedCsvRow(const ListShape& shape, std::span<const std::string_view> cells,
                       const CsvForm& form, std::string& out) {
  for (size_t column = 0; column < cells.size(); ++column) {
    if (column > 0) out += ',';
    AppendCsvCell(cells[column], HoldsOf(shape, static_cast<int>(column)), form, out);
  }
  out += "\r\n";
}

template <typename Row>
void WriteCsvRow(const ListShape& shape, const Row& row, const CsvForm& form, std::string& out) {
  RowTexts texts;
  ReadRow(shape, row, texts);
  const std::span cells = std::span(texts).first(static_cast<size_t>(shape.columns));
  size_t size = 0;
  for (const std::string_view cell : cells) {
    if (!IsCsvAsItIs(cell, form)) return WriteQuotedCsvRow(shape, cells, form, out);
    size += cell.size() + 1;
  }
  // Nearly all are: room is made once for the whole row. Its last comma is a line's end.
  char* at = MakeRoom(out, size + 1);
  for (const std::string_view cell : cells) {
    Put(cell, at);
    *at++ = ',';
  }
  Put("\r\n", --at);
}

// --- JSON Lines ----------------------------------------------------------------------------------

void AppendJsonEscape(char16_t unit, std::string& out) {
  constexpr std::u16string_view kNamed = u"\"\\\b\f\n\r\t";
  constexpr std::string_view kLetters = "\"\\bfnrt";
  const size_t named = kNamed.find(unit);
  if (named != std::u16string_view::npos) {
    out += {'\\', kLetters[named]};
    return;
  }
  out += Concat({"\\u", SmallHex(unit, 4)});
}

// Bytes of a character that has to be escaped, with its unit; 0 for any other. The standard asks
// for it with quotes, backslashes and C0 alone; a terminal obeys more, and UTF-8 has no lone
// surrogates.
size_t EscapedAt(std::string_view text, size_t at, char16_t& unit) {
  if (text[at] != '"' && text[at] != '\\') return ControlAt(text, at, unit);
  unit = static_cast<char16_t>(text[at]);
  return 1;
}

void AppendJsonString(std::string_view text, std::string& out) {
  if (PlainEnd(text, 0, '"', '\\') == text.size()) {
    out.append(1, '"').append(text).append(1, '"');
    return;
  }
  // The name of a file may be any bytes.
  if (!IsText(text)) return AppendJsonString(StrictUtf8(text), out);
  out += '"';
  for (size_t at = 0; at < text.size();) {
    size_t end = PlainEnd(text, at, '"', '\\');
    size_t length = 0;
    char16_t unit = 0;
    while (end < text.size() && (length = EscapedAt(text, end, unit)) == 0) {
      end += CharacterAt(text, end).length;
    }
    out.append(text, at, end - at);
    if (length != 0) AppendJsonEscape(unit, out);
    at = end + length;
  }
  out += '"';
}

// True for what JSON takes as a whole number.
bool IsJsonNumber(std::string_view text) {
  const bool digits = text.find_first_not_of("0123456789") == std::string_view::npos;
  return !text.empty() && digits && (text[0] != '0' || text.size() == 1);
}

// By what the column holds: a number, or null for an empty cell; true or false; else a string. What
// is in a column of numbers and is none stays a string, so that each line can be read.
void AppendJsonCell(const ListShape& shape, int column, std::string_view text, std::string& out) {
  const CellHolds holds = HoldsOf(shape, column);
  if (holds == CellHolds::kNumber && (text.empty() || IsJsonNumber(text))) {
    out += text.empty() ? "null" : text;
  } else if (holds == CellHolds::kFlag && (text == "0" || text == "1")) {
    out += text == "1" ? "true" : "false";
  } else {
    AppendJsonString(text, out);
  }
}

// A member after others, unless there is nothing to say.
void AppendJsonFact(const char* key, std::string_view text, std::string& out) {
  if (text.empty()) return;
  out += key;
  AppendJsonString(text, out);
}

// Of lists that have such a column.
constexpr std::string_view kAccessMember = ",\"Access\":";

// Of a row about two hives the bytes of both, with "|" between them.
void AppendBytesOfSides(std::string_view bytes, std::string& out) {
  const size_t bar = bytes.find('|');
  if (bar == bytes.npos) return;
  AppendJsonFact(",\"Bytes A\":", bytes.substr(0, bar), out);
  AppendJsonFact(",\"Bytes B\":", bytes.substr(bar + 1), out);
}

// What a row says beside its cells.
struct RowAbout {
  bool has_datum;
  uint32_t datum;
  RowFacts facts;
};
RowAbout AboutRow(const ListShape& shape, uint32_t row) {
  return {RowHasDatum(shape.list, row), RowDatum(shape.list, row), FactsOfRow(shape.list, row)};
}
RowAbout AboutRow(const ListShape&, const NewRow& row) {
  return {row.has_datum, row.datum, row.facts};
}

// The cells by their columns' names, then what the row knows besides: place of the datum in the
// file (without a hive its position), last write, lossless path and name, bytes, and with a hive
// the members of the record itself. `keys` are written already with quotes and commas.
template <typename Row>
void WriteJsonRow(const ListShape& shape, const std::vector<std::string>& keys,
                  const HiveImage* hive, const Row& row, std::string& out) {
  RowTexts cells;
  ReadRow(shape, row, cells);
  for (int column = 0; column < shape.columns; ++column) {
    out += keys[static_cast<size_t>(column)];
    AppendJsonCell(shape, column, cells[static_cast<size_t>(column)], out);
  }
  const auto [has_datum, datum, facts] = AboutRow(shape, row);
  if (has_datum) {
    out += ",\"Offset\":";
    out += std::to_string(hive == nullptr ? datum : PlaceOf(*hive, datum));
  }
  if (facts.about_key) {
    AppendJsonFact(",\"LastWrite\":", FormatIso8601(facts.last_write), out);
  }
  AppendJsonFact(",\"Path\":", facts.path, out);
  AppendJsonFact(",\"Name\":", facts.name, out);
  if (ListKindOf(shape.list) == kListHiveCompare) {
    AppendBytesOfSides(facts.bytes, out);
  } else {
    AppendJsonFact(",\"Bytes\":", facts.bytes, out);
  }
  AppendJsonFact(",\"FromLog\":", facts.from_log, out);
  if (hive != nullptr && facts.of_record) {
    const bool shown = std::ranges::find(keys, kAccessMember) != keys.end();
    if (facts.about_key && !shown) AppendAccess(*hive, datum, out);
    AppendRecordMembers(*hive, datum, facts.about_key, out);
  }
  out += "}\n";
}

// What is before each cell's text: brace or comma, key and colon.
std::vector<std::string> JsonKeys(const ListShape& shape) {
  std::vector<std::string> keys;
  for (int column = 0; column < shape.columns; ++column) {
    std::string key(1, column == 0 ? '{' : ',');
    AppendJsonString(ColumnTitle(shape.list, column), key);
    keys.push_back(key + ':');
  }
  return keys;
}

}  // namespace

bool WriteListCsv(const OutputList& list, const TextSink& sink) {
  return WriteListCsvAs(list, CsvForm(), sink);
}

namespace {

void WriteCsvTitles(const ListShape& shape, const CsvForm& form, std::string& out) {
  for (int column = 0; column < shape.columns; ++column) {
    if (column > 0) out += ',';
    AppendCsvCell(ColumnTitle(shape.list, column), CellHolds::kText, form, out);
  }
  out += "\r\n";
}

}  // namespace

bool WriteListCsvAs(const OutputList& list, const CsvForm& form, const TextSink& sink,
                    const WrittenRows& which) {
  const ListShape shape = ShapeOf(list);
  if (shape.columns == 0) return true;
  ListOutput out{sink, {}};
  WriteCsvTitles(shape, form, out.buffer);
  return WriteInPieces(out, WrittenCount(list, which), [&](uint32_t place) {
    WriteCsvRow(shape, WrittenRow(which, place), form, out.buffer);
  });
}

bool WriteMadeCsv(OutputList& list, const RowMaker& make, const CsvForm& form,
                  const TextSink& sink) {
  const ListShape shape = ShapeOf(list);
  if (shape.columns == 0) return true;
  ListOutput out{sink, {}};
  WriteCsvTitles(shape, form, out.buffer);
  return WriteMadeRows(out, list, make,
                       [&](const NewRow& row) { WriteCsvRow(shape, row, form, out.buffer); });
}

namespace {

bool WriteJsonLines(const OutputList& list, const HiveImage* hive, const TextSink& sink,
                    const WrittenRows& which) {
  const ListShape shape = ShapeOf(list);
  const uint32_t count = WrittenCount(list, which);
  if (shape.columns == 0 || count == 0) return true;
  ListOutput out{sink, {}};
  const std::vector<std::string> keys = JsonKeys(shape);
  return WriteInPieces(out, count, [&](uint32_t place) {
    WriteJsonRow(shape, keys, hive, WrittenRow(which, place), out.buffer);
  });
}

}  // namespace

bool WriteListJsonLines(const OutputList& list, const TextSink& sink) {
  return WriteJsonLines(list, nullptr, sink, {});
}

bool WriteRowsJsonLines(const OutputList& list, const WrittenRows& which, const TextSink& sink) {
  return WriteJsonLines(list, nullptr, sink, which);
}

bool WriteHiveJsonLines(const OutputList& list, const HiveImage& hive, const TextSink& sink,
                        const WrittenRows& which) {
  return WriteJsonLines(list, &hive, sink, which);
}

bool WriteMadeJsonLines(OutputList& list, const RowMaker& make, const HiveImage* hive,
                        const TextSink& sink) {
  const ListShape shape = ShapeOf(list);
  if (shape.columns == 0) return true;
  ListOutput out{sink, {}};
  const std::vector<std::string> keys = JsonKeys(shape);
  return WriteMadeRows(out, list, make, [&](const NewRow& row) {
    WriteJsonRow(shape, keys, hive, row, out.buffer);
  });
}

std::string JsonString(std::string_view text) {
  std::string out;
  AppendJsonString(text, out);
  return out;
}

}  // namespace hivequarry

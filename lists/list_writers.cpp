#include "lists/list_writers.h"

#include <algorithm>
#include <cstring>

#include "hive/file_place.h"
#include "hive/timestamp.h"
#include "host/host.h"
#include "host/number_text.h"
#include "host/visible_text.h"
#include "lists/list_sink.h"

namespace hivequarry {
namespace {

// --- CSV -----------------------------------------------------------------------------------------

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

void AppendCsvCell(std::string_view cell, bool is_utf8, const CsvForm& form, std::string& scratch,
                   std::string& out) {
  const bool guarded = form.safe && BeginsFormula(cell);
  if (!guarded && PlainEnd(cell, 0, ',', '"') == cell.size()) {
    // Nearly all are as they are in any form; but for what looks like an escape.
    if (!form.visible || cell.find('{') == cell.npos) {
      out += cell;
      return;
    }
  }
  const std::string_view text = CellUtf8(cell, is_utf8, scratch);
  if (!guarded && !form.visible) return AppendCsvField(text, out);
  std::string changed = guarded ? "'" : "";
  if (form.visible) {
    AppendVisible(text, changed);
  } else {
    changed += text;
  }
  AppendCsvField(changed, out);
}

void WriteCsvRow(const ListShape& shape, uint32_t row, const CsvForm& form, std::string& scratch,
                 std::string& out) {
  RowTexts cells;
  ReadRow(shape, row, cells);
  for (int column = 0; column < shape.columns; ++column) {
    if (column > 0) out += ',';
    AppendCsvCell(cells[static_cast<size_t>(column)], IsUtf8(shape, column), form, scratch, out);
  }
  out += "\r\n";
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
// for it with quotes, backslashes and C0 alone; a terminal obeys more.
size_t EscapedAt(std::string_view utf8, size_t at, char16_t& unit) {
  if (utf8[at] != '"' && utf8[at] != '\\') return ControlAt(utf8, at, unit);
  unit = static_cast<char16_t>(utf8[at]);
  return 1;
}

// `utf8` must be sound UTF-8.
void AppendJsonText(std::string_view utf8, std::string& out) {
  for (size_t at = 0; at < utf8.size();) {
    size_t end = PlainEnd(utf8, at, '"', '\\');
    size_t length = 0;
    char16_t unit = 0;
    while (end < utf8.size() && (length = EscapedAt(utf8, end, unit)) == 0) ++end;
    out.append(utf8, at, end - at);
    if (length != 0) AppendJsonEscape(unit, out);
    at = end + length;
  }
}

void AppendJsonString(std::string_view utf8, std::string& out) {
  out += '"';
  AppendJsonText(utf8, out);
  out += '"';
}

void AppendJsonCell(std::string_view cell, bool is_utf8, std::string& scratch, std::string& out) {
  const bool plain = PlainEnd(cell, 0, '"', '\\') == cell.size();
  if (!plain) return AppendJsonString(CellUtf8(cell, is_utf8, scratch), out);
  out += '"';
  out += cell;
  out += '"';
}

// The number of bytes of an encoded lone surrogate at `at`, and its unit; 0 for anything else.
size_t LoneSurrogateAt(std::string_view utf8, size_t at, uint32_t& unit) {
  const auto byte = [&](size_t i) { return static_cast<uint8_t>(utf8[at + i]); };
  if (at + 3 > utf8.size() || byte(0) != 0xED || byte(1) < 0xA0 || byte(1) > 0xBF) return 0;
  if ((byte(2) & 0xC0) != 0x80) return 0;
  unit = 0xD000U | (byte(1) & 0x3FU) << 6 | (byte(2) & 0x3FU);
  return 3;
}

// Of a name as stored: lone surrogates become escapes, which JSON has for them and UTF-8 has not.
void AppendJsonName(std::string_view utf8, std::string& scratch, std::string& out) {
  out += '"';
  size_t from = 0;
  for (size_t at = utf8.find('\xED'); at != utf8.npos; at = utf8.find('\xED', at + 1)) {
    uint32_t unit = 0;
    const size_t size = LoneSurrogateAt(utf8, at, unit);
    if (size == 0) continue;
    AppendJsonText(CellUtf8(utf8.substr(from, at - from), true, scratch), out);
    out += Concat({"\\u", SmallHex(unit & 0xFFFF, 4)});
    from = at + size;
  }
  AppendJsonText(CellUtf8(utf8.substr(from), true, scratch), out);
  out += '"';
}

// True for what JSON takes as a whole number.
bool IsJsonNumber(std::string_view text) {
  const bool digits = text.find_first_not_of("0123456789") == std::string_view::npos;
  return !text.empty() && digits && (text[0] != '0' || text.size() == 1);
}

void AppendJsonCell(const ListShape& shape, int column, std::string_view text, std::string& scratch,
                    std::string& out) {
  const CellHolds holds = HoldsOf(shape, column);
  if (holds == CellHolds::kNumber && (text.empty() || IsJsonNumber(text))) {
    out += text.empty() ? "null" : text;
  } else if (holds == CellHolds::kFlag && (text == "0" || text == "1")) {
    out += text == "1" ? "true" : "false";
  } else {
    AppendJsonCell(text, holds == CellHolds::kUtf8, scratch, out);
  }
}

// A member after others, unless there is nothing to say.
void AppendJsonFact(const char* key, std::string_view utf8, std::string& scratch,
                    std::string& out) {
  if (utf8.empty()) return;
  out += key;
  AppendJsonName(utf8, scratch, out);
}

void WriteJsonRow(const ListShape& shape, const std::vector<std::string>& keys,
                  const HiveImage* hive, uint32_t row, std::string& scratch, std::string& out) {
  RowTexts cells;
  ReadRow(shape, row, cells);
  for (int column = 0; column < shape.columns; ++column) {
    out += keys[static_cast<size_t>(column)];
    AppendJsonCell(shape, column, cells[static_cast<size_t>(column)], scratch, out);
  }
  if (RowHasDatum(shape.list, row)) {
    out += ",\"Offset\":";
    const uint32_t datum = RowDatum(shape.list, row);
    out += std::to_string(hive == nullptr ? datum : PlaceOf(*hive, datum));
  }
  const RowFacts facts = FactsOfRow(shape.list, row);
  if (facts.about_key) {
    AppendJsonFact(",\"LastWrite\":", FormatIso8601(facts.last_write), scratch, out);
  }
  AppendJsonFact(",\"Path\":", facts.path, scratch, out);
  AppendJsonFact(",\"Name\":", facts.name, scratch, out);
  AppendJsonFact(",\"Bytes\":", facts.bytes, scratch, out);
  out += "}\n";
}

// What is before each cell's text: brace or comma, key and colon.
std::vector<std::string> JsonKeys(const ListShape& shape) {
  std::vector<std::string> keys;
  for (int column = 0; column < shape.columns; ++column) {
    std::string key(1, column == 0 ? '{' : ',');
    AppendJsonString(Utf8FromNarrow(ColumnTitle(shape.list, column)), key);
    keys.push_back(key + ':');
  }
  return keys;
}

}  // namespace

bool WriteListCsv(const OutputList& list, const TextSink& sink) {
  return WriteListCsvAs(list, CsvForm(), sink);
}

bool WriteListCsvAs(const OutputList& list, const CsvForm& form, const TextSink& sink) {
  const ListShape shape = ShapeOf(list);
  if (shape.columns == 0) return true;
  ListOutput out{sink, {}};
  std::string scratch;
  for (int column = 0; column < shape.columns; ++column) {
    if (column > 0) out.buffer += ',';
    AppendCsvCell(Utf8FromNarrow(ColumnTitle(list, column)), true, form, scratch, out.buffer);
  }
  out.buffer += "\r\n";
  return WriteInPieces(out, shape.rows,
                       [&](uint32_t row) { WriteCsvRow(shape, row, form, scratch, out.buffer); });
}

namespace {

bool WriteJsonLines(const OutputList& list, const HiveImage* hive, const TextSink& sink) {
  const ListShape shape = ShapeOf(list);
  if (shape.columns == 0 || shape.rows == 0) return true;
  ListOutput out{sink, {}};
  std::string scratch;
  const std::vector<std::string> keys = JsonKeys(shape);
  return WriteInPieces(out, shape.rows, [&](uint32_t row) {
    WriteJsonRow(shape, keys, hive, row, scratch, out.buffer);
  });
}

}  // namespace

bool WriteListJsonLines(const OutputList& list, const TextSink& sink) {
  return WriteJsonLines(list, nullptr, sink);
}

bool WriteHiveJsonLines(const OutputList& list, const HiveImage& hive, const TextSink& sink) {
  return WriteJsonLines(list, &hive, sink);
}

std::string JsonString(std::string_view utf8) {
  std::string out;
  std::string scratch;
  AppendJsonString(CellUtf8(utf8, true, scratch), out);
  return out;
}

}  // namespace hivequarry

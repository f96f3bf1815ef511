#include "lists/list_writers.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstring>

#include "hive/timestamp.h"
#include "host/host.h"
#include "host/long_operation.h"

namespace hivequarry {
namespace {

constexpr size_t kBufferSize = 64 * 1024;
constexpr size_t kMaxLabel = 62;         // characters of a header text that the text output shows
constexpr size_t kMaxFirstColumn = 520;  // of a result's first column, in the text output
constexpr uint32_t kStopInterval = 1024;

// Collects output and hands it on in large pieces.
struct Output {
  const TextSink& sink;
  std::string buffer;
  bool open = true;  // false once the sink refused
};

void Flush(Output& out) {
  if (!out.buffer.empty() && out.open) out.open = out.sink(out.buffer);
  out.buffer.clear();
}

void FlushWhenFull(Output& out) {
  if (out.buffer.size() >= kBufferSize) Flush(out);
}

// Calls `write_row` with each row that is there when the writing starts.
template <typename WriteRow>
bool WriteRows(Output& out, uint32_t rows, const WriteRow& write_row) {
  for (uint32_t row = 0; row < rows; ++row) {
    if (row % kStopInterval == 0 && StopRequested()) return false;
    write_row(row);
    FlushWhenFull(out);
    if (!out.open) return false;
  }
  Flush(out);
  return out.open;
}

bool IsAscii(std::string_view text) {
  uint64_t seen = 0;
  size_t at = 0;
  for (; at + 8 <= text.size(); at += 8) {
    uint64_t eight = 0;
    std::memcpy(&eight, text.data() + at, 8);
    seen |= eight;
  }
  for (; at < text.size(); ++at) seen |= static_cast<uint8_t>(text[at]);
  return (seen & 0x8080808080808080) == 0;
}

bool InSet(uint32_t columns, int column) { return (columns >> column & 1) != 0; }

// A cell as UTF-8; `scratch` holds what had to be converted.
std::string_view CellUtf8(std::string_view text, bool is_utf8, std::string& scratch) {
  if (IsAscii(text)) return text;
  // The way through UTF-16 replaces what is no UTF-8.
  scratch = is_utf8 ? Utf8FromWide(WideFromUtf8(text)) : Utf8FromNarrow(text);
  return scratch;
}

// What every writer asks of a list again and again.
struct ListShape {
  const OutputList& list;
  const ListKindInfo& kind;
  int columns;
  uint32_t rows;
};

ListShape ShapeOf(const OutputList& list) {
  return {list, FindListKind(ListKindOf(list)), ColumnCount(list), RowCount(list)};
}

// --- text ----------------------------------------------------------------------------------------

std::vector<std::string> TextLabels(const OutputList& list, int columns) {
  std::vector<std::string> labels;
  size_t longest = 0;
  for (int column = 0; column < columns; ++column) {
    labels.push_back(ColumnTitle(list, column).substr(0, kMaxLabel));
    longest = std::max(longest, labels.back().size());
  }
  for (std::string& label : labels) {
    label.resize(longest, ' ');
    label += ": ";
  }
  return labels;
}

void WriteTextRow(const ListShape& shape, const std::vector<std::string>& labels, uint32_t row,
                  std::string& out) {
  for (int column = 0; column < static_cast<int>(labels.size()); ++column) {
    std::string_view text = CellText(shape.list, row, column);
    if (text.empty()) continue;
    out += labels[static_cast<size_t>(column)];
    if (InSet(shape.kind.utf8_columns, column)) {
      out += NarrowText(WideFromUtf8(text));
    } else {
      const bool cut = column == 0 && ListKindOf(shape.list) < kFirstOwnKind;
      out += cut ? text.substr(0, kMaxFirstColumn) : text;
    }
    out += "\r\n";
  }
  out += "\r\n";
}

// --- CSV -----------------------------------------------------------------------------------------

void AppendCsvField(std::string_view text, std::string& out) {
  const auto special = [](char c) { return c == ',' || c == '"' || c == '\r' || c == '\n'; };
  if (std::none_of(text.begin(), text.end(), special)) {
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

void WriteCsvRow(const ListShape& shape, uint32_t row, std::string& scratch, std::string& out) {
  for (int column = 0; column < shape.columns; ++column) {
    if (column > 0) out += ',';
    const bool is_utf8 = InSet(shape.kind.utf8_columns, column);
    AppendCsvField(CellUtf8(CellText(shape.list, row, column), is_utf8, scratch), out);
  }
  out += "\r\n";
}

// --- JSON Lines ----------------------------------------------------------------------------------

void AppendJsonEscape(uint8_t character, std::string& out) {
  constexpr std::string_view kNamed = "\"\\\b\f\n\r\t";
  constexpr std::string_view kLetters = "\"\\bfnrt";
  const size_t named = kNamed.find(static_cast<char>(character));
  if (named != std::string_view::npos) {
    out += {'\\', kLetters[named]};
    return;
  }
  constexpr char kDigits[] = "0123456789abcdef";
  out += "\\u00";
  out += {kDigits[character >> 4], kDigits[character & 15]};
}

bool NeedsEscape(char character) {
  const auto byte = static_cast<uint8_t>(character);
  return byte < 32 || byte == '"' || byte == '\\' || byte == 127;
}

// `utf8` must be sound UTF-8.
void AppendJsonString(std::string_view utf8, std::string& out) {
  out += '"';
  for (size_t at = 0; at < utf8.size();) {
    size_t end = at;
    while (end < utf8.size() && !NeedsEscape(utf8[end])) ++end;
    out.append(utf8, at, end - at);
    if (end < utf8.size()) AppendJsonEscape(static_cast<uint8_t>(utf8[end++]), out);
    at = end;
  }
  out += '"';
}

// True for what JSON takes as a whole number.
bool IsJsonNumber(std::string_view text) {
  const bool digits = text.find_first_not_of("0123456789") == std::string_view::npos;
  return !text.empty() && digits && (text[0] != '0' || text.size() == 1);
}

void AppendJsonCell(const ListShape& shape, int column, std::string_view text, std::string& scratch,
                    std::string& out) {
  if (InSet(shape.kind.number_columns, column) && (text.empty() || IsJsonNumber(text))) {
    out += text.empty() ? "null" : text;
  } else if (InSet(shape.kind.flag_columns, column) && (text == "0" || text == "1")) {
    out += text == "1" ? "true" : "false";
  } else {
    AppendJsonString(CellUtf8(text, InSet(shape.kind.utf8_columns, column), scratch), out);
  }
}

// A member behind others, unless there is nothing to say.
void AppendJsonFact(const char* key, std::string_view utf8, std::string& scratch,
                    std::string& out) {
  if (utf8.empty()) return;
  out += key;
  AppendJsonString(CellUtf8(utf8, true, scratch), out);
}

void WriteJsonRow(const ListShape& shape, const std::vector<std::string>& keys, uint32_t row,
                  std::string& scratch, std::string& out) {
  for (int column = 0; column < shape.columns; ++column) {
    out += keys[static_cast<size_t>(column)];
    AppendJsonCell(shape, column, CellText(shape.list, row, column), scratch, out);
  }
  if (RowHasDatum(shape.list, row)) {
    out += ",\"Offset\":";
    out += std::to_string(RowDatum(shape.list, row));
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

// What stands in front of each cell's text: brace or comma, key and colon.
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

bool WriteListText(const OutputList& list, const TextSink& sink) {
  const ListShape shape = ShapeOf(list);
  if (shape.columns == 0 || shape.rows == 0) return true;
  const bool result_list = ListKindOf(list) < kFirstOwnKind;
  const std::vector<std::string> labels =
      TextLabels(list, result_list ? std::min(shape.columns, kMaxTextColumns) : shape.columns);
  Output out{sink, {}};
  if (!ListSubtitle(list).empty()) out.buffer += ListSubtitle(list) + "\r\n";
  out.buffer += "Number of Items : " + std::to_string(shape.rows) + "\r\n\r\n";
  return WriteRows(out, shape.rows,
                   [&](uint32_t row) { WriteTextRow(shape, labels, row, out.buffer); });
}

bool WriteListCsv(const OutputList& list, const TextSink& sink) {
  const ListShape shape = ShapeOf(list);
  if (shape.columns == 0 || shape.rows == 0) return true;
  Output out{sink, {}};
  std::string scratch;
  for (int column = 0; column < shape.columns; ++column) {
    if (column > 0) out.buffer += ',';
    AppendCsvField(Utf8FromNarrow(ColumnTitle(list, column)), out.buffer);
  }
  out.buffer += "\r\n";
  return WriteRows(out, shape.rows,
                   [&](uint32_t row) { WriteCsvRow(shape, row, scratch, out.buffer); });
}

bool WriteListJsonLines(const OutputList& list, const TextSink& sink) {
  const ListShape shape = ShapeOf(list);
  if (shape.columns == 0 || shape.rows == 0) return true;
  Output out{sink, {}};
  std::string scratch;
  const std::vector<std::string> keys = JsonKeys(shape);
  return WriteRows(out, shape.rows,
                   [&](uint32_t row) { WriteJsonRow(shape, keys, row, scratch, out.buffer); });
}

std::string JsonString(std::string_view utf8) {
  std::string out;
  std::string scratch;
  AppendJsonString(CellUtf8(utf8, true, scratch), out);
  return out;
}

}  // namespace hivequarry

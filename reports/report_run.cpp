#include "reports/report_run.h"

#include <algorithm>

#include "hive/root_path.h"
#include "hive/timestamp.h"
#include "host/case.h"
#include "host/host.h"
#include "host/number_text.h"
#include "host/shortfalls.h"
#include "lists/list_rows.h"
#include "words/value_text.h"

namespace hivequarry {
namespace {

constexpr size_t kJoinLimit = 511;  // a joined cell stays shorter
// Systems keep some hundreds; a list of numbers may be as long as the file.
constexpr size_t kMaxMruEntries = 0x10000;

void ShowProgress(const ReportRun& run) {
  ShowStatus(Concat({Decimal(run.visited), "/", Decimal(RowCount(run.list) + run.kept)}).c_str());
}

char Rot13(char c) {
  const bool capital = c >= 'A' && c <= 'Z';
  if (!capital && (c < 'a' || c > 'z')) return c;
  const char first = capital ? 'A' : 'a';
  return static_cast<char>(first + (c - first + 13) % 26);
}

void RankLetters(std::string_view letters, MruOrder& order) {
  for (const char letter : letters) order.emplace(std::string(1, letter), order.size());
}

// "MRUListEx"; the first place of a number counts.
void RankNumbers(std::span<const uint8_t> data, MruOrder& order) {
  for (; data.size() >= 4 && order.size() < kMaxMruEntries; data = data.subspan(4)) {
    const uint32_t number = LoadU32(data.data());
    if (number == UINT32_MAX) break;
    order.emplace(std::to_string(number), order.size());
  }
}

}  // namespace

bool NextKey(ReportRun& run, SourceKey& key) {
  if (!run.keys.NextKey(key)) return false;
  if (++run.visited % kKeysPerStatus == 0) ShowProgress(run);
  return true;
}

RowSubject SubjectOf(const SourceKey& key) {
  return {key.position, true, key.last_write, key.stored_path, {}};
}

RowSubject SubjectOf(const SourceKey& key, const SourceValue& value) {
  return {value.position, false, 0, key.stored_path, value.stored_name};
}

void AddReportRow(OutputList& list, std::span<const Cell> cells, const RowSubject& subject) {
  RowFacts facts;
  facts.about_key = subject.about_key;
  facts.last_write = subject.last_write;
  facts.path = subject.path;
  facts.name = subject.name;
  facts.of_record = subject.position != kNoOffset;
  AddListRow(list, cells, subject.position, facts);
}

std::string KeyDateText(const SourceKey& key) {
  return key.last_write == 0 ? std::string() : FormatTimestamp(key.last_write, false);
}

std::string OffsetText(const ReportRun& run, uint32_t position) {
  return position == kNoOffset ? std::string() : PositionText(run.keys.ShownPosition(position));
}

std::string_view NameText(const SourceValue& value) {
  return value.name.empty() ? std::string_view("(Default value)") : value.shown_name;
}

bool IsText(const SourceValue& value) {
  return value.type == kRegSz || value.type == kRegExpandSz || value.type == kRegMultiSz;
}

void MakeOneLine(std::string& text) {
  for (char& c : text) {
    if (static_cast<uint8_t>(c) < 32) c = ' ';
  }
}

std::string DataCell(const SourceValue& value, size_t limit) {
  if (!value.read || !IsText(value)) return value.text;
  // UTF-16 units that may be shown and one more: no more of long data is turned into text.
  const size_t room = 2 * (limit + 1);
  std::string text = DataText(value.type, value.data.first(std::min(value.data.size(), room)));
  text.resize(std::min(text.size(), text.find('\0')));
  text.resize(FirstUnits(text, limit).size());
  MakeOneLine(text);
  // The terminators of a multi-string have become blanks.
  while (value.type == kRegMultiSz && text.ends_with(' ')) text.pop_back();
  return text;
}

void JoinText(std::string& cell, std::string_view text) {
  if (text.empty()) return;
  if (cell.empty()) {
    cell = FirstUnits(text, kJoinLimit - 1);
    if (cell.size() != text.size()) NoteShortfall(Shortfall::kCellTexts);
  } else if (CountUnits(cell) + CountUnits(text) < kJoinLimit) {
    cell.append(", ").append(text);
  } else if (!cell.ends_with('.')) {
    cell += ", ...";
  } else if (!cell.ends_with(", ...")) {
    NoteShortfall(Shortfall::kCellTexts);  // after a text's own end mark the cell says nothing
  }
}

std::string Rot13(std::string_view text) {
  std::string turned(text);
  for (char& c : turned) c = Rot13(c);
  return turned;
}

size_t FindIgnoringCase(std::string_view text, std::string_view part) {
  const auto found = std::search(text.begin(), text.end(), part.begin(), part.end(),
                                 [](char a, char b) { return SmallLetter(a) == SmallLetter(b); });
  return found == text.end() ? std::string_view::npos : static_cast<size_t>(found - text.begin());
}

bool ContainsIgnoringCase(std::string_view text, std::string_view part) {
  return FindIgnoringCase(text, part) != std::string_view::npos;
}

std::string_view ParentPath(std::string_view path) {
  const size_t split = path.rfind('\\');
  return split == std::string_view::npos ? std::string_view() : path.substr(0, split);
}

std::string_view LastName(std::string_view path) {
  const size_t split = path.rfind('\\');
  return split == std::string_view::npos ? path : path.substr(split + 1);
}

bool ReadMruList(const SourceValue& value, MruOrder& order) {
  if (EqualIgnoringCase(value.name, "MRUListEx")) {
    RankNumbers(value.data, order);
    return true;
  }
  if (!EqualIgnoringCase(value.name, "MRUList")) return false;
  if (IsText(value)) RankLetters(DataCell(value), order);
  return true;
}

size_t RankOf(const MruOrder& order, const std::string& name) {
  const auto found = order.find(name);
  return found == order.end() ? SIZE_MAX : found->second;
}

}  // namespace hivequarry

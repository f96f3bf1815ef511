#include "evidence/evidence_run.h"

#include <algorithm>

#include "hive/shown_zone.h"
#include "hive/timestamp.h"
#include "host/number_text.h"
#include "lists/list_rows.h"
#include "records/stored_text.h"
#include "recovery/freed_records.h"
#include "reports/report_run.h"
#include "words/known_guids.h"
#include "words/value_text.h"

namespace hivequarry {
namespace {

std::string OneLine(std::string text) {
  MakeOneLine(text);
  return text;
}

// What no key names is in no branch, and is listed with the whole tree alone.
bool IsOfBranch(const EvidenceRun& run, EvidenceKey key) {
  if (run.branch == 0) return true;
  if (key == kNoEvidenceKey) return false;
  const KeyTree& tree = run.keys.tree();
  if (!run.keys.IsFreed(key)) return key >= run.branch && key < tree.items[run.branch].end;
  return run.keys.IsFreedBelow(key, run.branch);
}

// The state that a row's subject is in; none for a row that is not asked for.
std::optional<EvidenceState> StateOfRow(const EvidenceRun& run, EvidenceKey key,
                                        const EvidenceValue* value) {
  if (run.lost != nullptr) {
    const uint32_t position = value != nullptr ? value->position : run.keys.PositionOf(key);
    if (run.lost->removed.contains(position)) return EvidenceState::kRemoved;
    if (run.lost->changed.contains(position)) return EvidenceState::kChanged;
    return std::nullopt;
  }
  if (value != nullptr && value->freed) return EvidenceState::kFreed;
  return key == kNoEvidenceKey ? EvidenceState::kRecovered : run.keys.StateOf(key);
}

}  // namespace

namespace {

// ".1234567"; empty for a whole second.
std::string FractionText(uint64_t file_time) {
  const uint64_t fraction = file_time % kFileTimeSecond;
  if (fraction == 0) return {};
  return Concat({".", Decimal(static_cast<int64_t>(fraction), 7, '0')});
}

}  // namespace

EvidenceRow& EvidenceRow::Text(std::string text) {
  cells.push_back({std::move(text), kNoValue});
  return *this;
}

EvidenceRow& EvidenceRow::Number(uint64_t number) {
  cells.push_back({std::to_string(number), number});
  return *this;
}

EvidenceRow& EvidenceRow::Empty(size_t count) {
  cells.resize(cells.size() + count);
  return *this;
}

EvidenceRow& EvidenceRow::Time(uint64_t file_time) {
  if (file_time == 0) return Empty();
  std::string text = FileTimeText(file_time);
  if (!text.empty()) {
    cells.push_back({std::move(text), DateValue(file_time)});
    return *this;
  }
  return Text(HexText(file_time, 16)).Note("no plausible time");
}

// The fields as they are, without the shown zone's suffix; the number beside them sorts as any
// other time does.
EvidenceRow& EvidenceRow::LocalTime(uint64_t file_time) {
  const CalendarTime calendar = CalendarOfFileTime(file_time);
  if (FormatTimestampChecked(file_time).empty()) return Time(file_time);
  cells.push_back({FormatCalendar(calendar) + FractionText(file_time), DateValue(file_time)});
  return *this;
}

EvidenceRow& EvidenceRow::DosTime(uint32_t dos_date_time) {
  if (dos_date_time == 0) return Empty();
  const uint64_t time = FileTimeOfDos(dos_date_time);
  if (time == 0) return Text(HexText(dos_date_time)).Note("no plausible time");
  return Time(time);
}

EvidenceRow& EvidenceRow::Note(std::string_view words) {
  if (words.empty() || notes.find(words) != std::string::npos) return *this;
  if (!notes.empty()) notes += "; ";
  notes += words;
  return *this;
}

void AddEvidence(EvidenceRun& run, EvidenceRow row, EvidenceKey key, const EvidenceValue* value) {
  AddEvidence(run, std::move(row), key, value, value == nullptr ? ByteView() : value->data);
}

void AddEvidence(EvidenceRun& run, EvidenceRow row, EvidenceKey key, const EvidenceValue* value,
                 ByteView bytes) {
  const std::optional<EvidenceState> state = StateOfRow(run, key, value);
  if (!state || !IsOfBranch(run, key)) return;
  if (value != nullptr && value->in_use) row.Note("data in use");
  const bool known = key != kNoEvidenceKey;
  if (!known) row.Note("no key known");
  // Cells that the decoder did not add are empty; then come the columns that all decoders have, in
  // the order of kEvidenceTail (lists/decoder_kinds.h): note, state, key, value, date and place of
  // the key, place of the value.
  row.cells.resize(static_cast<size_t>(run.own_columns));
  const HiveImage& hive = run.keys.hive();
  const uint64_t write = run.keys.LastWriteOf(key);
  const std::string hex = BytesText(bytes);
  const std::string stored = run.keys.StoredPathOf(key);
  RowFacts facts;
  facts.about_key = value == nullptr;
  facts.last_write = facts.about_key ? write : 0;
  facts.path = stored;
  if (value != nullptr) facts.name = value->stored_name;
  facts.bytes = hex;

  row.Text(row.notes).Text(StateWord(*state));
  row.Text(run.keys.PathOf(key));
  row.Text(value == nullptr      ? std::string()
           : value->name.empty() ? std::string(kDefaultValueName)
                                 : value->shown_name);
  row.cells.push_back({write == 0 ? std::string() : FormatTimestampChecked(write),
                       write == 0 ? kNoValue : DateValue(write)});
  row.Text(known ? PlaceText(hive, run.keys.PositionOf(key)) : std::string());
  row.Text(value != nullptr ? PlaceText(hive, value->position) : std::string());
  std::vector<Cell> cells;
  for (const EvidenceRow::Part& part : row.cells) cells.emplace_back(part.text, part.value);
  AddListRow(run.list, cells, value != nullptr ? value->position : run.keys.PositionOf(key), facts);
}

bool HasData(const EvidenceValue& value, size_t length, EvidenceRow& row) {
  if (!value.read) {
    row.Note(value.why.empty() ? "data can't be read" : value.why);
    return false;
  }
  if (value.data.size() >= length) return true;
  row.Note(Concat({"data too short: ", std::to_string(value.data.size()), " bytes"}));
  return false;
}

std::optional<uint64_t> FileTimeOfFields(const CalendarTime& fields) {
  const bool possible = fields.year >= 1601 && fields.month >= 1 && fields.month <= 12 &&
                        fields.day >= 1 && fields.day <= 31 && fields.hour < 24 &&
                        fields.minute < 60 && fields.second < 60 &&
                        fields.fraction < kFileTimeSecond;
  if (!possible) return std::nullopt;
  // A day that its month lacks comes back as one of the next month.
  const uint64_t time = FileTimeOfCalendar(fields);
  const CalendarTime back = CalendarOfFileTime(time);
  if (back.year != fields.year || back.day != fields.day) return std::nullopt;
  return time;
}

// The zone comes last.
std::string FileTimeText(uint64_t file_time) {
  std::string text = FormatTimestampChecked(file_time);
  const size_t zone = ShownZoneSuffix(file_time).size();
  if (!text.empty()) text.insert(text.size() - zone, FractionText(file_time));
  return text;
}

// An odd byte at the end belongs to the text, not to its end.
size_t WideEnd(ByteView bytes) {
  size_t end = 0;
  while (end + 1 < bytes.size() && LoadU16(bytes.data() + end) != 0) end += 2;
  return end + 1 < bytes.size() ? end : bytes.size();
}

std::string WideText(ByteView bytes, size_t limit) {
  std::string text;
  AppendUnits(bytes.first(WideEnd(bytes)), StoredUnits::kOfString, limit, text);
  return OneLine(std::move(text));
}

std::string NarrowText(ByteView bytes, size_t limit) {
  const auto end = static_cast<size_t>(std::ranges::find(bytes, 0) - bytes.begin());
  std::string text;
  AppendSingleByteData(bytes.first(std::min(end, limit)), text);
  return OneLine(std::move(text));
}

std::string ValueText(const EvidenceValue& value) {
  if (!value.read) return {};
  ByteView data = value.data;
  const std::optional<uint64_t> number = NumberOf(value);
  // Strings with a zero each, and one more after the last: an empty one ends the list.
  if (value.type == kRegMultiSz) {
    std::string text;
    while (data.size() >= 2 && text.size() < kEvidenceText) {
      const size_t end = WideEnd(data);
      if (end == 0) break;
      text += (text.empty() ? "" : ", ") + WideText(data.first(end));
      data = data.subspan(std::min(end + 2, data.size()));
    }
    return text;
  }
  if (value.type == kRegSz || value.type == kRegExpandSz) return WideText(data);
  return number ? std::to_string(*number) : std::string();
}

std::string TextNamed(const std::vector<EvidenceValue>& values, std::string_view name) {
  const EvidenceValue* value = FindValue(values, name);
  return value == nullptr ? std::string() : ValueText(*value);
}

std::optional<uint64_t> NumberOf(const EvidenceValue& value) {
  if (!value.read || value.type == kRegSz || value.type == kRegExpandSz ||
      value.type == kRegMultiSz) {
    return std::nullopt;
  }
  if (value.data.size() == 4) return LoadU32(value.data.data());
  if (value.data.size() == 8) return LoadU64(value.data.data());
  return std::nullopt;
}

std::optional<uint64_t> NumberNamed(const std::vector<EvidenceValue>& values,
                                    std::string_view name) {
  const EvidenceValue* value = FindValue(values, name);
  return value == nullptr ? std::nullopt : NumberOf(*value);
}

// By the length alone, whatever the type.
uint64_t TimeNamed(const std::vector<EvidenceValue>& values, std::string_view name) {
  const EvidenceValue* value = FindValue(values, name);
  return value != nullptr && value->data.size() == 8 ? LoadU64(value->data.data()) : 0;
}

void NoteTail(const EvidenceValue& value, EvidenceRow& row) {
  const bool text = value.type == kRegSz || value.type == kRegExpandSz;
  if (!text || !value.read) return;
  const size_t end = WideEnd(value.data);
  const ByteView tail = ByteView(value.data).subspan(std::min(end + 2, value.data.size()));
  if (std::ranges::all_of(tail, [](uint8_t byte) { return byte == 0; })) return;
  row.Note(Concat({std::to_string(tail.size()), " bytes after the text's end"}));
}

std::string GuidAt(ByteView bytes, size_t at) {
  if (at > bytes.size() || bytes.size() - at < 16) return {};
  return GuidText(GuidOfBytes(bytes.subspan(at).first<16>()));
}

bool IsGuid(std::string_view text) { return text.starts_with('{') && ParseGuid(text).has_value(); }

std::string WithFolderWord(std::string_view path) {
  constexpr size_t kGuidLength = 38;
  const std::string_view text = path.substr(0, std::min(path.size(), kGuidLength));
  const std::string_view rest = path.substr(text.size());
  const std::optional<Guid> guid = ParseGuid(text);
  if (!guid || (!rest.empty() && !rest.starts_with('\\'))) return std::string(path);
  const std::string_view word = KnownFolderName(*guid);
  return word.empty() ? std::string(path) : Concat({word, rest});
}

std::string HexText(uint64_t number, size_t width) { return Concat({"0x", Hex(number, width)}); }

}  // namespace hivequarry

#include "evidence/decoder_times.h"

#include <map>
#include <string>

#include "evidence/decoders.h"
#include "hive/file_place.h"
#include "hive/timestamp.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "lists/evidence_kinds.h"
#include "lists/list_kinds.h"

namespace hivequarry {
namespace {

// Of a row's own cells in their order, those that are neither empty nor times nor numbers.
constexpr size_t kMostDetails = 3;  // cells of a row that say what it is about

// What the rows of one decoder's list are told to the timeline with.
struct Telling {
  Timeline& timeline;
  const HiveImage& hive;
  const TimelineOptions& options;
  const ListKindInfo& kind;
  OutputList& list;
  size_t own_columns;
  std::map<size_t, const char*> events;  // by column
};

// FILETIME of a date cell; 0 for none. The cell's value has whole seconds since 1601 alone. Seven
// digits of a fraction are in its text, "..., 13:02:09.1234567", which may end with the zone that
// dates are shown in.
uint64_t TimeOfCell(const OutputList& list, uint32_t row, int column) {
  const uint64_t seconds = CellValue(list, row, column);
  if (seconds == kNoValue || seconds == 0) return 0;
  const std::string_view text = CellText(list, row, column);
  const size_t point = text.rfind('.');
  uint64_t fraction = 0;
  if (point != text.npos && text.size() - point >= 8) {
    for (const char c : text.substr(point + 1, 7))
      fraction = fraction * 10 + DigitOf(static_cast<unsigned char>(c));
  }
  return seconds * kFileTimeSecond + fraction;
}

// "UserAssist: Last Run". Lives as long as the timeline.
const char* EventOf(Telling& telling, size_t column) {
  const char*& known = telling.events[column];
  if (known == nullptr) {
    const std::string words =
        Concat({telling.kind.title, ": ", telling.kind.columns[column].title});
    known = KeepText(telling.timeline, std::string_view(words.c_str(), words.size() + 1)).data();
  }
  return known;
}

// What the logs removed or changed counts as recovered; the detail says the word itself.
TimelineState StateOf(std::string_view word) {
  if (word == StateWord(TimelineState::kFreed)) return TimelineState::kFreed;
  return word == StateWord(TimelineState::kLive) ? TimelineState::kLive : TimelineState::kRecovered;
}

// "NAME, PATH, ...; note; changed by the logs". The columns that all decoders have come after the
// kind's own in the order note, state, key, value (lists/decoder_kinds.h): `tail` counts from
// there.
std::string DetailOf(const Telling& telling, uint32_t row) {
  std::string detail;
  size_t cells = 0;
  for (size_t column = 0; column < telling.own_columns && cells < kMostDetails; ++column) {
    const KindColumn& about = telling.kind.columns[column];
    const std::string_view text = CellText(telling.list, row, static_cast<int>(column));
    if (text.empty() || about.holds == CellHolds::kDate || about.holds == CellHolds::kNumber)
      continue;
    detail += Concat({detail.empty() ? "" : ", ", text});
    ++cells;
  }
  const int tail = static_cast<int>(telling.own_columns);
  const std::string_view note = CellText(telling.list, row, tail);
  const std::string_view state = CellText(telling.list, row, tail + 1);
  for (const std::string_view more :
       {note, state.starts_with("removed") || state.starts_with("changed") ? state
                                                                           : std::string_view()}) {
    if (!more.empty()) detail += Concat({detail.empty() ? "" : "; ", more});
  }
  return detail;
}

// By the column's title, which goes into the event's words: times whose zone nothing says.
bool IsLocal(const KindColumn& column) {
  return std::string_view(column.title).ends_with("(local)");
}

// An event for each date that the row has, in the shelf of its time. The detail is made only when
// one of them is wanted.
void AddRow(Telling& telling, uint32_t row) {
  const int tail = static_cast<int>(telling.own_columns);
  std::string detail;
  for (size_t column = 0; column < telling.own_columns; ++column) {
    if (telling.kind.columns[column].holds != CellHolds::kDate) continue;
    const uint64_t time = TimeOfCell(telling.list, row, static_cast<int>(column));
    if (time == 0 || !IsInTimes(telling.options, time)) continue;
    if (detail.empty()) detail = DetailOf(telling, row);
    TimelineEvent event;
    event.time = time;
    const uint32_t datum = RowDatum(telling.list, row);
    event.offset = datum == kNoOffset ? 0 : PlaceOf(telling.hive, datum);
    event.hive = static_cast<uint32_t>(telling.timeline.hives.size() - 1);
    event.state = StateOf(CellText(telling.list, row, tail + 1));
    event.local = IsLocal(telling.kind.columns[column]);
    event.event = EventOf(telling, column);
    event.key = CellText(telling.list, row, tail + 2);
    event.value = CellText(telling.list, row, tail + 3);
    event.detail = detail;
    AddEvent(telling.timeline, event);
  }
}

}  // namespace

void AddDecoderTimes(Timeline& timeline, EvidenceSource& source, const TimelineOptions& options) {
  for (const DecoderInfo& decoder : Decoders()) {
    const ListKindInfo& kind = FindListKind(decoder.kind);
    const OutputListPtr list = MakeOutputList(decoder.kind);
    if (StopRequested()) return;
    RunDecoder(decoder, source, options.item, *list);
    Telling telling{
        timeline, source.hive, options, kind, *list, kind.columns.size() - kEvidenceColumns, {}};
    for (uint32_t row = 0; row < RowCount(*list) && !StopRequested(); ++row) AddRow(telling, row);
  }
}

}  // namespace hivequarry

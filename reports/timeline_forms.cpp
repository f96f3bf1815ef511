// The forms in which other programs read timelines.
#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <optional>
#include <utility>
#include <vector>

#include "hive/timestamp.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "host/side_work.h"
#include "host/visible_text.h"
#include "reports/timeline.h"

namespace hivequarry {
namespace {

constexpr uint64_t kLatest = 157469184000000000;  // 2100-01-01 as a FILETIME
constexpr size_t kHandedOn = 1 << 18;             // bytes handed on at once
constexpr size_t kAhead = 8;  // events from one fetch of a part of their paths to the next

// Lines on their way to the sink.
struct Lines {
  std::vector<char> room = std::vector<char>(2 * kHandedOn);
  size_t used = 0;
};

void Grow(Lines& out, size_t size) { out.room.resize(2 * out.room.size() + size); }

// Where `size` further characters may be put.
inline char* RoomFor(Lines& out, size_t size) {
  if (out.room.size() - out.used < size) [[unlikely]] {
    Grow(out, size);
  }
  return out.room.data() + out.used;
}

inline void Put(std::string_view text, Lines& out) {
  if (text.empty()) return;  // it may be nowhere
  std::memcpy(RoomFor(out, text.size()), text.data(), text.size());
  out.used += text.size();
}

void PutNumber(uint64_t number, Lines& out) {
  constexpr size_t kLongest = 20;
  char* const room = RoomFor(out, kLongest);
  out.used += static_cast<size_t>(std::to_chars(room, room + kLongest, number).ptr - room);
}

bool IsUsable(uint64_t time) { return time >= kFileTime1970 && time < kLatest; }

// Cut, never rounded.
void PutUnixSeconds(uint64_t time, Lines& out) {
  PutNumber((time - kFileTime1970) / kFileTimeSecond, out);
}

// After a name, in the forms that have no column for it.
std::string_view StateMark(TimelineState state) {
  if (state == TimelineState::kFreed) return " (deleted)";
  if (state == TimelineState::kLogged) return " (in a log)";
  return state == TimelineState::kRecovered ? " (recovered)" : "";
}

uint64_t LocalTime(uint64_t time, int minutes_east) {
  return time + static_cast<uint64_t>(int64_t{minutes_east} * 60 * int64_t{kFileTimeSecond});
}

// "Z", "+02:00", "-05:30".
std::string ZoneText(int minutes_east) {
  if (minutes_east == 0) return "Z";
  const int minutes = minutes_east < 0 ? -minutes_east : minutes_east;
  return Concat(
      {minutes_east < 0 ? "-" : "+", Decimal(minutes / 60, 2), ":", Decimal(minutes % 60, 2)});
}

// Times as texts. In their order many are of one day, whose text is kept.
// Only the digits of the clock are put into it anew.
struct TimeWriter {
  explicit TimeWriter(int minutes) : minutes_east(minutes), zone(ZoneText(minutes)) {}
  int minutes_east;
  std::string zone;
  uint64_t day = UINT64_MAX;  // of `text`
  std::string text;           // ISO 8601; empty for what is no time
};

// Decimals that end before `end`, with zeros in front.
void PutDecimals(char* end, size_t count, uint64_t number) {
  for (; count != 0; --count, number /= 10) *--end = static_cast<char>('0' + number % 10);
}

const std::string& IsoTime(TimeWriter& writer, const TimelineEvent& event) {
  constexpr uint64_t kPerDay = 86400 * kFileTimeSecond;
  const uint64_t time = event.time;
  std::string& text = writer.text;
  if (event.local) {  // ISO 8601 has no zone where none is known
    writer.day = UINT64_MAX;
    text = IsUsable(time) ? FormatIso8601(time) : std::string();
    if (text.ends_with('Z')) text.pop_back();
    return text;
  }
  if (!IsUsable(time)) {
    writer.day = UINT64_MAX;
    return text.clear(), text;
  }
  const uint64_t local = LocalTime(time, writer.minutes_east);
  if (local / kPerDay != writer.day) {
    writer.day = local / kPerDay;
    text = FormatIso8601(local);
    text.pop_back();
    text += writer.zone;
  }
  const uint64_t seconds = local / kFileTimeSecond % 86400;
  // Where the fields of "2012-04-04T01:58:40.1234567Z" end.
  PutDecimals(text.data() + 13, 2, seconds / 3600);
  PutDecimals(text.data() + 16, 2, seconds / 60 % 60);
  PutDecimals(text.data() + 19, 2, seconds % 60);
  PutDecimals(text.data() + 27, 7, local % kFileTimeSecond);
  return text;
}

// A displayed text for a field that ends at "|": control characters as "\x0A".
std::string BarField(std::string_view text) {
  std::string out;
  for (size_t at = 0; at < text.size(); ++at) {
    const size_t end =
        text[at] == '\\' && text.substr(at, 3) == kEscapeStart ? text.find('}', at) : text.npos;
    uint32_t unit = 0;
    for (size_t digit = at + 3; end != text.npos && digit < end; ++digit) {
      unit = unit * 16 + DigitOf(static_cast<unsigned char>(text[digit]));
    }
    const auto byte = static_cast<unsigned char>(text[at]);
    if (end != text.npos && (unit < 0x20 || unit == 0x7F)) {
      out += Concat({"\\x", Hex(unit, 2)});
      at = end;
    } else if (text[at] == '|') {
      out += "%7C";
    } else if (byte < 0x20 || byte == 0x7F) {
      out += Concat({"\\x", Hex(byte, 2)});
    } else {
      out += text[at];
    }
  }
  return out;
}

// Nothing in it to be changed: a "{" alone is that of a GUID, not of an escape.
bool IsPlainInBars(std::string_view text) {
  size_t at = 0;
  while ((at = PlainEnd(text, at, '|', '{')) < text.size()) {
    if (text[at] != '{' || text.substr(0, at + 1).ends_with(kEscapeStart)) return false;
    ++at;
  }
  return true;
}

void PutBarField(std::string_view text, Lines& out) {
  if (IsPlainInBars(text)) {
    Put(text, out);
  } else {
    Put(BarField(text), out);
  }
}

void PutBarKey(const TimelineEvent& event, Lines& out) {
  event.plain_key ? Put(event.key, out) : PutBarField(event.key, out);
}

// What is kept from one event to the next.
struct EventWriter {
  const Timeline& timeline;
  const TimelineLook& look;
  TimeWriter times;
  // The file of each hive as a form of cells, with the comma after it, or of quotes has it.
  std::vector<std::string> files;
  std::string message = {};  // scratch
  std::string path = {};     // of the event's key
  Lines out = {};
  // Of the plaso form the cells between clock and key, and whose they are: from one event to the
  // next they are mostly the same.
  std::string middle = {};
  const char* middle_event = nullptr;
  uint32_t middle_hive = 0;
  bool middle_local = false;
  // The key's escaped text in `out`, from the message on; none where it is not known.
  size_t key = 0;
  size_t key_size = 0;
};

// What an event is about, in one field: the path, and what is to be said of it.
void PutName(const Timeline& timeline, const TimelineEvent& event, Lines& out) {
  Put("[", out);
  PutBarField(timeline.hives[event.hive].label, out);
  Put("] ", out);
  PutBarKey(event, out);
  const bool key = std::string_view(event.event) == "key written";
  if (!key) {
    if (!event.key.empty()) Put(" ", out);
    if (!event.value.empty()) PutBarField(event.value, out), Put(" ", out);
    Put("(", out);
    Put(event.event, out);
    Put(")", out);
  } else if (!event.detail.empty()) {
    const std::string_view leaf = event.key.substr(event.key.rfind('\\') + 1);
    const bool names = event.detail.size() > leaf.size() && event.detail.starts_with(leaf) &&
                       event.detail.substr(leaf.size()).starts_with(": \"");
    if (names) PutBarField(event.detail.substr(leaf.size()), out);
  }
  Put(StateMark(event.state), out);
}

// Fields between bars: 0 for no hash; name; the cell's place in the file, as the number of an
// inode; mode; user and group, 0; the number of values, as the size; then four times in seconds
// since 1970, of which only the second, of the last modification, is known.
void PutBodyfile(const Timeline& timeline, const TimelineEvent& event, Lines& out) {
  Put("0|", out);
  PutName(timeline, event, out);
  Put("|", out);
  PutNumber(event.offset, out);
  Put("|r/rrw-rw-rw-|0|0|", out);
  PutNumber(event.values, out);
  Put("|0|", out);
  PutUnixSeconds(event.time, out);
  Put("|0|0\n", out);
}

// Fields between bars: seconds since 1970, source, host, user, description.
void PutTln(const Timeline& timeline, const TimelineEvent& event, Lines& out) {
  const TimelineHive& hive = timeline.hives[event.hive];
  PutUnixSeconds(event.time, out);
  Put("|REG|", out);
  PutBarField(hive.host, out);
  Put("|", out);
  PutBarField(hive.user, out);
  Put("|", out);
  PutName(timeline, event, out);
  Put("\n", out);
}

// Quotes where the text has a comma, a quote or a line's end. With `safe` an apostrophe comes
// before what a spreadsheet would take for a formula.
std::string CsvField(std::string_view text, bool safe) {
  const bool formula =
      safe && !text.empty() && std::string_view("=+-@\t").find(text[0]) != std::string_view::npos;
  std::string shown = formula ? "'" : "";
  AppendSayable(text, shown);
  if (shown.find_first_of(",\"\r\n") == shown.npos) return shown;
  std::string out = "\"";
  for (const char c : shown) out.append(c == '"' ? 2 : 1, c);
  return out + '"';
}

// A cell as it is, and the comma after it.
void PutCell(std::string_view text, Lines& out) {
  char* const room = RoomFor(out, text.size() + 1);
  if (!text.empty()) std::memcpy(room, text.data(), text.size());
  room[text.size()] = ',';
  out.used += text.size() + 1;
}

bool IsPlainInCsv(std::string_view text) { return PlainEnd(text, 0, ',', '"') == text.size(); }

// A cell that may begin a formula, or hold what CSV has quotes for; most do not. Its escapes it has
// already.
void PutTextCell(std::string_view text, bool safe, Lines& out) {
  const bool plain = text.empty() || (!safe && IsPlainInCsv(text));
  plain ? PutCell(text, out) : PutCell(CsvField(text, safe), out);
}

// The cell of the key's path.
void PutKeyCell(const TimelineEvent& event, bool safe, Lines& out) {
  safe || !event.plain_key ? PutTextCell(event.key, safe, out) : PutCell(event.key, out);
}

// In the order of HeaderOf. The last cell is the time as stored, in units of 100 ns.
void PutCsv(const TimelineEvent& event, EventWriter& writer) {
  const TimelineLook& look = writer.look;
  Lines& out = writer.out;
  Put(IsoTime(writer.times, event), out);
  Put(",", out);
  PutTextCell(event.event, look.safe, out);
  Put(writer.files[event.hive], out);
  PutKeyCell(event, look.safe, out);
  PutTextCell(event.value, look.safe, out);
  PutTextCell(event.detail, look.safe, out);
  PutCell(StateWord(event.state), out);
  PutNumber(event.offset, out);
  Put(",", out);
  PutNumber(event.time, out);
  Put("\r\n", out);
}

// "EVENT: KEY VALUE (DETAIL) (deleted)", with what there is.
void AppendMessage(const TimelineEvent& event, std::string& out) {
  out += event.event;
  out += ": ";
  out += event.key;
  out += event.value.empty() ? "" : " ";
  out += event.value;
  if (!event.detail.empty()) out += Concat({" (", event.detail, ")"});
  out += StateMark(event.state);
}

char* PutEachBackslash(std::string_view text, char* at) {
  for (const char c : text) {
    *at++ = c;
    *at = '\\';  // which the next one replaces where it does not belong there
    at += c == '\\';
  }
  return at;
}

// A text that has nothing but backslashes to escape: two of each. It is ASCII. Eight bytes go
// together: mostly they have one or none, and which of these is nothing to branch by.
void PutBackslashes(std::string_view text, Lines& out) {
  constexpr uint64_t kOnes = 0x0101010101010101;
  constexpr uint64_t kRest = kOnes * 0x7F;
  char* const start = RoomFor(out, 2 * text.size() + 1);
  char* at = start;
  for (; text.size() >= sizeof(uint64_t); text.remove_prefix(sizeof(uint64_t))) {
    uint64_t word = 0;
    std::memcpy(&word, text.data(), sizeof word);
    const uint64_t slash = ~((word ^ kOnes * '\\') + kRest) & ~kRest;  // top bits of where they are
    if ((slash & (slash - 1)) != 0) {
      at = PutEachBackslash(text.substr(0, sizeof word), at);
      continue;
    }
    const uint64_t before = slash | (slash - 1);  // up to it; all without one
    const uint64_t opened = (word & before) | (word & ~before) << 8 | (slash >> 7) * '\\' << 8;
    std::memcpy(at, &opened, sizeof opened);
    at[sizeof opened] = static_cast<char>(word >> 56);
    at += sizeof opened + (slash != 0);
  }
  at = PutEachBackslash(text, at);
  out.used += static_cast<size_t>(at - start);
}

bool IsPlainInJson(std::string_view text) { return PlainEnd(text, 0, '"') == text.size(); }
bool IsKeyPlainInJson(const TimelineEvent& event) {
  return event.plain_key || IsPlainInJson(event.key);
}

// A text within a JSON string.
void PutJsonText(std::string_view text, Lines& out) {
  if (text.empty()) return;
  if (IsPlainInJson(text)) return PutBackslashes(text, out);
  const std::string quoted = JsonString(text);
  Put(std::string_view(quoted).substr(1, quoted.size() - 2), out);
}

// Most messages are event and key alone: the key is then escaped once, and its place in the line is
// noted, so that PutJsonKey copies it from there.
void PutJsonMessage(const TimelineEvent& event, EventWriter& writer) {
  Lines& out = writer.out;
  writer.key_size = 0;
  if (!event.value.empty() || !event.detail.empty() || !IsKeyPlainInJson(event)) {
    writer.message.clear();
    AppendMessage(event, writer.message);
    return PutJsonText(writer.message, out);
  }
  Put(event.event, out);
  Put(": ", out);
  writer.key = out.used;
  PutBackslashes(event.key, out);
  writer.key_size = out.used - writer.key;
  Put(StateMark(event.state), out);
}

// From the message before it, where that has the key alone and escaped already.
void PutJsonKey(const TimelineEvent& event, EventWriter& writer) {
  if (writer.key_size == 0) return PutJsonText(event.key, writer.out);
  char* const room = RoomFor(writer.out, writer.key_size);
  std::memcpy(room, writer.out.room.data() + writer.key, writer.key_size);
  writer.out.used += writer.key_size;
}

std::vector<std::string> FilesOf(const Timeline& timeline, const TimelineLook& look) {
  std::vector<std::string> files;
  const bool quoted = look.form == TimelineForm::kJsonLines;
  for (const TimelineHive& hive : timeline.hives) {
    const std::string text = quoted ? JsonString(hive.path) : CsvField(hive.path, look.safe);
    files.push_back(quoted ? text.substr(1, text.size() - 2) : text + ',');
  }
  return files;
}

// One object a line. The first three members are those that timeline programs ask for; the others
// are what they are made of.
void PutJson(const TimelineEvent& event, EventWriter& writer) {
  Lines& out = writer.out;
  const std::string& time = IsoTime(writer.times, event);
  const std::string_view word = event.event;
  Put("{\"datetime\":\"", out);
  Put(time, out);
  Put("\",\"timestamp_desc\":\"", out);
  Put(word, out);
  Put("\",\"message\":\"", out);
  PutJsonMessage(event, writer);
  Put("\",\"time\":\"", out);
  Put(time, out);
  Put("\",\"event\":\"", out);
  Put(word, out);
  Put("\",\"hive\":\"", out);
  Put(writer.files[event.hive], out);
  Put("\",\"key\":\"", out);
  PutJsonKey(event, writer);
  Put("\",\"value\":\"", out);
  PutJsonText(event.value, out);
  Put("\",\"detail\":\"", out);
  PutJsonText(event.detail, out);
  Put("\",\"state\":\"", out);
  Put(StateWord(event.state), out);
  Put("\",\"offset\":", out);
  PutNumber(event.offset, out);
  Put(",\"filetime\":", out);
  PutNumber(event.time, out);
  Put("}\n", out);
}

// "04/04/2012,01:58:40,".
void PutDateAndClock(const std::string& time, bool safe, Lines& out) {
  constexpr size_t kSize = 20;
  if (time.empty()) {
    PutTextCell("00/00/0000", safe, out);
    return PutTextCell("--:--:--", safe, out);
  }
  char* const at = RoomFor(out, kSize);
  std::memcpy(at, time.data() + 5, 2);
  at[2] = at[5] = '/';
  std::memcpy(at + 3, time.data() + 8, 2);
  std::memcpy(at + 6, time.data(), 4);
  at[10] = at[19] = ',';
  std::memcpy(at + 11, time.data() + 11, 8);
  out.used += kSize;
}

// From the zone to the host.
const std::string& PlasoMiddle(const TimelineEvent& event, EventWriter& writer) {
  const bool same = writer.middle_event == event.event && writer.middle_hive == event.hive &&
                    writer.middle_local == event.local;
  if (same) return writer.middle;
  const TimelineHive& hive = writer.timeline.hives[event.hive];
  const bool safe = writer.look.safe;
  const bool zone = !event.local && writer.look.minutes_east != 0;
  writer.middle = Concat({event.local ? "local" : "UTC", zone ? writer.times.zone : "",
                          ",M...,REG,Registry key,", CsvField(event.event, safe), ",",
                          CsvField(hive.user, safe), ",", CsvField(hive.host, safe), ","});
  writer.middle_event = event.event;
  writer.middle_hive = event.hive;
  writer.middle_local = event.local;
  return writer.middle;
}

// The cells of the key's path and of the message, which mostly is the event's word and that path.
void PutKeyAndMessage(const TimelineEvent& event, EventWriter& writer) {
  Lines& out = writer.out;
  const bool more = !event.value.empty() || !event.detail.empty();
  const bool plain = event.plain_key || IsPlainInCsv(event.key);
  if (more || writer.look.safe || !plain || !IsPlainInCsv(event.event)) {
    writer.message.clear();
    AppendMessage(event, writer.message);
    PutKeyCell(event, writer.look.safe, out);
    return PutTextCell(writer.message, writer.look.safe, out);
  }
  Put(event.key, out);
  Put(",", out);
  Put(event.event, out);
  Put(": ", out);
  Put(event.key, out);
  Put(StateMark(event.state), out);
  Put(",", out);
}

// Seventeen columns. Local time without decimals; the FILETIME is in the last column. What is no
// time has zeros for its date, so that no line is lost.
void PutPlaso(const TimelineEvent& event, EventWriter& writer) {
  Lines& out = writer.out;
  PutDateAndClock(IsoTime(writer.times, event), writer.look.safe, out);
  Put(PlasoMiddle(event, writer), out);
  PutKeyAndMessage(event, writer);
  Put("2,", out);
  Put(writer.files[event.hive], out);
  PutNumber(event.offset, out);
  Put(",", out);
  PutCell(StateWord(event.state), out);
  Put("hivequarry,filetime: ", out);
  PutNumber(event.time, out);
  Put("\r\n", out);
}

const char* HeaderOf(TimelineForm form) {
  if (form == TimelineForm::kCsv) {
    return "time,event,hive,key,value,detail,state,offset,filetime\r\n";
  }
  if (form != TimelineForm::kPlaso) return "";
  return "date,time,timezone,MACB,source,sourcetype,type,user,host,short,desc,version,filename,"
         "inode,"
         "notes,format,extra\r\n";
}

bool HandOn(Lines& out, const TextSink& sink) {
  return sink({out.room.data(), std::exchange(out.used, 0)});
}

void PutEvent(const TimelineEvent& event, EventWriter& writer) {
  switch (writer.look.form) {
    case TimelineForm::kBodyfile:
      return PutBodyfile(writer.timeline, event, writer.out);
    case TimelineForm::kTln:
      return PutTln(writer.timeline, event, writer.out);
    case TimelineForm::kCsv:
      return PutCsv(event, writer);
    case TimelineForm::kJsonLines:
      return PutJson(event, writer);
    case TimelineForm::kPlaso:
      return PutPlaso(event, writer);
  }
}

// Paths are in the order of the keys, not of the times: of the events to come the parts are fetched
// ahead, the lowest first, each when what leads to it has come. What is above kParts keys have in
// common. A function that fetched them itself would do nothing else, and be left out by compilers.
constexpr size_t kParts = 4;
const KeptPath* PartAhead(const std::vector<StoredEvent>& events, size_t at, size_t part) {
  const size_t next = at + (kParts - part) * kAhead;
  const KeptPath* path = events[std::min(next, events.size() - 1)].key;
  for (size_t up = 0; up < part && path != nullptr; ++up) path = path->above;
  return path;
}

// What was written stays in the writer where there is no sink.
bool WriteShelf(const TimelineShelf& shelf, EventWriter& writer, const TextSink& sink,
                TimelineCounts& counts) {
  const TimelineForm form = writer.look.form;
  const bool seconds = form == TimelineForm::kBodyfile || form == TimelineForm::kTln;
  for (size_t i = 0; i < shelf.events.size(); ++i) {
    for (size_t part = 0; part < kParts; ++part) {
      __builtin_prefetch(PartAhead(shelf.events, i, part));
    }
    if (seconds && !IsUsable(shelf.events[i].time)) {
      ++counts.without_time;
      continue;
    }
    PutEvent(ReadEvent(shelf.events[i], writer.path), writer);
    ++counts.lines;
    if (writer.out.used < kHandedOn) continue;
    if (StopRequested() || (sink && !HandOn(writer.out, sink))) return false;
  }
  return true;
}

}  // namespace

std::string_view StateWord(TimelineState state) {
  if (state == TimelineState::kFreed) return "freed";
  if (state == TimelineState::kLogged) return "in a log";
  return state == TimelineState::kRecovered ? "recovered" : "live";
}

// A shelf is written while the one before it is; memory is for the lines of one.
bool WriteTimeline(const Timeline& timeline, const TimelineLook& look, const TextSink& sink,
                   TimelineCounts& counts) {
  counts = TimelineCounts();
  EventWriter writer{timeline, look, TimeWriter(look.minutes_east), FilesOf(timeline, look)};
  // For every other shelf, which is written beside and handed on after the one before it.
  EventWriter second{timeline, look, TimeWriter(look.minutes_east), writer.files};
  Lines& out = writer.out;
  Put(HeaderOf(look.form), out);
  const std::vector<TimelineShelf>& shelves = timeline.shelves;
  const bool both = IsWorthSideWork(EventCount(timeline) * sizeof(StoredEvent));
  for (size_t at = 0; at < shelves.size(); at += both ? 2 : 1) {
    bool written = true;
    TimelineCounts more;
    std::optional<SideWork> beside;
    if (both && at + 1 < shelves.size()) {
      beside.emplace([&] { written = WriteShelf(shelves[at + 1], second, {}, more); });
    }
    if (!WriteShelf(shelves[at], writer, sink, counts)) return false;
    beside.reset();
    counts.lines += more.lines;
    counts.without_time += more.without_time;
    if (second.out.used == 0) continue;
    if (!written || !HandOn(out, sink) || !HandOn(second.out, sink)) return false;
  }
  return (out.used == 0 || HandOn(out, sink)) && !StopRequested();
}

}  // namespace hivequarry

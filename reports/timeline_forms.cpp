// The forms in which other programs read timelines.
#include <algorithm>
#include <array>
#include <charconv>
#include <initializer_list>

#include "hive/timestamp.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "host/visible_text.h"
#include "reports/timeline.h"

namespace hivequarry {
namespace {

constexpr uint64_t kUnixEpoch = 116444736000000000;  // FILETIME of 1970-01-01
constexpr uint64_t kLatest = 157469184000000000;     // of 2100-01-01
constexpr uint64_t kPerSecond = 10'000'000;
constexpr size_t kPiece = 1 << 18;  // bytes handed on at once
constexpr size_t kAhead = 16;       // events whose texts are on their way while one is written

bool IsUsable(uint64_t time) { return time >= kUnixEpoch && time < kLatest; }

void AppendNumber(uint64_t number, std::string& out) {
  std::array<char, 20> digits;
  out.append(digits.data(), std::to_chars(digits.begin(), digits.end(), number).ptr);
}

// Cut, never rounded.
void AppendUnixSeconds(uint64_t time, std::string& out) {
  AppendNumber((time - kUnixEpoch) / kPerSecond, out);
}

// After a name, in the forms that have no column for it.
std::string_view StateMark(TimelineState state) {
  if (state == TimelineState::kFreed) return " (deleted)";
  if (state == TimelineState::kLogged) return " (in a log)";
  return state == TimelineState::kRecovered ? " (recovered)" : "";
}

uint64_t LocalTime(uint64_t time, int minutes_east) {
  return time + static_cast<uint64_t>(int64_t{minutes_east} * 60 * int64_t{kPerSecond});
}

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

const std::string& IsoTime(TimeWriter& writer, uint64_t time) {
  constexpr uint64_t kPerDay = 86400 * kPerSecond;
  std::string& text = writer.text;
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
  const uint64_t seconds = local / kPerSecond % 86400;
  PutDecimals(text.data() + 13, 2, seconds / 3600);
  PutDecimals(text.data() + 16, 2, seconds / 60 % 60);
  PutDecimals(text.data() + 19, 2, seconds % 60);
  PutDecimals(text.data() + 27, 7, local % kPerSecond);
  return text;
}

// A displayed text for a field that ends at "|": control characters as "\x0A".
void AppendBarField(std::string_view text, std::string& out) {
  if (PlainEnd(text, 0, '|', '{') == text.size()) {
    out += text;
    return;
  }
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
}

// What an event is about, in one field: the path, and what is to be said of it.
void AppendName(const Timeline& timeline, const TimelineEvent& event, std::string& out) {
  out += '[';
  AppendBarField(timeline.hives[event.hive].label, out);
  out += "] ";
  AppendBarField(event.key, out);
  const std::string_view leaf = event.key.substr(event.key.rfind('\\') + 1);
  const bool key = std::string_view(event.event) == "key written";
  if (!key) {
    out += event.key.empty() ? "" : " ";
    if (!event.value.empty()) AppendBarField(event.value, out), out += ' ';
    out += Concat({"(", event.event, ")"});
  } else if (event.detail.size() > leaf.size() && event.detail.starts_with(leaf) &&
             event.detail.substr(leaf.size()).starts_with(": \"")) {
    AppendBarField(event.detail.substr(leaf.size()), out);
  }
  out += StateMark(event.state);
}

// Fields between bars: 0 for no hash; name; the cell's place in the file, as the number of an
// inode; mode; user and group, 0; the number of values, as the size; then four times in seconds
// since 1970, of which only the second, of the last modification, is known.
void AppendBodyfile(const Timeline& timeline, const TimelineEvent& event, std::string& out) {
  out += "0|";
  AppendName(timeline, event, out);
  out += '|';
  AppendNumber(event.offset, out);
  out += "|r/rrw-rw-rw-|0|0|";
  AppendNumber(event.values, out);
  out += "|0|";
  AppendUnixSeconds(event.time, out);
  out += "|0|0\n";
}

// Fields between bars: seconds since 1970, source, host, user, description.
void AppendTln(const Timeline& timeline, const TimelineEvent& event, std::string& out) {
  const TimelineHive& hive = timeline.hives[event.hive];
  AppendUnixSeconds(event.time, out);
  out += "|REG|";
  AppendBarField(hive.host, out);
  out += '|';
  AppendBarField(hive.user, out);
  out += '|';
  AppendName(timeline, event, out);
  out += '\n';
}

// Quotes where the text has a comma, a quote or a line's end. With `safe` an apostrophe comes
// before what a spreadsheet would take for a formula.
void AppendCsvField(std::string_view text, bool safe, std::string& out) {
  const bool formula =
      safe && !text.empty() && std::string_view("=+-@\t").find(text[0]) != std::string_view::npos;
  std::string shown = formula ? "'" : "";
  AppendSayable(text, shown);
  if (shown.find_first_of(",\"\r\n") == shown.npos) {
    out += shown;
    return;
  }
  out += '"';
  for (const char c : shown) out.append(c == '"' ? 2 : 1, c);
  out += '"';
}

// A cell that may begin a formula, or hold what CSV has quotes for; most do not. Its escapes it has
// already.
void AppendTextCell(std::string_view text, bool safe, std::string& out) {
  if (!safe && PlainEnd(text, 0, ',', '"') == text.size()) {
    out += text;
  } else {
    AppendCsvField(text, safe, out);
  }
  out += ',';
}

void AppendCsv(const Timeline& timeline, const TimelineEvent& event, const TimelineLook& look,
               TimeWriter& times, std::string& out) {
  out += IsoTime(times, event.time);
  out += ',';
  for (const std::string_view cell :
       {std::string_view(event.event), std::string_view(timeline.hives[event.hive].path), event.key,
        event.value, event.detail, StateWord(event.state)}) {
    AppendTextCell(cell, look.safe, out);
  }
  AppendNumber(event.offset, out);
  out += ',';
  AppendNumber(event.time, out);
  out += "\r\n";
}

void AppendMessage(const TimelineEvent& event, std::string& out) {
  out += event.event;
  out += ": ";
  out += event.key;
  out += event.value.empty() ? "" : " ";
  out += event.value;
  if (!event.detail.empty()) out += Concat({" (", event.detail, ")"});
  out += StateMark(event.state);
}

// A text of a JSON object after what is before it, its quotes among that.
void AppendJsonText(std::string_view before, std::string_view text, std::string& out) {
  out += before;
  if (PlainEnd(text, 0, '"') != text.size()) {
    const std::string quoted = JsonString(text);
    out.append(quoted, 1, quoted.size() - 2);
    return;
  }
  size_t at = 0;
  for (size_t slash; (slash = text.find('\\', at)) != text.npos; at = slash + 1) {
    out.append(text, at, slash + 1 - at) += '\\';
  }
  out.append(text, at);
}

void AppendJson(const Timeline& timeline, const TimelineEvent& event, TimeWriter& times,
                std::string& message, std::string& out) {
  const std::string& time = IsoTime(times, event.time);
  message.clear();
  AppendMessage(event, message);
  AppendJsonText("{\"datetime\":\"", time, out);
  AppendJsonText("\",\"timestamp_desc\":\"", event.event, out);
  AppendJsonText("\",\"message\":\"", message, out);
  AppendJsonText("\",\"time\":\"", time, out);
  AppendJsonText("\",\"event\":\"", event.event, out);
  AppendJsonText("\",\"hive\":\"", timeline.hives[event.hive].path, out);
  AppendJsonText("\",\"key\":\"", event.key, out);
  AppendJsonText("\",\"value\":\"", event.value, out);
  AppendJsonText("\",\"detail\":\"", event.detail, out);
  AppendJsonText("\",\"state\":\"", StateWord(event.state), out);
  out += "\",\"offset\":";
  AppendNumber(event.offset, out);
  out += ",\"filetime\":";
  AppendNumber(event.time, out);
  out += "}\n";
}

// Seventeen columns. Local time without decimals; the FILETIME is in the last column. What is no
// time has zeros for its date, so that no line is lost.
void AppendPlaso(const Timeline& timeline, const TimelineEvent& event, const TimelineLook& look,
                 std::string& message, std::string& out) {
  std::string date = "00/00/0000";
  std::string clock = "--:--:--";
  if (IsUsable(event.time)) {
    const CalendarTime at = CalendarOfFileTime(LocalTime(event.time, look.minutes_east));
    date = Concat({Decimal(at.month, 2), "/", Decimal(at.day, 2), "/", Decimal(at.year, 4)});
    clock = Concat({Decimal(at.hour, 2), ":", Decimal(at.minute, 2), ":", Decimal(at.second, 2)});
  }
  const TimelineHive& hive = timeline.hives[event.hive];
  const std::string zone = look.minutes_east == 0 ? "UTC" : "UTC" + ZoneText(look.minutes_east);
  message.clear();
  AppendMessage(event, message);
  for (const std::string_view cell : std::initializer_list<std::string_view>{
           date, clock, zone, "M...", "REG", "Registry key", event.event, hive.user, hive.host,
           event.key, message, "2", hive.path}) {
    AppendTextCell(cell, look.safe, out);
  }
  AppendNumber(event.offset, out);
  out += ',';
  AppendTextCell(StateWord(event.state), look.safe, out);
  out += "hivequarry,filetime: ";
  AppendNumber(event.time, out);
  out += "\r\n";
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

// What is kept from one event to the next.
// `out` holds up to kPiece bytes, and a line more, before they are handed on.
struct EventWriter {
  const Timeline& timeline;
  const TimelineLook& look;
  TimeWriter times;
  std::string message;
  std::string out;
};

void AppendEvent(EventWriter& writer, const TimelineEvent& event) {
  const Timeline& timeline = writer.timeline;
  const TimelineLook& look = writer.look;
  switch (look.form) {
    case TimelineForm::kBodyfile:
      return AppendBodyfile(timeline, event, writer.out);
    case TimelineForm::kTln:
      return AppendTln(timeline, event, writer.out);
    case TimelineForm::kCsv:
      return AppendCsv(timeline, event, look, writer.times, writer.out);
    case TimelineForm::kJsonLines:
      return AppendJson(timeline, event, writer.times, writer.message, writer.out);
    case TimelineForm::kPlaso:
      return AppendPlaso(timeline, event, look, writer.message, writer.out);
  }
}

}  // namespace

std::string_view StateWord(TimelineState state) {
  if (state == TimelineState::kFreed) return "freed";
  if (state == TimelineState::kLogged) return "in a log";
  return state == TimelineState::kRecovered ? "recovered" : "live";
}

bool WriteTimeline(const Timeline& timeline, const TimelineLook& look, const TextSink& sink,
                   TimelineCounts& counts) {
  counts = TimelineCounts();
  const bool seconds = look.form == TimelineForm::kBodyfile || look.form == TimelineForm::kTln;
  EventWriter writer{timeline, look, TimeWriter(look.minutes_east), {}, HeaderOf(look.form)};
  std::string& out = writer.out;
  for (size_t i = 0; i < timeline.events.size(); ++i) {
    const TimelineEvent& event = timeline.events[i];
    // Texts are in the order of the keys, not of the times.
    const size_t ahead = std::min(i + kAhead, timeline.events.size() - 1);
    // An address alone: the text may be shorter, or none.
    const auto text = reinterpret_cast<uintptr_t>(timeline.events[ahead].key.data());
    __builtin_prefetch(reinterpret_cast<const void*>(text));
    __builtin_prefetch(reinterpret_cast<const void*>(text + 64));
    if (seconds && !IsUsable(event.time)) {
      ++counts.without_time;
      continue;
    }
    AppendEvent(writer, event);
    ++counts.lines;
    if (out.size() < kPiece) continue;
    if (!sink(out) || StopRequested()) return false;
    out.clear();
  }
  return (out.empty() || sink(out)) && !StopRequested();
}

}  // namespace hivequarry

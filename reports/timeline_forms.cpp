// The forms in which other programs read timelines.
#include <algorithm>
#include <array>

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

// Cut, never rounded.
std::string UnixSeconds(uint64_t time) { return std::to_string((time - kUnixEpoch) / kPerSecond); }

// After a name, in the forms that have no column for it.
std::string_view StateMark(TimelineState state) {
  if (state == TimelineState::kFreed) return " (deleted)";
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

// Empty for what is no time.
std::string IsoTime(uint64_t time, int minutes_east) {
  if (!IsUsable(time)) return {};
  std::string text = FormatIso8601(LocalTime(time, minutes_east));
  text.pop_back();
  return text + ZoneText(minutes_east);
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

void AppendBodyfile(const Timeline& timeline, const TimelineEvent& event, std::string& out) {
  out += "0|";
  AppendName(timeline, event, out);
  out += Concat({"|", std::to_string(event.offset), "|r/rrw-rw-rw-|0|0|",
                 std::to_string(event.values), "|0|", UnixSeconds(event.time), "|0|0\n"});
}

void AppendTln(const Timeline& timeline, const TimelineEvent& event, std::string& out) {
  const TimelineHive& hive = timeline.hives[event.hive];
  out += UnixSeconds(event.time) + "|REG|";
  AppendBarField(hive.host, out);
  out += '|';
  AppendBarField(hive.user, out);
  out += '|';
  AppendName(timeline, event, out);
  out += '\n';
}

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

// Texts that have their escapes already.
void AppendCells(std::span<const std::string_view> cells, bool safe, std::string& out) {
  for (size_t i = 0; i < cells.size(); ++i) {
    if (i != 0) out += ',';
    if (PlainEnd(cells[i], 0, ',', '"') == cells[i].size() && !safe) {
      out += cells[i];
    } else {
      AppendCsvField(cells[i], safe, out);
    }
  }
  out += "\r\n";
}

void AppendCsv(const Timeline& timeline, const TimelineEvent& event, const TimelineLook& look,
               std::string& out) {
  const std::string time = IsoTime(event.time, look.minutes_east);
  const std::string offset = std::to_string(event.offset);
  const std::string number = std::to_string(event.time);
  const std::array<std::string_view, 9> cells = {
      time,        event.event,  timeline.hives[event.hive].path, event.key,
      event.value, event.detail, StateWord(event.state),          offset,
      number};
  AppendCells(cells, look.safe, out);
}

std::string MessageOf(const TimelineEvent& event) {
  std::string text = Concat({event.event, ": ", event.key});
  if (!event.value.empty()) text += Concat({" ", event.value});
  if (!event.detail.empty()) text += Concat({" (", event.detail, ")"});
  return text + std::string(StateMark(event.state));
}

void AppendJson(const Timeline& timeline, const TimelineEvent& event, const TimelineLook& look,
                std::string& out) {
  const std::string time = IsoTime(event.time, look.minutes_east);
  const auto text = [&out](const char* name, std::string_view value) {
    out += Concat({"\"", name, "\":", JsonString(value), ","});
  };
  out += '{';
  text("datetime", time);
  text("timestamp_desc", event.event);
  text("message", MessageOf(event));
  text("time", time);
  text("event", event.event);
  text("hive", timeline.hives[event.hive].path);
  text("key", event.key);
  text("value", event.value);
  text("detail", event.detail);
  text("state", StateWord(event.state));
  out += Concat({"\"offset\":", std::to_string(event.offset),
                 ",\"filetime\":", std::to_string(event.time), "}\n"});
}

void AppendPlaso(const Timeline& timeline, const TimelineEvent& event, const TimelineLook& look,
                 std::string& out) {
  std::string date = "00/00/0000";
  std::string clock = "--:--:--";
  if (IsUsable(event.time)) {
    const CalendarTime at = CalendarOfFileTime(LocalTime(event.time, look.minutes_east));
    date = Concat({Decimal(at.month, 2), "/", Decimal(at.day, 2), "/", Decimal(at.year, 4)});
    clock = Concat({Decimal(at.hour, 2), ":", Decimal(at.minute, 2), ":", Decimal(at.second, 2)});
  }
  const TimelineHive& hive = timeline.hives[event.hive];
  const std::string zone = look.minutes_east == 0 ? "UTC" : "UTC" + ZoneText(look.minutes_east);
  const std::string offset = std::to_string(event.offset);
  const std::string message = MessageOf(event);
  const std::string number = "filetime: " + std::to_string(event.time);
  const std::array<std::string_view, 17> cells = {
      date,           clock,       zone,      "M...",    "REG",
      "Registry key", event.event, hive.user, hive.host, event.key,
      message,        "2",         hive.path, offset,    StateWord(event.state),
      "hivequarry",   number};
  AppendCells(cells, look.safe, out);
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

void AppendEvent(const Timeline& timeline, const TimelineEvent& event, const TimelineLook& look,
                 std::string& out) {
  switch (look.form) {
    case TimelineForm::kBodyfile:
      return AppendBodyfile(timeline, event, out);
    case TimelineForm::kTln:
      return AppendTln(timeline, event, out);
    case TimelineForm::kCsv:
      return AppendCsv(timeline, event, look, out);
    case TimelineForm::kJsonLines:
      return AppendJson(timeline, event, look, out);
    case TimelineForm::kPlaso:
      return AppendPlaso(timeline, event, look, out);
  }
}

}  // namespace

std::string_view StateWord(TimelineState state) {
  if (state == TimelineState::kFreed) return "freed";
  return state == TimelineState::kRecovered ? "recovered" : "live";
}

bool WriteTimeline(const Timeline& timeline, const TimelineLook& look, const TextSink& sink,
                   TimelineCounts& counts) {
  counts = TimelineCounts();
  const bool seconds = look.form == TimelineForm::kBodyfile || look.form == TimelineForm::kTln;
  std::string out = HeaderOf(look.form);
  for (size_t i = 0; i < timeline.events.size(); ++i) {
    const TimelineEvent& event = timeline.events[i];
    // Texts are in the order of the keys, not of the times.
    const size_t ahead = std::min(i + kAhead, timeline.events.size() - 1);
    __builtin_prefetch(timeline.events[ahead].key.data());
    __builtin_prefetch(timeline.events[ahead].key.data() + 64);
    if (seconds && !IsUsable(event.time)) {
      ++counts.without_time;
      continue;
    }
    AppendEvent(timeline, event, look, out);
    ++counts.lines;
    if (out.size() < kPiece) continue;
    if (!sink(out) || StopRequested()) return false;
    out.clear();
  }
  return (out.empty() || sink(out)) && !StopRequested();
}

}  // namespace hivequarry

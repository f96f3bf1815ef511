// What happened when, by the hives of a machine: the last writes of keys, and on request freed
// keys, the times that base blocks hold and those in values. Events of several hives are put
// together and sorted by time, then by hive and offset. Nothing is dropped in silence: each hive
// counts its keys, and those that have no time.
#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "hive/key_tree.h"
#include "lists/list_writers.h"
#include "recovery/freed_records.h"

namespace hivequarry {

// kLogged: in a page of a log, in no state of the hive any more.
enum class TimelineState : uint8_t { kLive, kRecovered, kFreed, kLogged };

// As it is added and read; its texts are views.
struct TimelineEvent {
  uint64_t time = 0;  // FILETIME, whatever it is
  // Of the key's or value's cell, as the file counts from where the hive begins.
  uint32_t offset = 0;
  uint32_t hive = 0;    // number in Timeline::hives
  uint32_t values = 0;  // of the key
  TimelineState state = TimelineState::kLive;
  bool local = false;       // the time is the machine's, of a zone that is not known: not UTC
  const char* event = "";   // "key written": lives as long as the timeline
  std::string_view key;     // displayed path
  std::string_view value;   // name of the value that holds the time
  std::string_view detail;  // further words, UTF-8
  bool plain_key = false;   // as KeptPath has it; only of an event that is read
};

// A key's path as a timeline keeps it: keys of one branch have what is above them once. Its own
// part, mostly the key's name, is after it in memory (NameOf).
struct KeptPath {
  const KeptPath* above = nullptr;  // null: the name is the whole path
  uint32_t size = 0;                // of the name, bytes
  uint32_t length : 31 = 0;         // of the whole path, bytes
  uint32_t plain : 1 = 0;           // it is the same in all forms, but for its backslashes
};
static_assert(sizeof(KeptPath) == 16, "a million keys have one each");
inline std::string_view NameOf(const KeptPath& path) {
  return {reinterpret_cast<const char*>(&path + 1), path.size};
}

// What few events say.
struct EventWords {
  const char* event = "";
  std::string_view value;
  std::string_view detail;
};

// An event as a timeline keeps it; TimelineEvent has the words for the members.
struct StoredEvent {
  uint64_t time = 0;
  const KeptPath* key = nullptr;      // null: none
  const EventWords* words = nullptr;  // null: the last write of a key, and no more to be said
  uint32_t offset = 0;
  uint32_t values = 0;
  uint32_t hive = 0;
  TimelineState state = TimelineState::kLive;
  bool local = false;
};
static_assert(sizeof(StoredEvent) == 40, "a million keys have one each");

// A source of events, as it is told in lines and counts.
struct TimelineHive {
  std::string path;           // as given, UTF-8
  std::string label;          // in brackets before names
  std::string host;           // the computer's name, where the hive says it
  std::string user;           // whose profile the hive is of, where it says so
  uint64_t keys = 0;          // live and recovered
  uint64_t keys_without = 0;  // without a time: made, or outside the times asked for
  uint64_t freed_keys = 0;    // with a time, if they were asked for
  uint64_t logged_keys = 0;   // likewise
};

// The events of one stretch of time, so that who goes through events by time stays in one place of
// the memory.
struct TimelineShelf {
  std::vector<StoredEvent> events;
};

// May be moved, not copied: the events lead into `kept`.
struct Timeline {
  std::vector<TimelineHive> hives;
  // Paths, words and texts that events lead to, in blocks that never move; the last one grows.
  std::deque<std::string> kept;
  std::vector<TimelineShelf> shelves = std::vector<TimelineShelf>(1);  // by time, at least one
  std::vector<uint64_t> bounds;  // where each shelf but the first begins, FILETIME, ascending
};
// Over all shelves.
uint64_t EventCount(const Timeline& timeline);

// The last writes of live and recovered keys are always in it; these add to them.
struct TimelineOptions {
  bool freed = false;  // freed keys too
  // Those of the hive, where they are known already; null: they are searched for.
  const FreedRecords* known_freed = nullptr;
  bool values = false;      // times in values
  bool base_block = false;  // times of the base block
  bool logged = false;      // keys in pages of the hive's logs alone
  uint32_t item = 0;        // only this item of the tree, with all below it
  bool bounded = false;     // by these, FILETIME, both included
  uint64_t from = 0;
  uint64_t to = UINT64_MAX;  // included
};

// Adds an event with copies of its texts, but for `event`, in the shelf of its time.
void AddEvent(Timeline& timeline, const TimelineEvent& event);
// The event with its texts: its key is a view of `path`, the others live as long as the timeline.
TimelineEvent ReadEvent(const StoredEvent& stored, std::string& path);

// Adds the events of a loaded hive; the hive may be closed afterwards. False where the tree has no
// such item.
bool AddToTimeline(Timeline& timeline, const HiveImage& hive, const KeyTree& tree,
                   const TimelineOptions& options, TimelineHive about);
// By time, then by hive and offset; events of one place stay as they were added.
void SortTimeline(Timeline& timeline);
// Host and user that the hive itself names; empty where it does not.
void NameMachine(const HiveImage& hive, const KeyTree& tree, TimelineHive& about);

enum class TimelineForm : uint8_t { kBodyfile, kTln, kCsv, kJsonLines, kPlaso };
// `minutes_east` shifts what is shown, never what is sorted.
struct TimelineLook {
  TimelineForm form = TimelineForm::kCsv;
  int minutes_east = 0;  // of UTC; times as seconds are always UTC
  bool safe = false;     // no cell of CSV begins a formula
};
// What became of the events.
struct TimelineCounts {
  uint64_t lines = 0;         // written
  uint64_t without_time = 0;  // no line: before 1970 or after 2100, in the forms that count seconds
};
// False when the sink refused or the user stopped.
bool WriteTimeline(const Timeline& timeline, const TimelineLook& look, const TextSink& sink,
                   TimelineCounts& counts);

// The event of a key's last write.
inline constexpr const char* kKeyWritten = "key written";
// "live", "recovered", "freed", "in a log".
std::string_view StateWord(TimelineState state);

// --- for the parts -------------------------------------------------------------------------------

// For events of that time.
TimelineShelf& ShelfOf(Timeline& timeline, uint64_t time);
// A copy of the text that lives as long as the timeline.
std::string_view KeepText(Timeline& timeline, std::string_view text);
// Adds the times that the values of a key hold (timeline_values.cpp).
void AddValueTimes(Timeline& timeline, const HiveImage& hive, const KeyTree& tree, uint32_t item,
                   const TimelineOptions& options, const TimelineEvent& key);
inline bool IsInTimes(const TimelineOptions& options, uint64_t time) {
  return !options.bounded || (time >= options.from && time <= options.to);
}

}  // namespace hivequarry

#include "reports/timeline.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <new>
#include <optional>

#include "bytes/large_pages.h"
#include "hive/file_place.h"
#include "hive/keys.h"
#include "hive/replaying.h"
#include "hive/values.h"
#include "host/case.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "host/side_work.h"
#include "host/sort_by_keys.h"
#include "host/visible_text.h"
#include "lists/list_rows.h"
#include "reports/control_sets.h"
#include "reports/freed_rows.h"
#include "reports/log_records.h"

namespace hivequarry {
namespace {

constexpr size_t kTextBlock = size_t{1} << 18;  // of texts and what leads to them, bytes
// Of many, which are read in another order than that in which they were put there: large pages.
constexpr size_t kLargeBlock = size_t{8} << 20;
constexpr size_t kSmallBlocks = 8;
constexpr size_t kPerShelf = 8192;  // events, for which a processor's own memory has room
// More would be open at a time than a processor keeps near.
constexpr size_t kMostShelves = 256;

// The last component of a path.
std::string_view LeafOfPath(std::string_view path) {
  const size_t slash = path.rfind('\\');
  return slash == path.npos ? path : path.substr(slash + 1);
}

// Keys whose values a system starts: the time belongs to one of these values, nobody knows which.
bool IsRunKey(std::string_view path) {
  for (const std::string_view name : {"Run", "RunOnce"}) {
    // Both are spelt in letters that nothing longer or shorter is equal to.
    if (path.size() < name.size()) return false;
    const size_t start = path.size() - name.size();
    const bool leaf = start == 0 || path[start - 1] == '\\';
    if (leaf && EqualIgnoringCase(path.substr(start), name)) return true;
  }
  return false;
}

// `"OneDrive", "Ditto"`.
// At most 64 names; how many more there are is said.
std::string ValueNames(const HiveImage& hive, uint32_t key) {
  // Of one key; a detail is a line.
  constexpr size_t kMost = 64;
  std::vector<uint32_t> values;
  ReadValuesInWalk(hive, key, values);
  std::string names;
  for (size_t i = 0; i < std::min(values.size(), kMost); ++i) {
    const ValueKey value = ReadValueKey(hive, values[i], ValueRead::kName, 0, nullptr);
    if (value.position == 0) continue;
    names += (names.empty() ? "\"" : ", \"") + ShownValueName(value.name) + "\"";
  }
  if (values.size() > kMost) names += ", and " + std::to_string(values.size() - kMost) + " more";
  return names;
}

// The number of the log entry that set a key's time; empty where the file has it so.
std::string EntryWords(const HiveImage& hive, uint32_t key) {
  if (!IsReplayed(hive)) return {};
  const LogOrigin origin = OriginOf(hive, key + kKeyLastWrite, 8);
  if (!origin.found) return {};
  return "log entry " + std::to_string(EntryOf(*hive.logs, hive.logs->steps[origin.step]).sequence);
}

// The values of a key that starts programs, then the log entry that wrote the time; most keys have
// neither.
std::string DetailOfKey(const HiveImage& hive, uint32_t key, std::string_view path) {
  std::string detail = EntryWords(hive, key);
  if (!IsRunKey(path)) return detail;
  const std::string names = ValueNames(hive, key);
  if (names.empty()) return detail;
  return std::string(LeafOfPath(path)) + ": " + names + (detail.empty() ? "" : "; " + detail);
}

// Shelves that take about as many keys each, by a sample of their times.
void MakeShelves(Timeline& timeline, const HiveImage& hive, const KeyTree& tree, uint32_t first,
                 uint32_t end) {
  // One key of so many is looked at.
  constexpr uint32_t kSampleStep = 32;
  const size_t shelves = std::min((end - first) / kPerShelf, kMostShelves);
  if (shelves < 2 || timeline.shelves.size() > 1) return;
  std::vector<uint64_t> times;
  for (uint32_t at = first; at < end; at += kSampleStep) {
    if (HasKeyCell(tree, at)) {
      times.push_back(ReadU64(hive, tree.items[at].position + kKeyLastWrite));
    }
  }
  std::ranges::sort(times);
  std::vector<uint64_t>& bounds = timeline.bounds;
  // Times that many keys share give fewer shelves than were planned.
  for (size_t i = 1; i < shelves && !times.empty(); ++i) {
    const uint64_t bound = times[i * times.size() / shelves];
    if (bounds.empty() || bound > bounds.back()) bounds.push_back(bound);
  }
  // Of hives added before, too few for shelves.
  const std::vector<StoredEvent> before = std::move(timeline.shelves[0].events);
  timeline.shelves = std::vector<TimelineShelf>(bounds.size() + 1);
  const size_t room = (end - first) / shelves;
  for (TimelineShelf& shelf : timeline.shelves) shelf.events.reserve(room + room / 8);
  for (const StoredEvent& event : before) {
    ShelfOf(timeline, event.time).events.push_back(event);
  }
}

// Room in a block of the timeline, for anything.
char* KeptRoom(Timeline& timeline, size_t size) {
  constexpr size_t kAligned = alignof(KeptPath);
  std::deque<std::string>& kept = timeline.kept;
  const size_t taken = (size + kAligned - 1) / kAligned * kAligned;
  if (kept.empty() || kept.back().capacity() - kept.back().size() < taken) {
    const size_t block = kept.size() < kSmallBlocks ? kTextBlock : kLargeBlock;
    ReserveLarge(kept.emplace_back(), std::max(block, taken));
  }
  std::string& block = kept.back();
  block.resize(block.size() + taken);
  return block.data() + block.size() - taken;
}

// A name below a path; with null a path as a whole.
const KeptPath* KeepName(Timeline& timeline, const KeptPath* above, std::string_view name) {
  char* const room = KeptRoom(timeline, sizeof(KeptPath) + name.size());
  if (!name.empty()) std::memcpy(room + sizeof(KeptPath), name.data(), name.size());
  auto* const path = new (room) KeptPath;
  path->above = above;
  path->size = static_cast<uint32_t>(name.size());
  // Paths end long before a length is beyond the bits that it has.
  path->length = (path->size + (above == nullptr ? 0 : above->length + 1)) & 0x7FFFFFFF;
  path->plain = IsPlain(name, '|', ',', '"') && (above == nullptr || above->plain);
  return path;
}

// Paths of a walk, as the timeline keeps them.
class PathKeeper {
 public:
  // `paths` is at the item whose path is kept.
  const KeptPath* Keep(Timeline& timeline, const PathWalker& paths, std::string_view path) {
    if (paths.IsShortened()) return KeepName(timeline, nullptr, path);
    const std::span<const PathWalker::Level> levels = paths.Levels();
    size_t same = std::min(kept_.size(), levels.size());
    while (same != 0 && kept_[same - 1].item != levels[same - 1].item) --same;
    kept_.resize(same);
    for (; same < levels.size(); ++same) {
      const size_t start = same == 0 ? 0 : levels[same - 1].length + 1;
      const KeptPath* above = same == 0 ? nullptr : kept_.back().path;
      const std::string_view name = path.substr(start, levels[same].length - start);
      kept_.push_back({levels[same].item, KeepName(timeline, above, name)});
    }
    return kept_.back().path;
  }

 private:
  struct Level {
    uint32_t item;
    const KeptPath* path;
  };
  std::vector<Level> kept_;
};

// Null where there is nothing to say beyond a key's last write.
const EventWords* KeepWords(Timeline& timeline, const TimelineEvent& event) {
  if (event.event == kKeyWritten && event.value.empty() && event.detail.empty()) return nullptr;
  auto* const words = new (KeptRoom(timeline, sizeof(EventWords))) EventWords;
  words->event = event.event;
  words->value = KeepText(timeline, event.value);
  words->detail = KeepText(timeline, event.detail);
  return words;
}

void StoreEvent(Timeline& timeline, const TimelineEvent& event, const KeptPath* key) {
  ShelfOf(timeline, event.time)
      .events.push_back({event.time, key, KeepWords(timeline, event), event.offset, event.values,
                         event.hive, event.state, event.local});
}

// In the order of the tree, so that texts that belong together are near each other in memory. The
// cost is that of the paths: linear in the keys of [first, end). The hive is the timeline's last.
void AddKeyRange(Timeline& timeline, const HiveImage& hive, const KeyTree& tree,
                 const TimelineOptions& options, uint32_t first, uint32_t end) {
  constexpr uint32_t kAhead = 12;  // keys on their way while one is read
  const auto start = reinterpret_cast<uintptr_t>(ImageBytes(hive).data());
  PathWalker paths(hive, tree);
  PathKeeper kept;
  const auto number = static_cast<uint32_t>(timeline.hives.size() - 1);
  TimelineHive& about = timeline.hives.back();
  for (uint32_t at = first; at < end && !StopRequested(); ++at) {
    const uint32_t coming = tree.items[std::min(at + kAhead, end - 1)].position;
    // Addresses alone: there may be nothing.
    const uintptr_t cell = start + coming;
    __builtin_prefetch(reinterpret_cast<const void*>(cell));
    __builtin_prefetch(reinterpret_cast<const void*>(cell + kKeyName));
    if (!IsKeyItem(tree, at)) continue;
    ++about.keys;
    if (!HasKeyCell(tree, at)) {
      ++about.keys_without;
      continue;
    }
    const uint32_t position = tree.items[at].position;
    TimelineEvent event;
    event.time = ReadU64(hive, position + kKeyLastWrite);
    const bool wanted = IsInTimes(options, event.time);
    if (!wanted && !options.values) {
      ++about.keys_without;
      continue;
    }
    event.offset = PlaceOf(hive, position);
    event.hive = number;
    event.values = ReadU32(hive, position + kKeyValueCount);
    event.state = tree.items[at].connected ? TimelineState::kLive : TimelineState::kRecovered;
    event.event = kKeyWritten;
    event.key = paths.PathOf(at);
    const std::string detail = DetailOfKey(hive, position, event.key);
    event.detail = detail;
    if (wanted) StoreEvent(timeline, event, kept.Keep(timeline, paths, event.key));
    about.keys_without += !wanted;
    if (options.values) AddValueTimes(timeline, hive, tree, at, options, event);
  }
}

// Keys of the second half that were added to a timeline of their own, which is empty afterwards.
void Append(Timeline& timeline, Timeline& more) {
  for (size_t i = 0; i < more.shelves.size(); ++i) {
    TimelineShelf& shelf = timeline.shelves[i];
    const TimelineShelf from = std::move(more.shelves[i]);
    shelf.events.insert(shelf.events.end(), from.events.begin(), from.events.end());
  }
  // What a block holds moves with it.
  for (std::string& block : more.kept) timeline.kept.push_front(std::move(block));
  timeline.hives.back().keys += more.hives.back().keys;
  timeline.hives.back().keys_without += more.hives.back().keys_without;
}

// Two halves side by side where that is worth it.
void AddKeys(Timeline& timeline, const HiveImage& hive, const KeyTree& tree,
             const TimelineOptions& options) {
  const uint32_t first = options.item;
  const uint32_t end = tree.items[first].end;
  if (!options.bounded) MakeShelves(timeline, hive, tree, first, end);
  const bool halves =
      IsWorthSideWork(uint64_t{end - first} * sizeof(StoredEvent)) && timeline.shelves.size() > 1;
  if (!halves) return AddKeyRange(timeline, hive, tree, options, first, end);
  const uint32_t middle = first + (end - first) / 2;
  Timeline second;
  // The second half goes into a timeline of its own with the same shelves, so that neither thread
  // writes to what the other uses.
  second.hives = timeline.hives;
  second.hives.back().keys = second.hives.back().keys_without = 0;
  second.bounds = timeline.bounds;
  second.shelves = std::vector<TimelineShelf>(timeline.shelves.size());
  {
    const SideWork beside([&] { AddKeyRange(second, hive, tree, options, middle, end); });
    AddKeyRange(timeline, hive, tree, options, first, middle);
  }
  Append(timeline, second);
}

// Freed keys are not counted among the hive's keys; those outside the times asked for are not
// counted at all.
void AddFreedKeys(Timeline& timeline, const HiveImage& hive, const KeyTree& tree,
                  const TimelineOptions& options) {
  const FreedRecords* const known = options.known_freed;
  FreedSource from = known != nullptr ? FreedSource(hive, tree, *known) : FreedSource(hive, tree);
  TimelineHive& about = timeline.hives.back();
  for (const FreedKey& key : from.records.keys) {
    if (StopRequested()) return;
    if (!IsFreedBelow(tree, from.records, key.position, options.item)) continue;
    TimelineEvent event;
    event.time = ReadU64(hive, key.position + kKeyLastWrite);
    if (!IsInTimes(options, event.time)) continue;
    event.offset = PlaceOf(hive, key.position);
    event.hive = static_cast<uint32_t>(timeline.hives.size() - 1);
    event.values = key.values;
    event.state = TimelineState::kFreed;
    event.event = kKeyWritten;
    const std::string path(from.paths.PathOf(key.position));
    const std::string place = FreedPlaceWords(key);
    event.key = path;
    event.detail = place;
    AddEvent(timeline, event);
    ++about.freed_keys;
  }
}

// Where the pages of the hive's logs have keys that no state of the hive has any more.
void AddLoggedKeys(Timeline& timeline, const HiveImage& hive, const KeyTree& tree,
                   const TimelineOptions& options) {
  constexpr int kKeyColumn = 1;
  constexpr int kPositionColumn = 6;
  constexpr int kLogColumn = 7;
  constexpr int kEntryColumn = 8;
  // Read from the list's rows: its columns by their numbers, the position from its text, "0x" and
  // digits.
  const OutputListPtr list = ListLogRecords(hive, tree);
  TimelineHive& about = timeline.hives.back();
  for (uint32_t row = 0; row < RowCount(*list) && !StopRequested(); ++row) {
    const uint64_t time = FactsOfRow(*list, row).last_write;
    if (time == 0 || !IsInTimes(options, time)) continue;
    TimelineEvent event;
    event.time = time;
    for (const char c : CellText(*list, row, kPositionColumn).substr(2)) {
      event.offset = event.offset * 16 + DigitOf(static_cast<unsigned char>(c));
    }
    event.hive = static_cast<uint32_t>(timeline.hives.size() - 1);
    event.state = TimelineState::kLogged;
    event.event = kKeyWritten;
    const std::string detail =
        Concat({CellText(*list, row, kLogColumn), ", entry ", CellText(*list, row, kEntryColumn)});
    event.key = CellText(*list, row, kKeyColumn);
    event.detail = detail;
    AddEvent(timeline, event);
    ++about.logged_keys;
  }
}

// Of the file, before its logs.
ByteView BaseBlockBytes(const HiveImage& hive) {
  return IsReplayed(hive) ? hive.logs->before_bytes() : ImageBytes(hive);
}

// Which times a base block holds (FILETIME, UTC; offsets from the file's start):
//
//    12       last write of the hive; systems from Windows 8.1 on leave it as it was
//    168      last reorganising; bits 0 and 1 are not of the time: 1 defragmented, 2 access bits
//             cleared
//    512      time of a hive made offline, where "OfRg" is at 168 or at 176: then 168 is no time
//    4096+20  of the first block, where one begins there
void AddBaseTimes(Timeline& timeline, const HiveImage& hive, const TimelineOptions& options) {
  constexpr uint32_t kOfflineMark = 0x6752664F;  // "OfRg"
  constexpr uint32_t kOfflineMarks[] = {168, 176};
  constexpr uint32_t kOfflineTime = 512;
  const ByteView bytes = BaseBlockBytes(hive);
  if (ReadU32(bytes, 0) != kHiveSignature) return;
  const auto add = [&](const char* what, uint64_t time, uint32_t offset, std::string_view detail) {
    if (time == 0 || !IsInTimes(options, time)) return;
    TimelineEvent event;
    event.time = time;
    event.offset = offset;
    event.hive = static_cast<uint32_t>(timeline.hives.size() - 1);
    event.event = what;
    event.detail = detail;
    AddEvent(timeline, event);
  };
  add("hive written", ReadU64(bytes, kBaseLastWrite), kBaseLastWrite, "");
  const uint64_t reorganised = ReadU64(bytes, kBaseReorganised);
  bool offline = false;
  for (const uint32_t at : kOfflineMarks) offline |= ReadU32(bytes, at) == kOfflineMark;
  if (!offline) {
    // An order to do so at the next start has no time beside it.
    constexpr const char* kDone[] = {"", "defragmented", "access bits cleared", ""};
    add("hive reorganised", reorganised & ~uint64_t{3}, kBaseReorganised, kDone[reorganised & 3]);
  } else {
    add("hive made offline", ReadU64(bytes, kOfflineTime), kOfflineTime, "");
  }
  if (ReadU32(bytes, kBaseBlockSize) == kBinSignature) {
    add("first block written", ReadU64(bytes, kBaseBlockSize + kBinTime), kBaseBlockSize + kBinTime,
        "");
  }
}

// "NAME" of "...\Users\NAME\NTUSER.DAT", as the base block stores the end of the path.
// Empty for other files of a user, as UsrClass.dat, whose folder is not the profile's.
std::string UserOfStoredName(const HiveImage& hive) {
  const std::string name = TextOfWide(ReadBaseBlock(BaseBlockBytes(hive)).file_name);
  constexpr std::string_view kUsersFile = "\\ntuser.dat";
  if (!EndsIgnoringCase(name, kUsersFile)) return {};
  const std::string_view folder = std::string_view(name).substr(0, name.size() - kUsersFile.size());
  const size_t slash = folder.rfind('\\');
  if (slash == folder.npos) return {};
  const std::string_view above = folder.substr(0, slash);
  const bool profile =
      EndsIgnoringCase(above, "\\users") || EndsIgnoringCase(above, "\\documents and settings");
  return profile ? std::string(folder.substr(slash + 1)) : std::string();
}

}  // namespace

uint64_t EventCount(const Timeline& timeline) {
  uint64_t count = 0;
  for (const TimelineShelf& shelf : timeline.shelves) count += shelf.events.size();
  return count;
}

TimelineShelf& ShelfOf(Timeline& timeline, uint64_t time) {
  const std::vector<uint64_t>& bounds = timeline.bounds;
  size_t at = 0;
  // Halved without branches: times come in no order that a processor could foresee.
  for (size_t count = bounds.size(); count != 0;) {
    const size_t half = (count + 1) / 2;
    at += half * static_cast<size_t>(bounds[at + half - 1] <= time);
    count -= half;
  }
  return timeline.shelves[at];
}

std::string_view KeepText(Timeline& timeline, std::string_view text) {
  if (text.empty()) return {};
  char* const room = KeptRoom(timeline, text.size());
  std::memcpy(room, text.data(), text.size());
  return {room, text.size()};
}

void AddEvent(Timeline& timeline, const TimelineEvent& event) {
  const bool keyed = !event.key.empty();
  StoreEvent(timeline, event, keyed ? KeepName(timeline, nullptr, event.key) : nullptr);
}

TimelineEvent ReadEvent(const StoredEvent& stored, std::string& path) {
  TimelineEvent event;
  event.time = stored.time;
  event.offset = stored.offset;
  event.hive = stored.hive;
  event.values = stored.values;
  event.state = stored.state;
  event.local = stored.local;
  event.event = stored.words == nullptr ? kKeyWritten : stored.words->event;
  if (stored.words != nullptr) {
    event.value = stored.words->value;
    event.detail = stored.words->detail;
  }
  path.resize(stored.key == nullptr ? 0 : stored.key->length);
  char* end = path.data() + path.size();
  for (const KeptPath* at = stored.key; at != nullptr; at = at->above) {
    const std::string_view name = NameOf(*at);
    end -= name.size();
    std::memcpy(end, name.data(), name.size());
    if (at->above != nullptr) *--end = '\\';
  }
  event.key = path;
  event.plain_key = stored.key != nullptr && stored.key->plain;
  return event;
}

bool AddToTimeline(Timeline& timeline, const HiveImage& hive, const KeyTree& tree,
                   const TimelineOptions& options, TimelineHive about) {
  if (options.item >= tree.items.size()) return false;
  timeline.hives.push_back(std::move(about));
  AddKeys(timeline, hive, tree, options);
  if (options.freed) AddFreedKeys(timeline, hive, tree, options);
  if (options.logged && options.item == 0) AddLoggedKeys(timeline, hive, tree, options);
  if (options.base_block && options.item == 0) AddBaseTimes(timeline, hive, options);
  return true;
}

// Stable.
void SortTimeline(Timeline& timeline) {
  std::atomic<size_t> next = 0;
  const auto sort = [&] {
    for (size_t at = next++; at < timeline.shelves.size(); at = next++) {
      SortByKeys(timeline.shelves[at].events, [](const StoredEvent& event) {
        return SortKey{event.time, uint64_t{event.hive} << 32 | event.offset};
      });
    }
  };
  std::optional<SideWork> beside;
  if (IsWorthSideWork(EventCount(timeline) * sizeof(StoredEvent))) beside.emplace(sort);
  sort();
}

// The computer's name by the control set that is current, or by the first of the sets 1 to 3 that
// has one.
void NameMachine(const HiveImage& hive, const KeyTree& tree, TimelineHive& about) {
  for (const uint32_t set : {ReadControlSets(hive, tree).current, 1U, 2U, 3U}) {
    const std::string path =
        Concat({"\\ControlSet", Decimal(set, 3), "\\Control\\ComputerName\\ComputerName"});
    const uint32_t item = FindItemByPath(hive, tree, path);
    if (item == kNoItem || !HasKeyCell(tree, item)) continue;
    std::vector<uint32_t> values;
    // Entries that are looked at: the key of a system has but a few.
    ReadValuesOfKey(hive, tree.items[item].position, 64, values);
    for (const uint32_t position : values) {
      std::vector<uint8_t> data;
      const ValueKey value = ReadShownValue(hive, position, data);
      if (value.status != ValueStatus::kRead || !EqualIgnoringCase(value.name, "ComputerName")) {
        continue;
      }
      std::u16string name;
      for (size_t i = 0; i + 1 < data.size() && LoadU16(data.data() + i) != 0; i += 2) {
        name.push_back(LoadU16(data.data() + i));
      }
      if (about.host.empty()) about.host = TextOfWide(name);
    }
    if (!about.host.empty()) break;
  }
  about.user = UserOfStoredName(hive);
}

}  // namespace hivequarry

#include "app/settings.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <span>

#include "host/host.h"
#include "host/output_file.h"
#include "host/profile.h"
#include "host/text.h"
#include "lists/list_kinds.h"

namespace hivequarry {
namespace {

// The longest value of the file, in bytes.
constexpr size_t kMaxText = 519;

// A list of texts: keys of the prefix and a number from 0.
struct HistoryRow {
  const char* section;
  const char* prefix;
  size_t limit;  // characters of a text
  History Histories::*history;
};
constexpr HistoryRow kSearchHistories[] = {
    {"FTSC", "FC", 64, &Histories::search_texts},  {"RTSC", "RC", 64, &Histories::registry_texts},
    {"FTSH", "FH", 130, &Histories::search_bytes}, {"RTSH", "RH", 130, &Histories::registry_bytes},
    {"CBSIDS", "CBS", 519, &Histories::sids},
};
constexpr HistoryRow kOtherHistories[] = {
    {"FILS", "FI", 63, &Histories::list_finds},
    {"LTFS", "LF", 519, &Histories::recent_files},
};

// The places of "KGP1". An option that two places write is read from the second.
struct OptionRow {
  bool Options::*option;
  bool read = true;
};
constexpr OptionRow kOptions[] = {
    {&Options::no_access_keys, false},
    {&Options::backup_folder_by_date},
    {&Options::technical_view, false},
    {&Options::number_rows},
    {&Options::wrap_find},
    {&Options::detail_pane},
    {&Options::save_window_position},
    {&Options::no_access_keys},
    {&Options::file_offsets},
    {&Options::recovered_keys},
    {&Options::ask_other_roots},
    {&Options::resolve_sids},
    {&Options::tolerant_keys},
    {&Options::export_security},
    {&Options::disconnected_values},
    {&Options::cell_details, false},
};
static_assert(std::size(kOptions) == 16);

// Numbers of the main window: keys of the letter "w" and a number from `first`. What lies outside
// the limits reads as 0, the built-in layout.
constexpr int kMaxPlace = 20000;
constexpr int kMaxWidth = 10000;
struct NumberRow {
  const char* section;
  int first;
  int count;
  int low;
  int high;
};
constexpr NumberRow kMainPlace = {"WPS1", 10, 5, -kMaxPlace, kMaxPlace};
constexpr NumberRow kValueColumns = {"WPS2", 20, kPlaceColumns, 0, kMaxWidth};
constexpr NumberRow kOutputColumns = {"WPS3", 30, kPlaceColumns, 0, kMaxWidth};
constexpr NumberRow kBookmarkColumns = {"KBMP", 50, kPlaceColumns, 0, kMaxWidth};
constexpr NumberRow kPaneSizes = {"WPS4", 40, 2, 0, kMaxWidth};

// The other windows: all the numbers of one in a key of its own.
struct PlaceRow {
  const char* key;
  size_t columns = kPlaceColumns;
};
constexpr PlaceRow kWindowPlaces[] = {{"WPS02"}, {"WPS04"}, {"WPS06"}, {"WPS08"}, {"WPS10", 4},
                                      {"WPS12"}, {"WPS16"}, {"WPS18"}, {"WPS20"}, {"WPS22"}};
static_assert(std::size(kWindowPlaces) == kPlacedWindows);
// Families of list windows are placed windows, in the same order.
static_assert(static_cast<int>(WindowFamily::kBlocks) == kPlaceBlocks &&
              static_cast<int>(WindowFamily::kCount) == kPlacedWindows);
constexpr size_t kSides = 5;  // numbers before the columns: four sides, kind and maximised

using Numbers = std::vector<int>;

// The number that a text begins with; 0 when there is none or it lies outside the limits.
int NumberWithin(std::string_view text, int low, int high) {
  int number = 0;
  text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && number >= low && number <= high ? number : 0;
}

// Takes what is before the next ";" off `text`.
std::string_view CutPart(std::string_view& text) {
  const std::string_view part = text.substr(0, text.find(';'));
  text.remove_prefix(std::min(part.size() + 1, text.size()));
  return part;
}

Numbers SidesOf(const WindowPlace& place) {
  return {place.left, place.top, place.right, place.bottom,
          2 * place.list_kind + (place.maximised ? 1 : 0)};
}

// Numbers without the built-in ones at their end.
Numbers WidthsOf(std::span<const int> numbers) {
  const auto given = std::ranges::find_if(numbers.rbegin(), numbers.rend(),
                                          [](int number) { return number != 0; });
  return Numbers(numbers.begin(), given.base());
}

// The fifth number is 1 for a maximised window plus twice the kind of list that is in it, so that
// files of versions that knew no kinds read as kind 0. Columns stay.
void SetSides(std::span<const int> sides, WindowPlace& place) {
  WindowPlace given;
  given.left = sides[0];
  given.top = sides[1];
  given.right = sides[2];
  given.bottom = sides[3];
  if (!IsPlaced(given)) given = WindowPlace();
  given.maximised = sides[4] % 2 == 1;
  given.list_kind = std::max(sides[4], 0) / 2;
  given.columns = std::move(place.columns);
  place = std::move(given);
}

std::string NumberedKey(const char* prefix, size_t number) {
  return prefix + std::to_string(number);
}

constexpr const char* kColourWords[] = {"", "light", "dark"};  // in the order of ColourChoice

ColourChoice ColoursFromText(std::string_view text) {
  const auto* found = std::ranges::find(kColourWords, text);
  if (found == std::end(kColourWords)) return ColourChoice::kSystem;
  return static_cast<ColourChoice>(found - kColourWords);
}

// --- reading -------------------------------------------------------------------------------------

// Gaps and what comes twice are left out; a file without any keeps what is built in.
void ReadHistory(const ProfileLookup& lookup, const HistoryRow& row, Histories& histories) {
  History read;
  for (size_t i = 0; i < kHistoryLength; ++i) {
    const std::string key = NumberedKey(row.prefix, i);
    const std::string stored = lookup(row.section, key.c_str(), "", kMostUtf8 * row.limit);
    std::string text(FirstUnits(TextOfEither(stored), row.limit));
    if (text.empty() || std::ranges::find(read, text) != read.end()) continue;
    read.push_back(std::move(text));
  }
  if (!read.empty()) histories.*row.history = std::move(read);
}

// As many numbers as the row says; 0, built in, for what is missing or out of its range.
Numbers ReadNumbers(const ProfileLookup& lookup, const NumberRow& row) {
  Numbers numbers;
  for (int i = 0; i < row.count; ++i) {
    const std::string key =
        NumberedKey("w", static_cast<size_t>(row.first) + static_cast<size_t>(i));
    const std::string text = lookup(row.section, key.c_str(), "0=default", kMaxText);
    numbers.push_back(NumberWithin(text, row.low, row.high));
  }
  return numbers;
}

// Sides, the fifth number, then column widths, ";" between them; places beyond the end count as 0.
void ReadPlace(const ProfileLookup& lookup, const PlaceRow& row, WindowPlace& place) {
  const std::string text = lookup("WPOS", row.key, "0=default", kMaxText);
  std::string_view rest = text;
  Numbers numbers;
  for (size_t i = 0; i < kSides + row.columns; ++i) {
    const bool side = i < kSides;
    numbers.push_back(
        NumberWithin(CutPart(rest), side ? -kMaxPlace : 0, side ? kMaxPlace : kMaxWidth));
  }
  SetSides(numbers, place);
  place.columns = WidthsOf(std::span(numbers).subspan(kSides));
}

// "START;END", places in the file, decimal. Anything else leaves what is built in.
void ReadRange(const ProfileLookup& lookup, Settings& settings) {
  const std::string text = lookup("KAS", "FPART", "", kMaxText);
  uint32_t start = 0;
  uint32_t end = 0;
  const char* last = text.data() + text.size();
  const auto first = std::from_chars(text.data(), last, start);
  if (first.ec != std::errc() || first.ptr == last || *first.ptr != ';') return;
  if (std::from_chars(first.ptr + 1, last, end).ec != std::errc() || end <= start) return;
  settings.range_start = start;
  settings.range_end = end;
}

void ReadDates(const ProfileLookup& lookup, DateSettings& dates) {
  dates.start = lookup("KDATES", "Start", "", kMaxDateText);
  dates.end = lookup("KDATES", "End", "", kMaxDateText);
  dates.limited = lookup("KDATES", "Limited", "", kMaxText) == "1";
  dates.freed = lookup("KDATES", "Freed", "", kMaxText) == "1";
}

void ReadTimeline(const ProfileLookup& lookup, TimelineSettings& timeline) {
  timeline.freed = lookup("KTIME", "Freed", "", kMaxText) == "1";
  timeline.values = lookup("KTIME", "Values", "", kMaxText) == "1";
  timeline.base_block = lookup("KTIME", "Hive", "", kMaxText) == "1";
  timeline.decoders = lookup("KTIME", "Evidence", "", kMaxText) == "1";
  timeline.logged = lookup("KTIME", "Logs", "", kMaxText) == "1";
}

void ReadBookmarkPane(const ProfileLookup& lookup, BookmarkPaneSettings& pane) {
  const auto number = [&lookup](const char* key) {
    return NumberWithin(lookup("KBMP", key, "", kMaxText), 0, kMaxWidth);
  };
  pane.shown = lookup("KBMP", "Shown", "", kMaxText) == "1";
  pane.below = lookup("KBMP", "Right", "", kMaxText) != "1";
  pane.height = number("Height");
  pane.width = number("Width");
  pane.columns = WidthsOf(ReadNumbers(lookup, kBookmarkColumns));
}

void ReadOptions(const ProfileLookup& lookup, Options& options) {
  // "Z" is no digit: a file without the key leaves all options as they are built in.
  SetOptionDigits(lookup("KAS", "KGP1", "Z", kMaxText), options);
  options.code_page_text = lookup("KAS", "CPT", "", kMaxText) == "1";
  options.window_for_each = lookup("KAS", "OWE", "", kMaxText) == "1";
  const std::string sort = lookup("KAS", "DI", "", kMaxText);
  if (sort == "0" || sort == "1") options.sort_new_lists = sort == "1";
}

void ReadColumnChoices(const ProfileLookup& lookup, Settings& settings) {
  for (const ListKindInfo& info : AllListKinds()) {
    const std::string key = "K" + std::to_string(info.kind);
    ColumnChoice choice = ReadColumns(lookup("COLS", key.c_str(), "", kMaxText));
    if (!choice.order.empty()) settings.columns[info.kind] = std::move(choice);
  }
}

void ReadMainWindow(const ProfileLookup& lookup, Settings& settings) {
  SetSides(ReadNumbers(lookup, kMainPlace), settings.main);
  settings.main.columns = WidthsOf(ReadNumbers(lookup, kValueColumns));
  settings.output_columns = WidthsOf(ReadNumbers(lookup, kOutputColumns));
  const Numbers sizes = ReadNumbers(lookup, kPaneSizes);
  settings.tree_width = sizes[0];
  settings.detail_share = sizes[1];
}

// --- writing -------------------------------------------------------------------------------------

// The file that the keys are set in; nothing more is written once that failed.
struct Writer {
  std::string file;
  bool failed = false;
};

// A key that the file does not have reads as an empty text, so none is made for one; one that it
// has loses its text.
void Put(Writer& writer, const char* section, const std::string& key, const std::string& text) {
  if (writer.failed || ReadProfile(writer.file, section, key.c_str(), "", 2 * kMaxText) == text) {
    return;
  }
  writer.failed = !WriteProfile(writer.file, section, key.c_str(), text);
}

void WriteHistory(Writer& writer, const HistoryRow& row, const Histories& histories) {
  const History& history = histories.*row.history;
  for (size_t i = 0; i < kHistoryLength; ++i) {
    const std::string text = i < history.size() ? history[i] : std::string();
    // A name that is cut would name another file.
    const bool whole = row.history != &Histories::recent_files || text.size() <= kMaxText;
    Put(writer, row.section, NumberedKey(row.prefix, i),
        whole ? std::string(FirstUnits(text, row.limit)) : std::string());
  }
}

void WriteFolders(Writer& writer, const Settings& settings) {
  for (size_t i = 0; i < kLastFolders; ++i) {
    const std::string& folder = settings.folders[i];
    Put(writer, "LTDS", NumberedKey("LD", i), folder.size() <= kMaxText ? folder : std::string());
  }
}

void WriteOptions(Writer& writer, const Settings& settings) {
  Put(writer, "KAS", "KGP1", OptionDigits(settings.options));
  Put(writer, "KAS", "FIT", settings.freed_in_tree ? "" : "0");
  Put(writer, "KAS", "COL", kColourWords[static_cast<size_t>(settings.colours)]);
  Put(writer, "KAS", "TB", settings.toolbar ? "" : "0");
  Put(writer, "KAS", "TZ", settings.time_zone);
  Put(writer, "KAS", "DI", settings.options.sort_new_lists ? "1" : "0");
  Put(writer, "KAS", "CPT", settings.options.code_page_text ? "1" : "");
  Put(writer, "KAS", "OWE", settings.options.window_for_each ? "1" : "");
  Put(writer, "KAS", "FPART",
      std::to_string(settings.range_start) + ';' + std::to_string(settings.range_end));
}

void WriteDates(Writer& writer, const DateSettings& dates) {
  Put(writer, "KDATES", "Start", dates.start.substr(0, kMaxDateText));
  Put(writer, "KDATES", "End", dates.end.substr(0, kMaxDateText));
  Put(writer, "KDATES", "Limited", dates.limited ? "1" : "");
  Put(writer, "KDATES", "Freed", dates.freed ? "1" : "");
}

void WriteTimeline(Writer& writer, const TimelineSettings& timeline) {
  Put(writer, "KTIME", "Freed", timeline.freed ? "1" : "");
  Put(writer, "KTIME", "Values", timeline.values ? "1" : "");
  Put(writer, "KTIME", "Hive", timeline.base_block ? "1" : "");
  Put(writer, "KTIME", "Evidence", timeline.decoders ? "1" : "");
  Put(writer, "KTIME", "Logs", timeline.logged ? "1" : "");
}

// Numbers after the given ones are set to 0 where the file has any.
void WriteNumbers(Writer& writer, const NumberRow& row, const Numbers& numbers) {
  const auto count = std::min(numbers.size(), static_cast<size_t>(row.count));
  for (size_t i = 0; i < static_cast<size_t>(row.count); ++i) {
    const std::string key = NumberedKey("w", static_cast<size_t>(row.first) + i);
    const bool had = !ReadProfile(writer.file, row.section, key.c_str(), "", kMaxText).empty();
    if (i < count || had) {
      Put(writer, row.section, key, std::to_string(i < count ? numbers[i] : 0));
    }
  }
}

void WriteBookmarkPane(Writer& writer, const BookmarkPaneSettings& pane) {
  const auto text = [](int number) { return number == 0 ? std::string() : std::to_string(number); };
  Put(writer, "KBMP", "Shown", pane.shown ? "1" : "");
  Put(writer, "KBMP", "Right", pane.below ? "" : "1");
  Put(writer, "KBMP", "Height", text(pane.height));
  Put(writer, "KBMP", "Width", text(pane.width));
  WriteNumbers(writer, kBookmarkColumns, pane.columns);
}

void WriteColumnChoices(Writer& writer, const Settings& settings) {
  for (const ListKindInfo& info : AllListKinds()) {
    const auto choice = settings.columns.find(info.kind);
    Put(writer, "COLS", "K" + std::to_string(info.kind),
        choice == settings.columns.end() ? std::string() : ColumnsAsText(choice->second));
  }
}

void WriteMainWindow(Writer& writer, const Settings& settings) {
  WriteNumbers(writer, kMainPlace, SidesOf(settings.main));
  WriteNumbers(writer, kValueColumns, settings.main.columns);
  WriteNumbers(writer, kOutputColumns, settings.output_columns);
  WriteNumbers(writer, kPaneSizes, {settings.tree_width, settings.detail_share});
}

// Always as many numbers as the row has sides and columns, 0 for what is built in.
void WritePlace(Writer& writer, const PlaceRow& row, const WindowPlace& place) {
  Numbers numbers = SidesOf(place);
  numbers.insert(numbers.end(), place.columns.begin(), place.columns.end());
  numbers.resize(kSides + row.columns);
  std::string text;
  for (const int number : numbers) text += std::to_string(number) + ';';
  text.pop_back();
  Put(writer, "WPOS", row.key, text);
}

// The sections in the order of docs/format.md. False as soon as an entry could not be written:
// nothing after it is.
bool WriteAll(const std::string& file, const Settings& settings) {
  Writer writer = {file};
  for (const HistoryRow& row : kSearchHistories) WriteHistory(writer, row, settings.histories);
  WriteOptions(writer, settings);
  for (const HistoryRow& row : kOtherHistories) WriteHistory(writer, row, settings.histories);
  WriteFolders(writer, settings);
  if (settings.options.save_window_position) WriteMainWindow(writer, settings);
  for (size_t i = 0; i < kPlacedWindows; ++i)
    WritePlace(writer, kWindowPlaces[i], settings.places[i]);
  WriteDates(writer, settings.dates);
  WriteTimeline(writer, settings.timeline);
  WriteBookmarkPane(writer, settings.bookmark_pane);
  WriteColumnChoices(writer, settings);
  return !writer.failed;
}

std::string BesideProgram(const std::string& program, const char* name) {
  return program.substr(0, program.find_last_of("\\/") + 1) + name;
}

}  // namespace

Settings& TheSettings() {
  static Settings settings;
  return settings;
}

Settings& SettingsAsRead() {
  static Settings settings;
  return settings;
}

namespace {

// The entries at the beginning that came, or moved there, since the history was read.
size_t NewEntries(const History& read, const History& ours) {
  // What is old is in the order in which it was read, with gaps where an entry moved to the front.
  const auto is_rest = [&](size_t from) {
    auto at = read.begin();
    for (size_t i = from; i < ours.size(); ++i) {
      at = std::find(at, read.end(), ours[i]);
      if (at == read.end()) return false;
      ++at;
    }
    return true;
  };
  size_t count = 0;
  while (!is_rest(count)) ++count;
  return count;
}

// What was added here goes before what the file has by now.
void TakeOthersHistory(const History& read, const History& file, History& ours) {
  const History added(ours.begin(),
                      ours.begin() + static_cast<std::ptrdiff_t>(NewEntries(read, ours)));
  // What others added or moved; then what came here goes before it again.
  if (file != read) ours = file;
  for (auto at = added.rbegin(); at != added.rend(); ++at) AddToHistory(ours, *at);
}

// What nobody changed here is as others have it.
template <typename Setting>
void TakeOthers(const Setting& read, const Setting& file, Setting& ours) {
  if (ours == read) ours = file;
}

using ColumnChoices = std::map<int, ColumnChoice>;

// Of one kind of list: what another program changed in the file since it was read here is taken
// over. `read` is the state that this one read, `file` what is there now.
void TakeOthersColumns(int kind, const ColumnChoices& read, const ColumnChoices& file,
                       ColumnChoices& ours) {
  const auto of = [kind](const ColumnChoices& choices) {
    const auto found = choices.find(kind);
    return found == choices.end() ? ColumnChoice() : found->second;
  };
  ColumnChoice choice = of(ours);
  TakeOthers(of(read), of(file), choice);
  if (choice.order.empty()) {
    ours.erase(kind);
  } else {
    ours[kind] = std::move(choice);
  }
}

}  // namespace

std::string ColumnsAsText(const ColumnChoice& choice) {
  std::string text;
  for (const int column : choice.order) {
    const bool hidden = std::ranges::find(choice.hidden, column) != choice.hidden.end();
    text += (text.empty() ? "" : ",") + std::to_string(hidden ? -column : column);
  }
  return text;
}

ColumnChoice ReadColumns(std::string_view text) {
  ColumnChoice choice;
  while (!text.empty()) {
    const std::string_view part = text.substr(0, text.find(','));
    text.remove_prefix(std::min(part.size() + 1, text.size()));
    int column = 0;
    const auto [end, error] = std::from_chars(part.data(), part.data() + part.size(), column);
    const bool whole = error == std::errc() && end == part.data() + part.size();
    // One number that is none makes the others doubtful: the list is shown as built in.
    if (!whole || std::abs(column) >= kMaxOwnColumns) return {};
    if (std::ranges::find(choice.order, std::abs(column)) != choice.order.end()) return {};
    choice.order.push_back(std::abs(column));
    if (column < 0) choice.hidden.push_back(-column);
  }
  return choice;
}

ColumnChoice ColumnsFor(const ColumnChoice& choice, int count) {
  ColumnChoice columns = choice;
  const auto none = [count](int column) { return column >= count; };
  std::erase_if(columns.order, none);
  std::erase_if(columns.hidden, none);
  for (int column = 0; column < count; ++column) {
    if (std::ranges::find(columns.order, column) == columns.order.end()) {
      columns.order.push_back(column);
    }
  }
  return columns;
}

// Member by member: a record that was changed on both sides, as a window's place, is ours as a
// whole.
void TakeOthersSettings(const Settings& read, const Settings& file, Settings& ours) {
  const auto join = [&](const HistoryRow& row) {
    TakeOthersHistory(read.histories.*row.history, file.histories.*row.history,
                      ours.histories.*row.history);
  };
  std::ranges::for_each(kSearchHistories, join);
  std::ranges::for_each(kOtherHistories, join);
  for (const OptionRow& row : kOptions) {
    TakeOthers(read.options.*row.option, file.options.*row.option, ours.options.*row.option);
  }
  const auto take = [&](auto member) { TakeOthers(read.*member, file.*member, ours.*member); };
  TakeOthers(read.options.sort_new_lists, file.options.sort_new_lists, ours.options.sort_new_lists);
  TakeOthers(read.options.code_page_text, file.options.code_page_text, ours.options.code_page_text);
  TakeOthers(read.options.window_for_each, file.options.window_for_each,
             ours.options.window_for_each);
  for (size_t i = 0; i < kLastFolders; ++i) {
    TakeOthers(read.folders[i], file.folders[i], ours.folders[i]);
  }
  for (size_t i = 0; i < kPlacedWindows; ++i) {
    TakeOthers(read.places[i], file.places[i], ours.places[i]);
  }
  for (const ListKindInfo& info : AllListKinds()) {
    TakeOthersColumns(info.kind, read.columns, file.columns, ours.columns);
  }
  take(&Settings::freed_in_tree);
  take(&Settings::colours);
  take(&Settings::toolbar);
  take(&Settings::time_zone);
  take(&Settings::range_start);
  take(&Settings::range_end);
  take(&Settings::dates);
  take(&Settings::timeline);
  take(&Settings::bookmark_pane);
  take(&Settings::main);
  take(&Settings::output_columns);
  take(&Settings::tree_width);
  take(&Settings::detail_share);
}

void AddToHistory(History& history, const std::string& text) {
  if (text.empty()) return;
  std::erase(history, text);
  history.insert(history.begin(), text);
  history.resize(std::min(history.size(), kHistoryLength));
}

PlacedWindow PlaceOfListKind(int kind) {
  return static_cast<PlacedWindow>(FindListKind(kind).window);
}

void ReadSettings(const ProfileLookup& lookup, Settings& settings) {
  settings = Settings();
  for (const HistoryRow& row : kSearchHistories) ReadHistory(lookup, row, settings.histories);
  for (const HistoryRow& row : kOtherHistories) ReadHistory(lookup, row, settings.histories);
  ReadOptions(lookup, settings.options);
  ReadRange(lookup, settings);
  ReadDates(lookup, settings.dates);
  ReadTimeline(lookup, settings.timeline);
  ReadBookmarkPane(lookup, settings.bookmark_pane);
  ReadColumnChoices(lookup, settings);
  settings.freed_in_tree = lookup("KAS", "FIT", "", kMaxText) != "0";
  settings.colours = ColoursFromText(lookup("KAS", "COL", "", kMaxText));
  settings.toolbar = lookup("KAS", "TB", "", kMaxText) != "0";
  settings.time_zone = TextOfEither(lookup("KAS", "TZ", "", kMaxText));
  for (size_t i = 0; i < kLastFolders; ++i) {
    settings.folders[i] = TextOfEither(lookup("LTDS", NumberedKey("LD", i).c_str(), "", kMaxText));
  }
  ReadMainWindow(lookup, settings);
  for (size_t i = 0; i < kPlacedWindows; ++i)
    ReadPlace(lookup, kWindowPlaces[i], settings.places[i]);
}

void ReadSettings(const std::string& file, Settings& settings) {
  ReadSettings([&file](const char* section, const char* key, const char* missing,
                       size_t limit) { return ReadProfile(file, section, key, missing, limit); },
               settings);
}

bool WriteSettings(const std::string& file, const Settings& settings) {
  return ChangeFile(file, [&](const std::string& copy) { return WriteAll(copy, settings); });
}

std::string OptionDigits(const Options& options) {
  std::string digits;
  for (const OptionRow& row : kOptions) digits += options.*row.option ? '1' : '0';
  return digits;
}

void SetOptionDigits(std::string_view digits, Options& options) {
  const size_t count = std::min(digits.size(), std::size(kOptions));
  for (size_t i = 0; i < count; ++i) {
    const OptionRow& row = kOptions[i];
    if (row.read && (digits[i] == '0' || digits[i] == '1')) options.*row.option = digits[i] == '1';
  }
}

std::string FolderOfFiles(const std::string& program, bool writable, const std::string& profile) {
  if (writable || profile.empty()) return BesideProgram(program, "");
  return profile + "\\Hivequarry\\";
}

std::string SettingsFileOf(const std::string& program) {
  return BesideProgram(program, "hivequarry.ini");
}

std::string BookmarkFileOf(const std::string& program) {
  return BesideProgram(program, "hivequarrybm.txt");
}

}  // namespace hivequarry

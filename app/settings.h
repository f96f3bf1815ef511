// The settings: what the program remembers from one run to the next, in the profile file beside it.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace hivequarry {

inline constexpr size_t kHistoryLength = 7;
// Newest first, at most kHistoryLength texts, none empty, none twice.
using History = std::vector<std::string>;
// Puts a text first; one that is there already moves there.
void AddToHistory(History& history, const std::string& text);

// Texts that the user typed or chose, by the dialog that owns them. UTF-8,
// here and in the file; a file of earlier versions may have them in the code page.
struct Histories {
  History search_texts;         // search in a hive: text           ("FTSC", 64 characters)
  History registry_texts;       // search of the live registry: text    ("RTSC", 64)
  History search_bytes;         // search in a hive: hexadecimal    ("FTSH", 130)
  History registry_bytes;       // search of the live registry: hexadecimal ("RTSH", 130)
  History sids = {"S-1-5-18"};  // SIDs asked for in security lists ("CBSIDS", 519)
  History list_finds;           // "Find in List", and find in the tree ("FILS", 63)
  History recent_files;         // hives opened last: paths         ("LTFS", 519)
  bool operator==(const Histories&) const = default;
};

// Folders of the file dialogs ("LTDS"), UTF-8, without a separator at the end; empty for none.
enum LastFolder : int {
  kFolderHives,
  kFolderTexts,
  kFolderReports,
  kFolderScripts,
  kFolderBackups,
  kLastFolders
};

// The colours of windows; the system's high contrast is followed whatever is chosen.
enum class ColourChoice : uint8_t { kSystem, kLight, kDark };

// Option flags; the members' values are the built-in ones. Where a comment names a place, it is
// that of the digit in "KGP1".
struct Options {
  bool no_access_keys = true;         // 7 (and 0): list also keys that may not be read
  bool backup_folder_by_date = true;  // 1
  bool technical_view = false;        // 2, never read
  bool number_rows = false;           // 3: rows of new lists begin with their number
  bool wrap_find = true;              // 4: finding goes on at the other end of a list
  bool detail_pane = true;            // 5
  bool save_window_position = true;   // 6
  bool file_offsets = false;          // 8: lists of keys show file positions too
  bool recovered_keys = false;        // 9: export, merge and compare recovered keys too
  bool ask_other_roots = true;        // 10: offer further hives of a file in windows of their own
  bool resolve_sids = true;           // 11
  bool tolerant_keys = true;          // 12: accept keys whose signature is damaged
  bool export_security = false;       // 13
  bool disconnected_values = true;    // 14
  bool cell_details = false;          // 15, never read
  bool sort_new_lists = true;         // "DI": a filled list is put in order of its first column
  bool code_page_text = false;        // "CPT": names and texts as the code page has them
  bool window_for_each = false;       // "OWE": a second hive is opened in a window of its own
  bool operator==(const Options&) const = default;
};

// A window's place and its list's columns, in pixels at 96 dpi. All 0: the built-in layout. A place
// that no screen has (sides in the wrong order, numbers beyond 20000) reads as built-in, and so
// does a width that is negative or beyond 10000.
inline constexpr size_t kPlaceColumns = 18;
struct WindowPlace {
  int left = 0;
  int top = 0;
  int right = 0;
  int bottom = 0;
  bool maximised = false;
  std::vector<int> columns;  // widths; fewer than the list has, or 0: built-in
  int list_kind = 0;  // of the list with these columns, as lists of several kinds share a place
  bool operator==(const WindowPlace&) const = default;
};
// False for the built-in layout.
inline bool IsPlaced(const WindowPlace& place) {
  return place.right > place.left && place.bottom > place.top;
}

// The windows whose places the section "WPOS" keeps, in the order of its keys.
enum PlacedWindow : int {
  kPlaceSearch,          // "WPS02": search results
  kPlaceRegistrySearch,  // "WPS04"
  kPlaceCompare,         // "WPS06"
  kPlaceKeyDates,        // "WPS08"
  kPlaceBlocks,          // "WPS10": the block list, 9 numbers
  kPlaceSecurityLists,   // "WPS12": lists of security records and their keys
  kPlaceReports,         // "WPS16": special reports
  kPlaceErrors,          // "WPS18": error lists
  kPlacePieces,          // "WPS20": block runs and roots
  kPlaceOtherLists,      // "WPS22"
  kPlacedWindows
};
// Where a list window of that kind has its place.
PlacedWindow PlaceOfListKind(int kind);

// What the dialog of key dates begins with ("KDATES"). Texts are kept as they were typed.
inline constexpr size_t kMaxDateText = 63;
struct DateSettings {
  std::string start;  // as the dialog has it; empty: never used
  std::string end;
  bool limited = false;  // only keys of that range are listed
  bool freed = false;    // freed keys too
  bool operator==(const DateSettings&) const = default;
};

// What the dialog of timelines begins with ("KTIME"): what is added to the last writes of keys.
struct TimelineSettings {
  bool freed = false;       // freed keys
  bool values = false;      // times in values
  bool base_block = false;  // times of the base block
  bool decoders = false;    // times that decoded evidence tells
  bool logged = false;      // keys that only pages of logs have
  bool operator==(const TimelineSettings&) const = default;
};

// The pane of bookmarks ("KBMP").
struct BookmarkPaneSettings {
  bool shown = false;
  bool below = true;         // the other panes; else at their right
  int height = 0;            // where it is below, pixels at 96 dpi; 0: built-in
  int width = 0;             // likewise where it is at the right
  std::vector<int> columns;  // "w50"...; fewer than there are, or 0: built-in
  bool operator==(const BookmarkPaneSettings&) const = default;
};
// What the user made of the columns of lists of a kind ("COLS", "K" and the kind's number): columns
// by their numbers, as they are shown from left to right, and which of them are not.
struct ColumnChoice {
  std::vector<int> order;
  std::vector<int> hidden;  // numbers of columns, a part of `order`
  bool operator==(const ColumnChoice&) const = default;
};
// "2,0,-1": the second one is the last, and hidden. The first column never is. A text that has
// anything else in it, or a column twice, is no choice.
std::string ColumnsAsText(const ColumnChoice& choice);
ColumnChoice ReadColumns(std::string_view text);
// For a list of so many columns: those that the choice does not know come last.
ColumnChoice ColumnsFor(const ColumnChoice& choice, int count);

// All that the program keeps in its file.
struct Settings {
  Histories histories;
  std::array<std::string, kLastFolders> folders;
  Options options;
  bool freed_in_tree = true;                     // deleted keys are in the tree ("KAS", "FIT")
  ColourChoice colours = ColourChoice::kSystem;  // "KAS", "COL": "light", "dark"; empty: kSystem
  bool toolbar = true;                           // the main window has its toolbar ("KAS", "TB")
  std::string time_zone;     // of dates, as ZoneAsText has it; empty: UTC ("KAS", "TZ")
  uint32_t range_start = 0;  // the last partial load ("FPART")
  uint32_t range_end = 0;
  DateSettings dates;
  TimelineSettings timeline;
  BookmarkPaneSettings bookmark_pane;
  WindowPlace main;  // "WPS1"; its columns are those of the value pane ("WPS2")
  std::map<int, ColumnChoice>
      columns;                      // by list kind; none for a kind whose columns are as built in
  std::vector<int> output_columns;  // of the Output List pane ("WPS3")
  int tree_width = 0;               // "w40", at 96 dpi; 0: built-in
  int detail_share = 0;             // "w41": of the right side's height, in 1/10000; 0: built-in
  std::array<WindowPlace, kPlacedWindows> places;
  bool operator==(const Settings&) const = default;
};

// Those of the running program, made when first asked for; the interface thread's alone.
Settings& TheSettings();
// As the file had them when they were last read or written.
Settings& SettingsAsRead();

// Reads the profile file at `file` (UTF-8 name) over the built-in values. Nothing in the file can
// make it fail: what can't be read stays as it is built in.
void ReadSettings(const std::string& file, Settings& settings);
// The same from anything that looks keys up as ReadProfile (host/profile.h) does.
using ProfileLookup = std::function<std::string(const char* section, const char* key,
                                                const char* missing, size_t limit)>;
void ReadSettings(const ProfileLookup& lookup, Settings& settings);
// Several windows and copies of the program share the file, and each writes it at its end. `ours`
// gets what others have put into the file since it was read, but for what changed here too: of
// histories the new entries of both, ours first.
void TakeOthersSettings(const Settings& read, const Settings& file, Settings& ours);
// Writes all of it, keeping what else the file holds. The main window's place and its panes' sizes
// ("WPS1" to "WPS4") are left as the file has them when save_window_position is off. A failure
// leaves the old file whole: the new one is made beside it and takes its place at the end. False on
// failure.
bool WriteSettings(const std::string& file, const Settings& settings);

// The sixteen digits of "KGP1", and back: places after the end of `digits` and anything that is no
// digit leave their options as they are.
std::string OptionDigits(const Options& options);
// Digits other than 0 and 1 are no digits here.
void SetOptionDigits(std::string_view digits, Options& options);

// Where the program's files are: beside it where they can be written there, else in a folder of
// their own in the user's profile. `profile` is the folder for settings there, empty where the
// system names none; then they are beside the program all the same. Ends with a separator.
std::string FolderOfFiles(const std::string& program, bool writable, const std::string& profile);
// "hivequarry.ini" in the folder of the program at `program` (UTF-8 path), and its like.
std::string SettingsFileOf(const std::string& program);
std::string BookmarkFileOf(const std::string& program);

}  // namespace hivequarry

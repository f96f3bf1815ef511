// The kinds of lists, one record each: all that the program knows of a kind is in its record, and
// whoever asks for the number of a kind reads it there (list_kinds.cpp).
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace hivequarry {

inline constexpr int kMaxColumns = 18;      // of a list of results
inline constexpr int kMaxTextColumns = 17;  // its text output leaves the 18th out
inline constexpr int kMaxOwnColumns = 56;   // of the console program's own lists

// Numbers of kinds. Report Lists and saved window places keep them, so that none ever changes. From
// kFirstOwnKind on they are the console program's own lists, for which the limits of results don't
// hold.
inline constexpr int kListSearch = 5;
inline constexpr int kListLiveSearch = 6;
inline constexpr int kListCompare = 7;
inline constexpr int kListKeyDates = 11;
inline constexpr int kListValueErrors = 15;  // values that a script could not hold
inline constexpr int kListProgIds = 25;
inline constexpr int kListKeyFiles = 26;
inline constexpr int kListLiveKeyFiles = 27;
inline constexpr int kListClasses = 28;
inline constexpr int kListUninstall = 29;
inline constexpr int kListLiveUninstall = 30;
inline constexpr int kListFiles = 31;
inline constexpr int kListLiveFiles = 32;
inline constexpr int kListOpenWith = 33;
inline constexpr int kListRootKeys = 38;
inline constexpr int kListSecurityScan = 39;
inline constexpr int kListCountKeys = 41;
inline constexpr int kListLiveCountKeys = 42;
inline constexpr int kListServices = 44;
inline constexpr int kListKeyOwners = 45;
inline constexpr int kListSecurityKeys = 46;
inline constexpr int kListUsedRecords = 47;
inline constexpr int kListRecordKeys = 48;
inline constexpr int kListAces = 49;
inline constexpr int kListPieces = 55;
inline constexpr int kListOpenSaveMru = 56;
inline constexpr int kListStreamMru = 57;
inline constexpr int kListErrors = 80;  // keys and values that an operation could not treat
inline constexpr int kFirstOwnKind = 100;
inline constexpr int kListInfo = 100;
inline constexpr int kListTree = 101;
inline constexpr int kListValues = 102;
inline constexpr int kListDetail = 103;
inline constexpr int kListBins = 104;
inline constexpr int kListRawRecord = 105;
inline constexpr int kListEdits = 106;
inline constexpr int kListLocalGroups = 107;
inline constexpr int kListFreedKeys = 108;
inline constexpr int kListFreedValues = 109;
inline constexpr int kListLogs = 110;
inline constexpr int kListLogChanges = 111;
inline constexpr int kListLogRecords = 112;
inline constexpr int kListCheck = 113;
inline constexpr int kListRepair = 141;
inline constexpr int kListMachine = 142;
inline constexpr int kListCarved = 147;
inline constexpr int kListWhoMayWrite = 150;
inline constexpr int kListHiveCompare = 114;
inline constexpr int kListTimeline = 115;

// True for the console program's own lists.
inline bool IsOwnKind(int kind) { return kind >= kFirstOwnKind; }
// The most columns that a list of a kind has, and that a file keeps of it.
inline int MostColumns(int kind) { return IsOwnKind(kind) ? kMaxOwnColumns : kMaxColumns; }

enum class SortMode : uint8_t {
  kText,    // by the system's capitals; texts that differ in case alone keep their order
  kLength,  // of the text
  kNumber,  // the text's leading decimal number
  kDate,    // its numbers one after another: year, month, day, hour ...
  kLevel,   // nesting level of a key path
  kIcon,    // the rows' icon index; the column does not matter
};

// What the cells of a column are, whatever their texts look like.
enum class CellHolds : uint8_t {
  kText,
  kName,      // of a key or value, or a path of such, as it is displayed: escapes are in it
  kPosition,  // in the hive or in the file
  kNumber,    // decimal, a number in JSON Lines too
  kCount,     // decimal, a text in JSON Lines
  kFlag,      // 0 or 1, in JSON Lines false or true
  kDate,

  kOwner,    // SID of an owner
  kTrustee,  // SID that an access list entry is for
};

// What a column's width is made of (list_columns.h has the units in pixels).
enum class WidthUnit : uint8_t { kText, kDate, kType };

// A column's title is also the name of its member in JSON Lines.
struct KindColumn {
  const char* title;
  WidthUnit unit = WidthUnit::kText;
  int thirds = 2;  // of the text unit
  // Of a list's columns the one with the highest rank, the first among equals, takes what the
  // others leave. Those with a rank become narrower where room is short.
  int rank = 1;
  SortMode sort = SortMode::kText;  // a click on its header
  CellHolds holds = CellHolds::kText;
};

// Windows of one family share a saved place.
enum class WindowFamily : uint8_t {
  kSearch,
  kLiveSearch,
  kCompare,
  kKeyDates,
  kBlocks,
  kSecurity,
  kReports,
  kErrors,
  kPieces,
  kOther,
  kCount
};

// What the help says of the list.
enum class ListHelp : uint8_t {
  kOutputLists,
  kSearch,
  kCompare,
  kKeyDates,
  kMainWindow,
  kSecurity,
  kReports,
  kFreed,
  kCheck,
  kTimeline,
  kCount
};

// What a row's datum, a position in the image, is.
enum class RowLeads : uint8_t {
  kItem,            // a key or value, which the tree shows
  kSecurityRecord,  // a security record
  kField,           // what a record's field leads to, or the field: opened as a record
};

// What the rows are about: the further commands that mean something for them. A set, a bit each.
enum class ListAbout : uint16_t {
  kAnything = 0,
  kPieces = 1,     // runs of blocks
  kRoots = 2,      // root cells
  kSecurity = 4,   // security records and the keys that use them
  kClasses = 8,    // class registrations
  kKeys = 16,      // keys found in a hive
  kRecord = 32,    // the fields of a record
  kCompared = 64,  // differences from the registry
  kLogs = 128,     // entries of logs, or what these did
  kFaults = 256,   // what is wrong with a record
};
constexpr ListAbout operator|(ListAbout a, ListAbout b) {
  return static_cast<ListAbout>(static_cast<uint16_t>(a) | static_cast<uint16_t>(b));
}

// Constant, and so are the texts.
struct ListKindInfo {
  int kind;                             // kList...
  const char* title;                    // of a list, until SetListTitle gives it its own
  std::span<const KindColumn> columns;  // in order, as shown
  WindowFamily window = WindowFamily::kOther;
  ListHelp help = ListHelp::kOutputLists;
  RowLeads leads = RowLeads::kItem;
  ListAbout about = ListAbout::kAnything;
};
// An unknown kind has the title "Output List" and no columns.
const ListKindInfo& FindListKind(int kind);
std::span<const ListKindInfo> AllListKinds();

// True when a kind is about one of these things; every kind is about anything.
bool IsListAbout(ListAbout about, int kind);
// False for lists of the live registry, and of what went wrong with it.
bool IsOfHive(int kind);
// What the cells of a column hold in lists of a kind; text after the kind's own columns.
CellHolds HoldsOf(const ListKindInfo& info, int column);

// Columns that some lists get after those of their kind (AddColumns in output_list.h).
inline constexpr const char* kFileOffsetTitle = "File Offset";
inline constexpr const char* kDetailsTitle = "Details";
inline constexpr const char* kPlaceTitle = "Place";
inline constexpr const char* kStateTitle = "State";
inline constexpr const char* kRemovedByTitle = "Removed By";
inline constexpr const char* kAccessTitle = "Access";
inline constexpr const char* kLinkTitle = "Link Target";
inline constexpr const char* kLayerTitle = "From Layer";
// The record of such a column; for any other title that of a column of which nothing is known.
const KindColumn& FurtherColumn(std::string_view title);

}  // namespace hivequarry

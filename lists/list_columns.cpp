#include "lists/list_columns.h"

#include <algorithm>
#include <iterator>
#include <numeric>
#include <string_view>

namespace hivequarry {
namespace {

constexpr int kOtherWidth = 160;  // of a column that no kind knows

enum class Unit : uint8_t { kText, kDate, kType };

// The width of the columns of a title: a unit, or so many thirds of the text unit. Of a list's
// columns the one with the highest rank, the first among equals, takes what the others leave.
struct TitleWidth {
  std::string_view title;
  Unit unit;
  int thirds;
  int rank;
};

constexpr TitleWidth kTitles[] = {
    // Dates.
    {"Key Date", Unit::kDate, 0, 0},
    {"Key date ProgID", Unit::kDate, 0, 0},
    {"Date extracted", Unit::kDate, 0, 0},
    {"Modified", Unit::kDate, 0, 0},
    {"Created", Unit::kDate, 0, 0},
    {"Accessed", Unit::kDate, 0, 0},
    {"Date of associated Stream Key", Unit::kDate, 0, 0},
    // Value types, and what is about as long.
    {"Type", Unit::kType, 0, 0},
    {"Type in file", Unit::kType, 0, 0},
    // Positions: "0x00001020", some with the decimal number after.
    {"Key Offset", Unit::kText, 5, 0},
    {"Value Offset", Unit::kText, 5, 0},
    {"File Offset", Unit::kText, 4, 0},
    {"Start Offset", Unit::kText, 6, 1},
    {"End Offset", Unit::kText, 6, 1},
    {"Security Record", Unit::kText, 5, 0},
    {"ACE", Unit::kText, 5, 0},
    {"Next", Unit::kText, 3, 0},
    {"Previous", Unit::kText, 3, 0},
    {"Position", Unit::kText, 4, 0},
    {"Own Offset", Unit::kText, 4, 0},
    {"Parent Offset", Unit::kText, 5, 0},
    // Counts and short words.
    {"Size", Unit::kText, 3, 0},
    {"Length", Unit::kText, 2, 0},
    {"Data length", Unit::kText, 3, 0},
    {"Keys", Unit::kText, 2, 0},
    {"Values", Unit::kText, 3, 0},
    {"Values found", Unit::kText, 4, 0},
    {"ACEs", Unit::kText, 2, 0},
    {"ACE count", Unit::kText, 3, 0},
    {"Runs", Unit::kText, 2, 0},
    {"Focus Count", Unit::kText, 3, 0},
    {"Focus Time (ms)", Unit::kText, 4, 0},
    {"Start", Unit::kText, 3, 0},
    {"Group", Unit::kText, 4, 0},
    {"Flags", Unit::kText, 5, 0},
    {"Valid Root", Unit::kText, 4, 0},
    {"Dos Name", Unit::kText, 3, 0},
    {"Status", Unit::kText, 4, 0},
    {"Place", Unit::kText, 5, 0},
    {"Marks", Unit::kText, 2, 0},
    {"Connected", Unit::kText, 4, 0},
    // Names.
    {"Owner Account", Unit::kText, 5, 2},
    {"Group Account", Unit::kText, 4, 1},
    {"Account", Unit::kText, 5, 2},
    {"Owner name", Unit::kText, 6, 0},
    {"Owner Domain", Unit::kText, 4, 0},
    {"Owner Sid", Unit::kText, 7, 1},
    {"Group Sid", Unit::kText, 6, 1},
    {"Sid", Unit::kText, 7, 1},
    {"KeyName", Unit::kText, 5, 0},
    {"Value", Unit::kText, 5, 1},
    {"Rot13-Value", Unit::kText, 6, 2},
    {"Display Name", Unit::kText, 6, 2},
    {"CLSID Name", Unit::kText, 5, 1},
    {"InprocServer", Unit::kText, 4, 1},
    {"Root", Unit::kText, 6, 1},
    {"Field", Unit::kText, 6, 0},
    // Long texts.
    {"Key", Unit::kText, 8, 4},
    {"Path stored in Data", Unit::kText, 8, 6},
    {"File", Unit::kText, 6, 5},
    {"File/Folder", Unit::kText, 6, 3},
    {"Registry", Unit::kText, 9, 3},
    {"Imagepath", Unit::kText, 5, 5},
    {"Description", Unit::kText, 4, 3},
    {"InprocServer32", Unit::kText, 6, 5},
    {"Open with", Unit::kText, 9, 5},
    {"Uninstall String", Unit::kText, 8, 5},
    {"Classname", Unit::kText, 7, 3},
    {"Permissions", Unit::kText, 8, 5},
    {"Error", Unit::kText, 7, 5},
    {"Data", Unit::kText, 7, 5},
    {"Data in file", Unit::kText, 7, 2},
    {"Text", Unit::kText, 8, 5},
    {"Bytes", Unit::kText, 7, 2},
    {"Meaning", Unit::kText, 8, 5},
    {"Leads to", Unit::kText, 5, 0},
    {"Details", Unit::kText, 5, 1},
};
constexpr TitleWidth kOtherTitle = {"", Unit::kText, 2, 1};

// Where a kind has a title otherwise.
struct KindTitle {
  int kind;
  TitleWidth width;
};
constexpr KindTitle kKindTitles[] = {
    // What was found is told by its path.
    {5, {"Data", Unit::kText, 7, 3}},
    {6, {"Data", Unit::kText, 7, 3}},
    {7, {"File", Unit::kText, 7, 3}},
    {7, {"Registry", Unit::kText, 7, 3}},
    {39, {"Owner Sid", Unit::kText, 6, 1}},
    {45, {"Owner Sid", Unit::kText, 9, 1}},
    {45, {"Owner Account", Unit::kText, 7, 2}},
    {46, {"Key", Unit::kText, 8, 6}},
    {49, {"Type", Unit::kText, 2, 0}},
    {49, {"Flags", Unit::kText, 8, 0}},
    {kListLocalGroups, {"Name", Unit::kText, 9, 5}},
    {kListLocalGroups, {"Domain", Unit::kText, 6, 0}},
    {kListLocalGroups, {"Identifier", Unit::kText, 4, 0}},
    // Entries that only the end of their path tells apart.
    {kListValues, {"Key", Unit::kText, 12, 4}},
    {kListFreedValues, {"Key", Unit::kText, 12, 4}},
    {26, {"Key", Unit::kText, 11, 4}},
    {26, {"File/Folder", Unit::kText, 9, 3}},
    {27, {"Key", Unit::kText, 11, 4}},
    {27, {"File/Folder", Unit::kText, 9, 3}},
    {31, {"File/Folder", Unit::kText, 10, 3}},
    {32, {"File/Folder", Unit::kText, 10, 3}},
    {28, {"Key", Unit::kText, 8, 6}},
    {29, {"Key", Unit::kText, 16, 4}},
    {30, {"Key", Unit::kText, 16, 4}},
    {44, {"Key", Unit::kText, 8, 6}},
    {44, {"Display Name", Unit::kText, 5, 2}},
    {44, {"Group", Unit::kText, 3, 0}},
    {44, {"Description", Unit::kText, 3, 1}},
    // Runs of blocks show their size as they do their positions.
    {55, {"Size", Unit::kText, 6, 0}},
};

const TitleWidth& FindTitle(int kind, std::string_view title) {
  for (const KindTitle& known : kKindTitles) {
    if (known.kind == kind && known.width.title == title) return known.width;
  }
  const auto* found = std::find_if(std::begin(kTitles), std::end(kTitles),
                                   [&](const TitleWidth& known) { return known.title == title; });
  return found == std::end(kTitles) ? kOtherTitle : *found;
}

int FixedWidth(const TitleWidth& title, const WidthUnits& units) {
  if (title.unit == Unit::kDate) return units.date;
  return title.unit == Unit::kType ? units.type : title.thirds * units.text / 3;
}

// Further columns may be after those of the kind.
bool HasOwnColumns(const OutputList& list) {
  const ListKindInfo& info = FindListKind(ListKindOf(list));
  if (info.columns.empty() || std::ssize(info.columns) > ColumnCount(list)) return false;
  int column = 0;
  return std::ranges::all_of(
      info.columns, [&](std::string_view title) { return ColumnTitle(list, column++) == title; });
}

struct Columns {
  std::vector<int> widths;
  std::vector<int> ranks;
};

// What the other columns leave for one of them.
int RoomFor(const Columns& all, size_t column, const WidthUnits& units) {
  const int taken = std::accumulate(all.widths.begin(), all.widths.end(), 0);
  return units.client - units.scroll_bar - (taken - all.widths[column]);
}

// Gives all columns of long texts, which are those with a rank, an equal share of what the columns
// without one leave.
void NarrowTexts(Columns& all, const WidthUnits& units) {
  int room = units.client - units.scroll_bar;
  int texts = 0;
  for (size_t column = 0; column < all.widths.size(); ++column) {
    if (all.ranks[column] == 0) room -= all.widths[column];
    if (all.ranks[column] > 0) ++texts;
  }
  for (size_t column = 0; column < all.widths.size(); ++column) {
    if (all.ranks[column] > 0) all.widths[column] = std::max(room / texts, units.text / 3);
  }
}

}  // namespace

std::vector<int> ColumnWidths(const OutputList& list, const WidthUnits& units) {
  const auto columns = static_cast<size_t>(ColumnCount(list));
  if (columns == 0 || !HasOwnColumns(list)) return std::vector<int>(columns, kOtherWidth);
  Columns all;
  for (size_t column = 0; column < columns; ++column) {
    const TitleWidth& title =
        FindTitle(ListKindOf(list), ColumnTitle(list, static_cast<int>(column)));
    all.widths.push_back(std::max(FixedWidth(title, units), units.text / 3));
    all.ranks.push_back(title.rank);
  }
  const auto highest = std::max_element(all.ranks.begin(), all.ranks.end());
  const auto rest = static_cast<size_t>(highest - all.ranks.begin());
  if (RoomFor(all, rest, units) < units.text) NarrowTexts(all, units);
  all.widths[rest] = std::max(RoomFor(all, rest, units), units.text / 3);
  return all.widths;
}

}  // namespace hivequarry

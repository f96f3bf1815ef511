// The columns that kinds of lists are made of. Not for use outside this folder.
#pragma once

#include "lists/list_kinds.h"

namespace hivequarry::kind_columns {

// Widths are thirds of the text unit.
constexpr KindColumn Text(const char* title, int thirds, int rank = 0) {
  return {title, WidthUnit::kText, thirds, rank};
}
// What a column holds decides how it sorts, how JSON Lines write it and whether its cells have
// escapes already.
constexpr KindColumn Held(KindColumn column, CellHolds holds, SortMode sort = SortMode::kText) {
  column.holds = holds;
  column.sort = sort;
  return column;
}
// Positions have eight digits, so that their texts sort as numbers do.
constexpr KindColumn Position(const char* title, int thirds, int rank = 0) {
  return Held(Text(title, thirds, rank), CellHolds::kPosition);
}
constexpr KindColumn Number(const char* title, int thirds, int rank = 0) {
  return Held(Text(title, thirds, rank), CellHolds::kNumber, SortMode::kNumber);
}
constexpr KindColumn Count(const char* title, int thirds) {
  return Held(Text(title, thirds), CellHolds::kCount, SortMode::kNumber);
}
constexpr KindColumn Date(const char* title) {
  return {title, WidthUnit::kDate, 0, 0, SortMode::kDate, CellHolds::kDate};
}
// Value types, and what is about as long.
constexpr KindColumn Type(const char* title) { return {title, WidthUnit::kType, 0, 0}; }
// The same column with another width.
constexpr KindColumn Wide(KindColumn column, int thirds, int rank) {
  column.unit = WidthUnit::kText;
  column.thirds = thirds;
  column.rank = rank;
  return column;
}

constexpr KindColumn kKeyDate = Date("Key Date");
constexpr KindColumn kType = Type("Type");

constexpr KindColumn kKeyOffset = Position("Key Offset", 5);
constexpr KindColumn kValueOffset = Position("Value Offset", 5);
constexpr KindColumn kParentOffset = Position("Parent Offset", 5);
constexpr KindColumn kSecurityRecord = Position("Security Record", 5);

constexpr KindColumn kFocusCount = Number("Focus Count", 3);
constexpr KindColumn kFocusTime = Number("Focus Time (ms)", 4);
constexpr KindColumn kRuns = Number("Runs", 2);
constexpr KindColumn kGroup = Text("Group", 4);
constexpr KindColumn kControlSet = Text("Control Set", 4);
constexpr KindColumn kFlags = Text("Flags", 5);
constexpr KindColumn kStatus = Text("Status", 4);
constexpr KindColumn kPlace = Text(kPlaceTitle, 5);

constexpr KindColumn kAccount = Text("Account", 5, 2);
constexpr KindColumn kOwnerAccount = Text("Owner Account", 5, 2);
constexpr KindColumn kOwnerDomain = Text("Owner Domain", 4);
constexpr KindColumn kOwnerSid = Held(Text("Owner Sid", 7, 1), CellHolds::kOwner);
constexpr KindColumn kSid = Text("Sid", 7, 1);
constexpr KindColumn kValue = Held(Text("Value", 5, 1), CellHolds::kName);
constexpr KindColumn kRot13Value = Text("Rot13-Value", 6, 2);
constexpr KindColumn kDisplayName = Text("Display Name", 6, 2);
constexpr KindColumn kRoot = Text("Root", 6, 1);
constexpr KindColumn kField = Text("Field", 6);

constexpr KindColumn kKey = Held(Text("Key", 8, 4), CellHolds::kName);
constexpr KindColumn kFile = Text("File", 6, 5);
constexpr KindColumn kFileOrFolder = Text("File/Folder", 6, 3);
constexpr KindColumn kRegistry = Text("Registry", 9, 3);
constexpr KindColumn kDescription = Text("Description", 4, 3);
constexpr KindColumn kError = Text("Error", 7, 5);
constexpr KindColumn kData = Text("Data", 7, 5);

}  // namespace hivequarry::kind_columns

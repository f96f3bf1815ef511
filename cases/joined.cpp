#include "cases/joined.h"

#include <algorithm>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "host/case.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "lists/list_rows.h"

namespace hivequarry {
namespace {

using Names = std::vector<std::string>;

// "a, b": each by itself.
Names PartsOf(std::string_view text) {
  Names parts;
  while (!text.empty()) {
    const size_t end = std::min(text.find(", "), text.size());
    if (end != 0) parts.emplace_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 2, text.size()));
  }
  return parts;
}

// A serial that the device has: those that the system made up have an "&" as their second
// character, and say nothing of the device.
Names SerialsOf(std::string_view text) {
  if (text.size() < 2 || text[1] == '&') return {};
  return {std::string(text.substr(0, text.rfind('&')))};
}

// The path of a command line, in capitals: up to the closing quote, else up to the first of the
// known endings, else all of it. A name without a folder says too little to join by.
Names PathsOf(std::string_view text) {
  if (text.starts_with("\\??\\")) text.remove_prefix(4);
  if (text.starts_with('"')) {
    text.remove_prefix(1);
    text = text.substr(0, text.find('"'));
  }
  const std::string capitals = CapitalsOfText(text);
  size_t end = capitals.size();
  for (const char* ending : {".EXE", ".DLL", ".SYS"}) {
    const size_t at = capitals.find(ending);
    if (at != std::string::npos) end = std::min(end, at + 4);
  }
  const std::string path = capitals.substr(0, end);
  return path.find('\\') == std::string::npos ? Names() : Names{path};
}

// A column of a decoder's list whose cells name things of a kind; `names` takes them apart.
struct Rule {
  const char* what;
  const char* section;
  const char* column;
  Names (*names)(std::string_view);
};
constexpr Rule kRules[] = {{"device", "usb-devices", "Serial", SerialsOf},
                           {"device", "volumes", "Serial", SerialsOf},
                           {"volume", "usb-devices", "Volumes", PartsOf},
                           {"volume", "volumes", "Volume", PartsOf},
                           {"volume", "volumes", "Names Together", PartsOf},
                           {"user", "files", "User", PartsOf},
                           {"user", "profiles", "User", PartsOf},
                           {"user", "accounts", "User", PartsOf},
                           {"user", "activity", "User", PartsOf},
                           {"program", "user-assist", "Program", PathsOf},
                           {"program", "shim-cache", "Program", PathsOf},
                           {"program", "activity", "Program", PathsOf},
                           {"program", "am-cache", "File", PathsOf},
                           {"program", "mui-cache", "Program", PathsOf},
                           {"program", "autostart", "Command", PathsOf},
                           {"program", "service-files", "File", PathsOf}};

// A row of evidence.
struct Place {
  const HtmlSection* section = nullptr;
  const std::string* file = nullptr;
  const OutputList* list = nullptr;
  uint32_t row = 0;
  auto operator<=>(const Place&) const = default;
};

// By the column's title, as lists of one kind of evidence have it; empty for a list without it.
// Valid as long as the list.
std::string_view CellOf(const Place& place, std::string_view title) {
  for (int column = 0; column < ColumnCount(*place.list); ++column) {
    if (ColumnTitle(*place.list, column) == title) {
      return CellText(*place.list, place.row, column);
    }
  }
  return {};
}

// The first filled cells of the evidence's own, "Title: text; ...".
std::string WordsOf(const Place& place) {
  // Enough to recognise a row by; all of it is in the list that it is from.
  constexpr int kMost = 5;
  std::string words;
  int told = 0;
  for (int column = 0; column < ColumnCount(*place.list) && told < kMost; ++column) {
    const std::string& title = ColumnTitle(*place.list, column);
    if (title == "Note" || title == "State") break;
    const std::string_view text = CellText(*place.list, place.row, column);
    if (text.empty()) continue;
    words += Concat({told++ == 0 ? "" : "; ", title, ": ", text});
  }
  return words;
}

// By what it is and its name in capitals.
// A map, so that the rows come sorted by what and name.
using Joined = std::map<std::pair<std::string_view, std::string>, std::vector<Place>>;

// A row that gives a name twice is one place.
void AddRows(const Rule& rule, const HtmlSection& section, Joined& joined) {
  for (const auto& [file, list] : section.lists) {
    for (uint32_t row = 0; row < RowCount(*list) && !StopRequested(); ++row) {
      const Place place = {&section, &file, list.get(), row};
      for (const std::string& name : rule.names(CellOf(place, rule.column))) {
        std::vector<Place>& places = joined[{rule.what, CapitalsOfText(name)}];
        if (places.empty() || places.back() != place) places.push_back(place);
      }
    }
  }
}

// By two lists at least; two rows of one list are that list's own matter.
bool IsToldTwice(const std::vector<Place>& places) {
  return std::ranges::any_of(places,
                             [&](const Place& place) { return place.list != places.front().list; });
}

// As the list writes it.
std::string_view OffsetOf(const Place& place) {
  const std::string_view value = CellOf(place, "Value Offset");
  return value.empty() ? CellOf(place, "Key Offset") : value;
}

std::string_view FileOf(const Place& place) {
  return place.file->empty() ? CellOf(place, "File") : *place.file;
}

// What one thing has one of at a time: different ones are a contradiction, or tell of a change.
struct OneOf {
  const char* what;
  const char* column;
};
constexpr OneOf kOneOf[] = {{"program", "SHA-1"}, {"program", "Size"}, {"user", "Folder"}};

// "SHA-1: 12ab... (am-cache, FILE 0x00001020), 34cd... (...)"; empty where the live rows agree. Of
// many rows with one text the first stands for all.
std::string ContradictionIn(const OneOf& rule, const std::vector<Place>& places) {
  // The cell is for reading; how many more there are is said.
  constexpr size_t kMost = 8;
  std::map<std::string, const Place*> texts;
  for (const Place& place : places) {
    const std::string_view text = CellOf(place, rule.column);
    if (!text.empty() && CellOf(place, "State") == "live") {
      texts.emplace(CapitalsOfText(text), &place);
    }
  }
  if (texts.size() < 2) return {};
  std::string words = Concat({rule.column, ": "});
  size_t told = 0;
  for (const auto& [capitals, place] : texts) {
    if (told == kMost)
      return words +
             Concat({", and ", Decimal(static_cast<int64_t>(texts.size() - told)), " more"});
    words += Concat({told++ == 0 ? "" : ", ", CellOf(*place, rule.column), " (", place->section->id,
                     ", ", FileOf(*place), " ", OffsetOf(*place), ")"});
  }
  return words;
}

// A row for each thing of which there can be but one and of which files say different ones.
void AddContradictions(std::string_view what, const std::string& name,
                       const std::vector<Place>& places, OutputList& list) {
  for (const OneOf& rule : kOneOf) {
    if (what != rule.what) continue;
    const std::string words = ContradictionIn(rule, places);
    if (words.empty()) continue;
    AddListRow(list, {what, name, "contradiction", "", "", "", words}, kNoOffset);
  }
}

}  // namespace

OutputListPtr JoinLists(std::span<const HtmlSection> sections) {
  Joined joined;
  for (const Rule& rule : kRules) {
    for (const HtmlSection& section : sections) {
      if (section.id == rule.section) AddRows(rule, section, joined);
    }
  }
  OutputListPtr list = MakeOutputList(kListDetail);
  SetColumns(*list, {"What", "Name", "Evidence", "File", "Offset", "State", "Says"});
  for (const auto& [what_and_name, places] : joined) {
    if (!IsToldTwice(places)) continue;
    for (const Place& place : places) {
      AddListRow(*list,
                 {what_and_name.first, what_and_name.second, place.section->id, FileOf(place),
                  OffsetOf(place), CellOf(place, "State"), WordsOf(place)},
                 kNoOffset);
    }
    AddContradictions(what_and_name.first, what_and_name.second, places, *list);
  }
  return list;
}

}  // namespace hivequarry

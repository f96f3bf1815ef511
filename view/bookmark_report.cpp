#include "view/bookmark_report.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "app/key_paths.h"
#include "hive/file_place.h"
#include "hive/timestamp.h"
#include "hive/values.h"
#include "host/case.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "host/text.h"
#include "lists/list_rows.h"
#include "reports/freed_rows.h"
#include "view/freed_words.h"
#include "view/tree_find.h"
#include "words/item_values.h"
#include "words/value_text.h"
#include "words/why_here.h"

namespace hivequarry {
namespace {

// A bookmark with what it leads to.
struct Mark {
  const Bookmark* bookmark = nullptr;
  const BookmarkedHive* hive = nullptr;
  FoundBookmark found;
};

bool IsFound(const Mark& mark) { return mark.found.state <= BookmarkState::kMoved; }

OutputListPtr ListWith(std::vector<std::string> titles) {
  OutputListPtr list = MakeOutputList(kListDetail);
  SetColumns(*list, std::move(titles));
  return list;
}

OutputListPtr ListOfMarks() {
  return ListWith({"Note", "Tags", "What", "Key", "Value", "Row", "Type", "Data", "Key Date",
                   "State", "Why here", "Position", "Remarks", "Hive File", "Bookmark set",
                   "Bytes"});
}

std::string PlaceInFile(const HiveImage& hive, uint32_t position) {
  return position == kNoOffset ? std::string() : PositionText(FilePositionOf(hive, position));
}

std::string TimeWords(uint64_t time) { return time == 0 ? std::string() : FormatIso8601(time); }

std::string StateOf(const KeyTree& tree, uint32_t item) {
  const KeyItem& key = tree.items[item];
  if (!IsRecovered(tree, item)) return "live";
  const std::string status = StatusText(key.marks);
  return status.empty() ? "recovered" : "recovered: " + status;
}

// Bytes as text, as many as are told.
std::string ToldBytes(std::span<const uint8_t> data) {
  const std::span<const uint8_t> told =
      data.first(std::min<size_t>(data.size(), kMostReportedData));
  std::string bytes = BytesText(told);
  if (told.size() < data.size()) {
    bytes += Concat({" ... ", std::to_string(data.size() - told.size()), " more bytes"});
  }
  return bytes;
}

// What a record is beside its place.
struct RecordWords {
  std::string type, data, bytes, date, state, why;
};

// The details of what was deleted begin with why it is shown.
std::string FirstLine(const std::u16string& detail) {
  const std::string text = TextOfWide(std::u16string_view(detail).substr(0, detail.find(u'\r')));
  constexpr std::string_view kStart = "Why here: ";
  return text.starts_with(kStart) ? text.substr(kStart.size()) : text;
}

// Of a deleted value its content, of a deleted key its date; both say why they are there.
void TellDeleted(const Mark& mark, RecordWords& words) {
  const BookmarkedHive& in = *mark.hive;
  words.state = "deleted";
  const uint32_t position = mark.found.position;
  if (const FreedValue* value = FreedValueAt(in.freed->records, position)) {
    const FreedContent content =
        ReadFreedContent(*in.hive, in.freed->records, *value, FreedData::kAll);
    const ValueRow row = MakeFreedRow(*in.hive, content);
    words.type = row.type;
    words.data = row.data;
    words.bytes = ToldBytes(content.data);
    words.why = FirstLine(FreedValueDetail(*in.hive, *in.tree, *in.freed, position));
    return;
  }
  const uint32_t item = FreedItemAt(*in.freed, position);
  if (item == kNoItem) return;
  words.date = TimeWords(LastWriteOf(*in.hive, in.freed->tree, item));
  words.why = FirstLine(FreedItemDetail(*in.hive, *in.tree, *in.freed, item));
}

// Whether the bookmark leads to a deleted key or value of its hive.
bool IsDeleted(const Mark& mark) {
  const FreedTree* freed = mark.hive->freed;
  const uint32_t at = mark.found.position;
  return freed != nullptr && at != kNoOffset &&
         (FreedValueAt(freed->records, at) != nullptr || FreedItemAt(*freed, at) != kNoItem);
}

void TellValue(const HiveImage& hive, uint32_t position, DataBudget& budget, RecordWords& words) {
  std::vector<uint8_t> data;
  const ValueKey value = ReadValueWithin(hive, position, budget, data);
  const ValueRow row = MakeValueRow(hive, value, data, ValueViewOptions());
  words.type = row.type;
  words.data = row.data;
  words.bytes = ToldBytes(data);
}

// A bookmark of a row has the words of a value where the row was about one that its key still
// lists. `budget` is that of the mark's hive.
RecordWords WordsOf(const Mark& mark, DataBudget& budget) {
  RecordWords words;
  const BookmarkedHive& in = *mark.hive;
  if (IsDeleted(mark)) {
    TellDeleted(mark, words);
    return words;
  }
  const uint32_t item = mark.found.item;
  if (item == kNoItem) return words;
  const bool of_value = mark.bookmark->kind != BookmarkKind::kKey &&
                        mark.found.position != kNoOffset &&
                        in.tree->items[item].position != mark.found.position &&
                        ItemShowing(*in.hive, *in.tree, mark.found.position) == item;
  if (of_value) TellValue(*in.hive, mark.found.position, budget, words);
  words.date = TimeWords(LastWriteOf(*in.hive, *in.tree, item));
  words.state = StateOf(*in.tree, item);
  words.why = of_value ? WhyValueIsHere(*in.tree, mark.found.position)
                       : WhyKeyIsHere(*in.hive, *in.tree, item);
  return words;
}

const char* KindWords(BookmarkKind kind) {
  if (kind == BookmarkKind::kValue) return "value";
  return kind == BookmarkKind::kRow ? "row" : "key";
}

std::string RowWords(const Bookmark& bookmark) {
  if (bookmark.kind != BookmarkKind::kRow) return {};
  return Concat({FindListKind(bookmark.list).title, ": ", bookmark.row});
}

// The item of the deleted key that the mark is of, or that its deleted value belonged to; kNoItem
// for another mark.
uint32_t DeletedItemOf(const Mark& mark) {
  const FreedTree* freed = mark.hive->freed;
  const uint32_t position = mark.found.position;
  if (freed == nullptr || position == kNoOffset) return kNoItem;
  const FreedValue* value = FreedValueAt(freed->records, position);
  return FreedItemAt(*freed, value == nullptr ? position : value->key);
}

// Where a tree has the key its path is as shown there, else as it was noted.
std::string PathOf(const Mark& mark) {
  const BookmarkedHive& in = *mark.hive;
  if (!IsFound(mark)) return ShownKeyPath(mark.bookmark->path);
  if (mark.found.item != kNoItem) return LongItemPath(*in.hive, *in.tree, mark.found.item);
  const uint32_t deleted = DeletedItemOf(mark);
  return deleted == kNoItem ? ShownKeyPath(mark.bookmark->path)
                            : FreedItemPath(*in.hive, *in.tree, *in.freed, deleted);
}

// `several`: marks of more than one hive are in the list, so each says its file.
void AddMark(const Mark& mark, const RecordWords& words, bool several, OutputList& list) {
  const Bookmark& bookmark = *mark.bookmark;
  const bool value = bookmark.kind == BookmarkKind::kValue;
  const std::string name = !value                   ? ""
                           : bookmark.value.empty() ? kDefaultValueName
                                                    : bookmark.value;
  AddListRow(
      list,
      {bookmark.note, TagWords(bookmark.tags), KindWords(bookmark.kind), PathOf(mark), name,
       RowWords(bookmark), words.type, words.data, words.date, words.state, words.why,
       PlaceInFile(*mark.hive->hive, mark.found.position),
       BookmarkRemarks(*mark.hive, mark.found, bookmark),
       several ? mark.hive->hive->file_name : std::string(), TimeWords(bookmark.time), words.bytes},
      kNoOffset);
}

// The deleted values of a deleted key.
void AddFreedValues(const Mark& mark, OutputList& list) {
  const FreedTree* freed = mark.hive->freed;
  const uint32_t key = mark.found.position;
  if (freed == nullptr || key == kNoOffset || FreedItemAt(*freed, key) == kNoItem) return;
  for (const FreedTree::Owned& owned : FreedValuesOf(*freed, key)) {
    if (StopRequested()) return;
    const FreedValue& value = freed->records.values[owned.row];
    const FreedContent content =
        ReadFreedContent(*mark.hive->hive, freed->records, value, FreedData::kAll);
    const ValueRow row = MakeFreedRow(*mark.hive->hive, content);
    AddListRow(list,
               {PathOf(mark), row.name, row.type, row.data,
                PlaceInFile(*mark.hive->hive, value.position), ToldBytes(content.data)},
               kNoOffset);
  }
}

// All that a key lists.
void AddValues(const Mark& mark, DataBudget& budget, OutputList& list) {
  const HiveImage& hive = *mark.hive->hive;
  const KeyTree& tree = *mark.hive->tree;
  if (mark.found.item == kNoItem) return AddFreedValues(mark, list);
  if (!HasKeyCell(tree, mark.found.item)) return;
  const std::string path = PathOf(mark);
  std::vector<uint32_t> positions;
  ReadWholeValueList(hive, tree.items[mark.found.item].position, positions);
  std::vector<uint8_t> data;
  for (const uint32_t position : positions) {
    if (StopRequested()) return;
    if (position == kNoOffset) {
      AddListRow(list, {path, "", "", "the entry of the list leads nowhere", "", ""}, kNoOffset);
      continue;
    }
    const ValueKey value = ReadValueWithin(hive, position, budget, data);
    const ValueRow row = MakeValueRow(hive, value, data, ValueViewOptions());
    AddListRow(list,
               {path, row.name, row.type, row.data, PlaceInFile(hive, position), ToldBytes(data)},
               kNoOffset);
  }
}

// Keys whose last write is known; folders and made keys have none.
HtmlBars BarsOfHives(std::span<const BookmarkedHive> hives) {
  YearCounts keys;
  for (const BookmarkedHive& of : hives) {
    for (uint32_t item = 0; item < of.tree->items.size() && !StopRequested(); ++item) {
      const uint64_t written = LastWriteOf(*of.hive, *of.tree, item);
      if (written != 0) CountYear(keys, written);
    }
  }
  return BarsOf(keys, hives.size() == 1 ? "Keys of the hive by the year of their last write"
                                        : "Keys of the hives by the year of their last write");
}

// Each key once, however many bookmarks lead to it.
HtmlBars BarsOfMarks(std::span<const Mark> marks) {
  std::vector<std::pair<const BookmarkedHive*, uint32_t>> keys;
  for (const Mark& mark : marks) {
    if (IsFound(mark) && mark.found.item != kNoItem) keys.emplace_back(mark.hive, mark.found.item);
  }
  std::ranges::sort(keys);
  const auto twice = std::unique(keys.begin(), keys.end());
  keys.erase(twice, keys.end());
  YearCounts years;
  for (const auto& [of, item] : keys) {
    const uint64_t written = LastWriteOf(*of->hive, *of->tree, item);
    if (written != 0) CountYear(years, written);
  }
  return BarsOf(years, "Keys of the bookmarks by the year of their last write");
}

// Each in the hive that it is of; points into both spans. Fewer when the user stops.
std::vector<Mark> MarksOf(std::span<const BookmarkedHive> hives,
                          std::span<const Bookmark> bookmarks) {
  std::vector<Mark> marks;
  for (const Bookmark& bookmark : bookmarks) {
    if (StopRequested()) break;
    Mark mark;
    mark.bookmark = &bookmark;
    mark.hive = &hives[HiveOfBookmark(hives, 0, bookmark)];
    mark.found = FindBookmark(*mark.hive, bookmark);
    marks.push_back(mark);
  }
  return marks;
}

// What a section holds of the bookmarks that were found.
struct Group {
  std::string id;
  std::string title;
  std::vector<const Mark*> marks;
};

std::vector<Group> GroupsByKind(std::span<const Mark> marks) {
  std::vector<Group> groups = {{"keys", "Bookmarked keys", {}},
                               {"values", "Bookmarked values", {}},
                               {"rows", "Bookmarked rows of lists", {}}};
  for (const Mark& mark : marks) {
    if (IsFound(mark)) groups[static_cast<size_t>(mark.bookmark->kind)].marks.push_back(&mark);
  }
  // A report of keys alone is one of keys.
  while (groups.size() > 1 && groups.back().marks.empty()) groups.pop_back();
  return groups;
}

// One that has several tags is in each of their groups.
std::vector<Group> GroupsByTag(std::span<const Mark> marks) {
  std::vector<Group> groups;
  Group untagged = {"untagged", "Without a tag", {}};
  for (const Mark& mark : marks) {
    if (!IsFound(mark)) continue;
    if (mark.bookmark->tags.empty()) untagged.marks.push_back(&mark);
    for (const std::string& tag : mark.bookmark->tags) {
      const auto has_tag = [&tag](const Group& group) {
        return EqualIgnoringCase(group.title, "Tag: " + tag);
      };
      auto group = std::ranges::find_if(groups, has_tag);
      if (group == groups.end()) group = groups.insert(groups.end(), {"", "Tag: " + tag, {}});
      group->marks.push_back(&mark);
    }
  }
  std::ranges::sort(groups, [](const Group& a, const Group& b) {
    return CompareIgnoringCase(a.title, b.title) < 0;
  });
  for (size_t i = 0; i < groups.size(); ++i) groups[i].id = "tag-" + std::to_string(i + 1);
  if (!untagged.marks.empty() || groups.empty()) groups.push_back(std::move(untagged));
  return groups;
}

// `budgets` has one for each hive, over all groups: what many bookmarks share is read so often at
// most.
void AddGroup(const Group& group, std::span<const BookmarkedHive> hives,
              std::vector<DataBudget>& budgets, HtmlReport& report) {
  OutputListPtr list = ListOfMarks();
  for (const Mark* mark : group.marks) {
    if (StopRequested()) break;
    DataBudget& budget = budgets[static_cast<size_t>(mark->hive - hives.data())];
    AddMark(*mark, WordsOf(*mark, budget), hives.size() > 1, *list);
  }
  report.sections.push_back(SectionOf(group.id.c_str(), group.title.c_str(), std::move(list)));
}

void AddMissing(std::span<const Mark> marks, HtmlReport& report) {
  OutputListPtr missing = ListWith({"Note", "Tags", "What", "Key", "Value", "Row", "Set in",
                                    "Bookmark set", "Nearest key", "Remarks"});
  for (const Mark& mark : marks) {
    if (IsFound(mark)) continue;
    const Bookmark& bookmark = *mark.bookmark;
    const std::string nearest =
        mark.found.item == kNoItem
            ? std::string()
            : LongItemPath(*mark.hive->hive, *mark.hive->tree, mark.found.item);
    AddListRow(
        *missing,
        {bookmark.note, TagWords(bookmark.tags), KindWords(bookmark.kind),
         ShownKeyPath(bookmark.path), bookmark.value, RowWords(bookmark), bookmark.hive,
         TimeWords(bookmark.time), nearest, BookmarkRemarks(*mark.hive, mark.found, bookmark)},
        kNoOffset);
  }
  report.sections.push_back(
      SectionOf("missing", "Bookmarks whose key or value is not there", std::move(missing)));
}

}  // namespace

HtmlReport ReportBookmarks(std::span<const BookmarkedHive> hives,
                           std::span<const Bookmark> bookmarks, bool by_tag) {
  const std::vector<Mark> marks = MarksOf(hives, bookmarks);
  std::vector<DataBudget> budgets;
  HtmlReport report;
  report.title = "Bookmarks";
  for (const BookmarkedHive& of : hives) {
    budgets.push_back(MakeDataBudget(*of.hive));
    const std::vector<std::string> lines =
        HiveHeadLines(*of.hive, of.hashes == nullptr ? HiveHashes() : *of.hashes);
    report.lines.insert(report.lines.end(), lines.begin(), lines.end());
  }
  report.lines.emplace_back(
      "Times are UTC, positions are bytes from the start of the file. No file was written but this "
      "one.");
  report.pictures.push_back(BarsOfHives(hives));
  report.pictures.push_back(BarsOfMarks(marks));
  for (const Group& group : by_tag ? GroupsByTag(marks) : GroupsByKind(marks)) {
    AddGroup(group, hives, budgets, report);
  }
  // Of the bookmarks of keys alone: values and rows have told their data in their own sections.
  OutputListPtr values = ListWith({"Key", "Value", "Type", "Data", "Position", "Bytes"});
  for (const Mark& mark : marks) {
    if (!IsFound(mark) || mark.bookmark->kind != BookmarkKind::kKey) continue;
    AddValues(mark, budgets[static_cast<size_t>(mark.hive - hives.data())], *values);
  }
  report.sections.push_back(
      SectionOf("values-of-keys", "Values of the bookmarked keys", std::move(values)));
  AddMissing(marks, report);
  return report;
}

}  // namespace hivequarry

#include "view/bookmark_report.h"

#include <string>
#include <utility>
#include <vector>

#include "app/key_paths.h"
#include "hive/file_place.h"
#include "hive/timestamp.h"
#include "hive/values.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "lists/list_rows.h"
#include "words/item_values.h"
#include "words/value_text.h"
#include "words/why_here.h"

namespace hivequarry {
namespace {

OutputListPtr ListWith(std::vector<std::string> titles) {
  OutputListPtr list = MakeOutputList(kListDetail);
  SetColumns(*list, std::move(titles));
  return list;
}

std::string PlaceInFile(const HiveImage& hive, uint32_t position) {
  return position == kNoOffset ? std::string() : PositionText(FilePositionOf(hive, position));
}

std::string SetWords(const Bookmark& bookmark) {
  return bookmark.time == 0 ? std::string() : FormatIso8601(bookmark.time);
}

std::string StateOf(const KeyTree& tree, uint32_t item) {
  const KeyItem& key = tree.items[item];
  if (!IsRecovered(tree, item)) return "live";
  const std::string status = StatusText(key.marks);
  return status.empty() ? "recovered" : "recovered: " + status;
}

void AddKey(const HiveImage& hive, const KeyTree& tree, uint32_t item, const Bookmark& bookmark,
            OutputList& list) {
  const uint64_t written = LastWriteOf(hive, tree, item);
  const bool cell = HasKeyCell(tree, item);
  AddListRow(
      list,
      {bookmark.note, LongItemPath(hive, tree, item),
       written == 0 ? std::string() : FormatIso8601(written), StateOf(tree, item),
       WhyKeyIsHere(hive, tree, item),
       cell ? PlaceInFile(hive, tree.items[item].position) : std::string(), SetWords(bookmark)},
      kNoOffset);
}

void AddValues(const HiveImage& hive, const KeyTree& tree, uint32_t item, DataBudget& budget,
               OutputList& list) {
  if (!HasKeyCell(tree, item)) return;
  const std::string path = LongItemPath(hive, tree, item);
  std::vector<uint32_t> positions;
  ReadWholeValueList(hive, tree.items[item].position, positions);
  std::vector<uint8_t> data;
  for (const uint32_t position : positions) {
    if (StopRequested()) return;
    if (position == kNoOffset) {
      AddListRow(list, {path, "", "", "the entry of the list leads nowhere", "", ""}, kNoOffset);
      continue;
    }
    const ValueKey value = ReadValueWithin(hive, position, budget, data);
    const ValueRow row = MakeValueRow(hive, value, data, ValueViewOptions());
    const std::span<const uint8_t> told(data.data(),
                                        std::min<size_t>(data.size(), kMostReportedData));
    std::string bytes = BytesText(told);
    if (told.size() < data.size()) {
      bytes += Concat({" ... ", std::to_string(data.size() - told.size()), " more bytes"});
    }
    AddListRow(list, {path, row.name, row.type, row.data, PlaceInFile(hive, position), bytes},
               kNoOffset);
  }
}

HtmlBars BarsOf(const HiveImage& hive, const KeyTree& tree) {
  YearCounts keys;
  for (uint32_t item = 0; item < tree.items.size() && !StopRequested(); ++item) {
    const uint64_t written = LastWriteOf(hive, tree, item);
    if (written != 0) CountYear(keys, written);
  }
  return BarsOf(keys, "Keys of the hive by the year of their last write");
}

}  // namespace

HtmlReport ReportBookmarks(const HiveImage& hive, const KeyTree& tree,
                           std::span<const Bookmark> bookmarks, const HiveHashes& hashes) {
  OutputListPtr keys =
      ListWith({"Note", "Key", "Key Date", "State", "Why here", "Position", "Bookmark set"});
  OutputListPtr values = ListWith({"Key", "Value", "Type", "Data", "Position", "Bytes"});
  OutputListPtr missing = ListWith({"Note", "Key", "Set in", "Bookmark set", "Nearest key"});
  DataBudget budget = MakeDataBudget(hive);
  for (const Bookmark& bookmark : bookmarks) {
    if (StopRequested()) break;
    const FoundKey found = FindKeyPath(hive, tree, bookmark.path);
    if (found.whole) {
      AddKey(hive, tree, found.item, bookmark, *keys);
      AddValues(hive, tree, found.item, budget, *values);
      continue;
    }
    const std::string nearest =
        found.item == kNoItem ? std::string() : LongItemPath(hive, tree, found.item);
    AddListRow(
        *missing,
        {bookmark.note, ShownKeyPath(bookmark.path), bookmark.hive, SetWords(bookmark), nearest},
        kNoOffset);
  }
  HtmlReport report;
  report.title = "Bookmarks";
  report.lines = HiveHeadLines(hive, hashes);
  report.lines.emplace_back(
      "Times are UTC, positions are bytes from the start of the file. The file was read and not "
      "written.");
  report.picture = BarsOf(hive, tree);
  report.sections.push_back(SectionOf("keys", "Bookmarked keys", std::move(keys)));
  report.sections.push_back(SectionOf("values", "Their values", std::move(values)));
  report.sections.push_back(
      SectionOf("missing", "Bookmarks whose key is not in this hive", std::move(missing)));
  return report;
}

}  // namespace hivequarry

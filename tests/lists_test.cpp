#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <set>
#include <thread>

#include "app/list_words.h"
#include "host/long_operation.h"
#include "host/shortfalls.h"
#include "lists/list_writers.h"
#include "lists/output_list.h"
#include "tests/support/host_recorder.h"

namespace hivequarry {
namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;

using TextViews = std::vector<std::string_view>;

void AddTexts(OutputList& list, const TextViews& texts, uint32_t datum = 0, bool has_datum = false,
              RowFacts facts = {}) {
  const std::vector<Cell> cells(texts.begin(), texts.end());
  NewRow row;
  row.cells = cells;
  row.datum = datum;
  row.has_datum = has_datum;
  row.facts = facts;
  AddRow(list, row);
}

using Writer = bool (*)(const OutputList&, const TextSink&);

std::string Written(Writer writer, const OutputList& list) {
  std::string text;
  EXPECT_TRUE(writer(list, [&](std::string_view piece) {
    text += piece;
    return true;
  }));
  return text;
}

TEST(ListKinds, TitlesAndColumns) {
  const struct {
    int kind;
    const char* title;
    size_t columns;
    const char* last;
  } cases[] = {{4, "Output List", 18, "Root"},
               {5, "Search results", 5, "Key Offset"},
               {7, "Compare results", 6, "Value Offset"},
               {11, "Key Dates", 3, "Key Offset"},
               {25, "Output List", 5, "Key date ProgID"},
               {39, "Output List", 8, "Previous"},
               {41, "Count Keys", 9, "Focus Time (ms)"},
               {42, "Registry Current User Count Keys", 9, "Focus Time (ms)"},
               {47, "Security Records", 5, "Owner Account"},
               {49, "ACE List", 6, "Account"},
               {56, "OpenSaveMRU", 6, "Key Offset"},
               {57, "StreamMRU", 11, "Key Offset"},
               {80, "Error list", 4, "Error"},
               {kListInfo, "Hive information", 51, "root_contradiction"},
               {kListTree, "Key tree", 7, "Connected"},
               {kListBins, "Block list", 5, "Own Offset"}};
  for (const auto& c : cases) {
    const ListKindInfo& info = FindListKind(c.kind);
    EXPECT_STREQ(info.title, c.title);
    ASSERT_EQ(info.columns.size(), c.columns) << c.kind;
    EXPECT_STREQ(info.columns.back().title, c.last);
  }
  EXPECT_STREQ(FindListKind(99).title, "Output List");
  EXPECT_TRUE(FindListKind(99).columns.empty());
}

TEST(ListKinds, EveryKindIsUsable) {
  std::set<int> seen;
  for (const ListKindInfo& info : AllListKinds()) {
    const int kind = info.kind;
    EXPECT_EQ(&FindListKind(kind), &info);
    EXPECT_TRUE(seen.insert(kind).second);
    const OutputListPtr list = MakeOutputList(kind);
    EXPECT_EQ(ColumnCount(*list), static_cast<int>(info.columns.size()));
  }
}

TEST(OutputListTest, KeepsWhatWasAdded) {
  const OutputListPtr list = MakeOutputList(5);
  const std::string large(100'000, 'x');
  NewRow row;
  const Cell cells[] = {"key", "", "data", "", "0x1000", "beyond the last column"};
  row.cells = cells;
  row.icon = -16;
  row.datum = 0xFFFFFFF0;
  row.facts = {true, 42, "p", "n", "b"};
  AddRow(*list, row);
  AddTexts(*list, {large, "v", large}, 0, false, {false, 0, {}, {}, large});
  AddTexts(*list, {});
  ASSERT_EQ(RowCount(*list), 3u);
  EXPECT_EQ(CellText(*list, 0, 0), "key");
  EXPECT_EQ(CellText(*list, 0, 1), "");
  EXPECT_EQ(CellText(*list, 0, 4), "0x1000");
  EXPECT_EQ(CellText(*list, 0, 5), "");
  EXPECT_EQ(RowIcon(*list, 0), -16);
  EXPECT_EQ(RowDatum(*list, 0), 0xFFFFFFF0u);
  EXPECT_TRUE(RowHasDatum(*list, 0));
  const RowFacts facts = FactsOfRow(*list, 0);
  EXPECT_TRUE(facts.about_key);
  EXPECT_EQ(facts.last_write, 42u);
  EXPECT_EQ(facts.path, "p");
  EXPECT_EQ(facts.name, "n");
  EXPECT_EQ(facts.bytes, "b");
  EXPECT_EQ(CellText(*list, 1, 0), large);
  EXPECT_EQ(CellText(*list, 1, 2), large);
  EXPECT_EQ(CellText(*list, 1, 3), "");
  EXPECT_EQ(FactsOfRow(*list, 1).bytes, large);
  EXPECT_FALSE(FactsOfRow(*list, 1).about_key);
  EXPECT_FALSE(RowHasDatum(*list, 1));
  EXPECT_EQ(CellText(*list, 2, 0), "");
  ClearRows(*list);
  EXPECT_EQ(RowCount(*list), 0u);
  AddTexts(*list, {"again"});
  EXPECT_EQ(CellText(*list, 0, 0), "again");
}

TEST(OutputListTest, ReadersSeeWholeRowsWhileAWorkerAdds) {
  constexpr uint32_t kRows = 200'000;
  const OutputListPtr list = MakeOutputList(11);
  std::atomic<bool> added{false};
  std::thread worker([&] {
    for (uint32_t row = 0; row < kRows; ++row) {
      const std::string number = std::to_string(row);
      AddTexts(*list, {number, "some key", number}, row, true);
    }
    added = true;
  });
  const std::string_view first = [&] {
    while (RowCount(*list) == 0 && !added) std::this_thread::yield();
    return CellText(*list, 0, 0);
  }();
  uint32_t wrong = 0;
  uint32_t seen = 0;
  for (bool last = false; !last;) {
    last = added;
    seen = RowCount(*list);
    if (seen == 0) continue;
    for (const uint32_t row : {0U, seen / 3, seen - 1}) {
      const std::string number = std::to_string(row);
      wrong += CellText(*list, row, 2) != number || RowDatum(*list, row) != row;
    }
  }
  worker.join();
  EXPECT_EQ(seen, kRows);
  EXPECT_EQ(wrong, 0u);
  EXPECT_EQ(first.data(), CellText(*list, 0, 0).data()) << "rows never move";
}

TEST(OutputListTest, NumberedRowsAndRunningNumbers) {
  const OutputListPtr list = MakeOutputList(11);
  AddTexts(*list, {"plain"}, 4128, true);
  SetRowNumbers(*list, RowNumbers::kFive);
  const std::string long_text(600, 'x');
  AddTexts(*list, {long_text, "second"});
  SetRowNumbers(*list, RowNumbers::kSix);
  AddTexts(*list, {}, 0, true);
  const std::string firsts[] = {"plain", "00002, " + std::string(511, 'x'), "000003 "};
  for (uint32_t row = 0; row < 3; ++row) EXPECT_EQ(CellText(*list, row, 0), firsts[row]);
  EXPECT_EQ(CellText(*list, 1, 1), "second");
  EXPECT_EQ(RowDatum(*list, 1), 2u);
  EXPECT_FALSE(RowHasDatum(*list, 1));
  EXPECT_EQ(RowDatum(*list, 2), 0u);
}

TEST(OutputListTest, CellsCanBeReplaced) {
  const OutputListPtr list = MakeOutputList(55);
  AddTexts(*list, {"0x0", "0x1000"}, 7, true, {true, 42, "p", "n", "b"});
  const std::string large(70'000, 'f');
  EXPECT_TRUE(ReplaceCell(*list, 0, 3, large));
  EXPECT_TRUE(ReplaceCell(*list, 0, 1, ""));
  EXPECT_EQ(CellText(*list, 0, 0), "0x0");
  EXPECT_EQ(CellText(*list, 0, 1), "");
  EXPECT_EQ(CellText(*list, 0, 3), large);
  EXPECT_EQ(RowDatum(*list, 0), 7u);
  EXPECT_EQ(FactsOfRow(*list, 0).last_write, 42u);
  EXPECT_EQ(FactsOfRow(*list, 0).bytes, "b");
  EXPECT_FALSE(ReplaceCell(*list, 0, 4, "x"));
  EXPECT_FALSE(ReplaceCell(*list, 1, 0, "x"));
}

// Of a row about a key whose last write is `kSecond`; the list's second column has the values.
TEST(OutputListTest, CellsKeepWhatTheyAre) {
  constexpr uint64_t kSecond = 13'000'000'000;
  constexpr uint64_t kDatesAtMost = (uint64_t{1} << 40) - 1;
  const uint64_t values[] = {0,          1,       0xFFFF,       0x10000,  UINT32_MAX,
                             4294967296, kSecond, kDatesAtMost, kNoValue, kDatesAtMost + 1};
  const OutputListPtr list = MakeOutputList(kListTree);
  const std::string large(70'000, 'f');
  for (const std::string& text : {"t"s, std::string(300, 'x'), large}) {
    for (const bool about_key : {false, true}) {
      for (const uint64_t value : values) {
        ClearRows(*list);
        const Cell cells[] = {text, {"is", value}, {"", 5}, text, {"7", 7}};
        AddRow(*list, {cells, 3, 4128, true, {about_key, kSecond * 10'000'000 + 9, "p", {}, {}}});
        EXPECT_EQ(CellValue(*list, 0, 1), value > kDatesAtMost ? kNoValue : value);
        EXPECT_EQ(CellValue(*list, 0, 2), kNoValue) << "a cell without a text";
        EXPECT_EQ(CellValue(*list, 0, 4), 7u);
        EXPECT_EQ(CellText(*list, 0, 3), text);
        EXPECT_EQ(FactsOfRow(*list, 0).path, "p");
        AddRowOf(*list, *list, 0);
        ASSERT_TRUE(ReplaceCell(*list, 1, 4, "other"));
        EXPECT_EQ(CellValue(*list, 1, 1), CellValue(*list, 0, 1));
        EXPECT_EQ(CellValue(*list, 1, 4), kNoValue) << "the value of another text";
        EXPECT_EQ(RowIcon(*list, 1), 3);
        SetRowNumbers(*list, RowNumbers::kFive);
        const Cell numbered[] = {{"is", 7}};
        AddRow(*list, {numbered, 0, 0, true, {}});
        SetRowNumbers(*list, RowNumbers::kNone);
        EXPECT_EQ(CellText(*list, 2, 0), "00003, is");
        EXPECT_EQ(CellValue(*list, 2, 0), kNoValue) << "the value of the text without its number";
      }
    }
  }
}

TEST(OutputListTest, ColumnLimits) {
  const OutputListPtr list = MakeOutputList(4);
  SetColumns(*list, std::vector<std::string>(20, "c"));
  EXPECT_EQ(ColumnCount(*list), 18);
  const OutputListPtr own = MakeOutputList(kListInfo);
  SetColumns(*own, std::vector<std::string>(60, "c"));
  EXPECT_EQ(ColumnCount(*own), 56);
}

TEST(ListText, Format) {
  const OutputListPtr list = MakeOutputList(5);
  AddTexts(*list, {"HKLM\\A", "v", "", "REG_SZ"});
  AddTexts(*list, {"HKLM\\B"});
  AddTexts(*list, {});
  EXPECT_EQ(Written(WriteListText, *list),
            "Number of Items : 3\r\n\r\n"
            "Key       : HKLM\\A\r\nValue     : v\r\nType      : REG_SZ\r\n\r\n"
            "Key       : HKLM\\B\r\n\r\n"
            "\r\n");
  SetListSubtitle(*list, "From HKLM");
  EXPECT_EQ(Written(WriteListText, *list).substr(0, 32), "From HKLM\r\nNumber of Items : 3\r\n");
}

TEST(ListText, Scope) {
  const OutputListPtr list = MakeOutputList(51);
  SetListSubtitle(*list, "From HKLM");
  for (const std::string_view key : {"a", "b", "c"}) AddTexts(*list, {key});
  const uint32_t rows[] = {2, 0};
  const struct {
    WrittenRows which;
    const char* text;
    const char* first_column;
    uint32_t count;
  } cases[] = {
      {{},
       "From HKLM\r\nNumber of Items : 3\r\n\r\nKey: a\r\n\r\nKey: b\r\n\r\nKey: c\r\n\r\n",
       "abc",
       3},
      {{rows, true, false},
       "From HKLM\r\nNumber of Items : 2\r\n\r\nKey: c\r\n\r\nKey: a\r\n\r\n",
       "ca",
       2},
      {{rows, true, true}, "Key: c\r\n\r\nKey: a\r\n\r\n", "ca", 2},
      {{{}, true, true}, "", "", 0}};
  for (const auto& c : cases) {
    std::string text;
    const TextSink sink = [&](std::string_view piece) { return text += piece, true; };
    uint32_t written = 99;
    EXPECT_TRUE(WriteListText(*list, c.which, sink, &written));
    EXPECT_EQ(text, c.text);
    EXPECT_EQ(written, c.count);
    text.clear();
    EXPECT_TRUE(WriteFirstColumn(*list, c.which, sink));
    EXPECT_EQ(text, c.first_column);
  }
}

TEST(ListText, Limits) {
  const OutputListPtr list = MakeOutputList(4);
  SetColumns(*list, {std::string(70, 'h'), "2", "3", "4", "5", "6", "7", "8", "9", "10", "11", "12",
                     "13", "14", "15", "16", "17", "18"});
  TextViews texts(18, "t");
  const std::string long_path(600, 'p');
  texts[0] = long_path;
  AddTexts(*list, texts);
  const std::string text = Written(WriteListText, *list);
  EXPECT_NE(text.find("\r\n" + std::string(62, 'h') + ": " + std::string(520, 'p') + "\r\n"),
            std::string::npos);
  EXPECT_NE(text.find("\r\n17" + std::string(60, ' ') + ": t\r\n"), std::string::npos);
  EXPECT_EQ(text.find("\r\n18"), std::string::npos) << "the 18th column is left out";
  // Not so in the program's own lists.
  const OutputListPtr info = MakeOutputList(kListInfo);
  TextViews fields(19, "1");
  fields[0] = "\xD0\x96.dat \xE2\x82\xAC";
  AddTexts(*info, fields);
  const std::string shown = Written(WriteListText, *info);
  EXPECT_NE(shown.find("\r\nvirtual_siblings   : 1\r\n"), std::string::npos);
  EXPECT_NE(shown.find("file               : \u0416.dat \u20AC\r\n"), std::string::npos);
}

TEST(ListWriters, TitlesAtMostForEmptyLists) {
  for (const Writer writer : {WriteListText, WriteListCsv, WriteListJsonLines}) {
    const OutputListPtr no_rows = MakeOutputList(5);
    const bool titles = writer == Writer(WriteListCsv);
    EXPECT_EQ(Written(writer, *no_rows), titles ? "Key,Value,Data,Type,Key Offset\r\n" : "");
    const OutputListPtr no_columns = MakeOutputList(99);
    AddTexts(*no_columns, {"x"});
    EXPECT_EQ(Written(writer, *no_columns), "");
  }
}

TEST(ListWriters, RefusingSinkAndStop) {
  const OutputListPtr list = MakeOutputList(51);
  const std::string path(400, 'k');
  for (int i = 0; i < 2000; ++i) AddTexts(*list, {path});
  for (const Writer writer : {WriteListText, WriteListCsv, WriteListJsonLines}) {
    int calls = 0;
    EXPECT_FALSE(writer(*list, [&](std::string_view) { return ++calls < 3; }));
    EXPECT_EQ(calls, 3);
    ASSERT_TRUE(BeginOperation(kOperationLoad));
    size_t size = 0;
    EXPECT_FALSE(writer(*list, [&](std::string_view piece) {
      size += piece.size();
      RequestStop();
      return true;
    }));
    EndOperation();
    EXPECT_LT(size, 500'000u);
  }
}

TEST(ListCsv, QuotesAndEncodes) {
  const OutputListPtr list = MakeOutputList(36);
  AddTexts(*list, {"plain", "a,b", "say \"hi\"", "line\r\nend"});
  AddTexts(*list, {"", "\u20AC\u00C4", "", ""});
  EXPECT_EQ(Written(WriteListCsv, *list),
            "Key,Value,Data,Type\r\n"
            "plain,\"a,b\",\"say \"\"hi\"\"\",\"line\r\nend\"\r\n"
            ",\u20AC\u00C4,,\r\n");
}

TEST(ListJson, StringsAndFacts) {
  const OutputListPtr list = MakeOutputList(36);
  AddTexts(*list, {"q\"b\\", "\n\x01\x7F", "\u20AC\u00C4"}, 4128, true,
           {true, 132817176441804672, "\u0416\xED\xA0\x80", "", ""});
  AddTexts(*list, {"k", "v\0w"sv}, 0, false, {false, 7, "", "n\xED\xBF\xBF", "00ff"});
  EXPECT_EQ(Written(WriteListJsonLines, *list),
            "{\"Key\":\"q\\\"b\\\\\",\"Value\":\"\\n\\u0001\\u007f\",\"Data\":\"\u20AC\u00C4\","
            "\"Type\":\"\",\"Offset\":4128,\"LastWrite\":\"2021-11-18T14:00:44.1804672Z\","
            "\"Path\":\"\u0416\\ud800\"}\n"
            "{\"Key\":\"k\",\"Value\":\"v\\u0000w\",\"Data\":\"\",\"Type\":\"\","
            "\"Name\":\"n\\udfff\",\"Bytes\":\"00ff\"}\n");
}

TEST(ListJson, NumbersAndFlags) {
  const OutputListPtr info = MakeOutputList(kListInfo);
  AddTexts(*info, {"\u0416.dat", "8192", "0", "1", "0", "", "x", "\u00C4", "007"});
  const std::string text = Written(WriteListJsonLines, *info);
  EXPECT_EQ(text.substr(0, text.find(",\"keys\"")),
            "{\"file\":\"\u0416.dat\",\"length\":8192,\"base_offset\":0,\"header_valid\":true,"
            "\"root_valid\":false,\"data_area_base\":null,\"root_position\":\"x\","
            "\"root_path\":\"\u00C4\",\"list_style\":\"007\"");
  const OutputListPtr tree = MakeOutputList(kListTree);
  AddTexts(*tree, {"HKLM", "0x20", "", "", "", "2", "1"});
  EXPECT_EQ(Written(WriteListJsonLines, *tree),
            "{\"Key\":\"HKLM\",\"Key Offset\":\"0x20\",\"Parent Offset\":\"\",\"Key Date\":\"\","
            "\"Status\":\"\",\"Marks\":2,\"Connected\":1}\n");
}

TEST(ListJson, String) {
  EXPECT_EQ(JsonString("a/\"\t\u00E9"), "\"a/\\\"\\t\u00E9\"");
  EXPECT_EQ(JsonString("\xED\xA0\x80 \xC0\x80 \xF5"), "\"\uFFFD \uFFFD\uFFFD \uFFFD\"");
}

// A text that a row has in the place where the row before has it is kept once; every row shows it.
TEST(OutputListTest, TextsThatRowsShare) {
  const OutputListPtr list = MakeOutputList(5);
  const std::string long_text(100, 'k');
  const std::string other(100, 'o');
  RowFacts facts;
  facts.path = long_text;
  const TextViews rows[] = {{long_text, "a", long_text, "", "1"},
                            {long_text, "b", long_text},
                            {long_text, "", other, "t"},
                            {"", long_text},
                            {other, long_text},
                            {other}};
  for (const TextViews& row : rows) AddTexts(*list, row, 7, true, facts);
  for (uint32_t row = 0; row < std::size(rows); ++row) {
    SCOPED_TRACE(row);
    TextViews cells(5);
    CellTexts(*list, row, cells);
    for (int column = 0; column < 5; ++column) {
      const auto at = static_cast<size_t>(column);
      const std::string_view expected = at < rows[row].size() ? rows[row][at] : "";
      EXPECT_EQ(CellText(*list, row, column), expected);
      EXPECT_EQ(cells[at], expected);
    }
    EXPECT_EQ(FactsOfRow(*list, row).path, long_text);
  }
  ASSERT_TRUE(ReplaceCell(*list, 0, 0, "changed"));
  EXPECT_EQ(CellText(*list, 0, 0), "changed");
  EXPECT_EQ(CellText(*list, 1, 0), long_text);
  EXPECT_EQ(CellText(*list, 1, 2), long_text);
  ClearRows(*list);
  AddTexts(*list, {other, "x"});
  EXPECT_EQ(CellText(*list, 0, 0), other);
}

TEST(OutputListTest, RowsThatAreTakenOver) {
  const OutputListPtr from = MakeOutputList(51);
  const std::string long_text(50, 'k');
  for (int i = 0; i < 1000; ++i)
    AddTexts(*from, {i % 2 == 0 ? long_text : std::to_string(i)}, 4, true);
  std::vector<uint32_t> order(1000);
  for (uint32_t i = 0; i < 1000; ++i) order[i] = 999 - i;
  const OutputListPtr list = MakeOutputList(51);
  EXPECT_FALSE(MoveRows(*list, *from, std::span(order).first(10)));
  EXPECT_FALSE(MoveRows(*MakeOutputList(5), *from, order));
  ASSERT_TRUE(MoveRows(*list, *from, order));
  EXPECT_EQ(RowCount(*from), 0u);
  ASSERT_EQ(RowCount(*list), 1000u);
  EXPECT_EQ(CellText(*list, 0, 0), "999");
  EXPECT_EQ(CellText(*list, 999, 0), long_text);
  AddTexts(*list, {"more"});
  EXPECT_EQ(CellText(*list, 1000, 0), "more");
  EXPECT_FALSE(MoveRows(*list, *from, {}));
}

// Only the first: after it the list takes none, and the operation ends.
TEST(RefusedRow, IsToldOnce) {
  const testing::HostRecorder host;
  ForgetShortfalls();
  TellOfRefusedRow();
  EXPECT_TRUE(host.messages.empty());
  for (const char* first : {"0001, a", "0002, b"}) NoteRefusedRow(first);
  TellOfRefusedRow();
  const std::vector<testing::ShownMessage> told = {
      {"Error adding item 0001, a to list", "Error", Icon::kStop}};
  EXPECT_EQ(host.messages, told);
  ForgetShortfalls();
  EXPECT_FALSE(RefusedRow().has_value());
}

}  // namespace
}  // namespace hivequarry

// What dialogs propose for a list that is saved, and lists as tables.
#include "view/save_names.h"

#include <gtest/gtest.h>

#include "lists/list_writers.h"

namespace hivequarry::testing {
namespace {

TEST(SaveNamesTest, NamesAndFolders) {
  EXPECT_EQ(CleanFileName("a:b\\c?\x01 ."), "a_b_c__");
  EXPECT_EQ(CleanFileName(" .. "), "");
  EXPECT_EQ(CleanFileName(std::string(300, 'x')).size(), 100U);
  EXPECT_EQ(ProposedListName("Search results", "C:\\case 1\\NTUSER.DAT"),
            "Search results of NTUSER.DAT");
  EXPECT_EQ(ProposedListName("Timeline", ""), "Timeline");
  EXPECT_EQ(ProposedListName("Raw record: SAM", "/case/SAM"), "Raw record_ SAM");
  const struct {
    const char* last;
    const char* evidence;
    const char* proposed;
  } cases[] = {
      {"C:\\reports", "C:\\case", "C:\\reports"},   {"c:\\CASE", "C:\\case", "D:\\doc"},
      {"C:\\case\\lists", "C:\\case\\", "D:\\doc"}, {"C:/case", "C:\\case", "D:\\doc"},
      {"C:\\case 2", "C:\\case", "C:\\case 2"},     {"", "C:\\case", "D:\\doc"},
  };
  for (const auto& c : cases) {
    const std::string evidence[] = {"E:\\other case", c.evidence};
    EXPECT_EQ(ProposedFolder(c.last, evidence, "D:\\doc"), c.proposed) << c.last;
  }
  EXPECT_EQ(ProposedFolder("C:\\x", {}, "D:\\doc"), "C:\\x");
}

template <typename Write>
std::string Written(const Write& write) {
  std::string text;
  EXPECT_TRUE(write([&text](std::string_view piece) {
    text += piece;
    return true;
  }));
  return text;
}

TEST(ListTablesTest, TabbedHtmlAndChosenRows) {
  const OutputListPtr list = MakeOutputList(15);
  SetListTitle(*list, "A <list>");
  SetListSubtitle(*list, "sub & title");
  for (const char* key : {"one", "a\tb\n<td>", "\"three\""}) {
    const Cell cells[] = {key, "=v", "e,rr"};
    NewRow row;
    row.cells = cells;
    AddRow(*list, row);
  }
  const uint32_t rows[] = {1, 0};
  const std::string lines[] = {"Filter: <x>"};
  WrittenRows which;
  which.rows = rows;
  which.listed = true;
  which.lines = lines;
  EXPECT_EQ(Written([&](const TextSink& sink) { return WriteListTabbed(*list, which, sink); }),
            "Key\tValue\tError\r\na\\u{9}b\\u{A}<td>\t=v\te,rr\r\none\t=v\te,rr\r\n");
  const std::string page =
      Written([&](const TextSink& sink) { return WriteListHtml(*list, which, sink); });
  for (const char* part :
       {"<h1>A &lt;list&gt;</h1>", "<p>Filter: &lt;x&gt;<br>\r\nsub &amp; title<br>",
        "Number of Items : 2</p>", "<th>Key</th><th>Value</th>",
        "<tr><td>one</td><td>=v</td><td>e,rr</td></tr>\r\n</tbody>", "&lt;td&gt;</td>"}) {
    EXPECT_NE(page.find(part), std::string::npos) << part;
  }
  EXPECT_EQ(page.find("three"), std::string::npos);
  EXPECT_EQ(Written([&](const TextSink& sink) {
              return WriteListCsvAs(*list, {.safe = true}, sink,
                                    {.rows = std::span(rows).last(1), .listed = true});
            }),
            "Key,Value,Error\r\none,'=v,\"e,rr\"\r\n");
  EXPECT_EQ(Written([&](const TextSink& sink) {
              return WriteRowsJsonLines(*list, {.rows = std::span(rows).last(1), .listed = true},
                                        sink);
            }),
            "{\"Key\":\"one\",\"Value\":\"=v\",\"Error\":\"e,rr\",\"Offset\":0}\n");
}

}  // namespace
}  // namespace hivequarry::testing

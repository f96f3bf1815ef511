// What several lists tell of one thing, and where they contradict each other.
#include "cases/joined.h"

#include <gtest/gtest.h>

#include "lists/list_rows.h"
#include "tests/support/texts.h"

namespace hivequarry::testing {
namespace {

HtmlSection Section(const char* id, std::vector<std::string> titles,
                    const std::vector<Texts>& rows) {
  HtmlSection section;
  section.id = id;
  OutputListPtr list = MakeOutputList(kListDetail);
  SetColumns(*list, std::move(titles));
  for (const Texts& row : rows) {
    std::vector<Cell> cells(row.begin(), row.end());
    AddListRow(*list, cells, kNoOffset);
  }
  section.lists.emplace_back(std::string("FILE-") + id, std::move(list));
  return section;
}

TEST(JoinLists, ContradictionsNameTheRowsTheyRestOn) {
  std::vector<HtmlSection> sections;
  sections.push_back(Section("am-cache", {"File", "SHA-1", "Size", "State", "Value Offset"},
                             {{"C:\\a.exe", "11aa", "5", "live", "0x10"},
                              {"c:\\A.EXE", "22bb", "5", "live", "0x20"},
                              {"C:\\b.exe", "11aa", "", "live", "0x30"},
                              {"C:\\b.exe", "33cc", "", "freed", "0x40"}}));
  sections.push_back(
      Section("shim-cache", {"Program", "Size", "State", "Value Offset"},
              {{"C:\\a.exe", "5", "live", "0x50"}, {"C:\\b.exe", "9", "live", "0x60"}}));
  const OutputListPtr list = JoinLists(sections);
  Texts said;
  for (uint32_t row = 0; row < RowCount(*list); ++row) {
    if (CellText(*list, row, 2) == "contradiction") {
      said.push_back(std::string(CellText(*list, row, 1)) + "|" +
                     std::string(CellText(*list, row, 6)));
    }
  }
  EXPECT_EQ(said, Texts{"C:\\A.EXE|SHA-1: 11aa (am-cache, FILE-am-cache 0x10), 22bb (am-cache, "
                        "FILE-am-cache 0x20)"})
      << "what was deleted may have been otherwise";
}

}  // namespace
}  // namespace hivequarry::testing

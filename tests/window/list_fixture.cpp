#include "tests/window/list_fixture.h"

#include <array>

#include "ui/dialogs/list_dialogs.h"
#include "ui/frame/text.h"
#include "ui/lists/list_sorting.h"

namespace hivequarry::testing {

void ListTest::SetUp() {
  WindowTest::SetUp();
  TheSettings() = Settings();
  TheSettings().options.sort_new_lists = false;
  TheEscapeKey().is_down = [] { return false; };
}

void ListTest::TearDown() {
  WindowTest::TearDown();
  TheSettings() = Settings();
}

OutputListPtr ListTest::MakeRows(int kind, std::initializer_list<Texts> rows) {
  OutputListPtr list = MakeOutputList(kind);
  for (const Texts& cells : rows) {
    const std::vector<Cell> added(cells.begin(), cells.end());
    NewRow row;
    row.cells = added;
    row.icon = static_cast<int>(RowCount(*list) % 4);
    row.has_datum = false;
    AddRow(*list, row);
  }
  return list;
}

OutputListPtr ListTest::MakeManyRows(uint32_t count) {
  OutputListPtr list = MakeOutputList(51);
  for (uint32_t i = 0; i < count; ++i) {
    AddText(*list, Formatted("Row %07u", i));
  }
  return list;
}

ListPlace& ListTest::OpenList(OutputListPtr list) {
  return *OpenListWindow(*window_, std::move(list));
}

void ListTest::Finish(ListPlace& place) {
  ASSERT_TRUE(
      PumpUntil([&] { return !place.working && !IsSelecting(place); }, std::chrono::seconds(60)));
}

void ListTest::RunList(ListPlace& place, uint32_t command) {
  SendMessageW(place.window, WM_COMMAND, command, 0);
  Finish(place);
}

Texts ListTest::Column(const ListPlace& place, size_t column) const {
  Texts texts;
  for (int row = 0; row < ListView_GetItemCount(place.list); ++row) {
    texts.push_back(RowTexts(place.list, row)[column]);
  }
  return texts;
}

Texts ListTest::Selected(const ListPlace& place) {
  Texts texts;
  for (const uint32_t row : SelectedRows(place)) {
    texts.emplace_back(CellText(*place.model, row, 0));
  }
  return texts;
}

std::string ListTest::PartText(const ListPlace& place, int part) {
  std::array<wchar_t, 300> text{};
  SendMessageW(place.status, SB_GETTEXTW, static_cast<WPARAM>(part),
               reinterpret_cast<LPARAM>(text.data()));
  return Utf8Name(text.data());
}

void AddText(OutputList& list, std::string_view text, uint32_t datum) {
  const Cell cell = text;
  NewRow row;
  row.cells = std::span(&cell, 1);
  row.datum = datum;
  row.has_datum = datum != 0;
  AddRow(list, row);
}

}  // namespace hivequarry::testing

// Output Lists in the real window.
#pragma once

#include <initializer_list>
#include <string>
#include <vector>

#include "app/settings.h"
#include "lists/output_list.h"
#include "tests/window/window_fixture.h"
#include "ui/lists/list_place.h"
#include "ui/lists/list_window.h"
#include "view/list_commands.h"

namespace hivequarry::testing {

class ListTest : public WindowTest {
 protected:
  void SetUp() override;
  void TearDown() override;

  // A list whose rows are given cell by cell; row i has the icon i % 4 and no position.
  static OutputListPtr MakeRows(int kind, std::initializer_list<Texts> rows);
  // A list of one column: `count` rows "Row 0000000" on.
  static OutputListPtr MakeManyRows(uint32_t count);
  ListPlace& OpenList(OutputListPtr list);
  // Until no worker is at work on the list.
  static void Finish(ListPlace& place);
  void RunList(ListPlace& place, uint32_t command);

  // What the control shows of a column, row by row.
  Texts Column(const ListPlace& place, size_t column) const;
  static Texts Selected(const ListPlace& place);
  static std::string PartText(const ListPlace& place, int part);
};

// Adds a row of one cell; without a datum it speaks of no position.
void AddText(OutputList& list, std::string_view text, uint32_t datum = 0);

}  // namespace hivequarry::testing

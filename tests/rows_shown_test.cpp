// Which rows of a list are shown, in which order.
#include "lists/rows_shown.h"

#include <gtest/gtest.h>

namespace hivequarry::testing {
namespace {

using RowList = std::vector<uint32_t>;
using Chosen = std::vector<bool>;

TEST(RowsShownTest, OrderAndChoiceHoldTogether) {
  RowsShown view;
  EXPECT_FALSE(IsChoice(view));
  EXPECT_EQ(ShownRows(view, 3), (RowList{0, 1, 2}));
  FilterRows(view, Chosen{true, false, true, true});
  EXPECT_EQ(ShownRows(view, 4), (RowList{0, 2, 3}));
  PutInOrder(view, {3, 1, 2, 0});
  EXPECT_EQ(ShownRows(view, 4), (RowList{3, 2, 0}));
  EXPECT_EQ(AllRows(view, 4), (RowList{3, 1, 2, 0}));
  EXPECT_EQ(ShownCount(view, 4), 3u);
  EXPECT_EQ(RowAt(view, 1), 2u);
  EXPECT_EQ(PlacesOfRows(view, 4), (RowList{2, kNoPlace, 1, 0}));
  FilterRows(view, Chosen{false, true, false, false});
  EXPECT_EQ(ShownRows(view, 4), RowList{1});
  UnfilterRows(view);
  EXPECT_EQ(ShownRows(view, 4), (RowList{3, 1, 2, 0})) << "the order outlives the choice";
}

TEST(RowsShownTest, RowsThatComeAndGo) {
  RowsShown view;
  PutInOrder(view, {1, 0});
  FilterRows(view, Chosen{true, false});
  FollowRows(view, 4);
  EXPECT_EQ(ShownRows(view, 4), (RowList{0, 2, 3})) << "rows added later are shown";
  EXPECT_EQ(AllRows(view, 4), (RowList{1, 0, 2, 3}));
  FollowRows(view, 1);
  EXPECT_EQ(ShownRows(view, 1), RowList{0});
  EXPECT_FALSE(IsChoice(view));
}

TEST(RowsShownTest, TestsEveryRowUntilStopped) {
  const auto odd = [](uint32_t row) { return row % 2 == 1; };
  EXPECT_EQ(TestRows(3, odd, [] { return false; }), (Chosen{false, true, false}));
  EXPECT_EQ(TestRows(3, odd, [] { return true; }), Chosen{});
}

}  // namespace
}  // namespace hivequarry::testing

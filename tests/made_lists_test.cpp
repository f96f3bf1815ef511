// Lists whose rows are written as they are made: the same bytes as of a list that keeps them, and
// what is cut short is told of once.
#include <gtest/gtest.h>

#include "host/long_operation.h"
#include "host/shortfalls.h"
#include "lists/list_writers.h"
#include "reports/hive_lists.h"
#include "tests/support/deadline.h"
#include "tests/support/hostile_hives.h"
#include "tests/support/opened_hive.h"

namespace hivequarry::testing {
namespace {

// What is written, and how many shortfalls were noted meanwhile.
struct Written {
  std::string text;
  uint64_t shortfalls = 0;
  bool operator==(const Written&) const = default;
};

template <typename Write>
Written WrittenBy(const Write& write) {
  ForgetShortfalls();
  Written written;
  EXPECT_TRUE(write([&](std::string_view piece) {
    written.text += piece;
    return true;
  }));
  for (size_t kind = 0; kind < kShortfallKinds; ++kind) {
    written.shortfalls += ShortfallCount(static_cast<Shortfall>(kind));
  }
  return written;
}

// Of lists that `unmade` gives, each empty.
template <typename Unmade>
void ExpectMadeAlike(const HiveImage& hive, const Unmade& unmade) {
  const auto made = [&](const auto& write) {
    return WrittenBy([&](const TextSink& sink) {
      const UnmadeList list = unmade();
      return write(*list.list, list.make, sink);
    });
  };
  const auto kept = [&](const auto& write) {
    return WrittenBy([&](const TextSink& sink) {
      const UnmadeList list = unmade();
      list.make(*list.list);
      return write(*list.list, sink);
    });
  };
  for (const bool visible : {false, true}) {
    EXPECT_EQ(made([&](OutputList& list, const RowMaker& make, const TextSink& sink) {
                return WriteMadeText(list, make, visible, sink);
              }),
              kept([&](const OutputList& list, const TextSink& sink) {
                return visible ? WriteListVisible(list, sink) : WriteListText(list, sink);
              }));
    const CsvForm form{visible, visible};
    EXPECT_EQ(made([&](OutputList& list, const RowMaker& make, const TextSink& sink) {
                return WriteMadeCsv(list, make, form, sink);
              }),
              kept([&](const OutputList& list, const TextSink& sink) {
                return WriteListCsvAs(list, form, sink);
              }));
  }
  EXPECT_EQ(made([&](OutputList& list, const RowMaker& make, const TextSink& sink) {
              return WriteMadeJsonLines(list, make, &hive, sink);
            }),
            kept([&](const OutputList& list, const TextSink& sink) {
              return WriteHiveJsonLines(list, hive, sink);
            }));
}

class MadeLists : public ::testing::TestWithParam<HostileHive> {};

TEST_P(MadeLists, AreWrittenAsThoseThatKeepTheirRows) {
  const Bytes bytes = GetParam().make(0.25 / kSizeShare);
  const OpenedHive opened{std::span<const uint8_t>(bytes)};
  for (const bool more : {false, true}) {
    KeyListOptions keys;
    keys.details = keys.disconnected = more;
    ExpectMadeAlike(opened.hive, [&] { return KeyTreeToList(opened.hive, opened.tree, 0, keys); });
    ValueListOptions values;
    values.raw = more;
    ExpectMadeAlike(opened.hive, [&] {
      return KeyValuesToList(opened.hive, opened.tree, more ? 0 : kNoItem, values);
    });
  }
}

INSTANTIATE_TEST_SUITE_P(Cases, MadeLists, ::testing::ValuesIn(HostileHives()));

TEST(MadeListsOfNothing, HaveTheirTitlesAtMost) {
  HiveBuilder builder;
  builder.Key("A");
  const OpenedHive opened(builder.Build());
  ExpectMadeAlike(opened.hive,
                  [&] { return KeyValuesToList(opened.hive, opened.tree, kNoItem, {}); });
}

// Whoever wants no more gets no more, and nobody goes on making rows for long.
TEST(MadeListsThatEndEarly, AreNotMadeToTheirEnd) {
  const OutputListPtr list = MakeOutputList(kListTree);
  const std::string path(400, 'k');
  uint32_t rows = 0;
  const RowMaker make = [&](OutputList& to) {
    for (rows = 0; rows < 2000 && TakesRows(to) && !StopRequested(); ++rows) {
      const Cell cells[] = {path};
      NewRow row;
      row.cells = cells;
      AddRow(to, row);
    }
  };
  int calls = 0;
  const TextSink refuses = [&](std::string_view) { return ++calls < 3; };
  EXPECT_FALSE(WriteMadeCsv(*list, make, {}, refuses));
  EXPECT_EQ(calls, 3);
  EXPECT_LT(rows, 1000u);
  calls = 0;
  EXPECT_FALSE(WriteMadeText(*list, make, true, refuses));
  EXPECT_EQ(calls, 3);
  ASSERT_TRUE(BeginOperation(kOperationLoad));
  EXPECT_FALSE(WriteMadeJsonLines(*list, make, nullptr, [&](std::string_view) {
    RequestStop();
    return true;
  }));
  EndOperation();
  EXPECT_LT(rows, 1000u);
  // It keeps rows again.
  make(*list);
  EXPECT_EQ(RowCount(*list), 2000u);
  EXPECT_EQ(CellText(*list, 1999, 0), path);
}

}  // namespace
}  // namespace hivequarry::testing

// Files with more than one hive in them: the runs of their blocks, the pieces they are cut into,
// and the list of their roots.
#include "reports/file_pieces.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "app/list_words.h"
#include "host/number_text.h"
#include "tests/support/opened_hive.h"
#include "tests/support/texts.h"

namespace hivequarry::testing {
namespace {

using Ranges = std::vector<std::pair<uint32_t, uint32_t>>;  // first and last byte

// A base block and four bins of 4096 bytes each.
Bytes FourBins() {
  HiveBuilder builder;
  for (const char* name : {"A", "B", "C"}) builder.Key(name).NewBin().Binary("v", 3000);
  return builder.Build().bytes;
}
constexpr uint32_t kHoldingSize = 5 * 4096;
constexpr uint32_t kRoot = 4128;

Bytes PieceOf(const Bytes& bytes, uint32_t from, uint32_t to) {
  return Bytes(bytes.begin() + from, bytes.begin() + to);
}
Bytes Changed(uint32_t at, uint32_t value) {
  Bytes bytes = FourBins();
  PutU32(bytes, at, value);
  return bytes;
}
Texts Column(const OutputList& list, int column) {
  Texts texts;
  for (uint32_t row = 0; row < RowCount(list); ++row) {
    texts.emplace_back(CellText(list, row, column));
  }
  return texts;
}

// The decimal numbers of the rows: "first-last" and so on.
std::string RunsOf(const Bytes& bytes) {
  const TempFile file(bytes);
  const OutputListPtr list = ListBlockRunsAndTell(file.name());
  EXPECT_EQ(ListSource(*list), file.name());
  std::string runs;
  for (uint32_t row = 0; row < RowCount(*list); ++row) {
    uint32_t number[3];
    for (int column = 0; column < 3; ++column) {
      const std::string text(CellText(*list, row, column));
      number[column] = static_cast<uint32_t>(std::stoul(text.substr(text.find('(') + 1)));
      EXPECT_EQ(text, HexAndDecimal(number[column]));
    }
    EXPECT_EQ(number[2], number[1] - number[0] + 1);
    runs += (row == 0 ? "" : " ") + std::to_string(number[0]) + "-" + std::to_string(number[1]);
  }
  return runs;
}

TEST(BlockRuns, WhereRunsBeginAndEnd) {
  const Bytes hive = FourBins();
  ASSERT_EQ(hive.size(), kHoldingSize);
  const Bytes blocks = PieceOf(hive, 4096, kHoldingSize);
  const Bytes later = PieceOf(hive, 8192, kHoldingSize);
  Bytes holding = hive;  // headers as data
  for (const uint32_t at : {9192u, 17384u}) PutBytes(holding, at, PieceOf(hive, 4096, 4128));
  // The last two blocks are one; the second one's header was left where it was.
  const Bytes grown = Joined({Changed(12296, 8192), Bytes(9000, 'h')});
  const std::pair<Bytes, const char*> cases[] = {
      {Bytes(100000, 'h'), ""},
      {hive, "0-20479"},
      {Changed(0, 0x66006572), "0-20479"},     // three letters of a base block
      {Changed(0, 0x66000072), "4096-20479"},  // two letters
      {Embedded(hive, 700, 5000, 'h'), "700-21179"},
      {Joined({hive, hive}), "0-20479 20480-40959"},
      {Joined({blocks, blocks}), "0-16383 16384-32767"},
      {Joined({hive, later}), "0-32767"},
      {Joined({later, Bytes(100), later}), "0-12287 12388-24675"},
      {PieceOf(hive, 0, kHoldingSize - 1000), "0-19479"},
      {PieceOf(hive, 0, kHoldingSize - 4065), "0-16383"},  // in a header
      {Joined({PieceOf(hive, 4096, 4608), hive}), "0-511 512-20991"},
      {Changed(8200, 0), "0-8191 12288-20479"},
      {Changed(8200, 4100), "0-8191 12288-20479"},
      {Changed(8196, 4100), "0-8191 12288-20479"},
      {Changed(8200, 0x7FFFF000), "0-20479"},
      {Joined({holding, holding}), "0-20479 20480-40959"},
      {grown, "0-20479"},
      // On the seams of what is read at a time.
      {Embedded(hive, 1044449, 3000000), "1044449-1064928"},
      {Embedded(hive, 1044479, 3000000), "1044479-1064958"},
      {Embedded(hive, 1048572, 3000000), "1048572-1069051"}};
  for (const auto& [bytes, runs] : cases) EXPECT_EQ(RunsOf(bytes), runs) << bytes.size();
  EXPECT_EQ(HexAndDecimal(4128), "0x00001020 (4128)");
  std::string appended = "a";
  AppendHexAndDecimal(4128, appended);
  AppendHexAndDecimal(0xFEDCBA98, appended);
  EXPECT_EQ(appended, "a0x00001020 (4128)0xFEDCBA98 (4275878552)");
  EXPECT_EQ(HexNumber(0x09AF1390), "0x09AF1390");
  EXPECT_EQ(HexAndDecimal(uint64_t{5} << 30), "0x140000000 (5368709120)");
}

Bytes Pattern() {
  Bytes bytes(20000);
  for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(i * 31 + i / 256);
  return bytes;
}

struct SplitFileTest : ::testing::Test {
  SplitFileTest() { SetListSource(*list, source.name()); }
  void Add(std::string_view start, std::string_view end) {
    const Cell cells[] = {start, end};
    NewRow row;
    row.cells = cells;
    AddRow(*list, row);
  }
  HostRecorder host;
  Bytes bytes = Pattern();
  TempFile source{bytes};
  OutputListPtr list = MakeOutputList(55);
};

TEST_F(SplitFileTest, PiecesAreTheBytesOfTheirRanges) {
  const Ranges ranges = {{0, 9999}, {4096, 8191}, {777, 777}, {19999, 20000}, {0, 20000}, {5, 6}};
  for (const auto& [first, last] : ranges) Add(HexAndDecimal(first), HexAndDecimal(last));
  ASSERT_TRUE(ReplaceCell(*list, 5, 0, "00006, 0x0000000F (5) edited"));
  const std::pair<std::string, const char*> runs[] = {
      {"", ".sp_0"}, {"", ".sp1_0"}, {source.folder(), ".sp2_0"}};
  for (const auto& [folder, ending] : runs) {
    EXPECT_TRUE(SplitFileAndTell(*list, folder));
    EXPECT_EQ(host.statuses.back(), "Done.");
    for (uint32_t row = 0; row < ranges.size(); ++row) {
      const std::string name = source.name() + ending + std::to_string(row + 1);
      EXPECT_EQ(CellText(*list, row, 3), name);
      const uint32_t end = std::min(ranges[row].second + 1, 20000u);
      EXPECT_TRUE(ContentOf<Bytes>(name) == PieceOf(bytes, ranges[row].first, end)) << name;
    }
  }
  EXPECT_TRUE(ContentOf<Bytes>(source.name()) == bytes);
  EXPECT_TRUE(host.messages.empty());
}

TEST_F(SplitFileTest, AnImpossibleRowEndsTheRun) {
  for (const char* end : {"(4)", "(20001)", "19", "(19", "()", "(-1)", "(99999999999999999999)"}) {
    ClearRows(*list);
    Add("(10)", "(19)");
    Add("(5)", end);
    Add("(30)", "(39)");
    EXPECT_TRUE(SplitFileAndTell(*list));
    EXPECT_TRUE(ContentOf<Bytes>(std::string(CellText(*list, 0, 3))) == PieceOf(bytes, 10, 20))
        << end;
    EXPECT_EQ(CellText(*list, 2, 3), "") << end;
  }
  EXPECT_TRUE(host.messages.empty());
}

TEST_F(SplitFileTest, WhatTheUserIsTold) {
  EXPECT_FALSE(SplitFileAndTell(*list)) << "no rows, nothing to tell";
  for (int row = 0; row < 2; ++row) Add("(0)", "(9)");
  const std::string missing = source.folder() + "/none";
  EXPECT_FALSE(SplitFileAndTell(*list, missing));
  for (int series = 0; series < 100; ++series) {
    const std::string number = series == 0 ? "" : std::to_string(series);
    std::filesystem::create_directory(source.name() + ".sp" + number + "_01");
  }
  EXPECT_FALSE(SplitFileAndTell(*list));
  SetListSource(*list, missing);
  EXPECT_FALSE(SplitFileAndTell(*list));
  EXPECT_EQ(ListBlockRunsAndTell(missing), nullptr);
  const ShownMessage unreadable{"Can not open File !", "Hivequarry", Icon::kExclamation};
  const std::vector<ShownMessage> told = {
      {"Can not create file " + missing + "/TEST.sp_01", "Error", Icon::kStop},
      {"Unclassified error.", "Hivequarry", Icon::kInformation},
      unreadable,
      unreadable};
  EXPECT_EQ(host.messages, told);
}

TEST(RootKeys, OfTheTreeAndBehindTheCut) {
  HiveBuilder builder("One");
  builder.Root().Time(FileTime(2020, 5, 6, 7, 8, 9));
  const Bytes first = builder.Build().bytes;
  const Bytes bytes =
      Joined({Bytes(512), first, FourBins(), PieceOf(FourBins(), kRoot, kHoldingSize)});
  const auto end = static_cast<uint32_t>(first.size());
  for (const uint32_t base : {512u, 0u}) {
    const HostRecorder host;
    OpenedImage image(std::span<const uint8_t>(bytes).subspan(512 - base));
    KeyTree tree;
    BuildImageTree(image.hive(), {}, tree);
    const OutputListPtr list = ListRootKeys(image.hive(), tree);
    Texts roots;
    for (const uint32_t at : {kRoot, end + kRoot, end + kHoldingSize}) {
      roots.push_back(HexAndDecimal(base + at));
    }
    EXPECT_EQ(Column(*list, 0), roots);
    EXPECT_EQ(Column(*list, 1), (Texts{"yes", "yes", "no"}));
    EXPECT_EQ(Column(*list, 2), (Texts{ItemPath(image.hive(), tree, 0), "", ""}));
    EXPECT_EQ(Column(*list, 3), (Texts{"One", "ROOT", "ROOT"}));
    EXPECT_EQ(CellText(*list, 0, 4), "2020/05/06, 07:08:09");
    EXPECT_EQ(RowDatum(*list, 1), end + kRoot);
  }
}

TEST(RootKeys, ValidOnes) {
  constexpr uint32_t kCases[][3] = {{1, kRoot + 4, 0x00206B6E},  // flags lost
                                    {0, kRoot + 4, 0x002C0000},  // signature lost
                                    {0, kRoot + field::kKeyList, 0x100},
                                    {0, kRoot + field::kKeyList, kNone},
                                    {0, 4096 + field::kBinOffset, 4096}};
  for (const auto& [valid, at, value] : kCases) {
    const Bytes bytes = Changed(at, value);
    const OpenedHive opened{std::span<const uint8_t>(bytes)};
    const OutputListPtr list = ListRootKeys(opened.hive, opened.tree);
    EXPECT_EQ(Column(*list, 1), Texts{valid == 1 ? "yes" : "no"}) << at;
  }
}

}  // namespace
}  // namespace hivequarry::testing

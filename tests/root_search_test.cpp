// Files with more than one root: where an image ends, what the user is asked, and what a copy that
// is opened for the answer shows.
#include "recovery/root_search.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "app/command_line.h"
#include "hive/keys.h"
#include "hive/opening.h"
#include "tests/support/opened_hive.h"
#include "tests/support/texts.h"

namespace hivequarry::testing {
namespace {

BuiltHive HiveNamed(const std::string& name, int bins = 1) {
  HiveBuilder builder(name);
  builder.Key(name + "-A\\" + name + "-B").Sz("v", name);
  for (int i = 1; i < bins; ++i) builder.Key("C" + std::to_string(i)).NewBin().Binary("v", 2000);
  return builder.Build();
}
Texts NamesOf(const std::string& root) { return {root, root + "-A", root + "-B"}; }

// A window of the program: a range of a file (none: the whole file), opened and built.
struct Window {
  Window(const CommandLine& line, Answer answer, BuildOptions options = {}) {
    host.answer = answer;
    TheHiveTable().start_offset = line.start_offset;
    TheHiveTable().end_offset = line.end_offset;
    hive = &TheHiveTable().slots.at(static_cast<size_t>(OpenHive(line.file)));
    options.on_cut = OfferOtherHive;
    summary = BuildImageTree(*hive, options, tree);
    for (uint32_t item = 0; item < tree.items.size(); ++item) {
      if (IsKeyItem(tree, item)) names.push_back(ReadKeyName(*hive, tree.items[item].position));
    }
  }
  ~Window() { ResetHiveTable(); }
  HostRecorder host;
  HiveImage* hive = nullptr;
  KeyTree tree;
  ImageSummary summary;
  Texts names;
};

CommandLine Whole(const std::string& file) {
  CommandLine line;
  line.file = file;
  return line;
}

std::vector<ShownMessage> Question(size_t root) {
  return {{Formatted("New Root Cell found at 0x%zX! Open in new Window?", root), "Hivequarry",
           Icon::kQuestion, Buttons::kYesNo}};
}

TEST(RootSearch, RangeLeavesRoomInFront) {
  constexpr uint32_t kCases[][2] = {{0x3000, 0x1FE0}, {4128, 0}, {4127, 4095}, {32, 0}, {31, 23},
                                    {20, 12},         {8, 0},    {7, 7},       {5, 5},  {0, 0}};
  for (const auto& [root, start] : kCases) EXPECT_EQ(RangeStartForRoot(root), start) << root;
}

TEST(RootSearch, AnotherHiveEndsTheImage) {
  const Bytes first = HiveNamed("One", 3).bytes;
  // Longer than the first, so that its later blocks could go on where those of the first end.
  const Bytes second = HiveNamed("Two", 30).bytes;
  const OpenedHive alone{std::span<const uint8_t>(first)};
  for (const uint32_t without : {0u, kDataArea}) {
    const TempFile file(Joined({first, std::span(second).subspan(without)}));
    const size_t root = first.size() + 4128 - without;
    for (const Answer answer : {Answer::kNo, Answer::kYes}) {
      const Window window(Whole(file.name()), answer);
      const HiveImage& hive = *window.hive;
      EXPECT_EQ(window.host.messages, Question(root));
      const std::string asked = "-soff=" + std::to_string(root - 4128) +
                                " -eoff=" + std::to_string(hive.held) + " \"" + file.name() + "\"";
      EXPECT_EQ(window.host.launches, answer == Answer::kYes ? Texts{asked} : Texts{});
      EXPECT_EQ(hive.held, first.size() + second.size() - without);
      EXPECT_EQ(hive.length, root);
      EXPECT_EQ(hive.last_valid, root - 8);
      EXPECT_TRUE(hive.offset_runs.empty()) << "the other's blocks have no say";
      EXPECT_EQ(window.summary.connected_keys, alone.summary.keys);
      EXPECT_EQ(window.summary.keys, alone.summary.keys);
      EXPECT_EQ(window.summary.bins, alone.summary.bins);
    }
  }
}

// Yes to every question: each hive in a window of its own, and no window asks for its own root.
TEST(RootSearch, EveryHiveGetsItsWindow) {
  const Bytes second = HiveNamed("Two").DropBaseBlock().bytes;
  const TempFile file(Joined(
      {Bytes(700, 'h'), HiveNamed("One").bytes, Bytes(5000), second, HiveNamed("Three").bytes}));
  CommandLine line = Whole(std::filesystem::relative(file.name()).string());
  for (const std::string root : {"One", "Two", "Three"}) {
    const Window window(line, Answer::kYes);
    EXPECT_EQ(window.names, NamesOf(root));
    EXPECT_EQ(window.summary.connected_keys, 3u) << root;
    ASSERT_EQ(window.host.launches.size(), root == "Three" ? 0u : 1u);
    if (root != "Three") line = ParseCommandLine(window.host.launches[0]);
    EXPECT_TRUE(std::filesystem::path(line.file).is_absolute());
  }
}

// A bare root cell with its keys at different places of a file.
TEST(RootSearch, RootOfAFragment) {
  const Bytes cells = HiveNamed("Lone").Erase(0, 4128).bytes;
  for (const uint32_t root : {0, 8, 24, 32, 40, 4120, 4128, 4136, 0x3000, 0x3020}) {
    SCOPED_TRACE(root);
    const TempFile file(Joined({Bytes(root), cells}));
    const Window window(Whole(file.name()), Answer::kYes);
    const bool own = root <= 4128;
    EXPECT_EQ(window.host.messages, own ? std::vector<ShownMessage>() : Question(root));
    EXPECT_EQ(window.hive->root_position, own ? root : 0);
    EXPECT_EQ(window.names, own ? NamesOf("Lone") : Texts());
    if (own) continue;
    EXPECT_EQ(window.hive->length, root);
    const Window copy(ParseCommandLine(window.host.launches.at(0)), Answer::kYes);
    EXPECT_TRUE(copy.host.messages.empty());
    EXPECT_EQ(copy.names, NamesOf("Lone"));
  }
}

// Its place is found by trying, and then it is scanned once more.
TEST(RootSearch, FragmentScannedTwiceAsksOnce) {
  const Bytes first = HiveNamed("One").Erase(0, 4128).bytes;
  const TempFile file(Joined({Bytes(32), first, HiveNamed("Two").Erase(0, 4128).bytes}));
  const Window window(Whole(file.name()), Answer::kNo);
  EXPECT_EQ(window.host.messages, Question(32 + first.size()));
  EXPECT_TRUE(window.hive->data_base_proven);
  EXPECT_EQ(window.names, NamesOf("One"));
}

TEST(RootSearch, WhatCountsAsARoot) {
  // Signature and flags of the second hive's root: "nk" but for the last one.
  for (const uint32_t word : {0x002C6B6E, 0x00AC6B6E, 0x102C6B6E, 0x002A6B6C}) {
    SCOPED_TRACE(word);
    const bool counts = word == 0x002C6B6E;
    const Bytes second = HiveNamed("Two").SetU32(4128, 4, word).bytes;
    const TempFile file(Joined({HiveNamed("One").bytes, second}));
    for (const bool ask : {true, false}) {
      BuildOptions options;
      options.cut_at_other_root = ask;
      const Window window(Whole(file.name()), Answer::kNo, options);
      EXPECT_EQ(window.host.messages.size(), ask && counts ? 1u : 0u);
      EXPECT_EQ(window.hive->length < window.hive->held, ask && counts);
      EXPECT_EQ(window.summary.keys > 3, !(ask && counts)) << "keys of both hives";
      EXPECT_EQ(window.hive->root_position, 4128u);
    }
  }
}

}  // namespace
}  // namespace hivequarry::testing

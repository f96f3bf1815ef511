// Work on a second processor, and that what it finds is what one processor would have found.
#include "host/side_work.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <random>

#include "host/long_operation.h"
#include "host/number_text.h"
#include "lists/list_writers.h"
#include "reports/freed_lists.h"
#include "reports/hive_lists.h"
#include "reports/timeline.h"
#include "tests/support/hostile_hives.h"
#include "tests/support/opened_hive.h"
#include "tests/support/sample_hives.h"

namespace hivequarry::testing {
namespace {

// Of the images in a test, however small they are.
class Processors {
 public:
  explicit Processors(unsigned count) : before_(TheSideWorkLimits()) {
    TheSideWorkLimits() = {0, count};
  }
  ~Processors() { TheSideWorkLimits() = before_; }
  Processors(const Processors&) = delete;
  Processors& operator=(const Processors&) = delete;

 private:
  SideWorkLimits before_;
};

TEST(SideWork, IsDoneOnceAndCountsWhereItsCallerDoes) {
  std::atomic<int> done = 0;
  {
    BackgroundWork background;
    SideWork work([&] {
      ++done;
      EXPECT_EQ(WorkInBackground(), &background);
    });
    work.Wait();
    work.Wait();
  }
  EXPECT_EQ(done, 1);
  {
    const SideWork work([&] { ++done; });
  }
  EXPECT_EQ(done, 2);
}

std::string TextOf(const OutputList& list) {
  std::string text;
  WriteListText(list, [&text](std::string_view piece) {
    text += piece;
    return true;
  });
  return text;
}

// All that a load finds, as text.
std::string Found(const Bytes& bytes, unsigned processors) {
  const Processors limit(processors);
  OpenedHive opened(bytes);
  const ImageSummary& summary = opened.summary;
  std::string text = TextOf(*ListKeyTree(opened.hive, opened.tree, 0));
  text += TextOf(*ListKeyValues(opened.hive, opened.tree, kNoItem, {}));
  text += TextOf(*ListDisconnectedValues(opened.hive, opened.tree, {}));
  text += TextOf(*ListFreedKeys(opened.hive, opened.tree));
  text += TextOf(*ListFreedValues(opened.hive, opened.tree, {}));
  for (const uint32_t count :
       {summary.keys, summary.connected_keys, summary.values, summary.security_records,
        summary.bins, summary.list_style, summary.virtual_parents, summary.virtual_children,
        summary.virtual_siblings, opened.hive.length, opened.hive.root_position,
        static_cast<uint32_t>(summary.tree_sound)}) {
    text += std::to_string(count) + ' ';
  }
  return text;
}

// A few fields of a few cells, pages and blocks.
void Damage(std::mt19937& random, Bytes& bytes) {
  const auto place = [&](uint32_t step) {
    return static_cast<uint32_t>(4096 + random() % (bytes.size() - 8192) / step * step);
  };
  const auto store = [&bytes](uint32_t at, uint32_t word) {
    for (uint32_t i = 0; i < 4; ++i) bytes[at + i] = static_cast<uint8_t>(word >> 8 * i);
  };
  const auto word = static_cast<uint32_t>(random());
  const uint32_t at = place(8);
  const uint32_t page = place(4096);
  switch (random() % 8) {
    case 0:
      return store(at, word);
    case 1:
      return store(at, place(8) - 4096);
    case 2:
      std::fill_n(bytes.begin() + page, 4096, uint8_t{0});
      return;
    case 3:
      return store(page + 8, 4096 * (word % 4));
    case 4:  // a key with a root's flags
      return store(at + 4, 0x002C6B6E);
    case 5:
      return store(at, 0x6E696268);
    case 6:
      bytes[at + random() % 8] ^= static_cast<uint8_t>(1U << word % 8);
      return;
    default:
      std::copy_n(bytes.begin() + place(4096), 4096, bytes.begin() + page);
  }
}

TEST(SideWork, FindsWhatOneWalkFinds) {
  std::vector<Bytes> hives = {DamagedSample(), HiveOfKeys(700), SharedListHive(60), FlatHive(900)};
  const size_t samples = hives.size();
  for (const HostileHive& hostile : HostileHives()) hives.push_back(hostile.make(0.02));
  for (size_t number = 0; number < hives.size(); ++number) {
    for (unsigned seed = 0; seed < (number < samples ? 16U : 3U); ++seed) {
      SCOPED_TRACE("hive " + std::to_string(number) + ", seed " + std::to_string(seed));
      std::mt19937 random(seed);
      Bytes bytes = hives[number];
      const size_t count = bytes.size() < 16384 ? 0 : seed;  // the first is whole
      for (size_t i = 0; i < count; ++i) Damage(random, bytes);
      ASSERT_EQ(Found(bytes, 2), Found(bytes, 1));
    }
  }
}

std::string TimelineText(OpenedHive& opened, TimelineForm form, unsigned processors) {
  const Processors limit(processors);
  Timeline timeline;
  TimelineHive about;
  about.path = about.label = "SOFTWARE";
  EXPECT_TRUE(AddToTimeline(timeline, opened.hive, opened.tree, {}, about));
  SortTimeline(timeline);
  EXPECT_GT(timeline.shelves.size(), 2U);
  std::string text;
  TimelineCounts counts;
  const TextSink sink = [&text](std::string_view piece) {
    text += piece;
    return true;
  };
  EXPECT_TRUE(WriteTimeline(timeline, {form}, sink, counts));
  return Concat({text, Decimal(counts.lines), " ", Decimal(counts.without_time), " ",
                 Decimal(timeline.hives[0].keys)});
}

TEST(SideWork, WritesTheSameTimeline) {
  OpenedHive opened(HiveOfKeys(30000));
  for (const TimelineForm form : {TimelineForm::kBodyfile, TimelineForm::kJsonLines}) {
    EXPECT_TRUE(TimelineText(opened, form, 2) == TimelineText(opened, form, 1));
  }
}

}  // namespace
}  // namespace hivequarry::testing

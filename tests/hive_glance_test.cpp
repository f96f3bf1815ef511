// The hive's state at a glance, and what is looked for beside operations of the user's.
#include "view/hive_glance.h"

#include <gtest/gtest.h>

#include <thread>

#include "hive/shown_zone.h"
#include "host/long_operation.h"
#include "host/shortfalls.h"
#include "tests/support/host_recorder.h"
#include "tests/support/opened_hive.h"
#include "tests/support/texts.h"

namespace hivequarry {
namespace {

using testing::BuiltHive;
using testing::HiveBuilder;
using testing::OpenedHive;
using testing::Texts;

struct Glanced {
  explicit Glanced(const BuiltHive& built)
      : opened(built), survey(SurveyHive(opened.hive, opened.tree)) {}
  HiveGlance Now() const { return GlanceAt(Facts()); }
  GlanceFacts Facts() const {
    return {opened.hive, opened.tree, opened.summary, survey, hashes, progress, findings};
  }
  OpenedHive opened;
  HiveSurvey survey;
  HiveHashes hashes;
  HashProgress progress = HashProgress::kUnderWay;
  HiveFindings findings;
};

// "text" of each; "text!" of a warning, "text+" of a find, "text-" of what is muted.
Texts TextsOf(const std::vector<GlancePart>& parts) {
  constexpr const char* kMarks[] = {"", "-", "+", "!"};
  Texts texts;
  for (const GlancePart& part : parts) {
    texts.push_back(part.text + kMarks[static_cast<size_t>(part.tone)]);
  }
  return texts;
}

BuiltHive Small() {
  HiveBuilder builder;
  builder.Key("Tools").Dword("Count", 1);
  builder.Key("Lost").Sz("Text", "abc");
  return builder.Build();
}

TEST(HiveGlance, EvidenceModeIsSaid) {
  const Glanced glanced(Small());
  GlanceFacts facts = glanced.Facts();
  EXPECT_NE(GlanceAt(facts).figures.back().text, "Evidence mode");
  facts.evidence = true;
  EXPECT_EQ(GlanceAt(facts).figures.back().text, "Evidence mode");
}

// A time whose zone was chosen is not called UTC.
TEST(HiveGlance, TimeSaysItsZone) {
  Glanced glanced(Small());
  const auto time = [&glanced] {
    for (const GlancePart& part : glanced.Now().figures) {
      if (part.tip.starts_with("Last written by the base block")) return part.text;
    }
    return std::string("none");
  };
  EXPECT_TRUE(time().ends_with(" UTC")) << time();
  ShownZone zone;
  ASSERT_TRUE(ReadZone("-03:00", zone));
  SetShownZone(zone);
  EXPECT_TRUE(time().ends_with(" -03:00")) << time();
  SetShownZone({});
}

TEST(HiveGlance, FiguresComeAsTheyAreKnown) {
  Glanced glanced(Small());
  Texts texts = TextsOf(glanced.Now().figures);
  ASSERT_GE(texts.size(), 10U);
  EXPECT_EQ(Texts(texts.begin(), texts.begin() + 5),
            (Texts{"TEST", "SHA-256 ...-", "Clean", "No logs-", "Checksum right"}));
  EXPECT_EQ(Texts(texts.end() - 4, texts.end()),
            (Texts{"3 keys", "0 disconnected-", "Freed ...-", "Structure ...-"}));

  glanced.hashes.hive = std::string(64, 'a');
  glanced.progress = HashProgress::kDone;
  glanced.findings = {true, 0, 0, false, true, {"sound", "all of it"}};
  texts = TextsOf(glanced.Now().figures);
  EXPECT_EQ(texts[1], "SHA-256 aaaaaaaa...");
  EXPECT_EQ(Texts(texts.end() - 2, texts.end()), (Texts{"0 freed-", "Structure sound"}));
  EXPECT_TRUE(glanced.Now().notes.empty());

  glanced.findings = {true, 1, 1234, true, true, {"1030 faults", "counts", 1030, 2}};
  const HiveGlance found = glanced.Now();
  texts = TextsOf(found.figures);
  EXPECT_EQ(Texts(texts.end() - 3, texts.end()),
            (Texts{"1 freed key+", "1,234 freed values+", "1,030 faults!"}));
  EXPECT_EQ(found.figures.back().lead, GlanceLead::kCheck);
  for (const auto& [odd, words] : {std::pair(1, "1 oddity!"), std::pair(2000, "2,000 oddities!")}) {
    glanced.findings.structure.faults = 0;
    glanced.findings.structure.oddities = static_cast<uint64_t>(odd);
    EXPECT_EQ(TextsOf(glanced.Now().figures).back(), words);
  }
  EXPECT_EQ(found.figures.back().tip, "counts");
  EXPECT_NE(found.figures[found.figures.size() - 2].tip.find("not all"), std::string::npos);

  glanced.hashes.hive.clear();
  EXPECT_EQ(TextsOf(glanced.Now().figures)[1], "SHA-256 not known!");
}

TEST(HiveGlance, WhatIsWrongHasALineOfItsOwn) {
  BuiltHive built = Small();
  built.Unlink("Lost");
  built.bytes[4] ^= 1;  // the first sequence number, and with it the checksum
  const Glanced glanced(built);
  const HiveGlance glance = glanced.Now();
  const Texts figures = TextsOf(glance.figures);
  EXPECT_NE(std::ranges::find(figures, "Checksum wrong!"), figures.end());
  EXPECT_NE(std::ranges::find(figures, "1 disconnected+"), figures.end());
  ASSERT_FALSE(glance.notes.empty());
  EXPECT_EQ(glance.notes[0].text.substr(0, 14), "Dirty because ");
  const std::string lines = GlanceLines(glanced.Facts());
  for (const char* line : {"SHA-256: is being computed\r\n", "Checksum: wrong\r\n",
                           "Freed: Deleted keys and values are being looked for\r\n"}) {
    EXPECT_NE(lines.find(line), std::string::npos) << line << lines;
  }
}

TEST(HiveGlance, RowsAreNoWiderThanTheRoom) {
  EXPECT_EQ(BreaksOf({40, 50, 20, 200, 10}, 100),
            (std::vector<bool>{false, false, true, true, true}));
  EXPECT_TRUE(BreaksOf({}, 10).empty());
}

// Who waits for the thread's end can answer no question.
TEST(BackgroundWork, ShowsNoMessage) {
  const testing::HostRecorder host;
  Answer answers[2] = {};
  std::thread([&answers] {
    const BackgroundWork work;
    answers[0] = ShowMessage("said", "", Icon::kExclamation);
    answers[1] = ShowMessage("asked", "", Icon::kQuestion, Buttons::kYesNo);
  }).join();
  EXPECT_EQ(answers[0], Answer::kOk);
  EXPECT_EQ(answers[1], Answer::kNo);
  EXPECT_TRUE(host.messages.empty());
}

TEST(BackgroundWork, IsNotStoppedByAStopOfAnOperation) {
  ASSERT_TRUE(BeginOperation(kOperationLoad));
  RequestStop();
  EXPECT_TRUE(StopRequested());
  uint64_t counted = 0;
  bool stopped = true;
  bool ended = false;
  std::thread([&] {
    BackgroundWork work;
    stopped = StopRequested();
    NoteShortfall(Shortfall::kRows, 3);
    counted = work.shortfalls;
    TheLongOperation().background_ends = true;
    ended = StopRequested();
  }).join();
  TheLongOperation().background_ends = false;
  EXPECT_FALSE(stopped);
  EXPECT_TRUE(ended);
  EXPECT_EQ(counted, 3U);
  EXPECT_EQ(ShortfallCount(Shortfall::kRows), 0U);
  EndOperation();
}

}  // namespace
}  // namespace hivequarry

#include "tests/support/logged_hive.h"

namespace hivequarry::testing {
namespace {

Bytes StateOf(int moment) {
  HiveBuilder hive;
  hive.Key("Stays").Sz("Text", "the same").Dword("Count", 7);
  hive.Key("Goes").Sz("Old", "to be removed");
  if (moment >= 1) hive.Key("Comes").Sz("New", "from the first log");
  Bytes bytes = hive.Build().bytes;
  SetNumbers(bytes, 10, 9);
  return bytes;
}

Bytes WithoutGoes() {
  HiveBuilder hive;
  hive.Key("Stays").Sz("Text", "the same").Dword("Count", 7);
  hive.Key("Comes").Sz("New", "from the first log");
  hive.Key("Comes\\Later").Binary("Bytes", 6000);
  hive.Key("Stays").Sz("Added", "by the second log");
  Bytes bytes = hive.Build().bytes;
  SetNumbers(bytes, 10, 9);
  return bytes;
}

}  // namespace

LogStory MakeLogStory() {
  LogStory story;
  story.states[0] = StateOf(0);
  story.states[1] = StateOf(1);
  story.states[2] = WithoutGoes();
  story.files.hive = story.states[0];
  story.files[".LOG1"] =
      NewLog(story.states[1], {EntryBetween(story.states[0], story.states[1], 10)});
  story.files[".LOG2"] =
      NewLog(story.states[2], {EntryBetween(story.states[1], story.states[2], 11)});
  return story;
}

}  // namespace hivequarry::testing

// A hive with its logs beside it, opened as the front ends open one.
#pragma once

#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "hive/opening.h"
#include "hive/replaying.h"
#include "recovery/image_tree.h"
#include "replay/log_words.h"
#include "tests/support/hive_builder.h"
#include "tests/support/host_recorder.h"
#include "tests/support/log_writer.h"

namespace hivequarry::testing {

struct LoggedFiles {
  Bytes hive;
  std::vector<std::pair<std::string, Bytes>> beside;  // name after that of the hive, ".LOG1"

  Bytes& operator[](const std::string& ending) {
    for (auto& [name, bytes] : beside) {
      if (name == ending) return bytes;
    }
    return beside.emplace_back(ending, Bytes()).second;
  }
  void Remove(const std::string& ending) {
    std::erase_if(beside, [&](const auto& each) { return each.first == ending; });
  }
};

class LoggedHive {
 public:
  explicit LoggedHive(const LoggedFiles& files, const LogChoice& choice = {}, uint32_t start = 0,
                      uint32_t end = 0)
      : file_(files.hive, "HIVE") {
    for (const auto& [ending, bytes] : files.beside) {
      std::ofstream out(file_.name() + ending, std::ios::binary);
      out.write(reinterpret_cast<const char*>(bytes.data()),
                static_cast<std::streamsize>(bytes.size()));
    }
    Open(choice, start, end);
  }
  ~LoggedHive() { Close(); }
  LoggedHive(const LoggedHive&) = delete;
  LoggedHive& operator=(const LoggedHive&) = delete;

  void Reopen(const LogChoice& choice) {
    Close();
    Open(choice, 0, 0);
  }
  bool opened() const { return slot_ > 0; }
  HiveImage& hive() { return HiveOfSlot(slot_); }
  const HiveLogs& logs() { return *hive().logs; }
  KeyTree& tree() { return tree_; }
  const ImageSummary& summary() const { return summary_; }
  const std::string& name() const { return file_.name(); }
  HostRecorder host;

  // "LOG1 2; LOG2 3..5": the entries applied.
  std::string Applied() {
    std::string text;
    const HiveLog* last = nullptr;
    for (const ReplayStep& step : logs().steps) {
      const HiveLog& log = LogOf(logs(), step);
      if (&log == last) continue;
      last = &log;
      const std::vector<LogEntry> applied(log.entries.begin(), log.entries.begin() + log.applied);
      text += (text.empty() ? "" : "; ") + log.name.substr(log.name.rfind('.') + 1) + " " +
              EntriesText(applied);
    }
    return text;
  }
  ByteView Bins() {
    const ByteView bytes = ImageBytes(hive());
    return PartOf(bytes, kBaseBlockSize, ReadU32(bytes, kBaseLength));
  }

 private:
  void Open(const LogChoice& choice, uint32_t start, uint32_t end) {
    TheHiveTable().logs = choice;
    TheHiveTable().start_offset = start;
    TheHiveTable().end_offset = end;
    slot_ = OpenHive(file_.name());
    if (slot_ > 0) summary_ = BuildImageTree(hive(), BuildOptions(), tree_);
  }
  void Close() {
    if (slot_ > 0) FreeHiveSlot(slot_);
    slot_ = -1;
  }
  TempFile file_;
  int slot_ = -1;
  KeyTree tree_;
  ImageSummary summary_;
};

inline LogChoice Until(uint32_t entry) {
  LogChoice choice;
  choice.bounded = true;
  choice.until = entry;
  return choice;
}

// A hive at three moments: as its file has it, after the entries of the one log and after those of
// the other.
struct LogStory {
  Bytes states[3];
  LoggedFiles files;  // numbers 10/9; LOG1 has entry 10, LOG2 has entry 11
};
LogStory MakeLogStory();

}  // namespace hivequarry::testing

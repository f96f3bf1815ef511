// Logs that lost their names: which hives they are given to, and which they are not.
#include "app/log_pairing.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>

#include "records/base_block.h"
#include "tests/support/logged_hive.h"

namespace hivequarry::testing {
namespace {

namespace fs = std::filesystem;

// As systems write them: a stored name, and identifiers that the logs have too.
void Name(Bytes& bytes, char last) {
  const std::u16string name = u"\\Config\\HIV";
  for (size_t i = 0; i < name.size(); ++i) bytes[48 + 2 * i] = static_cast<uint8_t>(name[i]);
  bytes[48 + 2 * name.size()] = static_cast<uint8_t>(last);
  for (size_t i = 0; i < 32; ++i) bytes[112 + i] = static_cast<uint8_t>(i + 1);
  const uint32_t sum = BaseBlockChecksum(bytes);
  for (size_t i = 0; i < 4; ++i) bytes[508 + i] = static_cast<uint8_t>(sum >> 8 * i);
}

struct Folder {
  TempFile any{std::string_view("any")};
  std::vector<std::string> hives;
  std::vector<std::string> logs;

  void Add(std::vector<std::string>& to, const char* name, const Bytes& bytes) {
    to.push_back(any.folder() + "/" + name);
    std::ofstream out(to.back(), std::ios::binary);
    out.write(reinterpret_cast<const char*>(bytes.data()),
              static_cast<std::streamsize>(bytes.size()));
  }
  std::string Paired() const {
    std::string text;
    for (const auto& [hive, names] : PairLogs(hives, logs).of_hive) {
      text += fs::path(hive).filename().string() + ":";
      for (const std::string& name : names) text += " " + fs::path(name).filename().string();
      text += "; ";
    }
    return text;
  }
};

TEST(LogPairing, ByContentWhereNamesDoNotTell) {
  LogStory story = MakeLogStory();
  Name(story.files.hive, 'E');
  Name(story.files[".LOG1"], 'E');
  Name(story.files[".LOG2"], 'E');
  const Bytes& hive = story.files.hive;
  const Bytes& first = story.files[".LOG1"];
  const Bytes& second = story.files[".LOG2"];
  const auto with = [](Bytes bytes, const std::function<void(Bytes&)>& change) {
    change(bytes);
    return bytes;
  };
  const Bytes renamed = with(hive, [](Bytes& b) { Name(b, 'F'); });
  const Bytes marked = with(hive, [](Bytes& b) {
    b[112] ^= 1;
    b[508] ^= 1;
  });
  using Files = std::vector<std::pair<const char*, const Bytes&>>;
  const struct {
    const char* what;
    Files hives;
    Files logs;
    const char* paired;
  } cases[] = {
      {"both logs", {{"a", hive}}, {{"x", first}, {"y", second}}, "a: x y; "},
      {"the hive has one by name", {{"a", hive}}, {{"A.log1", first}, {"y", second}}, ""},
      {"another hive has it by name", {{"a", hive}, {"b", renamed}}, {{"b.LOG1", first}}, ""},
      {"another stored name", {{"a", renamed}}, {{"x", first}}, ""},
      {"other identifiers", {{"a", marked}}, {{"x", first}}, ""},
      {"it fits two hives", {{"a", hive}, {"b", hive}}, {{"x", first}}, ""},
      {"more logs than a hive has", {{"a", hive}}, {{"x", first}, {"y", first}, {"z", first}}, ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    Folder folder;
    for (const auto& [name, bytes] : c.hives) folder.Add(folder.hives, name, bytes);
    for (const auto& [name, bytes] : c.logs) folder.Add(folder.logs, name, bytes);
    EXPECT_EQ(folder.Paired(), c.paired);
  }
}

}  // namespace
}  // namespace hivequarry::testing
